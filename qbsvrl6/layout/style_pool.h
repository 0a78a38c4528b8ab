// The styles of one export, with their fonts: each is resolved once, and equal ones are shared.
#ifndef QBSVR_QBSVRL6_LAYOUT_STYLE_POOL_H
#define QBSVR_QBSVRL6_LAYOUT_STYLE_POOL_H

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/model/style.h"

namespace qbsvrl6 {

// Every style that an item points at is a PooledStyle.
class PooledStyle : public ResolvedStyle {
public:
    explicit PooledStyle(ResolvedStyle style) : ResolvedStyle(std::move(style)) {}

    static const PooledStyle& of(const ResolvedStyle& style) {
        return static_cast<const PooledStyle&>(style);
    }

    // Found on first use: an export that measures no text needs no fonts.
    const FontSet& fonts() const;
    Micrometres lineHeight(double size) const;
    // Of a line, from its top to the base line: the letters are in the middle.
    Micrometres ascent(double size) const {
        lineHeight(size);
        return knownAscent_;
    }

private:
    mutable const FontSet* fonts_ = nullptr;
    mutable double knownSize_ = 0;  // of the last call
    mutable Micrometres knownLineHeight_ = 1;
    mutable Micrometres knownAscent_ = 0;
};

// Styles live as long as the pool, at fixed addresses.
class StylePool {
public:
    const PooledStyle* intern(const ResolvedStyle& style);

private:
    std::deque<PooledStyle> styles_;
    std::unordered_multimap<std::size_t, const PooledStyle*> byHash_;
};

// Whether a box of this style is visible without content.
inline bool hasVisibleBox(const ResolvedStyle& style) { return style.background || style.border != Border{}; }

// The style with its font, paddings and borders times `factor`.
ResolvedStyle scaledStyle(ResolvedStyle style, double factor);

Micrometres scaledLength(Micrometres length, double factor);

}  // namespace qbsvrl6

#endif
