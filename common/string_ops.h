// Operations on text: comparing, searching, numbers, trimming, replacing, splitting, hexadecimal digits and a
// small type-safe printf.
//
// A found position is a pointer into the searched text, or null. The bytes of an 8-bit argument are compared
// sign-extended to 16 bits. Forms that ignore case fold each unit with towlower; against 8-bit text, they
// fold only A to Z.
#ifndef QBSVR_COMMON_STRING_OPS_H
#define QBSVR_COMMON_STRING_OPS_H

#include <concepts>
#include <vector>

#include "common/text.h"

namespace larkspur {

// Zero if equal; otherwise the first unit of p that differs minus that of q. A shorter text is compared as if
// zero units followed it, so a prefix is not equal.
int lkstr_cmp(const lkchar* p, const lkchar* q);
int lkstr_cmp(const lkchar* p, const char* q);
int lkstr_cmp(const lkstr& p, const lkstr& q);

// Like lkstr_cmp, ignoring case. Against 8-bit text, a difference inside both texts is 1 or -1.
int lkstr_icmp(const lkchar* p, const lkchar* q);
int lkstr_icmp(const lkchar* p, const char* q);
int lkstr_icmp(const lkstr& p, const lkstr& q);

// Compares exactly n units and does not stop at a zero unit; n below 1 gives 0.
int lkstr_ncmp(const lkchar* p, const lkchar* q, int n);
int lkstr_ncmp(const lkchar* p, const char* q, int n);
int lkstr_nicmp(const lkchar* p, const lkchar* q, int n);
int lkstr_nicmp(const lkchar* p, const char* q, int n);

bool lkstr_eq(const lkstr& a, const lkstr& b);
bool lkstr_ieq(const lkstr& a, const lkstr& b);

// First occurrence of q. In an empty p, nothing is found; an empty q is found at the start of any other p.
const lkchar* lkstr_sstr(const lkchar* p, const lkchar* q);
const lkchar* lkstr_sstr(const lkchar* p, const char* q);

// First unit equal to c. The zero unit is never found.
const lkchar* lkstr_charat(const lkchar* p, lkchar c);

// First occurrence of q in n units, or up to the zero unit if n is below 1. If n is 1 or more, an occurrence
// that ends exactly at unit n is not found. A null argument gives null.
const lkchar* StringFind(const lkchar* p, int n, const lkchar* q);
const lkchar* StringFindI(const lkchar* p, int n, const lkchar* q);

// Last occurrence of q that is completely in [begin, end). A null argument gives null.
const lkchar* StringReverseFind(const lkchar* begin, const lkchar* end, const lkchar* q);
const lkchar* StringReverseFindI(const lkchar* begin, const lkchar* end, const lkchar* q);

// An optional "-" and a run of digits, in wrapping 32-bit arithmetic. A "." in the run is a digit of value
// -2: "1.5" gives 85. Anything else at the start gives 0.
int lkstr_toi(const lkchar* text);

// An optional "-", digits, a "." and digits; no exponent.
double lkstr_tof(const lkchar* text);

lkstr lkstr_fromi(int value);
lkstr lkstr_fromf(double value);  // "%f": six decimals, with a "." in every locale
str i2str(int value);
wstr i2wstr(int value);

// Trim spaces (only unit 32) in place. StrTrimLeft does not change a text that consists of spaces alone;
// StrTrimRight and StringTrim, which trims left, then right, make it empty.
void StrTrimLeft(lkstr& text);
void StrTrimLeft(str& text);
void StrTrimRight(lkstr& text);
void StrTrimRight(str& text);
void StringTrim(lkstr& text);
void StringTrim(str& text);

// Replaces every occurrence of oldText. Does nothing if either text is null; an empty oldText inserts newText
// before each unit. If two occurrences overlap, raises std::length_error("basic_string::append") and leaves
// the text unchanged.
void StringReplace(lkstr& text, const lkchar* oldText, const lkchar* newText);

// Appends the parts of the text between separators (any unit of a set, or one unit) to `out`. Separators at
// the start of the text are skipped; a separator at the start of a later part belongs to that part: "a,,b"
// gives "a" and ",b". No part is empty. Null text does nothing.
void SplitText(const lkchar* text, const lkchar* separators, std::vector<lkstr>& out);
void SplitText(const char* text, const char* separators, std::vector<str>& out);
void SplitText(const lkchar* text, lkchar separator, std::vector<lkstr>& out);
void SplitText(const char* text, char separator, std::vector<str>& out);

// Appends the lines of the text to `out`. CR, LF and CR LF end a line. The text after the last line end is a
// line only if it isn't empty.
void SplitTextLine(const lkchar* text, std::vector<lkstr>& out);

// Splits "name=value" and trims both. Returns false and changes neither if the text has no "=". If there are
// several "=", the last one divides, and the name starts after the one before it; a "=" directly after
// another does not divide.
bool SplitNameValueText(const lkchar* text, lkstr& name, lkstr& value);

// Splits at the first separator and trims both parts. Without a separator, `first` is the whole text and
// `second` is empty.
void SplitTextToTwo(const lkchar* text, lkchar separator, lkstr& first, lkstr& second);

// Hexadecimal digits, upper case. HexCharToByte maps a lower-case digit to a meaningless value.
unsigned char HexCharToByte(lkchar c);
void ByteToHex(unsigned char value, lkchar& high, lkchar& low);
void ByteToHex(unsigned char value, lkchar* buffer);             // writes buffer[1] and buffer[2] only
void WordToHex(unsigned short value, lkchar* buffer);            // four digits and a zero unit
void DWordToHex(unsigned int value, int count, lkchar* buffer);  // the low count bytes, no zero unit

// One argument of StringFormat: an integer, a floating-point number, or zero-ended text that is valid during
// the call.
class StringFormatArgument {
public:
    enum class Kind { kInteger, kFloat, kText };

    template <std::integral T>
    StringFormatArgument(T value) : m_Kind(Kind::kInteger), m_Integer(static_cast<long long>(value)) {}
    StringFormatArgument(double value) : m_Kind(Kind::kFloat), m_Float(value) {}
    StringFormatArgument(const lkchar* text) : m_Kind(Kind::kText), m_Text(text) {}
    StringFormatArgument(const lkstr& text) : m_Kind(Kind::kText), m_Text(text.c_str()) {}

    int AsInteger() const;         // 0 for text
    double AsFloat() const;        // 0 for text
    const lkchar* AsText() const;  // empty for a number

private:
    Kind m_Kind;
    union {
        long long m_Integer;
        double m_Float;
        const lkchar* m_Text;
    };
};

lkstr StringFormatList(const char* format, const StringFormatArgument* arguments, int count);
lkstr StringFormatList(const lkchar* format, const StringFormatArgument* arguments, int count);

// Formats its arguments: "%s" zero-ended lkchar text, "%d" integer, "%f" number with six decimals, "%.Nd"
// FormatIntegerFixed, "%.Nf" FormatNumberFixed, "%.Nx" FormatIntegerHexFixed, each with N. The first of two
// "%" is plain text and the second starts a form. Any other form replaces the output so far by "StringFormat
// '<format>' failed " and uses no argument. A missing argument reads as 0 or empty text; one of another type
// is converted.
template <typename... Arguments>
lkstr StringFormat(const char* format, const Arguments&... arguments) {
    const StringFormatArgument list[] = {StringFormatArgument(arguments)..., StringFormatArgument(0)};
    return StringFormatList(format, list, static_cast<int>(sizeof...(arguments)));
}
template <typename... Arguments>
lkstr StringFormat(const lkchar* format, const Arguments&... arguments) {
    const StringFormatArgument list[] = {StringFormatArgument(arguments)..., StringFormatArgument(0)};
    return StringFormatList(format, list, static_cast<int>(sizeof...(arguments)));
}

}  // namespace larkspur

#endif
