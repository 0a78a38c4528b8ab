// What a report has from the libraries that it includes, and a sub-report from the reports around it.
#ifndef QBSVR_QBSVRL6_MODEL_INHERITANCE_H
#define QBSVR_QBSVRL6_MODEL_INHERITANCE_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// What a report sets itself wins over what it inherits. Each report around it adds its own styles and
// parameters to those that it inherits: they are not copied for each sub-report.
class Inherited {
public:
    // What sub-reports of `report` inherit, which was passed these values itself; they differ from row to row.
    Inherited(const ReportDefinition& report, const std::vector<SubReportParameter>& passed);
    // What a report inherits from its libraries: later ones win over earlier ones.
    explicit Inherited(const std::vector<Include>& includes);

    const Style& font() const { return font_; }
    // Without those that come from further out: of the outermost report, the styles of its libraries.
    const std::vector<NamedStyle>& styles() const { return styles_; }
    // Null if there is none of this name. The case of parameters does not matter.
    const NamedStyle* style(const std::u16string& name) const;
    const Parameter* parameter(std::u16string_view name) const;
    // Without expressions.
    const std::vector<SubReportParameter>& passed() const { return passed_; }

private:
    void indexStyles();

    std::shared_ptr<const Inherited> outer_;
    Style font_;
    std::vector<NamedStyle> styles_;
    std::vector<Parameter> parameters_;
    std::unordered_map<std::u16string_view, const NamedStyle*> styleIndex_;
    std::unordered_map<std::u16string, const Parameter*> parameterIndex_;  // in lower case
    std::vector<SubReportParameter> passed_;
};

// Sets `inherited` of the report and of all sub-reports in it. A program may change the reports afterwards:
// each export begins with it.
void inherit(ReportDefinition& report);

// The values that a sub-report is passed: its own, then those that it inherits, which have no expression.
std::vector<SubReportParameter> passedTo(const SubReportContent& content);

}  // namespace qbsvrl6

#endif
