// Event handlers, which belong to the report from here on.
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

template <class Handler>
void attach(const char* function, tagQBReport* handle, HandlerSlot<Handler> EventHandlers::*event,
            Handler* handler) noexcept {
    bool taken = false;
    withObject(function, handle, [&](Report& report) {
        (runtimeOf(report).handlers.*event).set(handler);
        taken = true;
    });
    if (!taken) delete handler;
}

}  // namespace

void QBAttachEventExportBegin(tagQBReport* report, CqbExportEventInfo* handler) {
    attach(__func__, report, &EventHandlers::exportBegin, handler);
}

void QBAttachEventInitialize(tagQBReport* report, CqbGeneralEventInfo* handler) {
    attach(__func__, report, &EventHandlers::initialize, handler);
}

void QBAttachEventChartRequestData(tagQBReport* report, CqbChartEventInfo* handler) {
    attach(__func__, report, &EventHandlers::chartRequestData, handler);
}
