// The engine tells nested tables from single elements by all rows. The rows of one document do not suffice for
// that, so they are written as JSON, where it cannot be mistaken.
#include "qbreport/burst/xml_rows.h"

#include <simdjson.h>

#include <algorithm>
#include <functional>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <utility>
#include <vector>

#include "qbreport/burst/digest.h"
#include "qbreport/burst/xml_markup.h"
#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/interrupt.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr unsigned kParsed = pugi::parse_default | pugi::parse_fragment;
constexpr std::size_t kMostHead = 16 << 20;
constexpr std::size_t kMostColumns = 16'384;  // as that of the engine
constexpr std::size_t kMostTables = 1'000;    // within the rows, as that of the engine
constexpr std::size_t kMostSuggested = 200;
constexpr std::size_t kBatch = 1 << 18;

using Names = std::vector<std::string>;

// Where the rows are.
struct RowPlace {
    Names around;  // the names of the elements around them, from the root
    std::string name;
    std::uint64_t offset = 0;  // of the first one
};

bool isElement(const pugi::xml_node& node) { return node.type() == pugi::node_element; }

bool isLeaf(const pugi::xml_node& element) {
    return !element.first_attribute() && std::none_of(element.begin(), element.end(), isElement);
}

std::string textOf(const pugi::xml_node& element) {
    std::string text;
    for (const pugi::xml_node& child : element) {
        const bool isText = child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata;
        if (isText) text += child.value();
    }
    return text;
}

// Finds the first element that has the key, which may be within an element of it: "address.city".
class RowFinder {
public:
    RowFinder(const Source& source, const std::string& key)
        : source_(source), markup_(source, nullptr), key_(key) {
        Names parts;
        for (std::size_t begin = 0; begin <= key.size();) {
            const std::size_t end = std::min(key.find('.', begin), key.size());
            parts.push_back(key.substr(begin, end - begin));
            begin = end + 1;
        }
        if (parts.size() > 1) forms_.push_back({key});
        forms_.push_back(std::move(parts));
    }

    RowPlace find() {
        for (XmlTag tag; markup_.next(tag);) {
            if (isInterrupted()) throw Failure("");
            if (tag.kind == XmlTag::Kind::End) continue;
            const Names& open = markup_.open();
            offsets_.resize(open.size() - 1);
            offsets_.push_back(markup_.offset());
            for (const Names& form : forms_) {
                const std::size_t row = rowOf(form, tag);
                if (row == 0) continue;
                const auto end = open.begin() + static_cast<std::ptrdiff_t>(row);
                return {Names(open.begin(), end), open[row], offsets_[row]};
            }
        }
        throw Failure("\"" + source_.name() + "\" has no rows with \"" + key_ +
                      "\": no element within the root has it" + " as an attribute or a child" +
                      suggestion(key_, names_, "columns"));
    }

private:
    // The index of the row's element among the open ones; 0, the root, is none.
    std::size_t rowOf(const Names& parts, const XmlTag& tag) {
        const Names& open = markup_.open();
        const std::size_t around = parts.size() - 1;
        const auto endsWith = [&](std::size_t count) {
            return open.size() > count &&
                   std::equal(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(count),
                              open.end() - static_cast<std::ptrdiff_t>(count));
        };
        if (endsWith(parts.size())) return open.size() - 1 - parts.size();
        const bool hasAttribute = this->hasAttribute(tag, parts.back());
        return endsWith(around) && hasAttribute ? open.size() - 1 - around : 0;
    }

    bool hasAttribute(const XmlTag& tag, const std::string& name) {
        const bool isRoot = markup_.open().size() == 1;
        if (!isRoot) note(markup_.open().back());
        std::string text(markup_.text(tag.begin, tag.end));
        if (tag.kind == XmlTag::Kind::Start) text.insert(text.size() - 1, "/");
        pugi::xml_document document;
        if (!document.load_buffer(text.data(), text.size(), kParsed, pugi::encoding_utf8))
            markup_.fail("this tag is not valid XML");
        for (const pugi::xml_attribute& attribute : document.first_child().attributes()) {
            if (!isRoot) note(attribute.name());
        }
        return document.first_child().attribute(name.c_str());
    }

    void note(const std::string& name) {
        if (names_.size() < kMostSuggested && std::find(names_.begin(), names_.end(), name) == names_.end())
            names_.push_back(name);
    }

    const Source& source_;
    XmlMarkup markup_;
    std::string key_;
    std::vector<Names> forms_;            // the parts of the key; a name of an element may have points too
    std::vector<std::uint64_t> offsets_;  // of the open elements
    Names names_;
};

// Calls `each` with every row. Reads the whole source.
void forEachRow(const Source& source, const RowPlace& place, Digest* digest,
                const std::function<void(const pugi::xml_node&)>& each) {
    XmlMarkup markup(source, digest);
    Names path = place.around;
    path.push_back(place.name);
    bool hasBegun = false;
    bool hasEnded = false;
    for (XmlTag tag; markup.next(tag);) {
        const bool isEnd = tag.kind == XmlTag::Kind::End;
        hasEnded = hasEnded || (isEnd && hasBegun && markup.open().size() < place.around.size());
        if (isEnd || markup.open() != path || markup.offset() < place.offset) continue;
        if (hasEnded)
            markup.fail("this <" + place.name + "> is not with the others; rows are in one element");
        hasBegun = true;
        const std::uint64_t offset = markup.offset();
        const std::string_view text = markup.text(tag.begin, markup.elementEnd(tag));
        if (isInterrupted()) throw Failure("");
        pugi::xml_document document;
        const pugi::xml_parse_result result =
            document.load_buffer(text.data(), text.size(), kParsed, pugi::encoding_utf8);
        if (!result || !simdjson::validate_utf8(text.data(), text.size())) {
            throw Failure("\"" + source.name() + "\", byte " + std::to_string(offset) +
                          ": this row is not valid " +
                          (result ? "UTF-8" : std::string("XML: ") + result.description()));
        }
        each(document.first_child());
    }
}

// Which elements of a row repeat, by their names.
class RowShape {
public:
    void add(const pugi::xml_node& element) {
        ++additions_;
        for (const pugi::xml_attribute& attribute : element.attributes()) {
            const auto place = attributes_.lower_bound(attribute.name());
            if (place == attributes_.end() || *place != attribute.name())
                attributes_.emplace_hint(place, attribute.name());
        }
        for (const pugi::xml_node& child : element) {
            if (!isElement(child)) continue;
            const auto [known, isNew] = children_.try_emplace(child.name());
            if (isNew && children_.size() > kMostColumns)
                throw Failure("the rows have more than " + grouped(kMostColumns) + " columns");
            RowShape& shape = known->second;
            shape.repeats_ = shape.repeats_ || shape.lastIn_ == additions_;
            shape.lastIn_ = additions_;
            if (isLeaf(child)) continue;
            shape.hasParts_ = true;
            shape.add(child);
        }
    }
    // Whether they are rows of a nested table: they repeat somewhere, and somewhere are more than a text.
    bool isTable() const { return repeats_ && hasParts_; }
    const RowShape& child(const char* name) const { return children_.find(name)->second; }
    // Raises Failure if the rows cannot be written as JSON, whose objects have each name once and must name all
    // tables: a document would otherwise lack those of which it has no rows. Returns the number of tables.
    std::size_t countTables(const std::string& place) const {
        std::size_t count = 0;
        for (const auto& [name, shape] : children_) {
            if (shape.isTable()) ++count;
            if (shape.isTable() && attributes_.contains(name)) refuseSharedName(place, name);
            count += shape.countTables(place);
            if (count > kMostTables)
                throw Failure(place + ": the rows have more than " + grouped(kMostTables) + " nested tables");
        }
        return count;
    }
    // Calls `each` with the name of every nested table.
    template <class Each>
    void forEachTable(Each each) const {
        for (const auto& [name, shape] : children_) {
            if (shape.isTable()) each(name);
        }
    }

private:
    [[noreturn]] static void refuseSharedName(const std::string& place, const std::string& name) {
        throw Failure(place + ": an attribute and a nested table of <" + name +
                      "> have one name; burst needs two, so rename one of them");
    }

    std::map<std::string, RowShape, std::less<>> children_;
    std::set<std::string, std::less<>> attributes_;
    std::uint64_t additions_ = 0;
    std::uint64_t lastIn_ = 0;  // the addition of the element around
    bool repeats_ = false;
    bool hasParts_ = false;
};

// A member of an object of JSON.
void addMember(std::string& json, std::string_view name, std::string_view value) {
    if (!json.ends_with('{')) json += ',';
    ((json += inJson(name)) += ':') += value;
}

class RecordWriter {
public:
    // The attributes and elements of a row, or of an element within it.
    void write(const pugi::xml_node& record, const RowShape& shape, std::string& json) {
        std::vector<Member> members;
        std::map<std::string_view, std::size_t> indexes;
        const auto member = [&](std::string_view name) -> Member& {
            const auto [known, isNew] = indexes.try_emplace(name, members.size());
            if (isNew) members.push_back({name, {}, {}, false, false});
            return members[known->second];
        };
        for (const pugi::xml_attribute& attribute : record.attributes())
            member(attribute.name()).addText(attribute.value());
        for (const pugi::xml_node& child : record) {
            if (!isElement(child)) continue;
            Member& found = member(child.name());
            found.isTable = shape.child(child.name()).isTable();
            if (!found.isTable && isLeaf(child)) {
                found.addText(textOf(child));
            } else {
                found.elements.push_back(child);
            }
        }
        // A record without rows of a nested table has an empty one.
        shape.forEachTable([&](const std::string& name) { member(name).isTable = true; });
        const bool hasElements = std::any_of(record.begin(), record.end(), isElement);
        if (const std::string text = textOf(record); !hasElements && !text.empty())
            member("value").addText(text);
        json += '{';
        for (const Member& found : members) writeMember(found, shape, json);
        json += '}';
    }

private:
    struct Member {
        std::string_view name;
        std::string text;
        std::vector<pugi::xml_node> elements;
        bool hasText = false;
        bool isTable = false;

        void addText(const std::string& added) {
            if (hasText) text += ", ";
            hasText = true;
            text += added;
        }
    };

    void writeMember(const Member& member, const RowShape& shape, std::string& json) {
        if (member.hasText) addMember(json, member.name, inJson(member.text));
        if (member.elements.empty() && (member.hasText || !member.isTable)) return;
        addMember(json, member.name, member.isTable ? "[" : "");
        for (const pugi::xml_node& element : member.elements) {
            if (json.ends_with('}')) json += ',';
            write(element, shape.child(element.name()), json);
        }
        if (member.isTable) json += ']';
    }
};

// The values around the rows that come before them, by the path of their elements.
class HeadWriter {
public:
    HeadWriter(const Source& source, const RowPlace& place) : place_(place) {
        if (place.offset > kMostHead)
            throw Failure("\"" + source.name() + "\" has more than " + shownSize(kMostHead) +
                          " before its rows");
        std::string text(static_cast<std::size_t>(place.offset), '\0');
        text.resize(readAt(source.file(), 0, text.data(), text.size(), source.name()));
        for (auto name = place.around.rbegin(); name != place.around.rend(); ++name)
            text += "</" + *name + ">";
        const pugi::xml_parse_result result =
            document_.load_buffer(text.data(), text.size(), kParsed, pugi::encoding_utf8);
        if (!result || !simdjson::validate_utf8(text.data(), text.size()))
            throw Failure("\"" + source.name() + "\": what precedes the rows is not valid XML in UTF-8");
    }

    std::string write() {
        for (const pugi::xml_node& node : document_) {
            if (isElement(node)) addContainer(node, "");
        }
        addMember(json_, place_.name, "[");
        return json_;
    }

private:
    void add(const std::string& name, const std::string& value) {
        if (name != place_.name) addMember(json_, name, inJson(value));
    }

    void addContainer(const pugi::xml_node& container, const std::string& prefix) {
        std::map<std::string_view, int> counts;
        for (const pugi::xml_node& child : container) ++counts[child.name()];
        for (const pugi::xml_attribute& attribute : container.attributes())
            add(prefix + attribute.name(), attribute.value());
        for (const pugi::xml_node& child : container) {
            if (!isElement(child) || counts[child.name()] > 1) continue;
            if (isLeaf(child)) {
                add(prefix + child.name(), textOf(child));
            } else if (std::find(place_.around.begin(), place_.around.end(), child.name()) !=
                       place_.around.end()) {
                addContainer(child, prefix + child.name() + '.');
            }
        }
    }

    const RowPlace& place_;
    pugi::xml_document document_;
    std::string json_ = "{";
};

// Raises Failure for another encoding than UTF-8.
void requireUtf8(const Source& source) {
    std::string start(1024, '\0');
    start.resize(readAt(source.file(), 0, start.data(), start.size(), source.name()));
    const bool isWide = start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF");
    const std::size_t begin = start.find("<?xml");
    pugi::xml_document document;
    if (begin != std::string::npos) {
        const std::size_t size = std::min(start.find("?>", begin), start.size() - 2) + 2 - begin;
        document.load_buffer(start.data() + begin, size, kParsed | pugi::parse_declaration,
                             pugi::encoding_utf8);
    }
    std::string encoding = document.first_child().attribute("encoding").value();
    std::transform(encoding.begin(), encoding.end(), encoding.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
    const bool isKnown = encoding.empty() || encoding == "utf-8" || encoding == "us-ascii";
    if (!isWide && isKnown) return;
    throw Failure("XML in " + (isWide ? "UTF-16" : encoding) +
                  " cannot be divided; convert it first: xmllint --encode utf-8 FILE > COPY");
}

}  // namespace

XmlRows readXmlRows(const Source& source, const std::string& key) {
    requireUtf8(source);
    const RowPlace place = RowFinder(source, key).find();
    RowShape shape;
    forEachRow(source, place, nullptr, [&](const pugi::xml_node& row) { shape.add(row); });
    shape.countTables('"' + source.name() + '"');
    Digest digest;
    Descriptor file = openTemporary();
    std::string json;
    const auto flush = [&] {
        write(file, json, "the temporary list of rows");
        json.clear();
    };
    RecordWriter writer;
    forEachRow(source, place, &digest, [&](const pugi::xml_node& row) {
        writer.write(row, shape, json);
        json += '\n';
        if (json.size() > kBatch) flush();
    });
    flush();
    return {std::make_shared<const Source>(std::move(file), source.name(), ", row "),
            HeadWriter(source, place).write(), "]}", digest.hex()};
}

}  // namespace qbreport
