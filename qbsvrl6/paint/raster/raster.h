// Images of laid-out pages.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_RASTER_H
#define QBSVR_QBSVRL6_PAINT_RASTER_RASTER_H

#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

struct RasterOptions {
    double resolution = 150;                    // dots per inch; written into the file
    bool allPagesInOne = false;                 // one below the other
    std::shared_ptr<const Picture> background;  // below the bands of each page; may be null
    Watermark watermark;
    std::vector<std::string>* furtherPages = nullptr;  // files of the pages after the first
};

// Sinks whose `output` holds the whole file after finish(). They raise EngineError (LimitExceeded) beyond
// limits::kImagePagePixels and limits::kImageRows.

// A PNG holds one image. Unless it shows all pages, it shows the first, and the files of the other pages are
// appended to `furtherPages`; if that is null, they are left out, with a line in the log.
std::unique_ptr<PageSink> makePngWriter(const RasterOptions& options, Spool& output);

// One image per page, or a single image of all pages.
std::unique_ptr<PageSink> makeTiffWriter(const RasterOptions& options, Spool& output);

}  // namespace qbsvrl6

#endif
