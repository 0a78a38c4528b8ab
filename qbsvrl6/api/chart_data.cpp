#include "qbsvrl6/api/chart_data.h"

#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/bind/name_list.h"
#include "qbsvrl6/bind/unread_values.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

class ChartTable {
public:
    explicit ChartTable(std::u16string_view xml)
        : data_(readData(toUtf8(xml), "chart data")), table_(data_.table(u"")) {
        if (table_ == nullptr) throw EngineError(ErrorCode::BadData, "no rows in the chart data");
        if (table_->rowCount() > limits::kChartPoints) {
            throw EngineError(ErrorCode::LimitExceeded, "more than " + std::to_string(limits::kChartPoints) +
                                                            " rows in the chart data");
        }
    }

    const Table* operator->() const { return table_; }

    // Index of the column, or Table::npos, whose values read as null.
    std::size_t column(std::u16string_view name) const { return table_->findColumn(name); }
    std::size_t requiredColumn(std::u16string_view name) const {
        const std::size_t found = column(name);
        if (found == Table::npos) {
            throw EngineError(ErrorCode::BadData, "the chart data has no column \"" + toUtf8(name) + "\"");
        }
        return found;
    }

    // A missing value is 0, and a text that is no number counts as 0.
    double number(std::size_t row, std::size_t column) {
        const Value value = table_->value(row, column);
        double number = 0;
        if (toNumber(value, number) || value.type != ValueType::Text) return number;
        unread_.add({"the chart data's column", table_->columnName(column), row}, value.text,
                    DataType::Number);
        return 0;
    }

private:
    DataSet data_;
    const Table* table_;
    UnreadValues unread_{"it counts as 0"};
};

// Replaces the present series with those that were read, as far as `replace` asks for it.
void takeSeries(std::vector<ChartSeries>&& read, bool replaceNumber, bool replaceLabels, ChartData& data) {
    if (replaceNumber) data.series.resize(read.size());
    for (std::size_t i = 0; i < data.series.size(); ++i) {
        ChartSeries& series = data.series[i];
        ChartSeries source = i < read.size() ? std::move(read[i]) : ChartSeries{};
        series.values = std::move(source.values);
        series.points = std::move(source.points);
        if (replaceLabels && i < read.size()) series.label = std::move(source.label);
    }
}

void checkSize(std::size_t series, std::size_t categories) {
    if (series > limits::kChartSeries || series * categories > limits::kChartPoints) {
        throw EngineError(ErrorCode::LimitExceeded, "too many series or values in the chart data");
    }
}

// One row per value: category, series (may be absent) and value.
std::vector<ChartSeries> readLongRows(ChartTable& table, std::vector<std::u16string>& categories) {
    const std::size_t categoryColumn = table.requiredColumn(u"Category");
    const std::size_t seriesColumn = table.column(u"Series");
    const std::size_t valueColumn = table.requiredColumn(u"Value");
    NameList categoryNames;
    NameList seriesNames;
    struct Place {
        std::size_t category, series;
    };
    std::vector<Place> places;
    for (std::size_t row = 0; row < table->rowCount(); ++row) {
        places.push_back({categoryNames.indexOf(std::u16string(table->value(row, categoryColumn).text)),
                          seriesNames.indexOf(std::u16string(table->value(row, seriesColumn).text))});
    }
    categories = categoryNames.names();
    checkSize(seriesNames.names().size(), categories.size());
    std::vector<ChartSeries> series(seriesNames.names().size());
    for (std::size_t i = 0; i < series.size(); ++i) {
        series[i].label = seriesNames.names()[i];
        series[i].values.resize(categories.size());
    }
    for (std::size_t row = 0; row < places.size(); ++row) {
        series[places[row].series].values[places[row].category] = table.number(row, valueColumn);
    }
    return series;
}

// One row per category: its name in the first column, then one column per series.
std::vector<ChartSeries> readWideRows(ChartTable& table, std::vector<std::u16string>& categories) {
    const std::size_t count = table->columnCount() == 0 ? 0 : table->columnCount() - 1;
    checkSize(count, table->rowCount());
    std::vector<ChartSeries> series(count);
    for (std::size_t i = 0; i < count; ++i) series[i].label = table->columnName(i + 1);
    categories.clear();
    for (std::size_t row = 0; row < table->rowCount(); ++row) {
        categories.emplace_back(table->value(row, 0).text);
        for (std::size_t i = 0; i < count; ++i) series[i].values.push_back(table.number(row, i + 1));
    }
    return series;
}

}  // namespace

void readChartValues(std::u16string_view xml, const ChartDataUse& use, ChartData& data) {
    ChartTable table(xml);
    std::vector<std::u16string> categories;
    const bool wide = table.column(u"Value") == Table::npos;
    std::vector<ChartSeries> series =
        wide ? readWideRows(table, categories) : readLongRows(table, categories);
    if (use.categories) data.categories = std::move(categories);
    takeSeries(std::move(series), use.series, use.labels, data);
}

void readChartPoints(std::u16string_view xml, bool sizes, bool replaceLabels, ChartData& data) {
    ChartTable table(xml);
    const std::size_t seriesColumn = table.column(u"Series");
    const std::size_t xColumn = table.requiredColumn(u"X");
    const std::size_t yColumn = table.requiredColumn(u"Y");
    const std::size_t sizeColumn = sizes ? table.requiredColumn(u"Size") : Table::npos;
    NameList names;
    std::vector<ChartSeries> series;
    for (std::size_t row = 0; row < table->rowCount(); ++row) {
        const std::size_t index = names.indexOf(std::u16string(table->value(row, seriesColumn).text));
        if (index == series.size()) series.emplace_back().label = names.names()[index];
        checkSize(series.size(), 1);
        series[index].points.push_back(
            {table.number(row, xColumn), table.number(row, yColumn), table.number(row, sizeColumn)});
    }
    data.categories.clear();
    takeSeries(std::move(series), true, replaceLabels, data);
}

}  // namespace qbsvrl6
