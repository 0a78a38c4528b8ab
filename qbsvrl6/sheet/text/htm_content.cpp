#include "qbsvrl6/sheet/text/htm_content.h"

#include <algorithm>
#include <cmath>

#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/fonts/text_language.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell.h"
#include "qbsvrl6/sheet/text/css.h"
#include "qbsvrl6/sheet/text/text_width.h"
#include "qbsvrl6/support/append.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

constexpr int kShareDecimals = 5;  // of a part of a picture

// The attributes of an element whose text, or some of it, runs from right to left: each of its paragraphs has
// the direction of its first letter.
std::string_view directionOf(const Item& item) {
    if (isPending(item)) return " dir=\"auto\"";
    const std::u16string_view text = textOf(item);
    if (!std::holds_alternative<TextItem>(item.content) || !mayRunRightToLeft(text)) return "";
    return std::any_of(text.begin(), text.end(), isHebrew) ? " dir=\"auto\" lang=\"he\""
                                                           : " dir=\"auto\" lang=\"ar\"";
}

// An upper limit for the width of a text: no common text font is wider.
Micrometres widthLimit(double columns, double fontSize) {
    constexpr double kWidestColumn = 0.7;  // em
    return static_cast<Micrometres>(std::min(columns * fontSize * kMicrometresPerPoint * kWidestColumn, 1e9));
}

bool mayBeWider(std::u16string_view text, double fontSize, Micrometres room) {
    const auto mostColumns = 2.0 * static_cast<double>(text.size());
    return widthLimit(mostColumns, fontSize) > room && widthLimit(displayWidth(text), fontSize) > room;
}

// The length of a line in the item's box.
Micrometres lineRoom(const Item& item) {
    if (item.style == nullptr) return item.box.width;
    const Edges& padding = item.style->padding;
    const bool isTurned = item.style->rotation == 90 || item.style->rotation == 270;
    return isTurned ? item.box.height - padding.top - padding.bottom
                    : item.box.width - padding.left - padding.right;
}

// Shrinks a text until each of its numbers fits on one line. Layout has already done so for printed pages,
// but shows #### if the print would be too small to read; on a screen, the reader can zoom in.
void shrinkToNumbers(TextItem& text, const ResolvedStyle& style, Micrometres room,
                     std::span<const NumberSpan> numbers) {
    Micrometres widest = room;
    for (const NumberSpan& number : numbers) {
        const auto span = std::u16string_view(text.text).substr(number.first, number.size());
        if (!mayBeWider(span, text.fontSize, widest)) continue;
        const FontSet& fonts = resolveFont(style.fontFamily, style.bold, style.italic);
        widest = std::max(widest, lineWidth(fonts, text.fontSize, span));
    }
    // Whole tenths of a point, so that the document has few styles.
    if (widest > room) text.fontSize = std::max(std::floor(10 * text.fontSize * room / widest) / 10, 1.0);
}

// Appends a text whose numbers must not be broken.
void appendWithWholeNumbers(std::string& out, std::u16string_view text, std::span<const NumberSpan> numbers) {
    std::size_t done = 0;
    for (const NumberSpan& number : numbers) {
        if (number.size() == 1) continue;
        appendMarkup(out, text.substr(done, number.first - done));
        out += "<span class=\"n\">";
        appendMarkup(out, text.substr(number.first, number.size()));
        out += "</span>";
        done = number.end;
    }
    appendMarkup(out, text.substr(done));
}

}  // namespace

Wrapping settleWrapping(Item& item, bool isPaged, std::vector<NumberSpan>& numbers) {
    auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || text->text.empty()) return Wrapping::None;
    const Micrometres room = lineRoom(item);
    const bool breaksAnyway = item.column < 0 || text->lines.size() > 1;
    const bool isTooWide = mayBeWider(text->text, text->fontSize, room);
    if (!breaksAnyway && !isTooWide) return Wrapping::None;
    findUnbrokenSpans(*text, numbers);
    const bool needsRoom = isTooWide && room > 0 && (text->masked || !isPaged);
    if (needsRoom && !text->pending && item.style != nullptr) {
        shrinkToNumbers(*text, *item.style, room, numbers);
        if (!breaksAnyway && !mayBeWider(text->text, text->fontSize, room)) return Wrapping::None;
    }
    const bool isNumber = numbers.size() == 1 && numbers.front().size() == text->text.size();
    return isNumber ? Wrapping::Forbidden : Wrapping::Any;
}

std::string_view languageAttributes(const Item& item) {
    const std::string_view direction = directionOf(item);
    if (!direction.empty()) return direction;
    switch (item.style == nullptr ? TextLanguage::Unknown : item.style->language) {
        case TextLanguage::Chinese:
            return " lang=\"zh-CN\"";
        case TextLanguage::Japanese:
            return " lang=\"ja\"";
        case TextLanguage::Korean:
            return " lang=\"ko\"";
        case TextLanguage::Unknown:
            break;
    }
    return "";
}

void appendText(std::string& out, const Item& item, Wrapping wrapping, std::span<const NumberSpan> numbers) {
    const auto& text = std::get<TextItem>(item.content);
    const int rotation = item.style == nullptr ? 0 : item.style->rotation;
    const bool isLink = !text.link.empty();
    if (rotation != 0) out += "<span class=\"r" + std::to_string(rotation) + "\">";
    if (isLink) {
        out += "<a href=\"";
        appendMarkup(out, text.link);
        out += "\">";
    }
    if (wrapping == Wrapping::Any) {
        appendWithWholeNumbers(out, text.text, numbers);
    } else {
        appendMarkup(out, text.text);
    }
    if (isLink) out += "</a>";
    if (rotation != 0) out += "</span>";
}

void appendPicture(std::string& out, const PictureItem& item, const Rect& box, bool isFirst) {
    const Picture& picture = *item.picture;
    const Rect& placed = item.placed;
    // Only the part in the box is shown.
    const Rect shown = {std::max(placed.x, 0), std::max(placed.y, 0),
                        std::min(placed.right(), box.width) - std::max(placed.x, 0),
                        std::min(placed.bottom(), box.height) - std::max(placed.y, 0)};
    if (shown.width <= 0 || shown.height <= 0) return;
    XmlWriter svg(out);
    std::string& view = svg.open("svg").beginAttribute("viewBox");
    const auto appendShare = [&view](Micrometres part, Micrometres whole) {
        if (!view.ends_with('"')) view += ' ';
        appendNumber(view, static_cast<double>(part) / whole, kShareDecimals);
    };
    appendShare(shown.x - placed.x, placed.width);
    appendShare(shown.y - placed.y, placed.height);
    appendShare(shown.width, placed.width);
    appendShare(shown.height, placed.height);
    svg.endAttribute();
    svg.attribute("preserveAspectRatio", "none");
    std::string& style = svg.beginAttribute("style");
    style += "width:";
    appendMillimetres(style, shown.width);
    style += ";height:";
    appendMillimetres(style, shown.height);
    style += ";aspect-ratio:";
    appendNumber(style, shown.width, kCssDecimals);
    style += '/';
    appendNumber(style, shown.height, kCssDecimals);
    style += ";margin:";
    appendMillimetres(style, shown.y);
    style += " 0 -1mm ";
    appendMillimetres(style, shown.x);
    svg.endAttribute();
    writeAlternateText(svg, item.alternateText);
    if (isFirst) {
        svg.open("image").attribute("id", "p", picture.id).attribute("width", 1).attribute("height", 1);
        appendDataAddress(svg.attribute("preserveAspectRatio", "none").beginAttribute("href"), picture);
        svg.endAttribute().close();
    } else {
        svg.open("use").attribute("href", "#p", picture.id).close();
    }
    svg.close();
}

}  // namespace qbsvrl6
