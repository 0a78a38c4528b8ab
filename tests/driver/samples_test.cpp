#include "driver/samples.h"

#include <stdexcept>

#include "common/errors.h"
#include "driver/actions.h"
#include "driver/barcode_samples.h"
#include "driver/chart_data.h"
#include "driver/events.h"
#include "tests/driver/driver_test.h"

using namespace quillbrook;

namespace {

const std::string kCreateFailed = "Create report failed, please view log file to find reason.\n";
const std::string kSimple = "/qb/Samples/Reports/1a.简单表格.qbf";

std::string Load(const std::string& path) { return "QBReportLoadFromFile(report1, \"" + path + "\")\n"; }
std::string LoadFailed(const std::string& path) { return "载入报表模板文件 " + path + " 失败。\n"; }

// UpdateConnectionStringByReportName for a report without grid and sub-reports.
const std::string kSimpleTableData =
    "QBReportGetDetailGrid(report1)\n"
    "QBReportSetConnectionString(report1, \"xml\")\n"
    "QBReportSetQuerySQL(report1, \"/qb/Samples/Data/json/json客户.txt\")\n"
    "QBReportFindFirstControl(report1)\n"
    "QBControlGetControlType(report1.control1)\n"
    "QBReportFindNextControl(report1)\n";

std::string ToBinary(int type) {
    return "QBReportExportDirectToBinaryObject(report1, " + std::to_string(type) + ")\n";
}

// What a sample does when no report can be made: it says so and ends, or doesn't look and runs through on
// null.
enum WithoutReport { kEnds, kEndsAndReleases, kGoesOn };

struct SampleCase {
    const char* name;
    void (*run)();
    std::string
        calls;  // between creation and release of report1, but for those that read the exported object
    std::string lines;
    std::string failureLines;  // when nothing loads, saves or exports
    std::string file = "";     // written below OUT
    WithoutReport withoutReport = kEnds;
};

const std::string kEventCalls =
    Load(kSimple) + "QBAttachEventInitialize(report1)\n" + kSimpleTableData + ToBinary(5);
const std::string kInitialized = "OnInitialize fired from CqbInitializeEventInfo.\n";
const std::string kPrintCalls =
    "QBReportPrint(report1, 0)\n"
    "QBPrinterGetPrinterName(report1.printer)\n"
    "QBReportExportDirect(report1, 5, \"d:/qb-print.pdf\", 0, 0)\n";

const SampleCase kSamples[] = {
    {"TestSubReportLoadSave", TestSubReportLoadSave,
     "QBReportGetReportHeaders(report1)\n"
     "QBReportHeadersAdd(report1.headers)\n"
     "QBSectionSetHeight(report1.section1, 1)\n"
     "QBSectionSetCanGrow(report1.section1, 1)\n"
     "QBSectionGetControls(report1.section1)\n"
     "QBControlsAdd(report1.section1.controls, 9)\n"
     "QBControlGetAsSubReport(report1.control2)\n"
     "QBSubReportGetReport(report1.control2.sub)\n"
     "QBReportLoadFromFile(report1.sub1, \"D:/UserFiles/qb7/Reports/1a.简单表格.qbf\")\n"
     "QBReportSaveToFile(report1.sub1, \"D:/UserFiles/qb7/Reports/1a.简单表格-sr.qbf\")\n",
     "", "load failed.\nsave failed.\n", "", kGoesOn},
    {"TestLoadDataFromURL", TestLoadDataFromURL,
     Load(kSimple) +
         "QBReportLoadDataFromURL(report1, \"C:/Quillbrook 6/WebSamples/data/json/jsonCustomer-err.txt\")\n" +
         ToBinary(5),
     "", LoadFailed(kSimple), "qb-datafromurl.pdf"},
    {"TestPrint", [] { TestPrint(u"打印机"); },
     Load("/qb/Samples/Reports/1a.smalll-a.qbf") + kSimpleTableData +
         "QBReportGetPrinter(report1)\nQBPrinterSetPrinterName(report1.printer, \"打印机\")\n" + kPrintCalls,
     "Print /qb/Samples/Reports/1a.smalll-a.qbf on 打印机.\n",
     LoadFailed("/qb/Samples/Reports/1a.smalll-a.qbf") +
         "Print /qb/Samples/Reports/1a.smalll-a.qbf on 打印机.\n"},
    {"TestPrint_CPP", [] { TestPrint_CPP(u""); },
     Load(kSimple) + kSimpleTableData + "QBReportGetPrinter(report1)\n" + kPrintCalls +
         "QBReportGetFont(report1)\nQBReportGetFont(report1)\n",
     "Print " + kSimple + " on recording printer.\n",
     LoadFailed(kSimple) + "Print " + kSimple + " on recording printer.\n", "", kEndsAndReleases},
    {"TestLoadSave", TestLoadSave,
     Load(kSimple) + "QBReportSetBackImageFile(report1, \"/qb/Samples/Data/Picture/Butterfly.jpg\")\n"
                     "QBReportCreate() = report2\n"
                     "QBObjectAssign(report2, report1)\n"
                     "QBReportSaveToFile(report1, \"OUT/save.qbf\")\n"
                     "QBReportRelease(report2)\n",
     "载入报表模板文件 " + kSimple + " 成功\n保存报表模板文件 OUT/save.qbf 成功\n",
     "载入报表模板文件 " + kSimple + " 失败\n保存报表模板文件 OUT/save.qbf 失败\n"},
    {"TestEvent", TestEvent, kEventCalls, kInitialized, LoadFailed(kSimple) + kInitialized, "qb-event.pdf",
     kGoesOn},
    {"TestEvent_CPP", TestEvent_CPP, kEventCalls, kInitialized, LoadFailed(kSimple) + kInitialized,
     "qb-event.pdf", kGoesOn},
    {"TestExportCustom", TestExportCustom,
     Load("D:/UserFiles/quillbrookQBReportqbf") +
         "QBReportLoadDataFromURL(report1, \"D:/UserFiles/quillbrookQBReporttxt\")\n"
         "QBAttachEventExportBegin(report1)\n" +
         ToBinary(1) + "QBExportOptionGetExportType(report1.option1)\n",
     "", "load failed.\nload data failed.\n", "qb-custom-export.xls", kGoesOn},
    {"Test_DataTextFile",
     [] { Test_DataTextFile(L"/t/报.qbf", QBExportType_IMG, (outPath + L"a/b.tif").c_str()); },
     Load("/t/报.qbf") +
         "QBReportGetDetailGrid(report1)\n"
         "QBReportSetConnectionString(report1, \"xml\")\n"
         "QBReportGetQuerySQL(report1)\n"
         "QBReportSetQuerySQL(report1, \"/t/数.txt\")\n"
         "QBReportFindFirstControl(report1)\n"
         "QBControlGetControlType(report1.control1)\n"
         "QBReportFindNextControl(report1)\n"
         "QBAttachEventExportBegin(report1)\n" +
         ToBinary(7) +
         "QBExportOptionGetExportType(report1.option1)\n"
         "QBExportOptionGetAsE2IMGOption(report1.option1)\n"
         "QBE2IMGOptionSetAllInOne(report1.option1.img, 1)\n",
     "模板：/t/报.qbf，导出：OUT/a/b.tif\n", LoadFailed("/t/报.qbf") + "模板：/t/报.qbf，导出：OUT/a/b.tif\n",
     "a/b.tif"},
    {"Test_DataTextFile2",
     [] { Test_DataTextFile2(L"报.qbf", L"/d/数.txt", QBExportType_PDF, (outPath + L"b.pdf").c_str()); },
     Load("报.qbf") +
         "QBReportLoadDataFromURL(report1, \"/d/数.txt\")\n"
         "QBAttachEventExportBegin(report1)\n" +
         ToBinary(5) +
         "QBExportOptionGetExportType(report1.option1)\n"
         "QBExportOptionGetAsE2PDFOption(report1.option1)\n"
         "QBE2PDFOptionSetFontEmbedding(report1.option1.pdf, 1)\n",
     "模板：报.qbf，数据: /d/数.txt, 导出：OUT/b.pdf\n",
     LoadFailed("报.qbf") +
         "载入报表数据文件 /d/数.txt 失败。\n模板：报.qbf，数据: /d/数.txt, 导出：OUT/b.pdf\n",
     "b.pdf"},
    {"DoReportCreate", DoReportCreate, "", "Report object created successfully.\n",
     "Report object created successfully.\n"},
};

class Samples : public DriverTest {
protected:
    void SetUp() override {
        DriverTest::SetUp();
        chartDataPath = L"/charts/";
        SetList(R"([{"Items":[{"Name":"1a.简单表格","Data":"客户"}]}])");
        Begin();
    }
    // Short walks: what becomes of queries is tested elsewhere.
    void Begin() {
        recording::Reset(true);
        recording::SetTemplate("*", {.query = u"数.txt", .hasGrid = false});
        std::filesystem::remove_all(scratch.path / "out");
    }
    static void FailAll() {
        for (const char* function : {"QBReportLoadFromFile", "QBReportSaveToFile", "QBReportLoadDataFromURL",
                                     "QBReportExportDirectToBinaryObject", "QBReportExportDirect"})
            recording::Fail(function, "*");
    }
};

TEST_F(Samples, CallsLinesAndFiles) {
    for (const SampleCase& sample : kSamples) {
        SCOPED_TRACE(sample.name);
        const std::string reading = sample.file.empty() ? ""
                                                        : "QBBinaryObjectGetDataSize(report1.object1)\n"
                                                          "QBBinaryObjectGetDataBuf(report1.object1)\n";
        Begin();
        EXPECT_EQ(Output(sample.run), sample.lines);
        EXPECT_EQ(Calls(),
                  "QBReportCreate() = report1\n" + sample.calls + reading + "QBReportRelease(report1)\n");
        EXPECT_EQ(Join(WrittenFiles()), sample.file.empty() ? "" : sample.file + "\n");
        EXPECT_EQ(Join(recording::Violations()), "");

        // What fails is said, and the sample goes on.
        Begin();
        FailAll();
        EXPECT_EQ(Output(sample.run), sample.failureLines);
        EXPECT_EQ(Calls(), "QBReportCreate() = report1\n" + sample.calls + "QBReportRelease(report1)\n");
        EXPECT_TRUE(WrittenFiles().empty());
        EXPECT_EQ(Join(recording::Violations()), "");

        Begin();
        recording::Fail("QBReportCreate", "*");
        EXPECT_EQ(Output(sample.run) == kCreateFailed, sample.withoutReport != kGoesOn);
        EXPECT_EQ(Calls().ends_with("QBReportRelease(null)\n"), sample.withoutReport != kEnds) << Calls();
        EXPECT_EQ(recording::Calls().size() > 2, sample.withoutReport == kGoesOn) << Calls();
    }
}

TEST_F(Samples, AnExportWithOptionsEndsAtATemplateThatDoesNotLoad) {
    EXPECT_EQ(Output(TestExport), "Export " + kSimple + " to OUT/ dir finished.\n");
    EXPECT_EQ(Calls(), "QBReportCreate() = report1\n" + Load(kSimple) + kSimpleTableData +
                           "QBReportExportDirect(report1, 1, \"OUT/qb-direct.xls\", 1, 1)\n"
                           "QBReportPrepareExport(report1, 1)\n"
                           "QBExportOptionSetFileName(report1.option2, \"OUT/qb.xlsx\")\n"
                           "QBExportOptionGetAsE2XLSOption(report1.option2)\n"
                           "QBE2XLSOptionSetToXlsxFormat(report1.option2.xls, 1)\n"
                           "QBReportExport(report1, 0)\n"
                           "QBReportUnprepareExport(report1)\n"
                           "QBReportRelease(report1)\n");
    EXPECT_EQ(Join(recording::Violations()), "");
    Begin();
    FailAll();
    EXPECT_EQ(Output(TestExport), LoadFailed(kSimple));
    EXPECT_EQ(Calls(), "QBReportCreate() = report1\n" + Load(kSimple) + "QBReportRelease(report1)\n");
    recording::Fail("QBReportCreate", "*");
    EXPECT_EQ(Output(TestExport), kCreateFailed);
}

TEST_F(Samples, QueriesOfATemplateWithoutDirectoryStartAtTheRoot) {
    Output([this] { Test_DataTextFile(L"t.qbf", QBExportType_PDF, (scratch.path / "o").wstring().c_str()); });
    EXPECT_NE(Calls().find("QBReportSetQuerySQL(report1, \"/数.txt\")\n"), std::string::npos);
}

TEST_F(Samples, ChartsAreFedByName) {
    recording::SetTemplate("*Chart.qbf", {.hasGrid = false,
                                          .charts = {u"ChartBubble", u"chartbar", u"ChartPie",
                                                     u"ChartScatterLine", u"ChartBar"}});
    EXPECT_EQ(Output(TestChartLoadDataFromURL), "");
    EXPECT_EQ(Calls(),
              "QBReportCreate() = report1\n"
              "QBAttachEventChartRequestData(report1)\n"
              "QBReportLoadFromFile(report1, \"/charts/Chart.qbf\")\n"
              "QBReportExportDirectToBinaryObject(report1, 5)\n"
              "QBControlGetName(report1.chart1)\n"
              "QBReportExtractXMLFromURL(report1, \"/charts/xmlXYZBubble.txt\")\n"
              "QBChartLoadXYZDataFromXML(report1.chart1, \"<数据 of=\"/charts/xmlXYZBubble.txt\"/>\", 1)\n"
              "QBControlGetName(report1.chart2)\n"
              "QBControlGetName(report1.chart3)\n"
              "QBChartSetSeriesCount(report1.chart3, 3)\n"
              "QBChartSetSeriesLabel(report1.chart3, 0, \"张三\")\n"
              "QBChartSetSeriesLabel(report1.chart3, 1, \"李四\")\n"
              "QBChartSetSeriesLabel(report1.chart3, 2, \"王五\")\n"
              "QBReportExtractXMLFromURL(report1, \"/charts/xmlBar2.txt\")\n"
              "QBChartLoadDataFromXML(report1.chart3, \"<数据 of=\"/charts/xmlBar2.txt\"/>\", 0, 0, 1)\n"
              "QBControlGetName(report1.chart4)\n"
              "QBReportExtractXMLFromURL(report1, \"/charts/xmlXYScatter.txt\")\n"
              "QBChartLoadXYDataFromXML(report1.chart4, \"<数据 of=\"/charts/xmlXYScatter.txt\"/>\", 1)\n"
              "QBControlGetName(report1.chart5)\n"
              "QBReportExtractXMLFromURL(report1, \"/charts/xmlBar1.txt\")\n"
              "QBChartLoadDataFromXML(report1.chart5, \"<数据 of=\"/charts/xmlBar1.txt\"/>\", 1, 1, 1)\n"
              "QBBinaryObjectGetDataSize(report1.object1)\nQBBinaryObjectGetDataBuf(report1.object1)\n"
              "QBReportRelease(report1)\n");
    EXPECT_EQ(Join(WrittenFiles()), "qb-datafromurl.pdf\n");
    EXPECT_EQ(Join(recording::Violations()), "");
    Begin();
    FailAll();
    EXPECT_EQ(Output(TestChartLoadDataFromURL), LoadFailed("/charts/Chart.qbf"));
    recording::Fail("QBReportCreate", "*");
    EXPECT_EQ(Output(TestChartLoadDataFromURL), kCreateFailed);
}

TEST_F(Samples, AChartWithoutDataEndsTheProcess) {
    recording::SetTemplate("*", {.charts = {u"ChartBar"}});
    recording::Fail("QBReportExtractXMLFromURL", "*");
    EXPECT_DEATH(TestChartLoadDataFromURL(), "QBReportExtractXMLFromURL gave no text");
}

TEST_F(Samples, NumbersAndBarcodes) {
    EXPECT_EQ(Output(TestFormat), "0.000000 foramtted by #,##0.00;;# is 一个数\n");
    EXPECT_EQ(Calls(),
              "QBReportCreate() = report1\nQBReportGetUtility(report1)\n"
              "QBUtilityNumberFormat(report1.utility, \"#,##0.00;;#\", 0)\nQBReportRelease(report1)\n");
    Begin();

    const std::string kGs1 = "\"(01)03453120000011(17)120508(10)ABCD1234(410)9501101020917\"";
    const std::pair<int, std::string> kRequests[] = {
        {1, "\"123456\""},
        {25, "\"190419\""},
        {25, "\"(11)190419\""},
        {52, "\"Quillbrook 可用于C/S报表与WEB报表，开发桌面报表与WEB报表共享相同的开发知识与资源\""},
        {50,
         "\"Quillbrook "
         "可用于开发桌面C/S报表与WEB报表(B/S报表)，开发桌面报表与WEB报表共享相同的开发知识与资源\""},
        {51, "\"Quillbrook is the best report tools,larkspur(2003-2010)\""},
        {53, kGs1},
        {54, kGs1},
        {25, "\"(01)26932992101633(11)190419(17)220410(91)09A(21)0001\""},
    };
    std::string lines, calls;
    for (const auto& [type, text] : kRequests) {
        const std::string request = R"({"codepage":65001,"requireShowText":true,"text":)" + text +
                                    R"(,"type":)" + std::to_string(type) + "}";
        lines += "params=" + request + ", graph=<svg>条码</svg>\n";
        calls += "QBGenerateBarcodeGraph(\"" + request + "\")\n";
    }
    EXPECT_EQ(Output(TestBarcode), lines);
    EXPECT_EQ(Calls(), calls);
    EXPECT_EQ(
        Output([] { EXPECT_EQ(GenBarcodeGraphText(QBBarcodeType_Digits, L"a\"b"), L"<svg>条码</svg>"); }),
        R"(params={"codepage":65001,"requireShowText":true,"text":"a\"b","type":1}, graph=<svg>条码</svg>)"
        "\n");
}

// A text that the engine doesn't give is an exception that nothing catches, ahead of any further line.
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
