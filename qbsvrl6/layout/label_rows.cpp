#include "qbsvrl6/layout/label_rows.h"

#include <algorithm>
#include <string>

#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

LabelRows::LabelRows(RowView& view, const PlannedLabels& labels) : view_(view), labels_(labels) {
    if (view_.rowCount() == 0) return;
    left_ = copiesOf(0);
    skipRowsWithoutCopies();
}

void LabelRows::skipRowsWithoutCopies() {
    while (left_ == 0 && row_ + 1 < view_.rowCount()) {
        goOn();
        left_ = copiesOf(++row_);
        isFirst_ = true;
    }
}

// What is no number, or is negative, is no label.
int LabelRows::copiesOf(std::size_t row) const {
    if (!labels_.copies) return 1;
    Position position;
    position.row = row;
    position.pageRows = {0, view_.rowCount()};
    position.ofRow = true;
    const Value value = view_.evaluate(*labels_.copies, position);
    Number number;
    if (!toNumber(value, number)) {
        view_.noteIfUnread(*labels_.copies, value, DataType::Number, position);
        return 0;
    }
    const double copies = number.toDouble();
    if (copies > limits::kLabelCopies) {
        throw EngineError(ErrorCode::LimitExceeded, "copies=\"" + toUtf8(labels_.labels->copies) +
                                                        "\" of <Labels>: row " + std::to_string(row + 1) +
                                                        " has more than " +
                                                        std::to_string(limits::kLabelCopies) + " labels");
    }
    return static_cast<int>(std::max(copies, 0.0));
}

std::size_t LabelRows::count() const {
    auto count = static_cast<std::size_t>(left_);
    for (std::size_t row = row_ + 1; row < view_.rowCount(); ++row) {
        goOn();
        count += static_cast<std::size_t>(copiesOf(row));
    }
    return count;
}

std::size_t LabelRows::start(std::size_t places) const {
    if (!labels_.start) return 0;
    Position position;
    position.pageRows = {0, view_.rowCount()};
    Number number;
    if (!toNumber(view_.evaluate(*labels_.start, position), number)) return 0;
    const double start = number.toDouble();
    if (start >= 1 && start < static_cast<double>(places) + 1) return static_cast<std::size_t>(start) - 1;
    // The count of pages lays out everything twice.
    logWarningOnce("start=\"" + toUtf8(labels_.labels->start) +
                   "\" of <Labels> is no place of the sheet, which has " + std::to_string(places) +
                   ": the first label is at place 1");
    return 0;
}

LabelSheet LabelRows::nextSheet(std::size_t lines, std::size_t first) {
    const auto columns = static_cast<std::size_t>(labels_.columns);
    LabelSheet sheet;
    for (std::size_t number = first; number < lines * columns && !isDone(); ++number) {
        goOn();
        const bool down = labels_.labels->down;
        const std::size_t line = down ? number % lines : number / columns;
        const std::size_t column = down ? number / lines : number % columns;
        const std::size_t at = line * columns + column;
        if (at >= sheet.size()) sheet.resize((line + 1) * columns);
        sheet[at] = LabelPlace{row_, isFirst_};
        isFirst_ = false;
        if (--left_ == 0) skipRowsWithoutCopies();
    }
    return sheet;
}

}  // namespace qbsvrl6
