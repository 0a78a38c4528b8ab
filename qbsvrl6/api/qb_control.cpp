// Sections and controls: added, looked at and walked over.
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// A control that nobody has sized yet should be seen.
constexpr Rect kNewControlBox{0, 0, 50'000, 10'000};

ControlContent emptyContent(tagQBControlType type) {
    switch (type) {
        case QBControlType_StaticText:
            return TextContent{};
        case QBControlType_Line:
            return LineContent{};
        case QBControlType_Box:
            return BoxContent{};
        case QBControlType_Picture:
            return PictureContent{};
        case QBControlType_Barcode:
            return BarcodeContent{};
        case QBControlType_Chart:
            return ChartContent{};
        case QBControlType_SubReport: {
            SubReportContent content;
            content.report = std::make_unique<Report>();
            return content;
        }
    }
    throw EngineError(ErrorCode::NotSupported, "there is no control of type " + std::to_string(type));
}

// The next control of the report's walk; at its end the walk is forgotten.
tagQBControl* nextOfWalk(Runtime& runtime) {
    if (runtime.walkPosition < runtime.walk.size()) {
        return toHandle<tagQBControl>(runtime.walk[runtime.walkPosition++]);
    }
    runtime.walk.clear();
    runtime.walkPosition = 0;
    return nullptr;
}

}  // namespace

tagQBReportHeaders* QBReportGetReportHeaders(tagQBReport* handle) {
    return guarded("QBReportGetReportHeaders", static_cast<tagQBReportHeaders*>(nullptr),
                   [&]() -> tagQBReportHeaders* {
                       Report* report = reportFrom(handle);
                       if (report == nullptr) return nullptr;
                       return toHandle<tagQBReportHeaders>(&report->definition.reportHeaders);
                   });
}

tagQBSection* QBReportHeadersAdd(tagQBReportHeaders* handle) {
    return guarded("QBReportHeadersAdd", static_cast<tagQBSection*>(nullptr), [&]() -> tagQBSection* {
        auto* headers = fromHandle(handle);
        if (headers == nullptr) return nullptr;
        return toHandle<tagQBSection>(headers->emplace_back(std::make_unique<Section>()).get());
    });
}

void QBSectionSetHeight(tagQBSection* handle, double height) {
    Section* section = fromHandle(handle);
    if (section == nullptr || std::isnan(height)) return;
    constexpr double kMicrometresPerCentimetre = 10'000;
    section->height = static_cast<Micrometres>(
        std::round(std::clamp(height * kMicrometresPerCentimetre, 0.0, double{limits::kPaperMicrometres})));
}

void QBSectionSetCanGrow(tagQBSection* handle, int on) {
    if (Section* section = fromHandle(handle)) section->canGrow = on != 0;
}

tagQBControls* QBSectionGetControls(tagQBSection* handle) {
    Section* section = fromHandle(handle);
    return section == nullptr ? nullptr : toHandle<tagQBControls>(&section->controls);
}

tagQBControl* QBControlsAdd(tagQBControls* handle, tagQBControlType type) {
    return guarded("QBControlsAdd", static_cast<tagQBControl*>(nullptr), [&]() -> tagQBControl* {
        ControlList* controls = fromHandle(handle);
        if (controls == nullptr) return nullptr;
        auto control = std::make_unique<Control>();
        control->content = emptyContent(type);
        control->box = kNewControlBox;
        return toHandle<tagQBControl>(controls->items.emplace_back(std::move(control)).get());
    });
}

tagQBControlType QBControlGetControlType(tagQBControl* handle) {
    const Control* control = fromHandle(handle);
    return static_cast<tagQBControlType>(control == nullptr ? 0 : static_cast<int>(control->kind()));
}

const lkchar* QBControlGetName(tagQBControl* handle) {
    const Control* control = fromHandle(handle);
    return control == nullptr ? u"" : control->name.c_str();
}

tagQBSubReport* QBControlGetAsSubReport(tagQBControl* handle) {
    Control* control = fromHandle(handle);
    return control == nullptr ? nullptr
                              : toHandle<tagQBSubReport>(std::get_if<SubReportContent>(&control->content));
}

tagQBReport* QBSubReportGetReport(tagQBSubReport* handle) {
    return guarded("QBSubReportGetReport", static_cast<tagQBReport*>(nullptr), [&]() -> tagQBReport* {
        const SubReportContent* content = fromHandle(handle);
        if (content == nullptr) return nullptr;
        runtimeOf(*content->report);  // makes the handle known
        return toHandle<tagQBReport>(content->report.get());
    });
}

tagQBControl* QBReportFindFirstControl(tagQBReport* handle) {
    return guarded("QBReportFindFirstControl", static_cast<tagQBControl*>(nullptr), [&]() -> tagQBControl* {
        Report* report = reportFrom(handle);
        if (report == nullptr) return nullptr;
        Runtime& runtime = runtimeOf(*report);
        runtime.walk = allControls(report->definition);
        runtime.walkPosition = 0;
        return nextOfWalk(runtime);
    });
}

tagQBControl* QBReportFindNextControl(tagQBReport* handle) {
    return guarded("QBReportFindNextControl", static_cast<tagQBControl*>(nullptr), [&]() -> tagQBControl* {
        Report* report = reportFrom(handle);
        return report == nullptr ? nullptr : nextOfWalk(runtimeOf(*report));
    });
}
