// Draws a page into pixels: glyphs and rectangles here, paths and pictures with cairo.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_RASTER_CANVAS_H
#define QBSVR_QBSVRL6_PAINT_RASTER_RASTER_CANVAS_H

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "qbsvrl6/paint/canvas.h"
#include "qbsvrl6/paint/raster/cairo_library.h"
#include "qbsvrl6/paint/raster/glyph_masks.h"

namespace qbsvrl6 {

// Rows from the top; a pixel is 0x00RRGGBB.
struct PixelPage {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
};

// A cache of decoded pictures.
class DecodedPictures {
public:
    // With at least as many pixels as are asked for, as far as the picture has them. Null if it can't be
    // read, which is logged once. Valid until the next call.
    cairo_surface_t* find(const Picture& picture, int width, int height);

private:
    struct SurfaceDeleter {
        void operator()(cairo_surface_t* surface) const { cairoLibrary().cairo_surface_destroy(surface); }
    };
    struct Entry {
        std::uint64_t id = 0;
        int reduction = 1;
        std::unique_ptr<cairo_surface_t, SurfaceDeleter> surface;
        std::size_t bytes = 0;
    };

    std::list<Entry> entries_;  // the latest first
    std::size_t bytes_ = 0;
};

class RasterCanvas : public Canvas {
public:
    // Draws on `page`, which already has its pixels.
    RasterCanvas(PixelPage& page, double resolution, DecodedPictures& pictures);

    // Raises std::bad_alloc if memory ran out while drawing: cairo continues without it.
    void finish();

    void fill(const Rect& rect, Color color) override;
    void border(const Rect& box, const Border& border) override;
    void line(Point from, Point to, const LineContent& line) override;
    void box(const Rect& rect, const BoxContent& box) override;
    void picture(const std::shared_ptr<const Picture>& picture, const Rect& rect) override;
    void path(const Drawing::Path& path, Point origin) override;
    void text(const TextRun& run) override;
    void bar(Point from, Direction direction, double length, double thickness, Color color) override;
    void link(const Rect&, std::u16string_view) override {}
    void beginClip(const Rect& rect) override;
    void endClip() override;
    void nextLayer() override {}

private:
    struct Area {  // in whole pixels; right and bottom are exclusive
        int left = 0, top = 0, right = 0, bottom = 0;
    };
    struct ContextDeleter {
        void operator()(cairo_t* context) const { cairoLibrary().cairo_destroy(context); }
    };

    // cairo must be notified of pixels that are written without it, so both kinds of access go through these.
    cairo_t* cairo();
    std::uint32_t* ownRow(int y);

    double toPixels(double micrometres) const { return micrometres * scale_; }
    int snapped(double micrometres) const;
    Area areaOf(const Rect& rect) const;
    void fillArea(Area area, Color color);
    void strokeVertical(double at, double from, double to, double width, Color color);
    void strokeHorizontal(double at, double from, double to, double width, Color color);
    void setColor(Color color, double opacity = 1);
    void paintPath(const std::optional<Color>& fill, double opacity, const std::optional<Color>& stroke,
                   double width);
    void blend(const GlyphMask& mask, int x, int y, Color color);

    const Cairo& lib_ = cairoLibrary();
    PixelPage& page_;
    double scale_;  // pixels per micrometre
    DecodedPictures& pictures_;
    std::unique_ptr<cairo_t, ContextDeleter> context_;
    bool cairoWrote_ = false, weWrote_ = false;
    Area clip_;
};

}  // namespace qbsvrl6

#endif
