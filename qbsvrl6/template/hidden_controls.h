// Controls that no page can show.
#ifndef QBSVR_QBSVRL6_TEMPLATE_HIDDEN_CONTROLS_H
#define QBSVR_QBSVRL6_TEMPLATE_HIDDEN_CONTROLS_H

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Logs a warning, with line and column, for each control that is beside the paper or below a section that
// cannot grow. Controls of sub-reports are positioned by their parents and are not checked. Returns whether
// there is any.
bool warnOfHiddenControls(const ReportDefinition& report);

}  // namespace qbsvrl6

#endif
