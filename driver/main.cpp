// qbsvrtest: drives a report engine from the command line. `qbsvrtest -action setupPath outPath`
#include <cstdio>

#include "driver/actions.h"
#include "driver/console.h"
#include "driver/finish_files.h"
#include "driver/sample_tree.h"

namespace {

constexpr lkchar kDefaultEnginePath[] = u"/usr/local/qbsvr6";

// Scripts pass an empty path as a word of two quote characters.
str PathWord(int argc, char** argv, int index) {
    const str word = argc > index ? argv[index] : "";
    return word == "\"\"" ? str() : word;
}

void ConfigEngine(const str& setupPath) {
    const lkstr path = setupPath.empty()
                           ? lkstr(kDefaultEnginePath)
                           : larkspur::AsciiStr2LKStr(setupPath.c_str(), static_cast<int>(setupPath.size()));
    QBInitConfig(path.c_str());
}

void RunOnSampleTree(const str& action, const str& setupPath, const str& outputPath) {
    ConfigPath(setupPath.c_str(), outputPath.c_str());
    const lkstr list = EngineText(dataPath + L"ReportListJson.txt");
    WarnOfText(list);
    ReportsJson.LoadFromFile(list.c_str());
    DoAction(action);
    DoPrintPathInfo();
}

}  // namespace

// The status is 0 whether or not reports succeed: the printed lines are the results.
int main(int argc, char** argv) {
    // Line buffering: a run that ends with an exception loses no line.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    FinishFilesBeforeTheEnd();
    WarnOfWords(argc, argv);

    const str action = argc > 1 ? argv[1] : "-m";
    const str setupPath = PathWord(argc, argv, 2);
    const str outputPath = PathWord(argc, argv, 3);
    ConfigEngine(setupPath);

    if (action == "-gen_short") {
        DoGenOneReportShort(argc, argv);
    } else if (action == "-gen_full") {
        DoGenOneReportFull(argc, argv);
    } else if (action != "-v") {
        RunOnSampleTree(action, setupPath, outputPath);
    }
    DoPrintVersion();
    return 0;
}
