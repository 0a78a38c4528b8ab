// The style sheet of a workbook.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_STYLES_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_STYLES_H

#include <string>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_style.h"

namespace qbsvrl6 {

// xl/styles.xml. Style 0 is the default; style i + 1 is styles[i].
std::string xlsxStyles(const std::vector<const CellStyle*>& styles);

}  // namespace qbsvrl6

#endif
