// Makes the workbooks of all samples, in both formats and all three layouts, and their PDFs beside them:
// make_workbooks SETUP OUT. The batches make no XLSX but as printed.
#include "driver/batch_threads.h"
#include "driver/engine_text.h"
#include "driver/export_tasks.h"
#include "driver/sample_tree.h"

using namespace quillbrook;

namespace {

template <bool asEntireTable, bool onlyDetailGrid, bool toXlsx>
void make(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, QBExportType_XLS, asEntireTable, onlyDetailGrid, toXlsx);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    ConfigPath(argv[1], argv[2]);
    QBInitConfig(EngineText(setupRoot).c_str());
    ReportsJson.LoadFromFile(EngineText(dataPath + L"ReportListJson.txt").c_str());
    tagQBReport* const report = QBReportCreate();
    const auto tasks = {&make<false, false, false>,
                        &make<false, false, true>,
                        &make<true, false, false>,
                        &make<true, false, true>,
                        &make<false, true, false>,
                        &make<false, true, true>,
                        static_cast<decltype(&make<false, false, false>)>(&TaskExportPDF)};
    for (const auto task : tasks) MT_ReportBatchTask(report, task, "workbooks");
    QBReportRelease(report);
}
