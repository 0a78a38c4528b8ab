// The columns of cell documents, from the report's definition.
#include <gtest/gtest.h>

#include "qbsvrl6/layout/cell_columns.h"
#include "sheet_fixture.h"

namespace qbsvrl6 {
namespace {

SectionPtr sectionWith(std::vector<std::pair<int, int>> boxes) {
    auto section = std::make_unique<Section>();
    for (const auto& [x, width] : boxes) {
        auto control = std::make_unique<Control>();
        control->box = {x * kMm, 0, width * kMm, 5 * kMm};
        section->controls.items.push_back(std::move(control));
    }
    return section;
}

std::unique_ptr<DetailGrid> gridOf(std::initializer_list<int> widths) {
    auto grid = std::make_unique<DetailGrid>();
    for (const int width : widths) {
        grid->columns.push_back(std::make_unique<Column>());
        grid->columns.back()->width = width * kMm;
    }
    return grid;
}

std::vector<int> millimetres(const std::vector<Micrometres>& edges) {
    std::vector<int> result;
    for (const Micrometres edge : edges) result.push_back(edge / kMm);
    return result;
}

TEST(ColumnEdges, LetTheGridsLead) {
    ReportDefinition report;  // A4, margins of 15 mm
    report.grid = gridOf({30, 60});
    report.reportHeaders.push_back(sectionWith({{0, 45}, {60, 120}}));
    report.pageHeader = sectionWith({{100, 20}});
    const LayoutOptions all;
    EXPECT_EQ(millimetres(columnEdges(report, all)), (std::vector<int>{15, 45, 60, 75, 105, 115, 135, 195}));
    EXPECT_EQ(millimetres(columnEdges(report, all, CellColumns::Grid)),
              (std::vector<int>{15, 45, 105, 115, 135, 195}));
    LayoutOptions onlyGrid;
    onlyGrid.onlyDetailGrid = true;
    EXPECT_EQ(millimetres(columnEdges(report, onlyGrid)), (std::vector<int>{15, 45, 105}));
    report.grid = nullptr;
    EXPECT_EQ(millimetres(columnEdges(report, all, CellColumns::Grid)),
              (std::vector<int>{15, 60, 75, 115, 135, 195}));
}

// A column of the grid is divided only if texts of one row would share a cell.
TEST(ColumnEdges, KeepTextsOfOneRowApart) {
    const struct {
        const char* name;
        std::vector<Rect> boxes;  // above columns from 15 to 95 and to 195
        std::vector<int> expected;
    } cases[] = {
        {"three", {{0, 0, 20, 6}, {22, 0, 20, 6}, {44, 0, 20, 6}}, {15, 37, 59, 95, 195}},
        {"out of order", {{44, 0, 20, 6}, {0, 0, 20, 6}, {22, 0, 20, 6}}, {15, 37, 59, 95, 195}},
        {"nearly the same edges in the next row",
         {{0, 0, 20, 6}, {22, 0, 20, 6}, {0, 7, 20, 6}, {22, 7, 20, 6}, {0, 14, 23, 6}, {24, 14, 20, 6}},
         {15, 37, 95, 195}},
        {"each in its column", {{0, 0, 30, 6}, {85, 0, 30, 6}}, {15, 95, 195}},
        {"over the edge of a column", {{0, 0, 150, 6}, {155, 0, 20, 6}}, {15, 95, 170, 195}},
        {"in different rows", {{0, 0, 20, 6}, {22, 6, 20, 6}, {44, 12, 20, 6}}, {15, 95, 195}},
        {"half beside each other", {{0, 0, 20, 6}, {22, 2, 20, 6}}, {15, 37, 95, 195}},
        {"a high one beside the second row", {{30, 0, 20, 12}, {0, 6, 20, 6}}, {15, 45, 95, 195}},
        {"on top of each other", {{0, 0, 80, 6}, {60, 0, 20, 6}}, {15, 95, 195}},
        {"without height", {{0, 0, 20, 0}, {22, 0, 20, 0}}, {15, 95, 195}},
    };
    for (const auto& one : cases) {
        ReportDefinition report;
        report.grid = gridOf({80, 100});
        report.reportHeaders.push_back(sectionWith({}));
        for (const Rect& box : one.boxes) {
            auto& controls = report.reportHeaders[0]->controls.items;
            controls.push_back(std::make_unique<Control>());
            controls.back()->box = {box.x * kMm, box.y * kMm, box.width * kMm, box.height * kMm};
        }
        for (const CellColumns columns : {CellColumns::Grid, CellColumns::Records}) {
            EXPECT_EQ(millimetres(columnEdges(report, {}, columns)), one.expected) << one.name;
        }
    }
}

// Labels: a grid without visible rows has no precedence, and each of the page's columns has the same edges.
TEST(ColumnEdges, RepeatInThePagesColumns) {
    ReportDefinition report;
    report.page.columns = 3;
    report.page.columnGap = 0;
    report.grid = gridOf({34, 26});
    report.grid->columns[0]->name = u"A";
    report.grid->columns[1]->name = u"B";
    report.grid->groups.push_back(std::make_unique<Group>());
    SectionPtr& header = report.grid->groups[0]->header;
    const struct {
        const char* name;
        int rowHeight;
        bool namesColumn;
        CellColumns columns;
        std::vector<int> expected;
    } cases[] = {
        {"rows", 6, false, CellColumns::Grid, {15, 49, 75, 109, 135, 169, 195}},
        {"rows, as records", 6, false, CellColumns::Records, {15, 49, 75, 109, 135, 169, 195}},
        {"rows and free edges",
         6,
         false,
         CellColumns::Page,
         {15, 17, 47, 49, 51, 73, 75, 77, 107, 109, 111, 133, 135, 137, 167, 169, 171, 193, 195}},
        {"no rows",
         0,
         false,
         CellColumns::Grid,
         {15, 17, 47, 51, 73, 77, 107, 111, 133, 137, 167, 171, 193, 195}},
        {"no rows, as records", 0, false, CellColumns::Records, {17, 51, 77, 111, 137, 171, 193}},
        {"no rows, a named column", 0, true, CellColumns::Records, {15, 51, 75, 111, 135, 171, 193}},
    };
    for (const auto& one : cases) {
        report.grid->titleHeight = 0;
        report.grid->rowHeight = one.rowHeight * kMm;
        header = sectionWith({{2, 30}, {36, 22}});
        if (one.namesColumn) header->controls.items[0]->column = u"A";
        EXPECT_EQ(millimetres(columnEdges(report, {}, one.columns)), one.expected) << one.name;
    }
}

// Columns that continue on further pages share the columns of the first page, each as wide as the widest.
TEST(ColumnEdges, ShareTheColumnsOfAllPages) {
    ReportDefinition report;  // 180 mm between its margins
    report.grid = gridOf({40, 60, 70, 80, 30});
    report.grid->adapt = ColumnAdapt::ToNewPageRepeatFixed;
    report.grid->fixedColumns = 1;
    EXPECT_EQ(millimetres(columnEdges(report, {})), (std::vector<int>{15, 55, 115, 135, 165, 185}));
    for (const CellColumns columns : {CellColumns::Grid, CellColumns::Records}) {
        EXPECT_EQ(millimetres(columnEdges(report, {}, columns)), (std::vector<int>{15, 55, 135, 205}));
    }
    std::vector<int> moved;
    for (const ColumnMove& move : columnMoves(report, {}, CellColumns::Grid)) {
        moved.insert(moved.end(), {move.x / kMm, move.newX / kMm, move.newWidth / kMm});
    }
    EXPECT_EQ(moved, (std::vector<int>{0, 0, 40, 40, 40, 80, 100, 120, 70, 40, 40, 80, 120, 120, 70}));
    EXPECT_TRUE(columnMoves(report, {}, CellColumns::Page).empty());
    LayoutOptions continuous;
    continuous.paged = false;
    EXPECT_TRUE(columnMoves(report, continuous, CellColumns::Grid).empty());
}

TEST(ColumnEdges, TakeInSubReports) {
    const auto subReport = [](Control& control, std::initializer_list<int> widths) {
        SubReportContent content;
        content.report = std::make_unique<Report>();
        content.report->definition.grid = gridOf(widths);
        control.content = std::move(content);
    };
    ReportDefinition report;
    report.grid = gridOf({30, 90});
    subReport(report.grid->columns[1]->content, {20, 25});
    report.reportHeaders.push_back(sectionWith({{10, 60}}));
    subReport(*report.reportHeaders[0]->controls.items[0], {40});
    // The grid 15, 45, 135; its cell's 45, 65, 90; the header's 25, 65.
    EXPECT_EQ(millimetres(columnEdges(report, {}, CellColumns::Grid)),
              (std::vector<int>{15, 25, 45, 65, 90, 135}));
}

}  // namespace
}  // namespace qbsvrl6
