// What a template asks of workbooks.
#ifndef QBSVR_QBSVRL6_MODEL_WORKBOOK_SETTINGS_H
#define QBSVR_QBSVRL6_MODEL_WORKBOOK_SETTINGS_H

#include <cstdint>

namespace qbsvrl6 {

// The part of a sheet that stays in view: nothing, the titles, or also the fixed columns of the grid.
enum class WorkbookFreeze : std::uint8_t { None, Titles, Both };

// Charts are those of the spreadsheet program, or drawings.
enum class WorkbookCharts : std::uint8_t { Native, Drawn };

struct WorkbookSettings {
    bool formulas = false;   // totals over rows that are shown are formulas, with their value
    bool filter = false;     // the titles have buttons that filter the rows
    bool outline = false;    // groups can be folded, and so can the columns of a cross-table
    bool printArea = false;  // what is added to a sheet later is not printed
    WorkbookFreeze freeze = WorkbookFreeze::Titles;
    WorkbookCharts charts = WorkbookCharts::Native;
    bool hideChartNumbers = false;  // the sheet of the numbers of charts
};

}  // namespace qbsvrl6

#endif
