#include "driver/batch.h"

#include <cstdio>

#include "driver/engine_text.h"
#include "driver/export_tasks.h"
#include "driver/list_walk.h"
#include "driver/messages.h"

tagQBReport* Report = nullptr;
int ReportCount = 0;

namespace {

using BatchTask = void (*)(const wstr& templateFile, const wstr& reportName);

void BatchExport(BatchTask task) {
    const bool ownReport = !Report;
    if (ownReport) Report = QBReportCreate();
    if (!Report) {
        PrintCreateFailed();
        return;
    }
    ReportBatchTask(task);
    if (ownReport) QBReportRelease(Report);
}

}  // namespace

void ReportBatchTask(BatchTask task) {
    RunBatchWalk({Report, ReportCount,
                  [](const wstr& templateFile) { PrintTemplateLoadFailed(EngineText(templateFile)); }, task});
    std::printf("Batch Export finished, ReportCount=%d.\n", ReportCount);
}

void TestBatch() {
    Report = QBReportCreate();
    if (!Report) {
        PrintCreateFailed();
        return;
    }
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
