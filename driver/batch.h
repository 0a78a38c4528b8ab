// The single-thread batch: the whole report list once for each of sixteen kinds of export, on one report.
#ifndef QBSVR_DRIVER_BATCH_H
#define QBSVR_DRIVER_BATCH_H

#include "driver/driver_types.h"

// The report of this batch, on which the batch forms of the export tasks work, and the number of list items
// that the current walk has behind it. The multi-thread batch touches neither.
extern tagQBReport* Report;
extern int ReportCount;

// Creates `Report`, runs the sixteen kinds in the order below, and releases it. `Report` keeps its stale
// value.
void TestBatch();

// Loads each template of the list into `Report`, points it at its data and runs `task` on it, then prints the
// count. Templates that don't load are said and counted. Raises what the task and WalkReportList raise.
void ReportBatchTask(void (*task)(const wstr& templateFile, const wstr& reportName));

// One kind each: ReportBatchTask with the task of the same name. Without a `Report` they create one and
// release it at the end, leaving `Report` stale: callable alone once only.
void BatchExportPDF();
void BatchExportPDFEmbeddingFont();
void BatchExportPDFPrintAdapt();
void BatchExportXLS();
void BatchExportXLSX();
void BatchExportXLSXAsEntireTable();
void BatchExportXLSXOnlyDetailGrid();
void BatchExportHTM();
void BatchExportHTMAsEntireTable();
void BatchExportHTMOnlyDetailGrid();
void BatchExportTXT();
void BatchExportTXTAsEntireTable();
void BatchExportTXTOnlyDetailGrid();
void BatchExportCSV();
void BatchExportCSVAsEntireTable();
void BatchExportCSVOnlyDetailGrid();

#endif
