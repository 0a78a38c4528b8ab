#include "qbsvrl6/paint/band_painter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace qbsvrl6 {

namespace {

const ResolvedStyle& styleOf(const Item& item) {
    static const ResolvedStyle plain = [] {
        ResolvedStyle style;
        style.padding = {};
        return style;
    }();
    return item.style != nullptr ? *item.style : plain;
}

Rect movedBy(Rect rect, Micrometres x, Micrometres y) {
    rect.x += x;
    rect.y += y;
    return rect;
}

bool holds(const Rect& outer, const Rect& inner) {
    return inner.x >= outer.x && inner.y >= outer.y && inner.right() <= outer.right() &&
           inner.bottom() <= outer.bottom();
}

bool meet(const Rect& a, const Rect& b) {
    return a.x < b.right() && b.x < a.right() && a.y < b.bottom() && b.y < a.bottom();
}

Rect around(const Rect& a, const Rect& b) {
    if (a.width == 0 && a.height == 0) return b;
    const Micrometres x = std::min(a.x, b.x);
    const Micrometres y = std::min(a.y, b.y);
    return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

// Maps the coordinates of an unrotated text onto the page: rotates them clockwise by quarter turns, so that
// the rotated box fills the item's box.
class TurnedBox {
public:
    TurnedBox(const Rect& box, int degrees) : box_(box), turns_(((degrees / 90) % 4 + 4) % 4) {}

    Direction direction() const {
        static constexpr Direction kDirections[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
        return kDirections[turns_];
    }
    Micrometres width() const { return turns_ % 2 == 0 ? box_.width : box_.height; }
    Micrometres height() const { return turns_ % 2 == 0 ? box_.height : box_.width; }
    Point onPage(double x, double y) const {
        switch (turns_) {
            case 1:
                return {box_.right() - y, box_.y + x};
            case 2:
                return {box_.right() - x, box_.bottom() - y};
            case 3:
                return {box_.x + y, box_.bottom() - x};
            default:
                return {box_.x + x, box_.y + y};
        }
    }

private:
    Rect box_;
    int turns_;
};

std::size_t blanksIn(std::u16string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), u' '));
}

double widthOf(const PlacedLine& line, std::u16string_view text, double em) {
    const double spacing = line.wordSpacing * static_cast<double>(blanksIn(text)) +
                           line.letterSpacing * static_cast<double>(text.size());
    return line.line.width + spacing * em / 1000;
}

void paintLines(Canvas& canvas, const TextItem& item, const ResolvedStyle& style, const Rect& box) {
    if (item.lines.empty()) return;
    const TurnedBox turned(box, style.rotation);
    const double em = item.fontSize * kMicrometresPerPoint;
    const double slack = em / 20;  // a text that crosses the edge by less is not clipped
    const Color color = item.color.value_or(style.color);
    const std::u16string_view whole = item.lineText();

    const auto top = [&](const PlacedLine& line) { return line.baseline - 0.88 * em; };
    const auto bottom = [&](const PlacedLine& line) { return line.baseline + 0.12 * em; };
    const auto isOutside = [&](const PlacedLine& line) {
        return top(line) >= turned.height() - slack || bottom(line) <= slack;
    };
    const auto isCut = [&](const PlacedLine& line) {
        return line.x < -slack || line.x + line.line.width > turned.width() + slack || top(line) < -slack ||
               bottom(line) > turned.height() + slack;
    };
    const bool clipped = std::any_of(item.lines.begin(), item.lines.end(), isCut);
    if (clipped) canvas.beginClip(box);
    for (const PlacedLine& line : item.lines) {
        if (line.line.shaped == nullptr || isOutside(line)) continue;
        const std::u16string_view text =
            whole.substr(std::min<std::size_t>(line.line.firstUnit, whole.size()), line.line.unitCount);
        const Direction direction = turned.direction();
        canvas.text({*line.line.shaped, text, turned.onPage(line.x, line.baseline), direction, item.fontSize,
                     color, line.wordSpacing, line.letterSpacing});
        if (style.underline) {
            constexpr double kBelow = 0.12;
            constexpr double kThickness = 0.05;
            canvas.bar(turned.onPage(line.x, line.baseline + kBelow * em), direction, widthOf(line, text, em),
                       kThickness * em, color);
        }
    }
    if (clipped) canvas.endClip();
}

void paintLabel(Canvas& canvas, const Drawing::Label& label, Point origin) {
    const ShapedTextPtr shaped = shape(resolveFont(label.fontFamily, label.bold, false), label.text);
    const double angle = label.rotation * std::numbers::pi / 180;
    Direction direction;
    if (label.rotation != 0) direction = {std::cos(angle), std::sin(angle)};
    double back = 0;
    const double width = static_cast<double>(shaped->width) * label.fontSize * kMicrometresPerPoint / 1000;
    if (label.anchor == Drawing::Label::Anchor::Middle) back = width / 2;
    if (label.anchor == Drawing::Label::Anchor::End) back = width;
    const Point start{origin.x + label.x - back * direction.x, origin.y + label.y - back * direction.y};
    canvas.text({*shaped, label.text, start, direction, label.fontSize, label.color});
}

void paintDrawing(Canvas& canvas, const Drawing& drawing, const Rect& box) {
    const Point origin{static_cast<double>(box.x), static_cast<double>(box.y)};
    for (const auto& element : drawing.elements) {
        if (const auto* path = std::get_if<Drawing::Path>(&element)) {
            canvas.path(*path, origin);
        } else {
            paintLabel(canvas, std::get<Drawing::Label>(element), origin);
        }
    }
}

void paintPicture(Canvas& canvas, const PictureItem& item, const Rect& box) {
    if (item.picture == nullptr) return;
    const Rect placed = movedBy(item.placed, box.x, box.y);
    const bool clipped = !holds(box, placed);
    if (clipped) canvas.beginClip(box);
    canvas.picture(item.picture, placed);
    if (clipped) canvas.endClip();
}

void paintLine(Canvas& canvas, const LineContent& line, const Rect& box) {
    const Point left{static_cast<double>(box.x), static_cast<double>(line.rising ? box.bottom() : box.y)};
    const Point right{static_cast<double>(box.right()),
                      static_cast<double>(line.rising ? box.y : box.bottom())};
    canvas.line(left, right, line);
}

// Whether the item hides what is below it.
bool covers(const Item& item) {
    if (styleOf(item).background) return true;
    if (const auto* box = std::get_if<BoxItem>(&item.content)) return box->box.fill.has_value();
    return std::holds_alternative<PictureItem>(item.content) ||
           std::holds_alternative<DrawingItem>(item.content);
}

bool hasText(const Item& item) {
    return std::holds_alternative<TextItem>(item.content) ||
           std::holds_alternative<DrawingItem>(item.content);
}

void paintItem(Canvas& canvas, const Item& item, const Rect& box) {
    const ResolvedStyle& style = styleOf(item);
    if (style.background) canvas.fill(box, *style.background);
    canvas.border(box, style.border);
    if (const auto* text = std::get_if<TextItem>(&item.content)) {
        if (!text->pending) paintLines(canvas, *text, style, box);
        if (!text->link.empty()) canvas.link(box, text->link);
    } else if (const auto* line = std::get_if<LineItem>(&item.content)) {
        paintLine(canvas, line->line, box);
    } else if (const auto* shape = std::get_if<BoxItem>(&item.content)) {
        canvas.box(box, shape->box);
    } else if (const auto* picture = std::get_if<PictureItem>(&item.content)) {
        paintPicture(canvas, *picture, box);
    } else if (const auto* drawing = std::get_if<DrawingItem>(&item.content)) {
        if (drawing->drawing != nullptr) paintDrawing(canvas, *drawing->drawing, box);
    }
}

}  // namespace

void paintBand(Canvas& canvas, Band&& band, Micrometres x, Micrometres y, std::vector<PendingItem>& pending) {
    if (band.background) canvas.fill({x, y, band.width, band.height}, *band.background);
    // Cells of the grid don't overlap; free controls may, and the later one is painted on top.
    Rect texts;
    for (std::size_t i = 0; i < band.items.size(); ++i) {
        Item& item = band.items[i];
        const Rect box = movedBy(item.box, x, y);
        const bool free = item.column < 0;
        if (free && covers(item) && meet(texts, box)) {
            canvas.nextLayer();
            texts = {};
        }
        if (hasText(item)) texts = around(texts, box);
        canvas.beginItem(i);
        paintItem(canvas, item, box);
        canvas.endItem();
        if (const auto* text = std::get_if<TextItem>(&item.content); text != nullptr && text->pending) {
            pending.push_back({std::move(item), x, y});
        }
    }
}

void paintText(Canvas& canvas, const PendingItem& settled) {
    if (const auto* text = std::get_if<TextItem>(&settled.item.content)) {
        paintLines(canvas, *text, styleOf(settled.item), movedBy(settled.item.box, settled.x, settled.y));
    }
}

void paintWatermark(Canvas& canvas, const Watermark& watermark, Size paper) {
    if (watermark.text.empty() || watermark.fontSize <= 0) return;
    const ShapedTextPtr shaped = shape(resolveFont(u"SimHei", false, false), watermark.text);
    const double em = watermark.fontSize * kMicrometresPerPoint;
    const double half = static_cast<double>(shaped->width) * em / 1000 / 2;
    const double angle = -std::atan2(paper.height, paper.width);
    const Direction direction{std::cos(angle), std::sin(angle)};
    // Centres the letters vertically: the base line is half their height below the middle of the page.
    constexpr double kHalfHeight = 0.36;
    const Point start{paper.width / 2.0 - half * direction.x - kHalfHeight * em * direction.y,
                      paper.height / 2.0 - half * direction.y + kHalfHeight * em * direction.x};
    canvas.text({*shaped, watermark.text, start, direction, watermark.fontSize, watermark.color});
}

}  // namespace qbsvrl6
