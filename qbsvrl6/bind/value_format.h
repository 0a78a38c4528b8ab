// A format text, parsed once and applied to values by their type.
#ifndef QBSVR_QBSVRL6_BIND_VALUE_FORMAT_H
#define QBSVR_QBSVRL6_BIND_VALUE_FORMAT_H

#include <memory>
#include <optional>
#include <string>

#include "format/boolean_format.h"
#include "format/date_time_format.h"
#include "qbsvrl6/bind/number_format.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/items/cell_value.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Numbers take the text as a number format, dates as a date format, booleans as "true:false" words. A text
// value that reads as what the format is for is taken for one: a date under "yyyy-MM-dd", a number under
// "0.00", "true" under "是:否". One object belongs to one thread at a time.
class ValueFormat {
public:
    // An empty text shows values as the data wrote them.
    explicit ValueFormat(std::u16string text);

    // Appends the value as it is shown. The colour of a number format is not shown: it is returned in
    // `color`, if that is empty.
    void append(const Value& value, TextArena& arena, std::u16string& out, std::optional<Color>& color);

    // The value for a spreadsheet's cell, with its number format, which lives as long as this object stays
    // where it is.
    CellValue cell(const Value& value);

    // What is probably a mistake in the format, as in "has two decimal points"; empty if nothing is.
    std::string problem() const;
    const std::u16string& text() const { return text_; }

private:
    enum class Purpose { Number, Date, Boolean };

    // The value, or what a text value reads as under this format.
    Value converted(const Value& value) const;
    NumberFormat& numberFormat();
    const larkspur::ClkDateTimeFormatParser& dateFormat();
    const larkspur::ClkBooleanFormatParser& booleanFormat();

    std::u16string text_;
    Purpose purpose_ = Purpose::Number;
    // Made on first use: most formats meet one type of value.
    std::unique_ptr<NumberFormat> number_;
    std::unique_ptr<larkspur::ClkDateTimeFormatParser> date_;
    std::unique_ptr<larkspur::ClkBooleanFormatParser> boolean_;
    std::optional<std::u16string> numberSpreadsheetFormat_;
    std::optional<std::u16string> dateSpreadsheetFormat_;
};

}  // namespace qbsvrl6

#endif
