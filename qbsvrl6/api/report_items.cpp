#include "qbsvrl6/api/report_items.h"

#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <variant>

#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/api/report_files.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/bind/returned_values.h"
#include "qbsvrl6/data/sql_statement.h"
#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/contents.h"

namespace qbsvrl6 {

namespace {

std::string typeName(DataType type) {
    switch (type) {
        case DataType::Text:
            return "text";
        case DataType::Number:
            return "number";
        case DataType::Boolean:
            return "boolean";
        case DataType::Date:
            return "date";
    }
    return {};
}

using LowerCaseNames = std::set<std::u16string>;

// The names in the SQL of a report and its sub-reports that nothing in the report or its data gives a value.
class QueryParameters {
public:
    // `listed` are the parameters of `items`.
    QueryParameters(std::vector<ReportItem>& items, LowerCaseNames listed)
        : items_(items), listed_(std::move(listed)) {}

    // `connection` is that of the report around, `passed` are the names that it passes.
    void add(ReportDefinition& report, const std::u16string& connection, LowerCaseNames passed) {
        for (const Parameter& parameter : report.parameters) passed.insert(lowerCase(parameter.name));
        const std::u16string own = connectionOf(report.data, connection);
        addFrom(report.data, own, report, passed);
        if (report.grid) {
            addFrom(report.grid->recordset, connectionOf(report.grid->recordset, own), report, passed);
        }
        forEachSubReport(report, [&](Control& control, Report& inner) {
            LowerCaseNames names = inner.definition.inherits ? passed : LowerCaseNames();
            for (const auto& parameter : std::get<SubReportContent>(control.content).parameters) {
                names.insert(lowerCase(parameter.name));
            }
            add(inner.definition, own, std::move(names));
        });
    }

private:
    static std::u16string connectionOf(const DataSource& source, const std::u16string& outer) {
        return source.connection.empty() ? outer : source.connection.name;
    }

    void addFrom(const DataSource& source, const std::u16string& connection, const ReportDefinition& report,
                 const LowerCaseNames& passed) {
        const std::optional<ConnectionParts> parts = connectionParts(connection);
        if (!parts || !parts->readsSql()) return;
        for (const std::u16string& name : placeholdersFor(source.query.name).names) {
            const std::u16string key = lowerCase(name);
            if (passed.contains(key) || !listed_.insert(key).second) continue;
            ReportItem item;
            item.name = toUtf8(name);
            item.isRequired = true;
            item.position = placeOf(source.query, report);
            items_.push_back(std::move(item));
        }
    }

    std::vector<ReportItem>& items_;
    LowerCaseNames listed_;
};

std::vector<ReportItem> parametersOf(Runtime& runtime) {
    std::vector<ReportItem> items;
    LowerCaseNames known;
    for (const Parameter& parameter : runtime.report.definition.parameters) {
        ReportItem item;
        item.name = toUtf8(parameter.name);
        item.type = typeName(parameter.type);
        item.value = toUtf8(parameter.value);
        item.isRequired = parameter.required;
        items.push_back(std::move(item));
        known.insert(lowerCase(parameter.name));
    }
    if (runtime.loadedData != nullptr) {
        for (const DataParameter& parameter : runtime.loadedData->parameters()) {
            if (!known.insert(lowerCase(parameter.name)).second) continue;
            ReportItem item;
            item.name = toUtf8(parameter.name);
            item.value = toUtf8(parameter.text);
            items.push_back(std::move(item));
        }
    }
    QueryParameters(items, std::move(known)).add(runtime.report.definition, {}, {});
    return items;
}

// The names of a template that are neither its parameters, its calculated fields nor returned values.
std::vector<ReportItem> fieldsOf(const Runtime& runtime) {
    const ReportDefinition& definition = runtime.report.definition;
    std::set<std::u16string> others;
    for (const Parameter& parameter : definition.parameters) others.insert(lowerCase(parameter.name));
    for (const Field& field : definition.fields) {
        if (!field.expression.empty()) others.insert(lowerCase(field.name));
    }
    for (const DeclaredReturn& declared : declaredReturns(definition)) {
        others.insert(lowerCase(declared.value().name));
    }
    std::vector<ReportItem> items;
    for (const Mention& mention : contentsOf(definition).names) {
        if (others.contains(lowerCase(mention.name))) continue;
        ReportItem item;
        item.name = toUtf8(mention.name);
        item.count = mention.count;
        item.position = mention.position;
        items.push_back(std::move(item));
    }
    return items;
}

std::vector<ReportItem> tablesOf(const Runtime& runtime) {
    std::vector<ReportItem> items;
    if (runtime.loadedData == nullptr) return items;
    for (const Table& table : runtime.loadedData->tables()) {
        ReportItem item;
        item.name = toUtf8(table.name());
        item.count = table.rowCount();
        items.push_back(std::move(item));
    }
    return items;
}

std::vector<ReportItem> columnsOf(const Runtime& runtime) {
    std::vector<ReportItem> items;
    if (runtime.loadedData == nullptr) return items;
    for (const Table& table : runtime.loadedData->tables()) {
        for (std::size_t column = 0; column < table.columnCount(); ++column) {
            ReportItem item;
            item.name = toUtf8(table.columnName(column));
            item.table = toUtf8(table.name());
            items.push_back(std::move(item));
        }
    }
    return items;
}

std::vector<ReportItem> fontsOf(const Runtime& runtime) {
    std::vector<ReportItem> items;
    for (const Mention& mention : contentsOf(runtime.report.definition).fonts) {
        ReportItem item;
        item.name = toUtf8(mention.name);
        item.count = mention.count;
        item.value = resolveFont(mention.name, false, false).first.face->file;
        items.push_back(std::move(item));
    }
    return items;
}

}  // namespace

std::vector<ReportItem> reportItems(Runtime& runtime, QBXItemKind kind) {
    switch (kind) {
        case QBXItemKind_Parameter:
            return parametersOf(runtime);
        case QBXItemKind_Field:
            return fieldsOf(runtime);
        case QBXItemKind_Table:
            return tablesOf(runtime);
        case QBXItemKind_Column:
            return columnsOf(runtime);
        case QBXItemKind_Font:
            return fontsOf(runtime);
        case QBXItemKind_File:
            return filesOf(runtime);
    }
    return {};
}

}  // namespace qbsvrl6
