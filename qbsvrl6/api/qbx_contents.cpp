// QBXReportGetItemCount, QBXReportGetItem.
#include <string>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/report_items.h"
#include "qbsvrl6/api/structures.h"

using namespace qbsvrl6;

uint64_t QBXReportGetItemCount(tagQBReport* handle, QBXItemKind kind) {
    return withObject(__func__, handle, [&](Report& report) -> uint64_t {
        Runtime& runtime = runtimeOf(report);
        runtime.items = reportItems(runtime, kind);
        runtime.itemKind = kind;
        return runtime.items.size();
    });
}

int QBXReportGetItem(tagQBReport* handle, QBXItemKind kind, uint64_t index, QBXItem* item) {
    return withObject(__func__, handle, [&](Report& report) {
        Runtime& runtime = runtimeOf(report);
        if (index == 0 || runtime.itemKind != kind) {
            runtime.items = reportItems(runtime, kind);
            runtime.itemKind = kind;
        }
        if (index >= runtime.items.size()) return 0;
        const ReportItem& found = runtime.items[static_cast<std::size_t>(index)];
        const QBXItem shown{0,
                            found.name.c_str(),
                            found.table.c_str(),
                            found.type.c_str(),
                            found.value.c_str(),
                            found.count,
                            found.isRequired ? 1 : 0,
                            found.position.line,
                            found.position.column};
        return give(item, shown) ? 1 : 0;
    });
}
