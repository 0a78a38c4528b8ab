#include "qbsvrl6/bind/dates.h"

#include <algorithm>
#include <chrono>

namespace qbsvrl6 {

namespace {

namespace chrono = std::chrono;

constexpr chrono::sys_days kFirstDay = chrono::year::min() / chrono::January / 1;
constexpr chrono::sys_days kLastDay = chrono::year::max() / chrono::December / 31;

// The month that is so many months after January of the year.
std::optional<chrono::year_month> monthAt(std::int64_t year, std::int64_t monthsFromJanuary) {
    const std::int64_t months = year * 12 + monthsFromJanuary;
    const std::int64_t month = (months % 12 + 12) % 12;
    const std::int64_t reached = (months - month) / 12;
    if (reached < static_cast<int>(chrono::year::min()) || reached > static_cast<int>(chrono::year::max()))
        return std::nullopt;
    return chrono::year(static_cast<int>(reached)) / static_cast<int>(month + 1);
}

std::int64_t secondsOf(chrono::sys_days day) { return chrono::sys_seconds(day).time_since_epoch().count(); }

}  // namespace

std::int64_t startOfDay(std::int64_t seconds) {
    return secondsOf(chrono::floor<chrono::days>(chrono::sys_seconds(chrono::seconds(seconds))));
}

std::optional<std::int64_t> midnightOf(std::int64_t year, std::int64_t month, std::int64_t day) {
    const std::optional<chrono::year_month> found = monthAt(year, month - 1);
    if (!found) return std::nullopt;
    return secondsOf(chrono::sys_days(*found / 1)) + (day - 1) * kSecondsADay;
}

std::optional<std::int64_t> monthsLater(std::int64_t seconds, std::int64_t months) {
    const chrono::sys_seconds time{chrono::seconds(seconds)};
    const auto day = chrono::floor<chrono::days>(time);
    if (day < kFirstDay || day > kLastDay) return std::nullopt;
    const chrono::year_month_day date(day);
    const std::optional<chrono::year_month> target =
        monthAt(static_cast<int>(date.year()), static_cast<unsigned>(date.month()) - 1 + months);
    if (!target) return std::nullopt;
    const chrono::day last = (*target / chrono::last).day();
    const chrono::sys_days moved = *target / std::min(date.day(), last);
    return secondsOf(moved) + (time - day).count();
}

}  // namespace qbsvrl6
