// A moment of wall-clock time, to the second.
#ifndef QBSVR_FORMAT_DATE_TIME_H
#define QBSVR_FORMAT_DATE_TIME_H

#include <cstdint>
#include <ctime>

#include "common/text.h"

namespace larkspur {

// The value is the time that a clock shows, not an instant: it has no time zone and no daylight flag, and
// 12:00 is 12:00 everywhere. As a floating-point number, it is the days since 1970-01-01, with the time of
// day as fraction.
//
// Even const members fill a cache, so one object belongs to one thread at a time.
class ClkDateTime {
public:
    std::int64_t m_Time = 0;  // seconds since 1970-01-01 00:00:00, of the clock's time taken as UTC

    ClkDateTime() = default;
    ClkDateTime(const ClkDateTime& other) : m_Time(other.m_Time) {}
    virtual ~ClkDateTime() = default;
    ClkDateTime& operator=(const ClkDateTime& other);

    // Fills the cache from which the other members read. Raises ClkException if the year exceeds the range of
    // int; the cache then holds zeros, which later reads return.
    void DoDecode() const;

    void Decode(int& year, int& month, int& day, int& hour, int& minute, int& second) const;
    void DecodeDate(int& year, int& month, int& day) const;
    void DecodeTime(int& hour, int& minute, int& second) const;

    int GetYear() const;
    int GetMonth() const;  // 1 to 12
    int GetDay() const;
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetDayOfWeek() const;  // 1 for Sunday to 7 for Saturday
    int GetDayOfYear() const;  // 1 for January 1

    // Values out of range carry over, as with mktime in UTC. Return false if the value is now -1, which is
    // the last second of 1969 and also replaces a year that exceeds the range of int.
    bool SetDateTime(int year, int month, int day, int hour, int minute, int second);
    bool SetDate(int year, int month, int day);
    bool SetTime(int hour, int minute, int second);  // on 1899-12-30
    bool TrimToDate();                               // drops the time of day

    // Formats as strftime of the C library does, in the locale of the process.
    lkstr Format(const lkchar* format) const;
    lkstr AsString() const;  // "%c"

    double AsFloat() const { return DateTimeToFloat(m_Time); }
    void IncDays(int days);

    // The current local standard time according to the C library's `timezone`, which is UTC until the zone is
    // read by tzset, mktime, or setting a date here.
    static std::int64_t CurrentTime();
    static std::int64_t IntToDateTime(int days);
    static std::int64_t FloatToDateTime(double days);  // cut towards zero, clamped to 64 bits; NaN gives 0
    static double DateTimeToFloat(std::int64_t time);

private:
    friend class CachedDateFormat;

    void SetValue(std::int64_t time);

    mutable bool m_IsDecoded = false;
    mutable std::tm m_Decoded;  // meaningful once m_IsDecoded
};

// Converts broken-down UTC, in the Gregorian calendar for all years: the result of mktime in UTC, in any
// zone. Normalises its argument. If the year exceeds the range of int, returns -1 and does not change the
// argument.
std::int64_t _mkgmtime(std::tm* tm);

}  // namespace larkspur

#endif
