// Event handlers, which belong to the report from here on.
#include <memory>
#include <utility>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

template <class Handler>
void attach(const char* function, tagQBReport* handle, std::unique_ptr<Handler> EventHandlers::*event,
            Handler* handler) noexcept {
    std::unique_ptr<Handler> owned(handler);
    guarded(function, [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return;
        Runtime& runtime = runtimeOf(*report);
        if ((runtime.handlers.*event).get() == handler) {
            owned.release();  // NOLINT(bugprone-unused-return-value): it is the report's already
            return;
        }
        if (isBeingExported(*report)) {
            // The one that is replaced may be the one that runs.
            EventHandlers& retired = runtime.retiredHandlers.emplace_back();
            retired.*event = std::move(runtime.handlers.*event);
        } else {
            runtime.retiredHandlers.clear();
        }
        runtime.handlers.*event = std::move(owned);
    });
}

}  // namespace

void QBAttachEventExportBegin(tagQBReport* report, CqbExportEventInfo* handler) {
    attach("QBAttachEventExportBegin", report, &EventHandlers::exportBegin, handler);
}

void QBAttachEventInitialize(tagQBReport* report, CqbGeneralEventInfo* handler) {
    attach("QBAttachEventInitialize", report, &EventHandlers::initialize, handler);
}

void QBAttachEventChartRequestData(tagQBReport* report, CqbChartEventInfo* handler) {
    attach("QBAttachEventChartRequestData", report, &EventHandlers::chartRequestData, handler);
}
