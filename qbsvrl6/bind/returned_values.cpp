#include "qbsvrl6/bind/returned_values.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/support/budget.h"

namespace qbsvrl6 {

std::vector<DeclaredReturn> declaredReturns(const ReportDefinition& report) {
    std::vector<DeclaredReturn> found;
    const auto addControl = [&](ReturnSite site, const Control& control) {
        const auto* const content = std::get_if<SubReportContent>(&control.content);
        if (content == nullptr) return;
        site.control = &control;
        for (std::size_t i = 0; i < content->returns.size(); ++i) found.push_back({site, i});
    };
    const auto addSection = [&](const SectionPtr& section, const ReturnSite& site) {
        if (!section) return;
        for (const auto& control : section->controls.items) addControl(site, *control);
    };
    for (const SectionPtr& header : report.reportHeaders) addSection(header, {.isHeader = true});
    if (report.grid) {
        for (const auto& column : report.grid->columns) addControl({.isOfRow = true}, column->content);
        if (report.grid->labels) {
            for (const auto& control : report.grid->labels->label.controls.items)
                addControl({.isOfRow = true}, *control);
        }
        addSection(report.grid->header, {.isHeader = true});
        addSection(report.grid->footer, {});
        int level = 0;
        for (const auto& group : report.grid->groups) {
            addSection(group->header, {.isHeader = true, .level = level});
            addSection(group->footer, {.level = level});
            ++level;
        }
    }
    for (const SectionPtr& footer : report.reportFooters) addSection(footer, {});
    return found;
}

ReturnedValues::ReturnedValues(const Binding& binding, const RowView& view, Evaluator& evaluator)
    : binding_(binding), view_(view), evaluator_(evaluator) {}

ReturnedValues::~ReturnedValues() = default;

void ReturnedValues::forget() { sites_.clear(); }

Value ReturnedValues::read(std::uint32_t index, const Position& position) {
    constexpr std::size_t kLongestText = 256;
    const Binding::BoundReturn& returned = binding_.returned(index);
    const BoundReturnSite& site = binding_.returnSite(returned.site);
    const std::optional<Position> at = positionOf(site.site, position);
    if (!at) return {};
    const auto copied = [this](Value value) {
        if (!value.text.empty()) value.text = evaluator_.arena().copy(value.text);
        return value;
    };
    const auto slotIn = [&](Site& known) -> Known& { return known.rows[at->row % known.rows.size()]; };
    Site& remembered = siteAt(returned.site);
    for (const Known* const known : {&slotIn(remembered), &remembered.last}) {
        if (!known->values.empty() && known->row == at->row) {
            return copied(known->values[returned.value].get());
        }
    }
    std::vector<OwnedValue> values = valuesAt(site, *at);
    const Value value = copied(values[returned.value].get());
    const bool isShort = std::all_of(values.begin(), values.end(), [](const OwnedValue& one) {
        return one.get().text.size() <= kLongestText;
    });
    Site& again = siteAt(returned.site);  // others may have been added meanwhile
    (isShort ? slotIn(again) : again.last) = {at->row, std::move(values)};
    return value;
}

// Where the sub-report is; none for one of a row or group without rows.
std::optional<Position> ReturnedValues::positionOf(const ReturnSite& site, const Position& position) const {
    const std::size_t count = view_.rowCount();
    const bool isOfReport = !site.isOfRow && site.level < 0;
    if (position.row >= count && !isOfReport) return std::nullopt;
    Position at;
    at.pageRows = {0, count};
    if (site.isOfRow) {
        at.row = position.row;
        at.ofRow = true;
        at.scope = view_.rowScope();
        return at;
    }
    if (site.level >= 0) at.scope = {ScopeKind::Group, site.level};
    const RowRange rows = view_.rowsOf(at.scope, position.row);
    at.row = site.isHeader || rows.end == rows.first ? rows.first : rows.end - 1;
    for (int level = 0; level <= site.level; ++level) at.ofOthers |= view_.isOthers(level, at.row);
    return at;
}

// Empty values if the sub-report is not visible.
std::vector<OwnedValue> ReturnedValues::valuesAt(const BoundReturnSite& site, const Position& position) {
    goOn();
    std::vector<OwnedValue> values(site.site.content().returns.size());
    const ReturningReport* const report = binding_.returningReport(site.site.content());
    bool isVisible = report != nullptr;
    if (isVisible && site.visibleWhen) {
        evaluator_.evaluateInside(*site.visibleWhen, position,
                                  [&](const Value& value) { isVisible = toBoolean(value); });
    }
    if (!isVisible) return values;
    std::vector<OwnedValue> arguments;
    for (const Expression& argument : site.arguments) {
        evaluator_.evaluateInside(argument, position,
                                  [&](const Value& value) { arguments.emplace_back(value); });
    }
    const std::unique_ptr<RowView> inner = view_.inside(report->rows, arguments, position);
    Position last;
    last.row = inner->rowCount() > 0 ? inner->rowCount() - 1 : 0;
    last.pageRows = {0, inner->rowCount()};
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = OwnedValue(inner->evaluate(report->values[i], last));
    }
    return values;
}

ReturnedValues::Site& ReturnedValues::siteAt(std::size_t site) {
    constexpr std::size_t kMostRows = 16'384;  // of all sites
    if (sites_.size() <= site) sites_.resize(site + 1);
    std::vector<Known>& rows = sites_[site].rows;
    if (rows.empty()) {
        const std::size_t most = std::max<std::size_t>(kMostRows / binding_.returnSiteCount(), 1);
        rows.resize(std::clamp<std::size_t>(view_.rowCount(), 1, most));
    }
    return sites_[site];
}

}  // namespace qbsvrl6
