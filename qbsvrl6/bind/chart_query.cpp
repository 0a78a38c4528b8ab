#include "qbsvrl6/bind/chart_query.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

#include "qbsvrl6/bind/mixed_texts.h"
#include "qbsvrl6/bind/name_list.h"
#include "qbsvrl6/bind/sort_keys.h"
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

[[noreturn]] void failTotal(std::u16string_view sort) {
    constexpr std::size_t kShown = 200;
    throw EngineError(ErrorCode::BadExpression,
                      "bad sort \"" + toUtf8(sort.substr(0, kShown)) +
                          "\": categories are sorted by a total alone, such as Sum(Amount) desc");
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
            takeSortValues(category);
        }
        for (std::size_t i = 0; i < made_.size(); ++i) {
            query_.series_[i].x ? takePoint(i) : takeValue(query_.series_[i], made(i), category);
        }
    }

    ChartData take() {
        const std::vector<std::size_t> order = categoryOrder();
        const bool isCut = query_.top_ > 0 && order.size() > query_.top_;
        const std::size_t shown = isCut ? query_.top_ : order.size();
        const bool hasOthers = isCut && !query_.others_.empty();
        ChartData data;
        for (std::size_t i = 0; i < shown; ++i) data.categories.push_back(categories_.names()[order[i]]);
        if (hasOthers) data.categories.push_back(query_.others_);
        for (std::size_t i = 0; i < made_.size(); ++i) {
            for (std::size_t k = 0; k < made_[i].gathered.size(); ++k) {
                Gathered& gathered = made_[i].gathered[k];
                ChartSeries& series = data.series.emplace_back();
                series.label = made_[i].labels.names()[k];
                series.points = std::move(gathered.points);
                if (query_.series_[i].x) continue;
                gathered.values.resize(categories_.size());
                const AggregateKind kind = query_.series_[i].aggregate;
                for (std::size_t at = 0; at < shown; ++at) {
                    series.values.push_back(numberOf(gathered.values[order[at]], kind));
                }
                if (!hasOthers) continue;
                AggregateState others;
                for (std::size_t at = shown; at < order.size(); ++at) {
                    others.merge(kind, gathered.values[order[at]], arena_);
                }
                series.values.push_back(numberOf(others, kind));
            }
        }
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

    static double numberOf(const AggregateState& state, AggregateKind kind) {
        double number = 0;
        return toNumber(state.result(kind), number) ? number : std::numeric_limits<double>::quiet_NaN();
    }

    void takeSortValues(std::size_t category) {
        if (category == sortStates_.size()) sortStates_.emplace_back(query_.sortValues_.size());
        for (std::size_t term = 0; term < query_.sortValues_.size(); ++term) {
            const SortValue& sort = query_.sortValues_[term];
            AggregateState& state = sortStates_[category][term];
            if (!sort.value) {
                state.countRow();
                continue;
            }
            const Value value = view_.evaluate(*sort.value, position_);
            view_.add(state, sort.aggregate, *sort.value, value, position_);
        }
    }

    std::vector<std::size_t> categoryOrder() const {
        std::vector<std::size_t> order(categories_.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        if (query_.sortTerms_.empty()) return order;
        SortKeys keys(order.size(), query_.sortTerms_, [&](std::size_t term, std::size_t category) {
            return sortStates_[category][term].result(query_.sortValues_[term].aggregate);
        });
        for (const SortKeys::Mixed& mixed : keys.mixedTerms()) {
            logMixedTerm(*query_.sortValues_[mixed.term].value, mixed,
                         "the category \"" + toUtf8(categories_.names()[mixed.item]) + '"',
                         query_.sortPlace_);
        }
        keys.sort(0, keys.size());
        for (std::size_t at = 0; at < order.size(); ++at) order[at] = keys.itemAt(at);
        return order;
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
    std::vector<std::vector<AggregateState>> sortStates_;  // per category and term
    std::vector<Made> made_;                               // for each series of the template
    std::size_t count_ = 0;                                // of the chart's series
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
    compileSort(rows, binding);
    top_ = static_cast<std::size_t>(std::max(rows.top, 0));
    others_ = rows.others;
    for (const ChartRowSeries& series : rows.series) {
        series_.push_back({binding.compileText(series.label), kindOf(series.aggregate),
                           compiled(series.value), compiled(series.x), compiled(series.y),
                           compiled(series.size)});
    }
}

// A term that is one total sorts by it; any other one by its smallest or greatest value.
void ChartQuery::compileSort(const ChartRows& rows, Binding& binding) {
    sortTerms_ = binding.compileSort(rows.sort);
    if (!sortTerms_.empty()) sortPlace_ = binding.placeOf(rows.sort);
    for (SortTerm& term : sortTerms_) {
        Expression& expression = term.expression;
        const bool isTotal = expression.code.size() == 1 && expression.aggregates.size() == 1 &&
                             expression.aggregates[0].scope.kind == ScopeKind::Default &&
                             expression.aggregates[0].kind != AggregateKind::RowNumber;
        if (!isTotal) {
            if (!expression.aggregates.empty() && expression.usesDefaultScope) failTotal(rows.sort);
            sortValues_.push_back(
                {term.descending ? AggregateKind::Maximum : AggregateKind::Minimum, std::move(expression)});
            continue;
        }
        Aggregate& total = expression.aggregates[0];
        SortValue& value = sortValues_.emplace_back();
        value.aggregate = total.kind;
        if (total.argument) value.value = std::move(*total.argument);
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
