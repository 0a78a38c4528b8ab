// Handmade bands, for tests and benchmarks of sinks.
#ifndef QBSVR_TESTS_QBSVRL6_PAINT_HANDMADE_H
#define QBSVR_TESTS_QBSVRL6_PAINT_HANDMADE_H

#include <string>
#include <utility>

#include "qbsvrl6/items/page_sink.h"

namespace qbsvrl6::handmade {

inline constexpr Size kPaper{210'000, 297'000};

inline ResolvedStyle style(std::u16string family = u"SimSun", double size = 10) {
    ResolvedStyle made;
    made.fontFamily = std::move(family);
    made.fontSize = size;
    return made;
}

// Lays out the text in the item's box in a simple way: from the top, with the style's alignment and padding.
inline void layOutText(Item& item) {
    const ResolvedStyle& style = *item.style;
    auto& text = std::get<TextItem>(item.content);
    const FontSet& fonts = resolveFont(style.fontFamily, style.bold, style.italic);
    const bool turned = style.rotation % 180 != 0;
    const Micrometres width =
        (turned ? item.box.height : item.box.width) - style.padding.left - style.padding.right;
    const double em = style.fontSize * kMicrometresPerPoint;
    double baseline = style.padding.top + fonts.ascent * em;
    text.fontSize = style.fontSize;
    text.lines.clear();
    for (TextLine& line : breakLines(fonts, style.fontSize, text.lineText(), width)) {
        PlacedLine placed;
        placed.x = style.padding.left;
        if (style.align == HorizontalAlign::Right) placed.x += width - line.width;
        if (style.align == HorizontalAlign::Center) placed.x += (width - line.width) / 2;
        placed.baseline = static_cast<Micrometres>(baseline);
        placed.line = std::move(line);
        text.lines.push_back(std::move(placed));
        baseline += fonts.lineHeight * em;
    }
}

inline Item text(const Rect& box, std::u16string content, const ResolvedStyle& style, int column = -1) {
    Item item;
    item.box = box;
    item.style = &style;
    item.column = item.lastColumn = column;
    TextItem made;
    made.text = std::move(content);
    item.content = std::move(made);
    layOutText(item);
    return item;
}

template <class Content>
Item other(const Rect& box, Content content, const ResolvedStyle* style = nullptr) {
    Item item;
    item.box = box;
    item.style = style;
    item.content = std::move(content);
    return item;
}

inline Band band(Micrometres height) {
    Band made;
    made.width = kPaper.width;
    made.height = height;
    return made;
}

// Settles every pending item to one text.
class SettleTo : public PendingTexts {
public:
    explicit SettleTo(std::u16string text) : text_(std::move(text)) {}
    void settle(Item& item) override {
        auto& made = std::get<TextItem>(item.content);
        made.text = text_;
        made.pending = false;
        layOutText(item);
    }

private:
    std::u16string text_;
};

}  // namespace qbsvrl6::handmade

#endif
