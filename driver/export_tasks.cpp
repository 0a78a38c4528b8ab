#include "driver/export_tasks.h"

#include <cstdio>

#include "common/files.h"
#include "driver/batch.h"
#include "driver/engine_text.h"
#include "driver/finish_files.h"
#include "driver/sample_tree.h"

using namespace larkspur;
using namespace quillbrook;

// Both forms of a task are one line each over the form that takes the report in front, or over a worker of
// this file where their labels differ.
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

// The engine frees a prepared export's object with the export, so that the saving comes between.
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

void SetCellLayout(tagQBE2CellOption* option, bool asEntireTable, bool onlyDetailGrid) {
    if (asEntireTable) {
        QBE2CellOptionSetSameAsPrint(option, false);
        QBE2CellOptionSetExportPageBreak(option, false);
        QBE2CellOptionSetExportPageHeaderFooter(option, false);
    } else if (onlyDetailGrid) {
        QBE2CellOptionSetOnlyExportDetailGrid(option, true);
    }
}

const wchar_t* CellDirectorySuffix(bool asEntireTable, bool onlyDetailGrid) {
    if (asEntireTable) return L"-one-table";
    return onlyDetailGrid ? L"-only-detail" : L"";
}

}  // namespace

// ---- PDF and images

void TaskExportPDF(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoSaveBinaryObject(QBReportExportDirectToBinaryObject(report, QBExportType_PDF), templateFile,
                       OutputFile(L"pdf/", reportName, L".pdf"), "PDF");
}

void TaskExportPDF(const wstr& templateFile, const wstr& reportName) {
    TaskExportPDF(Report, templateFile, reportName);
}

// The one task whose forms label their lines differently.
void TaskExportPDFEmbeddingFont(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    ExportPDFEmbeddingFont(report, templateFile, reportName, "PDF_EmbeddingFont");
}

void TaskExportPDFEmbeddingFont(const wstr& templateFile, const wstr& reportName) {
    ExportPDFEmbeddingFont(Report, templateFile, reportName, "PDF(Embedding Font)");
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

void TaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName) {
    TaskExportPDFPrintAdapt(Report, templateFile, reportName);
}

void DoTaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName,
                               tagQBColumnPrintAdaptMethod method, const char* methodName,
                               tagQBReport* report) {
    // The method stays with the report until its next template.
    QBDetailGridSetPrintAdaptMethod(QBReportGetDetailGrid(report), method);
    const wstr outputFile = OutputFile(L"pdf_adapt/", reportName + AsciiStr2WStr(methodName, 0), L".pdf");
    DoSaveBinaryObject(QBReportExportDirectToBinaryObject(report, QBExportType_PDF), templateFile, outputFile,
                       (str(methodName) + " to PDF").c_str());
}

void DoTaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName,
                               tagQBColumnPrintAdaptMethod method, const char* methodName) {
    DoTaskExportPDFPrintAdapt(templateFile, reportName, method, methodName, Report);
}

// An image export that sets no type is TIFF.
void TaskExportImgTif(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoSaveBinaryObject(QBReportExportDirectToBinaryObject(report, QBExportType_IMG), templateFile,
                       OutputFile(L"img-tif/", reportName, L".tif"), ".tif image");
}

void TaskExportImgTif(const wstr& templateFile, const wstr& reportName) {
    TaskExportImgTif(Report, templateFile, reportName);
}

void TaskExportImgPng(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoTaskExportImgPng(templateFile, reportName, false, report);
}

void TaskExportImgPng(const wstr& templateFile, const wstr& reportName) {
    TaskExportImgPng(Report, templateFile, reportName);
}

void TaskExportImgPngOnePage(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    DoTaskExportImgPng(templateFile, reportName, true, report);
}

void TaskExportImgPngOnePage(const wstr& templateFile, const wstr& reportName) {
    TaskExportImgPngOnePage(Report, templateFile, reportName);
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

void DoTaskExportImgPng(const wstr& templateFile, const wstr& reportName, bool allInOne) {
    DoTaskExportImgPng(templateFile, reportName, allInOne, Report);
}

// ---- Formats made of cells

void TaskExportCell(tagQBReport* report, const wstr& templateFile, const wstr& reportName,
                    tagQBExportType type, bool asEntireTable, bool onlyDetailGrid, bool toXlsx) {
    const wstr extension = ExportExtFileName(type) + (toXlsx ? L"x" : L"");
    const wstr directory = extension + CellDirectorySuffix(asEntireTable, onlyDetailGrid) + L"/";
    const wstr outputFile = OutputFile(directory.c_str(), reportName, (L"." + extension).c_str());

    tagQBExportOption* option = QBReportPrepareExport(report, type);
    SetCellLayout(QBExportOptionGetAsE2CellOption(option), asEntireTable, onlyDetailGrid);
    if (toXlsx) QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), true);

    // Unlike the directory, the label names both layouts where both are asked for.
    const str label = str(asEntireTable ? "AsEntireTable " : "") + (onlyDetailGrid ? "OnlyDetail " : "") +
                      " ." + WStr2AsciiStr(extension.c_str(), 0);
    SavePreparedExport(report, templateFile, outputFile, label.c_str());
}

void TaskExportCell(const wstr& templateFile, const wstr& reportName, tagQBExportType type,
                    bool asEntireTable, bool onlyDetailGrid, bool toXlsx) {
    TaskExportCell(Report, templateFile, reportName, type, asEntireTable, onlyDetailGrid, toXlsx);
}

void TaskExportXLS(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_XLS, false, false, false);
}

void TaskExportXLS(const wstr& templateFile, const wstr& reportName) {
    TaskExportXLS(Report, templateFile, reportName);
}

void TaskExportXLSX(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_XLS, false, false, true);
}

void TaskExportXLSX(const wstr& templateFile, const wstr& reportName) {
    TaskExportXLSX(Report, templateFile, reportName);
}

void TaskExportXLSXAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_XLS, true, false, false);
}

void TaskExportXLSXAsEntireTable(const wstr& templateFile, const wstr& reportName) {
    TaskExportXLSXAsEntireTable(Report, templateFile, reportName);
}

void TaskExportXLSXOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_XLS, false, true, false);
}

void TaskExportXLSXOnlyDetailGrid(const wstr& templateFile, const wstr& reportName) {
    TaskExportXLSXOnlyDetailGrid(Report, templateFile, reportName);
}

void TaskExportRTF(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_RTF, false, false, false);
}

void TaskExportRTF(const wstr& templateFile, const wstr& reportName) {
    TaskExportRTF(Report, templateFile, reportName);
}

void TaskExportRTFAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_RTF, true, false, false);
}

void TaskExportRTFAsEntireTable(const wstr& templateFile, const wstr& reportName) {
    TaskExportRTFAsEntireTable(Report, templateFile, reportName);
}

void TaskExportRTFOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_RTF, false, true, false);
}

void TaskExportRTFOnlyDetailGrid(const wstr& templateFile, const wstr& reportName) {
    TaskExportRTFOnlyDetailGrid(Report, templateFile, reportName);
}

void TaskExportHTM(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_HTM, false, false, false);
}

void TaskExportHTM(const wstr& templateFile, const wstr& reportName) {
    TaskExportHTM(Report, templateFile, reportName);
}

void TaskExportHTMAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_HTM, true, false, false);
}

void TaskExportHTMAsEntireTable(const wstr& templateFile, const wstr& reportName) {
    TaskExportHTMAsEntireTable(Report, templateFile, reportName);
}

void TaskExportHTMOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_HTM, false, true, false);
}

void TaskExportHTMOnlyDetailGrid(const wstr& templateFile, const wstr& reportName) {
    TaskExportHTMOnlyDetailGrid(Report, templateFile, reportName);
}

void TaskExportTXT(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_TXT, false, false, false);
}

void TaskExportTXT(const wstr& templateFile, const wstr& reportName) {
    TaskExportTXT(Report, templateFile, reportName);
}

void TaskExportTXTAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_TXT, true, false, false);
}

void TaskExportTXTAsEntireTable(const wstr& templateFile, const wstr& reportName) {
    TaskExportTXTAsEntireTable(Report, templateFile, reportName);
}

void TaskExportTXTOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_TXT, false, true, false);
}

void TaskExportTXTOnlyDetailGrid(const wstr& templateFile, const wstr& reportName) {
    TaskExportTXTOnlyDetailGrid(Report, templateFile, reportName);
}

void TaskExportCSV(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_CSV, false, false, false);
}

void TaskExportCSV(const wstr& templateFile, const wstr& reportName) {
    TaskExportCSV(Report, templateFile, reportName);
}

void TaskExportCSVAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_CSV, true, false, false);
}

void TaskExportCSVAsEntireTable(const wstr& templateFile, const wstr& reportName) {
    TaskExportCSVAsEntireTable(Report, templateFile, reportName);
}

void TaskExportCSVOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_CSV, false, true, false);
}

void TaskExportCSVOnlyDetailGrid(const wstr& templateFile, const wstr& reportName) {
    TaskExportCSVOnlyDetailGrid(Report, templateFile, reportName);
}

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
        throw;  // with the file out of the making
    }
    return true;
}

void DoSaveBinaryObject(tagQBBinaryObject* object, const wstr& templateFile, const wstr& outputFile,
                        const char* label) {
    const char* outcome = SaveBinaryObject(object, EngineText(outputFile)) ? "succeeded" : "failed";
    std::printf("Export %s '%s' %s.\n", label, UnicodeTextToPrintf(templateFile).c_str(), outcome);
}
