// What this engine offers beyond the 71 functions of qbsvr.h: limits on what an export may use and reach, a way
// to cancel one, and options by name.
//
//     QBXBudget budget = {};
//     budget.size = sizeof budget;
//     budget.wallMilliseconds = 10'000;
//     budget.pages = 500;
//     QBXSetBudget(&budget);  // from now on, for every report of the process
//
// The conventions are those of qbsvr.h. Another engine of that interface may lack these functions.
//
// Later versions may append members to a structure. The first member, `size`, is the sizeof that the caller
// was compiled with: members beyond it are neither read nor written.
#ifndef QBSVR_ENGINE_QBSVR_MORE_H
#define QBSVR_ENGINE_QBSVR_MORE_H

#include <stdint.h>

#include "engine/qbsvr.h"

// What one export may use. An export that needs more fails: the log names the figure and where it was
// exceeded, everything the export held is released, and the next export starts from zero. Each load of a
// template or of data counts as an export of its own. docs/settings.md lists the defaults.
//
// Setters leave a figure unchanged if its member is zero; UINT64_MAX removes the limit.
struct QBXBudget {
    uint64_t size;               // sizeof(QBXBudget)
    uint64_t wallMilliseconds;   // from the beginning of the export to its end
    uint64_t cpuMilliseconds;    // of the thread that exports
    uint64_t dataBytes;          // of the tables in memory
    uint64_t cells;              // of all tables: values that exist, and rows
    uint64_t nameUnits;          // UTF-16 units of one name in data
    uint64_t fetches;            // pictures, data and other files, from disk and web together
    uint64_t fetchMilliseconds;  // of all fetches together
    uint64_t fetchedBytes;       // of all fetches together
    uint64_t pages;              // of the document
    uint64_t pageItems;          // texts, lines, boxes and pictures of one page or band
    uint64_t pixels;             // decoded, of all pictures together
    uint64_t pictureScans;       // of one progressive picture
    uint64_t templateElements;   // controls, styles and all other elements of a template
    uint64_t documentBytes;      // clamped to INT32_MAX, since results have sizes of type int
};

// The files and web addresses that names in templates and data may refer to, in the syntax of the settings
// file (docs/trust.md). Names from a program may refer to anything.
//
// A null list is taken from the settings that apply otherwise; the empty text is the default.
struct QBXReach {
    uint64_t size;                      // sizeof(QBXReach)
    const quillbrook::lkchar* folders;  // "/srv/logos:/srv/data"
    const quillbrook::lkchar* hosts;    // "intranet.example, 10.1.0.0/16"
};

extern "C" {

// Gets the budget of all reports without their own: what QBXSetBudget has set, or the figures of the settings
// file, or the defaults. The caller sets `size` before the call. Returns zero if `budget` is null, if `size`
// is too small, or if the settings file has an error (the log says where).
QBSVR_API int QBXGetBudget(QBXBudget* budget);

// Sets the budget of all reports without their own, for exports that begin later. Null restores the figures
// of the settings file. Returns zero if `size` is too small, or if the settings file has an error; in the
// latter case every export fails until it is fixed.
QBSVR_API int QBXSetBudget(const QBXBudget* budget);

// Sets the complete budget of one report: figures of zero are copied from the budget of the process at this
// moment. Null removes the report's budget. Returns zero on failure.
QBSVR_API int QBXReportSetBudget(quillbrook::tagQBReport* report, const QBXBudget* budget);

// Cancels the export or load that the report is running, if any: that call soon fails with "cancelled" in the
// log. Unlike all other functions, this one may be called while another thread uses the report. The report's
// event handlers may call it, too. The report must not be released meanwhile. Returns non-zero if something
// was running.
QBSVR_API int QBXReportCancel(quillbrook::tagQBReport* report);

// Sets the reach of all reports without their own, for exports that begin later. Null, or a null list,
// restores that of the settings file. Returns zero, and changes nothing, if an entry is invalid (the log
// names it).
QBSVR_API int QBXSetReach(const QBXReach* reach);

// Sets the reach of one report; a null list is copied from the reach of the process at this moment. Null removes
// the report's reach. Returns zero on failure.
QBSVR_API int QBXReportSetReach(quillbrook::tagQBReport* report, const QBXReach* reach);

// Sets an option of an export by its name. Returns zero for an unknown name or an invalid value.
//
// "csv.defuse" is "yes" or "no": whether, in CSV, an apostrophe is put before texts that a spreadsheet would
// calculate, such as "=1+1". If it is not set, the template and the settings file decide.
QBSVR_API int QBXExportOptionSet(quillbrook::tagQBExportOption* option, const quillbrook::lkchar* name,
                                 const quillbrook::lkchar* value);

}  // extern "C"

#endif
