#include "qbsvrl6/api/drawings.h"

#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/barcode/barcode.h"
#include "qbsvrl6/chart/chart.h"
#include "qbsvrl6/drawing/move.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {
constexpr int kFaultsTold = 10;

std::shared_ptr<const Drawing> placed(Drawing drawing, const Rect& place) {
    moveBy(drawing, place.x, place.y);
    return std::make_shared<const Drawing>(std::move(drawing));
}

}  // namespace

Drawings::Drawings(ReportDefinition& report) { addCharts(report); }

std::shared_ptr<const Drawing> Drawings::barcode(const BarcodeContent& content, std::u16string_view text,
                                                 const Rect& place) {
    try {
        return placed(
            drawBarcode({content.type, std::u16string(text), content.showText}, {place.width, place.height}),
            place);
    } catch (const EngineError& error) {
        tell(std::string("not drawn: ") + error.what());
        return nullptr;
    }
}

std::shared_ptr<const Drawing> Drawings::chart(const Control& control, const ChartSettings& settings,
                                               const ChartData& data, const Rect& place) {
    std::size_t leftOut = 0;
    Drawing drawing = drawChart(settings, data, {place.width, place.height}, chartFonts_[&control], &leftOut);
    if (leftOut > 0) {
        tell("chart \"" + toUtf8(settings.title) + "\": " + std::to_string(leftOut) +
             " values have no label for lack of room; make the chart larger or its valueFormat shorter");
    }
    return placed(std::move(drawing), place);
}

void Drawings::addCharts(ReportDefinition& report) {
    for (Control* control : allControls(report)) {
        if (control->kind() == ControlKind::Chart) {
            chartFonts_[control] = resolveStyle(report, control->styleName, control->style).fontFamily;
        }
    }
    forEachSubReport(report, [&](Control&, Report& inner) { addCharts(inner.definition); });
}

void Drawings::tell(const std::string& what) {
    if (++faults_ <= kFaultsTold) logWarning(what);
    if (faults_ == kFaultsTold) logWarning("further faults of drawings in this export are not told");
}

}  // namespace qbsvrl6
