// Compares what each function of the driver prints, calls and writes with the files of cases/.
#include <functional>
#include <map>
#include <stdexcept>

#include "common/errors.h"
#include "driver/actions.h"
#include "driver/connection_strings.h"
#include "driver/events.h"
#include "driver/export_tasks.h"
#include "driver/samples.h"
#include "tests/cases.h"
#include "tests/driver/driver_test.h"
#include "tests/source_directory.h"

using namespace quillbrook;
using recording::Template;

namespace {

// The functions under test, each run separately: a single function, or a pair with the same effect.
using Scenario = std::vector<std::function<void()>>;

// Both forms of a task, each on a fresh report.
Scenario Task(void (*batchForm)(const wstr&, const wstr&),
              void (*handedForm)(tagQBReport*, const wstr&, const wstr&)) {
    const auto form = [=](bool batch) {
        return [=] {
            CQBReportHandle report;
            QBReportLoadFromFile(report.m_report, u"/qb/t.qbf");
            Report = batch ? report.m_report : nullptr;
            batch ? batchForm(L"/目录/1a.qbf", L"1a 表")
                  : handedForm(report.m_report, L"/目录/1a.qbf", L"1a 表");
        };
    };
    return {form(true), form(false)};
}

// The C function and its _CPP form, each on a fresh report over the template.
template <class Form, class Twin, class... Arguments>
Scenario Connect(const Template& content, Form form, Twin twin, Arguments... arguments) {
    const auto loaded = [=](auto call) {
        return [=] {
            recording::SetTemplate("*", content);
            CQBReportHandle report;
            QBReportLoadFromFile(report.m_report, u"t.qbf");
            call(report);
        };
    };
    return {loaded([=](CQBReportHandle& report) { form(report.m_report, arguments...); }),
            loaded([=](CQBReportHandle& report) { twin(report, arguments...); })};
}

Scenario Queries(const Template& content, const wstr& dataName) {
    return Connect(content, UpdateConnectionString_Ok, UpdateConnectionString_Ok_CPP, wstr(L"/dir/"),
                   dataName, wstr(L"报表"));
}

Scenario ByName(const wstr& name) {
    return Connect({.query = u"q", .hasGrid = false}, UpdateConnectionStringByReportName,
                   UpdateConnectionStringByReportName_CPP, name);
}

template <class Handler>
void HandlerOnEachType() {
    for (int type = QBExportType_XLS; type <= QBExportType_IMG; ++type) {
        CQBReportHandle report;
        QBAttachEventExportBegin(report.m_report, new Handler);
        QBReportExportDirectToBinaryObject(report.m_report, static_cast<tagQBExportType>(type));
    }
}

void PrintItem(const wstr& templateFile, const wstr& reportName) {
    std::printf("%s %s\n", larkspur::UnicodeTextToPrintf(templateFile).c_str(),
                larkspur::UnicodeTextToPrintf(reportName).c_str());
}

void Walk() {
    recording::Fail("QBReportLoadFromFile", "*bad*");
    CQBReportHandle report;
    Report = report.m_report;
    ReportBatchTask(PrintItem);
    std::printf("%d\n", std::exchange(ReportCount, -1));
    MT_ReportBatchTask(
        Report, [](tagQBReport*, const wstr& file, const wstr& name) { PrintItem(file, name); }, "标题");
    std::printf("%d\n", ReportCount);
}

void Extensions() {
    for (int type = 0; type <= QBExportType_IMG + 1; ++type)
        std::printf("%d %ls\n", type, ExportExtFileName(static_cast<tagQBExportType>(type)).c_str());
}

const std::u16string k24 = u"abcdefghijklmnopqrstuvwx", k25 = u"中bcdefghijklmnopqrstuvwxy";

#define FUNCTION(name)  \
    {                   \
#name, { name } \
    }
#define KIND(name) {"TaskExport" #name, Task(TaskExport##name, TaskExport##name)}, FUNCTION(name##Thread)
#define BATCH_KIND(name) KIND(name), FUNCTION(BatchExport##name)

// clang-format off
const std::map<std::string, Scenario> kScenarios = {
    BATCH_KIND(PDF), BATCH_KIND(PDFEmbeddingFont), BATCH_KIND(PDFPrintAdapt),
    BATCH_KIND(XLS), BATCH_KIND(XLSX), BATCH_KIND(XLSXAsEntireTable), BATCH_KIND(XLSXOnlyDetailGrid),
    BATCH_KIND(HTM), BATCH_KIND(HTMAsEntireTable), BATCH_KIND(HTMOnlyDetailGrid),
    BATCH_KIND(TXT), BATCH_KIND(TXTAsEntireTable), BATCH_KIND(TXTOnlyDetailGrid),
    BATCH_KIND(CSV), BATCH_KIND(CSVAsEntireTable), BATCH_KIND(CSVOnlyDetailGrid),
    KIND(ImgTif), KIND(ImgPng), KIND(ImgPngOnePage), KIND(RTF), KIND(RTFAsEntireTable), KIND(RTFOnlyDetailGrid),
    {"walkers", {Walk}}, {"extensions", {Extensions}}, FUNCTION(TestThreadFun),

    FUNCTION(TestSubReportLoadSave), FUNCTION(TestLoadDataFromURL), FUNCTION(TestLoadSave),
    FUNCTION(TestExport), FUNCTION(TestEvent), FUNCTION(TestEvent_CPP), FUNCTION(TestExportCustom),
    FUNCTION(TestChartLoadDataFromURL), FUNCTION(TestBarcode), FUNCTION(TestFormat),
    FUNCTION(DoReportCreate), FUNCTION(DoPrintVersion),
    {"TestPrint", {[] { TestPrint(u"打印机"); }}},
    {"TestPrint, default printer", {[] { TestPrint(nullptr); }}},
    {"TestPrint_CPP", {[] { TestPrint_CPP(u""); }}},
    {"Test_DataTextFile",
     {[] { Test_DataTextFile(L"/t/报.qbf", QBExportType_IMG, (outPath + L"a/b.tif").c_str()); }}},
    {"Test_DataTextFile, no directory",
     {[] { Test_DataTextFile(L"t.qbf", QBExportType_PDF, (outPath + L"o").c_str()); }}},
    {"Test_DataTextFile2",
     {[] { Test_DataTextFile2(L"报.qbf", L"/d/数.txt", QBExportType_PDF, (outPath + L"b.pdf").c_str()); }}},
    {"CqbExportBeginEventInfo", {HandlerOnEachType<CqbExportBeginEventInfo>}},
    {"CqbExportBeginEventInfo2", {HandlerOnEachType<CqbExportBeginEventInfo2>}},
    {"CqbExportBeginEventXLSX", {HandlerOnEachType<CqbExportBeginEventXLSX>}},

    {"data name, grid", Queries({.query = u"old", .gridQuery = u"old"}, L"Customer 客")},
    {"data name, no grid", Queries({.query = u"", .hasGrid = false}, L"C")},
    {"no data name, empty queries", Queries({}, L"")},
    {"24 units are a file name", Queries({.query = k24, .gridQuery = k24}, L"")},
    {"25 units are none", Queries({.query = k25, .gridQuery = k25}, L"")},
    {"only the grid has a query", Queries({.gridQuery = u"g.txt"}, L"")},
    {"only the report has a query", Queries({.query = u"q.txt"}, L"")},
    {"no grid", Queries({.query = u"q.txt", .hasGrid = false}, L"")},
    {"name a", ByName(L"a")}, {"name A", ByName(L"A")}, {"no name", ByName(L"")},
    {"name without data", ByName(L"x")}, {"name that no report has", ByName(L"not there")},
    {"sub-reports are cleared at any depth",
     Connect({.query = u"q", .hasGrid = false, .subReports = {
                 {.query = u"a", .gridQuery = u"ag", .subReports = {{.query = u"b", .hasGrid = false}}},
                 {.hasGrid = false}}},
             ClearConnectionStringForSubReport, ClearConnectionStringForSubReport_CPP)},
    {"a prefix reaches sub-reports", {[] {
         recording::SetTemplate("*", {.query = u"q", .gridQuery = u"g", .subReports = {{.query = u"", .gridQuery = u""}}});
         CQBReportHandle report;
         QBReportLoadFromFile(report.m_report, u"t.qbf");
         ReportExport_UpdateConnectionString(report.m_report, L"/数/");
     }}},
};
// clang-format on

// The functions that fail in each view.
const std::map<std::string, std::vector<std::string>> kFailing = {
    {"all works", {}},
    {"no report", {"QBReportCreate"}},
    {"nothing loads, saves or exports",
     {"QBReportLoadFromFile", "QBReportSaveToFile", "QBReportLoadDataFromURL",
      "QBReportExportDirectToBinaryObject", "QBReportExportDirect", "QBReportExportToBinaryObject"}},
    {"no text",
     {"QBGenerateBarcodeGraph", "QBUtilityNumberFormat", "QBPrinterGetPrinterName", "QBReportGetQuerySQL",
      "QBGetModuleInfo"}},
    {"no grid", {}},
    {"no directory", {}},
};

class Cases : public DriverTest {
protected:
    std::string Run(const std::function<void()>& function, const std::string& list, const std::string& view) {
        SetUp();
        SetList(list.empty() ? R"([{"Items":[{"Name":"1a.简单表格","Data":"客户"}]}])" : list);
        chartDataPath = L"/charts/";
        recording::SetTemplate("*", {.query = u"数.txt", .hasGrid = view != "no grid"});
        recording::SetTemplate("*Chart.qbf", {.hasGrid = false,
                                              .charts = {u"ChartBubble", u"chartbar", u"ChartPie",
                                                         u"ChartScatterLine", u"ChartBar"}});
        for (const std::string& failing : kFailing.at(view)) recording::Fail(failing, "*");
        std::filesystem::remove_all(scratch.path / "out");
        if (view == "no directory") WriteFile(scratch.path / "out", "a file");

        std::string raised;
        std::string text = Output([&] {
            try {
                function();
            } catch (const std::logic_error& error) {
                raised = std::string("[raised] logic_error: ") + error.what() + "\n";
            } catch (const larkspur::ClkException& error) {
                raised = std::string("[raised] ClkException: ") + error.what() + "\n";
            }
        });
        text += "[calls]\n" + Calls() + Portable(raised);
        for (const std::string& file : WrittenFiles()) text += "[file] " + file + ": " + Written(file) + "\n";
        for (const std::string& broken : recording::Violations()) text += "[broken] " + broken + "\n";
        return text;
    }
};

TEST_F(Cases, PrintCallAndWrite) {
    for (const char* file : {"kinds.txt", "samples.txt", "connection_strings.txt"})
        qbsvrl6::expectCases(QBSVR_SOURCE_DIR "/tests/driver/cases/" + std::string(file),
                             [&](const qbsvrl6::TextCase& one, const std::string& view) {
                                 std::string text;
                                 for (const auto& function : kScenarios.at(one.title)) {
                                     const std::string done = Run(function, one.data, view);
                                     if (text.empty())
                                         text = done;
                                     else if (text != done)
                                         text += "[the other form]\n" + done;
                                 }
                                 return text;
                             });
}

// The handler is called by the engine, which an exception must not pass.
TEST_F(Cases, AChartWithoutDataEndsTheProcess) {
    recording::SetTemplate("*", {.charts = {u"ChartBar"}});
    recording::Fail("QBReportExtractXMLFromURL", "*");
    EXPECT_DEATH(TestChartLoadDataFromURL(), "QBReportExtractXMLFromURL gave no text");
}

}  // namespace
