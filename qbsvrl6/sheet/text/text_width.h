// Text in columns of characters, as terminals and plain editors show it.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_TEXT_WIDTH_H
#define QBSVR_QBSVRL6_SHEET_TEXT_TEXT_WIDTH_H

#include <string_view>
#include <vector>

namespace qbsvrl6 {

// The columns of a character: 2 for wide and full-width characters (UAX 11), 0 for combining marks and other
// characters without width, otherwise 1.
int displayWidth(char32_t character);
int displayWidth(std::u16string_view text);

// The width of the widest word, that is, of text that wrapText breaks only if it is wider than the line.
int widestWord(std::u16string_view text);

// Appends the lines of a text, each at most `width` columns wide. Lines break at line ends, after spaces,
// next to wide characters (but not before closing or after opening marks), and inside a word that is wider
// than the line. Spaces at a break are dropped.
void wrapText(std::u16string_view text, int width, std::vector<std::u16string_view>& lines);

}  // namespace qbsvrl6

#endif
