// CSV, TXT and HTM.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "qbsvrl6/sheet/text/text_width.h"
#include "qbsvrl6/support/utf.h"
#include "sheet_fixture.h"

namespace qbsvrl6 {
namespace {

// What data may hold to break out of a cell.
const std::u16string kHostile[] = {
    u"=1+cmd|'/c calc'!A0",
    u"</td></table><script>alert(1)</script>",
    u"a\"b,c;d\te",
    u"<![CDATA[x]]> & &amp; &#0;",
    u"\x1\x8\xB\x1F\x7F",
    std::u16string(1, 0xD800) + u"x" + std::u16string(1, 0xFFFF),
    std::u16string(40'000, u'长'),
};

// Reads CSV back: fields by record.
std::vector<std::vector<std::string>> parseCsv(std::string_view csv) {
    std::vector<std::vector<std::string>> records(1, std::vector<std::string>(1));
    bool quoted = false;
    for (std::size_t i = 0; i < csv.size(); ++i) {
        const char c = csv[i];
        std::string& field = records.back().back();
        if (quoted && c == '"' && i + 1 < csv.size() && csv[i + 1] == '"') {
            field += csv[i++];
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && c == ',') {
            records.back().emplace_back();
        } else if (!quoted && c == '\r') {
            ++i;
            records.emplace_back(1);
        } else {
            field += c;
        }
    }
    records.pop_back();
    return records;
}

TEST(Csv, HoldsOnlyRealRows) {
    SheetFeed feed(&makeCsvWriter, {0, 30, 60, 90}, true);
    feed.put(bandOf(BandKind::PageHeader, 8, {pendingAt({30, 0, 60, 6}, u"page 1, of #")}));
    feed.row(BandKind::GridTitle, {u"Name", u"Note", u"Sum"});
    feed.row(BandKind::Row, {u"中", u"two\nlines", u"1,5"});
    feed.row(BandKind::Row, {u"", u"", u""});
    feed.row(BandKind::BlankRow, {u"", u"", u""});
    feed.newPage();
    Band title = bandOf(BandKind::GridTitle, 6, {textAt({0, 0, 30, 6}, u"Name")});
    title.repeated = true;
    feed.put(std::move(title));
    feed.row(BandKind::Row, {u"x"});
    EXPECT_EQ(
        feed.finish(u"\"2\""),
        "\xEF\xBB\xBF,\"page 1, of \"\"2\"\"\",\r\nName,Note,Sum\r\n中,\"two\nlines\",\"1,5\"\r\nx,,\r\n");
}

TEST(Csv, OfRawValuesHasNoFormats) {
    const auto typed = [](Micrometres x, ValueType type, std::int64_t date, bool boolean) {
        Item item = textAt({x, 0, 30, 6}, u"shown, so");
        std::get<TextItem>(item.content).value = {type, 0, boolean, date, {}};
        return item;
    };
    const auto written = [&](bool raw) {
        SheetFeed feed(&makeCsvWriter, {0, 30, 60, 90, 120}, false,
                       [raw](SheetOptions& options) { options.rawValues = raw; });
        for (const double number : {2184.0, -0.1, 1e5, 1e300}) {
            feed.put(bandOf(BandKind::Row, 6, {numberAt({0, 0, 30, 6}, number, u"shown", u"")}));
        }
        feed.put(bandOf(BandKind::Row, 6,
                        {typed(0, ValueType::Date, 1'709'596'800, false),
                         typed(30, ValueType::Date, 1'709'647'629, false),
                         typed(60, ValueType::Boolean, 0, true), typed(90, ValueType::Text, 0, false)}));
        return feed.finish().substr(3);
    };
    EXPECT_EQ(written(true),
              "2184,,,\r\n-0.1,,,\r\n100000,,,\r\n1e+300,,,\r\n"
              "2024-03-05,2024-03-05T14:07:09,true,\"shown, so\"\r\n");
    EXPECT_TRUE(written(false).starts_with("shown,,,\r\n"));
}

TEST(Csv, KeepsHostileTextAsData) {
    SheetFeed feed(&makeCsvWriter, {0, 30, 60});
    for (const std::u16string& text : kHostile) feed.row(BandKind::Row, {u"x", text});
    const auto records = parseCsv(feed.finish().substr(3));
    ASSERT_EQ(records.size(), std::size(kHostile));
    for (std::size_t i = 0; i < records.size(); ++i) {
        std::u16string expected = kHostile[i];
        for (char16_t& c : expected) c = c == 0xD800 || c == 0xFFFF ? u'\uFFFD' : c;
        EXPECT_EQ(records[i], (std::vector<std::string>{"x", toUtf8(expected)})) << i;
    }
}

TEST(TextWidth, CountsColumns) {
    EXPECT_EQ(displayWidth(u"aé…"), 3);
    EXPECT_EQ(displayWidth(u"中文，（ＡB"), 11);
    EXPECT_EQ(displayWidth(u"e\u0301\u200B"), 1);
    EXPECT_EQ(displayWidth(u"😀𠀀ｱ한"), 7);
}

TEST(TextWidth, WrapsLines) {
    const struct {
        std::u16string_view text;
        int width;
        const char* expected;
    } cases[] = {
        {u"", 5, ""},
        {u"one two", 7, "one two"},
        {u"one two", 6, "one|two"},
        {u"one   two", 4, "one|two"},
        {u"one two   ", 3, "one|two"},
        {u"abcdefgh", 3, "abc|def|gh"},
        {u"ab cdefgh", 4, "ab|cdef|gh"},
        {u"中文字符", 5, "中文|字符"},
        {u"中文，字", 4, "中|文，|字"},
        {u"说（中）", 4, "说|（中|）"},
        {u"中abc", 4, "中|abc"},
        {u"中", 1, "中"},
        {u"a\nb\r\n\rc", 9, "a|b||c"},
        {u"a\n", 9, "a|"},
    };
    for (const auto& one : cases) {
        std::vector<std::u16string_view> lines;
        wrapText(one.text, one.width, lines);
        std::string joined;
        for (std::size_t i = 0; i < lines.size(); ++i) joined += (i > 0 ? "|" : "") + toUtf8(lines[i]);
        EXPECT_EQ(joined, one.expected) << toUtf8(one.text);
    }
}

TEST(Txt, AlignsColumns) {
    ResolvedStyle right;
    right.align = HorizontalAlign::Right;
    ResolvedStyle center;
    center.align = HorizontalAlign::Center;
    SheetFeed feed(&makeTxtWriter, {0, 15, 30, 60}, true);
    const auto put = [&](BandKind kind, std::u16string a, std::u16string b, std::u16string c) {
        feed.put(bandOf(kind, 6,
                        {textAt({0, 0, 15, 6}, std::move(a)), textAt({15, 0, 15, 6}, std::move(b), &right),
                         textAt({30, 0, 30, 6}, std::move(c), &center)}));
    };
    put(BandKind::GridTitle, u"名称", u"金额", u"Note");
    put(BandKind::Row, u"苹果梨子葡萄", u"1.00", u"a\tb\x1");
    put(BandKind::BlankRow, u"", u"", u"");
    feed.skip(10);
    feed.put(bandOf(BandKind::ReportFooter, 12,
                    {textAt({0, 0, 15, 12}, u"x y z 1 2 3 4"), pendingAt({15, 0, 45, 6}, u"of #", &right),
                     textAt({15, 6, 45, 6}, u"end")}));
    feed.newPage();
    put(BandKind::Row, u"b", u"2.00", u"");
    feed.put(bandOf(BandKind::ReportFooter, 6, {pendingAt({0, 0, 60, 6}, u"all #")}));
    EXPECT_EQ(feed.finish(u"12"),
              "名称           金额        Note\n"
              "苹果梨子       1.00        a b\n"
              "葡萄\n"
              "\n"
              "x y z 1 2                         of 12\n"
              "3 4       end\n"
              "\f"
              "b              2.00\n"
              "all 12\n");
}

TEST(Txt, SetsTallRecordsApartAndKeepsIndents) {
    ResolvedStyle inner;
    inner.padding.left = 6 * kMm;
    SheetFeed feed(&makeTxtWriter, {0, 30, 60});
    for (const char16_t* name : {u"a", u"b"}) {
        feed.put(bandOf(BandKind::Row, 20,
                        {textAt({0, 0, 30, 6}, name), textAt({0, 6, 30, 6}, u"inside", &inner),
                         textAt({30, 16, 30, 4}, u"below")}));
    }
    EXPECT_EQ(feed.finish(),
              "a\n    inside\n\n                    below\n\nb\n    inside\n\n                    below\n");
}

TEST(Txt, KeepsBarcodesAndNumbersWhole) {
    ResolvedStyle right;
    right.align = HorizontalAlign::Right;
    Item code = textAt({0, 0, 15, 12}, u"");
    code.content = DrawingItem{std::make_shared<Drawing>(), u"https://example.com/1234567890"};
    SheetFeed feed(&makeTxtWriter, {0, 15, 30, 75, 90});
    feed.put(bandOf(BandKind::ReportHeader, 12,
                    {code, textAt({75, 0, 15, 6}, u"free"), textAt({15, 6, 60, 6}, u"below")}));
    feed.put(bandOf(BandKind::ReportHeader, 12,
                    {code, textAt({15, 0, 15, 6}, u"moved"), textAt({75, 0, 15, 6}, u"b c")}));
    feed.put(
        bandOf(BandKind::ReportHeader, 6,
               {textAt({0, 0, 15, 6}, u"in two words"), textAt({75, 0, 15, 6}, u"-1,234,567.89", &right)}));
    EXPECT_EQ(feed.finish(),
              "https://example.com/1234567890                    free\n"
              "          below\n"
              "https://example.com/1234567890 moved              b c\n"
              "in two                                        -1,234,567.89\n"
              "words\n");
}

TEST(Txt, KeepsHostileTextAsData) {
    SheetFeed feed(&makeTxtWriter, {0, 30, 60});
    for (const std::u16string& text : kHostile) feed.row(BandKind::Row, {u"x", text});
    const std::string text = feed.finish();
    std::string joined;
    for (const char c : text) {
        ASSERT_TRUE(static_cast<unsigned char>(c) >= 0x20 || c == '\n');
        if (c != ' ' && c != '\n') joined += c;
    }
    EXPECT_NE(joined.find("</td></table><script>alert(1)</script>"), std::string::npos);
    EXPECT_NE(joined.find(toUtf8(std::u16string(40'000, u'长'))), std::string::npos);
    EXPECT_TRUE(text.starts_with("x                   =1+cmd|'/c calc'!A0\n"));
}

class Htm {
public:
    explicit Htm(const std::string& text) {
        const std::size_t root = text.find("<html");
        const pugi::xml_parse_result result =
            document_.load_string(text.c_str() + root, pugi::parse_default | pugi::parse_ws_pcdata);
        EXPECT_TRUE(result) << result.description()
                            << text.substr(root + static_cast<std::size_t>(result.offset), 80);
    }
    pugi::xml_node root() const { return document_.first_child(); }
    std::string texts(const char* xpath) const {
        std::string all;
        for (const auto& node : document_.select_nodes(xpath)) {
            all += pugi::xpath_query("string()").evaluate_string(node);
            all += '|';
        }
        return all;
    }

private:
    pugi::xml_document document_;
};

TEST(HtmWriter, GivesTablesWithHeadings) {
    SheetFeed feed(&makeHtmWriter, {0, 30, 60, 90}, true);
    feed.put(bandOf(
        BandKind::ReportHeader, 20,
        {textAt({30, 0, 60, 6}, u"Title"), textAt({0, 10, 30, 6}, u"客户"), textAt({60, 10, 30, 6}, u"y")}));
    feed.row(BandKind::GridTitle, {u"Name", u"Sum", u"Note"});
    feed.row(BandKind::Row, {u"a", u"1", u"n"});
    feed.put(bandOf(
        BandKind::Row, 12,
        {textAt({0, 0, 30, 12}, u"tall"), textAt({30, 0, 30, 6}, u"u"), textAt({30, 6, 60, 6}, u"v")}));
    feed.put(bandOf(BandKind::PageFooter, 6, {pendingAt({0, 0, 90, 6}, u"1 of #")}));
    feed.newPage();
    feed.row(BandKind::GridTitle, {u"Name"});
    feed.row(BandKind::Row, {u"b"});
    const Htm htm(feed.finish(u"<2>"));
    EXPECT_EQ(htm.texts("/html/@lang"), "zh-CN|");
    EXPECT_EQ(htm.texts("/html/head/title"), "A <title>|");
    EXPECT_EQ(htm.texts("//th[@scope='col']"), "Name|Sum|Note|Name|");
    EXPECT_EQ(htm.texts("//section[1]/div/table/thead/tr/th"), "Name|Sum|Note|");
    EXPECT_EQ(htm.texts("//section[1]/div/table/tbody/tr/td"), "a|1|n|tall|u||v|");
    EXPECT_EQ(htm.texts("//section[1]/table[2][@class='free foot']//td"), "1 of <2>|");
    EXPECT_EQ(htm.texts("//section[2]/div/table/tbody/tr/td"), "b||");
    EXPECT_EQ(htm.texts("//td[@rowspan]/@rowspan"), "2|");
    // Each row fills its table's columns, cells from above counted.
    for (const auto& found : htm.root().select_nodes("//tr")) {
        int columns = 0;
        for (const pugi::xml_node& cell : found.node()) columns += cell.attribute("colspan").as_int(1);
        const bool below = found.node().previous_sibling("tr").find_child(
            [](const pugi::xml_node& cell) { return cell.attribute("rowspan").as_int() > 1; });
        EXPECT_EQ(columns, below ? 2 : 3);
    }
}

// On a phone the grid moves sideways: what is below its columns must move along, what is not must wrap.
TEST(HtmWriter, KeepsTotalsWithTheirColumns) {
    const auto form = [](BandKind kind) { return bandOf(kind, 6, {textAt({0, 0, 60, 6}, u"form")}); };
    SheetFeed feed(&makeHtmWriter, {0, 30, 60}, true);
    feed.put(form(BandKind::GroupHeader));
    feed.row(BandKind::GridTitle, {u"Name", u"Sum"});
    feed.put(form(BandKind::GroupHeader));
    feed.row(BandKind::Row, {u"a", u"1 2"});
    feed.put(bandOf(BandKind::ReportFooter, 18,
                    {textAt({0, 0, 30, 6}, u"all"), textAt({30, 0, 30, 6}, u"¥1,234.50"),
                     textAt({0, 6, 60, 6}, u"This is due in 30 days."), textAt({0, 12, 60, 6}, u"Thanks")}));
    feed.newPage();
    feed.row(BandKind::ReportFooter, {u"x", u"5"});
    feed.row(BandKind::ReportFooter, {u"y", u"SN-0001-2222-3333-4444"});
    const Htm htm(feed.finish());
    EXPECT_EQ(htm.texts("//table[@class='free']//td[node()]"),
              "form|This is due in 30 days.|Thanks|x|5|y|SN-0001-2222-3333-4444|");
    EXPECT_EQ(htm.texts("//div[@class='grid']/table[1]//td[node()]"), "form|a|1 2|");
    EXPECT_EQ(htm.texts("//div[@class='grid']/table[2][@role='presentation']//td[node()]"), "all|¥1,234.50|");
    EXPECT_EQ(htm.texts("//td[contains(@class, ' n')]"), "¥1,234.50|SN-0001-2222-3333-4444|");
}

// A number with room in a cell of the grid needs nothing. One without room becomes smaller where layout has
// not measured it, or shows it as ####.
TEST(HtmWriter, BreaksNoNumbers) {
    Item masked = textAt({0, 0, 8, 6}, u"123,456,789.00");
    std::get<TextItem>(masked.content).shown = u"####";
    std::get<TextItem>(masked.content).masked = true;
    const struct {
        const char* name;
        Item item;
        bool paged;
        int column;           // of the grid
        const char* whole;    // cells on one line
        const char* numbers;  // in running text
        const char* size;     // of the font
    } cases[] = {
        {"has room", textAt({0, 0, 60, 6}, u"1,234.50"), false, 0, "", "", "10pt"},
        {"free, has room on paper", textAt({0, 0, 60, 6}, u"1,234.50"), false, -1, "1,234.50|", "", "10pt"},
        {"a tenth of the room", textAt({0, 0, 8, 6}, u"123,456,789,012,345,678,901.00"), false, 0,
         "123,456,789,012,345,678,901.00|", "", ""},
        {"measured", textAt({0, 0, 8, 6}, u"123,456,789.00"), true, 0, "123,456,789.00|", "", "10pt"},
        {"masked", masked, true, 0, "123,456,789.00|", "", ""},
        {"among words", textAt({0, 0, 30, 6}, u"No. 5 of 2026-05-17: 1,234.50 net, 7 pieces"), false, 0, "",
         "2026-05-17|1,234.50|", "10pt"},
        {"an address", textAt({0, 0, 60, 6}, u"https://example.com/2024-00017"), false, -1, "", "", "10pt"},
        {"late", pendingAt({0, 0, 60, 6}, u"page 12/#"), false, -1, "", "12/99|", "10pt"},
    };
    for (const auto& one : cases) {
        SheetFeed feed(&makeHtmWriter, {0, 60}, one.paged);
        ResolvedStyle style;
        Band band = bandOf(BandKind::Row, 6, {one.item});
        band.items[0].column = band.items[0].lastColumn = one.column;
        band.items[0].style = &style;
        feed.put(std::move(band));
        const std::string text = feed.finish(u"99");
        const Htm htm(text);
        EXPECT_EQ(htm.texts("//td[contains(@class, ' n')]"), one.whole) << one.name;
        EXPECT_EQ(htm.texts("//td//span[@class='n']"), one.numbers) << one.name;
        const std::size_t rule = text.find(".s0{font:calc(var(--text)*") + 26;
        const std::string size = text.substr(rule, text.find(')', rule) - rule);
        if (*one.size != '\0') {
            EXPECT_EQ(size, one.size) << one.name;
        } else {
            EXPECT_LT(std::stod(size), 4) << one.name;
        }
    }
}

TEST(HtmWriter, GivesDirections) {
    SheetFeed feed(&makeHtmWriter, {0, 30, 60});
    feed.row(BandKind::Row, {u"\u05D0\u05D1\u05D2 (IP65)", u"plain"});
    feed.row(BandKind::Row,
             {u"\u0645 — Latin", u"\u05D0\u05D1\u05D2\u05D3\u05D4\u05D5\u05D6\u05D7\u05D8\u05D9"});
    const Htm htm(feed.finish());
    EXPECT_EQ(htm.texts("//td/@dir"), "auto|auto|auto|");
    EXPECT_EQ(htm.texts("//td/@lang"), "he|ar|he|");
    EXPECT_EQ(htm.texts("/html/@lang"), "en|");
}

// Two columns of texts that begin and end at their own heights, over a line between them.
TEST(HtmWriter, KeepsTheHeightsOfPaper) {
    SheetFeed feed(&makeHtmWriter, {0, 30, 60});
    Item line = textAt({0, 20, 60, 0}, u"");
    line.content = LineItem{{Color{}, 500, false, false}};
    feed.put(bandOf(BandKind::ReportHeader, 30,
                    {textAt({0, 0, 30, 8}, u"a"), textAt({30, 3, 30, 8}, u"b"), textAt({0, 8, 30, 8}, u"c"),
                     line, textAt({30, 9, 30, 8}, u"under b"), textAt({0, 24, 30, 6}, u"d")}));
    const std::string text = feed.finish();
    const Htm htm(text);
    std::string rows;
    for (const auto& found : htm.root().select_nodes("//tr")) {
        const std::string rule =
            std::string(".") + found.node().attribute("class").value() + "{height:calc(var(--rows)*";
        rows += text.substr(text.find(rule) + rule.size(), 3) + ':';
        for (const pugi::xml_node& cell : found.node()) {
            rows += std::string(" ") + cell.text().get() + 'x' + cell.attribute("rowspan").as_string("1");
        }
        rows += '\n';
    }
    EXPECT_EQ(rows, "3mm: ax2 x1\n5mm: bx2\n3mm: cx2\n5mm: under bx1\n4mm: x1\n4mm: x1 x1\n6mm: dx1 x1\n");
}

TEST(HtmWriter, KeepsHostileTextAsData) {
    ResolvedStyle style;
    style.fontFamily = u"x';}</style><script>\"";
    style.rotation = 90;
    SheetFeed feed(&makeHtmWriter, {0, 30, 60});
    for (const std::u16string& text : kHostile) feed.row(BandKind::Row, {u"x", text}, &style);
    Item link = textAt({0, 0, 30, 6}, u"a");
    std::get<TextItem>(link.content).link = u"JavaScript:alert(1)";
    Item safe = textAt({30, 0, 30, 6}, u"b");
    std::get<TextItem>(safe.content).link = u"HTTPS://x/?a=\"><b>&c";
    feed.put(bandOf(BandKind::ReportFooter, 6, {link, safe}));
    const std::string text = feed.finish();
    const Htm htm(text);
    EXPECT_EQ(text.find("<script"), std::string::npos);
    EXPECT_EQ(htm.texts("//a/@href"), "HTTPS://x/?a=\"><b>&c|");
    std::string expected;
    for (std::u16string one : kHostile) {
        for (char16_t& c : one) {
            if ((c < 0x20 && c != u'\t') || c == 0x7F || c == 0xD800 || c == 0xFFFF) c = u'\uFFFD';
        }
        expected += "x|" + toUtf8(one) + "|";
    }
    EXPECT_EQ(htm.texts("//tr/td/span[@class='r90']"), expected);
}

TEST(HtmWriter, DrawsPicturesAndLines) {
    auto picture = std::make_shared<Picture>();
    picture->bytes = "\x89PNG";
    picture->id = 7;
    const auto pictureAt = [&](Rect box) {
        Item item = textAt(box, u"");
        item.content = PictureItem{picture, {0, 0, 10 * kMm, 5 * kMm}, PictureFit::Contain, u"a & b"};
        return item;
    };
    auto drawing = std::make_shared<Drawing>();
    Item chart = textAt({60, 0, 30, 6}, u"");
    chart.content = DrawingItem{drawing, u"<5>"};
    Item line = textAt({0, 6, 90, 0}, u"");
    line.content = LineItem{{Color{0, 0, 255}, 500, false, false}};
    Item box = textAt({0, 0, 90, 6}, u"");
    box.content = BoxItem{{BorderLine{250, {}}, Color{255, 255, 0}, 0}};
    SheetFeed feed(&makeHtmWriter, {0, 30, 60, 90});
    feed.put(bandOf(BandKind::ReportHeader, 6, {pictureAt({0, 0, 30, 6}), pictureAt({30, 0, 30, 6}), chart}));
    feed.put(bandOf(BandKind::ReportHeader, 6, {box, line, textAt({30, 0, 30, 6}, u"in the box")}));
    const std::string text = feed.finish();
    const Htm htm(text);
    EXPECT_EQ(htm.texts("//image/@href"), "data:image/png;base64,iVBORw==|");
    EXPECT_EQ(htm.texts("//use/@href"), "#p7|");
    EXPECT_EQ(htm.texts("//svg[@role='img']/title"), "a & b|a & b|<5>|");
    EXPECT_EQ(htm.texts("//tr[2]/td"), "|in the box||");
    // The box's cells have its fill, its outer edges and the line below.
    const auto rule = [&](const std::string& cell) {
        const std::string name = htm.texts(("//tr" + cell + "/@class").c_str());
        const std::size_t at = text.find("." + name.substr(0, name.size() - 1) + "{");
        return text.substr(at, text.find('}', at) - at);
    };
    EXPECT_NE(rule("[2]/td[1]")
                  .find("background:#ffff00;border-left:0.25mm solid #000000;border-top:0.25mm solid #000000;"
                        "border-bottom:0.5mm solid #0000ff;"),
              std::string::npos)
        << rule("[2]/td[1]");
    EXPECT_EQ(rule("[2]/td[2]").find("border-left"), std::string::npos);
    EXPECT_NE(rule("[2]/td[3]").find("border-right:0.25mm"), std::string::npos);
    // Pictures and drawings have their paddings in themselves.
    EXPECT_NE(rule("[2]/td[2]").find("'SimSun',serif;"), std::string::npos) << rule("[2]/td[2]");
    EXPECT_NE(rule("[2]/td[2]").find("padding:0.3mm 0.5mm "), std::string::npos) << rule("[2]/td[2]");
    EXPECT_EQ(rule("[1]/td[1]").find("0.3mm"), std::string::npos) << rule("[1]/td[1]");
    EXPECT_EQ(rule("[1]/td[3]").find("0.3mm"), std::string::npos) << rule("[1]/td[3]");
}

TEST(HtmWriter, LaysPicturesAboveTextsAndBehindPages) {
    auto picture = std::make_shared<Picture>();
    picture->bytes = "\x89PNG";
    picture->id = 7;
    Item seal = textAt({40, 4, 10, 5}, u"");
    seal.content = PictureItem{picture, {0, 0, 10 * kMm, 5 * kMm}};
    SheetFeed feed(&makeHtmWriter, {0, 30, 60}, true, [&](SheetOptions& options) {
        options.background = picture;
        options.watermark.text = u"';}</style>中";
    });
    feed.put(bandOf(BandKind::ReportHeader, 12, {seal, textAt({0, 2, 60, 10}, u"over all")}));
    feed.put(
        bandOf(BandKind::ReportHeader, 12, {seal, textAt({0, 0, 60, 3}, u"b"), textAt({0, 3, 60, 9}, u"c")}));
    const std::string text = feed.finish();
    const Htm htm(text);
    EXPECT_EQ(htm.texts("//tr[1]/td/div/@style"), "position:absolute;left:40mm;top:2mm|");
    EXPECT_EQ(htm.texts("//tr[td='c']/td/div/@style"), "position:absolute;left:40mm;top:1mm|");
    EXPECT_EQ(htm.texts("//td/div/svg/image/@href"), "data:image/png;base64,iVBORw==|");
    EXPECT_NE(text.find("no-repeat url(data:image/png;base64,iVBORw==)"), std::string::npos);
    EXPECT_NE(text.find("content:'\\27 \\3b \\7d \\3c \\2f "), std::string::npos);
}

}  // namespace
}  // namespace qbsvrl6
