#include "qbsvrl6/bind/functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "common/errors.h"
#include "format/date_time.h"
#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/bind/value_format.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/letter_case.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using Arguments = std::span<const Value>;

constexpr double kLargestCount = 1e9;

// --- Texts. Positions and lengths count characters; a surrogate pair is one. ---

std::u16string_view textOf(Arguments arguments, std::size_t index, FunctionContext& context) {
    return index < arguments.size() ? toText(arguments[index], context.arena) : std::u16string_view();
}

// A count of characters: values that are not numbers, or are below 0, read as 0.
std::size_t countOf(const Value& value) {
    double number = 0;
    if (!toNumber(value, number) || !(number > 0)) return 0;
    return static_cast<std::size_t>(std::min(number, kLargestCount));
}

// Index of the unit after the first `characters` characters.
std::size_t unitsOf(std::u16string_view text, std::size_t characters) {
    std::size_t index = 0;
    while (index < text.size() && characters-- > 0) nextCharacter(text, index);
    return index;
}

std::size_t lengthOf(std::u16string_view text) {
    std::size_t count = 0;
    for (std::size_t index = 0; index < text.size(); ++count) nextCharacter(text, index);
    return count;
}

template <char16_t (*Fold)(char16_t)>
Value fold(Arguments arguments, FunctionContext& context) {
    const std::u16string_view text = textOf(arguments, 0, context);
    char16_t* const folded = context.arena.allocate(text.size());
    std::transform(text.begin(), text.end(), folded, Fold);
    return makeText({folded, text.size()});
}

Value trim(Arguments arguments, FunctionContext& context) {
    return makeText(trimmed(textOf(arguments, 0, context)));
}

Value left(Arguments arguments, FunctionContext& context) {
    const std::u16string_view text = textOf(arguments, 0, context);
    return makeText(text.substr(0, unitsOf(text, countOf(arguments[1]))));
}

Value right(Arguments arguments, FunctionContext& context) {
    const std::u16string_view text = textOf(arguments, 0, context);
    const std::size_t length = lengthOf(text);
    const std::size_t count = std::min(countOf(arguments[1]), length);
    return makeText(text.substr(unitsOf(text, length - count)));
}

// Mid(text, start, length): start counts from 1; without a length, to the end.
Value mid(Arguments arguments, FunctionContext& context) {
    std::u16string_view text = textOf(arguments, 0, context);
    text = text.substr(unitsOf(text, std::max<std::size_t>(countOf(arguments[1]), 1) - 1));
    if (arguments.size() > 2) text = text.substr(0, unitsOf(text, countOf(arguments[2])));
    return makeText(text);
}

Value length(Arguments arguments, FunctionContext& context) {
    return makeNumber(lengthOf(textOf(arguments, 0, context)));
}

// Find(text, part): the position of the part from 1, or 0.
Value find(Arguments arguments, FunctionContext& context) {
    const std::u16string_view text = textOf(arguments, 0, context);
    const std::size_t found = text.find(textOf(arguments, 1, context));
    if (found == std::u16string_view::npos) return makeNumber(0);
    return makeNumber(lengthOf(text.substr(0, found)) + 1);
}

Value contains(Arguments arguments, FunctionContext& context) {
    return makeBoolean(textOf(arguments, 0, context).find(textOf(arguments, 1, context)) !=
                       std::u16string_view::npos);
}

Value startsWith(Arguments arguments, FunctionContext& context) {
    return makeBoolean(textOf(arguments, 0, context).starts_with(textOf(arguments, 1, context)));
}

Value endsWith(Arguments arguments, FunctionContext& context) {
    return makeBoolean(textOf(arguments, 0, context).ends_with(textOf(arguments, 1, context)));
}

Value replace(Arguments arguments, FunctionContext& context) {
    const std::u16string_view text = textOf(arguments, 0, context);
    const std::u16string_view from = textOf(arguments, 1, context);
    const std::u16string_view to = textOf(arguments, 2, context);
    if (from.empty()) return makeText(text);
    std::size_t count = 0;
    for (std::size_t at = text.find(from); at != std::u16string_view::npos;
         at = text.find(from, at + from.size())) {
        ++count;
    }
    const std::size_t size = text.size() + count * to.size() - count * from.size();
    char16_t* const result = context.arena.allocate(size);
    char16_t* out = result;
    std::size_t done = 0;
    for (std::size_t at = text.find(from); at != std::u16string_view::npos; at = text.find(from, done)) {
        out = std::copy(text.begin() + static_cast<std::ptrdiff_t>(done),
                        text.begin() + static_cast<std::ptrdiff_t>(at), out);
        out = std::copy(to.begin(), to.end(), out);
        done = at + from.size();
    }
    std::copy(text.begin() + static_cast<std::ptrdiff_t>(done), text.end(), out);
    return makeText({result, size});
}

// Text(value) or Text(value, format).
Value text(Arguments arguments, FunctionContext& context) {
    if (arguments.size() < 2) return makeText(textOf(arguments, 0, context));
    ValueFormat format{std::u16string(textOf(arguments, 1, context))};
    EvaluatedText shown;
    format.append(arguments[0], context.arena, shown);
    return makeText(context.arena.copy(shown.text));
}

// --- Numbers. Other arguments give null; so does a result that is not finite. ---

template <Number (*Operation)(const Number&)>
Value unary(Arguments arguments, FunctionContext&) {
    Number number;
    return toNumber(arguments[0], number) ? makeNumber(Operation(number)) : Value();
}

template <Number (*Operation)(const Number&, const Number&)>
Value binary(Arguments arguments, FunctionContext&) {
    Number a;
    Number b;
    return toNumber(arguments[0], a) && toNumber(arguments[1], b) ? makeNumber(Operation(a, b)) : Value();
}

Number magnitude(const Number& a) { return compare(a, 0) < 0 ? -a : a; }
Number floorOf(const Number& a) { return a.floor(); }
Number ceilingOf(const Number& a) { return -(-a).floor(); }
Number squareRoot(const Number& a) { return std::sqrt(a.toDouble()); }
Number valueOf(const Number& a) { return a; }

// Round(number) or Round(number, digits): halves away from zero.
Value round(Arguments arguments, FunctionContext&) {
    Number number;
    double digits = 0;
    if (!toNumber(arguments[0], number)) return {};
    if (arguments.size() > 1 && !toNumber(arguments[1], digits)) return {};
    constexpr double kMost = Decimal::kMostPlaces;
    return makeNumber(number.rounded(static_cast<int>(std::clamp(digits, -kMost, kMost))));
}

// --- Dates. Other arguments give null. ---

Value dateOrNull(std::optional<std::int64_t> seconds) { return seconds ? makeDate(*seconds) : Value(); }

template <int (larkspur::ClkDateTime::*Part)() const>
Value part(Arguments arguments, FunctionContext&) {
    larkspur::ClkDateTime date;
    if (!toDate(arguments[0], date.m_Time)) return {};
    try {
        return makeNumber((date.*Part)());
    } catch (const larkspur::ClkException&) {
        return {};  // the year is out of range
    }
}

// Accepts only numbers that do not overflow in calendar arithmetic.
bool toCalendarNumber(const Value& value, std::int64_t& number) {
    constexpr double kLargest = 1e7;
    double read = 0;
    if (!toNumber(value, read) || !(std::fabs(read) <= kLargest)) return false;
    number = static_cast<std::int64_t>(read);
    return true;
}

// Date(text) or Date(year, month, day); months and days out of range are carried over.
Value date(Arguments arguments, FunctionContext&) {
    if (arguments.size() == 1) {
        std::int64_t seconds = 0;
        return toDate(arguments[0], seconds) ? makeDate(seconds) : Value();
    }
    std::array<std::int64_t, 3> parts{1, 1, 1};
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!toCalendarNumber(arguments[i], parts[i])) return {};
    }
    return dateOrNull(midnightOf(parts[0], parts[1], parts[2]));
}

Value addDays(Arguments arguments, FunctionContext&) {
    std::int64_t seconds = 0;
    std::int64_t days = 0;
    if (!toDate(arguments[0], seconds) || !toCalendarNumber(arguments[1], days)) return {};
    return makeDate(seconds + days * kSecondsADay);
}

Value addMonths(Arguments arguments, FunctionContext&) {
    std::int64_t seconds = 0;
    std::int64_t months = 0;
    if (!toDate(arguments[0], seconds) || !toCalendarNumber(arguments[1], months)) return {};
    return dateOrNull(monthsLater(seconds, months));
}

Value today(Arguments, FunctionContext& context) { return makeDate(startOfDay(context.now)); }

Value now(Arguments, FunctionContext& context) { return makeDate(context.now); }

// --- Choices. ---

Value isBlankValue(Arguments arguments, FunctionContext& context) {
    return makeBoolean(trimmed(textOf(arguments, 0, context)).empty());
}

// Coalesce(a, b, ...): the first that is neither null nor an empty text.
Value coalesce(Arguments arguments, FunctionContext&) {
    for (const Value& value : arguments) {
        if (!value.isNull() && (value.type != ValueType::Text || !value.text.empty())) return value;
    }
    return {};
}

// In(value, a, b, ...).
Value in(Arguments arguments, FunctionContext& context) {
    return makeBoolean(std::any_of(arguments.begin() + 1, arguments.end(), [&](const Value& candidate) {
        return compareValues(arguments[0], candidate, context.arena) == 0;
    }));
}

using larkspur::ClkDateTime;

constexpr Function kFunctions[] = {
    {u"Abs", 1, 1, unary<magnitude>, Reads::Numbers},
    {u"AddDays", 2, 2, addDays, Reads::Dates},
    {u"AddMonths", 2, 2, addMonths, Reads::Dates},
    {u"Ceiling", 1, 1, unary<ceilingOf>, Reads::Numbers},
    {u"Coalesce", 1, -1, coalesce},
    {u"Contains", 2, 2, contains},
    {u"Date", 1, 3, date, Reads::Dates},
    {u"Day", 1, 1, part<&ClkDateTime::GetDay>, Reads::Dates},
    {u"DayOfWeek", 1, 1, part<&ClkDateTime::GetDayOfWeek>, Reads::Dates},
    {u"EndsWith", 2, 2, endsWith},
    {u"Find", 2, 2, find},
    {u"Floor", 1, 1, unary<floorOf>, Reads::Numbers},
    {u"Hour", 1, 1, part<&ClkDateTime::GetHour>, Reads::Dates},
    {u"In", 2, -1, in},
    {u"IsBlank", 1, 1, isBlankValue},
    {u"Left", 2, 2, left},
    {u"Length", 1, 1, length},
    {u"Lower", 1, 1, fold<toLower>},
    {u"Mid", 2, 3, mid},
    {u"Minute", 1, 1, part<&ClkDateTime::GetMinute>, Reads::Dates},
    {u"Mod", 2, 2, binary<modulo>, Reads::Numbers},
    {u"Month", 1, 1, part<&ClkDateTime::GetMonth>, Reads::Dates},
    {u"Now", 0, 0, now},
    {u"Number", 1, 1, unary<valueOf>, Reads::Numbers},
    {u"Power", 2, 2, binary<power>, Reads::Numbers},
    {u"Replace", 3, 3, replace},
    {u"Right", 2, 2, right},
    {u"Round", 1, 2, round, Reads::Numbers},
    {u"Second", 1, 1, part<&ClkDateTime::GetSecond>, Reads::Dates},
    {u"Sqrt", 1, 1, unary<squareRoot>, Reads::Numbers},
    {u"StartsWith", 2, 2, startsWith},
    {u"Text", 1, 2, text},
    {u"Today", 0, 0, today},
    {u"Trim", 1, 1, trim},
    {u"Upper", 1, 1, fold<toUpper>},
    {u"Year", 1, 1, part<&ClkDateTime::GetYear>, Reads::Dates},
};

}  // namespace

std::span<const Function> functions() { return kFunctions; }

std::size_t findFunction(std::u16string_view name) {
    const auto* found =
        std::find_if(std::begin(kFunctions), std::end(kFunctions),
                     [&](const Function& function) { return equalsIgnoringCase(function.name, name); });
    return found == std::end(kFunctions) ? std::u16string_view::npos
                                         : static_cast<std::size_t>(found - std::begin(kFunctions));
}

}  // namespace qbsvrl6
