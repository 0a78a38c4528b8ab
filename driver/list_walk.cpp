#include "driver/list_walk.h"

#include <stdexcept>

#include "common/string_ops.h"
#include "driver/connection_strings.h"
#include "driver/engine_text.h"
#include "driver/sample_tree.h"

using namespace larkspur;

namespace {

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

// Lists may be written with backslashes; a "Dir" that is closed already gets a second separator.
wstr TemplateDirectory(lkstr dir) {
    if (dir.empty()) return reportPath;
    StringReplace(dir, u"\\", u"/");
    return reportPath + lkstr_tow(dir.c_str()) + L"/";
}

}  // namespace

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
