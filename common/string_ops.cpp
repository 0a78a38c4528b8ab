#include "common/string_ops.h"

#include <algorithm>
#include <charconv>
#include <cwctype>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "common/internal/ascii.h"

namespace larkspur {

namespace {

using View = std::u16string_view;

View ViewOf(const lkchar* text) { return text == nullptr ? View() : View(text); }

// Units are compared unchanged, folded as wide characters, or, against 8-bit text, with only A to Z folded.
int Plain(lkchar unit) { return unit; }
int FoldWide(lkchar unit) { return static_cast<int>(std::towlower(unit)); }
int FoldAscii(lkchar unit) { return unit >= u'A' && unit <= u'Z' ? unit + ('a' - 'A') : unit; }

using Fold = int (*)(lkchar);

lkchar Widen(lkchar unit) { return unit; }
lkchar Widen(char byte) { return static_cast<lkchar>(static_cast<signed char>(byte)); }

template <Fold fold>
int Difference(lkchar p, lkchar q) {
    return p == q ? 0 : fold(p) - fold(q);
}

// The difference of zero-ended texts. The end of the shorter text compares as zero.
template <Fold fold, typename Char>
int CompareText(const lkchar* p, const Char* q) {
    static constexpr Char kEmpty[1] = {};
    if (p == nullptr) p = gc_lkchar_empty;
    if (q == nullptr) q = kEmpty;
    for (;; ++p, ++q) {
        const int difference = Difference<fold>(*p, Widen(*q));
        if (difference != 0 || *p == 0) return difference;
    }
}

// The same for whole strings, including zero units in them.
template <Fold fold>
int CompareStrings(const lkstr& p, const lkstr& q) {
    for (std::size_t i = 0; i < std::max(p.size(), q.size()); ++i) {
        const int difference = Difference<fold>(i < p.size() ? p[i] : u'\0', i < q.size() ? q[i] : u'\0');
        if (difference != 0) return difference;
    }
    return 0;
}

template <Fold fold, typename Char>
int CompareCounted(const lkchar* p, const Char* q, int n) {
    if (p == nullptr || q == nullptr) return n < 1 ? 0 : CompareText<fold>(p, q);
    for (int i = 0; i < n; ++i) {
        const int difference = Difference<fold>(p[i], Widen(q[i]));
        if (difference != 0) return difference;
    }
    return 0;
}

template <Fold fold>
bool StartsWith(const lkchar* text, View q) {
    return CompareCounted<fold>(text, q.data(), static_cast<int>(q.size())) == 0;
}

// Tries the positions in [first, last).
template <Fold fold>
const lkchar* FindForward(const lkchar* first, const lkchar* last, View q) {
    for (; first < last; ++first) {
        if (StartsWith<fold>(first, q)) return first;
    }
    return nullptr;
}

template <Fold fold>
const lkchar* FindCounted(const lkchar* p, int n, const lkchar* q) {
    if (p == nullptr || q == nullptr) return nullptr;
    const View wanted(q);
    const std::ptrdiff_t length = static_cast<std::ptrdiff_t>(wanted.size());
    // With a count, an occurrence that would end exactly at n isn't tried.
    const std::ptrdiff_t starts =
        n < 1 ? static_cast<std::ptrdiff_t>(View(p).size()) - std::max<std::ptrdiff_t>(length - 1, 0)
              : n - length;
    return starts < 1 ? nullptr : FindForward<fold>(p, p + starts, wanted);
}

template <Fold fold>
const lkchar* FindBackward(const lkchar* begin, const lkchar* end, const lkchar* q) {
    if (begin == nullptr || end == nullptr || q == nullptr) return nullptr;
    const View wanted(q);
    for (std::ptrdiff_t start = end - begin - static_cast<std::ptrdiff_t>(wanted.size()); start >= 0;
         --start) {
        if (StartsWith<fold>(begin + start, wanted)) return begin + start;
    }
    return nullptr;
}

const lkchar* FindText(const lkchar* p, View q) {
    const View text = ViewOf(p);
    const std::size_t at = text.empty() ? View::npos : text.find(q);
    return at == View::npos ? nullptr : p + at;
}

template <typename Text>
void TrimLeft(Text& text) {
    const std::size_t first = text.find_first_not_of(typename Text::value_type(' '));
    if (first != Text::npos) text.erase(0, first);
}

template <typename Text>
void TrimRight(Text& text) {
    text.erase(text.find_last_not_of(typename Text::value_type(' ')) + 1);
}

// The parts of the text between units for which isSeparator is true.
template <typename Char, typename IsSeparator>
void SplitPieces(const Char* text, IsSeparator isSeparator, std::vector<std::basic_string<Char>>& out) {
    if (text == nullptr) return;
    while (*text != 0 && isSeparator(*text)) ++text;
    while (*text != 0) {
        // The first unit of a part is not examined: a separator there belongs to the part.
        const Char* end = text + 1;
        while (*end != 0 && !isSeparator(*end)) ++end;
        out.emplace_back(text, end);
        text = *end == 0 ? end : end + 1;
    }
}

template <typename Char>
void SplitTextT(const Char* text, const Char* separators, std::vector<std::basic_string<Char>>& out) {
    using Set = std::basic_string_view<Char>;
    const Set set = separators == nullptr ? Set() : Set(separators);
    SplitPieces(
        text, [set](Char unit) { return set.find(unit) != Set::npos; }, out);
}

template <typename Char>
void SplitTextT2(const Char* text, Char separator, std::vector<std::basic_string<Char>>& out) {
    SplitPieces(
        text, [separator](Char unit) { return unit == separator; }, out);
}

lkchar HexDigit(unsigned int nibble) { return u"0123456789ABCDEF"[nibble & 0xF]; }

}  // namespace

int lkstr_cmp(const lkchar* p, const lkchar* q) { return CompareText<Plain>(p, q); }
int lkstr_cmp(const lkchar* p, const char* q) { return CompareText<Plain>(p, q); }
int lkstr_cmp(const lkstr& p, const lkstr& q) { return CompareStrings<Plain>(p, q); }
int lkstr_icmp(const lkchar* p, const lkchar* q) { return CompareText<FoldWide>(p, q); }
int lkstr_icmp(const lkstr& p, const lkstr& q) { return CompareStrings<FoldWide>(p, q); }

int lkstr_icmp(const lkchar* p, const char* q) {
    if (p == nullptr) p = gc_lkchar_empty;
    if (q == nullptr) q = gc_char_empty;
    for (; *p != 0 && *q != 0; ++p, ++q) {
        const int difference = Difference<FoldAscii>(*p, Widen(*q));
        if (difference != 0) return difference < 0 ? -1 : 1;
    }
    return Difference<FoldAscii>(*p, Widen(*q));
}

int lkstr_ncmp(const lkchar* p, const lkchar* q, int n) { return CompareCounted<Plain>(p, q, n); }
int lkstr_ncmp(const lkchar* p, const char* q, int n) { return CompareCounted<Plain>(p, q, n); }
int lkstr_nicmp(const lkchar* p, const lkchar* q, int n) { return CompareCounted<FoldWide>(p, q, n); }
int lkstr_nicmp(const lkchar* p, const char* q, int n) { return CompareCounted<FoldAscii>(p, q, n); }

bool lkstr_eq(const lkstr& a, const lkstr& b) { return a.compare(b) == 0; }
bool lkstr_ieq(const lkstr& a, const lkstr& b) {
    return a.size() == b.size() && CompareStrings<FoldWide>(a, b) == 0;
}

const lkchar* lkstr_sstr(const lkchar* p, const lkchar* q) { return FindText(p, ViewOf(q)); }
const lkchar* lkstr_sstr(const lkchar* p, const char* q) { return FindText(p, lkstr_fromascii(q)); }

const lkchar* lkstr_charat(const lkchar* p, lkchar c) {
    const std::size_t at = ViewOf(p).find(c);
    return at == View::npos ? nullptr : p + at;
}

const lkchar* StringFind(const lkchar* p, int n, const lkchar* q) { return FindCounted<Plain>(p, n, q); }
const lkchar* StringFindI(const lkchar* p, int n, const lkchar* q) { return FindCounted<FoldWide>(p, n, q); }

const lkchar* StringReverseFind(const lkchar* begin, const lkchar* end, const lkchar* q) {
    return FindBackward<Plain>(begin, end, q);
}

const lkchar* StringReverseFindI(const lkchar* begin, const lkchar* end, const lkchar* q) {
    return FindBackward<FoldWide>(begin, end, q);
}

int lkstr_toi(const lkchar* text) {
    if (text == nullptr) return 0;
    const bool negative = *text == u'-';
    if (negative) ++text;
    unsigned int value = 0;
    // A "." counts as a digit of value -2, since it is two places before "0".
    for (; IsAsciiDigit(*text) || *text == u'.'; ++text) value = value * 10 + *text - u'0';
    return static_cast<int>(negative ? 0 - value : value);
}

double lkstr_tof(const lkchar* text) {
    if (text == nullptr) return 0;
    const bool negative = *text == u'-';
    if (negative) ++text;
    double integer = 0;
    for (; IsAsciiDigit(*text); ++text) integer = integer * 10 + (*text - u'0');
    double fraction = 0;
    if (*text == u'.') {
        double weight = 0.1;
        for (++text; IsAsciiDigit(*text); ++text, weight /= 10) fraction += (*text - u'0') * weight;
    }
    return negative ? -(integer + fraction) : integer + fraction;
}

str i2str(int value) {
    char digits[12];
    return str(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

lkstr lkstr_fromi(int value) { return lkstr_fromascii(i2str(value).c_str()); }
wstr i2wstr(int value) { return wstr_fromascii(i2str(value).c_str()); }

lkstr lkstr_fromf(double value) {
    char digits[336];  // the largest double has 309 digits before the point
    char* const end = std::to_chars(digits, std::end(digits), value, std::chars_format::fixed, 6).ptr;
    return AsciiStr2LKStr(digits, static_cast<int>(end - digits));
}

void StrTrimLeft(lkstr& text) { TrimLeft(text); }
void StrTrimLeft(str& text) { TrimLeft(text); }
void StrTrimRight(lkstr& text) { TrimRight(text); }
void StrTrimRight(str& text) { TrimRight(text); }

void StringTrim(lkstr& text) {
    TrimLeft(text);
    TrimRight(text);
}

void StringTrim(str& text) {
    TrimLeft(text);
    TrimRight(text);
}

void StringReplace(lkstr& text, const lkchar* oldText, const lkchar* newText) {
    if (oldText == nullptr || newText == nullptr) return;
    const View wanted(oldText);
    const View replacement(newText);
    std::size_t hit = text.find(wanted);
    if (hit == View::npos) return;
    lkstr result;
    std::size_t rest = 0;
    // The search continues one unit after each match and so finds overlapping matches, for which the length
    // between them is negative.
    for (; hit < text.size(); hit = text.find(wanted, hit + 1)) {
        if (hit < rest) throw std::length_error("basic_string::append");
        result.append(text, rest, hit - rest).append(replacement);
        rest = hit + wanted.size();
    }
    text = result.append(text, rest);
}

void SplitText(const lkchar* text, const lkchar* separators, std::vector<lkstr>& out) {
    SplitTextT(text, separators, out);
}

void SplitText(const char* text, const char* separators, std::vector<str>& out) {
    SplitTextT(text, separators, out);
}

void SplitText(const lkchar* text, lkchar separator, std::vector<lkstr>& out) {
    SplitTextT2(text, separator, out);
}

void SplitText(const char* text, char separator, std::vector<str>& out) { SplitTextT2(text, separator, out); }

void SplitTextLine(const lkchar* text, std::vector<lkstr>& out) {
    View rest = ViewOf(text);
    while (!rest.empty()) {
        const std::size_t end = rest.find_first_of(u"\r\n");
        out.emplace_back(rest.substr(0, end));
        if (end == View::npos) return;
        rest.remove_prefix(end + (rest.substr(end, 2) == u"\r\n" ? 2 : 1));
    }
}

bool SplitNameValueText(const lkchar* text, lkstr& name, lkstr& value) {
    const View whole = ViewOf(text);
    std::size_t divider = whole.find(u'=');
    if (divider == View::npos) return false;
    View nameStretch;
    std::size_t start = 0;
    // The unit after a divider is not examined: a second "=" there belongs to the text after it.
    for (; divider != View::npos; divider = whole.find(u'=', divider + 2)) {
        nameStretch = whole.substr(start, divider - start);
        start = divider + 1;
    }
    lkstr newName(nameStretch);
    lkstr newValue(whole.substr(start));
    StringTrim(newName);
    StringTrim(newValue);
    name = std::move(newName);
    value = std::move(newValue);
    return true;
}

void SplitTextToTwo(const lkchar* text, lkchar separator, lkstr& first, lkstr& second) {
    if (text == nullptr) text = gc_lkchar_empty;
    const lkchar wanted[2] = {separator, 0};
    const lkchar* const hit = lkstr_sstr(text, wanted);
    lkstr newFirst = hit == nullptr ? lkstr(text) : lkstr(text, hit);
    lkstr newSecond = hit == nullptr ? lkstr() : lkstr(hit + 1);
    StringTrim(newFirst);
    StringTrim(newSecond);
    first = std::move(newFirst);
    second = std::move(newSecond);
}

unsigned char HexCharToByte(lkchar c) {
    return static_cast<unsigned char>(c < u':' ? c - u'0' : c - (u'A' - 10));
}

void ByteToHex(unsigned char value, lkchar& high, lkchar& low) {
    high = HexDigit(value >> 4);
    low = HexDigit(value);
}

void ByteToHex(unsigned char value, lkchar* buffer) { ByteToHex(value, buffer[1], buffer[2]); }

void WordToHex(unsigned short value, lkchar* buffer) {
    DWordToHex(value, 2, buffer);
    buffer[4] = 0;
}

void DWordToHex(unsigned int value, int count, lkchar* buffer) {
    for (int i = count - 1; i >= 0; --i, buffer += 2) {
        const unsigned int byte = i < 4 ? value >> (8 * i) : 0;
        ByteToHex(static_cast<unsigned char>(byte), buffer[0], buffer[1]);
    }
}

}  // namespace larkspur
