// Fonts, borders and named styles of a report.
#ifndef QBSVR_QBSVRL6_MODEL_STYLE_H
#define QBSVR_QBSVRL6_MODEL_STYLE_H

#include <cstring>
#include <optional>
#include <string>
#include <type_traits>

#include "qbsvrl6/support/text_language.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

enum class HorizontalAlign { Left, Center, Right, Justify };
enum class VerticalAlign { Top, Middle, Bottom };

// How to fit a text that is larger than its box.
enum class TextFit {
    Grow,      // wraps; the box and its section grow, or the text is cut if the section can't grow
    Clip,      // wraps and is cut at the box
    Ellipsis,  // each paragraph on one line, cut with an ellipsis
    Shrink,    // the font shrinks, down to a third, until the text fits
};

struct BorderLine {
    Micrometres width = 0;  // 0: no line
    Color color;
    bool dashed = false;
    bool operator==(const BorderLine&) const = default;
};

struct Border {
    BorderLine left, top, right, bottom;
    // Compared as one block of memory, for speed: each cell is compared with the row above.
    bool operator==(const Border& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
};
static_assert(std::has_unique_object_representations_v<Border>);

// A style as written. Members that are not set come from the parent style, then from the report's default
// style, then from the built-in defaults.
struct Style {
    std::optional<std::u16string> fontFamily;
    std::optional<TextLanguage> language;
    std::optional<double> fontSize;  // points
    std::optional<bool> bold, italic, underline;
    std::optional<Color> color;
    std::optional<Color> background;
    std::optional<HorizontalAlign> align;
    std::optional<VerticalAlign> verticalAlign;
    std::optional<TextFit> fit;
    std::optional<int> rotation;        // degrees clockwise: 0, 90, 180, 270
    std::optional<double> lineSpacing;  // times the font's own line height
    std::optional<Edges> padding;
    std::optional<BorderLine> borderLeft, borderTop, borderRight, borderBottom;
    bool operator==(const Style&) const = default;
};

struct NamedStyle {
    std::u16string name;
    std::u16string parent;  // empty: none
    Style style;
    bool operator==(const NamedStyle&) const = default;
};

// A style with every value set.
struct ResolvedStyle {
    std::u16string fontFamily = u"SimSun";
    TextLanguage language = TextLanguage::Unknown;  // of ideographs; unknown: from the text or font
    double fontSize = 10.0;
    bool bold = false, italic = false, underline = false;
    Color color;
    std::optional<Color> background;
    HorizontalAlign align = HorizontalAlign::Left;
    VerticalAlign verticalAlign = VerticalAlign::Middle;
    TextFit fit = TextFit::Grow;
    int rotation = 0;
    double lineSpacing = 1.0;
    Edges padding{500, 300, 500, 300};
    Border border;
    bool operator==(const ResolvedStyle&) const = default;
};

// Overwrites `base` with what `over` sets.
void applyStyle(ResolvedStyle& base, const Style& over);
void overlay(Style& base, const Style& over);

}  // namespace qbsvrl6

#endif
