// Formats as spreadsheets write them.
#ifndef QBSVR_QBSVRL6_BIND_SPREADSHEET_FORMAT_H
#define QBSVR_QBSVRL6_BIND_SPREADSHEET_FORMAT_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Appends text that a spreadsheet's format shows as it is: quoted, with quotes themselves escaped.
void appendSpreadsheetLiteral(std::u16string& format, std::u16string_view text);

// "yyyy年M月" gives "yyyy\"年\"m\"月\"".
std::u16string spreadsheetDateFormat(std::u16string_view format);

}  // namespace qbsvrl6

#endif
