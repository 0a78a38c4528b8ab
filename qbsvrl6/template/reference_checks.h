// Checks what a template names against the whole report, when it has been read.
#ifndef QBSVR_QBSVRL6_TEMPLATE_REFERENCE_CHECKS_H
#define QBSVR_QBSVRL6_TEMPLATE_REFERENCE_CHECKS_H

#include "qbsvrl6/template/reading.h"

namespace qbsvrl6 {

// Adds an error for each style, column and page that is missing, for returned values of equal names, and for
// expressions that the report cannot evaluate; and a warning for each format with a fault.
void checkReferences(Reading& reading, const ReportDefinition& report);

}  // namespace qbsvrl6

#endif
