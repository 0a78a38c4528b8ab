#include "qbsvrl6/sheet/package/package_xml.h"

#include "qbsvrl6/support/append.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

void HexColor::appendTo(std::string& out) const {
    for (const std::uint8_t part : {color.red, color.green, color.blue}) {
        out += kUpperHexDigits[part >> 4];
        out += kUpperHexDigits[part & 0xF];
    }
}

void Rounded::appendTo(std::string& out) const { appendNumber(out, number, 3); }

void PackageRelations::add(std::string_view id, std::string_view type, std::string_view target) {
    XmlWriter xml(elements_);
    xml.open("Relationship").attribute("Id", id);
    if (type.starts_with("http:")) {
        xml.attribute("Type", type);
    } else {
        xml.attribute("Type", kRelationNamespace, "/", type);
    }
    xml.attribute("Target", target).close().lineEnd();
}

void PackageRelations::addLink(std::string_view id, std::u16string_view address) {
    XmlWriter xml(elements_);
    xml.open("Relationship").attribute("Id", id).attribute("Type", kRelationNamespace, "/hyperlink");
    xml.attribute("Target", address).attribute("TargetMode", "External").close().lineEnd();
}

std::string PackageRelations::xml() const {
    std::string part;
    XmlWriter xml(part);
    xml.declare().open("Relationships").attribute("xmlns", kPackageNamespace, "/relationships").lineEnd();
    xml.content() += elements_;
    xml.close().lineEnd();
    return part;
}

std::string coreProperties(const DocumentInfo& info) {
    std::string part;
    XmlWriter xml(part);
    xml.declare().open("cp:coreProperties");
    xml.attribute("xmlns:cp", kPackageNamespace, "/metadata/core-properties");
    xml.attribute("xmlns:dc", "http://purl.org/dc/elements/1.1/").lineEnd();
    const auto add = [&](std::string_view name, const std::u16string& text) {
        if (!text.empty()) xml.element(name, text).lineEnd();
    };
    add("dc:title", info.title);
    add("dc:subject", info.subject);
    add("dc:creator", info.author);
    add("cp:keywords", info.keywords);
    add("dc:language", info.language);
    xml.close().lineEnd();
    return part;
}

}  // namespace qbsvrl6
