// The parser's caches of names and member orders, since most texts are lists of similar objects.
#ifndef QBSVR_JSON_INTERNAL_MEMBER_CACHE_H
#define QBSVR_JSON_INTERNAL_MEMBER_CACHE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "json/internal/shared_name.h"
#include "json/json_tree.h"

namespace larkspur::json_internal {

// A value that was read, and its name if it is a member.
struct Entry {
    NameRef name;
    std::unique_ptr<ClkJsonNode> node;
};

// The latest names, in a small table: similar objects share their names, and texts whose names are all
// different pay only for creating them.
class NameCache {
public:
    // New names are added to the list.
    explicit NameCache(NameList& names) : m_Names(names) {}

    NameRef Get(const lkchar* text, std::size_t n) {
        Slot& slot = Find(Ends(text, n), text);
        m_Latest->next = &slot;
        m_Latest = &slot;
        return slot.name;
    }

    // Compares the text with the name that followed the latest one before. If the text starts with it and a
    // quote, sets `name` and returns the position of the quote; otherwise returns null.
    const lkchar* GetExpected(const lkchar* text, const lkchar* end, NameRef& name) {
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
        NameRef name;
        Slot* next = nullptr;  // of the name that followed this one

        bool Holds(const Ends& other, const lkchar* text) const {
            return ends == other && (ends.n <= 8 || HoldsMiddle(text));
        }
        bool HoldsMiddle(const lkchar* text) const {
            return std::memcmp(name.Get()->data() + 4, text + 4, (ends.n - 8) * sizeof(lkchar)) == 0;
        }
    };

    Slot& Find(const Ends& ends, const lkchar* text) {
        const std::size_t home = ends.Hash();
        for (std::size_t i = home; i < home + kProbes; ++i) {
            Slot& slot = m_Slots[i];
            if (slot.name.Get() == nullptr) return Fill(slot, ends, text);
            if (slot.Holds(ends, text)) return slot;
        }
        return Fill(m_Slots[home], ends, text);
    }

    Slot& Fill(Slot& slot, const Ends& ends, const lkchar* text) {
        slot.name = NameRef(m_Names, text, ends.n);
        slot.ends = ends;
        return slot;
    }

    static constexpr std::size_t kProbes = 8;  // starting at the slot of the hash value

    NameList& m_Names;
    std::array<Slot, 256 + kProbes> m_Slots;
    Slot m_Start;  // before the first name
    Slot* m_Latest = &m_Start;
};

// The order by name of the latest member lists, so that the members of similar objects are sorted once.
class OrderCache {
public:
    // The indices of the members in the order of their names; of equal names, only the last one. The result
    // is valid until the next call.
    const std::vector<std::uint32_t>& Get(const Entry* entries, std::size_t n) {
        if (n > kMostNames) {
            Sort(entries, n, m_LongOrder);
            return m_LongOrder;
        }
        Slot& slot = m_Slots[Hash(entries, n)];
        if (!slot.Holds(entries, n)) slot.Fill(entries, n);
        return slot.order;
    }

private:
    static constexpr std::size_t kMostNames = 256;  // longer lists rarely occur twice

    struct Slot {
        std::vector<NameRef> names;  // in the order of the text
        std::vector<std::uint32_t> order;

        bool Holds(const Entry* entries, std::size_t n) const {
            const auto same = [](const NameRef& name, const Entry& entry) {
                return name.Get() == entry.name.Get();
            };
            return std::equal(names.begin(), names.end(), entries, entries + n, same);
        }

        void Fill(const Entry* entries, std::size_t n) {
            names.clear();
            for (const Entry* entry = entries; entry != entries + n; ++entry) names.push_back(entry->name);
            Sort(entries, n, order);
        }
    };

    static void Sort(const Entry* entries, std::size_t n, std::vector<std::uint32_t>& order) {
        const auto nameAt = [entries](std::uint32_t i) -> const lkstr& { return *entries[i].name.Get(); };
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
    static std::size_t Hash(const Entry* entries, std::size_t n) {
        std::uint64_t hash = n;
        for (std::size_t i = 0; i < n; i += 1 + n / 4) {
            hash = (hash ^ reinterpret_cast<std::uintptr_t>(entries[i].name.Get())) * 0x9E3779B97F4A7C15u;
        }
        return hash >> 59;
    }

    std::array<Slot, 32> m_Slots;
    std::vector<std::uint32_t> m_LongOrder;
};

}  // namespace larkspur::json_internal

#endif
