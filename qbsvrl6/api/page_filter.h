// Leaves pages out of a document.
#ifndef QBSVR_QBSVRL6_API_PAGE_FILTER_H
#define QBSVR_QBSVRL6_API_PAGE_FILTER_H

#include <memory>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/model/export_options.h"

namespace qbsvrl6 {

// Passes only the pages of the ranges to `sink`. finish() raises EngineError (NotSupported) if there are
// none.
std::unique_ptr<PageSink> makePageFilter(std::vector<PageRange> ranges, std::unique_ptr<PageSink> sink);

}  // namespace qbsvrl6

#endif
