// Text in columns of characters, as a terminal or a plain editor shows it.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_TEXT_WIDTH_H
#define QBSVR_QBSVRL6_SHEET_TEXT_TEXT_WIDTH_H

#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Columns that a character takes: 2 for the wide and full-width ones of UAX 11, 0 for combining marks and
// other characters without a width, else 1.
int displayWidth(char32_t character);
int displayWidth(std::u16string_view text);

// The width of the widest word: of what wrapText breaks only where it is wider than the line.
int widestWord(std::u16string_view text);

// Appends the lines of a text, each at most `width` columns wide. Line ends always break; else lines break
// after spaces and next to wide characters, a closing mark staying with what it closes, and inside a word
// that is wider than the line. Spaces at a break are dropped.
void wrapText(std::u16string_view text, int width, std::vector<std::u16string_view>& lines);

}  // namespace qbsvrl6

#endif
