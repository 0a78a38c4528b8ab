// Printing through the system's print service.
#ifndef QBSVR_QBSVRL6_API_PRINTING_H
#define QBSVR_QBSVRL6_API_PRINTING_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Sends a PDF document to the printer of this name; an empty name means the default printer. Returns the name
// of the printer. Raises EngineError if there is no print service or no such printer, or if the document is
// rejected.
std::string printDocument(const std::string& printer, const std::string& title, std::string_view pdf);

}  // namespace qbsvrl6

#endif
