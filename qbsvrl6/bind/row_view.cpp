#include "qbsvrl6/bind/row_view.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "qbsvrl6/bind/group_finder.h"
#include "qbsvrl6/bind/mixed_texts.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

WalkedRows allRows(const Table* table) {
    const std::size_t count = table == nullptr ? 0 : table->rowCount();
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        throw EngineError(ErrorCode::LimitExceeded, "the data has too many rows");
    }
    return WalkedRows({0, count});
}

}  // namespace

RowView::RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now)
    : RowView(binding, passed, now, allRows(binding.sources().rows)) {}

RowView::RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now,
                 WalkedRows rows, RowTables tables, bool areOfTables)
    : binding_(binding),
      tables_(std::move(tables)),
      table_(tables_.tableFor(binding.sources().rows)),
      rows_(areOfTables || table_ == binding.sources().rows ? std::move(rows) : allRows(table_)),
      evaluator_(binding, tables_, rows_, passed, now) {
    if (binding.returnedCount() > 0) evaluator_.setReturned(&returned_.emplace(binding, *this, evaluator_));
    applyFilter();
    sort();
    if (!binding.groups().empty()) GroupFinder(binding, rows_, evaluator_).find();
}

// While the filter runs, all rows are walked: its aggregates, if any, cover all of them.
void RowView::applyFilter() {
    if (!binding_.filter()) return;
    const bool isIndexed = !rows_.isListed() && table_ == binding_.sources().rows;
    const FilterIndex* const index = isIndexed ? binding_.filterIndex() : nullptr;
    const std::optional<std::vector<std::uint32_t>> candidates =
        index == nullptr ? std::nullopt : index->candidates(evaluator_.read(index->parameter(), {}));
    std::vector<std::uint32_t> kept;
    const auto keepIfTrue = [&](std::size_t row) {
        goOn();
        Position position;
        position.row = row;
        position.ofRow = true;
        if (isTrue(*binding_.filter(), position))
            kept.push_back(static_cast<std::uint32_t>(rows_.tableRow(row)));
    };
    if (!candidates) {
        for (std::size_t row = 0; row < rows_.count(); ++row) keepIfTrue(row);
    } else {
        const std::size_t first = rows_.tableRow(0);
        const auto end = std::lower_bound(candidates->begin(), candidates->end(), first + rows_.count());
        for (auto at = std::lower_bound(candidates->begin(), candidates->end(), first); at != end; ++at) {
            keepIfTrue(*at - first);
        }
    }
    rows_.list(std::move(kept));
    evaluator_.forgetAggregates();
}

// Aggregates in the sort cover all rows that the filter accepts.
void RowView::sort() {
    const std::vector<SortTerm>& terms = binding_.sort();
    if (terms.empty()) return;
    SortKeys keys(rows_.count(), terms, [&](std::size_t term, std::size_t row) {
        Position position;
        position.row = row;
        position.ofRow = true;
        return evaluator_.evaluate(terms[term].expression, position);
    });
    const ReportDefinition& report = binding_.report();
    for (const SortKeys::Mixed& mixed : keys.mixedTerms()) {
        logMixedTerm(terms[mixed.term].expression, mixed,
                     "row " + std::to_string(rows_.tableRow(mixed.item) + 1),
                     report.placesOf(report.grid->sort, TextUse::Report).front());
    }
    keys.sort(0, keys.size());
    std::vector<std::uint32_t> sorted;
    sorted.reserve(keys.size());
    for (std::size_t at = 0; at < keys.size(); ++at) {
        sorted.push_back(static_cast<std::uint32_t>(rows_.tableRow(keys.itemAt(at))));
    }
    rows_.list(std::move(sorted));
    evaluator_.forgetAggregates();
}

RowRange RowView::holders(const Table* table, const Position& position) const {
    const Table* const own = binding_.sources().rows;
    if (table == nullptr || own == nullptr || !table->isWithin(*own)) return {};
    const std::size_t row = std::min(position.row, rows_.count());
    return position.ofRow ? RowRange{row, std::min(row + 1, rows_.count())} : rowsOf(position.scope, row);
}

WalkedRows RowView::rowsInside(const Table* table, const Position& position) const {
    const Table* const own = binding_.sources().rows;
    if (table == nullptr || own == nullptr || !table->isWithin(*own)) return allRows(table);
    const RowRange holding = holders(table, position);
    std::vector<RowRange> ranges;
    for (std::size_t row = holding.first; row < holding.end; ++row) {
        const std::size_t tableRow = rows_.tableRow(row);
        const RowRange inside = table->rowsWithin(*own, {tableRow, tableRow + 1});
        if (!ranges.empty() && ranges.back().end == inside.first) {
            ranges.back().end = inside.end;
        } else if (inside.end > inside.first) {
            ranges.push_back(inside);
        }
    }
    WalkedRows rows(ranges.empty() ? RowRange{} : ranges.front());
    if (ranges.size() > 1) {
        std::vector<std::uint32_t> listed;
        for (const RowRange& range : ranges) {
            for (std::size_t row = range.first; row < range.end; ++row) {
                listed.push_back(static_cast<std::uint32_t>(row));
            }
        }
        rows.list(std::move(listed));
    }
    if (holding.end > holding.first) rows.setHolder({own, rows_.tableRow(holding.first)});
    return rows;
}

std::unique_ptr<RowView> RowView::inside(const SubReportRows& inner, std::span<const OwnedValue> arguments,
                                         const Position& position) const {
    RowTables tables = tables_;
    std::vector<Value> passed;
    for (const OwnedValue& argument : arguments) passed.push_back(argument.get());
    for (const auto& query : inner.queries) tables.add(query->shape(), query->run(passed));
    WalkedRows rows = inner.areOfSection ? rows_.part(rowsOf(position.scope, position.row))
                                         : rowsInside(inner.binding->sources().rows, position);
    return std::make_unique<RowView>(*inner.binding, arguments, evaluator_.now(), std::move(rows),
                                     std::move(tables), inner.areOfSection);
}

std::vector<OwnedValue> RowView::passed() const { return evaluator_.passed(); }

}  // namespace qbsvrl6
