#include "driver/export_tasks.h"

#include <cstdio>

#include "common/files.h"
#include "driver/batches.h"
#include "driver/finish_files.h"
#include "driver/sample_tree.h"

using namespace larkspur;
using namespace quillbrook;

namespace {

struct AdaptMethod {
    tagQBColumnPrintAdaptMethod method;
    const char* name;
};

// In the order of export.
constexpr AdaptMethod kAdaptMethods[] = {
    {QBColumnPrintAdaptMethod_Discard, "Discard"},
    {QBColumnPrintAdaptMethod_Wrap, "Wrap"},
    {QBColumnPrintAdaptMethod_ResizeToFit, "ResizeToFit"},
    {QBColumnPrintAdaptMethod_ShrinkToFit, "ShrinkToFit"},
    {QBColumnPrintAdaptMethod_ToNewPage, "ToNewPage"},
    {QBColumnPrintAdaptMethod_ToNewPageEx, "ToNewPageEx"},
    {QBColumnPrintAdaptMethod_ToNewPageRFC, "ToNewPageRFC"},
    {QBColumnPrintAdaptMethod_ToNewPageRFCEx, "ToNewPageRFCEx"},
    {QBColumnPrintAdaptMethod_WrapExcludeGroup, "WrapExcludeGroup"},
};

wstr OutputFile(const wchar_t* directory, const wstr& reportName, const wchar_t* extension) {
    return exportBatchDir + directory + reportName + extension;
}

// The engine frees the object of a prepared export together with the export, so it is saved first.
void SavePreparedExport(tagQBReport* report, const wstr& templateFile, const wstr& outputFile,
                        const char* label) {
    DoSaveBinaryObject(QBReportExportToBinaryObject(report), templateFile, outputFile, label);
    QBReportUnprepareExport(report);
}

void ExportPDFEmbeddingFont(tagQBReport* report, const wstr& templateFile, const wstr& reportName,
                            const char* label) {
    tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_PDF);
    QBE2PDFOptionSetFontEmbedding(QBExportOptionGetAsE2PDFOption(option), true);
    SavePreparedExport(report, templateFile, OutputFile(L"pdf_EmbeddingFont/", reportName, L".pdf"), label);
}

// If both are set, the entire table wins, but the label names both.
struct CellLayout {
    bool asEntireTable;
    bool onlyDetailGrid;
};
constexpr CellLayout kAsPrinted = {false, false};
constexpr CellLayout kEntireTable = {true, false};
constexpr CellLayout kOnlyDetailGrid = {false, true};

void SetCellLayout(tagQBE2CellOption* option, CellLayout layout) {
    if (layout.asEntireTable) {
        QBE2CellOptionSetSameAsPrint(option, false);
        QBE2CellOptionSetExportPageBreak(option, false);
        QBE2CellOptionSetExportPageHeaderFooter(option, false);
    } else if (layout.onlyDetailGrid) {
        QBE2CellOptionSetOnlyExportDetailGrid(option, true);
    }
}

const wchar_t* CellDirectorySuffix(CellLayout layout) {
    if (layout.asEntireTable) return L"-one-table";
    return layout.onlyDetailGrid ? L"-only-detail" : L"";
}

void ExportCell(tagQBReport* report, const wstr& templateFile, const wstr& reportName, tagQBExportType type,
                CellLayout layout, bool toXlsx) {
    const wstr extension = ExportExtFileName(type) + (toXlsx ? L"x" : L"");
    const wstr directory = extension + CellDirectorySuffix(layout) + L"/";
    const wstr outputFile = OutputFile(directory.c_str(), reportName, (L"." + extension).c_str());

    tagQBExportOption* option = QBReportPrepareExport(report, type);
    SetCellLayout(QBExportOptionGetAsE2CellOption(option), layout);
    if (toXlsx) QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), true);

    const str label = str(layout.asEntireTable ? "AsEntireTable " : "") +
                      (layout.onlyDetailGrid ? "OnlyDetail " : "") + " ." +
                      WStr2AsciiStr(extension.c_str(), 0);
    SavePreparedExport(report, templateFile, outputFile, label.c_str());
}

}  // namespace

// ---- Tasks on a report

void TaskExportPDF(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoSaveBinaryObject(QBReportExportDirectToBinaryObject(report, QBExportType_PDF), templateFile,
                       OutputFile(L"pdf/", reportName, L".pdf"), "PDF");
}

void TaskExportPDFEmbeddingFont(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    ExportPDFEmbeddingFont(report, templateFile, reportName, "PDF_EmbeddingFont");
}

void TaskExportPDFPrintAdapt(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    if (!QBReportGetDetailGrid(report)) {
        std::printf("Export '%s' to PDF for Print Adapt skpped because of none detail grid.\n",
                    UnicodeTextToPrintf(templateFile).c_str());
        return;
    }
    for (const AdaptMethod& entry : kAdaptMethods) {
        DoTaskExportPDFPrintAdapt(templateFile, reportName, entry.method, entry.name, report);
    }
}

void DoTaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName,
                               tagQBColumnPrintAdaptMethod method, const char* methodName,
                               tagQBReport* report) {
    // The report keeps the method until its next template is loaded.
    QBDetailGridSetPrintAdaptMethod(QBReportGetDetailGrid(report), method);
    const wstr outputFile = OutputFile(L"pdf_adapt/", reportName + AsciiStr2WStr(methodName, 0), L".pdf");
    DoSaveBinaryObject(QBReportExportDirectToBinaryObject(report, QBExportType_PDF), templateFile, outputFile,
                       (str(methodName) + " to PDF").c_str());
}

// An image export that sets no type is TIFF.
void TaskExportImgTif(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoSaveBinaryObject(QBReportExportDirectToBinaryObject(report, QBExportType_IMG), templateFile,
                       OutputFile(L"img-tif/", reportName, L".tif"), ".tif image");
}

void TaskExportImgPng(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoTaskExportImgPng(templateFile, reportName, false, report);
}

void TaskExportImgPngOnePage(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoTaskExportImgPng(templateFile, reportName, true, report);
}

void DoTaskExportImgPng(const wstr& templateFile, const wstr& reportName, bool allInOne,
                        tagQBReport* report) {
    const wstr outputFile = OutputFile(allInOne ? L"img-png-allin/" : L"img-png/", reportName, L".png");
    tagQBE2IMGOption* option =
        QBExportOptionGetAsE2IMGOption(QBReportPrepareExport(report, QBExportType_IMG));
    QBE2IMGOptionSetImageType(option, QBImageType_PNG);
    if (allInOne) QBE2IMGOptionSetAllInOne(option, true);
    SavePreparedExport(report, templateFile, outputFile, allInOne ? ".png(AllinOne)" : ".png");
}

void TaskExportCell(tagQBReport* report, const wstr& templateFile, const wstr& reportName,
                    tagQBExportType type, bool asEntireTable, bool onlyDetailGrid, bool toXlsx) {
    ExportCell(report, templateFile, reportName, type, {asEntireTable, onlyDetailGrid}, toXlsx);
}

// The other tasks are one export of cells each.
#define CELL_TASK(Task, type, layout, toXlsx)                                          \
    void Task(tagQBReport* report, const wstr& templateFile, const wstr& reportName) { \
        ExportCell(report, templateFile, reportName, type, layout, toXlsx);            \
    }
CELL_TASK(TaskExportXLS, QBExportType_XLS, kAsPrinted, false)
CELL_TASK(TaskExportXLSX, QBExportType_XLS, kAsPrinted, true)
CELL_TASK(TaskExportXLSXAsEntireTable, QBExportType_XLS, kEntireTable, false)
CELL_TASK(TaskExportXLSXOnlyDetailGrid, QBExportType_XLS, kOnlyDetailGrid, false)
CELL_TASK(TaskExportRTF, QBExportType_RTF, kAsPrinted, false)
CELL_TASK(TaskExportRTFAsEntireTable, QBExportType_RTF, kEntireTable, false)
CELL_TASK(TaskExportRTFOnlyDetailGrid, QBExportType_RTF, kOnlyDetailGrid, false)
CELL_TASK(TaskExportHTM, QBExportType_HTM, kAsPrinted, false)
CELL_TASK(TaskExportHTMAsEntireTable, QBExportType_HTM, kEntireTable, false)
CELL_TASK(TaskExportHTMOnlyDetailGrid, QBExportType_HTM, kOnlyDetailGrid, false)
CELL_TASK(TaskExportTXT, QBExportType_TXT, kAsPrinted, false)
CELL_TASK(TaskExportTXTAsEntireTable, QBExportType_TXT, kEntireTable, false)
CELL_TASK(TaskExportTXTOnlyDetailGrid, QBExportType_TXT, kOnlyDetailGrid, false)
CELL_TASK(TaskExportCSV, QBExportType_CSV, kAsPrinted, false)
CELL_TASK(TaskExportCSVAsEntireTable, QBExportType_CSV, kEntireTable, false)
CELL_TASK(TaskExportCSVOnlyDetailGrid, QBExportType_CSV, kOnlyDetailGrid, false)
#undef CELL_TASK

// ---- The batch forms: the same on the global report

void DoTaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName,
                               tagQBColumnPrintAdaptMethod method, const char* methodName) {
    DoTaskExportPDFPrintAdapt(templateFile, reportName, method, methodName, Report);
}

void DoTaskExportImgPng(const wstr& templateFile, const wstr& reportName, bool allInOne) {
    DoTaskExportImgPng(templateFile, reportName, allInOne, Report);
}

void TaskExportCell(const wstr& templateFile, const wstr& reportName, tagQBExportType type,
                    bool asEntireTable, bool onlyDetailGrid, bool toXlsx) {
    TaskExportCell(Report, templateFile, reportName, type, asEntireTable, onlyDetailGrid, toXlsx);
}

// The one task whose two forms label their lines differently.
void TaskExportPDFEmbeddingFont(const wstr& templateFile, const wstr& reportName) {
    ExportPDFEmbeddingFont(Report, templateFile, reportName, "PDF(Embedding Font)");
}

// All others are a single call of the task.
#define BATCH_FORM(Task) \
    void Task(const wstr& templateFile, const wstr& reportName) { Task(Report, templateFile, reportName); }
BATCH_FORM(TaskExportPDF)
BATCH_FORM(TaskExportPDFPrintAdapt)
BATCH_FORM(TaskExportImgTif)
BATCH_FORM(TaskExportImgPng)
BATCH_FORM(TaskExportImgPngOnePage)
BATCH_FORM(TaskExportXLS)
BATCH_FORM(TaskExportXLSX)
BATCH_FORM(TaskExportXLSXAsEntireTable)
BATCH_FORM(TaskExportXLSXOnlyDetailGrid)
BATCH_FORM(TaskExportRTF)
BATCH_FORM(TaskExportRTFAsEntireTable)
BATCH_FORM(TaskExportRTFOnlyDetailGrid)
BATCH_FORM(TaskExportHTM)
BATCH_FORM(TaskExportHTMAsEntireTable)
BATCH_FORM(TaskExportHTMOnlyDetailGrid)
BATCH_FORM(TaskExportTXT)
BATCH_FORM(TaskExportTXTAsEntireTable)
BATCH_FORM(TaskExportTXTOnlyDetailGrid)
BATCH_FORM(TaskExportCSV)
BATCH_FORM(TaskExportCSVAsEntireTable)
BATCH_FORM(TaskExportCSVOnlyDetailGrid)
#undef BATCH_FORM

// ---- Saving

wstr ExportExtFileName(tagQBExportType type) {
    switch (type) {
        case QBExportType_XLS:
            return L"xls";
        case QBExportType_TXT:
            return L"txt";
        case QBExportType_HTM:
            return L"htm";
        case QBExportType_RTF:
            return L"rtf";
        case QBExportType_PDF:
            return L"pdf";
        case QBExportType_CSV:
            return L"csv";
        default:
            return L"";
    }
}

bool SaveBinaryObject(tagQBBinaryObject* object, const lkstr& outputFile) {
    if (!object) return false;
    const int size = QBBinaryObjectGetDataSize(object);
    const void* bytes = QBBinaryObjectGetDataBuf(object);
    try {
        const FileInTheMaking file;
        SaveWholeBinDataToLocalFile(outputFile.c_str(), bytes, size);
    } catch (...) {
        throw;  // after the file's scope has ended
    }
    return true;
}

void DoSaveBinaryObject(tagQBBinaryObject* object, const wstr& templateFile, const wstr& outputFile,
                        const char* label) {
    const char* outcome = SaveBinaryObject(object, EngineText(outputFile)) ? "succeeded" : "failed";
    std::printf("Export %s '%s' %s.\n", label, UnicodeTextToPrintf(templateFile).c_str(), outcome);
}
