#include "qbsvrl6/paint/pdf/pdf_metadata.h"

#include <algorithm>
#include <map>
#include <set>

#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

std::u16string plainText(std::u16string_view text) {
    constexpr std::size_t kMostUnits = 8'000;  // a string of a standard document has 32,767 bytes
    std::u16string plain = toUtf16(toUtf8(text.substr(0, kMostUnits)));  // without lone surrogates
    for (char16_t& unit : plain) {
        if (unit < u' ' || unit == 0x7F) unit = u' ';
        if (unit >= 0xFFFE) unit = 0xFFFD;
    }
    return plain;
}

class Packet {
public:
    explicit Packet(const PdfClaims& claims) : claims_(claims) {
        // The identifier is that of all packets; the character in `begin` shows the encoding.
        out_ = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n";
        xml_.open("x:xmpmeta").attribute("xmlns:x", "adobe:ns:meta/").lineEnd();
        xml_.open("rdf:RDF").attribute("xmlns:rdf", "http://www.w3.org/1999/02/22-rdf-syntax-ns#").lineEnd();
        xml_.open("rdf:Description").attribute("rdf:about", "");
        xml_.attribute("xmlns:dc", "http://purl.org/dc/elements/1.1/");
        xml_.attribute("xmlns:pdf", "http://ns.adobe.com/pdf/1.3/");
        xml_.attribute("xmlns:xmp", "http://ns.adobe.com/xap/1.0/");
        if (isArchive()) xml_.attribute("xmlns:pdfaid", "http://www.aiim.org/pdfa/ns/id/");
        if (claims.accessible) xml_.attribute("xmlns:pdfuaid", kAccessibleSpace);
        xml_.lineEnd();
        if (isArchive()) {
            xml_.element("pdfaid:part", partOf(claims.standard)).lineEnd();
            xml_.element("pdfaid:conformance", std::string(1, levelOf(claims.standard))).lineEnd();
        }
        if (claims.accessible) xml_.element("pdfuaid:part", 1).lineEnd();
        xml_.element("dc:format", "application/pdf").lineEnd();
    }

    void property(std::string_view name, std::u16string_view value) {
        if (!value.empty()) xml_.element(name, value).lineEnd();
    }
    // A text with alternatives by language.
    void alternatives(std::string_view name, std::u16string_view value) {
        if (value.empty()) return;
        xml_.open(name).open("rdf:Alt").open("rdf:li").attribute("xml:lang", "x-default").text(value);
        xml_.close().close().close().lineEnd();
    }
    void list(std::string_view name, std::string_view kind, std::u16string_view value) {
        if (value.empty()) return;
        xml_.open(name).open(kind).element("rdf:li", value).close().close().lineEnd();
    }

    // The properties of Factur-X and ZUGFeRD.
    void invoice(const Attachment& file) {
        xml_.close().lineEnd().open("rdf:Description").attribute("rdf:about", "");
        xml_.attribute("xmlns:fx", kInvoiceSpace).lineEnd();
        property("fx:DocumentFileName", file.name);
        property("fx:DocumentType", u"INVOICE");
        property("fx:Version", u"1.0");
        property("fx:ConformanceLevel", file.invoiceProfile);
    }

    // The document's own prefixes are known already.
    void further(const std::vector<MetadataProperty>& properties) {
        xml_.close().lineEnd().open("rdf:Description").attribute("rdf:about", "");
        std::set<std::string_view> declared = {"dc", "xmp"};
        xml_.attribute("xmlns:dc", "http://purl.org/dc/elements/1.1/");
        xml_.attribute("xmlns:xmp", "http://ns.adobe.com/xap/1.0/");
        for (const MetadataProperty& property : properties) {
            if (declared.insert(property.prefix).second)
                xml_.attribute("xmlns:" + property.prefix, std::string_view(property.space));
        }
        xml_.lineEnd();
        for (const MetadataProperty& property : properties) {
            using Kind = MetadataProperty::Kind;
            if (property.kind == Kind::Text) {
                this->property(property.name, toUtf16(property.values.front().text));
                continue;
            }
            xml_.open(property.name);
            xml_.open(property.kind == Kind::Bag   ? "rdf:Bag"
                      : property.kind == Kind::Seq ? "rdf:Seq"
                                                   : "rdf:Alt");
            for (const MetadataProperty::Value& value : property.values) {
                xml_.open("rdf:li");
                if (!value.language.empty()) xml_.attribute("xml:lang", std::string_view(value.language));
                xml_.text(std::string_view(value.text)).close();
            }
            xml_.close().close().lineEnd();
        }
    }

    // A document for the archive describes the properties that are not its standard's own.
    void extensions() {
        const std::map<std::string_view, std::vector<const MetadataProperty*>> own = ownProperties();
        if (!isArchive() || (claims_.invoice == nullptr && !claims_.accessible && own.empty())) return;
        xml_.close().lineEnd().open("rdf:Description").attribute("rdf:about", "");
        xml_.attribute("xmlns:pdfaExtension", "http://www.aiim.org/pdfa/ns/extension/");
        xml_.attribute("xmlns:pdfaSchema", "http://www.aiim.org/pdfa/ns/schema#");
        xml_.attribute("xmlns:pdfaProperty", "http://www.aiim.org/pdfa/ns/property#").lineEnd();
        xml_.open("pdfaExtension:schemas").open("rdf:Bag");
        if (claims_.invoice != nullptr) {
            extension("Factur-X PDFA Extension Schema", kInvoiceSpace, "fx",
                      {{"DocumentFileName", "Text", "external", "name of the embedded XML invoice file"},
                       {"DocumentType", "Text", "external", "INVOICE"},
                       {"Version", "Text", "external", "version of the XML data"},
                       {"ConformanceLevel", "Text", "external", "conformance level of the XML data"}});
        }
        if (claims_.accessible) {
            extension("PDF/UA identification schema", kAccessibleSpace, "pdfuaid",
                      {{"part", "Integer", "internal", "part of ISO 14289 to which the document conforms"}});
        }
        for (const auto& [space, properties] : own) {
            std::vector<Property> described;
            for (const MetadataProperty* property : properties) {
                const std::string_view name =
                    std::string_view(property->name).substr(property->prefix.size() + 1);
                described.push_back({name, valueType(property->kind), "external", name});
            }
            extension(space, space, properties.front()->prefix, described);
        }
        xml_.close().close().lineEnd();
    }

    std::string finish() {
        xml_.close().lineEnd().close().lineEnd().close().lineEnd();
        return out_ + "<?xpacket end=\"r\"?>";
    }

private:
    static constexpr std::string_view kInvoiceSpace = "urn:factur-x:pdfa:CrossIndustryDocument:invoice:1p0#";
    static constexpr std::string_view kAccessibleSpace = "http://www.aiim.org/pdfua/ns/id/";
    struct Property {
        std::string_view name, type, category, description;
    };

    bool isArchive() const { return claims_.standard != PdfStandard::None; }

    static std::string_view valueType(MetadataProperty::Kind kind) {
        using Kind = MetadataProperty::Kind;
        return kind == Kind::Bag   ? "bag Text"
               : kind == Kind::Seq ? "seq Text"
               : kind == Kind::Alt ? "Lang Alt"
                                   : "Text";
    }

    // Those that no standard describes, by their namespace.
    std::map<std::string_view, std::vector<const MetadataProperty*>> ownProperties() const {
        std::map<std::string_view, std::vector<const MetadataProperty*>> own;
        if (claims_.further == nullptr) return own;
        for (const MetadataProperty& property : *claims_.further) {
            if (!property.isPredefined) own[property.space].push_back(&property);
        }
        return own;
    }

    void extension(std::string_view schema, std::string_view space, std::string_view prefix,
                   const std::vector<Property>& properties) {
        xml_.open("rdf:li").attribute("rdf:parseType", "Resource").lineEnd();
        xml_.element("pdfaSchema:schema", schema).lineEnd();
        xml_.element("pdfaSchema:namespaceURI", space).lineEnd();
        xml_.element("pdfaSchema:prefix", prefix).lineEnd();
        xml_.open("pdfaSchema:property").open("rdf:Seq").lineEnd();
        for (const Property& property : properties) {
            xml_.open("rdf:li").attribute("rdf:parseType", "Resource");
            xml_.element("pdfaProperty:name", property.name).element("pdfaProperty:valueType", property.type);
            xml_.element("pdfaProperty:category", property.category);
            xml_.element("pdfaProperty:description", property.description).close().lineEnd();
        }
        xml_.close().close().close().lineEnd();
    }

    PdfClaims claims_;
    std::string out_;
    XmlWriter xml_{out_};
};

}  // namespace

DocumentInfo plainInfo(const DocumentInfo& info) {
    DocumentInfo plain = info;
    for (std::u16string* text : {&plain.title, &plain.author, &plain.subject, &plain.keywords}) {
        *text = plainText(*text);
    }
    return plain;
}

std::string infoDictionary(const DocumentInfo& info) {
    ByteBuffer out;
    out.append(std::string_view("<<"));
    const auto entry = [&](std::string_view key, std::u16string_view text) {
        if (text.empty()) return;
        out.append(key);
        appendTextString(out, text);
    };
    entry("/Title", info.title);
    entry("/Author", info.author);
    entry("/Subject", info.subject);
    entry("/Keywords", info.keywords);
    entry("/Producer", kPdfProducer);
    if (!info.created.empty())
        out.add(std::string_view("/CreationDate("), std::string_view(pdfDate(info.created)), ')');
    out.append(std::string_view(">>"));
    return std::string(out.view());
}

std::string xmpPacket(const DocumentInfo& info, const PdfClaims& claims) {
    Packet packet(claims);
    packet.alternatives("dc:title", info.title);
    packet.list("dc:creator", "rdf:Seq", info.author);
    packet.alternatives("dc:description", info.subject);
    packet.list("dc:language", "rdf:Bag", info.language);
    packet.property("pdf:Keywords", info.keywords);
    packet.property("pdf:Producer", kPdfProducer);
    packet.property("xmp:CreateDate", info.created);
    if (claims.invoice != nullptr) packet.invoice(*claims.invoice);
    if (claims.further != nullptr && !claims.further->empty()) packet.further(*claims.further);
    packet.extensions();
    return packet.finish();
}

std::string pdfDate(std::u16string_view date) {
    constexpr std::size_t kZone = 19;  // after "2026-03-01T09:30:00"
    std::string out = "D:";
    for (const char16_t unit : date.substr(0, kZone)) {
        if (unit >= u'0' && unit <= u'9') out += static_cast<char>(unit);
    }
    const std::u16string_view zone = date.substr(std::min(kZone, date.size()));
    if (zone.size() < 6) return out + "Z";
    return out + toUtf8(zone.substr(0, 3)) + "'" + toUtf8(zone.substr(4, 2)) + "'";
}

}  // namespace qbsvrl6
