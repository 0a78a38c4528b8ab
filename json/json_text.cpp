#include "json/json_text.h"

#include <vector>

#include "common/string_ops.h"
#include "json/internal/text_scan.h"
#include "json/internal/text_writer.h"

namespace larkspur {

namespace {

using json_internal::FindFirstOf;
using json_internal::SkipSpace;

template <class Pred>
bool AnyUnit(const lkchar* text, Pred pred) {
    if (text == nullptr) return false;
    while (*text != 0 && !pred(*text)) ++text;
    return *text != 0;
}

template <class Char>
bool TextIsJson(const Char* text, int n) {
    if (text == nullptr || n < 1) return false;
    const auto isSpace = [](Char c) { return json_internal::IsSpace(static_cast<lkchar>(c)); };
    const Char* first = text;
    const Char* last = text + n - 1;
    while (first < last && isSpace(*first)) ++first;
    while (first < last && isSpace(*last)) --last;
    return *first == Char('{') && *last == Char('}');
}

// Skips the name whose quote is at p and its ":"; returns the position of the value, or null.
const lkchar* SkipName(const lkchar* p, const lkchar* end) {
    if (*p != u'"') return nullptr;
    p = FindFirstOf<u'"'>(p + 1, end);
    if (p == end) return nullptr;
    p = SkipSpace(p + 1, end);
    if (p == end || *p != u':') return nullptr;
    return SkipSpace(p + 1, end);
}

const lkchar* SkipComma(const lkchar* p, const lkchar* end) {
    p = SkipSpace(p, end);
    return p < end && *p == u',' ? SkipSpace(p + 1, end) : p;
}

// Returns the position after the object or array whose opening bracket is at p, or null:
//
//     object  = "{" { name ":" value [ "," ] } "}"
//     array   = "[" { value [ "," ] } "]"
//     value   = object | array | string | literal
//
// Open containers are in a list instead of on the stack, so any depth is possible.
const lkchar* FindContainerEnd(const lkchar* p, const lkchar* end, bool isObject) {
    if (p == nullptr || p >= end) return nullptr;
    std::vector<bool> openIsObject{isObject};
    p = SkipSpace(p + 1, end);
    while (p < end) {
        const bool inObject = openIsObject.back();
        if (*p == (inObject ? u'}' : u']')) {
            openIsObject.pop_back();
            if (openIsObject.empty()) return p + 1;
            p = SkipComma(p + 1, end);
            continue;
        }
        if (inObject) {
            p = SkipName(p, end);
            if (p == nullptr) return nullptr;
        } else if (*p == u'}') {
            return nullptr;  // an empty literal here would loop forever
        }
        if (p < end && (*p == u'{' || *p == u'[')) {
            openIsObject.push_back(*p == u'{');
            p = SkipSpace(p + 1, end);
        } else {
            p = DoFindJsonAtomValueTextEnd(p, end);
            if (p == nullptr) return nullptr;
            p = SkipComma(p, end);
        }
    }
    return nullptr;
}

// FindContainerEnd for a text that starts, after white space, with a wanted bracket.
const lkchar* FindEnd(const lkchar* text, int n, bool wantObject, bool wantArray) {
    if (text == nullptr || n < 1) return nullptr;
    const lkchar* end = text + n;
    const lkchar* p = SkipSpace(text, end);
    if (p == end) return nullptr;
    if (wantObject && *p == u'{') return FindContainerEnd(p, end, true);
    if (wantArray && *p == u'[') return FindContainerEnd(p, end, false);
    return nullptr;
}

}  // namespace

bool JSON_IsSpaceChar(lkchar c) { return json_internal::IsSpace(c); }

bool JSON_HasSpecialChar(const lkchar* text) {
    return AnyUnit(text, [](lkchar c) { return json_internal::EscapeLetter(c) != 0; });
}

bool JSON_HasEscapeChar(const lkchar* text) {
    return AnyUnit(text, [](lkchar c) { return json_internal::EscapedUnit(c) != 0; });
}

bool JSON_TextIsJson(const char* text, int n) { return TextIsJson(text, n); }
bool JSON_TextIsJson(const wchar_t* text, int n) { return TextIsJson(text, n); }
bool JSON_TextIsJson(const lkchar* text, int n) { return TextIsJson(text, n); }

lkstr JSON_EncodeValue(int value) { return lkstr_fromi(value); }

lkstr JSON_EncodeValue(bool value) { return value ? gc_str_true : gc_str_false; }

lkstr JSON_EncodeValue(double value) {
    lkstr text = lkstr_fromf(value);
    if (text.back() == u'.') text.pop_back();
    return text;
}

lkstr JSON_EncodeValue(const lkchar* text) { return lkstr(u"\"\0", 2) + JSON_Encode(text) + u'"'; }

lkstr JSON_EncodeValue(const char* text) { return JSON_EncodeValue(AsciiStr2LKStr(text, 0).c_str()); }

lkstr JSON_Encode(const lkchar* text) {
    lkstr encoded;
    if (text == nullptr) return encoded;
    json_internal::TextWriter writer(encoded);
    writer.PutEncoded(text, text + lkstr::traits_type::length(text));
    writer.Flush();
    return encoded;
}

lkstr JSON_Decode(const lkchar* text, int n) {
    lkstr decoded;
    if (text == nullptr || n < 1) return decoded;
    decoded.reserve(static_cast<std::size_t>(n));
    const lkchar* end = text + n;
    for (const lkchar* p = text;; p += 2) {
        const lkchar* stretch = p;
        p = FindFirstOf<u'\\'>(p, end);
        decoded.append(stretch, p);
        if (end - p < 2) return decoded;
        if (const lkchar unit = json_internal::EscapedUnit(p[1])) decoded.push_back(unit);
    }
}

const lkchar* FindJsonTextEnd(const lkchar* text, int n) { return FindEnd(text, n, true, true); }
const lkchar* FindJsonObjectTextEnd(const lkchar* text, int n) { return FindEnd(text, n, true, false); }
const lkchar* FindJsonArrayTextEnd(const lkchar* text, int n) { return FindEnd(text, n, false, true); }

const lkchar* DoFindJsonObjectTextEnd(const lkchar* p, const lkchar* end) {
    return FindContainerEnd(p, end, true);
}

const lkchar* DoFindJsonArrayTextEnd(const lkchar* p, const lkchar* end) {
    return FindContainerEnd(p, end, false);
}

const lkchar* DoFindJsonAtomValueTextEnd(const lkchar* p, const lkchar* end) {
    if (p == nullptr) return nullptr;
    p = SkipSpace(p, end);
    if (p >= end) return nullptr;
    if (*p != u'"') {
        p = json_internal::FindLiteralEnd(p, end);
        return p < end ? p : nullptr;
    }
    for (++p;; p += 2) {
        p = FindFirstOf<u'"', u'\\'>(p, end);
        if (p == end) return nullptr;
        if (*p == u'"') return p + 1 < end ? p + 1 : nullptr;
        if (p + 1 == end || json_internal::EscapedUnit(p[1]) == 0) return nullptr;
    }
}

}  // namespace larkspur
