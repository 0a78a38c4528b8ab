#include "qbsvrl6/layout/style_pool.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "qbsvrl6/support/hash.h"

namespace qbsvrl6 {

namespace {

constexpr double kSmallestFont = 0.5;  // points; limits for templates and for shrinking
constexpr double kLargestFont = 2000;

std::size_t hashOf(const ResolvedStyle& style) {
    std::size_t hash = std::hash<std::u16string>()(style.fontFamily);
    const auto mix = [&hash](int value) { mixHash(hash, static_cast<unsigned>(value)); };
    mix(static_cast<int>(style.fontSize * 64));
    mix(static_cast<int>(style.language));
    for (const bool flag : {style.bold, style.italic, style.underline}) mix(flag ? 1 : 0);
    for (const int part : {style.color.red, style.color.green, style.color.blue}) mix(part);
    mix(static_cast<int>(style.align));
    mix(static_cast<int>(style.verticalAlign));
    mix(style.border.left.width);
    mix(style.border.bottom.width);
    mix(style.padding.left);
    return hash;
}

}  // namespace

const FontSet& PooledStyle::fonts() const {
    if (fonts_ == nullptr) fonts_ = &resolveFont(fontFamily, bold, italic, language);
    return *fonts_;
}

Micrometres PooledStyle::lineHeight(double size) const {
    if (size != knownSize_) {
        const double height = fonts().lineHeight * size * kMicrometresPerPoint * lineSpacing;
        knownLineHeight_ = std::max<Micrometres>(1, static_cast<Micrometres>(std::lround(height)));
        const double unit = size * kMicrometresPerPoint;
        const double above = (knownLineHeight_ - (fonts().ascent + fonts().descent) * unit) / 2;
        knownAscent_ = static_cast<Micrometres>(std::lround(above + fonts().ascent * unit));
        knownSize_ = size;
    }
    return knownLineHeight_;
}

const PooledStyle* StylePool::intern(const ResolvedStyle& style) {
    ResolvedStyle sound = style;
    // Written so that NaN becomes the smallest size.
    if (!(sound.fontSize >= kSmallestFont)) sound.fontSize = kSmallestFont;
    sound.fontSize = std::min(sound.fontSize, kLargestFont);
    if (!(sound.lineSpacing >= 0.1)) sound.lineSpacing = 0.1;
    sound.lineSpacing = std::min(sound.lineSpacing, 100.0);
    if (sound.rotation != 90 && sound.rotation != 180 && sound.rotation != 270) sound.rotation = 0;
    const std::size_t hash = hashOf(sound);
    const auto [first, last] = byHash_.equal_range(hash);
    for (auto known = first; known != last; ++known) {
        if (static_cast<const ResolvedStyle&>(*known->second) == sound) return known->second;
    }
    const PooledStyle* const added = &styles_.emplace_back(std::move(sound));
    byHash_.emplace(hash, added);
    return added;
}

Micrometres scaledLength(Micrometres length, double factor) {
    return factor == 1 ? length : static_cast<Micrometres>(std::lround(length * factor));
}

ResolvedStyle scaledStyle(ResolvedStyle style, double factor) {
    if (factor == 1) return style;
    style.fontSize *= factor;
    for (Micrometres* const length :
         {&style.padding.left, &style.padding.top, &style.padding.right, &style.padding.bottom,
          &style.border.left.width, &style.border.top.width, &style.border.right.width,
          &style.border.bottom.width}) {
        *length = scaledLength(*length, factor);
    }
    return style;
}

}  // namespace qbsvrl6
