// The columns of cell documents, from the report's definition.
#include <gtest/gtest.h>

#include "qbsvrl6/layout/layout.h"
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

std::vector<int> millimetres(const std::vector<Micrometres>& cuts) {
    std::vector<int> result;
    for (const Micrometres cut : cuts) result.push_back(cut / kMm);
    return result;
}

TEST(ColumnCuts, LetTheGridsLead) {
    ReportDefinition report;  // A4, margins of 15 mm
    report.grid = gridOf({30, 60});
    report.reportHeaders.push_back(sectionWith({{0, 45}, {60, 120}}));
    report.pageHeader = sectionWith({{100, 20}});
    const LayoutOptions all;
    EXPECT_EQ(millimetres(columnCuts(report, all)), (std::vector<int>{15, 45, 60, 75, 105, 115, 135, 195}));
    EXPECT_EQ(millimetres(columnCuts(report, all, FreeEdges::Yield)),
              (std::vector<int>{15, 45, 105, 115, 135, 195}));
    LayoutOptions onlyGrid;
    onlyGrid.onlyDetailGrid = true;
    EXPECT_EQ(millimetres(columnCuts(report, onlyGrid)), (std::vector<int>{15, 45, 105}));
    report.grid = nullptr;
    EXPECT_EQ(millimetres(columnCuts(report, all, FreeEdges::Yield)),
              (std::vector<int>{15, 60, 75, 115, 135, 195}));
}

TEST(ColumnCuts, TakeInSubReports) {
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
    EXPECT_EQ(millimetres(columnCuts(report, {}, FreeEdges::Yield)),
              (std::vector<int>{15, 25, 45, 65, 90, 135}));
}

}  // namespace
}  // namespace qbsvrl6
