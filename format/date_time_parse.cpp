// Reads dates. The numbers of the text are read in order, whatever separates them, and then assigned: a ":"
// after the first one means that the time comes first; if the third number of the date can't be a year, the
// year comes first; after a year of four digits, the month may be a Chinese numeral.
#include <string_view>
#include <utility>

#include "common/internal/ascii.h"
#include "format/date_time_format.h"

namespace larkspur {

namespace {

constexpr int kMaxNumbers = 6;

struct DateTimeFields {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};

struct Numbers {
    int values[kMaxNumbers] = {};
    int count = 0;
    lkchar separator = u'\0';  // after the first number
};

// If the text ends without another digit, that counts as a number of value 0.
Numbers ReadNumbers(const lkchar* text) {
    Numbers numbers;
    while (numbers.count < kMaxNumbers) {
        while (*text != u'\0' && !IsAsciiDigit(*text)) ++text;
        unsigned int value = 0;  // wraps as lkstr_toi does
        for (; IsAsciiDigit(*text); ++text) value = value * 10 + (*text - u'0');
        if (numbers.count == 0) numbers.separator = *text;
        numbers.values[numbers.count++] = static_cast<int>(value);
        if (*text == u'\0') break;
    }
    return numbers;
}

// On entry, `day`, `month` and `year` hold the three numbers in the order of the text. If the last can't be a
// year, the year comes first; otherwise month first is preferred to day first.
void OrderDate(DateTimeFields& date) {
    if (date.year <= 31) {
        const int oldYear = date.year;
        date.year = date.day;
        date.day = date.month;
        date.month = oldYear;
    }
    if (date.day < 13) std::swap(date.day, date.month);
}

bool IsMonth(int month) { return month >= 1 && month <= 12; }
bool IsDay(int day) { return day >= 1 && day <= 31; }

// Whether month and day are valid, if necessary after reading a Chinese month after "2024年".
bool CompleteByChineseMonth(std::u16string_view text, DateTimeFields& date) {
    constexpr std::u16string_view kMonths = u"一二三四五六七八九十";
    constexpr std::size_t kMonthAt = 5;
    const std::size_t found = text.size() > kMonthAt ? kMonths.find(text[kMonthAt]) : kMonths.npos;
    if (found != kMonths.npos) {
        date.month = static_cast<int>(found) + 1;
        const lkchar next = text.size() > kMonthAt + 1 ? text[kMonthAt + 1] : u'\0';
        if (date.month == 10 && next == u'一') date.month = 11;
        if (date.month == 10 && next == u'二') date.month = 12;
    }
    return IsMonth(date.month) && IsDay(date.day);
}

enum class NextStep { kOrder, kCheck, kChineseMonth };

NextStep PlaceTimeFirst(const Numbers& numbers, DateTimeFields& date) {
    const auto& n = numbers.values;
    date.hour = n[0];
    date.minute = n[1];
    date.second = n[2];
    switch (numbers.count) {
        case 3:
            return NextStep::kCheck;
        case 5: {
            date.year = n[3];
            const bool isMonthNumber = n[4] <= 12;
            (isMonthNumber ? date.month : date.day) = n[4];
            return isMonthNumber ? NextStep::kCheck : NextStep::kChineseMonth;
        }
        case 6:
            date.day = n[3];
            date.month = n[4];
            date.year = n[5];
            return NextStep::kOrder;
        default:
            date.year = n[3];
            return NextStep::kChineseMonth;
    }
}

NextStep Place(const Numbers& numbers, DateTimeFields& date) {
    const auto& n = numbers.values;
    if (numbers.count == 1) {
        date.year = n[0];
        return NextStep::kCheck;
    }
    if (numbers.separator == u':') return PlaceTimeFirst(numbers, date);
    date = {n[2], n[1], n[0], n[3], n[4], n[5]};
    return NextStep::kOrder;
}

bool ReadDateTime(const lkchar* text, DateTimeFields& date) {
    const NextStep next = Place(ReadNumbers(text), date);
    if (next == NextStep::kOrder) OrderDate(date);
    if (next != NextStep::kChineseMonth) {
        if (IsMonth(date.month) && IsDay(date.day)) return true;
        // OrderDate has assigned a lone day to the month.
        if (date.day == 0) date.day = date.month;
    }
    return CompleteByChineseMonth(text, date);
}

}  // namespace

ClkDateTime ParseDateTime(const lkchar* text, bool& ok) {
    ClkDateTime result;
    DateTimeFields date;
    ok = text != nullptr && *text != u'\0' && ReadDateTime(text, date);
    if (ok) result.SetDateTime(date.year, date.month, date.day, date.hour, date.minute, date.second);
    return result;
}

}  // namespace larkspur
