// The text types of the library and the plain conversions between them.
//
// Conversions here move units, not characters: widening a byte sign-extends it (0xE4 becomes 0xFFE4),
// narrowing keeps the low bits. Character-set conversion is in unicode.h.
//
// Throughout the library a null text pointer reads as empty text unless a function says otherwise.
#ifndef QBSVR_COMMON_TEXT_H
#define QBSVR_COMMON_TEXT_H

#include <string>

namespace larkspur {

using lkchar = char16_t;       // one 16-bit unit; surrogates are units like any other and are never paired
using lkstr = std::u16string;  // may hold zero units; functions that take a pointer stop at the first
using wstr = std::wstring;     // 32-bit units
using str = std::string;       // bytes

inline constexpr lkchar gc_lkchar_empty[1] = {};
inline constexpr char gc_char_empty[1] = {};
extern const lkstr gc_lkstr_empty;

inline constexpr lkchar lk_endl[2] = u"\n";
inline constexpr lkchar gc_str_true[5] = u"true";
inline constexpr lkchar gc_str_false[6] = u"false";

// Conversions of zero-ended text.
lkstr lkstr_fromascii(const char* text);
str lkstr_toascii(const lkchar* text);
lkstr lkstr_fromw(const wchar_t* text);  // low 16 bits of each unit; the end is tested on all 32
wstr lkstr_tow(const lkchar* text);
wstr wstr_fromascii(const char* text);
str wstr_toascii(const wchar_t* text);

// Exactly count units, zero units included.
str lkstr_toascii(const lkchar* text, int count);

// Conversions of a counted block, zero units included. A count below 1 means an empty block in the forms with
// an out argument, and "up to the zero unit" in the forms that return their result.
void AsciiStr2LKStr(const char* text, int n, lkstr& out);
lkstr AsciiStr2LKStr(const char* text, int n);
void LKStr2AsciiStr(const lkchar* text, int n, str& out);
str LKStr2AsciiStr(const lkchar* text, int n);
void AsciiStr2WStr(const char* text, int n, wstr& out);
wstr AsciiStr2WStr(const char* text, int n);
void WStr2AsciiStr(const wchar_t* text, int n, str& out);
str WStr2AsciiStr(const wchar_t* text, int n);

// True when every unit is below 128. A count below 1 means "up to the zero unit".
bool LKStrIsAscii(const lkchar* text, int n);

void lkstr_append(lkstr& to, const char* text);
void lkstr_append(lkstr& to, const wchar_t* text);
void lkstr_append(lkstr& to, const char* text, int n);     // exactly n bytes; n below 1 does nothing
void lkstr_append(lkstr& to, const wchar_t* text, int n);  // exactly n units; n below 1 does nothing
void lkstr_assign(lkstr& to, const char* text);

// Copies into a buffer that has space for the text and a terminating zero unit.
void lkstr_cpy(lkchar* to, const char* text);
void lkstr_cpy(lkchar* to, const lkchar* text);
void lkstr_cpy(lkchar* to, const lkstr& text);  // all of its units, zero units included
void lkstr_ncpy(lkchar* to, const lkchar* text, int n);

// The number of units before the first zero unit.
int lkstr_len(const lkchar* text);

// Compares the text up to the first zero unit with an ASCII literal. A byte of 0x80 or more is negative and
// so equals no unit.
bool operator==(const lkstr& left, const char* right);
bool operator!=(const lkstr& left, const char* right);

lkstr operator+(const lkstr& left, const char* right);
lkstr& operator+=(lkstr& left, const char* right);
lkstr operator+(lkstr& left, const wchar_t* right);
lkstr& operator+=(lkstr& left, const wchar_t* right);

// The text as UTF-8, for standard output. Pointers and wide text of either form end at the first zero unit;
// an lkstr is converted completely. Wide units are first cut to 16 bits.
str UnicodeTextToPrintf(const lkchar* text);
str UnicodeTextToPrintf(const lkstr& text);
str UnicodeTextToPrintf(const wchar_t* text);
str UnicodeTextToPrintf(const wstr& text);

}  // namespace larkspur

#endif
