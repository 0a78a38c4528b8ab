// What the XML parts of a workbook share.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_XML_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_XML_H

#include <string_view>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/package/package_xml.h"
#include "qbsvrl6/sheet/workbook/cell_names.h"

namespace qbsvrl6 {

inline constexpr std::string_view kSpreadsheetNamespace =
    "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
inline constexpr std::string_view kChartNamespace = "http://schemas.openxmlformats.org/drawingml/2006/chart";

// A text of the type ST_Xstring.
struct Xstring {
    std::u16string_view text;
    void appendTo(std::string& out) const { appendXstring(out, text); }
};

}  // namespace qbsvrl6

#endif
