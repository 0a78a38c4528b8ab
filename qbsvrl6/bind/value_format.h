// A format, parsed once and applied to values according to their type.
#ifndef QBSVR_QBSVRL6_BIND_VALUE_FORMAT_H
#define QBSVR_QBSVRL6_BIND_VALUE_FORMAT_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "format/boolean_format.h"
#include "format/date_time_format.h"
#include "qbsvrl6/bind/number_format.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/items/evaluated_text.h"

namespace qbsvrl6 {

// Numbers use the text as a number format, dates as a date format, booleans as "true:false" words. A text
// value that reads as a value of the format's type is formatted as one: a date under "yyyy-MM-dd", a number
// under "0.00", "true" under "是:否". One object belongs to one thread at a time.
class ValueFormat {
public:
    // With an empty text, values are shown as they are written in the data.
    explicit ValueFormat(std::u16string text);

    // Appends the value as it is shown. If the result has no colour, sets it to that of the number format, if
    // any. With `asValue`, sets its value, which was empty, to that for a spreadsheet cell; its number format
    // is valid until this object is moved or destroyed.
    void append(const Value& value, TextArena& arena, EvaluatedText& result, bool asValue = false);

    // Makes this text, shown before and after the value, part of the spreadsheet format. Returns false, and
    // changes nothing, unless the format has digits and the texts are a currency and a unit.
    bool surround(std::u16string_view before, std::u16string_view after);

    // Describes a probable mistake in the format: "has two decimal points"; empty if there is none.
    std::string problem() const;
    const std::u16string& text() const { return text_; }

private:
    enum class Purpose { Number, Date, Boolean };

    bool isForOther(ValueType type) const {
        return type == ValueType::Boolean ? hasNoBooleans_ : type == ValueType::Date && hasNoDates_;
    }
    // The value; a text value is converted to the type of the format if it reads as one.
    Value converted(const Value& value) const;
    void appendFormatted(const Value& shown, TextArena& arena, EvaluatedText& result, bool asValue);
    void appendText(const Value& shown, TextArena& arena, EvaluatedText& result);
    void setValue(const Value& typed, CellValue& cell);
    NumberFormat& numberFormat() {
        if (!number_) number_ = std::make_unique<NumberFormat>(text_);
        return *number_;
    }
    const larkspur::ClkDateTimeFormatParser& dateFormat();
    const larkspur::ClkBooleanFormatParser& booleanFormat();

    std::u16string text_;
    std::u16string before_, after_;  // in spreadsheet formats
    Purpose purpose_ = Purpose::Number;
    bool readsNumbers_ = false;  // that are texts
    // A number's format has no words for a boolean and no parts of a date, and the words of a boolean are no
    // date: they would be shown in place of the value.
    bool hasNoBooleans_ = false;
    bool hasNoDates_ = false;
    // Made on first use: most formats are applied to one type of value.
    std::unique_ptr<NumberFormat> number_;
    std::unique_ptr<larkspur::ClkDateTimeFormatParser> date_;
    std::unique_ptr<larkspur::ClkBooleanFormatParser> boolean_;
    std::optional<std::u16string> numberSpreadsheetFormat_;
    std::optional<std::u16string> dateSpreadsheetFormat_;  // empty: a spreadsheet cannot show the format
};

}  // namespace qbsvrl6

#endif
