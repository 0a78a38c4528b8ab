// Batches: the whole report list, exported in sixteen variants on one report or with a thread per variant;
// and the load-and-save pass over the same list.
#ifndef QBSVR_DRIVER_BATCHES_H
#define QBSVR_DRIVER_BATCHES_H

#include "driver/engine.h"

// ---- On one thread

// The report that the batch forms of the export tasks use, and the number of list items that the current walk
// has finished. The multi-thread batch uses neither.
extern tagQBReport* Report;
extern int ReportCount;

// Creates `Report`, exports the sixteen variants in the order below, and releases it. `Report` keeps its
// stale value.
void TestBatch();

// Loads each template of the list into `Report`, points it at its data and runs `task` on it, then prints the
// count. Templates that don't load are reported and counted. Raises what the task and WalkReportList raise.
void ReportBatchTask(void (*task)(const wstr& templateFile, const wstr& reportName));

// One variant each: ReportBatchTask with the task of the same name. If `Report` is null, they create a report
// and release it at the end, but leave `Report` stale: call only one of them on its own, and only once.
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

// ---- With a thread per variant, each with its own report
//
// There is no lock. The threads share the paths and the report list, which no longer change, and standard
// output, where lines of different variants interleave. Their output directories are disjoint.

// Starts the sixteen threads and joins them in the same order. An exception on one of the threads ends the
// process.
void TestBatch_MThread();

// Like ReportBatchTask, but with the report as a parameter and a local count; `title` names the variant in
// the last line.
void MT_ReportBatchTask(tagQBReport* report,
                        void (*task)(tagQBReport* report, const wstr& templateFile, const wstr& reportName),
                        const char* title);

// Saves a copy of every template of the list, pointed at its data, in "qbf/" below exportBatchDir, on the
// calling thread. The engine creates that directory.
void TestBatch_ReportLoadSave();
void TaskLoadSaveReport(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

// Thread bodies, one per variant: create a report, walk the list, release it. In the order in which they are
// started.
void PDFThread();
void PDFEmbeddingFontThread();
void PDFPrintAdaptThread();
void XLSThread();
void XLSXThread();
void XLSXAsEntireTableThread();
void XLSXOnlyDetailGridThread();
void HTMThread();
void HTMAsEntireTableThread();
void HTMOnlyDetailGridThread();
void TXTThread();
void TXTAsEntireTableThread();
void TXTOnlyDetailGridThread();
void CSVThread();
void CSVAsEntireTableThread();
void CSVOnlyDetailGridThread();
// Not started by TestBatch_MThread.
void ImgTifThread();
void ImgPngThread();
void ImgPngOnePageThread();
void RTFThread();
void RTFAsEntireTableThread();
void RTFOnlyDetailGridThread();

// A thread body that only counts to 100 in lines; nothing starts it.
void TestThreadFun();

#endif
