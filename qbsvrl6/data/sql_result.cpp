#include "qbsvrl6/data/sql_result.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <utility>

#include "common/base64.h"
#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::int64_t kSecondsADay = 86'400;

// The digits of a fixed width at the front of the text, which are removed; none if there are others.
std::optional<int> takeDigits(std::string_view& text, std::size_t width) {
    if (text.size() < width) return std::nullopt;
    int number = 0;
    for (const char c : text.substr(0, width)) {
        if (!isDigit(c)) return std::nullopt;
        number = 10 * number + (c - '0');
    }
    text.remove_prefix(width);
    return number;
}

bool take(std::string_view& text, char c) {
    if (!text.starts_with(c)) return false;
    text.remove_prefix(1);
    return true;
}

// "10:30", "10:30:00", "10:30:00.123", as seconds of the day.
std::optional<std::int64_t> timeOf(std::string_view text) {
    const auto hour = takeDigits(text, 2);
    const bool hasMinute = hour && take(text, ':');
    const auto minute = hasMinute ? takeDigits(text, 2) : std::nullopt;
    if (!minute) return std::nullopt;
    int second = 0;
    if (take(text, ':')) {
        const auto found = takeDigits(text, 2);
        if (!found) return std::nullopt;
        second = *found;
        if (take(text, '.')) {
            while (takeDigits(text, 1)) continue;
        }
    }
    if (!text.empty() || *hour > 23 || *minute > 59 || second > 59) return std::nullopt;
    return (*hour * 60 + *minute) * 60 + second;
}

std::optional<std::int64_t> secondsOf(std::string_view text) {
    const auto year = takeDigits(text, 4);
    const bool hasMonth = year && take(text, '-');
    const auto month = hasMonth ? takeDigits(text, 2) : std::nullopt;
    const bool hasDay = month && take(text, '-');
    const auto day = hasDay ? takeDigits(text, 2) : std::nullopt;
    if (!day) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) return std::nullopt;
    const std::int64_t seconds = std::chrono::sys_days(date).time_since_epoch().count() * kSecondsADay;
    if (text.empty()) return seconds;
    if (!take(text, ' ') && !take(text, 'T')) return std::nullopt;
    const auto time = timeOf(text);
    if (!time) return std::nullopt;
    return seconds + *time;
}

}  // namespace

void SqlResult::addColumn(std::string_view name) {
    if (columns_.add(table_, name)) return;
    throw EngineError(ErrorCode::LimitExceeded,
                      "the query has more than " + std::to_string(limits::kDataColumns) + " columns");
}

void SqlResult::beginRow() {
    if (table_.rowCount() == limits::kQueryRows) {
        throw EngineError(ErrorCode::LimitExceeded,
                          "the query has more than " + std::to_string(limits::kQueryRows) + " rows");
    }
    table_.beginRow();
}

DataSet SqlResult::finish() {
    DataSet data;
    data.origin = origin_;
    data.add(std::move(table_));
    return data;
}

void SqlResult::setWhole(std::size_t column, std::int64_t value) {
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    table_.setNumber(columns_[column], Number(value),
                     widen({digits.data(), static_cast<std::size_t>(end - digits.data())}, wide_));
}

template <class Real>
void SqlResult::setShortest(std::size_t column, Real value) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    setDecimal(column, {digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void SqlResult::setReal(std::size_t column, float value) { setShortest(column, value); }
void SqlResult::setReal(std::size_t column, double value) { setShortest(column, value); }

void SqlResult::setDecimal(std::size_t column, std::string_view written) {
    Number number;
    if (!Number::parse(written, number)) return setText(column, written);
    table_.setNumber(columns_[column], number, widen(written, wide_));
}

void SqlResult::setBoolean(std::size_t column, bool value) { table_.setBoolean(columns_[column], value); }

void SqlResult::setText(std::size_t column, std::string_view utf8) {
    if (isValidUtf8(utf8)) return setText(column, widen(utf8, wide_));
    setText(column, std::u16string_view(toUtf16(utf8)));
}

void SqlResult::setDateText(std::size_t column, std::string_view written) {
    const std::optional<std::int64_t> seconds = secondsOf(written);
    if (!seconds) return setText(column, written);
    table_.setDate(columns_[column], *seconds, widen(written, wide_));
}

void SqlResult::setBytes(std::size_t column, std::string_view bytes) {
    setText(column, std::string_view(larkspur::Base64_Encode(bytes.data(), static_cast<int>(bytes.size()))));
}

void QueryClock::check() const {
    checkTime();
    if (std::chrono::steady_clock::now() - started_ < std::chrono::seconds(limits::kQuerySeconds)) return;
    throw EngineError(ErrorCode::LimitExceeded,
                      "the query runs longer than " + std::to_string(limits::kQuerySeconds) + " s");
}

std::string sqlDate(std::int64_t seconds) {
    const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 48> text;
    const auto number = [](auto part) { return static_cast<int>(part); };
    int length = std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", number(date.year()),
                               static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    if (time != day) {
        length += std::snprintf(text.data() + length, text.size() - static_cast<std::size_t>(length),
                                " %02d:%02d:%02d", number(clock.hours().count()),
                                number(clock.minutes().count()), number(clock.seconds().count()));
    }
    return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace qbsvrl6
