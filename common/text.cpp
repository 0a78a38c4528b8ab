#include "common/text.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "common/unicode.h"

namespace larkspur {

const lkstr gc_lkstr_empty;

namespace {

template <typename Char>
std::size_t LengthOf(const Char* text) {
    return text == nullptr ? 0 : std::char_traits<Char>::length(text);
}

template <typename Char>
std::size_t CountOf(const Char* text, int n) {
    return text == nullptr || n < 1 ? 0 : static_cast<std::size_t>(n);
}

// The count in functions that return their result: below 1, it means "up to the zero unit".
template <typename Char>
std::size_t CountOrLength(const Char* text, int n) {
    return n < 1 ? LengthOf(text) : CountOf(text, n);
}

// Bytes are widened with their sign whatever the signedness of char.
const signed char* Units(const char* text) { return reinterpret_cast<const signed char*>(text); }
const lkchar* Units(const lkchar* text) { return text; }
const wchar_t* Units(const wchar_t* text) { return text; }

template <typename To, typename From>
To Convert(const From* text, std::size_t n) {
    return To(Units(text), Units(text) + n);
}

template <typename From>
void Append(lkstr& to, const From* text, std::size_t n) {
    to.append(Units(text), Units(text) + n);
}

}  // namespace

lkstr lkstr_fromascii(const char* text) { return Convert<lkstr>(text, LengthOf(text)); }
str lkstr_toascii(const lkchar* text) { return Convert<str>(text, LengthOf(text)); }
lkstr lkstr_fromw(const wchar_t* text) { return Convert<lkstr>(text, LengthOf(text)); }
wstr lkstr_tow(const lkchar* text) { return Convert<wstr>(text, LengthOf(text)); }
wstr wstr_fromascii(const char* text) { return Convert<wstr>(text, LengthOf(text)); }
str wstr_toascii(const wchar_t* text) { return Convert<str>(text, LengthOf(text)); }

str lkstr_toascii(const lkchar* text, int count) { return Convert<str>(text, CountOf(text, count)); }

void AsciiStr2LKStr(const char* text, int n, lkstr& out) { out = Convert<lkstr>(text, CountOf(text, n)); }
lkstr AsciiStr2LKStr(const char* text, int n) { return Convert<lkstr>(text, CountOrLength(text, n)); }
void LKStr2AsciiStr(const lkchar* text, int n, str& out) { out = Convert<str>(text, CountOf(text, n)); }
str LKStr2AsciiStr(const lkchar* text, int n) { return Convert<str>(text, CountOrLength(text, n)); }
void AsciiStr2WStr(const char* text, int n, wstr& out) { out = Convert<wstr>(text, CountOf(text, n)); }
wstr AsciiStr2WStr(const char* text, int n) { return Convert<wstr>(text, CountOrLength(text, n)); }
void WStr2AsciiStr(const wchar_t* text, int n, str& out) { out = Convert<str>(text, CountOf(text, n)); }
str WStr2AsciiStr(const wchar_t* text, int n) { return Convert<str>(text, CountOrLength(text, n)); }

bool LKStrIsAscii(const lkchar* text, int n) {
    return std::all_of(text, text + CountOrLength(text, n), [](lkchar unit) { return unit < 0x80; });
}

void lkstr_append(lkstr& to, const char* text) { Append(to, text, LengthOf(text)); }
void lkstr_append(lkstr& to, const wchar_t* text) { Append(to, text, LengthOf(text)); }
void lkstr_append(lkstr& to, const char* text, int n) { Append(to, text, CountOf(text, n)); }
void lkstr_append(lkstr& to, const wchar_t* text, int n) { Append(to, text, CountOf(text, n)); }
void lkstr_assign(lkstr& to, const char* text) { to = lkstr_fromascii(text); }

void lkstr_cpy(lkchar* to, const char* text) { *std::copy_n(Units(text), LengthOf(text), to) = 0; }

void lkstr_cpy(lkchar* to, const lkchar* text) { lkstr_ncpy(to, text, lkstr_len(text)); }
void lkstr_cpy(lkchar* to, const lkstr& text) { lkstr_ncpy(to, text.data(), static_cast<int>(text.size())); }

void lkstr_ncpy(lkchar* to, const lkchar* text, int n) {
    const std::size_t count = CountOf(text, n);
    if (count > 0) std::memmove(to, text, count * sizeof(lkchar));
    to[count] = 0;
}

int lkstr_len(const lkchar* text) { return static_cast<int>(std::min<std::size_t>(LengthOf(text), INT_MAX)); }

bool operator==(const lkstr& left, const char* right) {
    const std::size_t length = LengthOf(left.c_str());
    // A byte of 0x80 or more, sign-extended to an int, is negative and so equals no unit.
    return length == LengthOf(right) && std::equal(left.data(), left.data() + length, Units(right),
                                                   [](int unit, int byte) { return unit == byte; });
}

bool operator!=(const lkstr& left, const char* right) { return !(left == right); }

lkstr& operator+=(lkstr& left, const char* right) {
    lkstr_append(left, right);
    return left;
}

lkstr& operator+=(lkstr& left, const wchar_t* right) {
    lkstr_append(left, right);
    return left;
}

lkstr operator+(const lkstr& left, const char* right) {
    lkstr sum = left;
    return sum += right;
}

lkstr operator+(lkstr& left, const wchar_t* right) {
    lkstr sum = left;
    return sum += right;
}

str UnicodeTextToPrintf(const lkchar* text) { return UnicodeToUtf8(text, lkstr_len(text)); }
str UnicodeTextToPrintf(const lkstr& text) {
    return UnicodeToUtf8(text.data(), static_cast<int>(text.size()));
}
str UnicodeTextToPrintf(const wchar_t* text) { return UnicodeTextToPrintf(lkstr_fromw(text)); }
str UnicodeTextToPrintf(const wstr& text) { return UnicodeTextToPrintf(text.c_str()); }

}  // namespace larkspur
