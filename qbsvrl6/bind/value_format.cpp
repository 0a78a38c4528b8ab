#include "qbsvrl6/bind/value_format.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/errors.h"
#include "format/date_time.h"
#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/bind/spreadsheet_format.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kDoubleDigits = 15;  // significant digits that a double preserves

bool hasAnyOf(std::u16string_view text, std::u16string_view units) {
    return text.find_first_of(units) != std::u16string_view::npos;
}

bool isLetter(char16_t unit) {
    return isLatinLetter(unit) || (unit >= 0xC0 && unit < 0x250);  // of Latin script
}

// Whether one of the words consists of date letters alone, as in "HH:mm" or "yyyy-MM-ddTHH:mm", but not
// "yes:no".
bool hasDatePart(std::u16string_view format) {
    for (std::size_t start = 0; start < format.size();) {
        std::size_t end = start;
        while (end < format.size() && isLetter(format[end])) ++end;
        const std::u16string_view word = format.substr(start, end - start);
        if (!word.empty() && word.find_first_not_of(u"yMdHhmstT") == std::u16string_view::npos) return true;
        start = end + 1;
    }
    return false;
}

// Reports letters that repeat too often or are not part of any date: "yyyyy", "qq".
std::string dateFormatProblem(std::u16string_view format) {
    const auto isWordLetter = [&](std::size_t index) {
        return index < format.size() && isLetter(format[index]);
    };
    for (std::size_t start = 0; start < format.size();) {
        const char16_t letter = format[start];
        const std::size_t end = std::min(format.find_first_not_of(letter, start), format.size());
        const bool isWord = !(start > 0 && isWordLetter(start - 1)) && !isWordLetter(end);
        const std::size_t most =
            hasAnyOf(u"yMd", {&letter, 1}) ? 4 : (hasAnyOf(u"Hhmst", {&letter, 1}) ? 2 : 1);
        if (isLetter(letter) && end - start > most && (most > 1 || isWord))
            return "has no part \"" + toUtf8(format.substr(start, end - start)) + '"';
        start = end;
    }
    return {};
}

constexpr std::u16string_view kPlaces = u"#,##0.000000000000000";  // kDoubleDigits of them

// A format with as many places as a number has, with thousands separators or without.
std::u16string_view formatWithPlaces(std::size_t places, bool isGrouped) {
    constexpr std::size_t kGrouping = 4;
    const std::u16string_view format = isGrouped ? kPlaces : kPlaces.substr(kGrouping);
    return format.substr(0, format.find(u'.') + (places == 0 ? 0 : places + 1));
}

// A number without a format is shown as it is written in the data. If the general format would drop thousands
// separators or trailing zeros, the cell gets a format that shows them.
std::u16string_view formatAsWritten(std::u16string_view written) {
    const bool isGrouped = written.find(u',') != std::u16string_view::npos;
    const std::size_t point = std::min(written.find(u'.'), written.size());
    const bool endsWithZero = point < written.size() && written.back() == u'0';
    if (!isGrouped && !endsWithZero) return {};
    if (written.find_first_not_of(u"+-0123456789,.") != std::u16string_view::npos) return {};
    return formatWithPlaces(point == written.size() ? 0 : written.size() - point - 1, isGrouped);
}

// The general format would show other places of a double.
std::u16string_view formatAsShown(const Number& number) {
    const Number shown = asShown(number);
    const Decimal* const decimal = shown.decimal();
    if (decimal == nullptr) return {};
    return formatWithPlaces(static_cast<std::size_t>(decimal->reduced().places()), false);
}

bool isNegativeZero(const Value& value) { return value.number.isZero() && value.text.starts_with(u'-'); }

// Of the number as it is shown without a format.
std::size_t digitCount(const Value& value) {
    char computed[Decimal::kLongestText];
    std::string_view digits;
    if (value.text.empty() && value.number.decimal() != nullptr) {
        digits = {computed, static_cast<std::size_t>(value.number.decimal()->write(computed) - computed)};
    }
    return static_cast<std::size_t>(std::count_if(value.text.begin(), value.text.end(), isDigit<char16_t>) +
                                    std::count_if(digits.begin(), digits.end(), isDigit<char>));
}

bool isCurrencySign(char16_t unit) {
    return unit == u'$' || (unit >= 0xA2 && unit <= 0xA5) || (unit >= 0x20A0 && unit <= 0x20CF) ||
           unit == 0xFF04 || unit == 0xFFE0 || unit == 0xFFE1 || unit == 0xFFE5 || unit == 0xFFE6;
}

// "¥", "US$ " and "EUR ". A word before a number is a name for it, which belongs to the text.
bool isCurrency(std::u16string_view text) {
    constexpr std::array<std::u16string_view, 8> kCodes = {u"CHF", u"CNY", u"EUR", u"GBP",
                                                           u"HKD", u"JPY", u"RMB", u"USD"};
    constexpr std::size_t kLongest = 4;
    text = trimmed(text);
    if (text.empty() || std::find(kCodes.begin(), kCodes.end(), text) != kCodes.end()) return true;
    const auto fits = [](char16_t unit) { return isCurrencySign(unit) || isLatinLetter(unit); };
    return text.size() <= kLongest && std::any_of(text.begin(), text.end(), isCurrencySign) &&
           std::all_of(text.begin(), text.end(), fits);
}

// "%", " kg", "元" and " €".
bool isUnit(std::u16string_view text) {
    constexpr std::size_t kLongest = 4;
    constexpr char16_t kFirstIdeograph = 0x3400, kLastIdeograph = 0x9FFF;
    text = trimmed(text);
    return text.size() <= kLongest && std::all_of(text.begin(), text.end(), [](char16_t unit) {
               return unit == u'%' || unit == 0x2030 || unit == 0xB0 || isCurrencySign(unit) ||
                      isLetter(unit) || (unit >= kFirstIdeograph && unit <= kLastIdeograph);
           });
}

}  // namespace

ValueFormat::ValueFormat(std::u16string text) : text_(std::move(text)) {
    const auto isIn = [this](std::u16string_view part) { return text_.find(part) != std::u16string::npos; };
    const bool enumerated = text_.size() > 1 && text_.front() == u'{' && text_.back() == u'}';
    const bool hasPlaces = hasAnyOf(text_, u"#0");
    if (enumerated || hasPlaces || isIn(u"$$")) {
        purpose_ = Purpose::Number;
    } else if (hasAnyOf(text_, u":") && !hasDatePart(text_)) {
        purpose_ = Purpose::Boolean;
    } else if (hasAnyOf(text_, u"yMdHhms")) {
        purpose_ = Purpose::Date;
    }
    readsNumbers_ = hasPlaces || hasAnyOf(text_, u"$") || text_.starts_with(u'{');
    const bool isOfNumbers = hasPlaces || text_.starts_with(u'{') || isIn(u"$$");
    hasNoBooleans_ = !hasAnyOf(text_, u":") && (isOfNumbers || isIn(u"yy"));
    constexpr std::array<std::u16string_view, 6> kParts = {u"yy", u"MM", u"dd", u"HH", u"hh", u"mm"};
    hasNoDates_ = purpose_ == Purpose::Boolean ? std::none_of(kParts.begin(), kParts.end(), isIn)
                                               : isOfNumbers && !hasAnyOf(text_, u"yMdHhms");
}

std::string ValueFormat::problem() const {
    switch (purpose_) {
        case Purpose::Number:
            return numberFormatProblem(text_);
        case Purpose::Date:
            return dateFormatProblem(text_);
        case Purpose::Boolean:
            break;
    }
    return {};
}

const larkspur::ClkDateTimeFormatParser& ValueFormat::dateFormat() {
    if (!date_) {
        date_ = std::make_unique<larkspur::ClkDateTimeFormatParser>();
        date_->Parse(text_.c_str());
    }
    return *date_;
}

const larkspur::ClkBooleanFormatParser& ValueFormat::booleanFormat() {
    if (!boolean_) {
        boolean_ = std::make_unique<larkspur::ClkBooleanFormatParser>();
        boolean_->Parse(text_.c_str());
    }
    return *boolean_;
}

Value ValueFormat::converted(const Value& value) const {
    if (value.type == ValueType::Number && purpose_ == Purpose::Boolean)
        return makeBoolean(!value.number.isZero());
    if (value.type != ValueType::Text) return value;
    switch (purpose_) {
        case Purpose::Number: {
            Number number;
            if (readsNumbers_ && parseNumber(value.text, number)) return makeNumber(number);
            break;
        }
        case Purpose::Date: {
            std::int64_t seconds = 0;
            if (parseDate(value.text, seconds)) return makeDate(seconds);
            break;
        }
        case Purpose::Boolean: {
            bool boolean = false;
            if (parseBoolean(value.text, boolean)) return makeBoolean(boolean);
            break;
        }
    }
    return value;
}

void ValueFormat::append(const Value& value, TextArena& arena, EvaluatedText& result, bool asValue) {
    if (text_.empty()) {
        result.text += toText(value, arena);
        if (asValue) setValue(value, result.value);
    } else if (isForOther(value.type)) {
        appendFormatted(makeText(toText(value, arena)), arena, result, asValue);
    } else if (value.type == ValueType::Text || purpose_ == Purpose::Boolean) {
        appendFormatted(converted(value), arena, result, asValue);
    } else {
        appendFormatted(value, arena, result, asValue);
    }
}

void ValueFormat::appendFormatted(const Value& shown, TextArena& arena, EvaluatedText& result, bool asValue) {
    appendText(shown, arena, result);
    if (asValue) setValue(shown, result.value);
}

void ValueFormat::appendText(const Value& shown, TextArena& arena, EvaluatedText& result) {
    std::u16string& out = result.text;
    switch (shown.type) {
        case ValueType::Null:
            break;
        case ValueType::Text:
            out += shown.text;
            break;
        case ValueType::Number:
            numberFormat().append(shown.number, out, result.color);
            break;
        case ValueType::Boolean:
            out += shown.boolean ? booleanFormat().m_TrueText : booleanFormat().m_FalseText;
            break;
        case ValueType::Date: {
            larkspur::ClkDateTime date;
            date.m_Time = shown.date;
            try {
                out += dateFormat().Format(date);
            } catch (const larkspur::ClkException&) {
                out += toText(shown, arena);  // the year is out of range
            }
            break;
        }
    }
}

bool ValueFormat::surround(std::u16string_view before, std::u16string_view after) {
    const bool isWord = text_.starts_with(u'{') || text_.find(u"$$") != std::u16string::npos;
    if (purpose_ != Purpose::Number || isWord || !hasAnyOf(text_, u"#0")) return false;
    if (!isCurrency(before) || !isUnit(after)) return false;
    before_ = before;
    after_ = after;
    return true;
}

void ValueFormat::setValue(const Value& typed, CellValue& cell) {
    cell.isSurrounded = !before_.empty() || !after_.empty();
    cell.type = typed.type;
    switch (typed.type) {
        case ValueType::Null:
        case ValueType::Text:
            cell.type = ValueType::Text;
            break;
        case ValueType::Boolean:
            cell.boolean = typed.boolean;
            if (cell.isSurrounded) cell.type = ValueType::Text;
            break;
        case ValueType::Number:
            cell.number = typed.number;
            if (text_.empty()) {
                if (digitCount(typed) > kDoubleDigits || isNegativeZero(typed)) {
                    cell.type = ValueType::Text;
                } else if (!typed.text.empty()) {
                    cell.spreadsheetFormat = formatAsWritten(typed.text);
                } else if (typed.number.decimal() == nullptr) {
                    cell.spreadsheetFormat = formatAsShown(typed.number);
                    if (asShown(typed.number).isZero()) cell.number = 0;
                }
                break;
            }
            // A spreadsheet cannot show a number as words, Chinese numerals or an amount in words.
            if (numberFormat().isWords()) {
                cell.type = ValueType::Text;
                break;
            }
            if (!numberSpreadsheetFormat_) {
                numberSpreadsheetFormat_ = numberFormat().spreadsheetFormat(before_, after_);
            }
            cell.spreadsheetFormat = *numberSpreadsheetFormat_;
            if (cell.isSurrounded && cell.spreadsheetFormat.empty()) cell.type = ValueType::Text;
            cell.formatHasColors = numberFormat().hasSpreadsheetColors();
            break;
        case ValueType::Date:
            cell.date = typed.date;
            if (text_.empty()) {
                cell.spreadsheetFormat = isWholeDay(typed.date) ? u"yyyy-mm-dd" : u"yyyy-mm-dd hh:mm:ss";
                break;
            }
            if (!dateSpreadsheetFormat_) {
                dateSpreadsheetFormat_ =
                    hasSpreadsheetHours(text_) ? spreadsheetDateFormat(text_) : std::u16string();
            }
            cell.spreadsheetFormat = *dateSpreadsheetFormat_;
            if (cell.spreadsheetFormat.empty() || cell.isSurrounded) cell.type = ValueType::Text;
            break;
    }
}

}  // namespace qbsvrl6
