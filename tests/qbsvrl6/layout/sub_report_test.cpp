#include <gtest/gtest.h>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
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

// Its columns are the same in all places, and what is passed is not.
TEST(SubReport, HasColumnsThatDoNotDependOnWhatIsPassed) {
    const auto layOutWith = [](const std::string& inner) {
        const ReportDefinition report = readTemplate(
            R"(<Report version="1"><Grid titleHeight="0mm"><Columns><Column name="n" width="60mm"><Content>
               <SubReport rows="section"><Parameter name="Passed" expression="n"/><Report>)" +
                inner + "</Report></SubReport></Content></Column></Columns></Grid></Report>",
            "test");
        ReportData data;
        data.sets[&report] = std::make_shared<DataSet>(readData(numberedRows(12), "rows"));
        RecordingSink sink;
        layOut(report, data, {}, sink);
        return sink.pageTexts();
    };
    const std::string fields = R"(<Fields><Field name="Half" expression="Passed / 2"/></Fields>)";
    const auto column = [](const std::string& attributes) {
        return R"(<Grid filter="n = Passed" titleHeight="0mm"><Columns><Column name="c" )" + attributes +
               R"(><Title text="[n]"/><Content text="[n]"/></Column></Columns></Grid>)";
    };
    const auto cross = [](const std::string& inColumn) {
        return R"x(<Styles><Style name="s"/></Styles><CrossTable>)x" + inColumn +
               R"x(<Cell value="Sum(n)"/></CrossTable>)x";
    };
    const std::string whole = R"(width="9mm" )";
    for (const std::string& refused :
         {column(whole + R"(visibleWhen="passed &gt; 1")"),
          column(whole + R"(visibleWhen="Sum(n * Passed) &gt; 1")"),
          fields + column(whole + R"(visibleWhen="Half &gt; 1")"),
          fields + column(whole + R"(repeat="n &gt; Half")"), cross(R"(<Column by="n" title="[Passed]"/>)"),
          cross(R"(<Column by="n"><When test="Sum(n) = Passed" style="s"/></Column>)")}) {
        EXPECT_THROW(layOutWith(refused), EngineError) << refused;
    }
    // The rows of all places decide.
    const std::vector<std::string> all = {"1 2 3 4 5 6 7 8 9 10 11 12"};
    EXPECT_EQ(layOutWith(column(R"(width="auto" visibleWhen="Count(*) = 12")")), all);
}

// Labels that follow one another downwards are divided among the columns when all of them are known.
TEST(SubReport, DividesNoMoreLabelsThanMemoryHolds) {
    const ReportDefinition report = readTemplate(
        R"(<Report version="1"><ReportHeader height="9mm"><SubReport width="60mm" height="9mm"><Report>
           <Labels width="20mm" height="5mm" flow="down" copies="100000"><Text text="[n]"/></Labels>
           </Report></SubReport></ReportHeader></Report>)",
        "test");
    ReportData data;
    data.sets[&report] = std::make_shared<DataSet>(readData(numberedRows(2'000), "rows"));
    RecordingSink sink;
    EXPECT_THROW(layOut(report, data, {}, sink), EngineError);
    EXPECT_TRUE(sink.pages.empty());
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
