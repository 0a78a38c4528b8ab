// XML by pugixml. An element is one of four things:
//   leaf       no attributes, no child elements
//   row        one of several siblings of its name, or, alone, one that has leaves or attributes of its own
//   record     a part of a row: its leaves and attributes are columns "record.leaf"; where it repeats, it is a
//              row of a child table
//   container  any other, the root always: it holds rows, leaves (parameters) and containers
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "qbsvrl6/data/nested_table.h"
#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/keyed_hash.h"
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
    std::unordered_set<std::string_view, KeyedHash> many;
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

// Declarations of namespaces are no values of their elements.
void removeNamespaces(pugi::xml_node element) {
    const auto isDeclaration = [](const pugi::xml_attribute& attribute) {
        const std::string_view name = attribute.name();
        return name == "xmlns" || name.starts_with("xmlns:");
    };
    while (const pugi::xml_attribute declaration = element.find_attribute(isDeclaration)) {
        element.remove_attribute(declaration);
    }
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
        if (source.text().find("xmlns") == std::string_view::npos) return;
        for (pugi::xml_node node = root_; node;) {
            removeNamespaces(node);
            pugi::xml_node next = node.first_child();
            while (!next && node && node != root_) {
                next = node.next_sibling();
                if (!next) node = node.parent();
            }
            node = next;
        }
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

// Which elements the rows of a table hold, by their names.
class Shape {
public:
    // The elements of a row, or of an element within it.
    void add(const pugi::xml_node& element, int depth) {
        if (depth > limits::kXmlDepth) return;  // the reader refuses it
        begin();
        for (const pugi::xml_node& inner : element) {
            if (!isElement(inner)) continue;
            Shape& shape = child(inner.name());
            shape.repeats_ = shape.repeats_ || shape.lastIn_ == element;
            shape.lastIn_ = element;
            if (isLeaf(inner)) continue;
            shape.hasParts_ = true;
            shape.add(inner, depth + 1);
        }
    }

    // Whether the elements are rows of a table: they repeat somewhere, and somewhere hold more than a text.
    bool isTable() const { return repeats_ && hasParts_; }

    // Elements are expected in the order of their first occurrence from now on.
    void begin() { next_ = 0; }
    Shape& child(std::string_view name) {
        if (next_ < children_.size() && children_[next_].name_ == name) return children_[next_++];
        const auto [known, isNew] = index_.try_emplace(name, children_.size());
        if (isNew) children_.emplace_back().name_ = name;
        next_ = known->second + 1;
        return children_[known->second];
    }

private:
    std::string_view name_;  // in the document
    pugi::xml_node lastIn_;
    bool repeats_ = false;
    bool hasParts_ = false;
    std::size_t next_ = 0;
    std::vector<Shape> children_;
    std::unordered_map<std::string_view, std::size_t, KeyedHash> index_;
};

class XmlReader {
public:
    explicit XmlReader(const SourceText& source) : document_(source) {}

    DataSet read() {
        readContainer(document_.root(), {}, 1);
        return std::move(data_);
    }

private:
    struct Rows {
        Shape shape;
        std::optional<NestedTable> table;
    };

    void readContainer(const pugi::xml_node& container, const std::string& path, int depth) {
        document_.checkElement(container, depth);
        const std::string prefix = path.empty() ? path : path + '.';
        for (const pugi::xml_attribute& attribute : container.attributes()) {
            addParameter(prefix + attribute.name(), attribute.value());
        }
        std::unordered_map<std::string_view, int, KeyedHash> counts;
        for (const pugi::xml_node& child : container) {
            if (isElement(child)) ++counts[child.name()];
        }
        std::unordered_map<std::string_view, Rows, KeyedHash> tables;
        for (const pugi::xml_node& child : container) {
            const bool isRow = isElement(child) && (counts[child.name()] > 1 || isSingleRow(child));
            if (isRow) tables[child.name()].shape.add(child, depth + 1);
        }
        for (const pugi::xml_node& child : container) {
            if (!isElement(child)) continue;
            const auto rows = tables.find(child.name());
            if (rows != tables.end()) {
                Rows& found = rows->second;
                if (!found.table) found.table.emplace(data_, tableName(child.name(), prefix));
                readRow(child, *found.table, found.shape, depth + 1);
            } else if (isLeaf(child)) {
                addParameter(prefix + child.name(), textOf(child, joined_));
            } else {
                readContainer(child, prefix + child.name(), depth + 1);
            }
        }
        for (auto& [name, rows] : tables) rows.table->endRows();
    }

    // Whether an element that has no sibling of its name is a row.
    static bool isSingleRow(const pugi::xml_node& element) {
        std::unordered_map<std::string_view, int, KeyedHash> counts;
        bool hasValues = !element.attributes().empty();
        for (const pugi::xml_node& child : element) {
            if (!isElement(child)) continue;
            if (++counts[child.name()] > 1) return false;
            hasValues = hasValues || isLeaf(child);
        }
        return hasValues;
    }

    // Rows of one name in two containers are two tables: the later one bears its container's path too.
    std::u16string tableName(const char* name, const std::string& prefix) const {
        const std::u16string own = toUtf16(name);
        return data_.table(own) == nullptr ? own : toUtf16(prefix) + own;
    }

    void addParameter(const std::string& name, std::string_view text) {
        data_.add({toUtf16(name), ValueType::Text, {}, false, std::u16string(widen(text, buffer_))});
    }

    void readRow(const pugi::xml_node& row, NestedTable& rows, Shape& shape, int depth) {
        rows.table().beginRow();
        readRecord(row, rows, ColumnNames::kRow, shape, depth);
    }

    // The row, or an element within it.
    void readRecord(const pugi::xml_node& record, NestedTable& rows, ColumnNames::Id name, Shape& shape,
                    int depth) {
        document_.checkElement(record, depth);
        Table& table = rows.table();
        ColumnNames& names = table.names();
        shape.begin();
        names.beginRecord(name);
        for (const pugi::xml_attribute& attribute : record.attributes()) {
            setCell(record, table, names.nameOf(name, attribute.name()), attribute.value());
        }
        bool hasElements = false;
        for (const pugi::xml_node& child : record) {
            if (!isElement(child)) continue;
            hasElements = true;
            const ColumnNames::Id key = names.nameOf(name, child.name());
            Shape& inner = shape.child(child.name());
            if (inner.isTable()) {
                readRow(child, rows.child(key), inner, depth + 1);
            } else if (isLeaf(child)) {
                setCell(child, table, key, textOf(child, joined_));
            } else {
                readRecord(child, rows, key, inner, depth + 1);
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
