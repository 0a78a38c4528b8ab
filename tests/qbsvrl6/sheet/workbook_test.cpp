// Workbooks as programs that are not ours see them.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include "sheet_fixture.h"
#include "tests/source_directory.h"

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

struct Kind {
    const char* extension;
    SheetFeed::Maker make;
    const char* reader;  // a module of Python
};

bool hasReader(const char* module) {
    const std::string import = std::string("/usr/bin/python3 -c 'import ") + module + "' 2>/dev/null";
    return std::system(import.c_str()) == 0;  // NOLINT(cert-env33-c)
}

class Workbook : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        if (!hasReader(GetParam().reader)) GTEST_SKIP() << "needs " << GetParam().reader;
    }
    static SheetFeed feed(std::vector<Micrometres> cuts, bool paged = false) {
        return SheetFeed(GetParam().make, std::move(cuts), paged);
    }
    static bool isXlsx() { return GetParam().extension == std::string("xlsx"); }
    static std::string factsOf(SheetFeed& feed, std::u16string total = u"9") {
        return readBack(feed.finish(std::move(total)), GetParam().extension);
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, Workbook,
                         testing::Values(Kind{"xlsx", &makeXlsxWriter, "openpyxl"},
                                         Kind{"xls", &makeXlsWriter, "xlrd"}),
                         [](const auto& kind) { return std::string(kind.param.extension); });

TEST_P(Workbook, KeepsTypedValuesAndLooks) {
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
    SheetFeed feed = Workbook::feed({0, 30, 60, 90, 120});
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
    EXPECT_EQ(only(factsOf(feed), {"A", "B", "C", "D"}),
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

// Where tables run on, the spreadsheet makes the pages and counts them.
TEST_P(Workbook, PrintsPageNumbers) {
    ResolvedStyle right, bold, unsafe;
    right.align = HorizontalAlign::Right;
    right.fontSize = 8;
    bold.bold = bold.italic = true;
    unsafe.fontFamily = u"x\",&y";
    const auto line = [] {
        Item item = textAt({0, 6, 60, 0}, u"");
        item.content = LineItem{};
        return item;
    };
    const struct {
        const char* name;
        std::vector<Item> header;
        bool paged;
        const char* printed;
        const char* rows;  // of the header
    } cases[] = {
        {"beside a title",
         {textAt({0, 0, 30, 6}, u"A"), numberedAt({30, 0, 150, 6}, u"2 & {n}+1", 1, 1, &right)},
         false,
         "'&R&8&\"SimSun,Regular\"2 && &P +1' None",
         "A1 s 'A'"},
        {"with a line alone",
         {numberedAt({70, 0, 60, 6}, u"{n} / {c}", 1, 1, &bold), line()},
         false,
         "'&C&10&\"SimSun,Bold Italic\"&P / &N' None",
         ""},
        {"two on the left",
         {numberedAt({0, 6, 30, 6}, u"{c}", 1, 1), numberedAt({0, 0, 30, 6}, u"{n}<", 1, 1, &unsafe)},
         false,
         "'&L&10&\"-,Regular\"&P<\\n&10&\"-,Regular\"&N' None",
         ""},
        {"too long for a code",
         {numberedAt({0, 0, 60, 6}, std::u16string(250, u'x') + u"{n}", 1, 1)},
         false,
         nullptr,
         "A1 s '"},
        {"printed pages", {numberedAt({0, 0, 60, 6}, u"{n}", 1, 1)}, true, nullptr, "A1 s '1'"},
    };
    for (const auto& one : cases) {
        SheetFeed feed = Workbook::feed({0, 30, 60}, one.paged);
        feed.put(bandOf(BandKind::PageHeader, 12, one.header));
        feed.row(BandKind::Row, {u"row"});
        const std::string facts = factsOf(feed);
        EXPECT_EQ(only(facts, {"printed"}),
                  one.printed == nullptr ? "" : "printed " + std::string(one.printed) + "\n")
            << one.name;
        const std::string firstRow = *one.rows == '\0' ? "A1 s 'row'" : one.rows;
        EXPECT_TRUE(only(facts, {"A1"}).starts_with(firstRow)) << one.name << "\n" << facts;
    }
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

TEST_P(Workbook, LaysOutPagesInOneSheet) {
    SheetFeed feed = Workbook::feed({0, 30, 60, 90}, true);
    feedPages(feed);
    const std::string facts = factsOf(feed, u"<2>");
    if (isXlsx()) {
        EXPECT_EQ(only(facts, {"title", "page"}),
                  "title A <title>\npage 9 portrait 100 fit False left 0.591\n");
    }
    EXPECT_EQ(only(facts, {"sheet", "breaks", "widths", "merged"}),
              "sheet A <title> freeze A3 titles None\n"
              "breaks [5]\n"
              "widths ['16.14', '16.29', '16.14']\n"
              "merged ['A4:A5', 'B1:C1', 'B6:C6', 'C4:C5']\n");
    for (const char* fact :
         {"B1 s '1 of <2>'", "A4 s 'tall'", "B5 s 'c'", "C4 s 'tall too'", "B6 s '2 of <2>'", "A8 s 'd'"}) {
        EXPECT_NE(facts.find(fact), std::string::npos) << fact << "\n" << facts;
    }
}

TEST_P(Workbook, RunsOnWithTitlesOnEachPrintedPage) {
    SheetFeed feed = Workbook::feed({0, 30, 60, 90});
    feed.row(BandKind::ReportHeader, {u"Title"});
    feed.row(BandKind::GridTitle, {u"Name", u"Sum", u"Note"});
    feed.row(BandKind::GridTitle, {u"", u"in Yuan", u""});
    feed.row(BandKind::Row, {u"a", u"1", u"x"});
    const std::string facts = factsOf(feed);
    EXPECT_EQ(only(facts, {"sheet", "breaks"}), "sheet A <title> freeze A4 titles $2:$3\nbreaks []\n");
    if (isXlsx()) {
        EXPECT_EQ(only(facts, {"page"}), "page 9 portrait None fit True left 0.591\n");
    }
}

TEST_P(Workbook, PlacesPicturesExactly) {
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
    SheetFeed feed = Workbook::feed({0, 30, 60, 90});
    // A picture makes no row beside texts, but the rows keep its room: the gap below "beside" belongs to its
    // row, and so do the 4 mm above it. Of the room below "below" its row takes 12 mm.
    feed.row(BandKind::ReportHeader, {u"a"});
    feed.put(bandOf(BandKind::ReportHeader, 60,
                    {textAt({0, 4, 30, 6}, u"beside"), item, item, chart, textAt({0, 24, 30, 6}, u"below")}));
    feed.row(BandKind::ReportHeader, {u"next"});
    const std::string bytes = feed.finish();
    // Its bytes stand there once.
    const std::size_t place = bytes.find(picture->bytes);
    EXPECT_NE(place, std::string::npos);
    EXPECT_EQ(bytes.find(picture->bytes, place + 1), std::string::npos);
    const std::string facts = readBack(bytes, GetParam().extension);
    // 36 EMU are a micrometre.
    if (isXlsx()) {
        EXPECT_EQ(only(facts, {"picture"}),
                  "picture 1 108000 1 252000 648000 576000\npicture 1 108000 1 252000 648000 576000\n");
    }
    EXPECT_EQ(only(facts, {"A2", "A3", "A4"}),
              "A2 s 'beside' General | SimSun 10.0 FF000000 -  left top 0 ---- h68.25 \n"
              "A3 s 'below' General | SimSun 10.0 FF000000 -  left top 0 ---- h51.25 \n"
              "A4 s 'next' General | SimSun 10.0 FF000000 -  left center 0 ---- h17.25 \n");
}

// Printed labels are as far apart as on paper; where tables run on, large gaps are cut.
TEST_P(Workbook, KeepsThePitchOfLabels) {
    for (const bool paged : {true, false}) {
        SheetFeed feed = Workbook::feed({0, 30}, paged);
        for (int page = 0; page < 2; ++page) {
            if (page > 0) feed.newPage();
            for (const char16_t* const name : {u"a", u"b"}) {
                feed.put(bandOf(BandKind::GroupHeader, 40,
                                {textAt({0, 3, 30, 6}, name), textAt({0, 30, 30, 6}, u"place")}));
            }
            feed.skip(50);
            feed.put(bandOf(BandKind::PageFooter, 6, {textAt({0, 0, 30, 6}, u"footer")}));
        }
        std::string heights;
        const std::string facts = only(factsOf(feed), {"A"});
        for (std::size_t at = 0; (at = facts.find(" h", at)) != std::string::npos; ++at) {
            heights += facts.substr(at + 2, facts.find(' ', at + 1) - at - 2) + ' ';
        }
        EXPECT_EQ(heights, paged ? "25.75 88.00 25.75 88.00 39.75 25.75 88.00 25.75 88.00 39.75 "
                                 : "17.25 62.50 25.75 62.50 39.75 17.25 62.50 25.75 62.50 39.75 ")
            << facts;
    }
}

// A frame goes on over the space between two texts, and cells under a picture bear the borders of its style.
TEST_P(Workbook, DrawsFramesWhole) {
    Item frame;
    frame.box = {0, 0, 60 * kMm, 40 * kMm};
    frame.content = BoxItem{{BorderLine{250, {}}, std::nullopt}};
    ResolvedStyle framed;
    framed.border = {{250, {}}, {250, {}}, {250, {}}, {250, {}}};
    Item picture = textAt({60, 0, 30, 40}, u"", &framed);
    picture.content = PictureItem{};
    SheetFeed feed = Workbook::feed({0, 30, 60, 90});
    feed.put(bandOf(BandKind::ReportHeader, 40,
                    {frame, picture, textAt({0, 2, 30, 6}, u"above"), textAt({30, 30, 30, 6}, u"below")}));
    std::string borders;
    const std::string facts = only(factsOf(feed), {"A", "B", "C"});
    for (std::size_t place = 0; (place = facts.find(" h", place)) != std::string::npos; ++place) {
        borders += facts.substr(place - 4, 4) + ' ';
    }
    EXPECT_EQ(borders, "tt-- -tt- ttt- t--t --tt t-tt ") << facts;
}

TEST_P(Workbook, KeepsHostileTextAsData) {
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
    SheetFeed feed = Workbook::feed({0, 30});
    feed.options.info.title = u"x";
    for (const std::u16string& text : texts) feed.row(BandKind::Row, {text}, &style);
    Item link = textAt({0, 0, 30, 6}, u"a");
    std::get<TextItem>(link.content).link = u"javascript:x";
    feed.put(bandOf(BandKind::ReportFooter, 6, {link}));
    std::get<TextItem>(link.content).link = u"https://x/\"&<";
    feed.put(bandOf(BandKind::ReportFooter, 6, {link}));
    std::string values;
    const std::string facts = only(factsOf(feed), {"A"});
    for (std::size_t from = 0; from < facts.size(); from = facts.find('\n', from) + 1) {
        const std::size_t start = facts.find(' ', from) + 1;
        values += facts.substr(start, facts.find(" General", start) - start) + "\n";
    }
    // The reader of packages shows escapes of control characters as they are written.
    const std::string controls = isXlsx() ? "_x005F_x0041_ _x0001__x001F_" : "_x0041_ \\x01\\x1f";
    EXPECT_EQ(values,
              "s '=1+1'\ns '+1'\ns '@x'\ns '</t></is><c>&amp;'\ns ' lead and trail '\ns '" + controls +
                  "'\n"
                  "s '{=A1}'\ns "
                  "'\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f\\u957f'...(32767)\n"
                  "s '\\ufffd'\ns '\\U0001f600'\ns 'a'\ns 'a'\n");
    EXPECT_NE(facts.find("https://x/\"&<"), std::string::npos);
    EXPECT_EQ(facts.find("javascript"), std::string::npos);
}

// Of a span the link is that of all its cells, and of texts that are joined the first one that has any. What
// a spreadsheet program would take for damage is none.
TEST_P(Workbook, KeepsLinksThatASheetCanHold) {
    const auto linked = [](Rect box, const char16_t* text, std::u16string address) {
        Item item = textAt(box, text);
        std::get<TextItem>(item.content).link = std::move(address);
        return item;
    };
    const std::u16string longest = u"https://x/" + std::u16string(2'079 - 10, u'y');
    SheetFeed feed = Workbook::feed({0, 30, 60});
    feed.put(
        bandOf(BandKind::ReportHeader, 12,
               {linked({0, 0, 60, 6}, u"wide", u"https://wide/"), linked({0, 0, 30, 6}, u"joined", u"tel:2"),
                linked({0, 6, 30, 6}, u"b", u"https://one/")}));
    feed.put(bandOf(BandKind::ReportHeader, 12,
                    {textAt({0, 0, 60, 6}, u"plain"), linked({0, 0, 30, 6}, u"joined", u"https://joined/"),
                     linked({0, 6, 30, 6}, u"b", longest), linked({30, 6, 30, 6}, u"c", longest + u"z")}));
    feed.put(bandOf(
        BandKind::ReportHeader, 12,
        {linked({0, 0, 30, 12}, u"tall", u"https://tall/"), linked({30, 0, 30, 6}, u"d", u"https://x/\ny"),
         linked({30, 6, 30, 6}, u"e", u"https://x/\x1")}));
    EXPECT_EQ(only(factsOf(feed), {"links"}),
              "links [('A1:B1', 'https://wide/'), ('A2', 'https://one/'), ('A3:B3', 'https://joined/'), "
              "('A4', 'https://x/yyyyyyyyyyyyyyyyyyyy'), ('A5:A6', 'https://tall/')]\n");
}

// A line that ends within a cell lies above the cells, where it is on paper; one that ends with them is a
// border.
TEST_P(Workbook, DrawsLinesAsLongAsTheyAre) {
    const auto lineAt = [](Rect box) {
        Item line = textAt(box, u"");
        line.content = LineItem{};
        return line;
    };
    SheetFeed feed = Workbook::feed({0, 30, 60, 90});
    feed.put(
        bandOf(BandKind::ReportHeader, 14,
               {textAt({0, 0, 90, 6}, u"wide"), lineAt({30, 6, 30, 0}), textAt({0, 8, 90, 6}, u"below")}));
    feed.put(bandOf(BandKind::ReportHeader, 6, {textAt({0, 0, 90, 6}, u"wide"), lineAt({1, 6, 88, 0})}));
    feed.put(bandOf(BandKind::ReportHeader, 6, {textAt({30, 0, 30, 6}, u"one"), lineAt({30, 6, 30, 0})}));
    const std::string all = factsOf(feed);
    const std::string facts = only(all, {"A1", "A2", "A3", "B4"});
    std::string borders;
    for (std::size_t place = 0; (place = facts.find(" h", place)) != std::string::npos; ++place) {
        borders += facts.substr(place - 4, 4) + ' ';
    }
    EXPECT_EQ(borders, "---- ---- ---t ---t ") << facts;
    if (isXlsx()) {
        EXPECT_EQ(only(all, {"lines"}), "lines 1\n");
    }
}

// A group's header in one of the page's columns, beside the end of a higher row in the other.
TEST_P(Workbook, PaintsNoNeighboursOfABand) {
    SheetFeed feed = Workbook::feed({0, 30, 60}, true);
    const auto narrow = [](Band band) {
        band.width = 30 * kMm;
        return band;
    };
    Band header = bandOf(BandKind::GroupHeader, 9, {textAt({0, 1, 30, 6}, u"header")});
    header.background = Color{255, 0, 16};
    feed.putAt(0, 0, narrow(bandOf(BandKind::Row, 8, {textAt({0, 0, 30, 8}, u"high")})));
    feed.putAt(30, 0, narrow(bandOf(BandKind::Row, 6, {textAt({0, 0, 30, 6}, u"low")})));
    feed.putAt(30, 6, narrow(std::move(header)));
    std::string painted;
    const std::string facts = only(factsOf(feed), {"A", "B"});
    for (std::size_t end = 0, from = 0; (end = facts.find('\n', from)) != std::string::npos; from = end + 1) {
        const std::string line = facts.substr(from, end - from);
        if (line.find("FFFF0010") != std::string::npos) painted += line.substr(0, line.find(' ')) + ' ';
    }
    EXPECT_EQ(painted, "B2 ") << facts;
}

TEST_P(Workbook, GivesTheSameBytesAgain) {
    const auto write = [] {
        SheetFeed feed = Workbook::feed({0, 30, 60, 90}, true);
        feedPages(feed);
        return feed.finish();
    };
    EXPECT_EQ(write(), write());
}

// Texts that cross the records of the shared texts at every place, and more rows than a sheet holds.
TEST(XlsWriter, GoesOnInFurtherRecordsAndSheets) {
    if (!hasReader("xlrd")) GTEST_SKIP() << "needs xlrd";
    SheetFeed feed(&makeXlsWriter, {0, 30});
    constexpr int kRows = 66'000;
    for (int i = 0; i < kRows; ++i) {
        const std::string number = std::to_string(i);
        std::u16string text(number.begin(), number.end());
        text.append(static_cast<std::size_t>(i % 7), i % 2 == 0 ? u'x' : u'字');
        if (i % 10'000 == 5'000) text.append(20'000, i % 20'000 == 5'000 ? u'y' : u'文');
        feed.row(BandKind::Row, {text});
    }
    const std::string facts = readBack(feed.finish(), "xls");
    EXPECT_NE(facts.find("\nsheet A <title> (2) "), std::string::npos) << facts.substr(0, 500);
    EXPECT_NE(facts.find("\nA464 s '65999\\u5b57"), std::string::npos);
    for (int i = 0; i < kRows; i += 997) {
        const std::string tail = i % 7 == 0 ? "'" : i % 2 == 0 ? "x" : "\\u5b57";
        EXPECT_NE(facts.find(" s '" + std::to_string(i) + tail), std::string::npos) << i;
    }
}

}  // namespace
}  // namespace qbsvrl6
