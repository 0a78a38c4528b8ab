#include "format/date_time.h"

#include <time.h>

#include <algorithm>
#include <climits>
#include <cwchar>
#include <limits>
#include <optional>
#include <utility>

#include "common/errors.h"
#include "format/internal/digit_fields.h"

namespace larkspur {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

// The calendar is computed in eras of 400 years, which repeat to the day, and in years that begin on March 1,
// so that the leap day is the last day of its year.
constexpr std::int64_t kDaysPerEra = 146097;
constexpr std::int64_t kDaysToEpoch = 719468;  // from 0000-03-01 to 1970-01-01

// Days from 1970-01-01 to the first of a month; January is 0.
constexpr std::int64_t DaysToMonth(std::int64_t year, int month) {
    const bool isBeforeMarch = month < 2;
    const std::int64_t shifted = isBeforeMarch ? year - 1 : year;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 399) / 400;
    const std::int64_t yearOfEra = shifted - era * 400;
    const int monthFromMarch = month + (isBeforeMarch ? 10 : -2);
    const int dayFromMarch = (153 * monthFromMarch + 2) / 5;
    return era * kDaysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayFromMarch -
           kDaysToEpoch;
}

// The first second whose year a tm can hold, and the first one whose year it can't.
constexpr std::int64_t kTimeBegin = DaysToMonth(std::int64_t{INT_MIN} + 1900, 0) * kSecondsPerDay;
constexpr std::int64_t kTimeEnd = DaysToMonth(std::int64_t{INT_MAX} + 1901, 0) * kSecondsPerDay;

bool IsInCalendar(std::int64_t time) { return time >= kTimeBegin && time < kTimeEnd; }

// The result of gmtime_r, without its time-zone lock. Returns false for a year out of range.
bool DecodeUtc(std::int64_t time, std::tm& tm) {
    if (!IsInCalendar(time)) return false;
    std::int64_t days = time / kSecondsPerDay;
    auto second = static_cast<int>(time % kSecondsPerDay);
    if (second < 0) {
        second += static_cast<int>(kSecondsPerDay);
        --days;
    }
    const std::int64_t shifted = days + kDaysToEpoch;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - (kDaysPerEra - 1)) / kDaysPerEra;
    const auto dayOfEra = static_cast<int>(shifted - era * kDaysPerEra);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayFromMarch = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int monthFromMarch = (5 * dayFromMarch + 2) / 153;
    const bool isAfterNewYear = monthFromMarch >= 10;
    const std::int64_t year = era * 400 + yearOfEra + (isAfterNewYear ? 1 : 0);
    const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);

    tm.tm_year = static_cast<int>(year - 1900);
    tm.tm_mon = monthFromMarch + (isAfterNewYear ? -10 : 2);
    tm.tm_mday = dayFromMarch - (153 * monthFromMarch + 2) / 5 + 1;
    tm.tm_yday = isAfterNewYear ? dayFromMarch - 306 : dayFromMarch + 59 + (isLeap ? 1 : 0);
    tm.tm_wday = static_cast<int>(((days % 7) + 11) % 7);  // day 0 was a Thursday
    tm.tm_hour = second / 3600;
    tm.tm_min = second / 60 % 60;
    tm.tm_sec = second % 60;
    tm.tm_zone = "GMT";
    return true;
}

// The result of mktime in UTC, even for fields out of range; nothing for a year out of range. As in mktime,
// seconds are added last: they can't bring the year back into range.
std::optional<std::int64_t> EncodeUtc(const std::tm& tm) {
    constexpr std::int64_t kDaylightShift = 3600;
    const int month = (tm.tm_mon % 12 + 12) % 12;
    const std::int64_t year = std::int64_t{tm.tm_year} + 1900 + (std::int64_t{tm.tm_mon} - month) / 12;
    const std::int64_t days = DaysToMonth(year, month) + tm.tm_mday - 1;
    const int second = std::clamp(tm.tm_sec, 0, 59);
    std::int64_t time =
        days * kSecondsPerDay + std::int64_t{tm.tm_hour} * 3600 + std::int64_t{tm.tm_min} * 60 + second;
    if (!IsInCalendar(time)) return std::nullopt;
    if (tm.tm_isdst > 0) time -= kDaylightShift;
    if (!IsInCalendar(time)) return std::nullopt;
    time += std::int64_t{tm.tm_sec} - second;
    if (!IsInCalendar(time)) return std::nullopt;
    return time;
}

// CurrentTime relies on the C library's `timezone`, which is set when the zone is first read.
void ReadZoneOnce() { [[maybe_unused]] static const bool isRead = (tzset(), true); }

int ClampToInt(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, INT_MIN, INT_MAX));
}

// wcsftime returns 0 both if the buffer is too small and for an empty text: a unit appended to the format
// distinguishes the two. Fields of a locale are short, so only a field width can exceed the largest buffer;
// the text is then empty.
lkstr FormatByLibrary(const lkchar* format, const std::tm& tm) {
    constexpr wchar_t kEnd = L'.';
    wstr wideFormat = lkstr_tow(format);
    wideFormat += kEnd;
    const std::size_t maxRoom = 65536 + 128 * wideFormat.size();
    wstr text;
    for (std::size_t room = 256; room <= maxRoom; room *= 4) {
        text.resize(room);
        const std::size_t length = std::wcsftime(text.data(), room, wideFormat.c_str(), &tm);
        if (length == 0) continue;
        text[length - 1] = L'\0';
        return lkstr_fromw(text.c_str());
    }
    return lkstr();
}

}  // namespace

ClkDateTime& ClkDateTime::operator=(const ClkDateTime& other) {
    if (this != &other) SetValue(other.m_Time);
    return *this;
}

void ClkDateTime::SetValue(std::int64_t time) {
    m_Time = time;
    m_IsDecoded = false;
}

void ClkDateTime::DoDecode() const {
    if (m_IsDecoded) return;
    m_Decoded = {};
    m_IsDecoded = true;
    if (!DecodeUtc(m_Time, m_Decoded)) throw ClkException(LKExceptionFunction, "ClkDateTime::DoDecode");
}

void ClkDateTime::Decode(int& year, int& month, int& day, int& hour, int& minute, int& second) const {
    DecodeDate(year, month, day);
    DecodeTime(hour, minute, second);
}

void ClkDateTime::DecodeDate(int& year, int& month, int& day) const {
    year = GetYear();
    month = GetMonth();
    day = GetDay();
}

void ClkDateTime::DecodeTime(int& hour, int& minute, int& second) const {
    hour = GetHour();
    minute = GetMinute();
    second = GetSecond();
}

int ClkDateTime::GetYear() const {
    DoDecode();
    return ClampToInt(std::int64_t{m_Decoded.tm_year} + 1900);
}

int ClkDateTime::GetMonth() const {
    DoDecode();
    return m_Decoded.tm_mon + 1;
}

int ClkDateTime::GetDay() const {
    DoDecode();
    return m_Decoded.tm_mday;
}

int ClkDateTime::GetHour() const {
    DoDecode();
    return m_Decoded.tm_hour;
}

int ClkDateTime::GetMinute() const {
    DoDecode();
    return m_Decoded.tm_min;
}

int ClkDateTime::GetSecond() const {
    DoDecode();
    return m_Decoded.tm_sec;
}

int ClkDateTime::GetDayOfWeek() const {
    DoDecode();
    return m_Decoded.tm_wday + 1;
}

int ClkDateTime::GetDayOfYear() const {
    DoDecode();
    return m_Decoded.tm_yday + 1;
}

bool ClkDateTime::SetDateTime(int year, int month, int day, int hour, int minute, int second) {
    std::tm tm = {};
    tm.tm_year = ClampToInt(std::int64_t{year} - 1900);
    tm.tm_mon = ClampToInt(std::int64_t{month} - 1);
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    ReadZoneOnce();
    SetValue(EncodeUtc(tm).value_or(-1));
    return m_Time != -1;
}

bool ClkDateTime::SetDate(int year, int month, int day) { return SetDateTime(year, month, day, 0, 0, 0); }

bool ClkDateTime::SetTime(int hour, int minute, int second) {
    return SetDateTime(1899, 12, 30, hour, minute, second);
}

bool ClkDateTime::TrimToDate() {
    int year, month, day;
    DecodeDate(year, month, day);
    return SetDate(year, month, day);
}

lkstr ClkDateTime::Format(const lkchar* format) const {
    DoDecode();
    if (format == nullptr) format = gc_lkchar_empty;
    lkchar text[DigitFields::kMaxLength];
    lkchar* const end = DigitFields::Put(format, m_Decoded, text);
    return end != nullptr ? lkstr(text, end) : FormatByLibrary(format, m_Decoded);
}

lkstr ClkDateTime::AsString() const { return Format(u"%c"); }

void ClkDateTime::IncDays(int days) {
    std::int64_t time;
    if (__builtin_add_overflow(m_Time, FloatToDateTime(days), &time)) {
        time = days < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    }
    SetValue(time);
}

std::int64_t ClkDateTime::CurrentTime() { return std::time(nullptr) - ::timezone; }

std::int64_t ClkDateTime::IntToDateTime(int days) { return days * kSecondsPerDay; }

std::int64_t ClkDateTime::FloatToDateTime(double days) {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    const double seconds = days * 86400.0;
    if (seconds != seconds) return 0;
    if (seconds >= kLimit) return std::numeric_limits<std::int64_t>::max();
    if (seconds < -kLimit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(seconds);
}

double ClkDateTime::DateTimeToFloat(std::int64_t time) { return static_cast<double>(time) / 86400.0; }

std::int64_t _mkgmtime(std::tm* tm) {
    ReadZoneOnce();
    const std::optional<std::int64_t> time = EncodeUtc(*tm);
    if (!time) return -1;
    *tm = {};
    DecodeUtc(*time, *tm);
    tm->tm_zone = "UTC";
    return *time;
}

}  // namespace larkspur
