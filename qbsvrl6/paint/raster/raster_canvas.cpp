#include "qbsvrl6/paint/raster/raster_canvas.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <optional>
#include <string>

#include "qbsvrl6/picture/pixels.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kKeptPictureBytes = 64 << 20;

std::uint32_t pixelOf(Color color) {
    return (std::uint32_t{color.red} << 16) | (std::uint32_t{color.green} << 8) | color.blue;
}

// Colours multiplied by their alpha, as in cairo.
cairo_surface_t* toSurface(const Pixels& pixels) {
    const Cairo& lib = cairoLibrary();
    const bool opaque = pixels.alpha.empty();
    cairo_surface_t* surface = lib.cairo_image_surface_create(
        opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, pixels.width, pixels.height);
    const cairo_status_t status = lib.cairo_surface_status(surface);
    if (status != CAIRO_STATUS_SUCCESS) {
        lib.cairo_surface_destroy(surface);
        if (status == CAIRO_STATUS_NO_MEMORY) throw std::bad_alloc();
        throw EngineError(ErrorCode::BadPicture, "the picture is too large to be drawn");
    }
    unsigned char* rows = lib.cairo_image_surface_get_data(surface);
    const auto stride = static_cast<std::size_t>(lib.cairo_image_surface_get_stride(surface));
    const auto width = static_cast<std::size_t>(pixels.width);
    const auto channels = static_cast<std::size_t>(pixels.channels);
    for (std::size_t y = 0; y < static_cast<std::size_t>(pixels.height); ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(rows + y * stride);
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t i = y * width + x;
            const std::uint8_t* color = pixels.color.data() + i * channels;
            const std::uint32_t alpha = opaque ? 255 : pixels.alpha[i];
            const auto part = [&](std::size_t channel) {
                return (color[std::min(channel, channels - 1)] * alpha + 127) / 255;
            };
            row[x] = (alpha << 24) | (part(0) << 16) | (part(1) << 8) | part(2);
        }
    }
    lib.cairo_surface_mark_dirty(surface);
    return surface;
}

// Small pictures are drawn from all of their pixels, which shows their fine lines best.
int reductionOf(const Picture& picture, int width, int height) {
    constexpr std::int64_t kSmall = 4'000'000;
    if (std::int64_t{picture.pixelWidth} * picture.pixelHeight <= kSmall) return 1;
    return std::clamp(std::min(picture.pixelWidth / width, picture.pixelHeight / height), 1, kMostReduction);
}

// Blends `color` over a pixel; a coverage of 255 replaces it. Red, green and blue are computed alike, so that
// grey stays grey.
std::uint32_t blended(std::uint32_t pixel, std::uint32_t color, std::uint32_t coverage) {
    const int a = static_cast<int>(coverage + (coverage >> 7));  // of 256
    const auto part = [&](int shift) {
        const int from = static_cast<int>((pixel >> shift) & 0xFF);
        const int to = static_cast<int>((color >> shift) & 0xFF);
        return static_cast<std::uint32_t>(from + ((to - from) * a >> 8)) << shift;
    };
    return part(16) | part(8) | part(0);
}

}  // namespace

const Cairo& cairoLibrary() {
    static const Cairo library;
    return library;
}

cairo_surface_t* DecodedPictures::find(const Picture& picture, int width, int height) {
    const int reduction = reductionOf(picture, width, height);
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return entry.id == picture.id && entry.reduction == reduction;
    });
    if (found != entries_.end()) {
        entries_.splice(entries_.begin(), entries_, found);
        return entries_.front().surface.get();
    }
    Entry entry;
    entry.id = picture.id;
    entry.reduction = reduction;
    try {
        const Pixels pixels = decodePicture(picture, reduction);
        entry.surface.reset(toSurface(pixels));
        entry.bytes = static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height) * 4;
    } catch (const EngineError& error) {
        if (error.code() != ErrorCode::BadPicture) throw;
        logWarning("the picture " + picture.origin + " is left out: " + error.what());
    }
    bytes_ += entry.bytes;
    entries_.push_front(std::move(entry));
    while (bytes_ > kKeptPictureBytes && entries_.size() > 1) {
        bytes_ -= entries_.back().bytes;
        entries_.pop_back();
    }
    return entries_.front().surface.get();
}

RasterCanvas::RasterCanvas(PixelPage& page, double resolution, DecodedPictures& pictures)
    : page_(page), scale_(resolution / 25'400), pictures_(pictures), clip_{0, 0, page.width, page.height} {
    cairo_surface_t* surface =
        lib_.cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(page.pixels.data()),
                                                 CAIRO_FORMAT_RGB24, page.width, page.height, page.width * 4);
    context_.reset(lib_.cairo_create(surface));
    lib_.cairo_surface_destroy(surface);
    finish();
}

void RasterCanvas::finish() {
    if (lib_.cairo_status(context_.get()) != CAIRO_STATUS_SUCCESS) throw std::bad_alloc();
}

cairo_t* RasterCanvas::cairo() {
    if (weWrote_) lib_.cairo_surface_mark_dirty(lib_.cairo_get_target(context_.get()));
    weWrote_ = false;
    cairoWrote_ = true;
    return context_.get();
}

std::uint32_t* RasterCanvas::ownRow(int y) {
    if (cairoWrote_) lib_.cairo_surface_flush(lib_.cairo_get_target(context_.get()));
    cairoWrote_ = false;
    weWrote_ = true;
    return page_.pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(page_.width);
}

int RasterCanvas::snapped(double micrometres) const {
    constexpr double kFarthest = 1e6;
    const double pixels = toPixels(micrometres);
    if (!(pixels > -kFarthest)) return static_cast<int>(-kFarthest);
    return static_cast<int>(std::lround(std::min(pixels, kFarthest)));
}

RasterCanvas::Area RasterCanvas::areaOf(const Rect& rect) const {
    return {snapped(rect.x), snapped(rect.y), snapped(rect.right()), snapped(rect.bottom())};
}

void RasterCanvas::fillArea(Area area, Color color) {
    area = {std::max(area.left, clip_.left), std::max(area.top, clip_.top), std::min(area.right, clip_.right),
            std::min(area.bottom, clip_.bottom)};
    if (area.left >= area.right) return;
    const std::uint32_t pixel = pixelOf(color);
    for (int y = area.top; y < area.bottom; ++y) {
        std::uint32_t* row = ownRow(y);
        std::fill(row + area.left, row + area.right, pixel);
    }
}

void RasterCanvas::fill(const Rect& rect, Color color) { fillArea(areaOf(rect), color); }

// Horizontal and vertical lines are whole pixels wide, at least one, so that all lines of a table look the
// same.
void RasterCanvas::strokeVertical(double at, double from, double to, double width, Color color) {
    const int pixels = std::max(static_cast<int>(std::lround(std::clamp(toPixels(width), 1.0, 1e6))), 1);
    const int left = snapped(at) - pixels / 2;
    fillArea({left, snapped(from) - pixels / 2, left + pixels, snapped(to) - pixels / 2 + pixels}, color);
}

void RasterCanvas::strokeHorizontal(double at, double from, double to, double width, Color color) {
    const int pixels = std::max(static_cast<int>(std::lround(std::clamp(toPixels(width), 1.0, 1e6))), 1);
    const int top = snapped(at) - pixels / 2;
    fillArea({snapped(from) - pixels / 2, top, snapped(to) - pixels / 2 + pixels, top + pixels}, color);
}

void RasterCanvas::border(const Rect& box, const Border& border) {
    const auto [left, right] = std::minmax({box.x, box.right()});
    const auto [top, bottom] = std::minmax({box.y, box.bottom()});
    const auto isDrawn = [](const BorderLine& line) { return line.width > 0; };
    if (isDrawn(border.left)) strokeVertical(left, top, bottom, border.left.width, border.left.color);
    if (isDrawn(border.top)) strokeHorizontal(top, left, right, border.top.width, border.top.color);
    if (isDrawn(border.right)) strokeVertical(right, top, bottom, border.right.width, border.right.color);
    if (isDrawn(border.bottom))
        strokeHorizontal(bottom, left, right, border.bottom.width, border.bottom.color);
}

void RasterCanvas::setColor(Color color, double opacity) {
    lib_.cairo_set_source_rgba(context_.get(), color.red / 255.0, color.green / 255.0, color.blue / 255.0,
                               opacity);
}

void RasterCanvas::line(Point from, Point to, const LineContent& line) {
    if (line.width <= 0) return;
    cairo_t* cairo = this->cairo();
    const double width = std::max(toPixels(line.width), 1.0);
    if (line.dashed) {
        const double dashes[] = {toPixels(3 * kMicrometresPerPoint), toPixels(2 * kMicrometresPerPoint)};
        lib_.cairo_set_dash(cairo, dashes, 2, 0);
    }
    // A horizontal or vertical line is whole pixels wide.
    const auto place = [&](double at, bool along) {
        if (along) return toPixels(at);
        return std::round(toPixels(at) - width / 2) + std::round(width) / 2;
    };
    const bool vertical = from.x == to.x;
    const bool horizontal = from.y == to.y;
    lib_.cairo_move_to(cairo, place(from.x, !vertical), place(from.y, !horizontal));
    lib_.cairo_line_to(cairo, place(to.x, !vertical), place(to.y, !horizontal));
    setColor(line.color);
    lib_.cairo_set_line_width(cairo, vertical || horizontal ? std::round(width) : width);
    lib_.cairo_stroke(cairo);
    lib_.cairo_set_dash(cairo, nullptr, 0, 0);
}

void RasterCanvas::paintPath(const std::optional<Color>& fill, double opacity,
                             const std::optional<Color>& stroke, double width) {
    cairo_t* cairo = this->cairo();
    if (fill) {
        setColor(*fill, opacity);
        lib_.cairo_fill_preserve(cairo);
    }
    if (stroke && width > 0) {
        setColor(*stroke);
        lib_.cairo_set_line_width(cairo, std::max(toPixels(width), 0.5));
        lib_.cairo_stroke_preserve(cairo);
    }
    lib_.cairo_new_path(cairo);
}

void RasterCanvas::box(const Rect& rect, const BoxContent& box) {
    const std::optional<Color> stroke = box.line.width > 0 ? std::optional(box.line.color) : std::nullopt;
    const Micrometres radius = std::min({box.cornerRadius, rect.width / 2, rect.height / 2});
    if (radius <= 0) {
        if (box.fill) fill(rect, *box.fill);
        if (stroke) {
            strokeHorizontal(rect.y, rect.x, rect.right(), box.line.width, *stroke);
            strokeHorizontal(rect.bottom(), rect.x, rect.right(), box.line.width, *stroke);
            strokeVertical(rect.x, rect.y, rect.bottom(), box.line.width, *stroke);
            strokeVertical(rect.right(), rect.y, rect.bottom(), box.line.width, *stroke);
        }
        return;
    }
    cairo_t* cairo = this->cairo();
    constexpr double kQuarter = 1.5707963267948966;
    const double r = toPixels(radius);
    const double left = toPixels(rect.x), top = toPixels(rect.y);
    const double right = toPixels(rect.right()), bottom = toPixels(rect.bottom());
    lib_.cairo_arc(cairo, right - r, top + r, r, -kQuarter, 0);
    lib_.cairo_arc(cairo, right - r, bottom - r, r, 0, kQuarter);
    lib_.cairo_arc(cairo, left + r, bottom - r, r, kQuarter, 2 * kQuarter);
    lib_.cairo_arc(cairo, left + r, top + r, r, 2 * kQuarter, 3 * kQuarter);
    lib_.cairo_close_path(cairo);
    paintPath(box.fill, 1, stroke, box.line.width);
}

void RasterCanvas::picture(const std::shared_ptr<const Picture>& picture, const Rect& rect) {
    if (rect.width <= 0 || rect.height <= 0) return;
    const Area area = areaOf(rect);
    const int width = std::max(area.right - area.left, 1);
    const int height = std::max(area.bottom - area.top, 1);
    cairo_surface_t* surface = pictures_.find(*picture, width, height);
    if (surface == nullptr) return;
    cairo_t* cairo = this->cairo();
    lib_.cairo_save(cairo);
    lib_.cairo_rectangle(cairo, area.left, area.top, width, height);
    lib_.cairo_clip(cairo);
    lib_.cairo_translate(cairo, area.left, area.top);
    lib_.cairo_scale(cairo, static_cast<double>(width) / lib_.cairo_image_surface_get_width(surface),
                     static_cast<double>(height) / lib_.cairo_image_surface_get_height(surface));
    lib_.cairo_set_source_surface(cairo, surface, 0, 0);
    lib_.cairo_pattern_set_extend(lib_.cairo_get_source(cairo),
                                  CAIRO_EXTEND_PAD);  // no pale seam at the edges
    lib_.cairo_paint(cairo);
    lib_.cairo_restore(cairo);
}

void RasterCanvas::path(const Drawing::Path& path, Point origin) {
    cairo_t* cairo = this->cairo();
    lib_.cairo_new_path(cairo);
    forEachStep(path, [&](char command, const auto& points) {
        const auto at = [&](std::size_t i) {
            return Point{toPixels(origin.x + points[i].x), toPixels(origin.y + points[i].y)};
        };
        if (command == 'Z') {
            lib_.cairo_close_path(cairo);
        } else if (command == 'C') {
            const Point a = at(0), b = at(1), end = at(2);
            lib_.cairo_curve_to(cairo, a.x, a.y, b.x, b.y, end.x, end.y);
        } else if (command == 'M') {
            lib_.cairo_move_to(cairo, at(0).x, at(0).y);
        } else {
            lib_.cairo_line_to(cairo, at(0).x, at(0).y);
        }
    });
    paintPath(path.fill, std::clamp(path.fillOpacity, 0.0, 1.0), path.stroke, path.strokeWidth);
}

void RasterCanvas::bar(Point from, Direction direction, double length, double thickness, Color color) {
    if (direction.isUnrotated()) {
        strokeHorizontal(from.y + thickness / 2, from.x, from.x + length, thickness, color);
        return;
    }
    cairo_t* cairo = this->cairo();
    const Point along{direction.x * length, direction.y * length};
    const Point across{-direction.y * thickness, direction.x * thickness};
    lib_.cairo_move_to(cairo, toPixels(from.x), toPixels(from.y));
    lib_.cairo_rel_line_to(cairo, toPixels(along.x), toPixels(along.y));
    lib_.cairo_rel_line_to(cairo, toPixels(across.x), toPixels(across.y));
    lib_.cairo_rel_line_to(cairo, -toPixels(along.x), -toPixels(along.y));
    lib_.cairo_close_path(cairo);
    paintPath(color, 1, std::nullopt, 0);
}

void RasterCanvas::text(const TextRun& run) {
    const double em = toPixels(run.fontSize * kMicrometresPerPoint);
    if (!(em > 0)) return;
    GlyphStyle style;
    style.pixelsPerEm = em;
    style.directionX = run.direction.x;
    style.directionY = run.direction.y;
    const bool unrotated = run.direction.isUnrotated();
    double x = toPixels(run.origin.x);
    double y = toPixels(run.origin.y);
    if (unrotated) y = std::round(y);
    constexpr double kFarthest = 1e6;
    for (const GlyphRun& part : run.shaped.runs) {
        style.member = &part.member;
        for (const Glyph& glyph : part.glyphs) {
            const double right = glyph.xOffset * em / 1000;
            const double up = glyph.yOffset * em / 1000;
            const double glyphX = x + right * run.direction.x + up * run.direction.y;
            const double glyphY = y + right * run.direction.y - up * run.direction.x;
            if (std::abs(glyphX) < kFarthest && std::abs(glyphY) < kFarthest) {
                const double pixelX = std::floor(glyphX);
                const double pixelY = std::floor(glyphY);
                const GlyphMask& mask = glyphMask(style, glyph.id, glyphX - pixelX, glyphY - pixelY);
                blend(mask, static_cast<int>(pixelX), static_cast<int>(pixelY), run.color);
            }
            const bool blank = glyph.cluster < run.text.size() && run.text[glyph.cluster] == u' ';
            const double advance =
                (glyph.advance + run.letterSpacing + (blank ? run.wordSpacing : 0.0f)) * em / 1000;
            x += advance * run.direction.x;
            y += advance * run.direction.y;
        }
    }
}

void RasterCanvas::blend(const GlyphMask& mask, int x, int y, Color color) {
    const int left = x + mask.left;
    const int top = y - mask.top;
    const int firstColumn = std::max(0, clip_.left - left);
    const int lastColumn = std::min(mask.width, clip_.right - left);
    const int firstRow = std::max(0, clip_.top - top);
    const int lastRow = std::min(mask.height, clip_.bottom - top);
    const std::uint32_t ink = pixelOf(color);
    for (int row = firstRow; row < lastRow; ++row) {
        const std::uint8_t* coverage =
            mask.coverage.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width);
        std::uint32_t* pixels = ownRow(top + row);
        for (int column = firstColumn; column < lastColumn; ++column) {
            const std::uint32_t part = coverage[column];
            if (part != 0) pixels[left + column] = blended(pixels[left + column], ink, part);
        }
    }
}

void RasterCanvas::beginClip(const Rect& rect) {
    const Area area = areaOf(rect);
    clip_ = {std::max(area.left, 0), std::max(area.top, 0), std::min(area.right, page_.width),
             std::min(area.bottom, page_.height)};
    lib_.cairo_save(context_.get());
    lib_.cairo_rectangle(context_.get(), area.left, area.top, area.right - area.left, area.bottom - area.top);
    lib_.cairo_clip(context_.get());
}

void RasterCanvas::endClip() {
    lib_.cairo_restore(context_.get());
    clip_ = {0, 0, page_.width, page_.height};
}

}  // namespace qbsvrl6
