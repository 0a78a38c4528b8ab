#include <gtest/gtest.h>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

const std::string kPage = "<Page width='80mm' height='70mm' margins='5mm'/>";

std::string lines(const std::string& attributes, const std::string& content) {
    return "<Grid titleHeight='5mm' rowHeight='8mm' " + attributes +
           "><Columns><Column name='L' width='30mm'>"
           "<Title text='T'/><Content text='" +
           content + "'/></Column></Columns></Grid>";
}

const std::string kOrders = R"({"Company": "Blue", "Orders": [{"Id": 1, "To": "A"}, {"Id": 2, "To": "B"}],
    "Lines": [{"Order": 2, "What": "x"}, {"Order": 1, "What": "y"}, {"Order": 2, "What": "z"}]})";

TEST(SubReport, ReadsRowsOfItsParent) {
    const std::string inner = "<Report><Data table='Lines'/>" +
                              lines("filter='Order = Id'", "[What][Company][PageNumber]") +
                              "<ReportFooter height='4mm'><Text width='30mm' height='4mm' text='[Count(*)] "
                              "of [Id]'/></ReportFooter></Report>";
    const RecordingSink sink = layOutText(kPage +
                                              "<Data table='Orders'/><Grid titleHeight='0mm' "
                                              "rowHeight='10mm'><Columns><Column name='A' width='20mm'>"
                                              "<Content text='[To]'/></Column><Column name='B' "
                                              "width='40mm'><Content><SubReport><Parameter name='Id' "
                                              "expression='[Id]'/>" +
                                              inner + "</SubReport></Content></Column></Columns></Grid>",
                                          kOrders);
    EXPECT_EQ(sink.everything(),
              "page 1\n"
              " Row 5,5 60x17 grid\n"
              "  text 0,0 20x17 \"A\"\n"
              "  text 20,0 30x5 \"T\"\n"
              "  text 20,5 30x8 \"yBlue1\"\n"
              "  text 20,13 30x4 \"1 of 1\"\n"
              " Row 5,22 60x25 grid\n"
              "  text 0,0 20x25 \"B\"\n"
              "  text 20,0 30x5 \"T\"\n"
              "  text 20,5 30x8 \"xBlue1\"\n"
              "  text 20,13 30x8 \"zBlue1\"\n"
              "  text 20,21 30x4 \"2 of 2\"\n");
}

TEST(SubReport, PushesDownWhatIsBelowAndGoesOnToFurtherPages) {
    const RecordingSink sink = layOutText(
        kPage +
            "<ReportHeader height='20mm'><Text width='30mm' height='5mm' text='above'/>"
            "<SubReport y='5mm' width='60mm' height='10mm'><Report>" +
            lines("", "[n] p[PageNumber]/[PageCount]") +
            "</Report></SubReport><Text y='15mm' width='30mm' height='5mm' text='below'/></ReportHeader>",
        numberedRows(9));
    EXPECT_EQ(sink.pageTexts(), (std::vector<std::string>{"above T 1 p1/2 2 p1/2 3 p1/2 4 p1/2 5 p1/2 6 p1/2",
                                                          "T 7 p2/2 8 p2/2 9 p2/2 below"}))
        << sink.everything();
}

TEST(SubReport, HasDataOfItsOwn) {
    ReportDefinition report = readTemplate(
        "<Report version='1'>" + kPage +
            "<ReportHeader height='5mm'><SubReport width='60mm' height='5mm'><Report>" + lines("", "[n]") +
            "</Report></SubReport><SubReport y='5mm' width='60mm' height='5mm'><Report>" +
            lines("titleHeight='0mm'", "[n]").replace(6, 17, "") +
            "</Report></SubReport></ReportHeader></Report>",
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
