#include "driver/batches.h"

#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include "common/string_ops.h"
#include "driver/connection_strings.h"
#include "driver/console.h"
#include "driver/export_tasks.h"
#include "driver/finish_files.h"
#include "driver/sample_tree.h"

using namespace larkspur;

tagQBReport* Report = nullptr;
int ReportCount = 0;

namespace {

using BatchTask = void (*)(const wstr& templateFile, const wstr& reportName);
using ReportTask = void (*)(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

// Lists may use backslashes. A "Dir" that already ends in a separator gets a second one.
wstr TemplateDirectory(lkstr dir) {
    if (dir.empty()) return reportPath;
    StringReplace(dir, u"\\", u"/");
    return reportPath + lkstr_tow(dir.c_str()) + L"/";
}

// The walk of all batches: loads the template of each item into `report`, then points it at its data and runs
// `task`, or calls `loadFailed`. `count` starts at 0 and increases with every item, loaded or not.
struct BatchWalk {
    tagQBReport* report;
    int& count;
    std::function<void(const wstr& templateFile)> loadFailed;
    std::function<void(const wstr& templateFile, const wstr& reportName)> task;
};

void RunBatchWalk(const BatchWalk& walk) {
    walk.count = 0;
    WalkReportList([&](const ReportListItem& item) {
        const wstr reportDir = TemplateDirectory(item.dir);
        const wstr templateFile = reportDir + item.name + L".qbf";
        if (QBReportLoadFromFile(walk.report, EngineText(templateFile).c_str())) {
            UpdateConnectionString_Ok(walk.report, reportDir, item.data, item.name);
            walk.task(templateFile, item.name);
        } else {
            walk.loadFailed(templateFile);
        }
        ++walk.count;
        return true;
    });
}

void BatchExport(BatchTask task) {
    const bool ownsReport = !Report;
    if (ownsReport) Report = CreateReport();
    if (!Report) return;
    ReportBatchTask(task);
    if (ownsReport) QBReportRelease(Report);
}

void ExportVariant(ReportTask task, const char* title) {
    WithNewReport([&](tagQBReport* report) { MT_ReportBatchTask(report, task, title); });
}

// In the order of start.
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

// ---- On one thread

void ReportBatchTask(BatchTask task) {
    RunBatchWalk({Report, ReportCount,
                  [](const wstr& templateFile) { PrintTemplateLoadFailed(EngineText(templateFile)); }, task});
    std::printf("Batch Export finished, ReportCount=%d.\n", ReportCount);
}

void TestBatch() {
    Report = CreateReport();
    if (!Report) return;
    std::puts("开始单线程成批生成报表...");
    BatchExportPDF();
    BatchExportPDFEmbeddingFont();
    BatchExportPDFPrintAdapt();
    BatchExportXLS();
    BatchExportXLSX();
    BatchExportXLSXAsEntireTable();
    BatchExportXLSXOnlyDetailGrid();
    BatchExportHTM();
    BatchExportHTMAsEntireTable();
    BatchExportHTMOnlyDetailGrid();
    BatchExportTXT();
    BatchExportTXTAsEntireTable();
    BatchExportTXTOnlyDetailGrid();
    BatchExportCSV();
    BatchExportCSVAsEntireTable();
    BatchExportCSVOnlyDetailGrid();
    QBReportRelease(Report);
}

void BatchExportPDF() { BatchExport(TaskExportPDF); }
void BatchExportPDFEmbeddingFont() { BatchExport(TaskExportPDFEmbeddingFont); }
void BatchExportPDFPrintAdapt() { BatchExport(TaskExportPDFPrintAdapt); }
void BatchExportXLS() { BatchExport(TaskExportXLS); }
void BatchExportXLSX() { BatchExport(TaskExportXLSX); }
void BatchExportXLSXAsEntireTable() { BatchExport(TaskExportXLSXAsEntireTable); }
void BatchExportXLSXOnlyDetailGrid() { BatchExport(TaskExportXLSXOnlyDetailGrid); }
void BatchExportHTM() { BatchExport(TaskExportHTM); }
void BatchExportHTMAsEntireTable() { BatchExport(TaskExportHTMAsEntireTable); }
void BatchExportHTMOnlyDetailGrid() { BatchExport(TaskExportHTMOnlyDetailGrid); }
void BatchExportTXT() { BatchExport(TaskExportTXT); }
void BatchExportTXTAsEntireTable() { BatchExport(TaskExportTXTAsEntireTable); }
void BatchExportTXTOnlyDetailGrid() { BatchExport(TaskExportTXTOnlyDetailGrid); }
void BatchExportCSV() { BatchExport(TaskExportCSV); }
void BatchExportCSVAsEntireTable() { BatchExport(TaskExportCSVAsEntireTable); }
void BatchExportCSVOnlyDetailGrid() { BatchExport(TaskExportCSVOnlyDetailGrid); }

// ---- With a thread per variant

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
             std::printf("load report '%s' failed.\n", UnicodeTextToPrintf(templateFile).c_str());
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

void PDFThread() { ExportVariant(TaskExportPDF, "PDF"); }
void PDFEmbeddingFontThread() { ExportVariant(TaskExportPDFEmbeddingFont, "PDFEmbeddingFont"); }
void PDFPrintAdaptThread() { ExportVariant(TaskExportPDFPrintAdapt, "PDFPrintAdapt"); }
void XLSThread() { ExportVariant(TaskExportXLS, "XLS"); }
void XLSXThread() { ExportVariant(TaskExportXLSX, "XLSX"); }
void XLSXAsEntireTableThread() { ExportVariant(TaskExportXLSXAsEntireTable, "XLSXAsEntireTable"); }
void XLSXOnlyDetailGridThread() { ExportVariant(TaskExportXLSXOnlyDetailGrid, "XLSXOnlyDetailGrid"); }
void HTMThread() { ExportVariant(TaskExportHTM, "HTM"); }
void HTMAsEntireTableThread() { ExportVariant(TaskExportHTMAsEntireTable, "HTMAsEntireTable"); }
void HTMOnlyDetailGridThread() { ExportVariant(TaskExportHTMOnlyDetailGrid, "HTMOnlyDetailGrid"); }
void TXTThread() { ExportVariant(TaskExportTXT, "TXT"); }
void TXTAsEntireTableThread() { ExportVariant(TaskExportTXTAsEntireTable, "TXTAsEntireTable"); }
void TXTOnlyDetailGridThread() { ExportVariant(TaskExportTXTOnlyDetailGrid, "TXTOnlyDetailGrid"); }
void CSVThread() { ExportVariant(TaskExportCSV, "CSV"); }
void CSVAsEntireTableThread() { ExportVariant(TaskExportCSVAsEntireTable, "CSVAsEntireTable"); }
void CSVOnlyDetailGridThread() { ExportVariant(TaskExportCSVOnlyDetailGrid, "CSVOnlyDetailGrid"); }
void ImgTifThread() { ExportVariant(TaskExportImgTif, "ImgTif"); }
void ImgPngThread() { ExportVariant(TaskExportImgPng, "ImgPng"); }
void ImgPngOnePageThread() { ExportVariant(TaskExportImgPngOnePage, "ImgPngOnePage"); }
void RTFThread() { ExportVariant(TaskExportRTF, "RTF"); }
void RTFAsEntireTableThread() { ExportVariant(TaskExportRTFAsEntireTable, "RTFAsEntireTable"); }
void RTFOnlyDetailGridThread() { ExportVariant(TaskExportRTFOnlyDetailGrid, "RTFOnlyDetailGrid"); }

void TestThreadFun() {
    std::puts("TestThreadFun start");
    for (int i = 1; i <= 100; ++i) std::printf("TestThreadFun run at %d\n", i);
    std::puts("TestThreadFun stop");
}
