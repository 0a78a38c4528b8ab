// The surface that pages are drawn on. Coordinates are micrometres on the paper; y grows downwards.
#ifndef QBSVR_QBSVRL6_PAINT_CANVAS_H
#define QBSVR_QBSVRL6_PAINT_CANVAS_H

#include <cstddef>
#include <memory>
#include <string_view>

#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

struct Point {
    double x = 0;
    double y = 0;
};

// The direction in which a text runs; (1, 0) is to the right, (0, 1) downwards.
struct Direction {
    double x = 1;
    double y = 0;
    bool isUnrotated() const { return x == 1 && y == 0; }
};

struct TextRun {
    const ShapedText& shaped;
    std::u16string_view text;  // the clusters of the glyphs are indices into it
    Point origin;              // of the base line's start
    Direction direction;
    double fontSize = 10;  // points
    Color color;
    float wordSpacing = 0;    // 1/1000 em added at each space
    float letterSpacing = 0;  // 1/1000 em added after each character
};

class Canvas {
public:
    virtual ~Canvas() = default;

    virtual void fill(const Rect& rect, Color color) = 0;
    // The lines of a border are centred on the sides of the box.
    virtual void border(const Rect& box, const Border& border) = 0;
    virtual void line(Point from, Point to, const LineContent& line) = 0;
    virtual void box(const Rect& rect, const BoxContent& box) = 0;
    virtual void picture(const std::shared_ptr<const Picture>& picture, const Rect& rect) = 0;
    // `origin` is the position of the path's (0, 0).
    virtual void path(const Drawing::Path& path, Point origin) = 0;
    virtual void text(const TextRun& run) = 0;
    // The underline of a text: a bar along the direction.
    virtual void bar(Point from, Direction direction, double length, double thickness, Color color) = 0;
    // An area of the page that opens an address.
    virtual void link(const Rect& rect, std::u16string_view address) = 0;

    // Drawing between the two calls is visible inside the rectangle only. Clips are not nested.
    virtual void beginClip(const Rect& rect) = 0;
    virtual void endClip() = 0;

    // Drawing between the two calls is of the band's item with this index.
    virtual void beginItem(std::size_t) {}
    virtual void endItem() {}

    // All further drawing is painted on top of the drawing so far. Within a layer, a canvas may draw shapes
    // before texts, whatever the order of the calls.
    virtual void nextLayer() = 0;
};

}  // namespace qbsvrl6

#endif
