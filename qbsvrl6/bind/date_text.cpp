#include "qbsvrl6/bind/date_text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

namespace chrono = std::chrono;

using TextView = std::u16string_view;

constexpr std::size_t kYearDigits = 4;

// A number and the text up to the next digit.
struct Part {
    int number = 0;
    std::size_t digits = 0;  // 0: there is no number
    TextView after;
};

// Removes and returns the text before the first unit that is a digit (or, if `digit` is false, is not one).
TextView takeUntil(bool digit, TextView& text) {
    const auto end =
        std::find_if(text.begin(), text.end(), [digit](char16_t unit) { return isDigit(unit) == digit; });
    const TextView taken = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(taken.size());
    return taken;
}

// Removes the leading number and the text after it, and returns them.
Part takePart(TextView& text) {
    constexpr int kTooLarge = 10'000;
    Part part;
    const TextView digits = takeUntil(false, text);
    part.digits = digits.size();
    for (const char16_t digit : digits) part.number = std::min(part.number * 10 + (digit - u'0'), kTooLarge);
    part.after = takeUntil(true, text);
    return part;
}

bool isHour(TextView after) { return !after.empty() && TextView(u"时時点").find(after[0]) != TextView::npos; }
bool isColon(TextView after) { return after == u":" || after == u"："; }

bool isDateSeparator(TextView after, bool isYearFirst) {
    const TextView sign = trimmed(after);
    const TextView signs = isYearFirst ? u"-/.－／．年月" : u"-/.－／．";
    return !after.empty() && sign.size() < 2 && (sign.empty() || signs.find(sign) != TextView::npos);
}

// A month in words, as in "2024年三月".
bool readChineseMonth(TextView text, int& month) {
    constexpr std::array<TextView, 12> kMonths = {u"一月", u"二月", u"三月", u"四月", u"五月",   u"六月",
                                                  u"七月", u"八月", u"九月", u"十月", u"十一月", u"十二月"};
    if (!text.starts_with(u'年')) return false;
    const auto* const found = std::find(kMonths.begin(), kMonths.end(), trimmed(text.substr(1)));
    month = static_cast<int>(found - kMonths.begin()) + 1;
    return found != kMonths.end();
}

class Reader {
public:
    explicit Reader(TextView text) : rest_(text) {}

    bool read(std::int64_t& seconds) {
        const TextView before = takeUntil(true, rest_);
        Part first = takePart(rest_);
        const bool isTimeFirst = isColon(first.after) || isHour(first.after);
        if (isTimeFirst) {
            noteHalfOfDay(before);
            if (!readTime(first, false)) return false;
            first = takePart(rest_);
        }
        if (!readDate(first)) return false;
        if (!isTimeFirst && !rest_.empty() && !readTime(takePart(rest_), true)) return false;
        if (!rest_.empty()) return false;
        seconds = (chrono::sys_seconds(chrono::sys_days(date_)) + time_).time_since_epoch().count();
        return true;
    }

private:
    enum class Half { Whole, Morning, Afternoon };

    // Looks for "AM", "p.m.", "下午" and the like in the text next to a time.
    void noteHalfOfDay(TextView text) {
        for (std::size_t i = 0; i + 1 < text.size(); ++i) {
            const TextView rest = text.substr(i);
            if (rest.starts_with(u"上午")) half_ = Half::Morning;
            if (rest.starts_with(u"下午")) half_ = Half::Afternoon;
            const char16_t first = lowered(text[i]);
            if ((first != u'a' && first != u'p') || (i > 0 && isLatinLetter(text[i - 1]))) continue;
            const TextView second = rest.substr(rest[1] == u'.' ? 2 : 1);
            if (second.empty() || lowered(second[0]) != u'm') continue;
            if (second.size() == 1 || !isLatinLetter(second[1]))
                half_ = first == u'a' ? Half::Morning : Half::Afternoon;
        }
    }

    bool readDate(const Part& first) {
        const bool isYearFirst = first.digits == kYearDigits;
        int month = 0;
        if (isYearFirst && readChineseMonth(first.after, month)) {
            return setDate(first.number, month, rest_.empty() ? 1 : takeDay());
        }
        if (!isDateSeparator(first.after, isYearFirst)) return false;
        const Part second = takePart(rest_);
        if (isYearFirst && rest_.empty()) return setDate(first.number, second.number, 1);
        if (!isDateSeparator(second.after, isYearFirst)) return false;
        if (isYearFirst) return setDate(first.number, second.number, takeDay());
        const Part year = takePart(rest_);
        if (year.digits != kYearDigits) return false;
        noteHalfOfDay(year.after);
        const bool isDayFirst = first.after.find_first_of(u".．") != TextView::npos;
        return isDayFirst ? setDate(year.number, second.number, first.number)
                          : setDate(year.number, first.number, second.number);
    }

    // The last number of a date that begins with its year; 0 for the hour of a time.
    int takeDay() {
        const Part day = takePart(rest_);
        noteHalfOfDay(day.after);
        return isColon(day.after) || isHour(day.after) ? 0 : day.number;
    }

    bool setDate(int year, int month, int day) {
        if (month < 1 || month > 12 || day < 1 || day > 31) return false;
        date_ = chrono::year(year) / month / day;
        return date_.ok();
    }

    // From the hour, with the text after it. A zone follows only a time that is the last part.
    bool readTime(Part last, bool isLast) {
        const int hour = last.number;
        int minute = 0;
        int second = 0;
        const bool hasMinute =
            isColon(last.after) || (isHour(last.after) && last.after.size() == 1 && !rest_.empty());
        const bool isMarked = hasMinute || isHour(last.after);
        if (hasMinute) {
            last = takePart(rest_);
            minute = last.number;
            if (isColon(last.after) || (last.after == u"分" && !rest_.empty())) {
                last = takePart(rest_);
                second = last.number;
                if (last.after == u"." || last.after == u",") last = takePart(rest_);  // its fraction
            }
        }
        noteHalfOfDay(last.after);
        if (!isMarked && half_ == Half::Whole) return false;
        if (isLast) skipZone(last.after);
        return setTime(hour, minute, second);
    }

    void skipZone(TextView sign) {
        sign = trimmed(sign);
        if (sign != u"+" && sign != u"-") return;
        if (isColon(takePart(rest_).after)) takePart(rest_);
    }

    bool setTime(int hour, int minute, int second) {
        if (half_ != Half::Whole) {
            if (hour < 1 || hour > 12) return false;
            hour = hour % 12 + (half_ == Half::Afternoon ? 12 : 0);
        }
        if (hour > 24 || minute > 59 || second > 59) return false;
        time_ = chrono::hours(hour) + chrono::minutes(minute) + chrono::seconds(second);
        return time_ <= chrono::days(1);
    }

    TextView rest_;
    chrono::year_month_day date_{};
    chrono::seconds time_{};
    Half half_ = Half::Whole;
};

std::int64_t secondsOf(chrono::sys_days day) { return chrono::sys_seconds(day).time_since_epoch().count(); }

// "2024-03-05": a fast path for the form of most dates.
bool readIsoDay(TextView text, std::int64_t& seconds) {
    constexpr TextView kForm = u"dddd-dd-dd";
    if (text.size() != kForm.size() || text[4] != u'-' || text[7] != u'-') return false;
    int number = 0;
    for (std::size_t i = 0; i < kForm.size(); ++i) {
        if (kForm[i] != u'd') continue;
        if (!isDigit(text[i])) return false;
        number = number * 10 + (text[i] - u'0');
    }
    const chrono::year_month_day date = chrono::year(number / 10'000) / (number / 100 % 100) / (number % 100);
    if (date.ok()) seconds = secondsOf(date);
    return date.ok();
}

}  // namespace

bool parseDate(TextView text, std::int64_t& seconds) {
    constexpr std::size_t kLongest = 64;
    return readIsoDay(text, seconds) || (text.size() <= kLongest && Reader(text).read(seconds));
}

}  // namespace qbsvrl6
