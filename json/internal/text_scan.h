// Scanning of JSON text: spaces, and the search for the next relevant unit, eight units per step.
#ifndef QBSVR_JSON_INTERNAL_TEXT_SCAN_H
#define QBSVR_JSON_INTERNAL_TEXT_SCAN_H

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/text.h"

namespace larkspur::json_internal {

constexpr bool IsSpace(lkchar c) { return c == u' ' || c == u'\n' || c == u'\r' || c == u'\t'; }

inline const lkchar* SkipSpace(const lkchar* p, const lkchar* end) {
    while (p < end && IsSpace(*p)) ++p;
    return p;
}

// The letter that is written after a backslash for the unit, or 0 if the unit needs no escape.
constexpr lkchar EscapeLetter(lkchar unit) {
    switch (unit) {
        case u'"':
        case u'\\':
            return unit;
        case u'\r':
            return u'r';
        case u'\n':
            return u'n';
        case u'\t':
            return u't';
        default:
            return 0;
    }
}

// The unit that a backslash with this letter represents, or 0 if there is no such escape.
constexpr lkchar EscapedUnit(lkchar letter) {
    switch (letter) {
        case u'"':
        case u'\\':
            return letter;
        case u'r':
            return u'\r';
        case u'n':
            return u'\n';
        case u't':
            return u'\t';
        default:
            return 0;
    }
}

#if defined(__SSE2__)
// Bits 2i and 2i + 1 are set when unit i of the eight at p is one of the stops.
template <lkchar... stops>
unsigned int StopMask(const lkchar* p) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i hits = _mm_setzero_si128();
    ((hits = _mm_or_si128(hits, _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<short>(stops))))), ...);
    return static_cast<unsigned int>(_mm_movemask_epi8(hits));
}
#endif

// The first unit in [p, end) that is one of the stops, or end.
template <lkchar... stops>
const lkchar* FindFirstOf(const lkchar* p, const lkchar* end) {
#if defined(__SSE2__)
    for (; end - p >= 8; p += 8) {
        if (const unsigned int mask = StopMask<stops...>(p)) return p + __builtin_ctz(mask) / 2;
    }
#endif
    while (p < end && ((*p != stops) && ...)) ++p;
    return p;
}

// The end of a bare literal: space, "," or a closing bracket.
inline const lkchar* FindLiteralEnd(const lkchar* p, const lkchar* end) {
    return FindFirstOf<u' ', u'\n', u'\r', u'\t', u',', u']', u'}'>(p, end);
}

}  // namespace larkspur::json_internal

#endif
