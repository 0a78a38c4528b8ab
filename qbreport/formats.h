// The formats of documents, for HTTP.
#ifndef QBSVR_QBREPORT_FORMATS_H
#define QBSVR_QBREPORT_FORMATS_H

#include <string>
#include <string_view>

namespace qbreport {

// "application/pdf"; null for an unknown format. Texts are UTF-8 in it.
const char* mediaTypeOf(std::string_view format);

// The same for a document of a known format, without a charset if it is a text in another encoding, which its
// template or an option of the export has chosen.
std::string mediaTypeOf(std::string_view format, std::string_view document);

}  // namespace qbreport

#endif
