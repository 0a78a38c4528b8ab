// Formats in the language of spreadsheets.
#ifndef QBSVR_QBSVRL6_BIND_SPREADSHEET_FORMAT_H
#define QBSVR_QBSVRL6_BIND_SPREADSHEET_FORMAT_H

#include <string>
#include <string_view>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Appends literal text to a spreadsheet format: quoted, with quotes escaped.
void appendSpreadsheetLiteral(std::u16string& format, std::u16string_view text);

// Appends a part of a spreadsheet format, so that literal text at both sides of the seam becomes one.
void appendSpreadsheetPart(std::u16string& format, std::u16string_view part);

// The colour of a section, as "[Red]"; empty: spreadsheet formats have no name for it.
std::u16string_view spreadsheetColor(const Color& color);

// Whether a spreadsheet shows the hours of a date format as the page does: its clock has 12 hours if, and
// only if, the format has AM or PM. "h:mm" and "HH:mm t" have no equivalent.
bool hasSpreadsheetHours(std::u16string_view format);

// "yyyy年M月" gives "yyyy\"年\"m\"月\"".
std::u16string spreadsheetDateFormat(std::u16string_view format);

}  // namespace qbsvrl6

#endif
