// The multi-thread batch: the kinds of the single-thread batch, each on a thread and a report of its own, and
// the load-and-save pass over the same list.
//
// No lock is taken. The threads share the paths and the report list, which nobody writes any more, and
// standard output, where lines of different kinds interleave; their output directories are disjoint.
#ifndef QBSVR_DRIVER_BATCH_THREADS_H
#define QBSVR_DRIVER_BATCH_THREADS_H

#include "driver/driver_types.h"

// Starts the sixteen and joins them in the same order. An exception on one of the threads ends the process.
void TestBatch_MThread();

// ReportBatchTask with the report and the count made local; `title` names the kind in its last line.
void MT_ReportBatchTask(tagQBReport* report,
                        void (*task)(tagQBReport* report, const wstr& templateFile, const wstr& reportName),
                        const char* title);

// Saves a copy of every template of the list, pointed at its data, in "qbf/" below exportBatchDir, on the
// calling thread. Making that directory is left to the engine.
void TestBatch_ReportLoadSave();
void TaskLoadSaveReport(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

// Thread bodies, one a kind: create a report, walk the list, release it. In the order in which they are
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
