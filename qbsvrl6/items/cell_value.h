// The typed value of a text that consists of a single placeholder, perhaps with other text around it.
#ifndef QBSVR_QBSVRL6_ITEMS_CELL_VALUE_H
#define QBSVR_QBSVRL6_ITEMS_CELL_VALUE_H

#include <cstdint>
#include <string_view>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/number.h"

namespace qbsvrl6 {

// The value that the text formats. Spreadsheets store it as a number or date, with a format that shows what
// the page shows. Only the member that `type` names is valid.
struct CellValue {
    ValueType type = ValueType::Text;  // Text: the value is the item's text
    Number number;
    bool boolean = false;
    std::int64_t date = 0;
    std::u16string_view spreadsheetFormat;  // owned by the plan of the text; empty: general
    bool formatHasColors = false;           // the format colours the number as the page does
    bool isSurrounded = false;              // the format contains text around the placeholder

    // Makes it the value of a text. The other members are left: assigning them all would take longer than
    // many texts.
    void clear() {
        type = ValueType::Text;
        spreadsheetFormat = {};
        formatHasColors = isSurrounded = false;
    }
};

}  // namespace qbsvrl6

#endif
