#include "qbsvrl6/bind/cross_arguments.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

namespace {

constexpr std::size_t kValues = 1u << 16;  // that are read at a time

bool isColumn(const Expression* argument) {
    const BoundName* const name = argument == nullptr ? nullptr : argument->loneName();
    return argument == nullptr || (name != nullptr && name->kind == NameKind::Column);
}

}  // namespace

CrossArguments::CrossArguments(RowView& view, const CrossAxis& rows, const CrossAxis& columns,
                               std::vector<const Expression*> arguments)
    : view_(view),
      rows_(rows),
      columns_(columns),
      arguments_(std::move(arguments)),
      areColumns_(std::all_of(arguments_.begin(), arguments_.end(), isColumn)) {}

void CrossArguments::read(std::size_t first) {
    const std::size_t count = arguments_.size();
    first_ = first;
    end_ = std::min(view_.rowCount(),
                    first + std::max<std::size_t>(kValues / std::max<std::size_t>(count, 1), 1));
    texts_.reset();
    values_.assign((end_ - first_) * count + 1, {});
    std::vector<std::pair<std::size_t, std::size_t>> order;  // rows of the table and of the view
    Position position;
    position.scope = view_.rowScope();
    position.ofRow = true;
    for (position.row = first_; position.row < end_; ++position.row) {
        const std::size_t tableRow = *view_.tableRow(position);
        const bool isShown =
            rows_.leafOf[tableRow] != CrossAxis::kNowhere && columns_.leafOf[tableRow] != CrossAxis::kNowhere;
        if (isShown) order.emplace_back(tableRow, position.row);
    }
    if (areColumns_) std::sort(order.begin(), order.end());
    for (const auto& [tableRow, row] : order) {
        position.row = row;
        for (std::size_t i = 0; i < count; ++i) {
            if (arguments_[i] == nullptr) continue;
            Value& value = values_[(row - first_) * count + i];
            value = view_.evaluate(*arguments_[i], position);
            if (!value.text.empty()) value.text = texts_.copy(value.text);
        }
    }
}

}  // namespace qbsvrl6
