#include <gtest/gtest.h>

#include <cstdlib>

#include "qbsvrl6/sheet/workbook/page_frames.h"
#include "qbsvrl6/support/utf.h"
#include "sheet_fixture.h"

namespace qbsvrl6 {
namespace {

// What a reader of RTF sees: control words in their groups, and texts. Rows read "a|b|\n", sections
// "<section>", page breaks "<page>", headers and footers "<header ...>", fields "<PAGE 1>".
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
        for (const char* destination : {"\\fonttbl", "\\colortbl", "\\info", "\\pict"}) {
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
        } else if (word == "page") {
            text_ += "<page>";
        } else if (word == "sect") {
            text_ += "<section>";
        } else if (word == "trhdr") {
            text_ += "<repeated>";
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

TEST(Rtf, CountsPagesByFieldsWhereHeadersAgree) {
    SheetFeed feed(&makeRtfWriter, {0, 60, 120}, true);
    const auto page = [&](std::u16string header, std::u16string row) {
        feed.put(bandOf(
            BandKind::PageHeader, 8,
            {textAt({0, 0, 60, 6}, u"List 3, " + header), pendingAt({60, 0, 60, 6}, header + u" of #")}));
        feed.row(BandKind::Row, {row});
        feed.put(bandOf(BandKind::PageFooter, 6, {textAt({0, 0, 60, 6}, u"foot")}));
    };
    page(u"p 1", u"a");
    feed.newPage();
    page(u"p 2", u"b");
    feed.newPage();
    page(u"other", u"c");
    EXPECT_EQ(readRtf(feed.finish(u"3")),
              "<header List 3, p < PAGE 1>|p < PAGE 1> of < NUMPAGES 3>|\n><footer foot||\n>a||\n"
              "<page>b||\n"
              "<section><header List 3, other|other of < NUMPAGES 3>|\n><footer foot||\n>c||\n");
}

TEST(Rtf, FindsNumbersOfPages) {
    const struct {
        const char16_t* text;
        int page;
        const char16_t* other;
        int otherPage, pageCount;
        const char* expected;  // "P" a page, "N" the count, with the place; "!" where the texts differ
    } cases[] = {
        {u"1/12", 1, u"2/12", 2, 12, "P0 N2"},
        {u"page 9", 9, u"page 10", 10, 12, "P5"},
        {u"12 of 12", 12, u"1 of 12", 1, 12, "P0 N6"},
        {u"2 on 2026-01-12", 2, u"3 on 2026-01-12", 3, 12, "P0 N13"},
        {u"x1", 1, u"y2", 2, 12, "!"},
        {u"x1", 1, u"x3", 2, 12, "!"},
        {u"x1", 1, u"x2y", 2, 12, "!"},
        {u"x1a", 1, u"x2b", 2, 12, "!"},
        {u"1 of 1", 1, u"1 of 1", 1, 1, "N5"},
        {u"", 1, u"", 2, 3, ""},
    };
    for (const auto& one : cases) {
        std::string found = "!";
        if (const auto fields = findNumbers(one.text, one.page, one.other, one.otherPage, one.pageCount)) {
            found.clear();
            for (const NumberField& field : *fields) {
                found += (found.empty() ? "" : " ") +
                         std::string(field.kind == NumberField::Kind::Page ? "P" : "N") +
                         std::to_string(field.start);
            }
        }
        EXPECT_EQ(found, one.expected) << toUtf8(one.text);
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
