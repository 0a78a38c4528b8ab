// What the XML parts of office packages share.
#ifndef QBSVR_QBSVRL6_SHEET_PACKAGE_PACKAGE_XML_H
#define QBSVR_QBSVRL6_SHEET_PACKAGE_PACKAGE_XML_H

#include <string>
#include <string_view>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/units.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

inline constexpr std::string_view kRelationNamespace =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
inline constexpr std::string_view kPackageNamespace = "http://schemas.openxmlformats.org/package/2006";

// A colour in an attribute value: "1A2B3C".
struct HexColor {
    Color color;
    void appendTo(std::string& out) const;
};

// A number in an attribute value, with at most three decimals.
struct Rounded {
    double number;
    void appendTo(std::string& out) const;
};

// The relations of one part of the package, which name other parts and addresses.
class PackageRelations {
public:
    // `type` is the last part of an office relation type, or a whole type ("http:...").
    void add(std::string_view id, std::string_view type, std::string_view target);
    void addLink(std::string_view id, std::u16string_view address);

    bool isEmpty() const { return elements_.empty(); }
    // The whole part, NAME.rels.
    std::string xml() const;

private:
    std::string elements_;
};

// The part with the properties of a document. It has no times but the one that the report sets: the same
// report gives the same bytes.
std::string coreProperties(const DocumentInfo& info);

}  // namespace qbsvrl6

#endif
