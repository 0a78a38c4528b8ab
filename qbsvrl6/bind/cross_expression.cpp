#include "qbsvrl6/bind/cross_expression.h"

#include <array>
#include <string>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

[[noreturn]] void fail(std::u16string_view text, std::size_t column, const std::string& problem) {
    constexpr std::size_t kShown = 200;
    throw EngineError(ErrorCode::BadExpression,
                      "bad expression \"" + toUtf8(text.substr(0, kShown)) + "\", column " +
                          std::to_string(column) + ": " + problem,
                      {"", {0, static_cast<int>(column)}});
}

bool isNamed(const CrossLevel& level, std::u16string_view name) {
    return (level.name.empty() ? level.by : level.name) == name;
}

}  // namespace

CrossScope crossScopeOf(const Aggregate& aggregate, const CrossTable& cross, std::u16string_view text) {
    using Kind = CrossScopeKind;
    const std::u16string& name = aggregate.scopeName;
    if (name.empty()) return {};
    for (std::size_t level = 0; level < cross.rows.size(); ++level) {
        if (isNamed(cross.rows[level], name)) return {Kind::RowLevel, level};
    }
    for (std::size_t level = 0; level < cross.columns.size(); ++level) {
        if (isNamed(cross.columns[level], name)) return {Kind::ColumnLevel, level};
    }
    constexpr std::array<std::pair<std::u16string_view, Kind>, 6> kWords = {{
        {u"Row", Kind::Row},
        {u"Column", Kind::Column},
        {u"All", Kind::All},
        {u"Report", Kind::All},
        {u"RunningAcross", Kind::RunningAcross},
        {u"RunningDown", Kind::RunningDown},
    }};
    for (const auto& [word, kind] : kWords) {
        if (equalsIgnoringCase(name, word)) return {kind, 0};
    }
    fail(text, aggregate.scopeColumn,
         "a cross-table has no \"" + toUtf8(name) +
             "\": there are Row, Column, All, RunningAcross, RunningDown and the names of its levels");
}

void checkCrossExpression(const Expression& expression, const CrossTable& cross, std::u16string_view text) {
    if (expression.usesPage || expression.usesPageCount) {
        fail(text, 1, "cells are calculated before there are pages: no page number and no page count");
    }
    for (const Aggregate& aggregate : expression.aggregates) {
        const CrossScope scope = crossScopeOf(aggregate, cross, text);
        if (aggregate.kind == AggregateKind::RowNumber) fail(text, 1, "a cell has no row number");
        const bool isRunning =
            scope.kind == CrossScopeKind::RunningAcross || scope.kind == CrossScopeKind::RunningDown;
        if (isRunning && aggregate.kind != AggregateKind::Sum && aggregate.kind != AggregateKind::Count)
            fail(text, aggregate.scopeColumn, "only Sum and Count run across or down");
    }
}

}  // namespace qbsvrl6
