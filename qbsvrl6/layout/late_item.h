// What of an item waits until its page, or the whole report, is complete.
#ifndef QBSVR_QBSVRL6_LAYOUT_LATE_ITEM_H
#define QBSVR_QBSVRL6_LAYOUT_LATE_ITEM_H

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

// The position of an expression that depends on its page: it is evaluated when the page is complete.
struct LatePosition {
    Position position;
    std::shared_ptr<RowView> view;
    bool ofSubReport = false;  // then the rows of the page are all of its rows
};

struct LateCondition {
    const Expression* when = nullptr;
    LatePosition at;
};

// An item that is settled when its page, or the whole report, is complete.
struct LateItem {
    std::size_t item = 0;  // of the band
    PlannedControl* control = nullptr;
    PlannedText* text = nullptr;  // the control's, if it isn't known yet
    LatePosition textAt;
    // All must be true for the item to be shown: the control's condition, and those of enclosing bands.
    std::vector<LateCondition> visibleWhen;
    std::optional<LatePosition> contentAt;  // of the content's other texts (ContentTexts); none: known
    bool hasStyles = false;                 // late conditional ones, of the control
    LatePosition at;                        // of the conditions of the styles
};

}  // namespace qbsvrl6

#endif
