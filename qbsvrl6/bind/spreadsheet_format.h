// Formats of larkspur's language as spreadsheets write them.
#ifndef QBSVR_QBSVRL6_BIND_SPREADSHEET_FORMAT_H
#define QBSVR_QBSVRL6_BIND_SPREADSHEET_FORMAT_H

#include <string>
#include <string_view>

#include "format/numeric_format.h"

namespace qbsvrl6 {

// The nearest number format: "￥#,##0.00 元" gives "\"￥\"#,##0.00\" 元\"" and a section for negative
// numbers. Empty where a spreadsheet's general format is nearest.
std::u16string spreadsheetNumberFormat(const larkspur::ClkNumericFormatParser& format);

// "yyyy年M月" gives "yyyy\"年\"m\"月\"".
std::u16string spreadsheetDateFormat(std::u16string_view format);

}  // namespace qbsvrl6

#endif
