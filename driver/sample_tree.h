// The two trees that the driver works on, samples below a set-up directory and results below an output
// directory, and the report list, which names the templates of a batch and the data of each.
//
//     ConfigPath("/opt/qb", "/tmp/out");
//     ReportsJson.LoadFromFile(...);      // dataPath + "ReportListJson.txt"
//
// All of this is written on the initial thread before any other thread starts, and only read afterwards.
#ifndef QBSVR_DRIVER_SAMPLE_TREE_H
#define QBSVR_DRIVER_SAMPLE_TREE_H

#include <functional>

#include "driver/engine.h"
#include "json/json_tree.h"

// Directories, each ending in "/". The two roots have defaults; the others are empty until the first
// ConfigPath or DoUpdatePath.
extern wstr setupRoot;       // "/usr/local/qbsvr6/"
extern wstr outPath;         // "/usr/local/qbsvr6/out/"
extern wstr samplesRoot;     // setupRoot + "Samples/"
extern wstr reportPath;      // samplesRoot + "Reports/": the templates, Name.qbf
extern wstr dataPath;        // samplesRoot + "Data/": the report list, and data files in "json/"
extern wstr exportBatchDir;  // outPath + "auto/": output of the batches

// Sets the two roots, with a "/" appended unless they end in "/" or a backslash, and derives the others. Null
// or empty keeps a root. Each byte becomes one character, so only ASCII paths work.
void ConfigPath(const char* setupPath, const char* outputPath);
void DoUpdatePath();

// The report list: an array of groups
// {"Dir": sub-directory of reportPath, "Items": [{"Name": template, "Data": data name}]}.
extern larkspur::ClkArrayJson ReportsJson;

struct ReportListItem {
    lkstr dir;  // as written in the group
    wstr name;
    wstr data;
};

// Calls `visit` for each item of ReportsJson, in list order, until it returns false. Absent texts are empty.
// Raises std::logic_error if it reaches a group or an item that is not an object, or a group without an
// "Items" array.
void WalkReportList(const std::function<bool(const ReportListItem&)>& visit);

#endif
