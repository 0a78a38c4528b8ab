// What the XML parts of a workbook share.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_XML_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_XML_H

#include <string>
#include <string_view>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/package/package_xml.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

inline constexpr std::string_view kSpreadsheetNamespace =
    "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
inline constexpr std::string_view kChartNamespace = "http://schemas.openxmlformats.org/drawingml/2006/chart";

// A text of the type ST_Xstring.
struct Xstring {
    std::u16string_view text;
    void appendTo(std::string& out) const { appendXstring(out, text); }
};

// "A" ... "Z", "AA" ...; columns count from 0.
std::string columnName(int column);

// "$A$1:$B$2" or "$A$1", with `sign` in place of "$".
std::string areaName(const SheetArea& area, std::string_view sign);

}  // namespace qbsvrl6

#endif
