#include <gtest/gtest.h>

#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

// A page with 70 x 60 mm between its margins.
const std::string kPage = "<Page width=\"80mm\" height=\"70mm\" margins=\"5mm\"/>";

std::string grid(const std::string& attributes = "", const std::string& groups = "") {
    return "<Grid titleHeight=\"6mm\" rowHeight=\"10mm\" " + attributes +
           "><Columns><Column name=\"N\" width=\"30mm\"><Title text=\"T\"/><Content text=\"[n]\"/></Column>"
           "<Column name=\"R\" width=\"20mm\"><Title text=\"U\"/><Content text=\"[n * "
           "10]\"/></Column></Columns>" +
           groups + "</Grid>";
}

TEST(PageFlow, PlacesSectionsGridAndPageParts) {
    const RecordingSink sink =
        layOutText(kPage +
                       "<PageHeader height=\"5mm\"><Text width=\"70mm\" height=\"5mm\" text=\"page "
                       "[PageNumber]\"/></PageHeader>"
                       "<ReportHeader height=\"8mm\"><Text width=\"50mm\" height=\"6mm\" text=\"Head\"/>"
                       "<Line y=\"7mm\" width=\"70mm\"/></ReportHeader>" +
                       grid() +
                       "<ReportFooter height=\"9mm\"><Box width=\"10mm\" height=\"9mm\"/></ReportFooter>"
                       "<PageFooter height=\"4mm\"><Text width=\"70mm\" height=\"4mm\" "
                       "text=\"[PageNumber]/[PageCount]\"/></PageFooter>",
                   numberedRows(4));
    EXPECT_EQ(sink.everything(),
              "page 1\n"
              " PageHeader 5,5 70x5\n"
              "  text 0,0 70x5 \"page 1\"\n"
              " ReportHeader 5,10 70x8\n"
              "  text 0,0 50x6 \"Head\"\n"
              "  line 0,7 70x0\n"
              " GridTitle 5,18 50x6 grid\n"
              "  text 0,0 30x6 \"T\"\n"
              "  text 30,0 20x6 \"U\"\n"
              " Row 5,24 50x10 grid\n"
              "  text 0,0 30x10 \"1\"\n"
              "  text 30,0 20x10 \"10\"\n"
              " Row 5,34 50x10 grid\n"
              "  text 0,0 30x10 \"2\"\n"
              "  text 30,0 20x10 \"20\"\n"
              " Row 5,44 50x10 grid\n"
              "  text 0,0 30x10 \"3\"\n"
              "  text 30,0 20x10 \"30\"\n"
              " PageFooter 5,61 70x4\n"
              "  text 0,0 70x4 \"1/2\"\n"
              "page 2\n"
              " PageHeader 5,5 70x5\n"
              "  text 0,0 70x5 \"page 2\"\n"
              " GridTitle 5,10 50x6 grid again\n"
              "  text 0,0 30x6 \"T\"\n"
              "  text 30,0 20x6 \"U\"\n"
              " Row 5,16 50x10 grid\n"
              "  text 0,0 30x10 \"4\"\n"
              "  text 30,0 20x10 \"40\"\n"
              " ReportFooter 5,26 70x9\n"
              "  box 0,0 10x9\n"
              " PageFooter 5,61 70x4\n"
              "  text 0,0 70x4 \"2/2\"\n");
}

struct PagesCase {
    const char* name;
    std::string elements;
    std::string json;
    std::vector<std::string> pages;  // the texts of each
};

void check(const std::vector<PagesCase>& cases, const LayoutOptions& options = {}) {
    for (const PagesCase& test : cases) {
        const RecordingSink sink = layOutText(kPage + test.elements, test.json, options);
        EXPECT_EQ(sink.pageTexts(), test.pages) << test.name << "\n" << sink.everything();
    }
}

std::string section(const std::string& element, const std::string& attributes, const std::string& text) {
    return "<" + element + " " + attributes + "><Text width=\"60mm\" height=\"5mm\" text=\"" + text +
           "\"/></" + element + ">";
}

TEST(PageFlow, BreaksPages) {
    const std::string footer = section("PageFooter", "height='5mm'", "p[PageNumber]");
    check({
        {"an empty report has a page", "", "[]", {""}},
        {"the title isn't repeated unless it should be",
         grid("repeatTitle='false'"),
         numberedRows(7),
         {"T U 1 10 2 20 3 30 4 40 5 50", "6 60 7 70"}},
        {"no title row",
         grid().replace(grid().find("titleHeight=\"6mm\""), 17, "titleHeight=\"0mm\""),
         numberedRows(7),
         {"1 10 2 20 3 30 4 40 5 50 6 60", "7 70"}},
        {"the title never stands alone",
         section("ReportHeader", "height='47mm'", "H") + grid(),
         numberedRows(1),
         {"H", "T U 1 10"}},
        {"no rows", section("ReportHeader", "height='5mm'", "H") + grid(), "[]", {"H T U"}},
        {"new page before and after",
         section("ReportHeader", "height='5mm' newPageAfter='true'", "A") +
             section("ReportHeader", "height='5mm'", "B") +
             section("ReportHeader", "height='5mm' newPageBefore='true' newPageAfter='true'", "C"),
         "[]",
         {"A", "B", "C"}},
        {"a section that doesn't fit goes on",
         section("ReportHeader", "height='40mm'", "A") + section("ReportHeader", "height='30mm'", "B"),
         "[]",
         {"A", "B"}},
        {"a section that isn't visible",
         section("ReportHeader", "height='5mm' visibleWhen='[n] = 2'", "A") +
             section("ReportHeader", "height='5mm' visibleWhen='n = 1'", "B"),
         numberedRows(2),
         {"B"}},
        {"page totals",
         grid() + section("PageHeader", "height='5mm'", "sum [Sum(n)] of [Sum(n, Report)] from [n]") +
             section("PageFooter", "height='5mm'", "to [n] rows [Count(*)] p[PageNumber]"),
         numberedRows(6),
         {"sum 10 of 21 from 1 T U 1 10 2 20 3 30 4 40 to 4 rows 4 p1",
          "sum 11 of 21 from 5 T U 5 50 6 60 to 6 rows 2 p2"}},
        {"a row on two pages counts on its first",
         section("PageFooter", "height='5mm'", "=[Sum(n)]") +
             "<Grid titleHeight='0mm' rowHeight='80mm'><Columns><Column name='A' width='60mm'>"
             "<Content text='[n]' verticalAlign='top'/></Column></Columns></Grid>",
         numberedRows(1),
         {"1 =1", "=0"}},
        {"a total ahead of its rows",
         "<ReportHeader height='5mm'><Text width='60mm' height='5mm' evaluate='report' text='[n] "
         "[Sum(n)]'/></ReportHeader>"
         "<ReportHeader height='5mm'><Text width='60mm' height='5mm' evaluate='page' text='[n] "
         "[Sum(n)]/[PageCount]'/></ReportHeader>" +
             grid(),
         numberedRows(5),
         {"5 15 4 10/2 T U 1 10 2 20 3 30 4 40", "T U 5 50"}},
        {"a page header on the first page only",
         section("PageHeader", "height='20mm' visibleWhen='PageNumber = 1'", "first") + grid(),
         numberedRows(6),
         {"first T U 1 10 2 20 3 30", "T U 4 40 5 50 6 60"}},
        {"repeated values",
         "<Grid titleHeight='0mm' rowHeight='10mm'><Columns><Column name='A' width='20mm'>"
         "<Content text='[If(n = 1, 0, If(n &lt; 8, 1, 2))]' suppressRepeated='true'/></Column>"
         "<Column name='B' width='20mm'><Content text='n[n]'/></Column></Columns></Grid>",
         numberedRows(8),
         {"0 n1 1 n2 n3 n4 n5 n6", "1 n7 2 n8"}},
        {"rows by number",
         "<Grid titleHeight='0mm' rowHeight='10mm'><Columns><Column name='A' width='60mm'>"
         "<Content text='[RowNumber] [RowNumber(Page)] [Sum(n, "
         "Running)]/[PageNumber]'/></Column></Columns></Grid>",
         numberedRows(7),
         {"1 1 1/1 2 2 3/1 3 3 6/1 4 4 10/1 5 5 15/1 6 6 21/1", "7 1 28/2"}},
        {"a filter", grid("filter='[n] &gt; 2 and n &lt;&gt; 4'"), numberedRows(5), {"T U 3 30 5 50"}},
        {"footer text", grid() + footer, numberedRows(1), {"T U 1 10 p1"}},
    });
}

// A cover has no rows yet, a page after the last row has had them all.
TEST(PageFlow, CarriesRunningTotalsOverPagesWithoutRows) {
    const RecordingSink sink = layOutText(
        kPage + R"(<ReportHeader height="9mm" newPageAfter="true"/>)" + grid() +
            R"(<ReportFooter height="9mm" newPageBefore="true"/><PageFooter height="8mm">)"
            R"(<Text width="70mm" height="4mm" text="late [Sum(n,Running)]" evaluate="page"/>)"
            R"(<Text y="4mm" width="70mm" height="4mm" text="now [Sum(n,Running)]"/></PageFooter>)",
        numberedRows(6));
    std::string footers;
    const std::string all = sink.everything();
    for (std::size_t at = all.find('"'); at != std::string::npos; at = all.find('"', at + 1)) {
        const std::size_t end = all.find('"', at + 1);
        const std::string text = all.substr(at + 1, end - at - 1);
        if (text.starts_with("late") || text.starts_with("now")) footers += text + ";";
        at = end;
    }
    EXPECT_EQ(footers, "late 0;now 0;late 10;now 10;late 21;now 21;late 21;now 21;");
}

TEST(PageFlow, FillsThePageWithBlankRows) {
    const RecordingSink sink =
        layOutText(kPage + grid("fillBlankRows='true'") + section("ReportFooter", "height='12mm'", "F"),
                   numberedRows(2));
    EXPECT_EQ(sink.bandLines(),
              (std::vector<std::string>{"page 1", "GridTitle 5,5 50x6 grid", "Row 5,11 50x10 grid",
                                        "Row 5,21 50x10 grid", "BlankRow 5,31 50x10 grid",
                                        "BlankRow 5,41 50x10 grid", "ReportFooter 5,51 70x12"}));
}

TEST(PageFlow, SplitsWhatNoPageHolds) {
    // 40 lines of a text in one row; all of them come, in order, on pages that are full.
    std::string lines;
    std::string expected;
    for (int i = 1; i <= 40; ++i) {
        lines += (i > 1 ? "\\n" : "") + std::to_string(i);
        expected += (i > 1 ? " " : "") + std::to_string(i);
    }
    const RecordingSink sink = layOutText(
        kPage +
            "<Grid titleHeight='6mm' rowHeight='10mm'><Columns><Column name='A' width='30mm'>"
            "<Title text='T'/><Content text='[t]' border='0.1mm'/></Column><Column name='B' width='30mm'>"
            "<Content text='side' verticalAlign='top'/></Column></Columns></Grid>",
        "[{\"t\":\"" + lines + "\"},{\"t\":\"end\"}]");
    ASSERT_GE(sink.pages.size(), 3u) << sink.everything();
    std::string all;
    for (std::string text : sink.pageTexts()) {
        for (char& c : text) {
            if (c == '|') c = ' ';
        }
        text.erase(0, text.find(' '));  // the title
        all += text;
    }
    std::string numbers = all;
    for (const std::string word : {" side", " side", " end"}) {
        const std::size_t at = numbers.find(word);
        ASSERT_NE(at, std::string::npos) << all;
        numbers.erase(at, word.size());
    }
    EXPECT_EQ(numbers, " " + expected);
    for (std::size_t i = 0; i + 1 < sink.pages.size(); ++i) {
        EXPECT_GT(sink.pages[i].back().y + sink.pages[i].back().band.height, 60'000) << "page " << i + 1;
    }
}

TEST(PageFlow, MakesSmallerWhatCantBeDivided) {
    const std::string chart = "<Chart width='30mm' height='80mm'/>";
    const std::string beside = "<Text x='40mm' width='20mm' height='5mm' text='beside'/>";
    const std::string below = "<Text y='80mm' width='20mm' height='5mm' text='below'/>";
    const std::string turned =
        "<Text width='8mm' height='10mm' rotation='90' text='two lines of words that grow'/>";
    const std::string columns =
        "<Columns><Column name='A' width='30mm'><Title text='T'/><Content border='0.1mm' text='[n]'/>"
        "</Column><Column name='C' width='30mm'><Content><Chart border='0.1mm'/></Content></Column>"
        "</Columns></Grid>";
    struct Case {
        const char* name;
        std::string elements;
        std::string all;
    };
    const Case cases[] = {
        {"what is below it follows",
         "<ReportHeader height='90mm'>" + chart + beside + below + "</ReportHeader>",
         "page 1\n"
         " ReportHeader 5,5 70x60\n"
         "  drawing 0,0 30x60\n"
         "  text 40,0 20x5 \"beside\"\n"
         "page 2\n"
         " ReportHeader 5,5 70x10\n"
         "  text 0,0 20x5 \"below\"\n"},
        {"its row has nothing more to show", "<Grid titleHeight='10mm' rowHeight='80mm'>" + columns,
         "page 1\n"
         " GridTitle 5,5 60x10 grid\n"
         "  text 0,0 30x10 \"T\"\n"
         "  text 30,0 30x10 \"\"\n"
         " Row 5,15 60x50 grid\n"
         "  text 0,0 30x50 \"1\"\n"
         "  drawing 30,0 30x50\n"},
        {"a row that fits but for its title", "<Grid titleHeight='10mm' rowHeight='55mm'>" + columns,
         "page 1\n"
         " GridTitle 5,5 60x10 grid\n"
         "  text 0,0 30x10 \"T\"\n"
         "  text 30,0 30x10 \"\"\n"
         " Row 5,15 60x50 grid\n"
         "  text 0,0 30x50 \"1\"\n"
         "  drawing 30,0 30x50\n"},
        {"a turned text grows along its lines", "<ReportHeader height='10mm'>" + turned + "</ReportHeader>",
         "page 1\n"
         " ReportHeader 5,5 70x22.858\n"
         "  text 0,0 8x22.858 \"two lines of|words that grow\"\n"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(layOutText(kPage + test.elements, numberedRows(1)).everything(), test.all) << test.name;
    }
}

TEST(PageFlow, GivesTheBlankEndOfASectionNoPage) {
    // The section grows with its text beyond the page; nothing of it would stand on another one.
    const RecordingSink sink = layOutText(
        kPage +
        "<ReportHeader height='55mm'><Text width='70mm' height='5mm' text='a&#10;b&#10;c&#10;d&#10;"
        "e&#10;f'/></ReportHeader><ReportFooter height='9mm' background='#ff0000'/>");
    EXPECT_EQ(sink.pageTexts(), (std::vector<std::string>{"a|b|c|d|e|f", ""})) << sink.everything();
}

TEST(PageFlow, SetsLabelsInColumns) {
    const std::string page = "<Page width='80mm' height='40mm' margins='5mm' columns='3' columnGap='2mm'/>";
    const std::string labels =
        "<ReportHeader height='6mm'><Text width='20mm' height='5mm' text='H'/></ReportHeader>"
        "<Grid titleHeight='0mm' rowHeight='12mm'><Columns><Column name='A' width='22mm'><Content "
        "text='[n]'/></Column>"
        "</Columns></Grid><ReportFooter height='5mm'><Text width='20mm' height='5mm' "
        "text='F'/></ReportFooter>";
    const RecordingSink sink = layOutText(page + labels, numberedRows(8));
    EXPECT_EQ(sink.bandLines(), (std::vector<std::string>{
                                    "page 1", "ReportHeader 5,5 70x6", "Row 5,11 22x12 grid",
                                    "Row 29,11 22x12 grid", "Row 53,11 22x12 grid", "Row 5,23 22x12 grid",
                                    "Row 29,23 22x12 grid", "Row 53,23 22x12 grid", "page 2",
                                    "Row 5,5 22x12 grid", "Row 5,17 22x12 grid", "ReportFooter 5,29 70x5"}));
    EXPECT_EQ(sink.pageTexts(), (std::vector<std::string>{"H 1 3 5 2 4 6", "7 8 F"}));
}

TEST(PageFlow, GoesOnWithoutPages) {
    LayoutOptions options;
    options.paged = false;
    const std::string elements = section("PageHeader", "height='5mm'", "PH [PageNumber]/[PageCount]") +
                                 section("PageFooter", "height='5mm'", "PF [Sum(n)]") +
                                 section("ReportHeader", "height='5mm' newPageAfter='true'", "H") +
                                 section("ReportFooter", "height='5mm'", "F") + grid("fillBlankRows='true'");
    check({{"all",
            elements,
            numberedRows(8),
            {"PH 1/1 H T U 1 10 2 20 3 30 4 40 5 50 6 60 7 70 8 80 F PF 36"}}},
          options);
    options.pageHeadersAndFooters = false;
    check({{"without page parts", elements, numberedRows(2), {"H T U 1 10 2 20 F"}}}, options);
    options.onlyDetailGrid = true;
    check({{"only the grid", elements, numberedRows(2), {"T U 1 10 2 20"}}}, options);
    options.paged = true;
    check({{"only the grid, on pages",
            elements,
            numberedRows(6),
            {"T U 1 10 2 20 3 30 4 40 5 50", "T U 6 60"}}},
          options);
}

}  // namespace
}  // namespace qbsvrl6
