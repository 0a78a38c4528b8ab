#include <gtest/gtest.h>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

TEST(SubReport, HasDataOfItsOwn) {
    ReportDefinition report = readTemplate(
        R"(<Report version="1"><ReportHeader height="5mm">
             <SubReport width="60mm" height="5mm"><Report>
               <Grid><Columns><Column name="L" width="30mm"><Title text="T"/><Content text="[n]"/></Column></Columns></Grid>
             </Report></SubReport>
             <SubReport y="5mm" width="60mm" height="5mm"><Report>
               <Grid titleHeight="0mm"><Columns><Column name="L" width="30mm"><Content text="[n]"/></Column></Columns></Grid>
             </Report></SubReport></ReportHeader></Report>)",
        "test");
    const auto& controls = report.reportHeaders[0]->controls.items;
    const ReportDefinition& first = std::get<SubReportContent>(controls[0]->content).report->definition;
    const ReportDefinition& second = std::get<SubReportContent>(controls[1]->content).report->definition;
    ReportData data;
    data.sets[&report] = std::make_shared<DataSet>(readData(numberedRows(1), "outer"));
    data.sets[&first] = std::make_shared<DataSet>(readData(numberedRows(2), "first"));
    data.gridSets[second.grid.get()] = std::make_shared<DataSet>(readData(numberedRows(3), "second"));
    RecordingSink sink;
    layOut(report, data, {}, sink);
    EXPECT_EQ(sink.pageTexts(), (std::vector<std::string>{"T 1 2 1 2 3"}));
}

TEST(SubReport, EndsAtTheLimitOfDepth) {
    ReportDefinition report;
    ReportDefinition* innermost = &report;
    for (int depth = 0; depth < 40; ++depth) {
        auto header = std::make_unique<Section>();
        header->height = 1000;
        auto text = std::make_unique<Control>();
        text->box = {0, 0, 20'000, 5'000};
        text->content = TextContent{u"level", u"", false, false, TextContent::Evaluate::Now};
        auto control = std::make_unique<Control>();
        control->box = {0, 5'000, 60'000, 1'000};
        SubReportContent content;
        content.report = std::make_unique<Report>();
        ReportDefinition* const next = &content.report->definition;
        control->content = std::move(content);
        header->controls.items.push_back(std::move(text));
        header->controls.items.push_back(std::move(control));
        innermost->reportHeaders.push_back(std::move(header));
        innermost = next;
    }
    RecordingSink sink;
    layOut(report, {}, {}, sink);
    ASSERT_EQ(sink.pages.size(), 1u);
    EXPECT_EQ(sink.pageTexts()[0].size(), 17 * 6u - 1);  // the report and sixteen within it
}

}  // namespace
}  // namespace qbsvrl6
