// Parsed formats by their text, for functions that take a format text with each value.
#ifndef QBSVR_FORMAT_INTERNAL_FORMAT_CACHE_H
#define QBSVR_FORMAT_INTERNAL_FORMAT_CACHE_H

#include <array>
#include <cstddef>
#include <memory>

#include "common/text.h"

namespace larkspur {

// The latest formats of one thread: few, since a report has few, and of moderate length. A parser parses
// again when it is no longer valid.
template <class Parser>
class FormatCache {
public:
    // The parser of the text; null if the text is not cached, because it is too long or the thread has
    // already destroyed its cache.
    static Parser* Get(const lkchar* text) {
        thread_local Owner owner;
        if (t_IsDestroyed) return nullptr;
        if (owner.cache == nullptr) owner.cache = std::make_unique<FormatCache>();
        return owner.cache->Find(text != nullptr ? text : gc_lkchar_empty);
    }

private:
    static constexpr std::size_t kSlots = 32;
    static constexpr std::size_t kLongest = 64;

    struct Slot {
        lkstr text;
        bool isParsed = false;
        Parser parser;
    };

    struct Owner {
        std::unique_ptr<FormatCache> cache;
        ~Owner() { t_IsDestroyed = true; }
    };

    // Whether the slot has this text: one pass, since the text has no length.
    static bool IsFor(const Slot& slot, const lkchar* text) {
        if (!slot.isParsed) return false;
        const lkchar* const end = slot.text.data() + slot.text.size();
        for (const lkchar* known = slot.text.data(); known != end; ++known, ++text) {
            if (*known != *text) return false;
        }
        return *text == u'\0';
    }

    Parser* Find(const lkchar* text) {
        if (IsFor(*m_Latest, text) && m_Latest->parser.IsValid()) return &m_Latest->parser;
        std::size_t n = 0;
        while (text[n] != u'\0') {
            if (++n > kLongest) return nullptr;
        }
        const unsigned int ends = n == 0 ? 0u : text[0] + 3u * text[n / 2] + 5u * text[n - 1];
        Slot& slot = m_Slots[(ends + 7 * n) % kSlots];
        if (!IsFor(slot, text) || !slot.parser.IsValid()) {
            slot.isParsed = false;  // parsing may raise an exception
            slot.text.assign(text, n);
            slot.parser.Parse(slot.text.c_str());
            slot.isParsed = true;
        }
        m_Latest = &slot;
        return &slot.parser;
    }

    static inline thread_local bool t_IsDestroyed = false;

    std::array<Slot, kSlots> m_Slots;
    Slot* m_Latest = m_Slots.data();  // most calls have the text of the one before
};

}  // namespace larkspur

#endif
