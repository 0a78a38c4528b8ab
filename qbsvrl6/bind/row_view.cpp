#include "qbsvrl6/bind/row_view.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

std::size_t rowsOfTable(const Binding& binding) {
    const Table* const table = binding.sources().rows;
    const std::size_t count = table == nullptr ? 0 : table->rowCount();
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        throw EngineError(ErrorCode::LimitExceeded, "the data has too many rows");
    }
    return count;
}

}  // namespace

RowView::RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now)
    : binding_(binding), rows_(rowsOfTable(binding)), evaluator_(binding, rows_, passed, now) {
    applyFilter();
    findGroups();
}

// While the filter runs, all rows are walked: its aggregates, if any, cover all of them.
void RowView::applyFilter() {
    if (!binding_.filter()) return;
    const FilterIndex* const index = binding_.filterIndex();
    const std::vector<std::uint32_t>* const candidates =
        index == nullptr ? nullptr : index->candidates(evaluator_.read(index->parameter(), {}));
    std::vector<std::uint32_t> kept;
    const std::size_t count = candidates == nullptr ? rows_.count() : candidates->size();
    for (std::size_t i = 0; i < count; ++i) {
        goOn();
        Position position;
        position.row = candidates == nullptr ? i : (*candidates)[i];
        if (isTrue(*binding_.filter(), position)) kept.push_back(static_cast<std::uint32_t>(position.row));
    }
    rows_.keep(std::move(kept));
    evaluator_.forgetAggregates();
}

void RowView::findGroups() {
    const std::vector<Expression>& keys = binding_.groupKeys();
    if (keys.empty()) return;
    std::vector<std::vector<std::uint32_t>> starts(keys.size());
    std::vector<std::uint8_t> levels(rows_.count());
    std::vector<OwnedValue> current(keys.size());
    for (std::size_t row = 0; row < rows_.count(); ++row) {
        goOn();
        Position position;
        position.row = row;
        std::size_t starting = keys.size();
        for (std::size_t level = 0; level < keys.size(); ++level) {
            const Value key = evaluate(keys[level], position);
            // A change of an outer group starts a new inner one, whatever its key.
            if (row > 0 && starting > level &&
                compareValues(key, current[level].get(), evaluator_.arena()) == 0)
                continue;
            starting = std::min(starting, level);
            current[level] = OwnedValue(key);
            starts[level].push_back(static_cast<std::uint32_t>(row));
        }
        levels[row] = static_cast<std::uint8_t>(starting);
    }
    rows_.setGroups(std::move(starts), std::move(levels));
    evaluator_.forgetAggregates();
}

std::vector<OwnedValue> RowView::passed() const {
    std::vector<OwnedValue> values;
    for (std::size_t i = 0; i < binding_.passedCount(); ++i) {
        values.push_back(evaluator_.parameter(binding_.passedParameter(i)));
    }
    return values;
}

}  // namespace qbsvrl6
