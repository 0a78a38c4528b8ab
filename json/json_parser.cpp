#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "common/errors.h"
#include "json/internal/member_cache.h"
#include "json/internal/node_pool.h"
#include "json/internal/parsed_text.h"
#include "json/internal/text_scan.h"
#include "json/json_text.h"
#include "json/json_tree.h"

// The grammar, with SP for any number of spaces:
//
//     object  = "{" SP { name SP ":" SP value SP [ "," SP ] } "}"
//     array   = "[" SP { value SP [ "," SP ] } "]"
//     value   = object | array | string | literal
//     name    = quote { any unit but quote } quote
//     string  = quote { escape | any unit but quote and backslash } quote
//     escape  = backslash ( quote | backslash | "n" | "r" | "t" )
//     literal = { any unit but space, ",", "]" and "}" }

namespace larkspur {

namespace json_internal {

namespace {

constexpr const lkchar* kNoObjectEnd = u"此位置预料的 '}' 字符没有出现";
constexpr const lkchar* kNoArrayEnd = u"此位置预料的 ']' 字符没有出现";
constexpr const lkchar* kNoQuote = u"此位置预料的 '\"' 字符没有出现";
constexpr const lkchar* kNoColon = u"此位置预料的 ':' 字符没有出现";
constexpr const lkchar* kBadEscape = u"在转义引导符号‘\\’之后应该是JSON的特殊字符(\\ \" \\r \\n \\t)之一。";

[[noreturn]] void Raise(const lkchar* position, const lkchar* end, const lkchar* message) {
    throw ClkException(LKExceptionJson, BuildFailedMsg(position, end, message).c_str());
}

// The extent of a string or literal in the text.
struct AtomScan {
    ClkJsonKind kind;
    const lkchar* begin;  // of its units, without quotes
    const lkchar* end;
    const lkchar* next;             // after the value, or at the error
    const lkchar* error = nullptr;  // message
    bool hasEscape = false;

    std::size_t Size() const { return static_cast<std::size_t>(end - begin); }
    lkstr Decoded() const { return JSON_Decode(begin, static_cast<int>(end - begin)); }
};

AtomScan ScanString(const lkchar* p, const lkchar* end) {
    AtomScan scan{ClkJsonString, p + 1, nullptr, end};
    for (++p;;) {
        p = FindFirstOf<u'"', u'\\', 0>(p, end);
        scan.next = p;
        if (p == end) {
            scan.error = kNoQuote;
            return scan;
        }
        if (*p == u'"') break;
        if (*p == 0) {
            if (scan.end == nullptr) scan.end = p;  // the text ends here, but the string continues
            ++p;
            continue;
        }
        scan.hasEscape = true;
        if (p + 1 == end || EscapedUnit(p[1]) == 0) {
            scan.next = p + 1;
            scan.error = kBadEscape;
            return scan;
        }
        p += 2;
    }
    if (scan.end == nullptr) scan.end = p;
    scan.next = p + 1;
    return scan;
}

AtomScan ScanAtom(const lkchar* p, const lkchar* end) {
    if (p < end && *p == u'"') return ScanString(p, end);
    const lkchar* after = FindLiteralEnd(p, end);
    return {ClkJsonLiteral, p, after, after};
}

}  // namespace

// Reads one object or array. The values of open ones are in a list instead of on the stack, so that each object
// or array receives its children in one step, with their exact number, when it closes.
class TreeParser {
public:
    TreeParser(ParsedText& text, ClkJsonKind kind, const lkchar* end)
        : m_Text(text), m_End(end), m_Names(text), m_Orders(text) {
        m_Values.emplace_back(kind, 0);
    }

    // p is at the opening bracket. Returns the position after the closing bracket, or null after an error.
    const lkchar* Parse(const lkchar* p) {
        p = After(p);
        for (;;) {
            const bool inObject = m_Values[m_Innermost].Kind() == ClkJsonObject;
            if (p < m_End && *p == (inObject ? u'}' : u']')) {
                CloseInnermost();
                ++p;
                if (m_Values.size() == 1) return p;
            } else {
                std::uint32_t name = 0;
                if (inObject) {
                    p = ReadName(p, name);
                    if (p == nullptr) return nullptr;
                } else if (p >= m_End || *p == u'}') {
                    return Fail(p, kNoArrayEnd);
                }
                if (p < m_End && (*p == u'{' || *p == u'[')) {
                    Open(*p == u'{' ? ClkJsonObject : ClkJsonArray, name);
                    p = After(p);
                    continue;
                }
                p = ReadAtom(p, name);
                if (p == nullptr) return nullptr;
            }
            p = SkipSpace(p, m_End);
            if (p < m_End && *p == u',') p = After(p);
        }
    }

    // What was read, even after an error.
    const ValueList& Children() {
        while (m_Values.front().children == nullptr) CloseInnermost();
        return *m_Values.front().children;
    }

    const lkchar* ErrorPosition() const { return m_ErrorPosition; }
    const lkchar* ErrorMessage() const { return m_ErrorMessage; }

private:
    // The position after the unit at p and the white space after it.
    const lkchar* After(const lkchar* p) const { return p < m_End ? SkipSpace(p + 1, m_End) : p; }

    // Reads the name at p and returns the position of the value, or null after an error.
    const lkchar* ReadName(const lkchar* p, std::uint32_t& name) {
        if (p >= m_End) return Fail(p, kNoObjectEnd);
        if (*p != u'"') return Fail(p, kNoQuote);
        const lkchar* begin = p + 1;
        p = m_Names.GetExpected(begin, m_End, name);
        if (p == nullptr) {
            p = FindFirstOf<u'"'>(begin, m_End);
            if (p == m_End) return Fail(p, kNoQuote);
            name = m_Names.Get(begin, static_cast<std::size_t>(p - begin));
        }
        p = After(p);
        if (p == m_End || *p != u':') return Fail(p, kNoColon);
        return After(p);
    }

    const lkchar* ReadAtom(const lkchar* p, std::uint32_t name) {
        if (p < m_End && *p == u'"') {
            // Most strings end before the first escape or zero unit.
            const lkchar* const stop = FindFirstOf<u'"', u'\\', 0>(p + 1, m_End);
            if (stop < m_End && *stop == u'"') {
                Add(ClkJsonString, name, p + 1, stop);
                return stop + 1;
            }
        }
        const AtomScan scan = ScanAtom(p, m_End);
        if (scan.error != nullptr) {
            Add(ClkJsonString, name, scan.begin, scan.begin);
            return Fail(scan.next, scan.error);
        }
        if (scan.hasEscape) {
            AddDecoded(name, scan);
        } else {
            Add(scan.kind, name, scan.begin, scan.end);
        }
        return scan.next;
    }

    void Add(ClkJsonKind kind, std::uint32_t name, const lkchar* begin, const lkchar* end) {
        const auto n = static_cast<std::size_t>(end - begin);
        m_Values.emplace_back(kind, name, m_Text.AddText(begin, end, m_End), n);
    }

    void AddDecoded(std::uint32_t name, const AtomScan& scan) {
        lkchar* const text = m_Text.TextRoom(scan.Size());
        lkchar* to = text;
        for (const lkchar* p = scan.begin;;) {
            const lkchar* const run = p;
            p = FindFirstOf<u'\\'>(p, scan.end);
            to = std::copy(run, p, to);
            if (p == scan.end) break;
            *to++ = EscapedUnit(p[1]);
            p += 2;
        }
        const auto n = static_cast<std::size_t>(to - text);
        m_Text.TakeText(n);
        m_Values.emplace_back(ClkJsonString, name, text, n);
    }

    // While an object or array is open, its size is the index of the one around it.
    void Open(ClkJsonKind kind, std::uint32_t name) {
        m_Values.emplace_back(kind, name).size = Value::Size(m_Innermost);
        m_Innermost = m_Values.size() - 1;
    }

    void CloseInnermost() {
        Value& innermost = m_Values[m_Innermost];
        const Value* const children = m_Values.data() + m_Innermost + 1;
        const std::size_t n = m_Values.size() - m_Innermost - 1;
        if (innermost.Kind() == ClkJsonObject) {
            const std::vector<std::uint32_t>& order = m_Orders.Get(children, n);
            innermost.children =
                m_Text.AddList(order.size(), [&](std::size_t i) { return children[order[i]]; });
        } else {
            innermost.children = m_Text.AddList(n, [children](std::size_t i) { return children[i]; });
        }
        m_Values.erase(m_Values.begin() + static_cast<std::ptrdiff_t>(m_Innermost) + 1, m_Values.end());
        m_Innermost = std::exchange(innermost.size, Value::Size(innermost.children->size));
    }

    const lkchar* Fail(const lkchar* position, const lkchar* message) {
        m_ErrorPosition = position;
        m_ErrorMessage = message;
        return nullptr;
    }

    ParsedText& m_Text;
    const lkchar* m_End;
    std::vector<Value> m_Values;  // the open objects and arrays, each followed by its children so far
    std::size_t m_Innermost = 0;
    NameCache m_Names;
    OrderCache m_Orders;
    const lkchar* m_ErrorPosition = nullptr;
    const lkchar* m_ErrorMessage = nullptr;
};

}  // namespace json_internal

const lkchar* ClkJsonAtomNode::Parse(const lkchar* p, const lkchar* end) {
    const json_internal::AtomScan scan = json_internal::ScanAtom(p, end);
    if (scan.error != nullptr) json_internal::Raise(scan.next, end, scan.error);
    m_Kind = scan.kind;
    SetText(scan.hasEscape ? scan.Decoded() : lkstr(scan.begin, scan.Size()));
    return scan.next;
}

const lkchar* ClkJsonComplexNode::ParseChildren(const lkchar* p, const lkchar* end) {
    MakeNodes();
    json_internal::TreeParser parser(m_Pool.Texts().Add(m_Pool.Names()), m_Kind, end);
    p = parser.Parse(p);
    const json_internal::ValueList& children = parser.Children();
    if (HasNodes()) {
        AddNodes(children);
    } else if (children.size != 0) {
        SetValues(&children, *children.source);
    }
    if (p == nullptr) json_internal::Raise(parser.ErrorPosition(), end, parser.ErrorMessage());
    return p;
}

lkstr BuildFailedMsg(const lkchar* position, const lkchar* end, const lkchar* message) {
    constexpr std::ptrdiff_t kMostContext = 128;
    lkstr text = message == nullptr ? gc_lkchar_empty : message;
    text += u"。\\r\\n数据：";
    if (position == nullptr || position >= end) return text;
    return text.append(position, position + std::min(end - position, kMostContext));
}

}  // namespace larkspur
