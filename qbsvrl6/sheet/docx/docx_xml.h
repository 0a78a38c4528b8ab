// The namespaces of the parts of a DOCX document.
#ifndef QBSVR_QBSVRL6_SHEET_DOCX_DOCX_XML_H
#define QBSVR_QBSVRL6_SHEET_DOCX_DOCX_XML_H

#include <string_view>

#include "qbsvrl6/sheet/package/package_xml.h"

namespace qbsvrl6 {

inline constexpr std::string_view kWordNamespace =
    "http://schemas.openxmlformats.org/wordprocessingml/2006/main";
inline constexpr std::string_view kDrawingNamespace = "http://schemas.openxmlformats.org/drawingml/2006/main";
inline constexpr std::string_view kPictureNamespace =
    "http://schemas.openxmlformats.org/drawingml/2006/picture";
inline constexpr std::string_view kWordDrawingNamespace =
    "http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing";

// Opens the root element of a part with texts.
inline XmlWriter& openWordPart(XmlWriter& xml, std::string_view root) {
    return xml.declare()
        .open(root)
        .attribute("xmlns:w", kWordNamespace)
        .attribute("xmlns:r", kRelationNamespace)
        .attribute("xmlns:wp", kWordDrawingNamespace)
        .attribute("xmlns:a", kDrawingNamespace)
        .attribute("xmlns:pic", kPictureNamespace);
}

}  // namespace qbsvrl6

#endif
