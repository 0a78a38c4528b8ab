// What a report has from the libraries that it includes, and a sub-report from the reports around it.
#ifndef QBSVR_QBSVRL6_MODEL_INHERITANCE_H
#define QBSVR_QBSVRL6_MODEL_INHERITANCE_H

#include <vector>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// What a report sets itself wins over what it inherits. The outermost report has styles of libraries only.
struct Inherited {
    Style font;
    std::vector<NamedStyle> styles;  // of equal names, the first one counts
    std::vector<Parameter> parameters;
    // Values that the outer report is passed itself, which differ from row to row.
    std::vector<SubReportParameter> passed;
};

// Sets `inherited` of the report and of all sub-reports in it. A program may change the reports afterwards:
// each export begins with it.
void inherit(ReportDefinition& report);

// The values that a sub-report is passed: its own, then those that it inherits, which have no expression.
std::vector<SubReportParameter> passedTo(const SubReportContent& content);

}  // namespace qbsvrl6

#endif
