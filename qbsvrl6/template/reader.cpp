#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <unordered_set>

#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/source_text.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"
#include "qbsvrl6/support/xml_attributes.h"
#include "qbsvrl6/template/hidden_controls.h"
#include "qbsvrl6/template/known_templates.h"
#include "qbsvrl6/template/libraries.h"
#include "qbsvrl6/template/reading.h"
#include "qbsvrl6/template/reference_checks.h"
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

constexpr const char* kBlanks = " \t\r\n";

// Where an element's tag or a text begins.
std::size_t offsetOf(const std::string& text, pugi::xml_node node) {
    const auto offset = static_cast<std::size_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 0));
    if (node.type() == pugi::node_element) return offset - 1;  // the parser gives the position of the name
    return std::min(text.find_first_not_of(kBlanks, offset), text.size());
}

std::size_t offsetOfAttribute(const std::string& text, pugi::xml_node node, std::string_view name,
                              int skip = 0) {
    return findAttribute(text, offsetOf(text, node), name, skip);
}

const std::u16string& nameOf(const NamedStyle& item) { return item.name; }
const std::u16string& nameOf(const Parameter& item) { return item.name; }
const std::u16string& nameOf(const Field& item) { return item.name; }
const std::u16string& nameOf(const NamedPage& item) { return item.name; }

template <class T>
T& made(T& item) {
    return item;
}
template <class T>
T& made(Owned<T>& item) {
    item = std::make_unique<T>();
    return *item;
}

// One element being read. What the describe functions ask for is noted; finish() rejects everything else.
class ReadElement {
public:
    ReadElement(Reading& reading, pugi::xml_node node) : reading_(reading), node_(node) {}

    template <class T, class Codec>
    void attribute(const char* name, T& value, const T&, const Codec& codec) {
        if (const pugi::xml_attribute found = take(name)) decode(found, value, codec);
    }

    template <class T, class Codec>
    void attribute(const char* name, std::optional<T>& value, const Codec& codec) {
        if (const pugi::xml_attribute found = take(name)) decode(found, value, codec);
    }

    template <class T, class Codec>
    void required(const char* name, T& value, const Codec& codec) {
        const pugi::xml_attribute found = take(name);
        if (!found || *found.value() == '\0') {
            addError("the attribute " + quoted(name) + " of " + tag(node_.name()) + " is missing or empty");
        } else {
            decode(found, value, codec);
        }
    }

    void address(const char* name, Address& value) {
        placedText(name, value.name, TextUse::Address);
        value.folder = reading_.folder;
        value.namedBy = NamedBy::Template;
        value.home = reading_.home;
    }
    void connection(const char* name, Address& value, TextUse) { address(name, value); }
    void query(const char* name, Address& value) { address(name, value); }
    void queryText(const char* name, Address& value) {
        const pugi::xml_node found = node_.child(name);
        std::u16string inner;
        text(name, inner);
        if (inner.empty()) return;
        if (!value.empty()) return ReadElement(reading_, found).addError("a query is given twice");
        reading_.addText(inner, TextUse::Address, offsetOf(reading_.source.text(), found));
        value.name = std::move(inner);
    }
    void startingFolder(const char* name, Address& value, const std::u16string&) { address(name, value); }

    void styleReference(const char* name, std::u16string& value) {
        reference(name, Reference::To::Style, value);
    }
    void columnReference(const char* name, std::u16string& value) {
        reference(name, Reference::To::Column, value);
    }

    void pageReference(const char* name, std::u16string& value) {
        reference(name, Reference::To::Page, value);
    }

    void tableName(const char* name, std::u16string& value, TextUse use) { placedText(name, value, use); }
    void returnName(const char* name, std::u16string& value) {
        required(name, value, TextCodec{});
        const std::size_t offset = offsetOfAttribute(reading_.source.text(), node_, name);
        reading_.returns.push_back({value, offset});
        reading_.addText(value, TextUse::Return, offset);
    }
    // Page headers and footers have no row that a value could belong to.
    template <class Describe>
    void withoutReturns(Describe&& describe) {
        const std::size_t before = reading_.returns.size();
        describe();
        for (std::size_t i = before; i < reading_.returns.size(); ++i) {
            reading_.addError(
                ErrorCode::BadTemplate,
                reading_.isLibrary
                    ? "<Return> has no place in a part, which many reports may use"
                    : "<Return> has no place in a page header or footer, which belongs to no row",
                reading_.returns[i].offset);
        }
    }
    void innerExpression(const char* name, std::u16string& value) {
        std::vector<NotedExpression>& noted = reading_.expressions;
        const std::size_t before = noted.size();
        required(name, value, ExpressionCodec{.mayBeBlank = false});
        if (noted.size() == before) return;
        noted.back().kind = NotedExpression::Kind::Return;
        reading_.innerExpressions.push_back(std::move(noted.back()));
        noted.pop_back();
    }
    void placedName(const char* name, std::u16string& value) { placedText(name, value, TextUse::Address); }

    void borders(std::optional<BorderLine>& left, std::optional<BorderLine>& top,
                 std::optional<BorderLine>& right, std::optional<BorderLine>& bottom) {
        attribute("border", left, BorderLineCodec{});
        if (left) top = right = bottom = left;
        attribute("borderLeft", left, BorderLineCodec{});
        attribute("borderTop", top, BorderLineCodec{});
        attribute("borderRight", right, BorderLineCodec{});
        attribute("borderBottom", bottom, BorderLineCodec{});
    }

    void paper(PageSetup& page, const Size& own = PageSetup().paper);

    template <class Describe>
    void child(const char* name, Describe&& describe) {
        if (const pugi::xml_node found = takeOnly(name)) describeNode(found, describe);
    }

    // The only child of this name that does not have the attribute. A list has the others.
    template <class Describe>
    void childWithout(const char* name, const char* attribute, Describe&& describe) {
        pugi::xml_node own;
        for (const pugi::xml_node found : node_.children(name)) {
            if (found.attribute(attribute)) continue;
            if (own) ReadElement(reading_, found).addSecond();
            if (!own) own = found;
        }
        if (own) describeNode(own, describe);
    }

    template <class T, class Describe>
    void pointer(const char* name, Owned<T>& value, Describe&& describe) {
        child(name, [&](ReadElement& element) { describe(element, made(value)); });
    }

    // One of several elements for the same object.
    template <class T, class Describe>
    void pointerIf(bool, const char* name, Owned<T>& value, Describe&& describe) {
        child(name, [&](ReadElement& element) {
            if (value) return element.addError("a report has one grid");
            describe(element, made(value));
        });
    }

    // Columns with unique names, and titles over them.
    template <class DescribeColumn, class DescribeSpan>
    void columnTree(const char* columnName, const char* spanName, std::vector<Owned<Column>>& columns,
                    DescribeColumn&& describeColumn, DescribeSpan&& describeSpan) {
        ColumnTree tree{columnName, spanName, columns, {}, {}};
        readColumns(tree, describeColumn, describeSpan);
    }

    template <class T, class Describe>
    void list(const char* name, std::vector<T>& values, Describe&& describe) {
        listOf(
            name, values, [](const ReadElement&) { return true; }, describe);
    }

    // Only those children that the predicate accepts.
    template <class T, class IsOfKind, class Describe>
    void listOf(const char* name, std::vector<T>& values, IsOfKind&& isOfKind, Describe&& describe) {
        children_.push_back(name);
        for (const pugi::xml_node found : node_.children(name)) {
            if (!isOfKind(ReadElement(reading_, found))) continue;
            T& item = values.emplace_back();
            describeNode(found, [&](ReadElement& element) { describe(element, made(item)); });
        }
    }

    // A list of items with unique names.
    template <class T, class Describe>
    void namedList(const char* name, std::vector<T>& values, std::size_t most, Describe&& describe) {
        std::unordered_set<std::u16string> names;
        const auto isOfList = [](const ReadElement& element) {
            return !std::is_same_v<T, NamedPage> || element.node_.attribute("name");
        };
        listOf(name, values, isOfList, [&](ReadElement& element, auto& value) {
            describe(element, value);
            const std::u16string& itemName = nameOf(values.back());
            if (!itemName.empty() && !names.insert(itemName).second) {
                element.addErrorAt("name", "another " + tag(name) + " is named " + quoted(toUtf8(itemName)));
            }
            if (values.size() > most) {
                element.addError("more than " + std::to_string(most) + " " + tag(name),
                                 ErrorCode::LimitExceeded);
            }
        });
    }

    // The parts of a library, by their names.
    template <class Describe>
    void partList(const char* name, Parts& parts, Describe&& describe) {
        children_.push_back(name);
        for (const pugi::xml_node found : node_.children(name)) {
            const auto part = std::make_shared<Part>();
            const std::size_t firstText = reading_.texts.size();
            describeNode(found, [&](ReadElement& element) {
                describe(element, *part);
                if (part->controls.items.empty()) element.addError("a <Part> has a control");
            });
            for (std::size_t i = firstText; i < reading_.texts.size(); ++i)
                part->textKeys.push_back(reading_.texts[i].key);
            part->elements = countElements(found);
            if (!part->name.empty() && !parts.emplace(part->name, part).second) {
                ReadElement(reading_, found)
                    .addErrorAt("name", "another <Part> is named " + quoted(toUtf8(part->name)));
            }
        }
    }
    void library(Include& include);

    bool hasAny(std::span<const char* const> attributes) const {
        return std::any_of(attributes.begin(), attributes.end(),
                           [this](const char* name) { return node_.attribute(name); });
    }
    void refuse(bool wrong, const char* message) const {
        if (wrong) addError(message);
    }

    void bytes(const char* name, std::string& value);
    // A text without the white space around it.
    void text(const char* name, std::u16string& value);
    // Rejects children that only the outermost report may have.
    void refuseChildren(std::initializer_list<const char*> names, const char* why) {
        for (const char* const name : names) {
            children_.push_back(name);
            if (const pugi::xml_node found = node_.child(name)) {
                ReadElement(reading_, found).addError(tag(name) + " has no place in a sub-report: " + why);
            }
        }
    }
    void controls(ControlList& list);
    void cell(const char* name, Control& control);
    void nestedReport(const char* name, Owned<Report>& report);
    void checkReferences(const ReportDefinition& report) { qbsvrl6::checkReferences(reading_, report); }

    // Rejects attributes, elements and text that nothing has asked for.
    void finish();

    void readVersion();
    void checkRoot(const char* wanted) {
        if (std::strcmp(node_.name(), wanted) == 0) return;
        const bool isLibrary = std::strcmp(node_.name(), kLibraryRoot) == 0;
        addError("the root element is " + tag(node_.name()) + ", not " + tag(wanted) +
                 (isLibrary            ? "; templates include a library, which makes no documents"
                  : reading_.isLibrary ? "; only libraries are included"
                                       : ""));
        throw ReadingEnds();
    }
    void addError(const std::string& message, ErrorCode code = ErrorCode::BadTemplate) const {
        reading_.addError(code, message, offsetOf(reading_.source.text(), node_));
    }
    void addErrorAt(const char* name, const std::string& message,
                    ErrorCode code = ErrorCode::BadTemplate) const {
        reading_.addError(code, message, offsetOfAttribute(reading_.source.text(), node_, name));
    }

private:
    struct ColumnTree {
        const char *columnName, *spanName;
        std::vector<Owned<Column>>& columns;
        std::unordered_set<std::u16string> names;
        std::vector<std::shared_ptr<const TitleSpan>> spans;  // around the next column
    };

    template <class DescribeColumn, class DescribeSpan>
    void readColumns(ColumnTree& tree, DescribeColumn& describeColumn, DescribeSpan& describeSpan) {
        children_.emplace_back(tree.columnName);
        children_.emplace_back(tree.spanName);
        for (const pugi::xml_node found : node_.children()) {
            if (std::strcmp(found.name(), tree.columnName) == 0) {
                describeNode(found, [&](ReadElement& element) {
                    Column& column = made(tree.columns.emplace_back());
                    describeColumn(element, column);
                    column.titleSpans = tree.spans;
                    element.checkColumn(tree);
                });
            } else if (std::strcmp(found.name(), tree.spanName) == 0) {
                const auto span = std::make_shared<TitleSpan>();
                const std::size_t before = tree.columns.size();
                tree.spans.push_back(span);
                describeNode(found, [&](ReadElement& element) {
                    if (tree.spans.size() > limits::kTitleLevels) {
                        element.addError("more than " + std::to_string(limits::kTitleLevels) +
                                             " <Span> within one another",
                                         ErrorCode::LimitExceeded);
                    }
                    describeSpan(element, *span);
                    element.readColumns(tree, describeColumn, describeSpan);
                    if (tree.columns.size() == before) element.addError("a <Span> has no <Column>");
                });
                tree.spans.pop_back();
            }
        }
    }

    // Checks the column that was read last.
    void checkColumn(ColumnTree& tree) const {
        const std::u16string& name = tree.columns.back()->name;
        if (!name.empty() && !tree.names.insert(name).second) {
            addErrorAt("name", "another <Column> is named " + quoted(toUtf8(name)));
        }
        if (tree.columns.size() > limits::kGridColumns) {
            addError("more than " + std::to_string(limits::kGridColumns) + " <Column>",
                     ErrorCode::LimitExceeded);
        }
    }

    // A text whose place messages of an export give.
    void placedText(const char* name, std::u16string& value, TextUse use) {
        attribute(name, value, {}, TextCodec{});
        if (!value.empty()) {
            reading_.addText(value, use, offsetOfAttribute(reading_.source.text(), node_, name));
        }
    }
    pugi::xml_attribute take(const char* name) {
        attributes_.push_back(name);
        return node_.attribute(name);
    }

    void addSecond() const {
        addError("a second " + tag(node_.name()) + " in " + tag(node_.parent().name()));
    }

    pugi::xml_node takeOnly(const char* name) {
        children_.push_back(name);
        const pugi::xml_node found = node_.child(name);
        if (const pugi::xml_node second = found.next_sibling(name)) {
            ReadElement(reading_, second).addSecond();
        }
        return found;
    }

    // A value that can't be read leaves the default.
    template <class T, class Codec>
    void decode(pugi::xml_attribute found, T& value, const Codec& codec) const {
        try {
            value = codec.read(found.value());
            constexpr bool hasPlaceholders = std::is_same_v<Codec, PlaceholderCodec>;
            constexpr bool isSort = std::is_same_v<Codec, SortCodec>;
            if constexpr (hasPlaceholders || isSort || std::is_same_v<Codec, ExpressionCodec>) {
                const std::size_t offset = offsetOfAttribute(reading_.source.text(), node_, found.name());
                bool knowsPage = true;
                bool ofCross = false;
                if constexpr (!hasPlaceholders) knowsPage = codec.knowsPage;
                if constexpr (!hasPlaceholders && !isSort) ofCross = codec.ofCross;
                if (!hasPlaceholders || value.find(u'[') != std::u16string::npos) {
                    reading_.addText(value, useOf(found), offset);
                }
                const bool isKey = std::strcmp(node_.name(), "Group") == 0 && found == node_.attribute("by");
                if (isKey) reading_.addText(value, TextUse::GroupKey, offset);
                using Kind = NotedExpression::Kind;
                const Kind kind = hasPlaceholders ? Kind::Placeholders
                                  : isSort        ? Kind::Sort
                                  : ofCross       ? Kind::Cross
                                                  : Kind::Expression;
                reading_.expressions.push_back({found.name(), value, kind, knowsPage, offset});
            }
        } catch (const ValueError& error) {
            addErrorAt(found.name(),
                       std::string(found.name()) + "=" + quoted(found.value()) + ": " + error.what());
        }
    }

    // Charts may read another table; their titles never do.
    TextUse useOf(pugi::xml_attribute text) const {
        const bool isSeries = std::strcmp(node_.name(), "Series") == 0;
        const pugi::xml_node chart = isSeries ? node_.parent() : node_;
        constexpr std::array<std::string_view, 3> kOfRows = {"filter", "category", "sort"};
        const bool ofRows =
            isSeries || std::find(kOfRows.begin(), kOfRows.end(), text.name()) != kOfRows.end();
        return ofRows && *chart.attribute("table").value() != '\0' && std::strcmp(chart.name(), "Chart") == 0
                   ? TextUse::ChartRows
                   : TextUse::Report;
    }

    template <class Describe>
    void describeNode(pugi::xml_node node, Describe&& describe) {
        ReadElement element(reading_, node);
        describe(element);
        element.finish();
    }

    void reference(const char* name, Reference::To to, std::u16string& value) {
        attribute(name, value, {}, TextCodec{});
        if (!value.empty()) {
            reading_.references.push_back(
                {to, value, offsetOfAttribute(reading_.source.text(), node_, name)});
        }
    }

    bool readControlContent(pugi::xml_node node, Control& control, bool inCell);
    void usePart(pugi::xml_node node, ControlList& list);
    void placeControls(Control& control, std::size_t offset);
    static std::uint64_t countElements(pugi::xml_node node);

    Reading& reading_;
    pugi::xml_node node_;
    std::vector<std::string_view> attributes_;
    std::vector<std::string_view> children_;
    bool text_ = false;  // whether text is expected
};

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
        ReadElement element(reading, root);
        element.checkRoot(kLibraryRoot);
        element.readVersion();
        describeLibrary(element, definition, read.parts);
        element.finish();
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
        ReadElement element(reading, root);
        element.checkRoot("Report");
        element.readVersion();
        describeReport(element, definition, ReportPlace::Root);
        element.finish();
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
