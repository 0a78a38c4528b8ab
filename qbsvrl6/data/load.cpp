#include "qbsvrl6/data/load.h"

#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/data/row_groups.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

enum class Form { Json, Xml };

constexpr std::string_view kSpaces = " \t\r\n";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

Form formOf(const SourceText& source) {
    const std::size_t start = source.text().find_first_not_of(kSpaces);
    if (start == std::string::npos) source.fail(ErrorCode::BadData, "the data is empty", 0);
    switch (source.text()[start]) {
        case '<':
            return Form::Xml;
        case '[':
        case '{':
            return Form::Json;
        default:
            source.fail(ErrorCode::BadData, "the data is neither JSON nor XML", start);
    }
}

// A source whose first bytes can be read twice.
class PeekedBytes final : public ByteSource {
public:
    explicit PeekedBytes(ByteSource& source) : ByteSource(source.origin()), source_(source) {
        ByteBlocks blocks(source);
        while (first() == '\0' && blocks.append(bytes_)) continue;
    }

    bool isUtf16() const { return bytes_.starts_with("\xFF\xFE") || bytes_.starts_with("\xFE\xFF"); }
    // The first character of UTF-8 text that is no space; 0 if there is none.
    char first() const {
        const std::size_t start =
            bytes_.find_first_not_of(kSpaces, bytes_.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0);
        return start == std::string::npos ? '\0' : bytes_[start];
    }

    std::size_t read(char* to, std::size_t size) override {
        if (at_ == bytes_.size()) return source_.read(to, size);
        const std::size_t count = bytes_.copy(to, size, at_);
        at_ += count;
        return count;
    }

private:
    ByteSource& source_;
    std::string bytes_;
    std::size_t at_ = 0;
};

SourceText wholeText(ByteSource& source) {
    std::string bytes;
    ByteBlocks blocks(source);
    do {
        if (bytes.size() > limits::kDataBytes) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "larger than " + std::to_string(limits::kDataBytes) + " bytes",
                              {source.origin()});
        }
    } while (blocks.append(bytes));
    return SourceText(std::move(bytes), source.origin());
}

// A budget knows no places.
template <class Read>
DataSet withOrigin(const std::string& origin, Read read) {
    const SharedRowFile rowFile;
    try {
        DataSet data = read();
        data.origin = origin;
        return data;
    } catch (const EngineError& error) {
        if (!error.place().file.empty()) throw;
        throw EngineError(error.code(), error.what(), {origin});
    }
}

DataSet readEither(ByteSource& source) {
    PeekedBytes bytes(source);
    const char first = bytes.first();
    if (!bytes.isUtf16() && (first == '[' || first == '{')) return readJson(bytes);
    const SourceText text = wholeText(bytes);
    return formOf(text) == Form::Xml ? readXml(text) : readJson(*bytesOf(text.text(), source.origin()));
}

// A name of ours as one of XML's: other characters become "_".
std::string elementName(std::u16string_view name, std::u16string_view fallback) {
    const auto isStart = [](char16_t c) {
        return isLatinLetter(c) || c == u'_' || (c >= 0xC0 && c < 0x2000) || (c >= 0x3001 && c < 0xD800) ||
               (c >= 0xF900 && c < 0xFDD0);
    };
    const auto isPart = [&](char16_t c) { return isStart(c) || isDigit(c) || c == u'-' || c == u'.'; };
    std::u16string result(name.empty() ? fallback : name);
    for (char16_t& c : result) {
        if (!isPart(c)) c = u'_';
    }
    if (!isStart(result.front())) result.insert(0, 1, u'_');
    return toUtf8(result);
}

// Writes rows as elements, with those of child tables in them.
class RowsWriter {
public:
    RowsWriter(XmlWriter& xml, const Table& table, std::u16string_view name)
        : xml_(xml), table_(table), name_(elementName(name, u"row")) {
        for (std::size_t column = 0; column < table.columnCount(); ++column) {
            columns_.push_back(elementName(table.columnName(column), u"column"));
        }
        const std::size_t outer = table.name().empty() ? 0 : table.name().size() + 1;
        for (const Table* const child : table.children()) {
            children_.emplace_back(xml, *child, std::u16string_view(child->name()).substr(outer));
        }
    }

    void write(RowRange rows) {
        for (std::size_t row = rows.first; row < rows.end; ++row) {
            xml_.open(name_).text();  // two tags, even for a row of nothing but nulls
            for (std::size_t column = 0; column < columns_.size(); ++column) {
                const Value value = table_.value(row, column);
                if (!value.isNull()) xml_.element(columns_[column], value.text);
            }
            for (RowsWriter& child : children_) child.write(child.table_.childrenOf(row));
            xml_.close().lineEnd();
        }
    }

private:
    XmlWriter& xml_;
    const Table& table_;
    std::string name_;
    std::vector<std::string> columns_;
    std::vector<RowsWriter> children_;
};

}  // namespace

DataSet readData(ByteSource& source) {
    return withOrigin(source.origin(), [&] { return readEither(source); });
}

DataSet readData(std::string bytes, const std::string& origin) {
    return readData(*bytesOf(std::move(bytes), origin));
}

DataSet readJsonLines(ByteSource& source) {
    return withOrigin(source.origin(), [&] {
        PeekedBytes bytes(source);
        return bytes.isUtf16() ? readLines(*bytesOf(wholeText(bytes).text(), source.origin()))
                               : readLines(bytes);
    });
}

std::u16string readXmlText(std::string bytes, const std::string& origin) {
    const SourceText source(std::move(bytes), origin);
    if (formOf(source) == Form::Xml) {
        checkXml(source);
        return toUtf16(source.text());
    }
    const DataSet data = readJson(*bytesOf(source.text(), origin));
    std::string text;
    XmlWriter xml(text);
    xml.open("data").lineEnd();
    for (const DataParameter& parameter : data.parameters()) {
        xml.element(elementName(parameter.name, u"parameter"), parameter.text).lineEnd();
    }
    for (const Table& table : data.tables()) {
        if (table.parent() == nullptr) RowsWriter(xml, table, table.name()).write({0, table.rowCount()});
    }
    xml.close().lineEnd();
    return toUtf16(text);
}

}  // namespace qbsvrl6
