// qbreport info: what a template reads and uses.
#include <algorithm>
#include <string>
#include <vector>

#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/report.h"

namespace qbreport {

namespace {

// A row of texts per item; the columns are aligned.
using Rows = std::vector<std::vector<std::string>>;

// In characters; a wide character counts as one.
std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string tableOf(const std::string& title, const Rows& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    std::string text = title + "\n";
    for (const auto& row : rows) {
        std::string line = " ";
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += " " + row[i] + std::string(widths[i] - widthOf(row[i]) + 1, ' ');
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string times(const Item& item) { return item.count == 1 ? "once" : grouped(item.count) + " times"; }

std::string place(const Item& item) {
    if (item.line == 0) return "";
    return "first at " + std::to_string(item.line) + ":" + std::to_string(item.column);
}

// At most 60 characters of the value, in quotes.
std::string quoted(std::string_view value) {
    constexpr std::size_t kMost = 60;
    std::size_t end = 0;
    for (std::size_t i = 0; i < kMost && end < value.size(); ++i) {
        end += std::max<std::size_t>(characterLength(value.substr(end)), 1);
    }
    return "\"" + printable(value.substr(0, end)) + (end < value.size() ? "…" : "") + "\"";
}

Rows parameterRows(const Report& report) {
    Rows rows;
    for (const Item& item : report.items(QBXItemKind_Parameter)) {
        const bool isDeclared = !item.type.empty();
        const std::string value = item.isRequired      ? "required"
                                  : !isDeclared        ? quoted(item.value)
                                  : item.value.empty() ? ""
                                                       : "default " + quoted(item.value);
        const std::string origin = isDeclared ? item.type : item.isRequired ? "query" : "data";
        rows.push_back({printable(item.name), origin, value});
    }
    return rows;
}

Rows fieldRows(const Report& report) {
    Rows rows;
    for (const Item& item : report.items(QBXItemKind_Field)) {
        rows.push_back({printable(item.name), times(item), place(item)});
    }
    return rows;
}

struct LoadedTable {
    Item table;
    std::vector<std::string> columns;
};

std::vector<LoadedTable> loadedTables(const Report& report) {
    std::vector<LoadedTable> tables;
    const std::vector<Item> columns = report.items(QBXItemKind_Column);
    std::size_t column = 0;
    for (const Item& table : report.items(QBXItemKind_Table)) {
        tables.push_back({table, {}});
        // Columns are in the order of their tables, which may have no names.
        for (; column < columns.size() && columns[column].table == table.name; ++column) {
            tables.back().columns.push_back(columns[column].name);
        }
    }
    return tables;
}

std::string joined(const std::vector<std::string>& texts, std::string (*shown)(std::string_view)) {
    std::string list;
    for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + shown(text);
    return list;
}

Rows tableRows(const Report& report) {
    Rows rows;
    for (const auto& [table, columns] : loadedTables(report)) {
        rows.push_back({table.name.empty() ? "(no name)" : printable(table.name), counted(table.count, "row"),
                        joined(columns, printable)});
    }
    return rows;
}

Rows fontRows(const Report& report) {
    Rows rows;
    for (const Item& item : report.items(QBXItemKind_Font)) {
        rows.push_back({printable(item.name), printable(item.value)});
    }
    return rows;
}

std::string asText(const Report& report) {
    const std::pair<const char*, Rows> sections[] = {
        {"Parameters", parameterRows(report)},
        {"Fields", fieldRows(report)},
        {"Data", tableRows(report)},
        {"Fonts", fontRows(report)},
    };
    std::string text;
    for (const auto& [title, rows] : sections) {
        if (!rows.empty()) text += (text.empty() ? "" : "\n") + tableOf(title, rows);
    }
    return text;
}

// A member of an object in JSON, after another one.
std::string member(const char* name, const std::string& json) {
    return ", \"" + std::string(name) + "\": " + json;
}

std::string placeInJson(const Item& item) {
    if (item.line == 0) return "";
    return member("line", std::to_string(item.line)) + member("column", std::to_string(item.column));
}

// A list in JSON, with an item per line. `members` gives what an item has besides its name.
template <class Items, class Members>
std::string listInJson(const char* name, const Items& items, Members&& members) {
    std::string list;
    for (const auto& item : items) {
        const auto& [itemName, more] = members(item);
        list += (list.empty() ? "\n" : ",\n") + ("    {\"name\": " + inJson(itemName)) + more + "}";
    }
    return ",\n  \"" + std::string(name) + "\": [" + list + (list.empty() ? "]" : "\n  ]");
}

std::string asJson(const std::string& file, const Report& report) {
    using Members = std::pair<std::string, std::string>;
    std::string json = "{\n  \"template\": " + inJson(file);
    json += listInJson("parameters", report.items(QBXItemKind_Parameter), [](const Item& item) {
        return Members(item.name, member("type", inJson(item.type)) + member("value", inJson(item.value)) +
                                      member("required", item.isRequired ? "true" : "false") +
                                      placeInJson(item));
    });
    json += listInJson("fields", report.items(QBXItemKind_Field), [](const Item& item) {
        return Members(item.name, member("count", std::to_string(item.count)) + placeInJson(item));
    });
    json += listInJson("tables", loadedTables(report), [](const LoadedTable& loaded) {
        return Members(loaded.table.name, member("rows", std::to_string(loaded.table.count)) +
                                              member("columns", "[" + joined(loaded.columns, inJson) + "]"));
    });
    json += listInJson("fonts", report.items(QBXItemKind_Font), [](const Item& item) {
        return Members(item.name,
                       member("file", inJson(item.value)) + member("count", std::to_string(item.count)));
    });
    return json + "\n}\n";
}

}  // namespace

ExitStatus info(const InfoOptions& options, Messages& messages) {
    Report report(messages);
    report.loadTemplate(options.file);
    report.loadData(options.data);
    writeResult(options.isJson ? asJson(options.file, report) : asText(report));
    return messages.status(false);
}

}  // namespace qbreport
