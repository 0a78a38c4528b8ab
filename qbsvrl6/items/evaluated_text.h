// What a text with placeholders shows at one position of the data.
#ifndef QBSVR_QBSVRL6_ITEMS_EVALUATED_TEXT_H
#define QBSVR_QBSVRL6_ITEMS_EVALUATED_TEXT_H

#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/items/cell_value.h"
#include "qbsvrl6/items/page_field.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct EvaluatedText {
    std::u16string text;
    CellValue value;                    // the number or date that the text formats, for spreadsheets
    std::optional<Color> color;         // of a number format's colour mark
    std::vector<PageField> pageFields;  // in `text`, ascending
};

}  // namespace qbsvrl6

#endif
