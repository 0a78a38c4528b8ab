// Reads one element of a template as the vocabulary describes it.
#ifndef QBSVR_QBSVRL6_TEMPLATE_READ_ELEMENT_H
#define QBSVR_QBSVRL6_TEMPLATE_READ_ELEMENT_H

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/libraries.h"
#include "qbsvrl6/template/reading.h"
#include "qbsvrl6/template/reference_checks.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

// Where an element's tag, a text or an attribute begins in the text of the template.
std::size_t offsetOf(const std::string& text, pugi::xml_node node);
std::size_t offsetOfAttribute(const std::string& text, pugi::xml_node node, std::string_view name,
                              int skip = 0);

inline const std::u16string& nameOf(const NamedStyle& item) { return item.name; }
inline const std::u16string& nameOf(const Parameter& item) { return item.name; }
inline const std::u16string& nameOf(const Field& item) { return item.name; }
inline const std::u16string& nameOf(const NamedPage& item) { return item.name; }

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

    // Read a whole document, whose root this element is. Raise ReadingEnds if the rest cannot be read.
    void wholeReport(ReportDefinition& report);
    void wholeLibrary(ReportDefinition& definition, Parts& parts);

    void readVersion();
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

    void checkRoot(const char* wanted) const;
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

}  // namespace qbsvrl6

#endif
