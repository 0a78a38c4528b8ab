#include "driver/batch_threads.h"

#include <cstdio>
#include <thread>
#include <vector>

#include "driver/engine_text.h"
#include "driver/export_tasks.h"
#include "driver/finish_files.h"
#include "driver/list_walk.h"
#include "driver/messages.h"
#include "driver/sample_tree.h"

namespace {

using ReportTask = void (*)(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

void RunKind(ReportTask task, const char* title) {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    MT_ReportBatchTask(report, task, title);
    QBReportRelease(report);
}

// In the order of start, which is that of the single-thread batch.
constexpr void (*kStartedThreads[])() = {
    PDFThread,
    PDFEmbeddingFontThread,
    PDFPrintAdaptThread,
    XLSThread,
    XLSXThread,
    XLSXAsEntireTableThread,
    XLSXOnlyDetailGridThread,
    HTMThread,
    HTMAsEntireTableThread,
    HTMOnlyDetailGridThread,
    TXTThread,
    TXTAsEntireTableThread,
    TXTOnlyDetailGridThread,
    CSVThread,
    CSVAsEntireTableThread,
    CSVOnlyDetailGridThread,
};

}  // namespace

void TestBatch_MThread() {
    std::puts("开始多线程成批生成报表...");
    std::vector<std::thread> threads;
    for (void (*body)() : kStartedThreads) threads.emplace_back(body);
    for (std::thread& thread : threads) thread.join();
}

void MT_ReportBatchTask(tagQBReport* report, ReportTask task, const char* title) {
    int count = 0;
    RunBatchWalk(
        {report, count,
         [](const wstr& templateFile) {
             std::printf("load report '%s' failed.\n", larkspur::UnicodeTextToPrintf(templateFile).c_str());
         },
         [&](const wstr& templateFile, const wstr& reportName) { task(report, templateFile, reportName); }});
    std::printf("Batch Export %s finished, ReportCount=%d.\n", title, count);
}

void TestBatch_ReportLoadSave() {
    tagQBReport* report = QBReportCreate();
    MT_ReportBatchTask(report, TaskLoadSaveReport, "Load & Save Report Template");
    QBReportRelease(report);
}

void TaskLoadSaveReport(tagQBReport* report, const wstr& /*templateFile*/, const wstr& reportName) {
    const lkstr outputFile = EngineText(exportBatchDir + L"qbf/" + reportName + L".qbf");
    bool saved = false;
    {
        const FileInTheMaking file;
        saved = QBReportSaveToFile(report, outputFile.c_str()) != 0;
    }
    PrintTemplateSaved(outputFile, saved);
}

void PDFThread() { RunKind(TaskExportPDF, "PDF"); }
void PDFEmbeddingFontThread() { RunKind(TaskExportPDFEmbeddingFont, "PDFEmbeddingFont"); }
void PDFPrintAdaptThread() { RunKind(TaskExportPDFPrintAdapt, "PDFPrintAdapt"); }
void XLSThread() { RunKind(TaskExportXLS, "XLS"); }
void XLSXThread() { RunKind(TaskExportXLSX, "XLSX"); }
void XLSXAsEntireTableThread() { RunKind(TaskExportXLSXAsEntireTable, "XLSXAsEntireTable"); }
void XLSXOnlyDetailGridThread() { RunKind(TaskExportXLSXOnlyDetailGrid, "XLSXOnlyDetailGrid"); }
void HTMThread() { RunKind(TaskExportHTM, "HTM"); }
void HTMAsEntireTableThread() { RunKind(TaskExportHTMAsEntireTable, "HTMAsEntireTable"); }
void HTMOnlyDetailGridThread() { RunKind(TaskExportHTMOnlyDetailGrid, "HTMOnlyDetailGrid"); }
void TXTThread() { RunKind(TaskExportTXT, "TXT"); }
void TXTAsEntireTableThread() { RunKind(TaskExportTXTAsEntireTable, "TXTAsEntireTable"); }
void TXTOnlyDetailGridThread() { RunKind(TaskExportTXTOnlyDetailGrid, "TXTOnlyDetailGrid"); }
void CSVThread() { RunKind(TaskExportCSV, "CSV"); }
void CSVAsEntireTableThread() { RunKind(TaskExportCSVAsEntireTable, "CSVAsEntireTable"); }
void CSVOnlyDetailGridThread() { RunKind(TaskExportCSVOnlyDetailGrid, "CSVOnlyDetailGrid"); }
void ImgTifThread() { RunKind(TaskExportImgTif, "ImgTif"); }
void ImgPngThread() { RunKind(TaskExportImgPng, "ImgPng"); }
void ImgPngOnePageThread() { RunKind(TaskExportImgPngOnePage, "ImgPngOnePage"); }
void RTFThread() { RunKind(TaskExportRTF, "RTF"); }
void RTFAsEntireTableThread() { RunKind(TaskExportRTFAsEntireTable, "RTFAsEntireTable"); }
void RTFOnlyDetailGridThread() { RunKind(TaskExportRTFOnlyDetailGrid, "RTFOnlyDetailGrid"); }

void TestThreadFun() {
    std::puts("TestThreadFun start");
    for (int i = 1; i <= 100; ++i) std::printf("TestThreadFun run at %d\n", i);
    std::puts("TestThreadFun stop");
}
