#include "qbsvrl6/bind/chart_query.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>

#include "qbsvrl6/bind/name_list.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

AggregateKind kindOf(ChartAggregate aggregate) {
    switch (aggregate) {
        case ChartAggregate::Sum:
            break;
        case ChartAggregate::Average:
            return AggregateKind::Average;
        case ChartAggregate::Count:
            return AggregateKind::Count;
        case ChartAggregate::Minimum:
            return AggregateKind::Minimum;
        case ChartAggregate::Maximum:
            return AggregateKind::Maximum;
    }
    return AggregateKind::Sum;
}

// The order of categories: numbers and dates, then texts, then empty values.
struct SortKey {
    enum class Kind { Number, Text, Nothing } kind = Kind::Nothing;
    Number number;
    std::u16string text;

    static SortKey of(const Value& value) {
        SortKey key;
        if (value.type == ValueType::Date) {
            key = {Kind::Number, value.date, {}};
        } else if (toNumber(value, key.number)) {
            key.kind = Kind::Number;
        } else if (!value.isNull() && !value.text.empty()) {
            key = {Kind::Text, 0, std::u16string(value.text)};
        }
        return key;
    }
    bool operator<(const SortKey& other) const {
        if (kind != other.kind) return kind < other.kind;
        return kind == Kind::Number ? compare(number, other.number) < 0 : text < other.text;
    }
};

template <class T>
std::vector<T> inOrder(std::vector<T>&& items, const std::vector<std::size_t>& order) {
    std::vector<T> ordered;
    ordered.reserve(order.size());
    for (const std::size_t index : order) ordered.push_back(std::move(items[index]));
    return ordered;
}

}  // namespace

// Collects the rows of one evaluation.
class ChartQuery::Gathering {
public:
    Gathering(ChartQuery& query, RowView& view, const std::u16string& name)
        : query_(query), view_(view), name_(name), made_(query.series_.size()) {
        position_.scope = view.rowScope();
        position_.ofRow = true;
        position_.pageRows = {0, view.rowCount()};
        // A series whose label has no placeholders exists even without rows.
        for (std::size_t i = 0; i < made_.size(); ++i) {
            if (query.series_[i].label.isConstant()) made(i);
        }
    }

    void takeRow(std::size_t row) {
        position_.row = row;
        if (query_.filter_ && !view_.isTrue(*query_.filter_, position_)) return;
        std::size_t category = 0;
        if (hasValues()) {
            view_.evaluateText(query_.category_, position_, text_);
            category = categories_.indexOf(text_.text);
            checkValues();
            if (query_.sort_) takeSortKey(category);
        }
        for (std::size_t i = 0; i < made_.size(); ++i) {
            query_.series_[i].x ? takePoint(i) : takeValue(query_.series_[i], made(i), category);
        }
    }

    ChartData take() {
        ChartData data;
        for (std::size_t i = 0; i < made_.size(); ++i) {
            for (std::size_t k = 0; k < made_[i].gathered.size(); ++k) {
                Gathered& gathered = made_[i].gathered[k];
                ChartSeries& series = data.series.emplace_back();
                series.label = made_[i].labels.names()[k];
                series.points = std::move(gathered.points);
                if (query_.series_[i].x) continue;
                gathered.values.resize(categories_.size());
                for (const AggregateState& value : gathered.values) {
                    double number = 0;
                    const bool any = toNumber(value.result(query_.series_[i].aggregate), number);
                    series.values.push_back(any ? number : std::numeric_limits<double>::quiet_NaN());
                }
            }
        }
        data.categories = std::move(categories_).names();
        if (query_.sort_) sort(data);
        return data;
    }

private:
    struct Gathered {
        std::vector<AggregateState> values;  // per category; missing ones at the end have no rows
        std::vector<ChartPoint> points;
    };
    struct Made {
        NameList labels;
        std::vector<Gathered> gathered;  // per label
    };

    void check(std::size_t count, std::size_t most, const char* what) const {
        if (count <= most) return;
        throw EngineError(ErrorCode::LimitExceeded, "the rows of the chart \"" + toUtf8(name_) +
                                                        "\" give more than " + std::to_string(most) + " " +
                                                        what);
    }

    bool hasValues() const { return !query_.series_.empty() && !query_.series_.front().x; }

    void checkValues() const { check(count_ * categories_.size(), limits::kChartPoints, "values"); }

    Gathered& made(std::size_t series) {
        Made& made = made_[series];
        view_.evaluateText(query_.series_[series].label, position_, text_);
        const std::size_t index = made.labels.indexOf(text_.text);
        if (index == made.gathered.size()) {
            made.gathered.emplace_back();
            check(++count_, limits::kChartSeries, "series");
            checkValues();
        }
        return made.gathered[index];
    }

    void takeSortKey(std::size_t category) {
        SortKey key = SortKey::of(view_.evaluate(*query_.sort_, position_));
        if (category == sortKeys_.size()) sortKeys_.emplace_back();
        if (key < sortKeys_[category]) sortKeys_[category] = std::move(key);
    }

    void sort(ChartData& data) const {
        std::vector<std::size_t> order(data.categories.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(),
                         [this](std::size_t a, std::size_t b) { return sortKeys_[a] < sortKeys_[b]; });
        data.categories = inOrder(std::move(data.categories), order);
        for (ChartSeries& series : data.series) series.values = inOrder(std::move(series.values), order);
    }

    // Rows without a number are left out; only counts include them.
    void takeValue(Series& series, Gathered& gathered, std::size_t category) {
        if (gathered.values.size() <= category) gathered.values.resize(category + 1);
        AggregateState& state = gathered.values[category];
        if (!series.value) return state.countRow();
        Value value = view_.evaluate(*series.value, position_);
        Number number;
        if (series.aggregate != AggregateKind::Count) {
            if (!toNumber(value, number)) {
                return view_.noteIfUnread(*series.value, value, DataType::Number, position_);
            }
            value = makeNumber(number);
        }
        state.add(series.aggregate, value, arena_);
    }

    void takePoint(std::size_t index) {
        Series& series = query_.series_[index];
        ChartPoint point;
        const auto read = [&](std::optional<Expression>& expression, double& number) {
            if (!expression) return true;
            const Value value = view_.evaluate(*expression, position_);
            const bool isNumber = toNumber(value, number);
            if (!isNumber) view_.noteIfUnread(*expression, value, DataType::Number, position_);
            return isNumber;
        };
        if (!read(series.x, point.x) || !read(series.y, point.y) || !read(series.size, point.size)) return;
        check(++points_, limits::kChartPoints, "points");
        made(index).points.push_back(point);
    }

    ChartQuery& query_;
    RowView& view_;
    const std::u16string& name_;
    Position position_;
    NameList categories_;
    std::vector<SortKey> sortKeys_;  // per category
    std::vector<Made> made_;         // for each series of the template
    std::size_t count_ = 0;          // of the chart's series
    std::size_t points_ = 0;
    EvaluatedText text_;
    TextArena arena_;
};

ChartQuery::ChartQuery(const ChartRows& rows, Binding& binding)
    : category_(binding.compileText(rows.category)) {
    if (rows.table.empty() && !trimmed(rows.filter).empty()) filter_ = binding.compile(rows.filter);
    const auto compiled = [&](const std::u16string& text) {
        return trimmed(text).empty() ? std::nullopt : std::optional(binding.compile(text));
    };
    sort_ = compiled(rows.sort);
    for (const ChartRowSeries& series : rows.series) {
        series_.push_back({binding.compileText(series.label), kindOf(series.aggregate),
                           compiled(series.value), compiled(series.x), compiled(series.y),
                           compiled(series.size)});
    }
}

ChartData ChartQuery::evaluate(RowView& view, RowRange range, const std::u16string& name) {
    Gathering gathering(*this, view, name);
    for (std::size_t row = range.first; row < range.end; ++row) {
        goOn();
        gathering.takeRow(row);
    }
    return std::move(gathering).take();
}

}  // namespace qbsvrl6
