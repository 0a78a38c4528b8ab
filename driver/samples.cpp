#include "driver/samples.h"

#include <cstdio>

#include "common/paths.h"
#include "driver/connection_strings.h"
#include "driver/console.h"
#include "driver/events.h"
#include "driver/export_tasks.h"
#include "driver/sample_tree.h"
#include "json/json_tree.h"

using namespace larkspur;
using namespace quillbrook;

namespace {

constexpr wchar_t kSimpleTable[] = L"1a.简单表格";

// The scenarios come from a Windows desktop and name its files. On other machines, these loads and saves
// fail, which shows that an export is attempted all the same.
constexpr lkchar kDesktopSubReport[] = u"D:/UserFiles/qb7/Reports/1a.简单表格.qbf";
constexpr lkchar kDesktopSubReportCopy[] = u"D:/UserFiles/qb7/Reports/1a.简单表格-sr.qbf";
constexpr lkchar kDesktopData[] = u"C:/Quillbrook 6/WebSamples/data/json/jsonCustomer-err.txt";
constexpr lkchar kDesktopPrintedFile[] = u"d:/qb-print.pdf";
constexpr lkchar kDesktopCustomTemplate[] = u"D:/UserFiles/quillbrookQBReportqbf";
constexpr lkchar kDesktopCustomData[] = u"D:/UserFiles/quillbrookQBReporttxt";

constexpr int kUtf8CodePage = 65001;

// Prints a line when the template does not load.
bool LoadTemplate(tagQBReport* report, const lkstr& templateFile) {
    if (QBReportLoadFromFile(report, templateFile.c_str())) return true;
    PrintTemplateLoadFailed(templateFile);
    return false;
}

lkstr SampleTemplate(const wchar_t* reportName) { return EngineText(reportPath + reportName + L".qbf"); }

void ExportTo(tagQBReport* report, tagQBExportType type, const wstr& outFile) {
    SaveBinaryObject(QBReportExportDirectToBinaryObject(report, type), EngineText(outFile));
}

// The part that the printing samples share, from creation to release.
template <class Update>
void PrintSample(tagQBReport* report, const wchar_t* reportName, Update updateConnectionString,
                 const lkchar* printerName) {
    const lkstr templateFile = SampleTemplate(reportName);
    LoadTemplate(report, templateFile);
    updateConnectionString();
    tagQBPrinter* printer = QBReportGetPrinter(report);
    if (printerName && *printerName) QBPrinterSetPrinterName(printer, printerName);
    QBReportPrint(report, 0);
    const str usedPrinter =
        UnicodeTextToPrintf(RequireText(QBPrinterGetPrinterName(printer), "QBPrinterGetPrinterName"));
    std::printf("Print %s on %s.\n", UnicodeTextToPrintf(templateFile).c_str(), usedPrinter.c_str());
    QBReportExportDirect(report, QBExportType_PDF, kDesktopPrintedFile, 0, 0);
}

template <class Update>
void EventSample(tagQBReport* report, Update updateConnectionString) {
    LoadTemplate(report, SampleTemplate(kSimpleTable));
    QBAttachEventInitialize(report, new CqbInitializeEventInfo);
    updateConnectionString();
    ExportTo(report, QBExportType_PDF, outPath + L"qb-event.pdf");
}

// The members are written in the order of their names, whatever the order here.
lkstr BarcodeRequest(tagQBBarcodeType type, const wchar_t* text) {
    ClkObjectJson request;
    ClkJsonObjectNode& root = request.Root();
    root.AddIntegerMember(u"type", type);
    root.AddStringMember(u"text", lkstr_fromw(text).c_str());
    root.AddIntegerMember(u"codepage", kUtf8CodePage);
    root.AddBooleanMember(u"requireShowText", true);
    return request.Stringify(nullptr);
}

}  // namespace

void TestSubReportLoadSave() {
    tagQBReport* report = QBReportCreate();
    tagQBSection* section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
    QBSectionSetHeight(section, 1.0);
    QBSectionSetCanGrow(section, 1);
    tagQBControl* control = QBControlsAdd(QBSectionGetControls(section), QBControlType_SubReport);
    tagQBReport* inner = QBSubReportGetReport(QBControlGetAsSubReport(control));
    if (!QBReportLoadFromFile(inner, kDesktopSubReport)) std::puts("load failed.");
    if (!QBReportSaveToFile(inner, kDesktopSubReportCopy)) std::puts("save failed.");
    QBReportRelease(report);
}

void TestLoadDataFromURL() {
    WithNewReport([](tagQBReport* report) {
        LoadTemplate(report, SampleTemplate(kSimpleTable));
        QBReportLoadDataFromURL(report, kDesktopData);
        ExportTo(report, QBExportType_PDF, outPath + L"qb-datafromurl.pdf");
    });
}

void TestPrint(const lkchar* printerName) {
    WithNewReport([&](tagQBReport* report) {
        // The simple table's data, though another template is printed.
        PrintSample(
            report, L"1a.smalll-a", [&] { UpdateConnectionStringByReportName(report, kSimpleTable); },
            printerName);
    });
}

void TestPrint_CPP(const lkchar* printerName) {
    CQBReportHandle report;
    if (!report.m_report) return PrintCreateFailed();
    PrintSample(
        report.m_report, kSimpleTable, [&] { UpdateConnectionStringByReportName_CPP(report, kSimpleTable); },
        printerName);
    QBReportGetFont(report.m_report);
    QBReportGetFont(report.m_report);
}

void TestLoadSave() {
    WithNewReport([](tagQBReport* report) {
        const lkstr templateFile = SampleTemplate(kSimpleTable);
        PrintTemplateLoaded(templateFile, QBReportLoadFromFile(report, templateFile.c_str()) != 0);
        QBReportSetBackImageFile(report, EngineText(dataPath + L"Picture/Butterfly.jpg").c_str());
        tagQBReport* copy = QBReportCreate();
        QBObjectAssign(copy, report);
        const lkstr savedFile = EngineText(outPath + L"save.qbf");
        PrintTemplateSaved(savedFile, QBReportSaveToFile(report, savedFile.c_str()) != 0);
        QBReportRelease(copy);
    });
}

void TestExport() {
    const lkstr templateFile = SampleTemplate(kSimpleTable);
    bool isExported = false;
    WithNewReport([&](tagQBReport* report) {
        if (!LoadTemplate(report, templateFile)) return;
        UpdateConnectionStringByReportName(report, kSimpleTable);
        QBReportExportDirect(report, QBExportType_XLS, EngineText(outPath + L"qb-direct.xls").c_str(), 1, 1);
        tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_XLS);
        QBExportOptionSetFileName(option, EngineText(outPath + L"qb.xlsx").c_str());
        QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
        QBReportExport(report, 0);
        QBReportUnprepareExport(report);
        isExported = true;
    });
    if (!isExported) return;
    std::printf("Export %s to %s dir finished.\n", UnicodeTextToPrintf(templateFile).c_str(),
                UnicodeTextToPrintf(outPath).c_str());
}

void Test_DataTextFile(const wchar_t* templateFile, tagQBExportType type, const wchar_t* outFile) {
    const bool isCreated = WithNewReport([&](tagQBReport* report) {
        const lkstr templateText = lkstr_fromw(templateFile);
        LoadTemplate(report, templateText);
        ReportExport_UpdateConnectionString(report,
                                            lkstr_tow(ExtractFilePath(templateText.c_str()).c_str()) + L"/");
        QBAttachEventExportBegin(report, new CqbExportBeginEventInfo);
        ExportTo(report, type, outFile);
    });
    if (!isCreated) return;
    std::printf("模板：%s，导出：%s\n", UnicodeTextToPrintf(templateFile).c_str(),
                UnicodeTextToPrintf(outFile).c_str());
}

void Test_DataTextFile2(const wchar_t* templateFile, const wchar_t* dataFile, tagQBExportType type,
                        const wchar_t* outFile) {
    const lkstr dataText = lkstr_fromw(dataFile);
    const bool isCreated = WithNewReport([&](tagQBReport* report) {
        LoadTemplate(report, lkstr_fromw(templateFile));
        if (!QBReportLoadDataFromURL(report, dataText.c_str())) PrintDataLoadFailed(dataText);
        QBAttachEventExportBegin(report, new CqbExportBeginEventInfo2);
        ExportTo(report, type, outFile);
    });
    if (!isCreated) return;
    std::printf("模板：%s，数据: %s, 导出：%s\n", UnicodeTextToPrintf(templateFile).c_str(),
                UnicodeTextToPrintf(dataText).c_str(), UnicodeTextToPrintf(outFile).c_str());
}

void TestEvent() {
    tagQBReport* report = QBReportCreate();
    EventSample(report, [&] { UpdateConnectionStringByReportName(report, kSimpleTable); });
    QBReportRelease(report);
}

void TestEvent_CPP() {
    CQBReportHandle report;
    EventSample(report.m_report, [&] { UpdateConnectionStringByReportName_CPP(report, kSimpleTable); });
}

void TestExportCustom() {
    tagQBReport* report = QBReportCreate();
    if (!QBReportLoadFromFile(report, kDesktopCustomTemplate)) std::puts("load failed.");
    if (!QBReportLoadDataFromURL(report, kDesktopCustomData)) std::puts("load data failed.");
    // The handler finds no image options and does not change the spreadsheet.
    QBAttachEventExportBegin(report, new CqbExportBeginEventInfo);
    ExportTo(report, QBExportType_XLS, outPath + L"qb-custom-export.xls");
    QBReportRelease(report);
}

void TestChartLoadDataFromURL() {
    WithNewReport([](tagQBReport* report) {
        // Handlers stay attached when a template is loaded, so this one may be attached first.
        QBAttachEventChartRequestData(report, new CqbChartRequestDataEventInfo(report));
        LoadTemplate(report, EngineText(chartDataPath + L"Chart.qbf"));
        ExportTo(report, QBExportType_PDF, outPath + L"qb-datafromurl.pdf");
    });
}

wstr GenBarcodeGraphText(tagQBBarcodeType type, const wchar_t* text) {
    const lkstr request = BarcodeRequest(type, text);
    const lkstr graph = RequireText(QBGenerateBarcodeGraph(request.c_str()), "QBGenerateBarcodeGraph");
    std::printf("params=%s, graph=%s\n", UnicodeTextToPrintf(request).c_str(),
                UnicodeTextToPrintf(graph).c_str());
    return lkstr_tow(graph.c_str());
}

void TestBarcode() {
    GenBarcodeGraphText(QBBarcodeType_Digits, L"123456");
    GenBarcodeGraphText(QBBarcodeType_AppIdentifier, L"190419");
    GenBarcodeGraphText(QBBarcodeType_AppIdentifier, L"(11)190419");
    GenBarcodeGraphText(QBBarcodeType_LongText52,
                        L"Quillbrook 可用于C/S报表与WEB报表，开发桌面报表与WEB报表共享相同的开发知识与资源");
    GenBarcodeGraphText(
        QBBarcodeType_LongText50,
        L"Quillbrook 可用于开发桌面C/S报表与WEB报表(B/S报表)，开发桌面报表与WEB报表共享相同的开发知识与资源");
    GenBarcodeGraphText(QBBarcodeType_LongText51, L"Quillbrook is the best report tools,larkspur(2003-2010)");
    for (const tagQBBarcodeType type : {QBBarcodeType_AppIdentifier53, QBBarcodeType_AppIdentifier54}) {
        GenBarcodeGraphText(type, L"(01)03453120000011(17)120508(10)ABCD1234(410)9501101020917");
    }
    GenBarcodeGraphText(QBBarcodeType_AppIdentifier,
                        L"(01)26932992101633(11)190419(17)220410(91)09A(21)0001");
}

void DoTestFormat(tagQBUtility* utility, double value, const wchar_t* format) {
    const lkstr formatText = lkstr_fromw(format);
    const str result = UnicodeTextToPrintf(
        RequireText(QBUtilityNumberFormat(utility, formatText.c_str(), value), "QBUtilityNumberFormat"));
    std::printf("%f foramtted by %s is %s\n", value, UnicodeTextToPrintf(formatText).c_str(), result.c_str());
}

void TestFormat() {
    tagQBReport* report = QBReportCreate();
    DoTestFormat(QBReportGetUtility(report), 0.0, L"#,##0.00;;#");
    QBReportRelease(report);
}
