#include "qbreport/burst/decimal.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace qbreport {

namespace {

constexpr int kMostPlaces = 38;
constexpr std::string_view kSpace = " \t";

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

// Removes an exponent from the end of the text.
std::optional<int> takeExponent(std::string_view& text) {
    const std::size_t mark = text.find_first_of("eE");
    if (mark == std::string_view::npos) return 0;
    std::string_view digits = text.substr(mark + 1);
    text = text.substr(0, mark);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    int exponent = 0;
    const auto [end, failed] = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    const bool isNumber = failed == std::errc() && end == digits.data() + digits.size();
    if (!isNumber || exponent < -kMostPlaces || exponent > kMostPlaces) return std::nullopt;
    return exponent;
}

}  // namespace

bool Decimal::rescale(int places) {
    Digits digits = digits_;
    for (int i = places_; i < places; ++i) {
        if (__builtin_mul_overflow(digits, 10, &digits)) return false;
    }
    digits_ = digits;
    places_ = places;
    return true;
}

bool Decimal::read(std::string_view text) {
    *this = Decimal();
    text = trimmed(text);
    if (text.empty()) return true;
    const std::optional<int> exponent = takeExponent(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    bool hasPoint = false;
    bool hasDigit = false;
    for (const char c : text) {
        if (c == '.' && !hasPoint) {
            hasPoint = true;
        } else if (c >= '0' && c <= '9') {
            hasDigit = true;
            if (__builtin_mul_overflow(digits_, 10, &digits_)) return false;
            if (__builtin_add_overflow(digits_, c - '0', &digits_)) return false;
            places_ += hasPoint ? 1 : 0;
        } else {
            return false;
        }
    }
    if (!hasDigit || !exponent.has_value()) return false;
    places_ -= *exponent;
    if (isNegative) digits_ = -digits_;
    return places_ <= kMostPlaces && (places_ >= 0 || rescale(0));
}

bool Decimal::add(const Decimal& other) {
    Decimal sum = *this;
    Decimal summand = other;
    const int places = std::max(places_, other.places_);
    if (!sum.rescale(places) || !summand.rescale(places)) return false;
    if (__builtin_add_overflow(sum.digits_, summand.digits_, &sum.digits_)) return false;
    *this = sum;
    return true;
}

std::string Decimal::text() const {
    std::string text;
    const bool isNegative = digits_ < 0;
    for (Digits rest = digits_; rest != 0; rest /= 10) {
        const int digit = static_cast<int>(rest % 10);
        text += static_cast<char>('0' + (digit < 0 ? -digit : digit));
    }
    const auto places = static_cast<std::size_t>(places_);
    if (text.size() <= places) text.append(places + 1 - text.size(), '0');
    if (isNegative) text += '-';
    std::reverse(text.begin(), text.end());
    if (places > 0) text.insert(text.size() - places, ".");
    return text;
}

}  // namespace qbreport
