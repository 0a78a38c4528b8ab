#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

// What handlers did, in order.
using Journal = std::string;

class OnInitialize : public CqbGeneralEventInfo {
public:
    OnInitialize(Journal& journal, std::function<void()> action = {})
        : journal_(journal), action_(std::move(action)) {}
    ~OnInitialize() override { journal_ += "~init "; }
    void Execute() override {
        journal_ += "init ";
        if (action_) action_();
    }

private:
    Journal& journal_;
    std::function<void()> action_;
};

class OnExportBegin : public CqbExportEventInfo {
public:
    OnExportBegin(Journal& journal, std::function<void(tagQBExportOption*)> action = {})
        : journal_(journal), action_(std::move(action)) {}
    ~OnExportBegin() override { journal_ += "~begin "; }
    void Execute(tagQBExportOption* option) override {
        journal_ += "begin:" + std::to_string(QBExportOptionGetExportType(option)) + " ";
        if (action_) action_(option);
    }

private:
    Journal& journal_;
    std::function<void(tagQBExportOption*)> action_;
};

class OnChart : public CqbChartEventInfo {
public:
    OnChart(Journal& journal, std::function<void(tagQBChart*)> action = {})
        : journal_(journal), action_(std::move(action)) {}
    ~OnChart() override { journal_ += "~chart "; }
    void Execute(tagQBChart* chart) override {
        journal_ += narrow(QBControlGetName(reinterpret_cast<tagQBControl*>(chart))) + " ";
        if (action_) action_(chart);
    }

private:
    Journal& journal_;
    std::function<void(tagQBChart*)> action_;
};

TEST_F(ApiTest, EventsComeInOrderAndHandlersDieOnceWithTheirReport) {
    Journal journal;
    tagQBReport* report = QBReportCreate();
    QBAttachEventChartRequestData(report, new OnChart(journal));
    QBAttachEventExportBegin(report, new OnExportBegin(journal));
    QBAttachEventInitialize(report, new OnInitialize(journal));
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    EXPECT_EQ(journal, "") << "handlers survive a load";

    EXPECT_NE(exported(report, QBExportType_CSV), "(null)") << takeLog();
    EXPECT_EQ(std::exchange(journal, ""), "init begin:6 ChartBar InnerChart ");

    QBReportPrint(report, 0);
    EXPECT_EQ(std::exchange(journal, ""), "init ChartBar InnerChart ") << "printing exports nothing";

    QBReportPrepareExport(report, QBExportType_TXT);
    EXPECT_EQ(journal, "") << "an export begins when it runs";
    EXPECT_NE(QBReportExportToBinaryObject(report), nullptr);
    QBReportUnprepareExport(report);
    EXPECT_EQ(std::exchange(journal, ""), "init begin:2 ChartBar InnerChart ");

    // A replaced handler is no longer called, and may be attached again; all live as long as the report.
    auto* first = new OnExportBegin(journal, [&](tagQBExportOption*) { journal += "first "; });
    QBAttachEventExportBegin(report, first);
    auto* second = new OnExportBegin(journal, [&](tagQBExportOption*) { journal += "second "; });
    QBAttachEventExportBegin(report, second);
    QBAttachEventExportBegin(report, second);
    QBAttachEventInitialize(report, nullptr);
    EXPECT_NE(exported(report, QBExportType_CSV), "(null)");
    EXPECT_EQ(std::exchange(journal, ""), "begin:6 second ChartBar InnerChart ");
    QBAttachEventExportBegin(report, first);
    EXPECT_NE(exported(report, QBExportType_CSV), "(null)");
    EXPECT_EQ(std::exchange(journal, ""), "begin:6 first ChartBar InnerChart ");
    QBReportRelease(report);
    EXPECT_EQ(journal, "~chart ~init ~begin ~begin ~begin ");
}

TEST_F(ApiTest, WhatAHandlerRaisesEndsItsExportOnly) {
    Journal journal;
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    QBReportSaveToFile(report, path("before.qbf").c_str());
    write("kept.csv", "old");
    bool raises = true;
    const auto raise = [&] {
        if (raises) throw std::runtime_error("no luck");
    };
    const struct {
        const char* event;
        std::function<void()> attach;
    } cases[] = {
        {"Initialize", [&] { QBAttachEventInitialize(report, new OnInitialize(journal, raise)); }},
        {"ExportBegin",
         [&] {
             QBAttachEventExportBegin(report,
                                      new OnExportBegin(journal, [&](tagQBExportOption*) { raise(); }));
         }},
        {"ChartRequestData",
         [&] {
             QBAttachEventChartRequestData(report, new OnChart(journal, [&](tagQBChart* chart) {
                                               QBChartSetSeriesCount(chart, 7);
                                               if (raises) throw 7;
                                           }));
         }},
    };
    for (const auto& test : cases) {
        test.attach();
        raises = true;
        EXPECT_EQ(QBReportExportDirectToBinaryObject(report, QBExportType_CSV), nullptr) << test.event;
        const std::string log = takeLog();
        EXPECT_NE(log.find(std::string("the handler of the event ") + test.event), std::string::npos) << log;
        EXPECT_EQ(QBReportExportDirect(report, QBExportType_CSV, path("kept.csv").c_str(), 0, 0), 0);
        EXPECT_EQ(read("kept.csv"), "old");
        QBReportSaveToFile(report, path("after.qbf").c_str());
        EXPECT_EQ(read("after.qbf"), read("before.qbf")) << test.event;
        raises = false;
        EXPECT_NE(exported(report, QBExportType_CSV), "(null)") << test.event;
        QBAttachEventInitialize(report, nullptr);
        QBAttachEventExportBegin(report, nullptr);
    }
}

void exportOnlyGrid(tagQBExportOption* option) {
    tagQBE2CellOption* cells = QBExportOptionGetAsE2CellOption(option);
    QBE2CellOptionSetSameAsPrint(cells, 0);
    QBE2CellOptionSetOnlyExportDetailGrid(cells, 1);
}

// In memory and into a file, and the same as by options of a prepared export.
TEST_F(ApiTest, AnExportHandlerChangesTheOptionsOfADirectExport) {
    const auto toXlsx = [](tagQBExportOption* option) {
        QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
    };
    const auto toPng = [](tagQBExportOption* option) {
        QBE2IMGOptionSetImageType(QBExportOptionGetAsE2IMGOption(option), QBImageType_PNG);
    };
    const auto embedFonts = [](tagQBExportOption* option) {
        QBE2PDFOptionSetFontEmbedding(QBExportOptionGetAsE2PDFOption(option), 1);
    };
    const struct {
        tagQBExportType type;
        void (*change)(tagQBExportOption*);
        const char* start;
    } cases[] = {
        {QBExportType_XLS, toXlsx, "PK"},
        {QBExportType_XLS, exportOnlyGrid, "\xD0\xCF"},
        {QBExportType_TXT, exportOnlyGrid, ""},
        {QBExportType_HTM, exportOnlyGrid, "<!"},
        {QBExportType_RTF, exportOnlyGrid, "{\\rtf1"},
        {QBExportType_CSV, exportOnlyGrid, "\xEF\xBB\xBF"},
        {QBExportType_PDF, embedFonts, "%PDF-"},
        {QBExportType_IMG, toPng, "\x89PNG"},
    };
    Journal journal;
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& one = cases[i];
        const std::string plain = exported(report, one.type);
        one.change(QBReportPrepareExport(report, one.type));
        const std::string expected = bytesOf(QBReportExportToBinaryObject(report));
        QBReportUnprepareExport(report);
        EXPECT_TRUE(expected.starts_with(one.start)) << i;
        EXPECT_NE(expected, plain) << i;

        QBAttachEventExportBegin(report, new OnExportBegin(journal, one.change));
        EXPECT_TRUE(exported(report, one.type) == expected) << i;
        EXPECT_EQ(QBReportExportDirect(report, one.type, path("direct").c_str(), 0, 0), 1) << takeLog();
        EXPECT_TRUE(read("direct") == expected) << i;
        QBAttachEventExportBegin(report, nullptr);
        EXPECT_TRUE(exported(report, one.type) == plain) << "for one export only: " << i;
    }
}

TEST_F(ApiTest, ChartDataHoldsForOneExport) {
    Journal journal;
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    write(
        "chart.txt",
        R"(<Chart><Row Category="Q1" Series="A" Value="1"/><Row Category="Q1" Series="B" Value="2"/></Chart>)");
    int loaded = 0;
    QBAttachEventChartRequestData(
        report, new OnChart(journal, [&](tagQBChart* chart) {
            QBChartSetSeriesCount(chart, 3);
            QBChartSetSeriesLabel(chart, 0, u"张三");
            QBChartSetSeriesLabel(chart, 3, u"beyond");
            QBChartSetSeriesLabel(chart, -1, u"beyond");
            // Calls back into the report that is being exported.
            loaded += QBChartLoadDataFromXML(chart, QBReportExtractXMLFromURL(report, u"chart.txt"), 0, 0, 1);
            EXPECT_EQ(QBChartLoadDataFromXML(chart, u"<Chart", 1, 1, 1), 0);
            QBReportSaveToFile(report, path("during.qbf").c_str());
            const auto* points = u"<Chart><Row Series='P' X='1' Y='2' Size='3'/></Chart>";
            EXPECT_EQ(QBChartLoadXYDataFromXML(chart, points, 1), 1);
            QBReportSaveToFile(report, path("points.qbf").c_str());
            EXPECT_EQ(QBChartLoadXYZDataFromXML(chart, points, 1), 1);
            QBReportSaveToFile(report, path("sized.qbf").c_str());
        }));
    EXPECT_NE(exported(report, QBExportType_CSV), "(null)") << takeLog();
    EXPECT_EQ(loaded, 2);
    EXPECT_NE(read("during.qbf").find("<Category name=\"Q1\"/>"), std::string::npos);
    EXPECT_NE(read("during.qbf").find("<Series label=\"张三\" values=\"1\"/>"), std::string::npos);
    EXPECT_NE(read("points.qbf").find("<Point x=\"1\" y=\"2\"/>"), std::string::npos) << read("points.qbf");
    EXPECT_NE(read("sized.qbf").find("<Point x=\"1\" y=\"2\" size=\"3\"/>"), std::string::npos);
    QBReportSaveToFile(report, path("after.qbf").c_str());
    EXPECT_EQ(read("after.qbf"), read("list.qbf"));
}

TEST_F(ApiTest, ASubReportsOwnHandlerComesFirst) {
    Journal journal;
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    QBAttachEventChartRequestData(report, new OnChart(journal));
    for (tagQBControl* control = QBReportFindFirstControl(report); control != nullptr;
         control = QBReportFindNextControl(report)) {
        tagQBReport* inner = QBSubReportGetReport(QBControlGetAsSubReport(control));
        if (inner == nullptr) continue;
        QBAttachEventChartRequestData(inner,
                                      new OnChart(journal, [&](tagQBChart*) { journal += "(inner) "; }));
    }
    EXPECT_NE(exported(report, QBExportType_CSV), "(null)") << takeLog();
    EXPECT_EQ(journal, "ChartBar InnerChart (inner) ");
}

TEST_F(ApiTest, HandlersCantPullTheReportAwayFromUnderItsExport) {
    Journal journal;
    tagQBReport* report = QBReportCreate();
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    QBReportPrepareExport(report, QBExportType_CSV);
    QBAttachEventChartRequestData(
        report, new OnChart(journal, [&](tagQBChart*) {
            EXPECT_EQ(QBReportLoadFromFile(report, path("bare.qbf").c_str()), 0);
            EXPECT_EQ(QBReportUnprepareExport(report), 0);
            EXPECT_EQ(QBReportExportToBinaryObject(report), nullptr);
            EXPECT_EQ(QBReportExportDirectToBinaryObject(report, QBExportType_TXT), nullptr);
            const OwnReport other;
            QBReportLoadFromFile(other, path("bare.qbf").c_str());
            EXPECT_NE(exported(other, QBExportType_CSV), "(null)")
                << "another report may be exported meanwhile";
            QBObjectAssign(report, other);
            EXPECT_NE(QBReportGetDetailGrid(report), nullptr) << "a report without a grid is assigned";
            QBAttachEventChartRequestData(report, new OnChart(journal));  // replaces the running one
        }));
    EXPECT_NE(QBReportExportToBinaryObject(report), nullptr);
    EXPECT_EQ(std::exchange(journal, ""), "ChartBar InnerChart ");

    QBAttachEventInitialize(report, new OnInitialize(journal, [&] { QBReportRelease(report); }));
    EXPECT_EQ(QBReportExportToBinaryObject(report), nullptr);
    EXPECT_EQ(journal, "init ChartBar InnerChart ~chart ~chart ~init ") << "released when its export ends";
    EXPECT_EQ(QBReportGetDetailGrid(report), nullptr);
}

}  // namespace
}  // namespace api_test
