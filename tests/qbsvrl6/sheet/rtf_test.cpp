#include <gtest/gtest.h>

#include <cstdlib>

#include "qbsvrl6/support/utf.h"
#include "sheet_fixture.h"

namespace qbsvrl6 {
namespace {

// What a reader of RTF sees: control words in their groups, and texts. Rows read "a|b|\n", sections
// "<section>", page breaks "<page>", headers and footers "<header ...>", fields "<PAGE 1>",
// a page number that starts anew "<number 1>", directions "<rtlpar>" and "<rtl>".
class RtfReader {
public:
    explicit RtfReader(const std::string& rtf) : rtf_(rtf) { group(false); }

    std::string text() const { return text_; }
    bool isWhole() const { return isWhole_; }

private:
    void group(bool skipped) {
        if (rtf_[at_++] != '{') return;
        ++depth_;
        const std::size_t start = at_;
        for (const char* destination : {"\\fonttbl", "\\colortbl", "\\info", "\\pict", "\\shp"}) {
            skipped =
                skipped || rtf_.compare(start, std::char_traits<char>::length(destination), destination) == 0;
        }
        std::string close;
        while (at_ < rtf_.size() && rtf_[at_] != '}') {
            const char c = rtf_[at_];
            if (c == '{') {
                group(skipped);
            } else if (c == '\\') {
                const std::string word = control(skipped);
                if (word == "header" || word == "footer") {
                    text_ += "<" + word + " ";
                    close = ">";
                } else if (word == "fldinst") {
                    text_ += "<";
                } else if (word == "fldrslt") {
                    close = ">";
                }
            } else {
                if (c != '\n' && !skipped) text_ += c;
                ++at_;
            }
        }
        // The outermost group ends with the file and its last line end.
        isWhole_ = --depth_ == 0 && at_ + 2 == rtf_.size();
        ++at_;
        text_ += close;
    }

    std::string control(bool skipped) {
        ++at_;
        if (std::string_view("\\{}").find(rtf_[at_]) != std::string_view::npos) {
            if (!skipped) text_ += rtf_[at_];
            ++at_;
            return {};
        }
        if (rtf_[at_] == '*') {
            ++at_;
            return {};
        }
        std::string word;
        while (std::isalpha(static_cast<unsigned char>(rtf_[at_]))) word += rtf_[at_++];
        std::string digits;
        while (rtf_[at_] == '-' || std::isdigit(static_cast<unsigned char>(rtf_[at_]))) digits += rtf_[at_++];
        const long number = std::strtol(digits.c_str(), nullptr, 10);
        if (rtf_[at_] == ' ') ++at_;
        if (skipped) return {};
        if (word == "u") {
            units_ += static_cast<char16_t>(number);
            at_ += 4;  // what stands for it
            const bool more =
                rtf_.compare(at_, 2, "\\u") == 0 && !std::isalpha(static_cast<unsigned char>(rtf_[at_ + 2]));
            if (!more) {
                text_ += toUtf8(units_);
                units_.clear();
            }
        } else if (word == "cell") {
            text_ += '|';
        } else if (word == "row") {
            text_ += '\n';
        } else if (word == "line") {
            text_ += '/';
        } else if (word == "tab") {
            text_ += '\t';
        } else if (word == "pagebb") {
            text_ += "<page>";
        } else if (word == "sect") {
            text_ += "<section>";
        } else if (word == "trhdr") {
            text_ += "<repeated>";
        } else if (word == "rtlpar" || word == "ltrpar") {
            text_ += "<" + word + ">";
        } else if (word == "rtlch" || word == "ltrch") {
            text_ += "<" + word.substr(0, 3) + ">";
        } else if (word == "pgnstarts") {
            text_ += "<number " + digits + ">";
        }
        return word;
    }

    const std::string& rtf_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool isWhole_ = false;
    std::string text_;
    std::u16string units_;
};

std::string readRtf(const std::string& rtf) {
    const RtfReader reader(rtf);
    EXPECT_TRUE(reader.isWhole());
    return reader.text();
}

TEST(Rtf, MakesTables) {
    SheetFeed feed(&makeRtfWriter, {0, 30, 60, 90});
    feed.row(BandKind::ReportHeader, {u"Head"});
    feed.row(BandKind::GridTitle, {u"名", u"Sum", u"Note"});
    feed.row(BandKind::Row, {u"a", u"1\n2", u"x\ty"});
    feed.put(bandOf(
        BandKind::Row, 12,
        {textAt({0, 0, 30, 12}, u"tall"), textAt({30, 0, 60, 6}, u"b"), textAt({60, 6, 30, 6}, u"c")}));
    feed.put(bandOf(BandKind::ReportFooter, 6, {pendingAt({30, 0, 60, 6}, u"all #")}));
    ResolvedStyle justified;
    justified.align = HorizontalAlign::Justify;
    feed.row(BandKind::ReportFooter, {u"y\nz"}, &justified);
    const std::string rtf = feed.finish(u"{7}");
    EXPECT_EQ(readRtf(rtf), "Head||\n<repeated>名|Sum|Note|\na|1/2|x\ty|\ntall|b|\n||c|\n|all {7}|\nyz||\n");
    EXPECT_NE(rtf.find("y\\par z"), std::string::npos) << "a line break would stretch the line ahead of it";
    EXPECT_NE(rtf.find("\\clvmgf"), std::string::npos);
    EXPECT_NE(rtf.find("\\clvmrg"), std::string::npos);
    EXPECT_NE(rtf.find("\\cellx1701\\"), std::string::npos) << "30 mm";
}

TEST(Rtf, CountsPagesByFields) {
    struct Page {
        const char16_t* header;
        int number, count;
        const char16_t* footer;  // null: none
    };
    const struct {
        const char* what;
        std::vector<Page> pages;
        const char* expected;
    } cases[] = {
        {"numbers that mean something else",
         {{u"2 of 3: {n}/{c}, form 3", 1, 3, nullptr},
          {u"2 of 3: {n}/{c}, form 3", 2, 3, nullptr},
          {u"2 of 3: {n}/{c}, form 3", 3, 3, nullptr}},
         "<header 2 of 3: < PAGE 1>/< NUMPAGES 3>, form 3|\n>0|\n<page>1|\n<page>2|\n"},
        {"one page", {{u"{n} of {c}", 1, 1, nullptr}}, "<header < PAGE 1> of < NUMPAGES 1>|\n>0|\n"},
        {"two digits",
         {{u"{n}-", 9, 2, nullptr}, {u"{n}-", 10, 2, nullptr}},
         "<number 9><header < PAGE 9>-|\n>0|\n<page>1|\n"},
        {"a header that changes, and a footer on some pages",
         {{u"p {n}", 1, 3, u"a"}, {u"other", 2, 3, u"a"}, {u"other", 3, 3, nullptr}},
         "<header p < PAGE 1>|\n><footer a|\n>0|\n<section><header other|\n><footer a|\n>1|\n"
         "<section><header other|\n><footer >2|\n"},
        {"numbers that start again, with a count of their own",
         {{u"{n} of {c}", 1, 2, nullptr}, {u"{n} of {c}", 2, 2, nullptr}, {u"{n} of {c}", 1, 1, nullptr}},
         "<header < PAGE 1> of 2|\n>0|\n<page>1|\n<section><number 1><header < PAGE 1> of 1|\n>2|\n"},
        {"a number in another form, which is no field",
         {{u"007", 7, 2, nullptr}, {u"008", 8, 2, nullptr}},
         "<header 007|\n>0|\n<section><header 008|\n>1|\n"},
    };
    for (const auto& one : cases) {
        SheetFeed feed(&makeRtfWriter, {0, 60}, true);
        for (std::size_t i = 0; i < one.pages.size(); ++i) {
            const Page& page = one.pages[i];
            if (i > 0) feed.newPage();
            feed.put(bandOf(BandKind::PageHeader, 8,
                            {numberedAt({0, 0, 60, 6}, page.header, page.number, page.count)}));
            feed.put(bandOf(BandKind::Row, 6,
                            {textAt({0, 0, 60, 6}, std::u16string(1, static_cast<char16_t>(u'0' + i)))}));
            if (page.footer == nullptr) continue;
            feed.put(bandOf(BandKind::PageFooter, 6, {textAt({0, 0, 60, 6}, page.footer)}));
        }
        EXPECT_EQ(readRtf(feed.finish()), one.expected) << one.what;
    }
}

// Where the report has no pages of its own, the word processor makes them and counts.
TEST(Rtf, RepeatsTheHeaderOfAContinuousReport) {
    SheetFeed feed(&makeRtfWriter, {0, 60});
    feed.put(bandOf(BandKind::PageHeader, 8, {numberedAt({0, 0, 60, 6}, u"{n} / {c}", 1, 1)}));
    feed.put(bandOf(BandKind::Row, 6, {textAt({0, 0, 60, 6}, u"a")}));
    EXPECT_EQ(readRtf(feed.finish()), "<header < PAGE 1> / < NUMPAGES 1>|\n>a|\n");
}

TEST(Rtf, MarksDirections) {
    const struct {
        const char16_t* text;
        const char* expected;
    } cases[] = {
        {u"plain (IP65)", "plain (IP65)"},
        {u"\u05D0\u05D1 (IP65)", "<rtlpar><rtl>\u05D0\u05D1 (<ltr>IP65<rtl>)"},
        {u"x \u05D0 1", "<ltrpar><ltr>x <rtl>\u05D0 <ltr>1"},
        {u"\u0645\nx", "<rtlpar><rtl>\u0645<ltrpar><ltr>x"},
    };
    for (const auto& one : cases) {
        SheetFeed feed(&makeRtfWriter, {0, 60});
        feed.put(bandOf(BandKind::ReportHeader, 6, {textAt({0, 0, 60, 6}, one.text)}));
        const std::string rtf = feed.finish();
        EXPECT_EQ(readRtf(rtf), std::string(one.expected) + "|\n");
        EXPECT_NE(rtf.find("\\trowd\\ltrrow"), std::string::npos);
        EXPECT_EQ(rtf.find("\\afs20") != std::string::npos, one.expected[0] == '<') << one.expected;
    }
}

// A picture over a text has its place on the page and hangs on a paragraph of the page, not on a cell: those
// move to the next page if they must.
TEST(Rtf, KeepsFloatingPicturesOnTheirPage) {
    auto picture = std::make_shared<Picture>();
    picture->bytes = "\x89PNG";
    picture->id = 7;
    Item seal = textAt({40, 50, 10, 5}, u"");
    seal.content = PictureItem{picture, {0, 0, 10 * kMm, 5 * kMm}};
    for (const bool paged : {true, false}) {
        SheetFeed feed(&makeRtfWriter, {0, 30, 60}, paged,
                       [&](SheetOptions& options) { options.background = picture; });
        feed.row(BandKind::Row, {u"a"});
        feed.newPage();
        feed.put(bandOf(BandKind::ReportHeader, 60, {textAt({0, 30, 60, 30}, u"over all"), seal}));
        const std::string rtf = feed.finish();
        const std::string place = "\\shpleft3118\\shptop3685\\shpright3685\\shpbottom3968\\shpbxpage";
        const std::size_t page = rtf.find("\\pagebb");
        const std::size_t shape = rtf.find(place);  // 55 mm and 65 mm
        EXPECT_EQ(shape != std::string::npos && shape > page && shape < rtf.find("over all"), paged) << rtf;
        EXPECT_EQ(rtf.find("\\shpbxcolumn") == std::string::npos, paged) << rtf;
        const bool hasBackdrop =
            rtf.find("{\\header\n\\pard\\plain\\fs2\\sl-20\\slmult0{\\shp") != std::string::npos;
        EXPECT_EQ(hasBackdrop, paged);
    }
}

TEST(Rtf, KeepsHostileTextAsData) {
    ResolvedStyle style;
    style.fontFamily = u"F;}{\\field x";
    const std::u16string texts[] = {u"\\par\\cell\\row}{\\rtf1 \\'41 \\u65?",
                                    u"{\\object\\objemb}",
                                    u"\\",
                                    u"}}}}",
                                    u"-5 5",
                                    u"\x1\x7F\u00E9",
                                    std::u16string(40'000, u'长'),
                                    std::u16string(1, 0xD800),
                                    u"\U0001F600x",
                                    u"{\\*\\fldinst INCLUDETEXT}"};
    SheetFeed feed(&makeRtfWriter, {0, 30});
    std::string expected;
    for (const std::u16string& text : texts) {
        feed.row(BandKind::Row, {text}, &style);
        std::u16string shown = text;
        for (char16_t& c : shown) c = c < 0x20 || c == 0x7F || c == 0xD800 ? u'\uFFFD' : c;
        expected += toUtf8(shown).append("|\n");
    }
    Item link = textAt({0, 0, 30, 6}, u"a");
    std::get<TextItem>(link.content).link = u"https://x/\"}\\y";
    feed.put(bandOf(BandKind::ReportFooter, 6, {link}));
    const std::string rtf = feed.finish();
    EXPECT_EQ(readRtf(rtf), expected + "<HYPERLINK \"https://x/%22}%5Cy\"a>|\n");
}

}  // namespace
}  // namespace qbsvrl6
