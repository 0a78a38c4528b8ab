// Reads each example of docs/data.md: the table below it lists what it becomes. Files that are only the data of a
// template have no such table.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/utf.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

std::string shown(const Value& value) { return value.isNull() ? "-" : toUtf8(value.text); }

void join(std::string& text, const char* between, const std::string& part) {
    text += (text.empty() ? "" : between) + part;
}

std::string line(const std::string& table, const std::string& columns, const std::string& rows) {
    std::string text = "|";
    for (const std::string& cell : {table, columns, rows}) text += (cell.empty() ? "" : " " + cell) + " |";
    return text + "\n";
}

// As the page has it.
std::string tablesOf(const DataSet& data) {
    std::string text;
    std::string names;
    std::string values;
    for (const DataParameter& parameter : data.parameters()) {
        join(names, ", ", "`" + toUtf8(parameter.name) + "`");
        join(values, ", ", shown(parameter.value()));
    }
    if (!names.empty()) text += line("parameters", names, values);
    for (const Table& table : data.tables()) {
        std::string columns;
        std::string rows;
        for (std::size_t c = 0; c < table.columnCount(); ++c) {
            join(columns, ", ", "`" + toUtf8(table.columnName(c)) + "`");
        }
        for (std::size_t r = 0; r < table.rowCount(); ++r) {
            std::string row;
            for (std::size_t c = 0; c < table.columnCount(); ++c) join(row, ", ", shown(table.value(r, c)));
            if (table.parent() != nullptr) row = std::to_string(table.parentRow(r) + 1) + ": " + row;
            join(rows, "; ", row);
        }
        text += line(table.name().empty() ? "" : "`" + toUtf8(table.name()) + "`", columns, rows);
    }
    return text;
}

TEST(DataPage, HasTheTablesOfItsExamples) {
    const std::map<std::string, DataSet (*)(ByteSource&)> readers = {
        {"```json", readData}, {"```xml data", readData}, {"```jsonl", readJsonLines}};
    std::ifstream page(QBSVR_SOURCE_DIR "/docs/data.md");
    int examples = 0;
    for (std::string text; std::getline(page, text);) {
        const bool isNamed = text.starts_with("```json ");
        const auto reader = readers.find(isNamed ? "```json" : text);
        if (reader == readers.end()) continue;
        std::string bytes;
        while (std::getline(page, text) && text != "```") bytes += text + "\n";
        std::string tables;
        for (int i = 0; i < 3; ++i) std::getline(page, text);  // a blank line and the head
        if (isNamed && text != "|---|---|---|") continue;
        ASSERT_EQ(text, "|---|---|---|") << bytes;
        while (std::getline(page, text) && !text.empty()) tables += text + "\n";
        EXPECT_EQ(tablesOf(reader->second(*bytesOf(bytes, "example"))), tables) << bytes;
        ++examples;
    }
    EXPECT_GE(examples, 8);
}

}  // namespace
}  // namespace qbsvrl6
