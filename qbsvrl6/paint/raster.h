// Pictures of laid-out pages.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_H
#define QBSVR_QBSVRL6_PAINT_RASTER_H

#include <memory>
#include <string>

#include "qbsvrl6/layout/items.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

struct RasterOptions {
    double resolution = 150;                    // dots an inch; written into the file
    bool allPagesInOne = false;                 // below each other
    std::shared_ptr<const Picture> background;  // behind each page; may be null
    Watermark watermark;
};

// Sinks whose `output` holds the whole file after finish(). They raise EngineError (LimitExceeded) beyond
// limits::kImagePagePixels and limits::kImageRows.

// A PNG holds one picture: of the first page where all pages in one aren't asked for; that others are left
// out is told in the log.
std::unique_ptr<PageSink> makePngWriter(const RasterOptions& options, std::string& output);

// A picture a page, or one of all.
std::unique_ptr<PageSink> makeTiffWriter(const RasterOptions& options, std::string& output);

}  // namespace qbsvrl6

#endif
