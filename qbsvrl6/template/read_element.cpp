#include "qbsvrl6/template/read_element.h"

#include <limits>
#include <new>

#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/white_space.h"
#include "qbsvrl6/support/xml_attributes.h"
#include "qbsvrl6/template/schema.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

namespace {

// The end of a message about a name that is not one of these.
std::string instead(std::string_view wrong, std::span<const std::string_view> names) {
    std::vector<std::u16string> wide;
    wide.reserve(names.size());
    for (const std::string_view name : names) wide.push_back(toUtf16(name));
    return "; " + suggestion(toUtf16(wrong), std::vector<std::u16string_view>(wide.begin(), wide.end()));
}

// Whether all characters are XML's: no control characters but tab and line ends, no surrogates.
bool isXmlText(std::string_view text) {
    const bool hasControl = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    });
    return !hasControl && text.find("\xEF\xBF\xBE") == std::string_view::npos &&
           text.find("\xEF\xBF\xBF") == std::string_view::npos && isValidUtf8(text);
}

}  // namespace

std::size_t offsetOf(const std::string& text, pugi::xml_node node) {
    const auto offset = static_cast<std::size_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 0));
    if (node.type() == pugi::node_element) return offset - 1;  // the parser gives the position of the name
    return std::min(text.find_first_not_of(" \t\r\n", offset), text.size());
}

std::size_t offsetOfAttribute(const std::string& text, pugi::xml_node node, std::string_view name, int skip) {
    return findAttribute(text, offsetOf(text, node), name, skip);
}

// Without a size, the paper is `own`, turned if the orientation asks for it.
void ReadElement::paper(PageSetup& page, const Size& own) {
    static const PageSetup defaults;
    std::optional<Size> size;
    std::optional<bool> landscape;
    std::optional<Micrometres> width;
    std::optional<Micrometres> height;
    const std::size_t errorsBefore = reading_.errors.size();
    constexpr LengthCodec kPaper{10'000, limits::kPaperMicrometres};
    attribute("size", size, WordCodec<Size>{kPaperSizes});
    attribute("orientation", landscape, WordCodec<bool>{kOrientations});
    attribute("width", width, kPaper);
    attribute("height", height, kPaper);
    attribute("margins", page.margins, defaults.margins, EdgesCodec{});
    if (reading_.errors.size() > errorsBefore) return;
    if (width || height) {
        if (!width || !height) return addError("width and height of the paper stand together");
        if (size || landscape) return addError("a paper with width and height has no size and orientation");
        page.paper = {*width, *height};
    } else {
        page.paper = size.value_or(own);
        const bool isLandscape = page.paper.width > page.paper.height;
        if (landscape && *landscape != isLandscape) std::swap(page.paper.width, page.paper.height);
    }
    const Edges& margins = page.margins;
    const std::int64_t least = kMicrometresPerMillimetre;
    if (std::int64_t{page.paper.width} - margins.left - margins.right < least ||
        std::int64_t{page.paper.height} - margins.top - margins.bottom < least) {
        addError("the margins leave no room on the page");
    }
}

void ReadElement::bytes(const char* name, std::string& value) {
    child(name, [&](ReadElement& element) {
        element.text_ = true;
        try {
            for (const pugi::xml_node part : element.node_.children()) value += part.value();
            value = readBase64(value);
        } catch (const ValueError& error) {
            element.addError(tag(name) + ": " + error.what());
        }
    });
}

void ReadElement::text(const char* name, std::u16string& value) {
    child(name, [&](ReadElement& element) {
        element.text_ = true;
        std::string whole;
        for (const pugi::xml_node part : element.node_.children()) {
            if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata) whole += part.value();
        }
        value = trimmed(toUtf16(whole));
    });
}

// False if the element is no control.
bool ReadElement::readControlContent(pugi::xml_node node, Control& control, bool inCell) {
    bool found = false;
    forEachControlKind([&](std::string_view name, auto&& empty, auto describeContent) {
        if (found || name != node.name()) return;
        found = true;
        using Content = std::decay_t<decltype(empty)>;
        describeNode(node, [&](ReadElement& element) {
            reading_.controls.push_back({offsetOf(reading_.source.text(), node), &control});
            describeControlFrame(element, control, inCell);
            Content content;
            describeContent(element, content);
            control.content = std::move(content);
            describeConditions(element, control);
        });
    });
    return found;
}

void ReadElement::controls(ControlList& list) {
    forEachControlKind([&](const char* name, auto&&, auto) { children_.emplace_back(name); });
    children_.emplace_back(kUsePart);
    for (const pugi::xml_node node : node_.children()) {
        if (std::strcmp(node.name(), kUsePart) == 0) {
            usePart(node, list);
            continue;
        }
        auto control = std::make_unique<Control>();
        if (readControlContent(node, *control, false)) list.items.push_back(std::move(control));
    }
}

// Elements may be nested deeper than calls.
std::uint64_t ReadElement::countElements(pugi::xml_node node) {
    struct Counter : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node& found) override {
            if (found.type() == pugi::node_element) ++count;
            return true;
        }
        std::uint64_t count = 1;
    } counter;
    node.traverse(counter);
    return counter.count;
}

// Messages about the controls of a part give the place where it is used.
void ReadElement::usePart(pugi::xml_node node, ControlList& list) {
    const auto use = std::make_shared<PartUse>();
    describeNode(node, [&](ReadElement& element) {
        describePartUse(element, *use);
        if (reading_.isLibrary) return element.addError("a part of a library uses no other parts");
        const auto found = reading_.parts.find(use->name);
        if (found == reading_.parts.end()) {
            if (use->name.empty()) return;
            return element.addErrorAt("name",
                                      "no part of an included library is named " + quoted(toUtf8(use->name)));
        }
        const Part& part = *found->second;
        try {
            reading_.libraries.countElements(part.elements);
        } catch (const EngineError& error) {
            element.addError(error.what(), error.code());
            throw ReadingEnds();
        }
        use->height = part.height;
        const std::size_t offset = offsetOf(reading_.source.text(), node);
        for (const auto& control : part.controls.items) {
            Control& own = *list.items.emplace_back(control);
            own.box.x += use->x;
            own.box.y += use->y;
            own.part = use;
            placeControls(own, offset);
        }
        for (const std::size_t key : part.textKeys) reading_.texts.push_back({offset, key, reading_.places});
    });
}

// The control and, if it is a sub-report, those in it.
void ReadElement::placeControls(Control& control, std::size_t offset) {
    reading_.controls.push_back({offset, &control});
    auto* const content = std::get_if<SubReportContent>(&control.content);
    if (content == nullptr) return;
    for (Control* const inner : allControls(content->report->definition)) placeControls(*inner, offset);
}

// The rest of a template is unknown without its libraries.
void ReadElement::library(Include& include) {
    include.library = std::make_shared<Library>();
    if (include.href.empty()) return addError("the attribute \"href\" of <Include> is missing or empty");
    try {
        const ReadLibrary& read = reading_.libraries.open(include.href);
        // What a library brings is copied into the one that includes it: a few that include one another often
        // would bring any amount.
        reading_.libraries.countElements(read.library->styles.size() + read.library->files.size() +
                                         read.parts.size());
        include.library = read.library;
        for (const auto& [name, part] : read.parts) reading_.parts.insert_or_assign(name, part);
        return;
    } catch (const TemplateError& failure) {
        reading_.libraryErrors = failure.errors();
    } catch (const EngineError& error) {
        addErrorAt("href",
                   "the library " + quoted(toUtf8(include.href.name)) + " is not read: " + error.what(),
                   error.code());
    }
    throw ReadingEnds();
}

void ReadElement::cell(const char* name, Control& control) {
    child(name, [&](ReadElement& element) {
        const pugi::xml_node first = element.node_.first_child();
        if (!element.node_.first_attribute() && element.readControlContent(first, control, true)) {
            element.children_.emplace_back(first.name());
            if (first.next_sibling()) element.addError(tag(name) + " holds more than one control");
            return;
        }
        reading_.controls.push_back({offsetOf(reading_.source.text(), element.node_), &control});
        describeControlFrame(element, control, true);
        TextContent content;
        describeText(element, content);
        control.content = std::move(content);
        describeConditions(element, control);
    });
}

void ReadElement::nestedReport(const char* name, Owned<Report>& report) {
    report = std::make_unique<Report>();
    std::vector<NotedExpression> own = std::exchange(reading_.innerExpressions, {});
    child(name, [&](ReadElement& element) {
        if (++reading_.reportDepth > limits::kSubReportDepth) {
            element.addError("sub-reports are nested deeper than " + std::to_string(limits::kSubReportDepth),
                             ErrorCode::LimitExceeded);
        }
        const auto places = std::make_shared<TextPlaces>();
        report->definition.places = places;
        TextPlaces* const outerPlaces = std::exchange(reading_.places, places.get());
        std::vector<Reference> outer;
        std::vector<NotedReturn> outerReturns;
        outer.swap(reading_.references);
        outerReturns.swap(reading_.returns);
        for (const NotedExpression& noted : own) reading_.addText(noted.text, TextUse::Report, noted.offset);
        own.swap(reading_.expressions);
        reading_.reports.push_back({&report->definition});
        describeReport(element, report->definition, ReportPlace::SubReport);
        reading_.reports.pop_back();
        outer.swap(reading_.references);
        outerReturns.swap(reading_.returns);
        own.swap(reading_.expressions);
        reading_.places = outerPlaces;
        --reading_.reportDepth;
    });
}

void ReadElement::finish() {
    const auto known = [](const std::vector<std::string_view>& names, const char* name) {
        return std::find(names.begin(), names.end(), std::string_view(name)) != names.end();
    };
    for (pugi::xml_attribute attribute : node_.attributes()) {
        // The parser accepts them, also as "&#11;", but no XML can hold them: they could not be saved.
        if (!isXmlText(attribute.value())) {
            addErrorAt(
                attribute.name(),
                "the attribute " + quoted(attribute.name()) + " has a character that XML does not allow",
                ErrorCode::NotXml);
        }
        if (!known(attributes_, attribute.name())) {
            addErrorAt(attribute.name(), "unknown attribute " + quoted(attribute.name()) + " of " +
                                             tag(node_.name()) + instead(attribute.name(), attributes_));
        }
        if (node_.attribute(attribute.name()) != attribute) {
            reading_.addError(ErrorCode::NotXml,
                              "the attribute " + quoted(attribute.name()) + " is given twice",
                              offsetOfAttribute(reading_.source.text(), node_, attribute.name(), 1));
        }
    }
    for (const pugi::xml_node child : node_.children()) {
        if (child.type() != pugi::node_element) {
            if (!text_) {
                const char* const home =
                    known(attributes_, "text") ? "; write it as the attribute text=\"...\"" : "";
                reading_.addError(ErrorCode::BadTemplate, "unexpected text in " + tag(node_.name()) + home,
                                  offsetOf(reading_.source.text(), child));
            }
        } else if (!known(children_, child.name())) {
            ReadElement(reading_, child)
                .addError("unknown element " + tag(child.name()) + " in " + tag(node_.name()) +
                          instead(child.name(), children_));
        }
    }
}

void ReadElement::checkRoot(const char* wanted) const {
    if (std::strcmp(node_.name(), wanted) == 0) return;
    const bool isLibrary = std::strcmp(node_.name(), kLibraryRoot) == 0;
    addError("the root element is " + tag(node_.name()) + ", not " + tag(wanted) +
             (isLibrary            ? "; templates include a library, which makes no documents"
              : reading_.isLibrary ? "; only libraries are included"
                                   : ""));
    throw ReadingEnds();
}

void ReadElement::wholeReport(ReportDefinition& report) {
    checkRoot("Report");
    readVersion();
    describeReport(*this, report, ReportPlace::Root);
    finish();
}

void ReadElement::wholeLibrary(ReportDefinition& definition, Parts& parts) {
    checkRoot(kLibraryRoot);
    readVersion();
    describeLibrary(*this, definition, parts);
    finish();
}

void ReadElement::readVersion() {
    int version = kTemplateVersion;
    required("version", version, IntegerCodec{0, std::numeric_limits<int>::max()});
    if (version != kTemplateVersion) {
        addErrorAt("version",
                   "unknown version " + std::to_string(version) + "; this engine reads version " +
                       std::to_string(kTemplateVersion),
                   ErrorCode::UnknownVersion);
    }
}

}  // namespace qbsvrl6
