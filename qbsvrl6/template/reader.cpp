#include <pugixml.hpp>

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/source_text.h"
#include "qbsvrl6/template/hidden_controls.h"
#include "qbsvrl6/template/known_templates.h"
#include "qbsvrl6/template/libraries.h"
#include "qbsvrl6/template/read_element.h"
#include "qbsvrl6/template/reading.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

namespace {

// Before the text is parsed, which takes much more memory than it has.
std::uint64_t countElements(std::string_view xml) {
    std::uint64_t count = 0;
    for (std::size_t at = 0; (at = xml.find('<', at)) != std::string_view::npos; ++at) {
        if (at + 1 < xml.size() && xml[at + 1] != '/') ++count;
    }
    return count;
}

// Parses leniently, so that content outside the root is found, and rejects it here.
pugi::xml_node parse(const SourceText& source, Libraries& libraries, pugi::xml_document& document) {
    const std::string& text = source.text();
    try {
        libraries.countElements(countElements(text));
    } catch (const EngineError& error) {
        source.fail(error.code(), error.what(), 0);
    }
    if (const std::size_t null = text.find('\0'); null != std::string::npos) {
        source.fail(ErrorCode::NotXml, "a null character in the text", null);
    }
    constexpr unsigned kOptions = pugi::parse_default | pugi::parse_doctype | pugi::parse_fragment;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), kOptions, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result) {
        source.fail(ErrorCode::NotXml, std::string("not well-formed XML: ") + result.description(),
                    static_cast<std::size_t>(result.offset));
    }
    pugi::xml_node root;
    for (const pugi::xml_node node : document.children()) {
        if (node.type() == pugi::node_doctype) {
            source.fail(ErrorCode::BadTemplate, "document type declarations are not allowed", 0);
        }
        if (node.type() == pugi::node_element && !root) {
            root = node;
        } else {
            source.fail(ErrorCode::NotXml, "more than one root element, or text outside of it",
                        offsetOf(text, node));
        }
    }
    if (!root) source.fail(ErrorCode::NotXml, "not XML: no root element", text.size());
    return root;
}

// `home` is the folder of the template.
ReadLibrary readLibrary(const std::string& bytes, const std::string& path, const std::string& home,
                        Libraries& libraries) {
    const SourceText source(bytes, path);
    pugi::xml_document document;
    const pugi::xml_node root = parse(source, libraries, document);
    ReportDefinition definition;
    ReadLibrary read;
    TextPlaces places;
    Reading reading{source, libraries, directoryOf(path), home};
    reading.places = &places;
    reading.isLibrary = true;
    reading.reports.push_back({&definition});
    try {
        ReadElement(reading, root).wholeLibrary(definition, read.parts);
    } catch (const ReadingEnds&) {
        reading.fail();
    }
    if (!reading.errors.empty()) reading.fail();
    for (auto& [name, part] : reading.parts) read.parts.emplace(name, part);
    auto library = std::make_shared<Library>();
    library->styles = std::move(definition.styles);
    for (const Include& include : definition.includes) overlay(library->font, include.library->font);
    overlay(library->font, definition.font);
    for (auto include = definition.includes.rbegin(); include != definition.includes.rend(); ++include) {
        const Library& inner = *include->library;
        library->styles.insert(library->styles.end(), inner.styles.begin(), inner.styles.end());
        library->files.push_back(include->href);
        library->files.insert(library->files.end(), inner.files.begin(), inner.files.end());
    }
    read.library = std::move(library);
    return read;
}

}  // namespace

ReportDefinition readTemplate(std::string_view bytes, const std::string& origin) {
    KnownTemplates& known = KnownTemplates::ofProcess();
    if (std::optional<ReportDefinition> definition = known.find(bytes, origin)) return *std::move(definition);
    const SourceText source(std::string(bytes), origin);
    const std::string folder = directoryOf(origin);
    const std::string home = folder.empty() && !origin.empty() ? "./" : folder;
    Libraries libraries([&](const std::string& text, const std::string& path) {
        return readLibrary(text, path, home, libraries);
    });
    pugi::xml_document document;
    const pugi::xml_node root = parse(source, libraries, document);
    ReportDefinition definition;
    Reading reading{source, libraries, folder, home};
    reading.reports.push_back({&definition});
    const auto places = std::make_shared<TextPlaces>();
    definition.places = places;
    reading.places = places.get();
    try {
        ReadElement(reading, root).wholeReport(definition);
    } catch (const ReadingEnds&) {
        reading.fail();
    }
    if (!reading.errors.empty()) reading.fail();
    reading.settlePlaces();
    reading.logWarnings();
    const LogSubject subject(origin);
    const bool isQuiet = !warnOfHiddenControls(definition) && reading.warnings.empty();
    inherit(definition);
    if (isQuiet && libraries.isEmpty()) known.add(bytes, origin, definition, libraries.elements());
    return definition;
}

ReportDefinition loadTemplate(const std::string& path) {
    return readTemplate(readFile(path, limits::kTemplateBytes), path);
}

}  // namespace qbsvrl6
