#include "qbsvrl6/data/nested_table.h"

#include <utility>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

NestedTable::NestedTable(DataSet& data, std::u16string name, NestedTable* parent)
    : data_(data), table_(data.open(std::move(name), parent == nullptr ? nullptr : &parent->table_)) {
    spend(&Budget::dataBytes, sizeof *this, "the tables of the data");
}

NestedTable& NestedTable::child(ColumnNames::Id name) {
    std::unique_ptr<NestedTable>& child = children_[name];
    if (!child) {
        const std::u16string own = toUtf16(table_.names().whole(name));
        child = std::make_unique<NestedTable>(data_, table_.name().empty() ? own : table_.name() + u'.' + own,
                                              this);
    }
    return *child;
}

void NestedTable::endRows() {
    table_.endRows();
    for (const auto& [name, child] : children_) child->endRows();
}

}  // namespace qbsvrl6
