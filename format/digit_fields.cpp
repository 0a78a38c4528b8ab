#include "format/internal/digit_fields.h"

#include <array>
#include <cstring>

namespace larkspur {

namespace {

// "00" to "99".
constexpr auto kDigitPairs = [] {
    std::array<std::array<lkchar, 2>, 100> pairs{};
    for (unsigned int i = 0; i < 100; ++i) {
        pairs[i] = {static_cast<lkchar>(u'0' + i / 10), static_cast<lkchar>(u'0' + i % 10)};
    }
    return pairs;
}();

// The parts of a time, of two digits each. A long year has the first two.
enum Part : std::uint8_t { kCentury, kYear, kMonth, kDay, kHour, kHalfDayHour, kMinute, kSecond, kNoPart };

// The values of all parts: finding each when it is shown would take longer.
class Parts {
public:
    explicit Parts(const std::tm& tm) {
        // The year plus a multiple of 100 that makes all years positive.
        constexpr std::int64_t kBase = 1900 + std::int64_t{30'000'000} * 100;
        const auto year = static_cast<std::uint64_t>(kBase + tm.tm_year);
        const std::uint64_t century = year / 100;
        m_Values[kCentury] = century % 100;
        m_Values[kYear] = year - century * 100;
        m_Values[kMonth] = static_cast<std::size_t>(tm.tm_mon) + 1;
        m_Values[kDay] = static_cast<std::size_t>(tm.tm_mday);
        m_Values[kHour] = static_cast<std::size_t>(tm.tm_hour);
        m_Values[kHalfDayHour] = (m_Values[kHour] + 11) % 12 + 1;
        m_Values[kMinute] = static_cast<std::size_t>(tm.tm_min);
        m_Values[kSecond] = static_cast<std::size_t>(tm.tm_sec);
    }

    void Put(std::size_t part, lkchar* to) const {
        std::memcpy(to, kDigitPairs[m_Values[part]].data(), sizeof kDigitPairs[0]);
    }

private:
    std::size_t m_Values[kNoPart];
};

Part PartOf(lkchar field) {
    switch (field) {
        case u'y':
            return kYear;
        case u'm':
            return kMonth;
        case u'd':
            return kDay;
        case u'H':
            return kHour;
        case u'I':
            return kHalfDayHour;
        case u'M':
            return kMinute;
        case u'S':
            return kSecond;
        default:
            return kNoPart;
    }
}

// Calls `literal(unit, at)` and `field(part, at)` in turn, with the position in the text. Returns the length
// of the text, or `max` + 1 if it may exceed the maximum or there are other fields. The "#" flag changes only
// the case of letters.
template <typename Literal, typename Field>
std::size_t Walk(const lkchar* format, std::size_t max, Literal literal, Field field) {
    constexpr std::size_t kLongestField = 4;
    std::size_t at = 0;
    for (; *format != u'\0'; ++format) {
        if (at + kLongestField > max) return max + 1;
        if (*format != u'%') {
            literal(*format, at++);
            continue;
        }
        ++format;
        if (*format == u'#') ++format;
        if (*format == u'Y') {
            field(kCentury, at);
            field(kYear, at + 2);
            at += 4;
        } else if (const Part part = PartOf(*format); part != kNoPart) {
            field(part, at);
            at += 2;
        } else {
            return max + 1;
        }
    }
    return at;
}

}  // namespace

bool DigitFields::Parse(const lkchar* format) {
    bool hasLongYear = false;
    std::size_t count = 0;
    m_Length = Walk(
        format, kMaxLength, [this](lkchar unit, std::size_t at) { m_Text[at] = unit; },
        [&](Part part, std::size_t at) {
            m_Fields[count++] = {static_cast<std::uint8_t>(at), part};
            if (part == kCentury) hasLongYear = true;
        });
    m_FieldCount = count;
    m_HasLongYear = hasLongYear;
    return m_Length <= kMaxLength;
}

lkstr DigitFields::Format(const std::tm& tm) const {
    const Parts parts(tm);
    lkstr text(m_Text, m_Length);
    lkchar* const to = text.data();
    for (const Field* field = m_Fields; field != m_Fields + m_FieldCount; ++field) {
        parts.Put(field->part, to + field->at);
    }
    return text;
}

lkchar* DigitFields::Put(const lkchar* format, const std::tm& tm, lkchar (&to)[kMaxLength]) {
    const Parts parts(tm);
    bool canShow = true;
    const std::size_t length = Walk(
        format, kMaxLength, [&](lkchar unit, std::size_t at) { to[at] = unit; },
        [&](Part part, std::size_t at) {
            if (part == kCentury) canShow = HasLongYear(tm);
            parts.Put(part, to + at);
        });
    return canShow && length <= kMaxLength ? to + length : nullptr;
}

}  // namespace larkspur
