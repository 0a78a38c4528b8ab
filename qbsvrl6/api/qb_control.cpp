// Sections and controls: adding, reading and visiting them.
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

// A new control is visible before a program sets its size.
constexpr Rect kNewControlBox{0, 0, 50'000, 10'000};

ControlContent emptyContent(tagQBControlType type, int reportDepth) {
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
            if (reportDepth >= limits::kSubReportDepth) {
                throw EngineError(ErrorCode::LimitExceeded, "sub-reports are nested deeper than " +
                                                                std::to_string(limits::kSubReportDepth));
            }
            SubReportContent content;
            content.report = std::make_unique<Report>();
            content.report->depth = reportDepth + 1;
            return content;
        }
    }
    throw EngineError(ErrorCode::NotSupported, "there is no control of type " + std::to_string(type));
}

// The next control of the report's walk; at its end the walk is reset.
tagQBControl* nextOfWalk(Runtime& runtime) {
    if (runtime.walkPosition < runtime.walk.size()) {
        return toHandle<tagQBControl>(runtime.walk[runtime.walkPosition++], runtime);
    }
    runtime.walk.clear();
    runtime.walkPosition = 0;
    return nullptr;
}

}  // namespace

tagQBReportHeaders* QBReportGetReportHeaders(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report, Runtime& owner) {
        return toHandle<tagQBReportHeaders>(&report, owner);
    });
}

tagQBSection* QBReportHeadersAdd(tagQBReportHeaders* handle) {
    return withObject(__func__, handle, [](Report& report, Runtime& owner) {
        auto section = std::make_unique<Section>();
        section->controls.reportDepth = report.depth;
        return toHandle<tagQBSection>(report.definition.reportHeaders.emplace_back(std::move(section)).get(),
                                      owner);
    });
}

void QBSectionSetHeight(tagQBSection* handle, double height) {
    withObject(__func__, handle, [&](Section& section) {
        if (std::isnan(height)) return;
        constexpr double kMicrometresPerCentimetre = 10'000;
        section.height = static_cast<Micrometres>(std::round(
            std::clamp(height * kMicrometresPerCentimetre, 0.0, double{limits::kPaperMicrometres})));
    });
}

void QBSectionSetCanGrow(tagQBSection* handle, int on) {
    withObject(__func__, handle, [&](Section& section) { section.canGrow = on != 0; });
}

tagQBControls* QBSectionGetControls(tagQBSection* handle) {
    return withObject(__func__, handle, [](Section& section, Runtime& owner) {
        return toHandle<tagQBControls>(&section.controls, owner);
    });
}

tagQBControl* QBControlsAdd(tagQBControls* handle, tagQBControlType type) {
    return withObject(__func__, handle, [&](ControlList& controls, Runtime& owner) {
        auto control = std::make_unique<Control>();
        control->content = emptyContent(type, controls.reportDepth);
        control->box = kNewControlBox;
        return toHandle<tagQBControl>(controls.items.emplace_back(std::move(control)).get(), owner);
    });
}

tagQBControlType QBControlGetControlType(tagQBControl* handle) {
    return withObject(__func__, handle, [](const Control& control) {
        return static_cast<tagQBControlType>(static_cast<int>(control.kind()));
    });
}

const lkchar* QBControlGetName(tagQBControl* handle) {
    return withObjectOr(__func__, handle, u"", [](const Control& control) { return control.name.c_str(); });
}

tagQBSubReport* QBControlGetAsSubReport(tagQBControl* handle) {
    return withObject(__func__, handle, [](Control& control, Runtime& owner) {
        return toHandle<tagQBSubReport>(std::get_if<SubReportContent>(&control.content), owner);
    });
}

tagQBReport* QBSubReportGetReport(tagQBSubReport* handle) {
    return withObject(__func__, handle, [](SubReportContent& content) {
        return toHandle<tagQBReport>(content.report.get(), runtimeOf(*content.report));
    });
}

tagQBControl* QBReportFindFirstControl(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report) {
        Runtime& runtime = runtimeOf(report);
        runtime.walk = allControls(report.definition);
        runtime.walkPosition = 0;
        return nextOfWalk(runtime);
    });
}

tagQBControl* QBReportFindNextControl(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report) { return nextOfWalk(runtimeOf(report)); });
}
