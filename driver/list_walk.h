// Walks over the report list.
#ifndef QBSVR_DRIVER_LIST_WALK_H
#define QBSVR_DRIVER_LIST_WALK_H

#include <functional>

#include "driver/driver_types.h"

struct ReportListItem {
    lkstr dir;  // as it stands in the group
    wstr name;
    wstr data;
};

// Calls `visit` for each item of ReportsJson, in list order, until it answers false. Absent texts are empty.
// Raises std::logic_error at a group or an item that is no object, and at a group without an "Items" array,
// when it gets there.
void WalkReportList(const std::function<bool(const ReportListItem&)>& visit);

// The walk of both batches: loads the template of each item into `report`, then points it at its data and
// runs `task`, or calls `loadFailed`. `count` is set to 0 and goes up with every item, loaded or not.
struct BatchWalk {
    tagQBReport* report;
    int& count;
    std::function<void(const wstr& templateFile)> loadFailed;
    std::function<void(const wstr& templateFile, const wstr& reportName)> task;
};
void RunBatchWalk(const BatchWalk& walk);

#endif
