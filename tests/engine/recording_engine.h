// An engine for tests: a libqbsvrl6.so that renders nothing, records every call, returns configured results,
// and detects violations of the interface's rules: a call before QBInitConfig, after a report's release or on
// another thread than the report's, and a report that is never released.
//
// A call reads `QBReportLoadFromFile(report1, "/x/a.qbf")`. Reports are numbered in the order of creation;
// objects that belong to a report are named after it: report1.grid, report1.control2, report1.sub1.
//
// Tests that link the library configure it with the functions below. Programs that only run with it are
// configured by environment variables:
//     QBSVR_RECORDING_LOG    the file to which calls and broken promises are appended as they come
//     QBSVR_RECORDING_FAIL   lines "FUNCTION PATTERN", as Fail takes them
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

// Makes a function give null or false where the shell pattern fits: the path that it is given, otherwise the
// path of the report's template, otherwise (QBReportCreate) the name that the report would have.
QBSVR_API void Fail(const std::string& function, const std::string& pattern);

// The template of all paths that fit the pattern; the last one set wins, and the rest have Template().
QBSVR_API void SetTemplate(const std::string& pattern, const Template& content);

// All calls since the last Reset, in their order.
QBSVR_API std::vector<std::string> Calls();

// The promises broken since the last Reset, reports that nobody released included.
QBSVR_API std::vector<std::string> Violations();

}  // namespace recording

#endif
