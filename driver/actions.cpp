#include "driver/actions.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "common/paths.h"
#include "common/unicode.h"
#include "driver/batches.h"
#include "driver/console.h"
#include "driver/events.h"
#include "driver/export_tasks.h"
#include "driver/sample_tree.h"

using namespace larkspur;
using namespace quillbrook;

namespace {

struct GenerationFiles {
    lkstr templateFile;
    lkstr dataFile;
    lkstr outFile;
    bool isWritten = true;  // false if a word was not representable: no file is written under another name
};

lkstr WordToText(const char* word) {
    return word ? MbsToUnicode(word, static_cast<int>(std::strlen(word))) : lkstr();
}

// Whether `text` is the whole word. A character above U+FFFF empties it.
bool IsWhole(const char* word, const lkstr& text) { return !text.empty() || !word || !*word; }

void Generate(const GenerationFiles& files, tagQBExportType type, const lkstr& typeText) {
    // The engine accepts a null report, and the last line is printed in any case.
    tagQBReport* report = QBReportCreate();
    if (!QBReportLoadFromFile(report, files.templateFile.c_str()))
        PrintTemplateLoadFailed(files.templateFile);
    if (IsFileExist(files.dataFile.c_str()) && !QBReportLoadDataFromURL(report, files.dataFile.c_str())) {
        PrintDataLoadFailed(files.dataFile);
    }
    if (typeText == u"xlsx") QBAttachEventExportBegin(report, new CqbExportBeginEventXLSX);
    tagQBBinaryObject* const document = QBReportExportDirectToBinaryObject(report, type);
    if (files.isWritten) SaveBinaryObject(document, files.outFile);
    QBReportRelease(report);
    std::printf("模板：%s，数据: %s, 导出：%s\n", UnicodeTextToPrintf(files.templateFile).c_str(),
                UnicodeTextToPrintf(files.dataFile).c_str(), UnicodeTextToPrintf(files.outFile).c_str());
}

}  // namespace

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
    WithNewReport([](tagQBReport*) { std::puts("Report object created successfully."); });
}

tagQBExportType ParseExportType(const char* type, lkstr& typeText) {
    static constexpr struct {
        const char* word;
        tagQBExportType type;
        const lkchar* text;
    } kTypes[] = {
        {"xls", QBExportType_XLS, u"xls"},
        {"xlsx", QBExportType_XLS, u"xlsx"},
        {"txt", QBExportType_TXT, u"txt"},
        {"csv", QBExportType_CSV, u"csv"},
    };

    typeText.clear();
    if (!type) throw std::logic_error("the word for the export type is missing");
    for (const auto& entry : kTypes) {
        if (strcasecmp(type, entry.word) == 0) {
            typeText = entry.text;
            return entry.type;
        }
    }
    typeText = u"pdf";
    return QBExportType_PDF;
}

void Test_GenShort(const char* dir, const char* fileName, const char* type) {
    lkstr directory = WordToText(dir);
    const lkstr name = WordToText(fileName);
    const bool isWhole = IsWhole(dir, directory) && IsWhole(fileName, name);
    // Only "/" counts as closed, unlike in ConfigPath.
    if (directory.empty() || directory.back() != u'/') directory += u'/';
    const lkstr base = directory + name;
    lkstr typeText;
    const tagQBExportType exportType = ParseExportType(type, typeText);
    Generate({base + u".qbf", base + u".txt", base + u"." + typeText, isWhole}, exportType, typeText);
}

void Test_GenFull(const char* templateFile, const char* dataFile, const char* outFile, const char* type) {
    lkstr typeText;
    const tagQBExportType exportType = ParseExportType(type, typeText);
    Generate({WordToText(templateFile), WordToText(dataFile), WordToText(outFile)}, exportType, typeText);
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
