#include "qbsvrl6/paint/pdf/further_metadata.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include <pugixml.hpp>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;
using Kind = MetadataProperty::Kind;

constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view kXml = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kDublinCore = "http://purl.org/dc/elements/1.1/";
constexpr std::string_view kBasic = "http://ns.adobe.com/xap/1.0/";
constexpr std::string_view kRights = "http://ns.adobe.com/xap/1.0/rights/";
constexpr std::string_view kMedia = "http://ns.adobe.com/xap/1.0/mm/";
constexpr std::string_view kDescriptions = "http://www.aiim.org/pdfa/ns/extension/";

// Namespaces whose properties are the document's own, or of pictures.
constexpr std::string_view kRefusedSpaces[] = {
    "http://ns.adobe.com/pdf/1.3/",       "http://www.aiim.org/pdfa/ns/id/",
    "http://www.aiim.org/pdfua/ns/id/",   "urn:factur-x:pdfa:CrossIndustryDocument:invoice:1p0#",
    "http://ns.adobe.com/photoshop/1.0/", "http://ns.adobe.com/tiff/1.0/",
    "http://ns.adobe.com/exif/1.0/",      "adobe:ns:meta/",
};

// The prefixes that packets use themselves.
const std::map<std::string_view, std::string_view> kPrefixes = {
    {kDublinCore, "dc"}, {kBasic, "xmp"}, {kRights, "xmpRights"}, {kMedia, "xmpMM"}};
constexpr std::string_view kTakenPrefixes[] = {
    "x",      "rdf",     "xml", "xmlns",         "pdf",        "dc",          "xmp",
    "pdfaid", "pdfuaid", "fx",  "pdfaExtension", "pdfaSchema", "pdfaProperty"};

// Of the namespaces with a prefix, those that a document does not have from its <Info>.
struct Predefined {
    std::string_view space, name;
    Kind kind;
};
constexpr Predefined kPredefined[] = {
    {kDublinCore, "contributor", Kind::Bag}, {kDublinCore, "coverage", Kind::Text},
    {kDublinCore, "date", Kind::Seq},        {kDublinCore, "identifier", Kind::Text},
    {kDublinCore, "publisher", Kind::Bag},   {kDublinCore, "relation", Kind::Bag},
    {kDublinCore, "rights", Kind::Alt},      {kDublinCore, "source", Kind::Text},
    {kDublinCore, "subject", Kind::Bag},     {kDublinCore, "type", Kind::Bag},
    {kBasic, "BaseURL", Kind::Text},         {kBasic, "Identifier", Kind::Bag},
    {kBasic, "Label", Kind::Text},           {kBasic, "Nickname", Kind::Text},
    {kRights, "Certificate", Kind::Text},    {kRights, "Marked", Kind::Text},
    {kRights, "Owner", Kind::Bag},           {kRights, "UsageTerms", Kind::Alt},
    {kRights, "WebStatement", Kind::Text},   {kMedia, "DocumentID", Kind::Text},
    {kMedia, "InstanceID", Kind::Text},      {kMedia, "VersionID", Kind::Text},
};

[[noreturn]] void fail(const std::string& cause) {
    throw EngineError(ErrorCode::NotSupported, "the metadata can't be added: " + cause);
}

struct Name {
    std::string_view space, prefix, local;
};

// The name of an element or attribute of the node.
Name nameIn(const pugi::xml_node& node, std::string_view text, bool isAttribute) {
    const std::size_t colon = text.find(':');
    Name name{{},
              colon == text.npos ? ""sv : text.substr(0, colon),
              text.substr(colon == text.npos ? 0 : colon + 1)};
    if (name.prefix == "xml"sv) name.space = kXml;
    if (name.prefix.empty() && isAttribute) return name;
    const std::string wanted = name.prefix.empty() ? "xmlns" : "xmlns:" + std::string(name.prefix);
    for (pugi::xml_node at = node; at && name.space.empty(); at = at.parent()) {
        name.space = at.attribute(wanted.c_str()).value();
    }
    return name;
}

Name nameOf(const pugi::xml_node& element) { return nameIn(element, element.name(), false); }

bool isRdf(const pugi::xml_node& element, std::string_view local) {
    const Name name = nameOf(element);
    return name.space == kRdf && name.local == local;
}

pugi::xml_node firstElement(const pugi::xml_node& node) {
    return node.find_child([](const pugi::xml_node& child) { return child.type() == pugi::node_element; });
}

std::string textOf(const pugi::xml_node& element) {
    std::string text;
    for (const pugi::xml_node& child : element) text += child.value();
    return toUtf8(toUtf16(text));
}

bool isPlainName(std::string_view text) {
    const auto isStart = [](char c) { return isLatinLetter(c) || c == '_'; };
    return !text.empty() && isStart(text.front()) && std::all_of(text.begin(), text.end(), [&](char c) {
        return isStart(c) || isDigit(c) || c == '-' || c == '.';
    });
}

class Reader {
public:
    std::vector<MetadataProperty> read(const pugi::xml_node& rdf) {
        for (const pugi::xml_node& description : rdf) {
            if (description.type() != pugi::node_element) continue;
            if (!isRdf(description, "Description")) fail("its RDF has another element than rdf:Description");
            for (const pugi::xml_attribute& attribute : description.attributes()) {
                const Name name = nameIn(description, attribute.name(), true);
                const bool isOfXml = name.prefix.empty() || name.prefix == "xmlns"sv;
                if (isOfXml || name.space == kRdf || name.space == kXml) continue;
                if (MetadataProperty* const property = add(name)) {
                    property->values.push_back({{}, toUtf8(toUtf16(std::string_view(attribute.value())))});
                    check(*property, name.local);
                }
            }
            for (const pugi::xml_node& child : description) {
                if (child.type() == pugi::node_element) readProperty(child);
            }
        }
        return std::move(properties_);
    }

private:
    void readProperty(const pugi::xml_node& element) {
        const Name name = nameOf(element);
        MetadataProperty* const property = add(name);
        if (property == nullptr) return;
        const pugi::xml_node list = firstElement(element);
        if (!list) {
            const pugi::xml_attribute resource = element.attribute("rdf:resource");
            property->values.push_back({{}, resource ? resource.value() : textOf(element)});
            return check(*property, name.local);
        }
        property->kind = isRdf(list, "Bag")   ? Kind::Bag
                         : isRdf(list, "Seq") ? Kind::Seq
                         : isRdf(list, "Alt") ? Kind::Alt
                                              : Kind::Text;
        if (property->kind == Kind::Text)
            fail(property->name + " has parts: only texts and lists of texts are written");
        for (const pugi::xml_node& item : list) {
            if (item.type() != pugi::node_element) continue;
            if (!isRdf(item, "li") || firstElement(item)) {
                fail(property->name + " has a list of other things than texts");
            }
            property->values.push_back({item.attribute("xml:lang").value(), textOf(item)});
        }
        check(*property, name.local);
    }

    // Null: a description of properties.
    MetadataProperty* add(const Name& name) {
        const std::string shown = std::string(name.prefix) + ":" + std::string(name.local);
        if (name.space == kDescriptions) return nullptr;
        if (name.space.empty() || !isPlainName(name.local))
            fail(shown + " has no namespace, or no plain name");
        if (std::find(std::begin(kRefusedSpaces), std::end(kRefusedSpaces), name.space) !=
            std::end(kRefusedSpaces)) {
            fail(shown +
                 " is a property that the document has from its template, or of another kind of file");
        }
        if (!seen_.emplace(name.space, name.local).second) fail(shown + " is there twice");
        MetadataProperty property;
        property.space = toUtf8(toUtf16(name.space));
        property.prefix = prefixFor(name);
        property.name = property.prefix + ":" + std::string(name.local);
        properties_.push_back(std::move(property));
        return &properties_.back();
    }

    std::string prefixFor(const Name& name) {
        if (const auto own = kPrefixes.find(name.space); own != kPrefixes.end())
            return std::string(own->second);
        const auto known = prefixes_.find(name.space);
        if (known != prefixes_.end()) return known->second;
        const auto isTaken = [&](const std::string& prefix) {
            return std::find(std::begin(kTakenPrefixes), std::end(kTakenPrefixes), prefix) !=
                       std::end(kTakenPrefixes) ||
                   prefix.starts_with("xmp") || taken_.contains(prefix);
        };
        std::string prefix = isPlainName(name.prefix) ? std::string(name.prefix) : "ns";
        for (int number = 1; isTaken(prefix); ++number) prefix = "ns" + std::to_string(number);
        taken_.insert(prefix);
        return prefixes_[std::string(name.space)] = prefix;
    }

    // Predefined properties have the kind that their standard gives them.
    static void check(MetadataProperty& property, std::string_view local) {
        if (property.values.empty()) fail(property.name + " is empty");
        if (property.kind == Kind::Alt) {
            for (MetadataProperty::Value& value : property.values) {
                if (value.language.empty()) fail(property.name + " has an alternative without xml:lang");
            }
        }
        if (!kPrefixes.contains(property.space)) return;
        const auto known = std::find_if(
            std::begin(kPredefined), std::end(kPredefined),
            [&](const Predefined& entry) { return entry.space == property.space && entry.name == local; });
        if (known == std::end(kPredefined)) {
            fail(property.name + " comes from <Info>, or is no property that a document may have");
        }
        if (known->kind != property.kind)
            fail(property.name +
                 " is a text, a list or alternatives where its standard has another of these");
        const bool isMarked = local == "Marked"sv;
        const std::string& text = property.values.front().text;
        if (isMarked && text != "True" && text != "False") fail(property.name + " is neither True nor False");
        property.isPredefined = true;
    }

    std::vector<MetadataProperty> properties_;
    std::set<std::pair<std::string_view, std::string_view>> seen_;
    std::map<std::string, std::string, std::less<>> prefixes_;  // by namespace
    std::set<std::string> taken_;
};

}  // namespace

std::vector<MetadataProperty> readMetadata(std::string_view xmp) {
    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(xmp.data(), xmp.size());
    if (!parsed) fail(std::string("its XML is wrong: ") + parsed.description());
    pugi::xml_node rdf = document.document_element();
    if (nameOf(rdf).local == "xmpmeta"sv) rdf = firstElement(rdf);
    if (!isRdf(rdf, "RDF")) fail("it is no XMP: there is no rdf:RDF");
    return Reader().read(rdf);
}

}  // namespace qbsvrl6
