// Standard UTF-8 and UTF-16, with surrogate pairs. Templates, data and file names may contain any character;
// larkspur's conversions deliberately work unit by unit and reject characters beyond U+FFFF.
#ifndef QBSVR_QBSVRL6_SUPPORT_UTF_H
#define QBSVR_QBSVRL6_SUPPORT_UTF_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Each maximal malformed part of the input becomes one U+FFFD.
std::u16string toUtf16(std::string_view utf8);
std::string toUtf8(std::u16string_view utf16);

bool isValidUtf8(std::string_view bytes);

// Reads one character at `index` and advances `index`; a lone surrogate reads as U+FFFD.
char32_t nextCharacter(std::u16string_view text, std::size_t& index);
void appendCharacter(std::u16string& text, char32_t character);

}  // namespace qbsvrl6

#endif
