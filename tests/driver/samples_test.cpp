#include "driver/samples.h"

#include <stdexcept>

#include "common/errors.h"
#include "driver/actions.h"
#include "driver/events.h"
#include "tests/driver/driver_test.h"

using namespace quillbrook;

namespace {

const std::string kCreateFailed = "Create report failed, please view log file to find reason.\n";
const std::string kSimple = "/qb/Samples/Reports/1a.简单表格.qbf";
const std::string kSimpleData = "QBReportSetQuerySQL(report1, \"/qb/Samples/Data/json/json客户.txt\")";
const std::string kInitialized = "OnInitialize fired from CqbInitializeEventInfo.\n";

std::string LoadFailed(const std::string& path) { return "载入报表模板文件 " + path + " 失败。\n"; }

// What a sample does when no report can be made: it says so and ends, or doesn't look and runs through on
// null.
enum WithoutReport { kEnds, kEndsAndReleases, kGoesOn };

// What the samples make is tested over the embedded engine, in tests/samples/scenarios_test.cpp. Here is
// what shows in no document.
struct SampleCase {
    const char* name;
    void (*run)();
    std::vector<std::string> calls;  // among others, in this order
    std::string failureLines;        // when nothing loads, saves or exports
    WithoutReport withoutReport = kEnds;
};

const SampleCase kSamples[] = {
    {"TestSubReportLoadSave",
     TestSubReportLoadSave,
     {"QBSectionSetHeight(report1.section1, 1)", "QBSectionSetCanGrow(report1.section1, 1)"},
     "load failed.\nsave failed.\n",
     kGoesOn},
    {"TestLoadDataFromURL", TestLoadDataFromURL, {}, LoadFailed(kSimple)},
    {"TestPrint",
     [] { TestPrint(u"打印机"); },
     {kSimpleData, "QBPrinterSetPrinterName(report1.printer, \"打印机\")", "QBReportPrint(report1, 0)",
      "QBReportExportDirect(report1, 5, \"d:/qb-print.pdf\", 0, 0)"},
     LoadFailed("/qb/Samples/Reports/1a.smalll-a.qbf") +
         "Print /qb/Samples/Reports/1a.smalll-a.qbf on 打印机.\n"},
    {"TestPrint_CPP",
     [] { TestPrint_CPP(u""); },
     {kSimpleData, "QBReportPrint(report1, 0)", "QBReportExportDirect(report1, 5, \"d:/qb-print.pdf\", 0, 0)",
      "QBReportGetFont(report1)", "QBReportGetFont(report1)"},
     LoadFailed(kSimple) + "Print " + kSimple + " on recording printer.\n",
     kEndsAndReleases},
    {"TestLoadSave",
     TestLoadSave,
     {"QBObjectAssign(report2, report1)", "QBReportRelease(report2)"},
     "载入报表模板文件 " + kSimple + " 失败\n保存报表模板文件 OUT/save.qbf 失败\n"},
    {"TestExport",
     TestExport,
     {kSimpleData, "QBReportExportDirect(report1, 1, \"OUT/qb-direct.xls\", 1, 1)",
      "QBReportExport(report1, 0)", "QBReportUnprepareExport(report1)"},
     LoadFailed(kSimple)},
    {"TestEvent", TestEvent, {kSimpleData}, LoadFailed(kSimple) + kInitialized, kGoesOn},
    {"TestEvent_CPP", TestEvent_CPP, {kSimpleData}, LoadFailed(kSimple) + kInitialized, kGoesOn},
    {"TestExportCustom",
     TestExportCustom,
     {"QBAttachEventExportBegin(report1)", "QBExportOptionGetExportType(report1.option1)"},
     "load failed.\nload data failed.\n",
     kGoesOn},
    {"Test_DataTextFile",
     [] { Test_DataTextFile(L"/t/报.qbf", QBExportType_IMG, (outPath + L"a/b.tif").c_str()); },
     {"QBReportSetQuerySQL(report1, \"/t/数.txt\")", "QBE2IMGOptionSetAllInOne(report1.option1.img, 1)"},
     LoadFailed("/t/报.qbf") + "模板：/t/报.qbf，导出：OUT/a/b.tif\n"},
    {"Test_DataTextFile2",
     [] { Test_DataTextFile2(L"报.qbf", L"/d/数.txt", QBExportType_PDF, (outPath + L"b.pdf").c_str()); },
     {"QBE2PDFOptionSetFontEmbedding(report1.option1.pdf, 1)"},
     LoadFailed("报.qbf") +
         "载入报表数据文件 /d/数.txt 失败。\n模板：报.qbf，数据: /d/数.txt, 导出：OUT/b.pdf\n"},
    {"TestChartLoadDataFromURL",
     TestChartLoadDataFromURL,
     {"QBChartLoadXYZDataFromXML(report1.chart1, \"<数据 of=\"/charts/xmlXYZBubble.txt\"/>\", 1)",
      "QBChartSetSeriesCount(report1.chart3, 3)", "QBChartSetSeriesLabel(report1.chart3, 0, \"张三\")",
      "QBChartSetSeriesLabel(report1.chart3, 1, \"李四\")",
      "QBChartSetSeriesLabel(report1.chart3, 2, \"王五\")",
      "QBChartLoadDataFromXML(report1.chart3, \"<数据 of=\"/charts/xmlBar2.txt\"/>\", 0, 0, 1)",
      "QBChartLoadXYDataFromXML(report1.chart4, \"<数据 of=\"/charts/xmlXYScatter.txt\"/>\", 1)",
      "QBChartLoadDataFromXML(report1.chart5, \"<数据 of=\"/charts/xmlBar1.txt\"/>\", 1, 1, 1)"},
     LoadFailed("/charts/Chart.qbf")},
    {"DoReportCreate", DoReportCreate, {}, "Report object created successfully.\n"}};

class Samples : public DriverTest {
protected:
    void SetUp() override {
        DriverTest::SetUp();
        chartDataPath = L"/charts/";
        SetList(R"([{"Items":[{"Name":"1a.简单表格","Data":"客户"}]}])");
        Begin();
    }
    void Begin() {
        recording::Reset(true);
        recording::SetTemplate("*", {.query = u"数.txt", .hasGrid = false});
        std::filesystem::remove_all(scratch.path / "out");
    }
};

TEST_F(Samples, CallsAndFailures) {
    for (const SampleCase& sample : kSamples) {
        SCOPED_TRACE(sample.name);
        Begin();
        recording::SetTemplate("*Chart.qbf", {.hasGrid = false,
                                              .charts = {u"ChartBubble", u"chartbar", u"ChartPie",
                                                         u"ChartScatterLine", u"ChartBar"}});
        Output(sample.run);
        const std::string calls = Calls();
        std::size_t at = 0;
        for (const std::string& call : sample.calls) {
            at = calls.find(call + "\n", at);
            ASSERT_NE(at, std::string::npos) << call << " in\n" << calls;
            at += call.size();
        }
        EXPECT_TRUE(calls.ends_with("QBReportRelease(report1)\n")) << calls;
        EXPECT_EQ(calls.find("(report1.chart2, "), std::string::npos) << "names differ in their case";
        EXPECT_EQ(Join(recording::Violations()), "");

        // What fails is said, and the sample goes on or ends.
        Begin();
        for (const char* function : {"QBReportLoadFromFile", "QBReportSaveToFile", "QBReportLoadDataFromURL",
                                     "QBReportExportDirectToBinaryObject", "QBReportExportDirect"})
            recording::Fail(function, "*");
        EXPECT_EQ(Output(sample.run), sample.failureLines);
        EXPECT_TRUE(WrittenFiles().empty());
        EXPECT_EQ(Join(recording::Violations()), "");

        Begin();
        recording::Fail("QBReportCreate", "*");
        EXPECT_EQ(Output(sample.run) == kCreateFailed, sample.withoutReport != kGoesOn);
        EXPECT_EQ(Calls().ends_with("QBReportRelease(null)\n"), sample.withoutReport != kEnds) << Calls();
        EXPECT_EQ(recording::Calls().size() > 2, sample.withoutReport == kGoesOn) << Calls();
    }
}

TEST_F(Samples, QueriesOfATemplateWithoutDirectoryStartAtTheRoot) {
    Output([this] { Test_DataTextFile(L"t.qbf", QBExportType_PDF, (scratch.path / "o").wstring().c_str()); });
    EXPECT_NE(Calls().find("QBReportSetQuerySQL(report1, \"/数.txt\")\n"), std::string::npos);
}

TEST_F(Samples, AChartWithoutDataEndsTheProcess) {
    recording::SetTemplate("*", {.charts = {u"ChartBar"}});
    recording::Fail("QBReportExtractXMLFromURL", "*");
    EXPECT_DEATH(TestChartLoadDataFromURL(), "QBReportExtractXMLFromURL gave no text");
}

// A text that the engine doesn't give is an exception that nothing catches, before any further line.
TEST_F(Samples, NullTextsRaise) {
    const struct {
        const char* function;
        void (*run)();
    } kCases[] = {
        {"QBGenerateBarcodeGraph", TestBarcode},
        {"QBUtilityNumberFormat", TestFormat},
        {"QBPrinterGetPrinterName", [] { TestPrint(nullptr); }},
        {"QBReportGetQuerySQL", [] { Test_DataTextFile(L"t", QBExportType_PDF, L"o"); }},
        {"QBGetModulePath", DoPrintVersion},
        {"QBGetModuleVersion", DoPrintVersion},
        {"QBGetModuleInfo", DoPrintVersion},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.function);
        recording::Reset(true);
        recording::Fail(test.function, "*");
        EXPECT_EQ(Output([&] { EXPECT_THROW(test.run(), std::logic_error); }), "");
        const std::vector<std::string> calls = recording::Calls();
        EXPECT_TRUE(calls.back().starts_with(test.function)) << calls.back();
    }
}

TEST_F(Samples, TheHandleReleasesOnTheWayOut) {
    WriteFile(scratch.path / "out", "a file where the directory should be");
    Output([] { EXPECT_THROW(TestEvent_CPP(), larkspur::ClkException); });
    EXPECT_TRUE(Calls().ends_with("QBReportRelease(report1)\n")) << Calls();
}

TEST_F(Samples, HandlersLeaveOtherExportsAlone) {
    const struct {
        const char* name;
        CqbExportEventInfo* (*make)();
        tagQBExportType acts;
        std::string setter;
    } kCases[] = {
        {"CqbExportBeginEventInfo", []() -> CqbExportEventInfo* { return new CqbExportBeginEventInfo; },
         QBExportType_IMG, "QBE2IMGOptionSetAllInOne(report1.option1.img, 1)"},
        {"CqbExportBeginEventInfo2", []() -> CqbExportEventInfo* { return new CqbExportBeginEventInfo2; },
         QBExportType_PDF, "QBE2PDFOptionSetFontEmbedding(report1.option1.pdf, 1)"},
        {"CqbExportBeginEventXLSX", []() -> CqbExportEventInfo* { return new CqbExportBeginEventXLSX; },
         QBExportType_XLS, "QBE2XLSOptionSetToXlsxFormat(report1.option1.xls, 1)"},
    };
    for (const auto& test : kCases) {
        for (int type = QBExportType_XLS; type <= QBExportType_IMG; ++type) {
            SCOPED_TRACE(test.name + std::string(" on type ") + std::to_string(type));
            recording::Reset(true);
            CQBReportHandle report;
            QBAttachEventExportBegin(report.m_report, test.make());
            QBReportExportDirectToBinaryObject(report.m_report, static_cast<tagQBExportType>(type));
            EXPECT_EQ(recording::Calls().back(),
                      type == test.acts ? test.setter : "QBExportOptionGetExportType(report1.option1)");
        }
    }
}

}  // namespace
