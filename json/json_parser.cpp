#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "common/errors.h"
#include "json/internal/member_cache.h"
#include "json/internal/node_pool.h"
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

// Builds the tree below one object or array. Open containers are in a list instead of on the stack, and their
// values in another, so that each container is filled in one step, with its exact size, when it closes.
class TreeParser {
public:
    TreeParser(ClkJsonComplexNode& top, const lkchar* end)
        : m_Pool(top.m_Pool), m_End(end), m_Names(m_Pool.Names()) {
        m_Open.push_back({&top, 0});
    }

    // p is at the opening bracket of the outermost container.
    const lkchar* Parse(const lkchar* p) {
        p = After(p);
        while (!m_Open.empty()) {
            const bool inObject = m_Open.back().node->Kind() == ClkJsonObject;
            if (p < m_End && *p == (inObject ? u'}' : u']')) {
                CloseInnermost();
                ++p;
                if (m_Open.empty()) break;
            } else {
                NameRef name;
                if (inObject) {
                    p = ReadName(p, name);
                } else if (p >= m_End || *p == u'}') {
                    Fail(p, kNoArrayEnd);
                }
                if (p < m_End && (*p == u'{' || *p == u'[')) {
                    Open(std::move(name), *p == u'{');
                    p = After(p);
                    continue;
                }
                p = ReadAtom(p, std::move(name));
            }
            p = SkipSpace(p, m_End);
            if (p < m_End && *p == u',') p = After(p);
        }
        return p;
    }

private:
    struct Container {
        ClkJsonComplexNode* node;
        std::size_t firstEntry;
    };

    // The position after the unit at p and the white space after it.
    const lkchar* After(const lkchar* p) const { return p < m_End ? SkipSpace(p + 1, m_End) : p; }

    // Reads the name at p and returns the position of the value.
    const lkchar* ReadName(const lkchar* p, NameRef& name) {
        if (p >= m_End) Fail(p, kNoObjectEnd);
        if (*p != u'"') Fail(p, kNoQuote);
        const lkchar* begin = p + 1;
        p = m_Names.GetExpected(begin, m_End, name);
        if (p == nullptr) {
            p = FindFirstOf<u'"'>(begin, m_End);
            if (p == m_End) Fail(p, kNoQuote);
            name = m_Names.Get(begin, static_cast<std::size_t>(p - begin));
        }
        p = After(p);
        if (p == m_End || *p != u':') Fail(p, kNoColon);
        return After(p);
    }

    const lkchar* ReadAtom(const lkchar* p, NameRef&& name) {
        ClkJsonNode* parent = m_Open.back().node;
        if (p < m_End && *p == u'"') {
            // Most strings end before the first escape or zero unit.
            const lkchar* const stop = FindFirstOf<u'"', u'\\', 0>(p + 1, m_End);
            if (stop < m_End && *stop == u'"') {
                const auto size = static_cast<std::size_t>(stop - p) - 1;
                Add(std::move(name), new (m_Pool) ClkJsonAtomNode(parent, ClkJsonString, p + 1, size));
                return stop + 1;
            }
        }
        const AtomScan scan = ScanAtom(p, m_End);
        if (scan.error != nullptr) {
            Add(std::move(name), new (m_Pool) ClkJsonAtomNode(parent, ClkJsonString, lkstr()));
            Fail(scan.next, scan.error);
        }
        if (scan.hasEscape) {
            Add(std::move(name), new (m_Pool) ClkJsonAtomNode(parent, scan.kind, scan.Decoded()));
        } else {
            Add(std::move(name), new (m_Pool) ClkJsonAtomNode(parent, scan.kind, scan.begin, scan.Size()));
        }
        return scan.next;
    }

    void Open(NameRef&& name, bool isObject) {
        ClkJsonComplexNode* parent = m_Open.back().node;
        ClkJsonComplexNode* node = nullptr;
        if (isObject) {
            node = Add(std::move(name), new (m_Pool) ClkJsonObjectNode(parent));
        } else {
            node = Add(std::move(name), new (m_Pool) ClkJsonArrayNode(parent));
        }
        m_Open.push_back({node, m_Entries.size()});
    }

    template <class Node>
    Node* Add(NameRef&& name, Node* node) {
        std::unique_ptr<ClkJsonNode> owner(node);
        m_Entries.push_back({std::move(name), std::move(owner)});
        return node;
    }

    void CloseInnermost() {
        const Container& container = m_Open.back();
        if (container.node->Kind() == ClkJsonObject) {
            FillObject(static_cast<ClkJsonObjectNode*>(container.node)->m_Members.m_List,
                       container.firstEntry);
        } else {
            auto& items = static_cast<ClkJsonArrayNode*>(container.node)->m_Items;
            if (items.empty()) items.reserve(m_Entries.size() - container.firstEntry);
            for (std::size_t i = container.firstEntry; i < m_Entries.size(); ++i) {
                items.push_back(std::move(m_Entries[i].node));
            }
        }
        m_Entries.resize(container.firstEntry);
        m_Open.pop_back();
    }

    void FillObject(ClkJsonMembers::List& members, std::size_t firstEntry) {
        if (!members.empty()) MoveToEntries(members, firstEntry);
        Entry* entries = m_Entries.data() + firstEntry;
        const std::vector<std::uint32_t>& order = m_Orders.Get(entries, m_Entries.size() - firstEntry);
        members.reserve(order.size());
        for (const std::uint32_t i : order) {
            members.emplace_back(std::move(entries[i].name), std::move(entries[i].node));
        }
    }

    // Inserts the existing members of an object before the new ones: of equal names, the last one remains.
    void MoveToEntries(ClkJsonMembers::List& members, std::size_t firstEntry) {
        std::vector<Entry> former;
        for (ClkJsonMember& member : members) {
            former.push_back({NameRef::Adopt(member.first), std::move(member.second)});
        }
        members.clear();
        m_Entries.insert(m_Entries.begin() + static_cast<std::ptrdiff_t>(firstEntry),
                         std::make_move_iterator(former.begin()), std::make_move_iterator(former.end()));
    }

    // Moves the values read so far into the tree, and raises.
    [[noreturn]] void Fail(const lkchar* position, const lkchar* message) {
        while (!m_Open.empty()) CloseInnermost();
        Raise(position, m_End, message);
    }

    NodePool& m_Pool;
    const lkchar* m_End;
    std::vector<Container> m_Open;  // innermost last
    std::vector<Entry> m_Entries;   // of the open containers, in the order of the text
    NameCache m_Names;
    OrderCache m_Orders;
};

}  // namespace json_internal

const lkchar* ClkJsonAtomNode::Parse(const lkchar* p, const lkchar* end) {
    const json_internal::AtomScan scan = json_internal::ScanAtom(p, end);
    if (scan.error != nullptr) json_internal::Raise(scan.next, end, scan.error);
    m_Kind = scan.kind;
    SetText(scan.hasEscape ? scan.Decoded() : lkstr(scan.begin, scan.Size()));
    return scan.next;
}

const lkchar* ClkJsonObjectNode::Parse(const lkchar* p, const lkchar* end) {
    return json_internal::TreeParser(*this, end).Parse(p);
}

const lkchar* ClkJsonArrayNode::Parse(const lkchar* p, const lkchar* end) {
    return json_internal::TreeParser(*this, end).Parse(p);
}

lkstr BuildFailedMsg(const lkchar* position, const lkchar* end, const lkchar* message) {
    constexpr std::ptrdiff_t kMostContext = 128;
    lkstr text = message == nullptr ? gc_lkchar_empty : message;
    text += u"。\\r\\n数据：";
    if (position == nullptr || position >= end) return text;
    return text.append(position, position + std::min(end - position, kMostContext));
}

}  // namespace larkspur
