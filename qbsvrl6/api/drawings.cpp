#include "qbsvrl6/api/drawings.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/barcode/barcode.h"
#include "qbsvrl6/chart/chart.h"
#include "qbsvrl6/chart/description.h"
#include "qbsvrl6/drawing/move.h"
#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr int kLoggedErrors = 10;
constexpr std::size_t kShownUnits = 80;

// This report or the one of its sub-reports that holds the control.
const ReportDefinition* reportOf(const Control& control, ReportDefinition& report) {
    for (const Control* own : allControls(report)) {
        if (own == &control) return &report;
    }
    const ReportDefinition* found = nullptr;
    forEachSubReport(report, [&](Control&, Report& inner) {
        if (found == nullptr) found = reportOf(control, inner.definition);
    });
    return found;
}

std::string shown(std::u16string_view text) {
    return '"' + toUtf8(text.substr(0, kShownUnits)) + (text.size() > kShownUnits ? "...\"" : "\"");
}

std::shared_ptr<const Drawing> placed(Drawing drawing, const Rect& place) {
    moveBy(drawing, place.x, place.y);
    return std::make_shared<const Drawing>(std::move(drawing));
}

}  // namespace

Drawings::Drawings(ReportDefinition& report) : report_(report) { addCharts(report); }

std::shared_ptr<const Drawing> Drawings::barcode(const Control& control, std::u16string_view text,
                                                 const Rect& place) {
    const auto& content = std::get<BarcodeContent>(control.content);
    try {
        return placed(
            drawBarcode({content.type, std::u16string(text), content.showText}, {place.width, place.height}),
            place);
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        if (errors_ < kLoggedErrors) logBadBarcode(control, error.what());
        return nullptr;
    }
}

void Drawings::logBadBarcode(const Control& control, const std::string& cause) {
    const std::u16string& source = std::get<BarcodeContent>(control.content).text;
    const ReportDefinition* const report = reportOf(control, report_);
    TextPosition place = control.position;
    if (report != nullptr) {
        // Other controls may have the same text: the place is the first one within this control.
        const std::vector<TextPosition> places = report->placesOf(source, TextUse::Report);
        const auto own = std::find_if(places.begin(), places.end(), [&](const TextPosition& one) {
            return std::pair(one.line, one.column) >= std::pair(place.line, place.column);
        });
        place = own == places.end() ? places.front() : *own;
    }
    const std::string name = control.name.empty() ? shown(source) : shown(control.name);
    log("the barcode " + name + " is left out: " + cause, place);
}

std::shared_ptr<const Drawing> Drawings::chart(const Control& control, const ChartSettings& settings,
                                               const ChartData& data, const Rect& place) {
    std::size_t leftOut = 0;
    Drawing drawing = drawChart(settings, data, {place.width, place.height}, chartFonts_[&control], &leftOut);
    if (leftOut > 0) {
        log("chart \"" + toUtf8(settings.title) + "\": " + std::to_string(leftOut) +
            (leftOut == 1 ? " value has" : " values have") +
            " no label for lack of room; make the chart larger or its valueFormat shorter");
    }
    if (const std::size_t negative = countNegativeAreas(settings, data); negative > 0) {
        const bool isOne = negative == 1;
        const char* const cause =
            settings.kind == ChartKind::Bubble
                ? (isOne ? " size below zero has no bubble" : " sizes below zero have no bubbles")
            : isOne ? " value below zero is not drawn; a bar chart shows it"
                    : " values below zero are not drawn; a bar chart shows them";
        log("chart \"" + toUtf8(settings.title) + "\": " + std::to_string(negative) + cause);
    }
    return placed(std::move(drawing), place);
}

std::u16string Drawings::describe(const ChartSettings& settings, const ChartData& data) {
    return describeChart(settings, data);
}

void Drawings::addCharts(ReportDefinition& report) {
    NamedStyles styles(report);
    for (Control* control : allControls(report)) {
        if (control->kind() == ControlKind::Chart) {
            chartFonts_[control] = styles.resolve(control->styleName, control->style).fontFamily;
        }
    }
    forEachSubReport(report, [&](Control&, Report& inner) { addCharts(inner.definition); });
}

void Drawings::log(const std::string& what, TextPosition place) {
    if (++errors_ <= kLoggedErrors) logWarning(what, place);
    if (errors_ == kLoggedErrors) logWarning("further errors of drawings in this export are not logged");
}

}  // namespace qbsvrl6
