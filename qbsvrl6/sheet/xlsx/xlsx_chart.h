// Charts as charts of the spreadsheet program, fed by a sheet of their numbers.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_CHART_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_CHART_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/workbook/chart_block.h"
#include "qbsvrl6/sheet/xlsx/xlsx_sheet.h"

namespace qbsvrl6 {

// The sheet of the numbers of all charts: one block of rows below the other.
class XlsxChartNumbers {
public:
    // Whether a spreadsheet program has such charts, with so many numbers, and the sheet has room for them.
    bool canHold(const ShownChart& chart) const;

    // Adds the numbers of a chart that it can hold. Returns the part of the chart, xl/charts/chartN.xml, for an
    // item of this style.
    std::string add(const ShownChart& chart, const ResolvedStyle* style);

    XlsxSheet& sheet() { return sheet_; }
    int columnCount() const { return columns_; }

private:
    void addRow(const std::vector<SheetValue>& cells);

    XlsxSheet sheet_;
    int columns_ = 0;
};

}  // namespace qbsvrl6

#endif
