// The data of one export.
#ifndef QBSVR_QBSVRL6_LAYOUT_REPORT_DATA_H
#define QBSVR_QBSVRL6_LAYOUT_REPORT_DATA_H

#include <map>
#include <memory>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// The data of a report and of those of its sub-reports that have their own. A report that is not in the map
// reads its parent's data. A null pointer means that there is none.
struct ReportData {
    std::map<const ReportDefinition*, std::shared_ptr<const DataSet>> sets;
    // The record sets of grids that have their own.
    std::map<const DetailGrid*, std::shared_ptr<const DataSet>> gridSets;
};

}  // namespace qbsvrl6

#endif
