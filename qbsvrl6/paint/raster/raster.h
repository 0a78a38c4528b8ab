// Pictures of laid-out pages.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_RASTER_H
#define QBSVR_QBSVRL6_PAINT_RASTER_RASTER_H

#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

struct RasterOptions {
    double resolution = 150;                    // dots an inch; written into the file
    bool allPagesInOne = false;                 // below each other
    std::shared_ptr<const Picture> background;  // behind each page; may be null
    Watermark watermark;
    std::vector<std::string>* furtherPages = nullptr;  // files of the pages behind the first
};

// Sinks whose `output` holds the whole file after finish(). They raise EngineError (LimitExceeded) beyond
// limits::kImagePagePixels and limits::kImageRows.

// A PNG holds one picture. Where all pages in one aren't asked for, it is the first page's, and those of the
// other pages are appended to `furtherPages`; where that is null they are left out, and the log tells it.
std::unique_ptr<PageSink> makePngWriter(const RasterOptions& options, std::string& output);

// A picture a page, or one of all.
std::unique_ptr<PageSink> makeTiffWriter(const RasterOptions& options, std::string& output);

}  // namespace qbsvrl6

#endif
