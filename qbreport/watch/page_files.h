// The files of the page in the browser, which are built into the program.
#ifndef QBSVR_QBREPORT_WATCH_PAGE_FILES_H
#define QBSVR_QBREPORT_WATCH_PAGE_FILES_H

#include <span>
#include <string_view>

namespace qbreport {

struct PageFile {
    std::string_view path;  // "/watch.js"
    const char* type;
    std::string_view content;
};

std::span<const PageFile> pageFiles();

}  // namespace qbreport

#endif
