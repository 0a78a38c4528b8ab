#include "qbsvrl6/layout/report_plan.h"

#include <algorithm>

#include "qbsvrl6/layout/grid_geometry.h"
#include "qbsvrl6/layout/planner.h"

namespace qbsvrl6 {

bool PlannedGrid::hasPlainRows() const {
    const auto isPlain = [](const PlannedControl& cell) {
        return cell.isPlain && !cell.rows && !std::get<PlannedText>(cell.content).suppressRepeated;
    };
    return joins.empty() && geometry.lines == 1 && geometry.columnGroups == 1 &&
           std::all_of(cells.begin(), cells.end(), isPlain);
}

std::unique_ptr<ReportPlan> planReport(const ReportDefinition& report, const PlanSource& source) {
    return Planner(report, source, soundOffset(report.page.margins.left), 0)
        .plan(printableWidth(report.page), nullptr, {});
}

}  // namespace qbsvrl6
