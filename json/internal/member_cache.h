// The parser's caches of names and member orders, since most texts are lists of similar objects.
#ifndef QBSVR_JSON_INTERNAL_MEMBER_CACHE_H
#define QBSVR_JSON_INTERNAL_MEMBER_CACHE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "json/internal/parsed_text.h"
#include "json/json_tree.h"

namespace larkspur::json_internal {

// The latest names, in a small table: similar objects share their names, and texts whose names are all
// different pay only for creating them.
class NameCache {
public:
    // New names are added to the text. Names are represented by their indices there.
    explicit NameCache(ParsedText& text) : m_Text(text) {}

    std::uint32_t Get(const lkchar* text, std::size_t n) {
        Slot& slot = Find(Ends(text, n), text);
        m_Latest->next = &slot;
        m_Latest = &slot;
        return slot.name;
    }

    // Compares the text with the name that followed the latest one before. If the text starts with it and a
    // quote, sets `name` and returns the position of the quote; otherwise returns null.
    const lkchar* GetExpected(const lkchar* text, const lkchar* end, std::uint32_t& name) {
        Slot* const slot = m_Latest->next;
        if (slot == nullptr) return nullptr;
        const std::size_t n = slot->ends.n;
        if (static_cast<std::size_t>(end - text) <= n || text[n] != u'"') return nullptr;
        if (!slot->Holds(Ends(text, n), text)) return nullptr;
        m_Latest = slot;
        name = slot->name;
        return text + n;
    }

private:
    // The length and up to four units at both ends: the whole of a name of up to eight units, and the parts
    // in which longer names differ most.
    struct Ends {
        std::uint64_t head = 0;
        std::uint64_t tail = 0;
        std::size_t n = 0;

        Ends() = default;
        Ends(const lkchar* text, std::size_t length) : n(length) {
            if (n >= 4) {
                std::memcpy(&head, text, 4 * sizeof(lkchar));
                std::memcpy(&tail, text + n - 4, 4 * sizeof(lkchar));
            } else {
                for (std::size_t i = 0; i < n; ++i) head = head << 16 | text[i];
            }
        }
        bool operator==(const Ends&) const = default;

        std::size_t Hash() const {
            return ((head + n) * 0x9E3779B97F4A7C15u ^ tail * 0xC2B2AE3D27D4EB4Fu) >> 56;
        }
    };

    struct Slot {
        Ends ends;
        const lkstr* text = nullptr;
        std::uint32_t name = 0;
        Slot* next = nullptr;  // of the name that followed this one

        bool Holds(const Ends& other, const lkchar* units) const {
            return ends == other && (ends.n <= 8 || HoldsMiddle(units));
        }
        bool HoldsMiddle(const lkchar* units) const {
            return std::memcmp(text->data() + 4, units + 4, (ends.n - 8) * sizeof(lkchar)) == 0;
        }
    };

    Slot& Find(const Ends& ends, const lkchar* text) {
        const std::size_t home = ends.Hash();
        for (std::size_t i = home; i < home + kProbes; ++i) {
            Slot& slot = m_Slots[i];
            if (slot.text == nullptr) return Fill(slot, ends, text);
            if (slot.Holds(ends, text)) return slot;
        }
        return Fill(m_Slots[home], ends, text);
    }

    Slot& Fill(Slot& slot, const Ends& ends, const lkchar* text) {
        slot.name = m_Text.AddName(text, ends.n);
        slot.text = m_Text.Name(slot.name).Get();
        slot.ends = ends;
        return slot;
    }

    static constexpr std::size_t kProbes = 8;  // starting at the slot of the hash value

    ParsedText& m_Text;
    std::array<Slot, 256 + kProbes> m_Slots;
    Slot m_Start;  // before the first name
    Slot* m_Latest = &m_Start;
};

// The order by name of the latest member lists, so that the members of similar objects are sorted once.
class OrderCache {
public:
    explicit OrderCache(const ParsedText& text) : m_Text(text) {}

    // The indices of the members in the order of their names; of equal names, only the last one. The result
    // is valid until the next call.
    const std::vector<std::uint32_t>& Get(const Value* members, std::size_t n) {
        if (n > kMostNames) {
            Sort(members, n, m_LongOrder);
            return m_LongOrder;
        }
        Slot& slot = m_Slots[Hash(members, n)];
        const auto same = [](std::uint32_t name, const Value& member) { return name == member.name; };
        if (!std::equal(slot.names.begin(), slot.names.end(), members, members + n, same)) {
            slot.names.clear();
            for (const Value* member = members; member != members + n; ++member) {
                slot.names.push_back(member->name);
            }
            Sort(members, n, slot.order);
        }
        return slot.order;
    }

private:
    static constexpr std::size_t kMostNames = 256;  // longer lists rarely occur twice

    struct Slot {
        std::vector<std::uint32_t> names;  // in the order of the text
        std::vector<std::uint32_t> order;
    };

    void Sort(const Value* members, std::size_t n, std::vector<std::uint32_t>& order) const {
        const auto nameAt = [this, members](std::uint32_t i) -> const lkstr& {
            return *m_Text.Name(members[i].name).Get();
        };
        const auto less = [&nameAt](std::uint32_t a, std::uint32_t b) { return nameAt(a) < nameAt(b); };
        const auto equal = [&nameAt](std::uint32_t a, std::uint32_t b) { return nameAt(a) == nameAt(b); };
        order.resize(n);
        std::iota(order.begin(), order.end(), 0u);
        if (!std::is_sorted(order.begin(), order.end(), less)) {
            std::stable_sort(order.begin(), order.end(), less);
        }
        // Backwards, so that the last of equal names remains.
        order.erase(order.begin(), std::unique(order.rbegin(), order.rend(), equal).base());
    }

    // Of some names: lists that differ only in the others are rare.
    static std::size_t Hash(const Value* members, std::size_t n) {
        std::uint64_t hash = n;
        for (std::size_t i = 0; i < n; i += 1 + n / 4) hash = (hash ^ members[i].name) * 0x9E3779B97F4A7C15u;
        return hash >> 59;
    }

    const ParsedText& m_Text;
    std::array<Slot, 32> m_Slots;
    std::vector<std::uint32_t> m_LongOrder;
};

}  // namespace larkspur::json_internal

#endif
