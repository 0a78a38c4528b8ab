#include "driver/samples.h"

#include <cstdio>

#include "common/paths.h"
#include "driver/connection_strings.h"
#include "driver/engine_text.h"
#include "driver/events.h"
#include "driver/export_tasks.h"
#include "driver/messages.h"
#include "driver/sample_tree.h"

using namespace larkspur;
using namespace quillbrook;

namespace {

constexpr wchar_t kSimpleTable[] = L"1a.简单表格";

// Loads and says so when that fails.
bool LoadTemplate(tagQBReport* report, const lkstr& templateFile) {
    if (QBReportLoadFromFile(report, templateFile.c_str())) return true;
    PrintTemplateLoadFailed(templateFile);
    return false;
}

lkstr SampleTemplate(const wchar_t* reportName) { return EngineText(reportPath + reportName + L".qbf"); }

void ExportTo(tagQBReport* report, tagQBExportType type, const wstr& outFile) {
    SaveBinaryObject(QBReportExportDirectToBinaryObject(report, type), EngineText(outFile));
}

// What the printing samples share: all between creation and release.
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
    QBReportExportDirect(report, QBExportType_PDF, u"d:/qb-print.pdf", 0, 0);
}

template <class Update>
void EventSample(tagQBReport* report, Update updateConnectionString) {
    LoadTemplate(report, SampleTemplate(kSimpleTable));
    QBAttachEventInitialize(report, new CqbInitializeEventInfo);
    updateConnectionString();
    ExportTo(report, QBExportType_PDF, outPath + L"qb-event.pdf");
}

}  // namespace

void TestSubReportLoadSave() {
    tagQBReport* report = QBReportCreate();
    tagQBSection* section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
    QBSectionSetHeight(section, 1.0);
    QBSectionSetCanGrow(section, 1);
    tagQBControl* control = QBControlsAdd(QBSectionGetControls(section), QBControlType_SubReport);
    tagQBReport* inner = QBSubReportGetReport(QBControlGetAsSubReport(control));
    if (!QBReportLoadFromFile(inner, u"D:/UserFiles/qb7/Reports/1a.简单表格.qbf")) std::puts("load failed.");
    if (!QBReportSaveToFile(inner, u"D:/UserFiles/qb7/Reports/1a.简单表格-sr.qbf")) std::puts("save failed.");
    QBReportRelease(report);
}

void TestLoadDataFromURL() {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    LoadTemplate(report, SampleTemplate(kSimpleTable));
    QBReportLoadDataFromURL(report, u"C:/Quillbrook 6/WebSamples/data/json/jsonCustomer-err.txt");
    ExportTo(report, QBExportType_PDF, outPath + L"qb-datafromurl.pdf");
    QBReportRelease(report);
}

void TestPrint(const lkchar* printerName) {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    // The simple table's data, though another template is printed.
    PrintSample(
        report, L"1a.smalll-a", [&] { UpdateConnectionStringByReportName(report, kSimpleTable); },
        printerName);
    QBReportRelease(report);
}

void TestPrint_CPP(const lkchar* printerName) {
    CQBReportHandle report;
    if (!report.m_report) {
        PrintCreateFailed();
        return;
    }
    PrintSample(
        report.m_report, kSimpleTable, [&] { UpdateConnectionStringByReportName_CPP(report, kSimpleTable); },
        printerName);
    QBReportGetFont(report.m_report);
    QBReportGetFont(report.m_report);
}

void TestLoadSave() {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    const lkstr templateFile = SampleTemplate(kSimpleTable);
    PrintTemplateLoaded(templateFile, QBReportLoadFromFile(report, templateFile.c_str()) != 0);
    QBReportSetBackImageFile(report, EngineText(dataPath + L"Picture/Butterfly.jpg").c_str());
    tagQBReport* copy = QBReportCreate();
    QBObjectAssign(copy, report);
    const lkstr savedFile = EngineText(outPath + L"save.qbf");
    PrintTemplateSaved(savedFile, QBReportSaveToFile(report, savedFile.c_str()) != 0);
    QBReportRelease(copy);
    QBReportRelease(report);
}

void TestExport() {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    const lkstr templateFile = SampleTemplate(kSimpleTable);
    if (!LoadTemplate(report, templateFile)) {
        QBReportRelease(report);
        return;
    }
    UpdateConnectionStringByReportName(report, kSimpleTable);
    QBReportExportDirect(report, QBExportType_XLS, EngineText(outPath + L"qb-direct.xls").c_str(), 1, 1);
    tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_XLS);
    QBExportOptionSetFileName(option, EngineText(outPath + L"qb.xlsx").c_str());
    QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
    QBReportExport(report, 0);
    QBReportUnprepareExport(report);
    QBReportRelease(report);
    std::printf("Export %s to %s dir finished.\n", UnicodeTextToPrintf(templateFile).c_str(),
                UnicodeTextToPrintf(outPath).c_str());
}

void Test_DataTextFile(const wchar_t* templateFile, tagQBExportType type, const wchar_t* outFile) {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    const lkstr templateText = lkstr_fromw(templateFile);
    LoadTemplate(report, templateText);
    ReportExport_UpdateConnectionString(report,
                                        lkstr_tow(ExtractFilePath(templateText.c_str()).c_str()) + L"/");
    QBAttachEventExportBegin(report, new CqbExportBeginEventInfo);
    ExportTo(report, type, outFile);
    QBReportRelease(report);
    std::printf("模板：%s，导出：%s\n", UnicodeTextToPrintf(templateFile).c_str(),
                UnicodeTextToPrintf(outFile).c_str());
}

void Test_DataTextFile2(const wchar_t* templateFile, const wchar_t* dataFile, tagQBExportType type,
                        const wchar_t* outFile) {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    LoadTemplate(report, lkstr_fromw(templateFile));
    const lkstr dataText = lkstr_fromw(dataFile);
    if (!QBReportLoadDataFromURL(report, dataText.c_str())) PrintDataLoadFailed(dataText);
    QBAttachEventExportBegin(report, new CqbExportBeginEventInfo2);
    ExportTo(report, type, outFile);
    QBReportRelease(report);
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
    if (!QBReportLoadFromFile(report, u"D:/UserFiles/quillbrookQBReportqbf")) std::puts("load failed.");
    if (!QBReportLoadDataFromURL(report, u"D:/UserFiles/quillbrookQBReporttxt"))
        std::puts("load data failed.");
    // Called back, it finds no image and leaves the spreadsheet alone.
    QBAttachEventExportBegin(report, new CqbExportBeginEventInfo);
    ExportTo(report, QBExportType_XLS, outPath + L"qb-custom-export.xls");
    QBReportRelease(report);
}
