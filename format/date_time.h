// A moment of wall-clock time, to the second.
#ifndef QBSVR_FORMAT_DATE_TIME_H
#define QBSVR_FORMAT_DATE_TIME_H

#include <cstdint>
#include <ctime>

#include "common/text.h"

namespace larkspur {

// The value is a clock's reading, not an instant: it has no zone and no daylight flag, and 12:00 stays 12:00
// wherever it is read. In floating form it counts days since 1970-01-01, the time of day being the fraction.
//
// Reading fills a cache, also through a const reference: one object belongs to one thread at a time.
class ClkDateTime {
public:
    std::int64_t m_Time = 0;  // seconds since 1970-01-01 00:00:00 of the reading taken as UTC

    ClkDateTime() = default;
    ClkDateTime(const ClkDateTime& other) : m_Time(other.m_Time) {}
    virtual ~ClkDateTime() = default;
    ClkDateTime& operator=(const ClkDateTime& other);

    // Fills the cache that the reading members share. Raises ClkException for a year that no int can hold;
    // the cache holds zeros then, and the next reading sees these.
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

    // Values out of range roll over, as mktime has it in UTC. False when the value has become -1, which is
    // the last second of 1969 and the substitute for a year that no int can hold.
    bool SetDateTime(int year, int month, int day, int hour, int minute, int second);
    bool SetDate(int year, int month, int day);
    bool SetTime(int hour, int minute, int second);  // on 1899-12-30
    bool TrimToDate();                               // drops the time of day

    // With a format of the C library's strftime, under the process's locale.
    lkstr Format(const lkchar* format) const;
    lkstr AsString() const;  // "%c"

    double AsFloat() const { return DateTimeToFloat(m_Time); }
    void IncDays(int days);

    // The local standard time by the C library's timezone, which is UTC until something reads the zone:
    // tzset, mktime, or setting a date here.
    static std::int64_t CurrentTime();
    static std::int64_t IntToDateTime(int days);
    static std::int64_t FloatToDateTime(double days);  // cut towards zero, held to 64 bits; NaN gives 0
    static double DateTimeToFloat(std::int64_t time);

private:
    void SetValue(std::int64_t time);

    mutable bool m_IsDecoded = false;
    mutable std::tm m_Decoded;  // meaningful once m_IsDecoded
};

// Broken-down time read as UTC, in the Gregorian calendar of all years: what mktime gives in UTC, in any
// zone. Normalises its argument; gives -1 and leaves the argument alone for a year that no int can hold.
std::int64_t _mkgmtime(std::tm* tm);

}  // namespace larkspur

#endif
