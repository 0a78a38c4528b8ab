// What a spreadsheet makes of a text that is one lone placeholder.
#ifndef QBSVR_QBSVRL6_ITEMS_CELL_VALUE_H
#define QBSVR_QBSVRL6_ITEMS_CELL_VALUE_H

#include <cstdint>
#include <string_view>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/number.h"

namespace qbsvrl6 {

// A typed value behind a text that is one lone placeholder; spreadsheets show it as a real number or date.
struct CellValue {
    ValueType type = ValueType::Text;  // Text: the item's text is the value
    Number number;
    bool boolean = false;
    std::int64_t date = 0;
    std::u16string_view spreadsheetFormat;  // number format, owned by the text's; empty: general
};

}  // namespace qbsvrl6

#endif
