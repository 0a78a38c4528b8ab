// Makes documents, including the formats that no batch makes:
//
//     make_documents SETUP OUT texts        of all samples, HTM, RTF, TXT and CSV in the three layouts, and PDF
//     make_documents SETUP OUT workbooks    of all samples, XLS and XLSX in the three layouts, and PDF
//     make_documents SETUP OUT formats      of all samples, every format, in the environment's locale
//     make_documents SETUP OUT TEMPLATE DATA    OUT.htm, OUT.rtf, OUT.txt and OUT.csv of one report
#include <clocale>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "driver/batches.h"
#include "driver/export_tasks.h"
#include "driver/sample_tree.h"

using namespace quillbrook;

namespace {

using Task = void (*)(tagQBReport* report, const wstr& templateFile, const wstr& reportName);

template <tagQBExportType type, bool toXlsx, bool asEntireTable, bool onlyDetailGrid>
void make(tagQBReport* report, const wstr& templateFile, const wstr& reportName) {
    TaskExportCell(report, templateFile, reportName, type, asEntireTable, onlyDetailGrid, toXlsx);
}

template <tagQBExportType type, bool toXlsx = false>
void addLayouts(std::vector<Task>& tasks) {
    tasks.insert(tasks.end(), {&make<type, toXlsx, false, false>, &make<type, toXlsx, true, false>,
                               &make<type, toXlsx, false, true>});
}

void makeSamples(std::string_view what) {
    ReportsJson.LoadFromFile(EngineText(dataPath + L"ReportListJson.txt").c_str());
    std::vector<Task> tasks{static_cast<Task>(&TaskExportPDF)};
    if (what == "formats") {
        std::setlocale(LC_ALL, "");
        tasks.insert(tasks.end(), {&TaskExportXLS, &TaskExportXLSX, &TaskExportHTM, &TaskExportRTF,
                                   &TaskExportTXT, &TaskExportCSV, &TaskExportImgTif, &TaskExportImgPng});
    } else if (what == "workbooks") {
        addLayouts<QBExportType_XLS>(tasks);
        addLayouts<QBExportType_XLS, true>(tasks);
    } else {
        addLayouts<QBExportType_HTM>(tasks);
        addLayouts<QBExportType_RTF>(tasks);
        addLayouts<QBExportType_TXT>(tasks);
        addLayouts<QBExportType_CSV>(tasks);
    }
    tagQBReport* const report = QBReportCreate();
    for (const Task task : tasks) MT_ReportBatchTask(report, task, "documents");
    QBReportRelease(report);
}

bool makeTexts(const lkstr& out, const lkstr& templateFile, const lkstr& data) {
    tagQBReport* const report = QBReportCreate();
    bool made = QBReportLoadFromFile(report, templateFile.c_str()) != 0 &&
                QBReportLoadDataFromURL(report, data.c_str()) != 0;
    const std::pair<tagQBExportType, const lkchar*> kinds[] = {{QBExportType_HTM, u".htm"},
                                                               {QBExportType_RTF, u".rtf"},
                                                               {QBExportType_TXT, u".txt"},
                                                               {QBExportType_CSV, u".csv"}};
    for (const auto& [type, extension] : kinds) {
        made = made && QBReportExportDirect(report, type, (out + extension).c_str(), 0, 0) != 0;
    }
    QBReportRelease(report);
    return made;
}

lkstr text(const char* word) { return {word, word + std::strlen(word)}; }

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4 && argc != 5) return 2;
    ConfigPath(argv[1], argv[2]);
    QBInitConfig(EngineText(setupRoot).c_str());
    if (argc == 5) return makeTexts(text(argv[2]), text(argv[3]), text(argv[4])) ? 0 : 1;
    makeSamples(argv[3]);
}
