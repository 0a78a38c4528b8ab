#include "driver/sample_tree.h"

#include <stdexcept>

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

ClkJsonObjectNode& RequireObject(ClkJsonNode& node, const char* what) {
    auto* object = dynamic_cast<ClkJsonObjectNode*>(&node);
    if (!object) throw std::logic_error(str("report list: ") + what + " is no object");
    return *object;
}

const ClkJsonArrayNode& RequireItems(ClkJsonObjectNode& group) {
    const ClkJsonArrayNode* items = group.ArrayByName(u"Items");
    if (!items) throw std::logic_error("report list: a group has no \"Items\" array");
    return *items;
}

lkstr TextOrEmpty(const ClkJsonObjectNode& object, const lkchar* name) {
    const ClkJsonAtomNode* atom = object.AtomByName(name);
    return atom ? atom->Text() : lkstr();
}

wstr WideTextOrEmpty(const ClkJsonObjectNode& object, const lkchar* name) {
    return lkstr_tow(TextOrEmpty(object, name).c_str());
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

void WalkReportList(const std::function<bool(const ReportListItem&)>& visit) {
    for (const auto& groupNode : ReportsJson.Root().Items()) {
        ClkJsonObjectNode& group = RequireObject(*groupNode, "a group");
        const lkstr dir = TextOrEmpty(group, u"Dir");
        for (const auto& itemNode : RequireItems(group).Items()) {
            const ClkJsonObjectNode& item = RequireObject(*itemNode, "an item");
            if (!visit({dir, WideTextOrEmpty(item, u"Name"), WideTextOrEmpty(item, u"Data")})) return;
        }
    }
}
