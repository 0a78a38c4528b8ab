// The data of one export.
#ifndef QBSVR_QBSVRL6_LAYOUT_REPORT_DATA_H
#define QBSVR_QBSVRL6_LAYOUT_REPORT_DATA_H

#include <map>
#include <memory>
#include <vector>

#include "qbsvrl6/data/row_query.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

class ShownGrids;

// The data of a report and of those of its sub-reports that have their own. A report that is not in the map
// reads its parent's data. A null pointer means that there is none.
struct ReportData {
    std::map<const ReportDefinition*, std::shared_ptr<const DataSet>> sets;
    // The record sets of grids that have their own.
    std::map<const DetailGrid*, std::shared_ptr<const DataSet>> gridSets;
    // The queries of sub-reports that run for each row of the outer report. Until then, `sets` and `gridSets`
    // have their columns without rows.
    std::map<const ReportDefinition*, std::vector<std::shared_ptr<RowQuery>>> rowQueries;
    // The parameters that programs set. They win over all others but those that an outer report passes.
    std::map<const ReportDefinition*, std::shared_ptr<const DataSet>> setParameters;
    // The columns of grids, where they depend on the data (shown_grid.h). Null: the layout finds them.
    std::shared_ptr<const ShownGrids> grids;
};

}  // namespace qbsvrl6

#endif
