// What this engine offers beyond the 71 functions of qbsvr.h: what an export may use, and how to end one.
//
//     QBXBudget budget = {sizeof budget};
//     budget.wallMilliseconds = 10'000;
//     budget.pages = 500;
//     QBXSetBudget(&budget);  // from now on, for every report of the process
//
// The conventions are those of qbsvr.h. Another engine of that interface may lack these functions.
//
// Structures grow at their end. Their first member, `size`, is the caller's sizeof: members beyond it are
// neither read nor written.
#ifndef QBSVR_ENGINE_QBSVR_MORE_H
#define QBSVR_ENGINE_QBSVR_MORE_H

#include <stdint.h>

#include "engine/qbsvr.h"

// What one export may use. An export that needs more fails: the log names the figure and where it was passed,
// everything is released, and the next export begins anew. Loading a template or data has the same budget, on
// its own. docs/trust.md has the table with the defaults and what they were measured to cost.
//
// Zero keeps a figure as it is; UINT64_MAX lifts it.
struct QBXBudget {
    uint64_t size;               // sizeof(QBXBudget)
    uint64_t wallMilliseconds;   // from the begin of the export to its end
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
    uint64_t documentBytes;      // at most INT32_MAX counts, since results have sizes of type int
};

extern "C" {

// Fills the members with what holds for reports that have no budget of their own: the settings file's figures,
// or the defaults. Zero if `budget` is null, or if the settings file is wrong (the log says where).
QBSVR_API int QBXGetBudget(QBXBudget* budget);

// Sets what holds for them, for exports that begin later. Null means the settings file's figures again. Zero
// if the structure has no size, or if the settings file is wrong: then no export begins.
QBSVR_API int QBXSetBudget(const QBXBudget* budget);

// Sets the budget of one report, whole: figures of zero are those of the process now. Null takes it away.
QBSVR_API int QBXReportSetBudget(quillbrook::tagQBReport* report, const QBXBudget* budget);

// Ends the export or load of the report that runs now, if there is one: soon after, that call fails with
// "cancelled" in the log. This function alone may be called while another thread uses the report, and from
// the report's own event handlers. A report that is gone is treated as one that does nothing. Whether
// something ran.
QBSVR_API int QBXReportCancel(quillbrook::tagQBReport* report);

}  // extern "C"

#endif
