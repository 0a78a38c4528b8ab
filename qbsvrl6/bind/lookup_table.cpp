#include "qbsvrl6/bind/lookup_table.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "qbsvrl6/bind/aggregate_state.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

// Whether the key is the same whatever parameters an outer report passes.
bool isOfColumnsOnly(const Expression& key) {
    return key.lookups.empty() && key.aggregates.empty() &&
           std::all_of(key.names.begin(), key.names.end(), [](const BoundName& name) {
               return name.kind == NameKind::Column || name.kind == NameKind::Unknown;
           });
}

Position positionOf(std::size_t row) {
    Position position;
    position.row = row;
    position.ofRow = true;
    return position;
}

}  // namespace

LookupTable& LookupTables::of(const Binding& outer, const Table& rows) {
    std::unique_ptr<LookupTable>& table = tables_[&rows];
    if (!table) table = std::make_unique<LookupTable>(outer, rows);
    return *table;
}

LookupTables::Level::Level(LookupTables& tables) : tables_(tables) {
    if (tables_.depth_ == limits::kLookupDepth) {
        throw EngineError(ErrorCode::LimitExceeded, "lookups need one another more than " +
                                                        std::to_string(limits::kLookupDepth) + " deep");
    }
    ++tables_.depth_;
}

std::uint32_t LookupTable::addLookup() {
    evaluator_.reset();  // it knows what was bound before
    user_ = 0;
    results_.emplace_back();
    return static_cast<std::uint32_t>(results_.size() - 1);
}

// Another user may have other parameters.
void LookupTable::serve(const Evaluator& user) {
    if (evaluator_ && user_ == user.user()) return;
    user_ = user.user();
    tables_ = user.tables();
    const Table* const table = tables_.tableFor(binding_.sources().rows);
    if (std::exchange(table_, table) != table) indexes_.clear();
    rows_ = WalkedRows({0, table->rowCount()});
    evaluator_ = std::make_unique<Evaluator>(binding_, tables_, rows_, user.passed(), user.now());
    evaluator_->setUser(user_);
    indexesOfUser_.clear();
    for (Results& results : results_) results.clear();
}

const KeyIndex& LookupTable::indexOf(const Lookup& lookup) {
    Indexes& indexes = isOfColumnsOnly(*lookup.key) ? indexes_ : indexesOfUser_;
    std::unique_ptr<KeyIndex>& index = indexes[lookup.keyText];
    if (!index) {
        TextArena texts;
        index = std::make_unique<KeyIndex>(rows_.count(), [&](std::size_t row) {
            Value key;
            texts.reset();
            evaluator_->evaluateInside(*lookup.key, positionOf(row), [&](Value value) {
                if (!value.text.empty()) value.text = texts.copy(value.text);
                key = value;
            });
            return key;
        });
    }
    return *index;
}

bool LookupTable::matches(const Lookup& lookup, std::size_t row, const Value& sought) {
    bool isEqual = false;
    evaluator_->evaluateInside(*lookup.key, positionOf(row), [&](const Value& key) {
        isEqual = compareValues(key, sought, evaluator_->arena()) == 0;
    });
    return isEqual;
}

OwnedValue LookupTable::resultOf(const Lookup& lookup, const Value& sought) {
    const std::optional<std::vector<std::uint32_t>> candidates = indexOf(lookup).candidates(sought);
    const std::size_t count = candidates ? candidates->size() : rows_.count();
    AggregateState state;
    for (std::size_t i = 0; i < count; ++i) {
        goOn();
        const std::size_t row = candidates ? (*candidates)[i] : i;
        if (!matches(lookup, row, sought)) continue;
        if (!lookup.result) {
            state.countRow();
            continue;
        }
        const Position position = positionOf(row);
        OwnedValue first;
        evaluator_->evaluateInside(*lookup.result, position, [&](const Value& value) {
            if (!lookup.kind) {
                first = OwnedValue(value);
            } else {
                evaluator_->add(state, *lookup.kind, *lookup.result, value, position);
            }
        });
        if (!lookup.kind) return first;
    }
    return lookup.kind ? OwnedValue(state.result(*lookup.kind)) : OwnedValue();
}

// Results are kept for values that come again: all rows of the table may have one key.
Value LookupTable::find(const Lookup& lookup, const Value& sought, const Evaluator& user, TextArena& arena) {
    constexpr std::size_t kLongestText = 256;
    serve(user);
    std::u16string key = distinctKey(sought);
    const auto copied = [&arena](Value value) {
        if (!value.text.empty()) value.text = arena.copy(value.text);
        return value;
    };
    const auto known = results_[lookup.slot].find(key);
    if (known != results_[lookup.slot].end()) return copied(known->second.get());
    OwnedValue result = resultOf(lookup, sought);
    const Value value = copied(result.get());
    if (key.size() + value.text.size() > kLongestText) return value;
    if (results_[lookup.slot].size() == limits::kLookupResults) results_[lookup.slot].clear();
    results_[lookup.slot].emplace(std::move(key), std::move(result));
    return value;
}

}  // namespace qbsvrl6
