// The formats of documents, for HTTP.
#ifndef QBSVR_QBREPORT_FORMATS_H
#define QBSVR_QBREPORT_FORMATS_H

#include <string_view>

namespace qbreport {

// "application/pdf"; null for an unknown format.
const char* mediaTypeOf(std::string_view format);

}  // namespace qbreport

#endif
