// The rows of an XML file: JSON Lines in a temporary file.
#ifndef QBSVR_QBREPORT_BURST_XML_ROWS_H
#define QBSVR_QBREPORT_BURST_XML_ROWS_H

#include <memory>
#include <string>

#include "qbreport/burst/source.h"

namespace qbreport {

struct XmlRows {
    std::shared_ptr<const Source> rows;
    // What makes some of the rows an object of JSON, with commas between them: their table has its name, and
    // the values before the first row are parameters.
    std::string head;
    std::string tail;
    std::string digest;  // of the XML
};

// The rows are the elements that have the key as an attribute or a child, with their siblings of that name.
// Elements that repeat within any row are nested tables in all of them. Memory does not grow with the number
// of rows. Raises Failure.
XmlRows readXmlRows(const Source& source, const std::string& key);

}  // namespace qbreport

#endif
