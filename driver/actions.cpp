#include "driver/actions.h"

#include <cstdio>

#include "driver/batch.h"
#include "driver/batch_threads.h"
#include "driver/engine_text.h"
#include "driver/generate.h"
#include "driver/messages.h"
#include "driver/sample_tree.h"

using larkspur::UnicodeTextToPrintf;

void DoAction(const str& action) {
    if (action == "-a" || action == "-b") {
        TestBatch();
    } else if (action == "-m") {
        TestBatch_MThread();
    } else if (action == "-s") {
        TestBatch_ReportLoadSave();
    } else if (action == "-create") {
        DoReportCreate();
    } else {
        DoPrintUsage();
    }
}

void DoPrintUsage() { std::puts("usage: qbsvrtest -action setupPath outPath"); }

void DoPrintPathInfo() {
    std::printf("\nReport Template File Path = %s\nExport FilePath = %s\n\n",
                UnicodeTextToPrintf(reportPath).c_str(), UnicodeTextToPrintf(outPath).c_str());
}

void DoPrintVersion() {
    const str path = UnicodeTextToPrintf(RequireText(QBGetModulePath(), "QBGetModulePath"));
    const str version = UnicodeTextToPrintf(RequireText(QBGetModuleVersion(), "QBGetModuleVersion"));
    const str architecture = UnicodeTextToPrintf(RequireText(QBGetModuleInfo(), "QBGetModuleInfo"));
    std::printf("\nModule Architecture = %s\nModule Version = %s\nModule Path = %s\n\n", architecture.c_str(),
                version.c_str(), path.c_str());
}

void DoReportCreate() {
    tagQBReport* report = QBReportCreate();
    if (!report) {
        PrintCreateFailed();
        return;
    }
    std::puts("Report object created successfully.");
    QBReportRelease(report);
}

void DoGenOneReportShort(int argc, char** argv) {
    if (argc < 5 || !*argv[3] || !*argv[4]) {
        std::puts("usage: qbsvrtest -gen_short setupPath dir filename type");
        return;
    }
    Test_GenShort(argv[3], argv[4], argv[5]);
}

void DoGenOneReportFull(int argc, char** argv) {
    if (argc < 6 || !*argv[3] || !*argv[4]) {
        std::puts("usage: qbsvrtest -gen_full path_file_qbf path_file_txt path_file_out type");
        return;
    }
    Test_GenFull(argv[3], argv[4], argv[5], argv[6]);
}
