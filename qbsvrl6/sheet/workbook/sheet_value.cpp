#include "qbsvrl6/sheet/workbook/sheet_value.h"

#include <cmath>

#include "qbsvrl6/sheet/grid/cell_style.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/clock.h"

namespace qbsvrl6 {

namespace {

constexpr double kSerialOf1970 = 25569;
constexpr double kFirstSafeSerial = 61;       // 1900-03-01
constexpr double kLastSerial = 2958466;       // 10000-01-01
constexpr double kLastExactDigits = 1e15;     // longer numbers lose their last digits
constexpr std::size_t kShownDigits = 15;      // spreadsheets show zeros after them
constexpr double kLastGeneralInteger = 1e11;  // from here on, the general format uses exponents

// From the first digit that is not zero to the last one.
std::size_t significantDigits(std::u16string_view text) {
    std::size_t digits = 0, significant = 0;
    for (const char16_t unit : text) {
        if (!isDigit(unit)) continue;
        if (digits > 0 || unit != u'0') ++digits;
        if (unit != u'0') significant = digits;
    }
    return significant;
}

void setNumber(SheetValue& value, const CellValue& cell) {
    const double number = cell.number.toDouble();
    if (!std::isfinite(number) || std::abs(number) >= kLastExactDigits) return;
    if (value.text.size() > kShownDigits && significantDigits(value.text) > kShownDigits) return;
    value.kind = SheetValue::Kind::Number;
    value.number = number;
    value.format = cell.spreadsheetFormat;
    if (value.format.empty() && std::abs(number) >= kLastGeneralInteger) {
        value.format = number == std::trunc(number) ? u"0" : u"0.#########";
    }
}

void setDate(SheetValue& value, const CellValue& cell) {
    const double serial = static_cast<double>(cell.date) / kSecondsADay + kSerialOf1970;
    if (serial < kFirstSafeSerial || serial >= kLastSerial) return;
    value.kind = SheetValue::Kind::Number;
    value.number = serial;
    value.format = cell.spreadsheetFormat;
    if (value.format.empty())
        value.format = serial == std::floor(serial) ? u"yyyy-mm-dd" : u"yyyy-mm-dd hh:mm:ss";
}

void setBoolean(SheetValue& value, const CellValue& cell) {
    if (!equalsIgnoringCase(value.text, cell.boolean ? u"true" : u"false")) return;
    value.kind = SheetValue::Kind::Boolean;
    value.boolean = cell.boolean;
}

// The title as the name of a sheet: without the characters that are not allowed in one.
std::u16string plainName(std::u16string_view title) {
    constexpr std::size_t kMaxUnits = 24;  // of 31, which leaves space for a number
    std::u16string name;
    for (const char16_t c : title.substr(0, kMaxUnits)) {
        const bool isForbidden = c < 0x20 || c == 0x7F || (c >= 0xD800 && c < 0xE000) || c >= 0xFFFE ||
                                 std::u16string_view(u"[]:*?/\\").find(c) != std::u16string_view::npos;
        name += isForbidden ? u' ' : c;
    }
    const std::size_t first = name.find_first_not_of(u" '");
    if (first == std::u16string::npos) return u"Sheet1";
    name = name.substr(first, name.find_last_not_of(u" '") + 1 - first);
    if (equalsIgnoringCase(name, u"History")) name += u'_';  // which Excel reserves
    return name;
}

}  // namespace

SheetValue sheetValue(const Item* item, std::size_t maxUnits) {
    SheetValue value;
    const TextItem* text = item == nullptr ? nullptr : std::get_if<TextItem>(&item->content);
    if (text == nullptr) return value;
    value.text = text->text;
    if (value.text.size() > maxUnits) {
        const bool cutsPair = (value.text[maxUnits - 1] & 0xFC00) == 0xD800;
        value.text = value.text.substr(0, maxUnits - (cutsPair ? 1 : 0));
    }
    // A cell that shows nothing is blank, whatever its value: for example, a suppressed repetition.
    if (value.text.empty()) return value;
    value.kind = SheetValue::Kind::Text;
    // A number would not break into lines.
    if (text->value.isSurrounded && wraps(*item)) return value;
    switch (text->value.type) {
        case ValueType::Number:
            setNumber(value, text->value);
            break;
        case ValueType::Date:
            setDate(value, text->value);
            break;
        case ValueType::Boolean:
            setBoolean(value, text->value);
            break;
        default:
            break;
    }
    return value;
}

std::u16string sheetName(std::u16string_view title, std::size_t number) {
    std::u16string name = plainName(title);
    if (number == 1) return name;
    name += u" (";
    for (const char digit : std::to_string(number)) name += static_cast<char16_t>(digit);
    return name + u")";
}

LineWeight lineWeight(Micrometres width) {
    if (width <= 0) return LineWeight::None;
    if (width < 120) return LineWeight::Hair;
    if (width < 450) return LineWeight::Thin;
    return width < 800 ? LineWeight::Medium : LineWeight::Thick;
}

}  // namespace qbsvrl6
