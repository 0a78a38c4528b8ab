#include "qbsvrl6/layout/paper_edge.h"

#include <algorithm>
#include <string>

#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

constexpr Micrometres kBleed = 5'000;  // beyond the paper's edge, so that colour reaches it

bool staysOnPaper(ControlKind kind) {
    switch (kind) {
        case ControlKind::Line:
        case ControlKind::Box:
        case ControlKind::Picture:
            return false;
        case ControlKind::Text:
        case ControlKind::Barcode:
        case ControlKind::Chart:
        case ControlKind::SubReport:
            return true;
    }
    return true;
}

Extent onPaper(const Extent& extent, Micrometres paperWidth) {
    const std::int64_t edge = std::max(paperWidth, 0);
    const std::int64_t left = std::clamp<std::int64_t>(extent.left, 0, edge);
    return {left, std::clamp(extent.right(), left, edge) - left};
}

}  // namespace

Extent extentOnPaper(const Control& control, const Extent& extent, Micrometres paperWidth) {
    const Extent visible = onPaper(extent, paperWidth);
    return staysOnPaper(control.kind()) && visible.width > 0 ? visible : extent;
}

void warnOfOverhang(const Control& control, const Extent& extent, Micrometres paperWidth) {
    const Extent visible = onPaper(extent, paperWidth);
    const std::int64_t overhang = extent.width - visible.width;
    if (overhang <= kBleed) return;
    std::string message = nameForLog(control) + " reaches from " + inMillimetres(extent.left) + " to " +
                          inMillimetres(extent.right()) + " on paper that is " + inMillimetres(paperWidth) +
                          " wide: ";
    if (visible.width == 0) {
        message += "it does not show";
    } else if (staysOnPaper(control.kind())) {
        message += "it is fitted into the " + inMillimetres(visible.width) + " on the paper";
    } else {
        message += inMillimetres(overhang) + " of it are cut off";
    }
    logWarning(message + "; move it, make it narrower or the paper wider", control.position);
}

}  // namespace qbsvrl6
