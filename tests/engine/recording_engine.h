// An engine for tests: a libqbsvrl6.so that renders nothing, records every call, returns configured results,
// and detects violations of the interface's rules: a call before QBInitConfig, after a report's release or on
// a thread other than the report's, and a report that is never released.
//
// A call is recorded as `QBReportLoadFromFile(report1, "/x/a.qbf")`. Reports are numbered in the order of
// creation; objects that belong to a report are named after it: report1.grid, report1.control2, report1.sub1.
//
// Tests that link the library configure it with the functions below. Programs that only run with it are
// configured by environment variables:
//     QBSVR_RECORDING_LOG    the file to which calls and violations are appended as they occur
//     QBSVR_RECORDING_FAIL   lines "FUNCTION PATTERN", the arguments of Fail
#ifndef QBSVR_TESTS_ENGINE_RECORDING_ENGINE_H
#define QBSVR_TESTS_ENGINE_RECORDING_ENGINE_H

#include <string>
#include <vector>

#include "engine/qbsvr.h"

namespace recording {

// The contents of a loaded report. Its controls are a static text, which a walk must skip, and then one per
// sub-report.
struct Template {
    std::u16string query{};
    bool hasGrid = true;
    std::u16string gridQuery{};
    std::vector<Template> subReports{};
    std::vector<std::u16string> charts{};  // names; each asks for data during an export
};

// Forgets all calls, configured results and reports. If `configured`, QBInitConfig counts as called.
QBSVR_API void Reset(bool configured);

// Makes a function return null or false if the shell pattern matches the path that is passed to it, or else
// the path of the report's template, or else (QBReportCreate) the name that the report would have.
QBSVR_API void Fail(const std::string& function, const std::string& pattern);

// Sets the template of all paths that match the pattern. The last match wins; other paths have Template().
QBSVR_API void SetTemplate(const std::string& pattern, const Template& content);

// All calls since the last Reset, in order.
QBSVR_API std::vector<std::string> Calls();

// The violations since the last Reset, including reports that were not released.
QBSVR_API std::vector<std::string> Violations();

}  // namespace recording

#endif
