// XMP of a program's own, which a document has besides what it says about itself.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_FURTHER_METADATA_H
#define QBSVR_QBSVRL6_PAINT_PDF_FURTHER_METADATA_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

struct MetadataProperty {
    enum class Kind : std::uint8_t { Text, Bag, Seq, Alt };
    struct Value {
        std::string language, text;  // the language only of alternatives
    };

    std::string space;   // the address of its namespace
    std::string prefix;  // no other namespace has it
    std::string name;    // "ex:Order"
    Kind kind = Kind::Text;
    bool isPredefined = false;  // the archive's standard knows it: it needs no description
    std::vector<Value> values;
};

// Reads a packet of XMP, or the RDF in it. Properties are texts and lists of texts; their descriptions for the
// archive are left out, since the document describes them itself. Raises EngineError for others, and for
// properties that the document has from elsewhere.
std::vector<MetadataProperty> readMetadata(std::string_view xmp);

}  // namespace qbsvrl6

#endif
