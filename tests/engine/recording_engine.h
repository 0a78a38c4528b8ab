// An engine for tests: a libqbsvrl6.so that renders nothing, records every call, answers as it is set up,
// and finds broken promises: a call before QBInitConfig, after a report's release or on another thread than
// its own, and a report that is never released.
//
// A call reads `QBReportLoadFromFile(report1, "/x/a.qbf")`. Reports are numbered as they are created; what
// hangs from a report is named after it: report1.grid, report1.control2, report1.sub1.
//
// A test that links the library steers it by the functions below. A program that merely runs on it is steered
// by its environment:
//     QBSVR_RECORDING_LOG    the file to which calls and broken promises are appended as they come
//     QBSVR_RECORDING_FAIL   lines "FUNCTION PATTERN", as Fail takes them
#ifndef QBSVR_TESTS_ENGINE_RECORDING_ENGINE_H
#define QBSVR_TESTS_ENGINE_RECORDING_ENGINE_H

#include <string>
#include <vector>

#include "engine/qbsvr.h"

namespace recording {

// What a load puts into a report. Its controls are a static text, which a walk must pass over, and then one
// for each sub-report.
struct Template {
    std::u16string query{};
    bool hasGrid = true;
    std::u16string gridQuery{};
    std::vector<Template> subReports{};
    std::vector<std::u16string> charts{};  // names; each asks for data during an export
};

// Forgets all calls, answers and reports. QBInitConfig counts as called when `configured`.
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
