// Buffers JSON text before it is appended to a string, so that appending short texts is cheap.
#ifndef QBSVR_JSON_INTERNAL_TEXT_WRITER_H
#define QBSVR_JSON_INTERNAL_TEXT_WRITER_H

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "common/text.h"
#include "json/internal/text_scan.h"

namespace larkspur::json_internal {

class TextWriter {
public:
    explicit TextWriter(lkstr& out) : m_Out(out) {}
    TextWriter(const TextWriter&) = delete;
    TextWriter& operator=(const TextWriter&) = delete;

    void Put(lkchar c) {
        if (Room() == 0) Flush();
        *m_To++ = c;
    }

    void Put(const lkstr& text) { Put(text.data(), text.size()); }
    void Put(const lkchar* text, std::size_t n) {
        if (n > Room()) {
            Flush();
            if (n > kBlock) {
                m_Out.append(text, n);
                return;
            }
        }
        Copy(text, n, m_To);
        m_To += n;
    }

    // Writes the units in [p, end), up to the first zero unit, escaped.
    void PutEncoded(const lkchar* p, const lkchar* end) {
        constexpr std::ptrdiff_t kStep = 8;
        while (p != end) {
            if (Room() < 2 * kStep) Flush();
            const std::ptrdiff_t n = std::min(end - p, kStep);
            if (n == kStep && FindFirstOf<u'"', u'\\', u'\r', u'\n', u'\t', 0>(p, p + kStep) == p + kStep) {
                std::memcpy(m_To, p, kStep * sizeof(lkchar));
                m_To += kStep;
                p += kStep;
                continue;
            }
            for (const lkchar* stop = p + n; p != stop; ++p) {
                if (*p == 0) return;
                const lkchar letter = EscapeLetter(*p);
                if (letter != 0) *m_To++ = u'\\';
                *m_To++ = letter != 0 ? letter : *p;
            }
        }
    }

    // Must be called at the end.
    void Flush() {
        m_Out.append(m_Block, static_cast<std::size_t>(m_To - m_Block));
        m_To = m_Block;
    }

private:
    static constexpr std::size_t kBlock = 2048;

    std::size_t Room() const { return static_cast<std::size_t>(m_Block + kBlock - m_To); }

    // memcpy, but without a call for short texts, which are the most frequent: two overlapping copies.
    static void Copy(const lkchar* from, std::size_t n, lkchar* to) {
        if (n > 16) {
            std::memcpy(to, from, n * sizeof(lkchar));
        } else if (n >= 8) {
            std::memcpy(to, from, 16);
            std::memcpy(to + n - 8, from + n - 8, 16);
        } else if (n >= 4) {
            std::memcpy(to, from, 8);
            std::memcpy(to + n - 4, from + n - 4, 8);
        } else if (n > 0) {
            to[0] = from[0];
            to[n / 2] = from[n / 2];
            to[n - 1] = from[n - 1];
        }
    }

    lkstr& m_Out;
    lkchar m_Block[kBlock];
    lkchar* m_To = m_Block;
};

}  // namespace larkspur::json_internal

#endif
