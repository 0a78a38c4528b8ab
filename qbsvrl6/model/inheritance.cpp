#include "qbsvrl6/model/inheritance.h"

#include <unordered_set>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

Inherited::Inherited(const ReportDefinition& report, const std::vector<SubReportParameter>& passed)
    : outer_(report.inherited), styles_(report.styles), parameters_(report.parameters) {
    if (outer_) font_ = outer_->font_;
    overlay(font_, report.font);
    indexStyles();
    for (const Parameter& parameter : parameters_)
        parameterIndex_.emplace(lowerCase(parameter.name), &parameter);
    for (const SubReportParameter& parameter : passed) {
        if (passed_.size() == limits::kInheritedValues) break;
        passed_.push_back({parameter.name, {}});
    }
}

Inherited::Inherited(const std::vector<Include>& includes) {
    for (const Include& include : includes) overlay(font_, include.library->font);
    for (auto include = includes.rbegin(); include != includes.rend(); ++include) {
        const std::vector<NamedStyle>& styles = include->library->styles;
        styles_.insert(styles_.end(), styles.begin(), styles.end());
    }
    indexStyles();
}

// Of equal names, the first one counts.
void Inherited::indexStyles() {
    for (const NamedStyle& style : styles_) styleIndex_.emplace(style.name, &style);
}

const NamedStyle* Inherited::style(const std::u16string& name) const {
    for (const Inherited* level = this; level != nullptr; level = level->outer_.get()) {
        const auto found = level->styleIndex_.find(name);
        if (found != level->styleIndex_.end()) return found->second;
    }
    return nullptr;
}

const Parameter* Inherited::parameter(std::u16string_view name) const {
    const std::u16string key = lowerCase(name);
    for (const Inherited* level = this; level != nullptr; level = level->outer_.get()) {
        const auto found = level->parameterIndex_.find(key);
        if (found != level->parameterIndex_.end()) return found->second;
    }
    return nullptr;
}

namespace {

void inheritWithin(ReportDefinition& report, const std::vector<SubReportParameter>& passed, int depth) {
    if (depth > limits::kSubReportDepth) return;
    std::shared_ptr<const Inherited> given;
    for (Control* const control : allControls(report)) {
        auto* const content = std::get_if<SubReportContent>(&control->content);
        if (content == nullptr) continue;
        ReportDefinition& inner = content->report->definition;
        if (!given) given = std::make_shared<const Inherited>(report, passed);
        inner.inherited = inner.inherits ? given : nullptr;
        inheritWithin(inner, passedTo(*content), depth + 1);
    }
}

}  // namespace

void inherit(ReportDefinition& report) {
    report.inherited = report.includes.empty() ? nullptr : std::make_shared<const Inherited>(report.includes);
    inheritWithin(report, {}, 0);
}

std::vector<SubReportParameter> passedTo(const SubReportContent& content) {
    std::vector<SubReportParameter> passed = content.parameters;
    const ReportDefinition& report = content.report->definition;
    if (!report.inherited || report.inherited->passed().empty()) return passed;
    std::unordered_set<std::u16string> own;
    for (const SubReportParameter& parameter : content.parameters) own.insert(lowerCase(parameter.name));
    for (const Parameter& parameter : report.parameters) own.insert(lowerCase(parameter.name));
    for (const SubReportParameter& outer : report.inherited->passed()) {
        if (!own.contains(lowerCase(outer.name))) passed.push_back(outer);
    }
    return passed;
}

}  // namespace qbsvrl6
