// Cells, areas and formulas in the words of spreadsheets. Rows and columns count from 0.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_CELL_NAMES_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_CELL_NAMES_H

#include <string>
#include <string_view>

#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

// "A" ... "Z", "AA" ...
std::string columnName(int column);

// "$A$1:$B$2" or "$A$1", with `sign` in place of "$".
std::string areaName(const SheetArea& area, std::string_view sign);

enum class FormulaSyntax { Office, OpenDocument };

// "SUM(B2:B9)", "SUBTOTAL(9,B2:B9)"; in OpenDocument "SUM([.B2:.B9])", "SUBTOTAL(9;[.B2:.B9])".
void appendFormula(std::string& out, const SheetFormula& formula, FormulaSyntax syntax);

}  // namespace qbsvrl6

#endif
