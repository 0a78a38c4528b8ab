// Workbooks as programs that are not ours see them.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "sheet_fixture.h"

namespace qbsvrl6 {
namespace {

// What the script reads in the workbook: one fact a line.
std::string readBack(const std::string& bytes, const char* extension) {
    char pattern[] = "/tmp/qbsvr-book-XXXXXX";
    const std::string directory = ::mkdtemp(&pattern[0]);
    const std::string file = directory + "/book." + extension;
    std::ofstream(file, std::ios::binary) << bytes;
    const std::string command =
        "/usr/bin/python3 " QBSVR_SOURCE_DIR "/tests/qbsvrl6/sheet/read_workbook.py " + file + " 2>&1";
    std::string facts;
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    std::array<char, 4096> block;
    for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
        facts.append(block.data(), count);
    }
    ::pclose(pipe);
    std::filesystem::remove_all(directory);
    return facts;
}

bool hasReader() {
    return std::system("/usr/bin/python3 -c 'import openpyxl' 2>/dev/null") == 0;  // NOLINT(cert-env33-c)
}

// The facts that begin with one of the words.
std::string only(const std::string& facts, std::initializer_list<std::string_view> words) {
    std::string chosen;
    for (std::size_t from = 0; from < facts.size();) {
        const std::size_t end = std::min(facts.find('\n', from), facts.size());
        const std::string_view line = std::string_view(facts).substr(from, end - from);
        for (const std::string_view word : words) {
            if (line.starts_with(word)) chosen += std::string(line) + "\n";
        }
        from = end + 1;
    }
    return chosen;
}

class Xlsx : public testing::Test {
protected:
    void SetUp() override {
        if (!hasReader()) GTEST_SKIP() << "needs python3-openpyxl";
    }
};

TEST_F(Xlsx, KeepsTypedValuesAndLooks) {
    ResolvedStyle style;
    style.fontFamily = u"宋体";
    style.fontSize = 9.5;
    style.bold = true;
    style.color = {1, 2, 3};
    style.background = Color{255, 0, 16};
    style.align = HorizontalAlign::Right;
    style.verticalAlign = VerticalAlign::Top;
    style.border = {{250, {}}, {100, {}}, {500, {}}, {1000, {}}};
    ResolvedStyle turned;
    turned.rotation = 90;
    const auto typed = [&](Micrometres x, CellValue value, std::u16string shown) {
        Item item = textAt({x, 0, 30, 6}, std::move(shown));
        std::get<TextItem>(item.content).value = std::move(value);
        return item;
    };
    SheetFeed feed(&makeXlsxWriter, {0, 30, 60, 90, 120});
    feed.put(bandOf(BandKind::Row, 6,
                    {numberAt({0, 0, 30, 6}, 1234.5, u"1,234.50", u"#,##0.00", &style),
                     textAt({30, 0, 30, 6}, u"two\r\nlines", &turned), numberAt({60, 0, 30, 6}, 7, u"7", u""),
                     typed(90, {ValueType::Boolean, 0, true, 0, u""}, u"TRUE")}));
    feed.put(bandOf(BandKind::Row, 6,
                    {typed(0, {ValueType::Date, 0, false, 1709596800, u""}, u"5 March"),
                     typed(30, {ValueType::Date, 0, false, 1709596800 + 3661, u"yyyy/m/d h:mm"}, u"x"),
                     typed(60, {ValueType::Date, 0, false, -3000000000, u""}, u"1874"),
                     typed(90, {ValueType::Boolean, 0, true, 0, u""}, u"是")}));
    feed.put(bandOf(
        BandKind::Row, 6,
        {numberAt({0, 0, 30, 6}, 1.2345678901234568e19, u"12345678901234567890", u""),
         numberAt({30, 0, 30, 6}, 440102198001011, u"440102198001011", u""),
         numberAt({60, 0, 30, 6}, 0.30000000000000004, u"0.3", u""), numberAt({90, 0, 30, 6}, 5, u"", u"")}));
    EXPECT_EQ(only(readBack(feed.finish(), "xlsx"), {"A", "B", "C", "D"}),
              "A1 n #1234.5 #,##0.00 | 宋体 9.5 FF010203 FFFF0010 b right top 0 thmt h17.25 \n"
              "B1 s 'two\\nlines' General | SimSun 10.0 FF000000 - w left center 180 ---- h17.25 \n"
              "C1 n #7 General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "D1 b yes General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "A2 d 2024-03-05T00:00:00 yyyy-mm-dd | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "B2 d 2024-03-05T01:01:01 yyyy/m/d h:mm | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "C2 s '1874' General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "D2 s '\\u662f' General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "A3 s '12345678901234567890' General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "B3 n #440102198001011 0 | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "C3 n #0.3 General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n");
}

void feedPages(SheetFeed& feed) {
    feed.put(bandOf(BandKind::PageHeader, 8, {pendingAt({30, 0, 60, 6}, u"1 of #")}));
    feed.row(BandKind::GridTitle, {u"Name", u"Sum", u"Note"});
    feed.row(BandKind::Row, {u"a", u"1", u"x"});
    feed.put(bandOf(BandKind::Row, 12,
                    {textAt({0, 0, 30, 12}, u"tall"), textAt({30, 0, 30, 6}, u"b"),
                     textAt({30, 6, 30, 6}, u"c"), textAt({60, 0, 30, 12}, u"tall too")}));
    feed.newPage();
    feed.put(bandOf(BandKind::PageHeader, 8, {pendingAt({30, 0, 60, 6}, u"2 of #")}));
    feed.row(BandKind::GridTitle, {u"Name", u"Sum", u"Note"});
    feed.row(BandKind::Row, {u"d", u"2"});
}

TEST_F(Xlsx, LaysOutPagesInOneSheet) {
    SheetFeed feed(&makeXlsxWriter, {0, 30, 60, 90}, true);
    feedPages(feed);
    const std::string facts = readBack(feed.finish(u"<2>"), "xlsx");
    EXPECT_EQ(only(facts, {"title", "sheet", "page", "widths", "merged"}),
              "title A <title>\n"
              "sheet A <title> freeze A3 titles None\n"
              "page 9 portrait 100 fit False left 0.591 breaks [5]\n"
              "widths ['16.14', '16.29', '16.14']\n"
              "merged ['A4:A5', 'B1:C1', 'B6:C6', 'C4:C5']\n");
    for (const char* fact :
         {"B1 s '1 of <2>'", "A4 s 'tall'", "B5 s 'c'", "C4 s 'tall too'", "B6 s '2 of <2>'", "A8 s 'd'"}) {
        EXPECT_NE(facts.find(fact), std::string::npos) << fact << "\n" << facts;
    }
}

TEST_F(Xlsx, RunsOnWithTitlesOnEachPrintedPage) {
    SheetFeed feed(&makeXlsxWriter, {0, 30, 60, 90});
    feed.row(BandKind::ReportHeader, {u"Title"});
    feed.row(BandKind::GridTitle, {u"Name", u"Sum", u"Note"});
    feed.row(BandKind::GridTitle, {u"", u"in Yuan", u""});
    feed.row(BandKind::Row, {u"a", u"1", u"x"});
    EXPECT_EQ(only(readBack(feed.finish(), "xlsx"), {"sheet", "page"}),
              "sheet A <title> freeze A4 titles $2:$3\n"
              "page 9 portrait None fit True left 0.591 breaks []\n");
}

TEST_F(Xlsx, PlacesPicturesExactly) {
    auto picture = std::make_shared<Picture>();
    // One white pixel.
    picture->bytes = std::string(
        "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\0\0\0\0:~\x9bU\0\0\0\nIDATx\x9c"
        "c\xf8\x0f\0\x01\x01"
        "\x01\0\x1b\xb6\xee"
        "V\0\0\0\0IEND\xae"
        "B`\x82",
        67);
    picture->id = 3;
    auto drawing = std::make_shared<Drawing>();
    drawing->elements = {Drawing::Path{}, Drawing::Label{}};
    Item item = textAt({32, 5, 20, 20}, u"");
    item.content = PictureItem{picture, {1 * kMm, 2 * kMm, 18 * kMm, 16 * kMm}};
    Item chart = textAt({60, 5, 20, 20}, u"");
    chart.content = DrawingItem{drawing, u"a < b"};
    SheetFeed feed(&makeXlsxWriter, {0, 30, 60, 90});
    // A picture makes no row beside texts, but the rows keep its room: the gap below "beside" belongs to its
    // row.
    feed.row(BandKind::ReportHeader, {u"a"});
    feed.put(bandOf(BandKind::ReportHeader, 60,
                    {textAt({0, 4, 30, 6}, u"beside"), item, item, chart, textAt({0, 24, 30, 6}, u"below")}));
    feed.row(BandKind::ReportHeader, {u"next"});
    const std::string facts = readBack(feed.finish(), "xlsx");
    // 36 EMU are a micrometre.
    EXPECT_EQ(only(facts, {"picture", "A2", "A3", "A4"}),
              "picture 1 108000 1 108000 648000 576000\n"
              "picture 1 108000 1 108000 648000 576000\n"
              "A2 s 'beside' General | SimSun 10.0 FF000000 -  left center 0 ---- h56.75 \n"
              "A3 s 'below' General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n"
              "A4 s 'next' General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n");
}

TEST_F(Xlsx, KeepsHostileTextAsData) {
    ResolvedStyle style;
    style.fontFamily = u"\"/><x>&";
    const std::u16string texts[] = {u"=1+1",
                                    u"+1",
                                    u"@x",
                                    u"</t></is><c>&amp;",
                                    u" lead and trail ",
                                    u"_x0041_ \x1\x1F",
                                    u"{=A1}",
                                    std::u16string(40'000, u'长'),
                                    std::u16string(1, 0xD800),
                                    u"\U0001F600"};
    SheetFeed feed(&makeXlsxWriter, {0, 30});
    feed.options.info.title = u"x";
    for (const std::u16string& text : texts) feed.row(BandKind::Row, {text}, &style);
    Item link = textAt({0, 0, 30, 6}, u"a");
    std::get<TextItem>(link.content).link = u"javascript:x";
    feed.put(bandOf(BandKind::ReportFooter, 6, {link}));
    std::get<TextItem>(link.content).link = u"https://x/\"&<";
    feed.put(bandOf(BandKind::ReportFooter, 6, {link}));
    std::string values;
    const std::string facts = only(readBack(feed.finish(), "xlsx"), {"A"});
    for (std::size_t from = 0; from < facts.size(); from = facts.find('\n', from) + 1) {
        const std::size_t start = facts.find(' ', from) + 1;
        values += facts.substr(start, facts.find(" General", start) - start) + "\n";
    }
    // The reader shows escapes of control characters as they are written.
    EXPECT_EQ(
        values,
        "s '=1+1'\ns '+1'\ns '@x'\ns '</t></is><c>&amp;'\ns ' lead and trail '\ns '_x005F_x0041_ "
        "_x0001__x001F_'\n"
        "s '{=A1}'\ns '\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f'...(32767)\n"
        "s '\\ufffd'\ns '\\U0001f600'\ns 'a'\ns 'a'\n");
    EXPECT_NE(facts.find("https://x/\"&<"), std::string::npos);
    EXPECT_EQ(facts.find("javascript"), std::string::npos);
}

TEST(XlsxWriter, GivesTheSameBytesAgain) {
    const auto write = [] {
        SheetFeed feed(&makeXlsxWriter, {0, 30, 60, 90}, true);
        feedPages(feed);
        return feed.finish();
    };
    EXPECT_EQ(write(), write());
}

}  // namespace
}  // namespace qbsvrl6
