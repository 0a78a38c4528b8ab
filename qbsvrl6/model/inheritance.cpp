#include "qbsvrl6/model/inheritance.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

template <class T>
void append(std::vector<T>& to, const std::vector<T>& from) {
    to.insert(to.end(), from.begin(), from.end());
}

// What sub-reports of the report inherit, which was passed these values itself.
std::shared_ptr<const Inherited> givenBy(const ReportDefinition& report,
                                         const std::vector<SubReportParameter>& passed) {
    auto given = std::make_shared<Inherited>();
    if (report.inherited) given->font = report.inherited->font;
    overlay(given->font, report.font);
    given->styles = report.styles;
    given->parameters = report.parameters;
    for (const SubReportParameter& parameter : passed) given->passed.push_back({parameter.name, {}});
    if (!report.inherited) return given;
    append(given->styles, report.inherited->styles);
    append(given->parameters, report.inherited->parameters);
    return given;
}

// Later libraries win over earlier ones.
std::shared_ptr<const Inherited> givenByLibraries(const std::vector<Include>& includes) {
    if (includes.empty()) return nullptr;
    auto given = std::make_shared<Inherited>();
    for (const Include& include : includes) overlay(given->font, include.library->font);
    for (auto include = includes.rbegin(); include != includes.rend(); ++include)
        append(given->styles, include->library->styles);
    return given;
}

void inheritWithin(ReportDefinition& report, const std::vector<SubReportParameter>& passed, int depth) {
    if (depth > limits::kSubReportDepth) return;
    std::shared_ptr<const Inherited> given;
    for (Control* const control : allControls(report)) {
        auto* const content = std::get_if<SubReportContent>(&control->content);
        if (content == nullptr) continue;
        ReportDefinition& inner = content->report->definition;
        if (!given) given = givenBy(report, passed);
        inner.inherited = inner.inherits ? given : nullptr;
        inheritWithin(inner, passedTo(*content), depth + 1);
    }
}

}  // namespace

void inherit(ReportDefinition& report) {
    report.inherited = givenByLibraries(report.includes);
    inheritWithin(report, {}, 0);
}

std::vector<SubReportParameter> passedTo(const SubReportContent& content) {
    std::vector<SubReportParameter> passed = content.parameters;
    const ReportDefinition& report = content.report->definition;
    if (!report.inherited) return passed;
    for (const SubReportParameter& outer : report.inherited->passed) {
        const auto isNamed = [&outer](const auto& own) { return equalsIgnoringCase(own.name, outer.name); };
        if (std::any_of(passed.begin(), passed.end(), isNamed)) continue;
        if (std::any_of(report.parameters.begin(), report.parameters.end(), isNamed)) continue;
        passed.push_back(outer);
    }
    return passed;
}

}  // namespace qbsvrl6
