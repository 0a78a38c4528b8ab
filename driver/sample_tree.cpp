#include "driver/sample_tree.h"

using namespace larkspur;

wstr setupRoot = L"/usr/local/qbsvr6/";
wstr outPath = L"/usr/local/qbsvr6/out/";
wstr samplesRoot;
wstr reportPath;
wstr dataPath;
wstr exportBatchDir;
ClkArrayJson ReportsJson;

namespace {

void SetRoot(wstr& root, const char* path) {
    if (!path || !*path) return;
    root = AsciiStr2WStr(path, 0);
    if (root.back() != L'/' && root.back() != L'\\') root += L'/';
}

}  // namespace

void ConfigPath(const char* setupPath, const char* outputPath) {
    SetRoot(setupRoot, setupPath);
    SetRoot(outPath, outputPath);
    DoUpdatePath();
}

void DoUpdatePath() {
    samplesRoot = setupRoot + L"Samples/";
    reportPath = samplesRoot + L"Reports/";
    dataPath = samplesRoot + L"Data/";
    exportBatchDir = outPath + L"auto/";
}
