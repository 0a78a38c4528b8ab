// Texts that are one number, date or code: broken into two lines they would be misread.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_LONE_VALUE_H
#define QBSVR_QBSVRL6_SHEET_TEXT_LONE_VALUE_H

#include <string_view>

namespace qbsvrl6 {

// One word with a digit in it, short enough for a line, of a script that puts spaces between words:
// "¥1,234.50", "2024年3月5日", "INV-2024/017".
bool isLoneValue(std::u16string_view text);

}  // namespace qbsvrl6

#endif
