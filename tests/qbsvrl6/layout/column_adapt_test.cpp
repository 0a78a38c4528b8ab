#include <gtest/gtest.h>

#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

// Five columns of 30 mm on a page with 70 mm between its margins.
std::string page(int height) {
    return "<Page width='80mm' height='" + std::to_string(height) + "mm' margins='5mm'/>";
}

const std::string kParts =
    "<ReportHeader height='5mm'><Text width='60mm' "
    "height='5mm' text='H'/>"
    "</ReportHeader><PageFooter height='5mm'><Text width='60mm' height='5mm' "
    "text='p[PageNumber]/[PageCount]'/></PageFooter>";

std::string grid(const std::string& attributes) {
    std::string columns;
    for (const char name : {'A', 'B', 'C', 'D', 'E'}) {
        columns += std::string("<Column name='") + name + "' width='30mm'><Title text='" + name +
                   "'/><Content text='" + static_cast<char>(name + 32) + "[n]'/></Column>";
    }
    return "<Grid titleHeight='5mm' rowHeight='8mm' " + attributes + "><Columns>" + columns +
           "</Columns><Groups><Group by='1'><Header height='6mm'><Text width='15mm' height='5mm' "
           "text='free'/>"
           "<Text column='A' toColumn='E' height='5mm' text='A-E'/><Text column='D' height='5mm' "
           "text='@D'/></Header></Group></Groups></Grid>";
}

TEST(ColumnAdapt, HasNineWays) {
    struct Case {
        const char* adapt;
        int height;  // of the page
        std::vector<std::string> pages;
    };
    const Case cases[] = {
        {"discard", 50, {"H A B free A-E a1 b1 a2 b2 p1/2", "A B a3 b3 p2/2"}},
        {"wrap",
         80,
         {"H A B C D E free A-E @D a1 b1 c1 d1 e1 p1/2", "A B C D E a2 b2 c2 d2 e2 a3 b3 c3 d3 e3 p2/2"}},
        {"wrapExcludeGroup",
         80,
         {"H A B C D E free A-E a1 b1 c1 d1 e1 p1/2", "A B C D E a2 b2 c2 d2 e2 a3 b3 c3 d3 e3 p2/2"}},
        {"resizeToFit",
         50,
         {"H A B C D E free A-E @D a1 b1 c1 d1 e1 a2 b2 c2 d2 e2 p1/2", "A B C D E a3 b3 c3 d3 e3 p2/2"}},
        {"shrinkToFit", 50, {"H A B C D E free A-E @D a1 b1 c1 d1 e1 a2 b2 c2 d2 e2 a3 b3 c3 d3 e3 p1/1"}},
        {"toNewPage",
         50,
         {"H A B free A-E a1 b1 a2 b2 p1/6", "C D A-E @D c1 d1 c2 d2 p2/6", "E A-E e1 e2 p3/6",
          "A B a3 b3 p4/6", "C D c3 d3 p5/6", "E e3 p6/6"}},
        {"toNewPageEx",
         50,
         {"H A B free A-E a1 b1 a2 b2 p1/4", "A B a3 b3 p2/4", "C D A-E @D c1 d1 c2 d2 c3 d3 p3/4",
          "E A-E e1 e2 e3 p4/4"}},
        {"toNewPageRepeatFixed",
         50,
         {"H A B free A-E a1 b1 a2 b2 p1/8", "A C A-E a1 c1 a2 c2 p2/8", "A D A-E @D a1 d1 a2 d2 p3/8",
          "A E A-E a1 e1 a2 e2 p4/8", "A B a3 b3 p5/8", "A C a3 c3 p6/8", "A D a3 d3 p7/8",
          "A E a3 e3 p8/8"}},
        {"toNewPageRepeatFixedEx",
         50,
         {"H A B free A-E a1 b1 a2 b2 p1/5", "A B a3 b3 p2/5", "A C A-E a1 c1 a2 c2 a3 c3 p3/5",
          "A D A-E @D a1 d1 a2 d2 a3 d3 p4/5", "A E A-E a1 e1 a2 e2 a3 e3 p5/5"}},
    };
    for (const Case& test : cases) {
        const RecordingSink sink = layOutText(
            page(test.height) + kParts + grid("fixedColumns='1' adapt='" + std::string(test.adapt) + "'"),
            numberedRows(3));
        EXPECT_EQ(sink.pageTexts(), test.pages) << test.adapt << "\n" << sink.everything();
    }
}

TEST(ColumnAdapt, GivesColumnCuts) {
    struct Case {
        const char* name;
        std::string elements;
        bool paged;
        std::vector<Micrometres> cuts;
    };
    const std::string header =
        "<ReportHeader height='5mm'><Text x='29.5mm' width='20mm' height='5mm' text='H'/></ReportHeader>";
    const Case cases[] = {
        {"a grid and a control", grid("adapt='discard'") + header, true, {5000, 20000, 35000, 54500, 65000}},
        {"as wide as it is", grid(""), false, {5000, 20000, 35000, 65000, 95000, 125000, 155000}},
        {"shrunk by default", grid(""), true, {5000, 19000, 33000, 47000, 61000, 75000}},
        {"resized", grid("adapt='resizeToFit'"), true, {5000, 19000, 33000, 47000, 61000, 75000}},
        {"wrapped", grid("adapt='wrap'"), true, {5000, 20000, 35000, 65000}},
        {"centred", grid("centered='true' adapt='discard'"), true, {10000, 25000, 40000, 70000}},
        {"no grid", header, true, {34500, 54500}},
        {"a sub-report",
         "<ReportHeader height='5mm'><SubReport x='10mm' width='50mm' "
         "height='5mm'><Report><Grid><Columns><Column name='a' "
         "width='20mm'/></Columns></Grid></Report></SubReport></ReportHeader>",
         true,
         {15000, 35000, 65000}},
        {"a sub-report in a cell",
         "<Grid><Columns><Column name='A' width='10mm'/><Column name='B' "
         "width='50mm'><Content><SubReport><Report><Grid><Columns>"
         "<Column name='a' width='20mm'/><Column name='b' "
         "width='20mm'/></Columns></Grid></Report></SubReport></Content></Column>"
         "</Columns></Grid>",
         true,
         {5000, 15000, 35000, 55000, 65000}},
    };
    for (const Case& test : cases) {
        LayoutOptions options;
        options.paged = test.paged;
        EXPECT_EQ(cutsOf(page(50) + test.elements, options), test.cuts) << test.name;
    }
}

}  // namespace
}  // namespace qbsvrl6
