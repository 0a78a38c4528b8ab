#include "qbsvrl6/data/nested_table.h"

#include <utility>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

NestedTable::NestedTable(DataSet& data, std::u16string name, NestedTable* parent)
    : data_(data),
      outermost_(parent == nullptr ? *this : parent->outermost_),
      table_(data.open(std::move(name), parent == nullptr ? nullptr : &parent->table_)) {
    spend(&Budget::dataBytes, sizeof *this, "the tables of the data");
}

NestedTable& NestedTable::child(ColumnNames::Id name) {
    std::unique_ptr<NestedTable>& child = children_[name];
    if (!child) {
        if (++outermost_.inside_ > limits::kNestedTables) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "more than " + std::to_string(limits::kNestedTables) + " tables within one");
        }
        const std::u16string own = toUtf16(table_.names().whole(name));
        const std::u16string whole = table_.name().empty() ? own : table_.name() + u'.' + own;
        child = std::make_unique<NestedTable>(data_, whole, this);
    }
    return *child;
}

void NestedTable::endRows() {
    table_.endRows();
    for (const auto& [name, child] : children_) child->endRows();
}

}  // namespace qbsvrl6
