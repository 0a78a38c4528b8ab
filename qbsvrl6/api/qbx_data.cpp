// Data from memory, from connections and from a program's rows.
#include <charconv>
#include <cmath>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/data_cache.h"
#include "qbsvrl6/api/database_queries.h"
#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/report_work.h"
#include "qbsvrl6/bind/date_text.h"
#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

struct QBXRow {
    Table table;
    std::vector<std::size_t> columns;
    bool isBegun = false;
    std::exception_ptr failure;  // of a value: it ends the load, not the program's function

    void begin() {
        if (!std::exchange(isBegun, true)) table.beginRow();
    }
};

namespace {

// Calls `set` with the row's table and the column. Zero if there is no such column, or if `set` returns
// false.
template <class Set>
int setValue(const char* function, QBXRow* row, uint64_t column, Set&& set) {
    return guarded(function, 0, [&] {
        if (row == nullptr || column >= row->columns.size()) return 0;
        if (row->failure) return 0;
        try {
            row->begin();
            return set(row->table, row->columns[static_cast<std::size_t>(column)]) ? 1 : 0;
        } catch (...) {
            row->failure = std::current_exception();
            return 0;
        }
    });
}

bool setNumber(Table& table, std::size_t column, std::string_view digits) {
    Number number;
    const std::u16string text = toUtf16(digits);
    if (!Number::parse(text, number)) return false;
    table.setNumber(column, number, text);
    return true;
}

template <class Value>
bool setNumberOf(Table& table, std::size_t column, Value value) {
    char digits[32];
    const auto result = std::to_chars(&digits[0], &digits[sizeof digits], value);
    return setNumber(table, column, {&digits[0], result.ptr});
}

ConnectionParts sourceOf(std::u16string_view connection) {
    const bool isDocument = connection.empty() || connection == u"json";
    const std::optional<ConnectionParts> parts = connectionParts(isDocument ? u"xml" : connection);
    if (parts) return *parts;
    throw EngineError(ErrorCode::NotSupported, "the connection \"" + toUtf8(connection) +
                                                   "\" is unknown; there are " + knownConnections());
}

DataSet readDataOf(const std::string& kind, std::string bytes, const std::string& name) {
    const std::u16string connection = toUtf16(kind);
    const ConnectionParts source = sourceOf(connection);
    if (source.readsSql()) throw EngineError(ErrorCode::NotSupported, "a database is not read from memory");
    return readSource(*bytesOf(std::move(bytes), name), source);
}

std::shared_ptr<const DataSet> loadFrom(Runtime& runtime, const std::string& connection,
                                        const std::string& query) {
    const Address named{toUtf16(connection), ""};
    const ConnectionParts source = sourceOf(named.name);
    if (!source.readsSql()) return runtime.dataCache.get({toUtf16(query), ""}, source);
    DataSet set;
    for (const auto& [name, value] : runtime.parameters) set.add({name, ValueType::Text, {}, false, value});
    Databases databases;
    return databases.query(named, source, toUtf16(query), {runtime.report.definition, {}, &set, nullptr})
        .data;
}

void addRows(Runtime& runtime, Table&& table) {
    if (runtime.ownRows == nullptr || runtime.loadedData != runtime.ownRows) {
        runtime.ownRows = std::make_shared<DataSet>();
        runtime.ownRows->origin = "the rows of the program";
    }
    runtime.ownRows->add(std::move(table));
    runtime.loadedData = runtime.ownRows;
}

}  // namespace

int QBXReportLoadData(tagQBReport* handle, const char* kind, const void* bytes, uint64_t size,
                      const char* name) {
    return withObject(__func__, handle, [&](Report& report) {
        if (bytes == nullptr && size > 0) return 0;
        refuseDuringExport(report);
        Runtime& runtime = runtimeOf(report);
        const ReportWork work(runtime);
        runtime.loadedData.reset();
        std::string text(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
        runtime.loadedData =
            std::make_shared<const DataSet>(readDataOf(textOf(kind), std::move(text), textOf(name)));
        return 1;
    });
}

int QBXReportLoadDataFrom(tagQBReport* handle, const char* connection, const char* query) {
    return withObject(__func__, handle, [&](Report& report) {
        refuseDuringExport(report);
        Runtime& runtime = runtimeOf(report);
        const ReportWork work(runtime);
        runtime.loadedData.reset();
        runtime.loadedData = loadFrom(runtime, textOf(connection), textOf(query));
        return 1;
    });
}

int QBXReportLoadRows(tagQBReport* handle, const char* table, const char* const* columns,
                      uint64_t columnCount, QBXNextRow next, void* context) {
    return withObject(__func__, handle, [&](Report& report) {
        if (next == nullptr || (columns == nullptr && columnCount > 0)) return 0;
        refuseDuringExport(report);
        Runtime& runtime = runtimeOf(report);
        const ReportWork work(runtime);
        QBXRow row{Table(toUtf16(textOf(table))), {}, false, nullptr};
        for (uint64_t i = 0; i < columnCount; ++i) {
            const std::string name = textOf(columns[i]);
            row.columns.push_back(row.table.columnOf(row.table.names().nameOf(ColumnNames::kRow, name)));
            if (row.columns.back() == Table::npos) {
                throw EngineError(ErrorCode::LimitExceeded, "the table has too many columns");
            }
        }
        for (;;) {
            row.isBegun = false;
            const int result = next(context, &row);
            if (row.failure) std::rethrow_exception(row.failure);
            if (result < 0)
                throw EngineError(ErrorCode::BadData, "the program has no further rows: it failed");
            if (result == 0) break;
            row.begin();
        }
        addRows(runtime, std::move(row.table));
        return 1;
    });
}

int QBXRowSetText(QBXRow* row, uint64_t column, const char* text, uint64_t size) {
    return setValue(__func__, row, column, [&](Table& table, std::size_t at) {
        if (text == nullptr) return size == 0;
        table.setText(at, toUtf16({text, static_cast<std::size_t>(size)}));
        return true;
    });
}

int QBXRowSetInteger(QBXRow* row, uint64_t column, int64_t value) {
    return setValue(__func__, row, column,
                    [&](Table& table, std::size_t at) { return setNumberOf(table, at, value); });
}

int QBXRowSetNumber(QBXRow* row, uint64_t column, double value) {
    return setValue(__func__, row, column, [&](Table& table, std::size_t at) {
        return !std::isfinite(value) || setNumberOf(table, at, value);
    });
}

int QBXRowSetDecimal(QBXRow* row, uint64_t column, const char* digits) {
    return setValue(__func__, row, column,
                    [&](Table& table, std::size_t at) { return setNumber(table, at, textOf(digits)); });
}

int QBXRowSetBoolean(QBXRow* row, uint64_t column, int value) {
    return setValue(__func__, row, column, [&](Table& table, std::size_t at) {
        table.setBoolean(at, value != 0);
        return true;
    });
}

int QBXRowSetDate(QBXRow* row, uint64_t column, const char* iso) {
    return setValue(__func__, row, column, [&](Table& table, std::size_t at) {
        std::int64_t seconds = 0;
        const std::u16string text = toUtf16(textOf(iso));
        if (!parseDate(text, seconds)) return false;
        table.setDate(at, seconds, text);
        return true;
    });
}
