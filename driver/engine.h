// The engine as the driver uses it: its names at global scope, texts to and from it, and new reports.
#ifndef QBSVR_DRIVER_ENGINE_H
#define QBSVR_DRIVER_ENGINE_H

#include "common/text.h"
#include "engine/qbsvr.h"
#include "engine/report_handle.h"

using larkspur::lkchar;
using larkspur::lkstr;
using larkspur::str;
using larkspur::wstr;

using quillbrook::CQBReportHandle;
using quillbrook::tagQBBarcodeType;
using quillbrook::tagQBBinaryObject;
using quillbrook::tagQBChart;
using quillbrook::tagQBColumnPrintAdaptMethod;
using quillbrook::tagQBExportOption;
using quillbrook::tagQBExportType;
using quillbrook::tagQBReport;
using quillbrook::tagQBUtility;

// The 16-bit form in which the engine accepts a path or another text of the driver.
inline lkstr EngineText(const wstr& text) { return larkspur::lkstr_fromw(text.c_str()); }

// Returns a text that the engine returned. For null, raises std::logic_error, which names `function`: the
// driver cannot continue without the text, and does not catch the exception.
const lkchar* RequireText(const lkchar* text, const char* function);

// Creates a report, which the caller releases. If the engine creates none, prints a line and returns null.
[[nodiscard]] tagQBReport* CreateReport();

// Calls use(report) with a new report, releases it and returns true. Returns false if CreateReport returns
// null.
template <class Use>
bool WithNewReport(Use use) {
    tagQBReport* const report = CreateReport();
    if (!report) return false;
    use(report);
    QBReportRelease(report);
    return true;
}

#endif
