// A cross-table as a grid of the table that CrossTableQuery makes.
#ifndef QBSVR_QBSVRL6_LAYOUT_CROSS_GRID_H
#define QBSVR_QBSVRL6_LAYOUT_CROSS_GRID_H

#include <memory>

#include "qbsvrl6/bind/cross_table.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// `query` has found its columns and evaluated its rows.
std::unique_ptr<const DetailGrid> crossGrid(const ReportDefinition& report, const CrossTableQuery& query);

}  // namespace qbsvrl6

#endif
