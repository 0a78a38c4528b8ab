#include "qbsvrl6/data/load.h"

#include <utility>

#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/data/row_groups.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

enum class Form { Json, Xml };

Form formOf(const SourceText& source) {
    const std::size_t start = source.text().find_first_not_of(" \t\r\n");
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

void writeRows(XmlWriter& xml, const Table& table) {
    const std::string rowName = elementName(table.name(), u"row");
    std::vector<std::string> names;
    for (std::size_t column = 0; column < table.columnCount(); ++column) {
        names.push_back(elementName(table.columnName(column), u"column"));
    }
    for (std::size_t row = 0; row < table.rowCount(); ++row) {
        xml.open(rowName).text();  // two tags, even for a row of nothing but nulls
        for (std::size_t column = 0; column < names.size(); ++column) {
            const Value value = table.value(row, column);
            if (!value.isNull()) xml.element(names[column], value.text);
        }
        xml.close().lineEnd();
    }
}

}  // namespace

DataSet readData(std::string bytes, const std::string& origin) {
    const SharedRowFile rowFile;
    const SourceText source(std::move(bytes), origin);
    try {
        DataSet data = formOf(source) == Form::Xml ? readXml(source) : readJson(source);
        data.origin = origin;
        return data;
    } catch (const EngineError& error) {
        if (!error.place().file.empty()) throw;
        throw EngineError(error.code(), error.what(), {origin});  // a budget knows no places
    }
}

std::u16string readXmlText(std::string bytes, const std::string& origin) {
    const SourceText source(std::move(bytes), origin);
    if (formOf(source) == Form::Xml) {
        checkXml(source);
        return toUtf16(source.text());
    }
    const DataSet data = readJson(source);
    std::string text;
    XmlWriter xml(text);
    xml.open("data").lineEnd();
    for (const DataParameter& parameter : data.parameters()) {
        xml.element(elementName(parameter.name, u"parameter"), parameter.text).lineEnd();
    }
    for (const Table& table : data.tables()) writeRows(xml, table);
    xml.close().lineEnd();
    return toUtf16(text);
}

}  // namespace qbsvrl6
