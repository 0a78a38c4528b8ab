// Puts a template into a report.
#ifndef QBSVR_QBSVRL6_API_LOAD_TEMPLATE_H
#define QBSVR_QBSVRL6_API_LOAD_TEMPLATE_H

#include <functional>
#include <string>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// What belongs to the old definition goes with it, except for results of exports.
void replaceDefinition(Report& report, ReportDefinition&& definition, std::string templateFile);

// Loads a template with `load`, which gets the file's name. A report whose template does not load is empty:
// it must not be mistaken for the one before.
void loadInto(Report& report, const std::string& file,
              const std::function<ReportDefinition(const std::string& file)>& load);

}  // namespace qbsvrl6

#endif
