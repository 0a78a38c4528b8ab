// XML by pugixml. An element is one of four things:
//   leaf       no attributes, no child elements
//   row        one of several siblings of its name, or, alone, one that has leaves or attributes of its own
//   record     a part of a row: its leaves and attributes are columns "record.leaf"
//   container  any other, the root always: it holds rows, leaves (parameters) and containers
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <unordered_map>
#include <unordered_set>

#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_attributes.h"

namespace qbsvrl6 {

namespace {

bool isElement(const pugi::xml_node& node) { return node.type() == pugi::node_element; }

bool hasChildElements(const pugi::xml_node& element) {
    return std::any_of(element.begin(), element.end(), isElement);
}

bool isLeaf(const pugi::xml_node& element) {
    return !element.first_attribute() && !hasChildElements(element);
}

// The texts and CDATA sections of an element, joined; `joined` holds them where there are several.
std::string_view textOf(const pugi::xml_node& element, std::string& joined) {
    std::string_view text;
    bool first = true;
    for (const pugi::xml_node& child : element) {
        if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) continue;
        if (first) {
            text = child.value();
        } else {
            if (text.data() != joined.data()) joined = text;
            joined += child.value();
            text = joined;
        }
        first = false;
    }
    return text;
}

// The first attribute whose name the element has already given.
pugi::xml_attribute findRepeated(const pugi::xml_node& element) {
    constexpr std::size_t kFew = 8;
    std::array<std::string_view, kFew> few;
    std::unordered_set<std::string_view> many;
    std::size_t count = 0;
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        const std::string_view name = attribute.name();
        if (count < kFew) {
            const auto end = few.begin() + static_cast<std::ptrdiff_t>(count);
            if (std::find(few.begin(), end, name) != end) return attribute;
            few[count++] = name;
        } else {
            if (many.empty()) many.insert(few.begin(), few.end());
            if (!many.insert(name).second) return attribute;
        }
    }
    return {};
}

class Document {
public:
    explicit Document(const SourceText& source) : source_(source) {
        // Texts at the top level are kept so that they can be refused: nothing follows the root in silence.
        const pugi::xml_parse_result result =
            document_.load_buffer(source.text().data(), source.text().size(),
                                  pugi::parse_default | pugi::parse_fragment, pugi::encoding_utf8);
        if (!result) {
            fail(std::string("the data is not valid XML here: ") + result.description(),
                 static_cast<std::size_t>(result.offset));
        }
        for (const pugi::xml_node& node : document_) {
            if (isElement(node)) {
                if (root_) fail("a second root element", offset(node));
                root_ = node;
            } else if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
                fail("text outside the root element",
                     offset(node) + std::string_view(node.value()).find_first_not_of(" \t\r\n"));
            }
        }
        if (!root_) fail("the data has no root element", source.text().size());
    }

    const pugi::xml_node& root() const { return root_; }
    std::size_t offset(const pugi::xml_node& node) const {
        return static_cast<std::size_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 0));
    }
    [[noreturn]] void fail(const std::string& message, std::size_t offset) const {
        source_.fail(ErrorCode::BadData, message, offset);
    }
    // The parser accepts an attribute that is given twice; XML does not.
    void checkElement(const pugi::xml_node& element, int depth) const {
        if (depth > limits::kXmlDepth) {
            source_.fail(ErrorCode::LimitExceeded,
                         "nested deeper than " + std::to_string(limits::kXmlDepth) + " levels",
                         offset(element));
        }
        if (const pugi::xml_attribute repeated = findRepeated(element)) {
            fail("the attribute \"" + std::string(repeated.name()) + "\" is given twice",
                 findAttribute(source_.text(), offset(element), repeated.name(), 1));
        }
    }
    void refuseColumn(const pugi::xml_node& node) const {
        source_.fail(ErrorCode::LimitExceeded,
                     "more than " + std::to_string(limits::kDataColumns) + " columns", offset(node));
    }

private:
    const SourceText& source_;
    pugi::xml_document document_;
    pugi::xml_node root_;
};

class XmlReader {
public:
    explicit XmlReader(const SourceText& source) : document_(source) {}

    DataSet read() {
        readContainer(document_.root(), {}, 1);
        return std::move(data_);
    }

private:
    void readContainer(const pugi::xml_node& container, const std::string& path, int depth) {
        document_.checkElement(container, depth);
        const std::string prefix = path.empty() ? path : path + '.';
        for (const pugi::xml_attribute& attribute : container.attributes()) {
            addParameter(prefix + attribute.name(), attribute.value());
        }
        std::unordered_map<std::string_view, int> counts;
        for (const pugi::xml_node& child : container) {
            if (isElement(child)) ++counts[child.name()];
        }
        std::vector<std::string_view> order;
        std::unordered_map<std::string_view, Table> tables;
        for (const pugi::xml_node& child : container) {
            if (!isElement(child)) continue;
            const std::string_view name = child.name();
            if (counts[name] > 1 || isSingleRow(child)) {
                auto found = tables.find(name);
                if (found == tables.end()) {
                    found = tables.emplace(name, Table(toUtf16(name))).first;
                    order.push_back(name);
                }
                readRow(child, found->second, depth + 1);
            } else if (isLeaf(child)) {
                addParameter(prefix + child.name(), textOf(child, joined_));
            } else {
                readContainer(child, prefix + child.name(), depth + 1);
            }
        }
        for (const std::string_view name : order) addTable(std::move(tables.at(name)), prefix);
    }

    // Whether an element that has no sibling of its name is a row.
    static bool isSingleRow(const pugi::xml_node& element) {
        std::unordered_map<std::string_view, int> counts;
        bool hasValues = !element.attributes().empty();
        for (const pugi::xml_node& child : element) {
            if (!isElement(child)) continue;
            if (++counts[child.name()] > 1) return false;
            hasValues = hasValues || isLeaf(child);
        }
        return hasValues;
    }

    // Rows of one name in two containers are two tables: the later one bears its container's path too.
    void addTable(Table table, const std::string& prefix) {
        if (data_.table(table.name()) != nullptr) table.rename(toUtf16(prefix) + table.name());
        data_.add(std::move(table));
    }

    void addParameter(const std::string& name, std::string_view text) {
        data_.add({toUtf16(name), ValueType::Text, {}, false, std::u16string(widen(text, buffer_))});
    }

    void readRow(const pugi::xml_node& row, Table& table, int depth) {
        table.beginRow();
        readRecord(row, table, ColumnNames::kRow, depth);
    }

    // The row, or an element within it.
    void readRecord(const pugi::xml_node& record, Table& table, ColumnNames::Id name, int depth) {
        document_.checkElement(record, depth);
        ColumnNames& names = table.names();
        names.beginRecord(name);
        for (const pugi::xml_attribute& attribute : record.attributes()) {
            setCell(record, table, names.nameOf(name, attribute.name()), attribute.value());
        }
        bool hasElements = false;
        for (const pugi::xml_node& child : record) {
            if (!isElement(child)) continue;
            hasElements = true;
            const ColumnNames::Id key = names.nameOf(name, child.name());
            if (isLeaf(child)) {
                setCell(child, table, key, textOf(child, joined_));
            } else {
                readRecord(child, table, key, depth + 1);
            }
        }
        if (hasElements) return;
        const std::string_view text = textOf(record, joined_);
        if (!text.empty()) setCell(record, table, names.nameOf(name, kValueColumn), text);
    }

    void setCell(const pugi::xml_node& place, Table& table, ColumnNames::Id name, std::string_view text) {
        const std::size_t column = table.columnOf(name);
        if (column == Table::npos) document_.refuseColumn(place);
        table.addText(column, widen(text, buffer_));
    }

    Document document_;
    DataSet data_;
    std::string joined_;
    std::u16string buffer_;
};

}  // namespace

DataSet readXml(const SourceText& source) { return XmlReader(source).read(); }

void checkXml(const SourceText& source) { Document{source}; }

}  // namespace qbsvrl6
