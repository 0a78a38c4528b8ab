#include "qbsvrl6/sheet/raw_value.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace qbsvrl6 {

void appendRawNumber(std::string& out, const Number& value) {
    if (const Decimal* const decimal = value.decimal()) {
        char digits[Decimal::kLongestText];
        out.append(digits, decimal->write(digits));
        return;
    }
    const double number = value.toDouble();
    constexpr double kSmallest = 1e-7;
    constexpr double kLargest = 1e21;
    const double magnitude = std::fabs(number);
    const bool isFixed = magnitude == 0 || (magnitude >= kSmallest && magnitude < kLargest);
    std::array<char, 40> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                   isFixed ? std::chars_format::fixed : std::chars_format::scientific);
    out.append(digits.data(), end.ptr);
}

bool appendRawDate(std::string& out, std::int64_t seconds) {
    using namespace std::chrono;
    constexpr std::int64_t kFirst = -62'167'219'200;  // 0000-01-01
    constexpr std::int64_t kEnd = 253'402'300'800;    // 10000-01-01
    if (seconds < kFirst || seconds >= kEnd) return false;
    const sys_seconds moment{std::chrono::seconds(seconds)};
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    out += text.data();
    if (moment == day) return true;
    std::snprintf(text.data(), text.size(), "T%02d:%02d:%02d", static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    out += text.data();
    return true;
}

bool appendRawValue(std::string& out, const Item& item) {
    const auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || text->text.empty()) return false;
    switch (text->value.type) {
        case ValueType::Number:
            if (!text->value.number.isFinite()) return false;
            appendRawNumber(out, text->value.number);
            return true;
        case ValueType::Date:
            return appendRawDate(out, text->value.date);
        case ValueType::Boolean:
            out += text->value.boolean ? "true" : "false";
            return true;
        default:
            return false;
    }
}

}  // namespace qbsvrl6
