// Date formats of literals and numbers, whose texts do not depend on the locale.
#ifndef QBSVR_FORMAT_INTERNAL_DIGIT_FIELDS_H
#define QBSVR_FORMAT_INTERNAL_DIGIT_FIELDS_H

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "common/text.h"

namespace larkspur {

// A parsed format: its text with room for the digits, and the fields that fill them.
class DigitFields {
public:
    // Parses a format of strftime. Returns false if it has other fields or is too long.
    bool Parse(const lkchar* format);

    // False for a year of more or less than four digits, if the format has such a field.
    bool CanShow(const std::tm& tm) const { return !m_HasLongYear || HasLongYear(tm); }

    // Of a time that it can show.
    lkstr Format(const std::tm& tm) const;

    static constexpr std::size_t kMaxLength = 64;

    // Writes the text in one pass, without keeping the fields. Returns its end; null where the other
    // functions return false.
    static lkchar* Put(const lkchar* format, const std::tm& tm, lkchar (&to)[kMaxLength]);

private:
    struct Field {
        std::uint8_t at;  // in the text
        std::uint8_t part;
    };

    static bool HasLongYear(const std::tm& tm) {
        return tm.tm_year >= 1000 - 1900 && tm.tm_year <= 9999 - 1900;
    }

    bool m_HasLongYear = false;
    std::size_t m_Length = 0;
    std::size_t m_FieldCount = 0;
    lkchar m_Text[kMaxLength];
    Field m_Fields[kMaxLength / 2];
};

}  // namespace larkspur

#endif
