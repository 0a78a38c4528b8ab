// The grids of an export whose columns depend on its data.
#ifndef QBSVR_QBSVRL6_LAYOUT_SHOWN_GRID_H
#define QBSVR_QBSVRL6_LAYOUT_SHOWN_GRID_H

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "qbsvrl6/bind/cross_table.h"
#include "qbsvrl6/layout/grid_geometry.h"
#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

struct ShownGrid {
    std::vector<ShownColumn> columns;  // empty: as the grid has them
    // Of columns that repeat: these columns, and the key of each row of the table.
    std::vector<std::unique_ptr<const Column>> repeated;
    std::vector<std::unique_ptr<const std::vector<std::uint32_t>>> keys;

    // Of a cross-table: a grid with the columns of the data, which reads `rows`.
    std::unique_ptr<const DetailGrid> cross;
    std::unique_ptr<CrossTableQuery> query;
    std::shared_ptr<const DataSet> rows;  // of a sub-report: columns without rows
    ReportDefinition names;               // what texts of the cross-table can read besides
};

class ShownGrids {
public:
    // Null if the columns of the report's grid do not depend on the data.
    const ShownGrid* find(const ReportDefinition& report) const {
        const auto found = grids_.find(&report);
        return found == grids_.end() ? nullptr : &found->second;
    }
    // The grid with the columns that are laid out; null if the report has none.
    const DetailGrid* gridOf(const ReportDefinition& report) const {
        const ShownGrid* const shown = find(report);
        return shown != nullptr && shown->cross ? shown->cross.get() : report.grid.get();
    }
    // Its columns.
    std::vector<ShownColumn> columnsOf(const ReportDefinition& report) const {
        const ShownGrid* const shown = find(report);
        return shown == nullptr || shown->columns.empty() ? definedColumns(*gridOf(report)) : shown->columns;
    }
    void add(const ReportDefinition& report, ShownGrid grid) { grids_.emplace(&report, std::move(grid)); }

private:
    std::map<const ReportDefinition*, ShownGrid> grids_;
};

// Finds the columns of all grids of the report and its sub-reports. Raises EngineError.
std::shared_ptr<const ShownGrids> showGrids(const ReportDefinition& report, const ReportData& data);

}  // namespace qbsvrl6

#endif
