#include "qbsvrl6/layout/text_layout.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/items/unbroken_spans.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

constexpr std::u16string_view kEllipsis = u"…";
constexpr double kSmallestShare = 1.0 / 3;  // of its size, below which a font does not shrink
constexpr double kSizeStep = 0.05;          // precision of shrunk font sizes, in points

// A number that is wider than its box shrinks to no less than this share of its size and no less than these
// points. A font that is already this small shrinks less.
constexpr double kSmallestNumberShare = 0.6;
constexpr double kSmallestNumberSize = 5;
constexpr double kSmallFontShare = 0.9;
constexpr Micrometres kWidthTolerance = 10;  // so that a rounded width breaks no line

// The box before rotation.
Size unturned(const ResolvedStyle& style, Size box) {
    return isTurned(style) ? Size{box.height, box.width} : box;
}

// Paddings stay at their sides of the box, whichever way the text is turned.
Edges unturnedPadding(const ResolvedStyle& style) {
    const Edges& p = style.padding;
    switch (style.rotation) {
        case 90:
            return {p.top, p.right, p.bottom, p.left};
        case 180:
            return {p.right, p.bottom, p.left, p.top};
        case 270:
            return {p.bottom, p.left, p.top, p.right};
        default:
            return p;
    }
}

Micrometres innerWidth(const ResolvedStyle& style, Size box) {
    const Edges padding = unturnedPadding(style);
    return unturned(style, box).width - padding.left - padding.right;
}

double toEms(Micrometres length, double fontSize) {
    return length * 1000.0 / (fontSize * kMicrometresPerPoint);
}

bool isIdeographic(char16_t unit) { return unit >= 0x2E80; }  // and other scripts without spaces

// Spreads a line over the width: between words, or between all characters if the line contains Chinese, in
// which spaces are rare.
void justify(PlacedLine& line, std::u16string_view text, double ems) {
    if (ems <= 0) return;
    std::size_t first = 0;
    while (first < text.size() && (text[first] == u' ' || text[first] == 0x3000)) ++first;
    text.remove_prefix(first);
    const bool chinese = std::any_of(text.begin(), text.end(), isIdeographic);
    const auto blanks = std::count(text.begin(), text.end(), u' ');
    if (!chinese && blanks > 0) {
        line.wordSpacing = static_cast<float>(ems / static_cast<double>(blanks));
        return;
    }
    if (!chinese) return;
    std::size_t clusters = 0;
    for (const GlyphRun& run : line.line.shaped->runs) clusters += run.glyphs.size();
    if (clusters > 1) line.letterSpacing = static_cast<float>(ems / static_cast<double>(clusters - 1));
}

void align(TextItem& item, const PooledStyle& style, Size box) {
    const Micrometres width = innerWidth(style, box);
    const Micrometres left = unturnedPadding(style).left;
    const std::u16string_view text = item.lineText();
    for (PlacedLine& line : item.lines) {
        line.x = left;
        const Micrometres room = width - line.line.width;
        if (room <= 0) continue;
        switch (style.align) {
            case HorizontalAlign::Left:
                break;
            case HorizontalAlign::Center:
                line.x += room / 2;
                break;
            case HorizontalAlign::Right:
                line.x += room;
                break;
            case HorizontalAlign::Justify:
                if (!line.line.endsParagraph) {
                    justify(line, text.substr(line.line.firstUnit, line.line.unitCount),
                            toEms(room, item.fontSize));
                }
                break;
        }
    }
}

void takeLines(TextItem& item, std::vector<TextLine>&& lines) {
    item.lines.clear();
    item.lines.reserve(lines.size());
    for (TextLine& line : lines) item.lines.push_back({std::move(line), 0, 0, 0, 0});
}

// How many units of the line's text have glyphs that fit into the width.
std::size_t fittingUnits(const TextLine& line, double ems) {
    // Glyphs are in drawing order, which is not the order of text from right to left.
    std::vector<float> advances(line.unitCount, -1.0f);  // negative: part of the previous unit's cluster
    for (const GlyphRun& run : line.shaped->runs) {
        for (const Glyph& glyph : run.glyphs) {
            if (glyph.cluster >= advances.size()) continue;
            float& advance = advances[glyph.cluster];
            advance = std::max(advance, 0.0f) + glyph.advance;
        }
    }
    double width = 0;
    std::size_t fitting = 0;
    for (std::size_t unit = 0; unit < advances.size(); ++unit) {
        if (advances[unit] >= 0) fitting = unit;
        width += std::max(advances[unit], 0.0f);
        if (width > ems) return fitting;
    }
    return advances.size();
}

const TextLine& lineOf(const TextLine& line) { return line; }
const TextLine& lineOf(const PlacedLine& placed) { return placed.line; }

template <typename Line>
Micrometres widest(const std::vector<Line>& lines) {
    Micrometres width = 0;
    for (const Line& line : lines) width = std::max(width, lineOf(line).width);
    return width;
}

bool holdsNumber(std::u16string_view text) { return !NumberFinder(text).next().isEmpty(); }

// The width of the widest line that overflows because of a number; 0 if there is none.
Micrometres overflowingNumber(std::u16string_view text, bool isLone, const std::vector<TextLine>& lines,
                              Micrometres width) {
    Micrometres widest = 0;
    for (const TextLine& line : lines) {
        if (line.width <= std::max(width, widest)) continue;
        if (isLone || holdsNumber(text.substr(line.firstUnit, line.unitCount))) widest = line.width;
    }
    return widest;
}

// Appends as many # as fit the width, at least one.
void appendMask(std::u16string& shown, const PooledStyle& style, double fontSize, Micrometres width) {
    constexpr std::u16string_view kMask = u"#";
    const Micrometres one = std::max(lineWidth(style.fonts(), fontSize, kMask), 1);
    shown.append(static_cast<std::size_t>(std::max(width / one, 1)), kMask.front());
}

// Shows #### in place of the numbers that are wider than the box at this font size.
void mask(TextItem& item, const PooledStyle& style, double fontSize, Micrometres width) {
    item.masked = true;
    item.fontSize = fontSize;
    item.shown.clear();
    const std::u16string_view text = item.text;
    if (isOneValue(item)) {
        appendMask(item.shown, style, fontSize, width);
    } else {
        std::size_t copied = 0;
        NumberFinder numbers(text);
        for (NumberSpan number = numbers.next(); !number.isEmpty(); number = numbers.next()) {
            const std::u16string_view span = text.substr(number.first, number.size());
            if (lineWidth(style.fonts(), fontSize, span) <= width) continue;
            item.shown += text.substr(copied, number.first - copied);
            appendMask(item.shown, style, fontSize, width);
            copied = number.end;
        }
        item.shown += text.substr(copied);
    }
    takeLines(item, breakLines(style.fonts(), fontSize, item.shown, width));
}

// Converts a length in a masked text's `shown` to the length in `text`.
std::size_t unmaskedLength(const TextItem& item, std::size_t length) {
    std::size_t shown = 0;
    std::size_t copied = 0;
    NumberFinder numbers(item.text);
    for (NumberSpan number = numbers.next(); !number.isEmpty(); number = numbers.next()) {
        shown += number.first - copied;
        if (shown >= length) return number.first - (shown - length);
        const std::u16string_view span = std::u16string_view(item.text).substr(number.first, number.size());
        const std::u16string_view there = std::u16string_view(item.shown).substr(shown);
        copied = number.end;
        shown += there.substr(0, span.size()) == span ? span.size()
                                                      : std::min(there.find_first_not_of(u'#'), there.size());
        if (shown >= length) return number.end;
    }
    return copied + (length - shown);
}

double smallestNumberSize(double full) {
    return std::max(full * kSmallestNumberShare, std::min(full * kSmallFontShare, kSmallestNumberSize));
}

// Wraps texts whose numbers stay whole.
class NumberWrapper {
public:
    NumberWrapper(TextItem& item, const PooledStyle& style, Micrometres width)
        : item_(item), style_(style), width_(width) {}

    // A lone value stays on one line, unless it would be too small there and has spaces to break at.
    void wrap() {
        item_.fontSize = style_.fontSize;
        std::vector<TextLine> lines = broken(width_);
        if (lines.size() == 1 && lines.front().width <= width_) return takeLines(item_, std::move(lines));
        isLone_ = isOneValue(item_);
        if (!isLone_) {
            if (takeOrShrink(std::move(lines), width_)) return;
        } else {
            if (takeOrShrink(broken(0), 0)) return;
            if (breaksAtSpaces(item_) && takeOrShrink(std::move(lines), width_)) return;
        }
        mask(item_, style_, smallestNumberSize(style_.fontSize), width_);
    }

private:
    std::vector<TextLine> broken(Micrometres limit) const {
        return breakLines(style_.fonts(), item_.fontSize, item_.text, limit);
    }

    Micrometres overflow(const std::vector<TextLine>& lines) const {
        return overflowingNumber(item_.text, isLone_, lines, width_);
    }

    // Uses these lines, at a smaller size if a number needs it. `limit` is the width that they were broken
    // at. Returns whether all numbers fit.
    bool takeOrShrink(std::vector<TextLine> lines, Micrometres limit) {
        const double full = style_.fontSize;
        item_.fontSize = full;
        if (const Micrometres needed = overflow(lines); needed > 0) {
            item_.fontSize = std::floor(full * width_ / needed / kSizeStep) * kSizeStep;
            if (item_.fontSize < smallestNumberSize(full)) return false;
            lines = broken(limit);
            if (overflow(lines) > 0) return false;
        }
        takeLines(item_, std::move(lines));
        return true;
    }

    TextItem& item_;
    const PooledStyle& style_;
    Micrometres width_;
    bool isLone_ = false;
};

void breakWrapped(TextItem& item, const PooledStyle& style, Micrometres width) {
    NumberWrapper(item, style, width).wrap();
}

// Nearly all texts are a line that fits, whose style does not matter then. Returns whether this one is.
bool takeOnlyLine(TextItem& item, const PooledStyle& style, Micrometres width) {
    if (style.fit == TextFit::Shrink || isTurned(style)) return false;
    std::optional<TextLine> line = onlyLine(style.fonts(), style.fontSize, item.text, width);
    if (!line) return false;
    item.lines.push_back({*std::move(line), 0, 0, 0, 0});
    return true;
}

// The position, at most `fitting`, at which an ellipsis may cut a line: not within a number.
std::size_t cutBeforeNumber(std::u16string_view text, std::size_t fitting) {
    NumberFinder numbers(text);
    for (NumberSpan number = numbers.next(); !number.isEmpty(); number = numbers.next()) {
        if (number.first >= fitting) break;
        if (number.end > fitting) return number.first;
    }
    return fitting;
}

// One line per paragraph. If one is too long, the lines consist of `shown`, where an ellipsis marks the cut.
void breakWithEllipsis(TextItem& item, const PooledStyle& style, Micrometres width) {
    const FontSet& fonts = style.fonts();
    std::vector<TextLine> lines = breakLines(fonts, item.fontSize, item.text, 0);
    const auto tooLong = [width](const TextLine& line) { return line.width > width; };
    if (std::none_of(lines.begin(), lines.end(), tooLong)) {
        takeLines(item, std::move(lines));
        return;
    }
    if (isOneValue(item)) return breakWrapped(item, style, width);
    const double room = toEms(width, item.fontSize) - shape(fonts, kEllipsis)->width;
    std::u16string shown;
    for (const TextLine& line : lines) {
        const std::u16string_view text =
            std::u16string_view(item.text).substr(line.firstUnit, line.unitCount);
        if (tooLong(line)) {
            shown += text.substr(0, cutBeforeNumber(text, fittingUnits(line, room)));
            while (!shown.empty() && shown.back() == u' ') shown.pop_back();
            shown += kEllipsis;
        } else {
            shown += text;
        }
        shown += u'\n';
    }
    shown.pop_back();
    item.shown = std::move(shown);
    takeLines(item, breakLines(fonts, item.fontSize, item.shown, 0));
}

// How many lines fit the height. The first fits if half of it does; the last needs only the height of its
// letters, not the space between lines.
std::size_t fittingLines(const PooledStyle& style, double fontSize, Micrometres height) {
    const auto em = static_cast<Micrometres>(fontSize * kMicrometresPerPoint);
    if (height < em / 2) return 0;
    if (height < em) return 1;
    return 1 + static_cast<std::size_t>((height - em) / style.lineHeight(fontSize));
}

// The usual single line is decided without a division.
bool fitLines(std::size_t lines, const PooledStyle& style, double fontSize, Micrometres height) {
    const auto em = static_cast<Micrometres>(fontSize * kMicrometresPerPoint);
    return lines == 1 ? height >= em / 2 : lines <= fittingLines(style, fontSize, height);
}

bool fitsShrunk(TextItem& item, const PooledStyle& style, Size inner, double fontSize) {
    const bool staysOnLine = item.value.type == ValueType::Number && !breaksAtSpaces(item);
    std::vector<TextLine> lines =
        breakLines(style.fonts(), fontSize, item.text, staysOnLine ? 0 : inner.width);
    const bool fits = lines.size() <= fittingLines(style, fontSize, inner.height) &&
                      std::none_of(lines.begin(), lines.end(),
                                   [&](const TextLine& line) { return line.width > inner.width; });
    item.fontSize = fontSize;
    takeLines(item, std::move(lines));
    return fits;
}

// Ignores paddings above and below that would leave no space.
Size withoutPaddings(Size inner, const Edges& padding) {
    const Micrometres height = inner.height - padding.top - padding.bottom;
    return {inner.width, height > 0 ? height : inner.height};
}

// The largest font size that fits, found to a twentieth of a point.
void breakShrunk(TextItem& item, const PooledStyle& style, Size inner) {
    const double full = style.fontSize;
    if (fitsShrunk(item, style, inner, full)) return;
    double fitting = full * kSmallestShare;
    double tooLarge = full;
    if (!fitsShrunk(item, style, inner, fitting)) {
        const auto tooWide = [&](const PlacedLine& line) { return line.line.width > inner.width; };
        const bool overflows = std::any_of(item.lines.begin(), item.lines.end(), tooWide);
        if (overflows && (isOneValue(item) || holdsNumber(item.text)))
            mask(item, style, fitting, inner.width);
        return;
    }
    while (tooLarge - fitting > kSizeStep) {
        const double middle = (fitting + tooLarge) / 2;
        (fitsShrunk(item, style, inner, middle) ? fitting : tooLarge) = middle;
    }
    fitsShrunk(item, style, inner, fitting);
}

// A text along the height of its box grows until its lines are few enough for the box's width.
void breakTurned(TextItem& item, const PooledStyle& style, Size inner) {
    const std::size_t fitting = std::max<std::size_t>(fittingLines(style, item.fontSize, inner.height), 1);
    const auto broken = [&](Micrometres width) {
        return breakLines(style.fonts(), item.fontSize, item.text, width);
    };
    std::vector<TextLine> lines = broken(inner.width);
    if (lines.size() > fitting) {
        lines = broken(0);
        constexpr Micrometres kStep = 500;
        Micrometres tooShort = inner.width;
        Micrometres enough = widest(lines);
        while (lines.size() <= fitting && enough - tooShort > kStep) {
            const Micrometres middle = tooShort + (enough - tooShort) / 2;
            std::vector<TextLine> shorter = broken(middle);
            if (shorter.size() > fitting) {
                tooShort = middle;
            } else {
                enough = middle;
                lines = std::move(shorter);
            }
        }
    }
    takeLines(item, std::move(lines));
}

// A text that cannot grow any further shrinks like any other.
void fitTurned(TextItem& item, const PooledStyle& style, Size box) {
    const Micrometres width = innerWidth(style, box);
    if (width <= 0 || widest(item.lines) <= width) return;
    if (!isOneValue(item) && !holdsNumber(item.text)) return;
    breakWrapped(item, style, width);
    align(item, style, box);
}

Micrometres checkedHeight(std::int64_t height) {
    if (height > limits::kBandMicrometres) {
        throw EngineError(
            ErrorCode::LimitExceeded,
            "a text is higher than " + std::to_string(limits::kBandMicrometres / 1'000'000) + " metres");
    }
    return static_cast<Micrometres>(height);
}

Micrometres linesHeight(std::size_t lines, const TextItem& item, const PooledStyle& style) {
    return checkedHeight(static_cast<std::int64_t>(lines) * style.lineHeight(item.fontSize));
}

// The height that the box needs for so many lines; 0 if it doesn't grow.
Micrometres neededHeight(std::size_t lines, const TextItem& item, const PooledStyle& style, Size box) {
    if (lines == 0 || style.fit != TextFit::Grow) return 0;
    if (isTurned(style)) {
        return checkedHeight(std::int64_t{placedHeight(item, style)} + style.padding.top +
                             style.padding.bottom);
    }
    const Micrometres height = linesHeight(lines, item, style) + style.padding.top + style.padding.bottom;
    const bool fits = fitLines(lines, style, item.fontSize, box.height);
    return fits ? std::min(height, box.height) : height;
}

}  // namespace

bool isTurned(const ResolvedStyle& style) { return style.rotation == 90 || style.rotation == 270; }

Micrometres breakText(TextItem& item, const PooledStyle& style, Size box) {
    item.fontSize = style.fontSize;
    item.shown.clear();
    item.masked = false;
    item.lines.clear();
    if (item.text.size() > limits::kTextUnits) {
        throw EngineError(ErrorCode::LimitExceeded, "a text has " + std::to_string(item.text.size()) +
                                                        " characters, more than " +
                                                        std::to_string(limits::kTextUnits));
    }
    const Edges padding = unturnedPadding(style);
    const Size turned = unturned(style, box);
    const Size inner{turned.width - padding.left - padding.right, turned.height};
    if (item.text.empty() || inner.width <= 0) return 0;
    if (takeOnlyLine(item, style, inner.width)) {
        align(item, style, box);
        return neededHeight(1, item, style, box);
    }
    switch (style.fit) {
        case TextFit::Grow:
            if (isTurned(style)) {
                breakTurned(item, style, inner);
                break;
            }
            [[fallthrough]];
        case TextFit::Clip:
            breakWrapped(item, style, inner.width);
            break;
        case TextFit::Ellipsis:
            breakWithEllipsis(item, style, inner.width);
            break;
        case TextFit::Shrink:
            breakShrunk(item, style, withoutPaddings(inner, padding));
            break;
    }
    align(item, style, box);
    return neededHeight(item.lines.size(), item, style, box);
}

Micrometres measureText(TextItem& item, const PooledStyle& style, Size box) {
    const Micrometres width = innerWidth(style, box);
    const bool isOneLine = style.fit != TextFit::Shrink && width > 0 && !isTurned(style) &&
                           fitsOneLine(style.fonts(), style.fontSize, item.text, width);
    if (!isOneLine) return breakText(item, style, box);
    item.fontSize = style.fontSize;
    item.shown.clear();
    item.masked = false;
    item.lines.clear();
    return neededHeight(1, item, style, box);
}

Micrometres placedHeight(const TextItem& item, const PooledStyle& style) {
    if (!isTurned(style)) return linesHeight(item.lines.size(), item, style);
    return widest(item.lines);
}

WideNumber widestNumber(const TextItem& item, const PooledStyle& style, Size box) {
    WideNumber result{item.text, 0, innerWidth(style, box)};
    if (isOneValue(item)) {
        result.needed = lineWidth(style.fonts(), style.fontSize, item.text);
        return result;
    }
    NumberFinder numbers(item.text);
    for (NumberSpan number = numbers.next(); !number.isEmpty(); number = numbers.next()) {
        const std::u16string_view span = std::u16string_view(item.text).substr(number.first, number.size());
        const Micrometres width = lineWidth(style.fonts(), style.fontSize, span);
        if (width <= result.needed) continue;
        result.text = span;
        result.needed = width;
    }
    return result;
}

std::size_t placeText(TextItem& item, const PooledStyle& style, Size box) {
    if (item.lines.empty()) return 0;
    if (isTurned(style) && !item.masked && item.shown.empty()) fitTurned(item, style, box);
    const Size turned = unturned(style, box);
    std::size_t fitting = fittingLines(style, item.fontSize, turned.height);
    if (item.lines.size() > fitting && fitting > 0 && !item.masked && isOneValue(item)) {
        mask(item, style, smallestNumberSize(style.fontSize), innerWidth(style, box));
        align(item, style, box);
        fitting = fittingLines(style, item.fontSize, turned.height);
    }
    const std::size_t leftOut = item.lines.size() - std::min(item.lines.size(), fitting);
    item.lines.resize(item.lines.size() - leftOut);
    const Edges padding = unturnedPadding(style);
    const Micrometres lineHeight = style.lineHeight(item.fontSize);
    const Micrometres height = linesHeight(item.lines.size(), item, style);
    const Micrometres room = turned.height - height;
    Micrometres top = padding.top;
    if (room < padding.top + padding.bottom) {
        top = room / 2;  // too little for the paddings: centred
    } else if (style.verticalAlign == VerticalAlign::Middle) {
        top += (room - padding.top - padding.bottom) / 2;
    } else if (style.verticalAlign == VerticalAlign::Bottom) {
        top = room - padding.bottom;
    }
    const Micrometres ascent = style.ascent(item.fontSize);
    for (PlacedLine& line : item.lines) {
        line.baseline = top + ascent;
        top += lineHeight;
    }
    return leftOut;
}

namespace {

// Shortens the text to `length` and returns the rest.
std::u16string divided(std::u16string& text, std::size_t length) {
    std::u16string rest = text.substr(std::min(length, text.size()));
    text.resize(text.size() - rest.size());
    return rest;
}

}  // namespace

Micrometres unbrokenWidth(std::u16string_view text, const PooledStyle& style) {
    Micrometres widestLine = 0;
    Micrometres height = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        widestLine = std::max(widestLine, lineWidth(style.fonts(), style.fontSize, text.substr(0, end)));
        height += style.lineHeight(style.fontSize);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    const Micrometres length = isTurned(style) ? height : widestLine;
    return length + style.padding.left + style.padding.right + kWidthTolerance;
}

Micrometres splitText(TextItem& item, TextItem& rest, const PooledStyle& style, Size box, Micrometres height,
                      bool atLeastOne) {
    const Edges padding = unturnedPadding(style);
    const std::size_t fitting =
        std::max<std::size_t>(fittingLines(style, item.fontSize, height - padding.top), atLeastOne ? 1 : 0);
    rest = {};
    rest.fontSize = item.fontSize;
    rest.color = item.color;
    rest.link = item.link;
    const std::size_t kept = std::min(fitting, item.lines.size());
    if (kept == item.lines.size()) {
        placeText(item, style, {box.width, height});
        return 0;
    }
    item.pageFields.clear();  // they are positions in the undivided text
    // Each part has its span of the text, so that no cell repeats any of it.
    const std::uint32_t cut = item.lines[kept].line.firstUnit;
    if (item.masked) {
        rest.text = divided(item.text, unmaskedLength(item, cut));
        rest.shown = divided(item.shown, cut);
        rest.masked = true;
    } else {
        if (!item.shown.empty()) item.text = std::exchange(item.shown, {});
        rest.text = divided(item.text, cut);
    }
    rest.lines.assign(std::make_move_iterator(item.lines.begin() + static_cast<std::ptrdiff_t>(kept)),
                      std::make_move_iterator(item.lines.end()));
    item.lines.resize(kept);
    for (PlacedLine& line : rest.lines) line.line.firstUnit -= cut;
    placeText(item, style, {box.width, height});
    const Micrometres needed = linesHeight(rest.lines.size(), rest, style) + padding.top + padding.bottom;
    placeText(rest, style, {box.width, std::max(needed, box.height - height)});
    return needed;
}

}  // namespace qbsvrl6
