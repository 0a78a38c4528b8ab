// Export tasks: each exports one report, whose template is already loaded, in one format with one set of
// options into a file below exportBatchDir, and prints one line about it.
//
// Every task has two forms that do the same. The batch form works on the global `Report` and belongs to one
// thread; the form with a report parameter uses no global but exportBatchDir, so that threads can export at
// once, each with its own report. `templateFile` is the template's full path and is used in the printed lines
// only; `reportName` is its bare name and names the output. Missing directories are created. If a file can't
// be written, ClkException is raised and a prepared export remains open.
#ifndef QBSVR_DRIVER_EXPORT_TASKS_H
#define QBSVR_DRIVER_EXPORT_TASKS_H

#include "driver/engine.h"

// "pdf/", and "pdf_EmbeddingFont/" with the fonts embedded.
void TaskExportPDF(const wstr& templateFile, const wstr& reportName);
void TaskExportPDF(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportPDFEmbeddingFont(const wstr& templateFile, const wstr& reportName);
void TaskExportPDFEmbeddingFont(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

// "pdf_adapt/": nine files, one for each way of fitting wide columns on the page. For a report without a
// detail grid, only prints a line.
void TaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName);
void TaskExportPDFPrintAdapt(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void DoTaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName,
                               tagQBColumnPrintAdaptMethod method, const char* methodName);
void DoTaskExportPDFPrintAdapt(const wstr& templateFile, const wstr& reportName,
                               tagQBColumnPrintAdaptMethod method, const char* methodName,
                               tagQBReport* report);

// "img-tif/", "img-png/", and "img-png-allin/" with all pages in one image.
void TaskExportImgTif(const wstr& templateFile, const wstr& reportName);
void TaskExportImgTif(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportImgPng(const wstr& templateFile, const wstr& reportName);
void TaskExportImgPng(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportImgPngOnePage(const wstr& templateFile, const wstr& reportName);
void TaskExportImgPngOnePage(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void DoTaskExportImgPng(const wstr& templateFile, const wstr& reportName, bool allInOne);
void DoTaskExportImgPng(const wstr& templateFile, const wstr& reportName, bool allInOne, tagQBReport* report);

// The formats made of cells, in a directory named after the extension: as printed; "-one-table" as one
// continuous table; "-only-detail" with the detail grid alone. `asEntireTable` wins if both are set.
void TaskExportCell(const wstr& templateFile, const wstr& reportName, tagQBExportType type,
                    bool asEntireTable, bool onlyDetailGrid, bool toXlsx);
void TaskExportCell(tagQBReport* report, const wstr& templateFile, const wstr& reportName,
                    tagQBExportType type, bool asEntireTable, bool onlyDetailGrid, bool toXlsx);

// The two layouts of XLSX write the older .xls in spite of their names.
void TaskExportXLS(const wstr& templateFile, const wstr& reportName);
void TaskExportXLS(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportXLSX(const wstr& templateFile, const wstr& reportName);
void TaskExportXLSX(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportXLSXAsEntireTable(const wstr& templateFile, const wstr& reportName);
void TaskExportXLSXAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportXLSXOnlyDetailGrid(const wstr& templateFile, const wstr& reportName);
void TaskExportXLSXOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

void TaskExportRTF(const wstr& templateFile, const wstr& reportName);
void TaskExportRTF(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportRTFAsEntireTable(const wstr& templateFile, const wstr& reportName);
void TaskExportRTFAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportRTFOnlyDetailGrid(const wstr& templateFile, const wstr& reportName);
void TaskExportRTFOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

void TaskExportHTM(const wstr& templateFile, const wstr& reportName);
void TaskExportHTM(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportHTMAsEntireTable(const wstr& templateFile, const wstr& reportName);
void TaskExportHTMAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportHTMOnlyDetailGrid(const wstr& templateFile, const wstr& reportName);
void TaskExportHTMOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

void TaskExportTXT(const wstr& templateFile, const wstr& reportName);
void TaskExportTXT(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportTXTAsEntireTable(const wstr& templateFile, const wstr& reportName);
void TaskExportTXTAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportTXTOnlyDetailGrid(const wstr& templateFile, const wstr& reportName);
void TaskExportTXTOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

void TaskExportCSV(const wstr& templateFile, const wstr& reportName);
void TaskExportCSV(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportCSVAsEntireTable(const wstr& templateFile, const wstr& reportName);
void TaskExportCSVAsEntireTable(tagQBReport* report, const wstr& templateFile, const wstr& reportName);
void TaskExportCSVOnlyDetailGrid(const wstr& templateFile, const wstr& reportName);
void TaskExportCSVOnlyDetailGrid(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

// The extension of a cell format or of PDF, without dot; empty for every other value, images included.
wstr ExportExtFileName(tagQBExportType type);

// Writes the object's bytes to `outputFile` and prints whether there was an object; `label` names the task.
// The object may be null and still belongs to the engine.
void DoSaveBinaryObject(tagQBBinaryObject* object, const wstr& templateFile, const wstr& outputFile,
                        const char* label);

// Writes without printing. Returns false, and writes no file, for a null object.
bool SaveBinaryObject(tagQBBinaryObject* object, const lkstr& outputFile);

#endif
