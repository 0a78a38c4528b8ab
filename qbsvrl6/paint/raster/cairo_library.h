// The functions of cairo that are used; it is loaded when an image is first drawn.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_CAIRO_LIBRARY_H
#define QBSVR_QBSVRL6_PAINT_RASTER_CAIRO_LIBRARY_H

#include <cairo.h>

#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

struct Cairo {
    LazyLibrary library{"libcairo.so.2", "libcairo2"};
    QBSVR_LAZY_FUNCTION(library, cairo_arc);
    QBSVR_LAZY_FUNCTION(library, cairo_clip);
    QBSVR_LAZY_FUNCTION(library, cairo_close_path);
    QBSVR_LAZY_FUNCTION(library, cairo_create);
    QBSVR_LAZY_FUNCTION(library, cairo_curve_to);
    QBSVR_LAZY_FUNCTION(library, cairo_destroy);
    QBSVR_LAZY_FUNCTION(library, cairo_fill_preserve);
    QBSVR_LAZY_FUNCTION(library, cairo_get_source);
    QBSVR_LAZY_FUNCTION(library, cairo_get_target);
    QBSVR_LAZY_FUNCTION(library, cairo_image_surface_create);
    QBSVR_LAZY_FUNCTION(library, cairo_image_surface_create_for_data);
    QBSVR_LAZY_FUNCTION(library, cairo_image_surface_get_data);
    QBSVR_LAZY_FUNCTION(library, cairo_image_surface_get_height);
    QBSVR_LAZY_FUNCTION(library, cairo_image_surface_get_stride);
    QBSVR_LAZY_FUNCTION(library, cairo_image_surface_get_width);
    QBSVR_LAZY_FUNCTION(library, cairo_line_to);
    QBSVR_LAZY_FUNCTION(library, cairo_move_to);
    QBSVR_LAZY_FUNCTION(library, cairo_new_path);
    QBSVR_LAZY_FUNCTION(library, cairo_paint);
    QBSVR_LAZY_FUNCTION(library, cairo_pattern_set_extend);
    QBSVR_LAZY_FUNCTION(library, cairo_rectangle);
    QBSVR_LAZY_FUNCTION(library, cairo_rel_line_to);
    QBSVR_LAZY_FUNCTION(library, cairo_restore);
    QBSVR_LAZY_FUNCTION(library, cairo_save);
    QBSVR_LAZY_FUNCTION(library, cairo_scale);
    QBSVR_LAZY_FUNCTION(library, cairo_set_dash);
    QBSVR_LAZY_FUNCTION(library, cairo_set_line_width);
    QBSVR_LAZY_FUNCTION(library, cairo_set_source_rgba);
    QBSVR_LAZY_FUNCTION(library, cairo_set_source_surface);
    QBSVR_LAZY_FUNCTION(library, cairo_status);
    QBSVR_LAZY_FUNCTION(library, cairo_stroke);
    QBSVR_LAZY_FUNCTION(library, cairo_stroke_preserve);
    QBSVR_LAZY_FUNCTION(library, cairo_surface_destroy);
    QBSVR_LAZY_FUNCTION(library, cairo_surface_flush);
    QBSVR_LAZY_FUNCTION(library, cairo_surface_mark_dirty);
    QBSVR_LAZY_FUNCTION(library, cairo_surface_status);
    QBSVR_LAZY_FUNCTION(library, cairo_translate);
};

// Raises EngineError(MissingLibrary) without cairo.
const Cairo& cairoLibrary();

}  // namespace qbsvrl6

#endif
