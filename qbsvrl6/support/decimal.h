// Exact decimal numbers: 1.10 is 110 hundredths.
#ifndef QBSVR_QBSVRL6_SUPPORT_DECIMAL_H
#define QBSVR_QBSVRL6_SUPPORT_DECIMAL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace qbsvrl6 {

__extension__ using Int128 = __int128;

// coefficient / 10^places, with |coefficient| < 2^127 and 0 <= places <= kMostPlaces: 38 digits always fit.
// Equal numbers may have different places: 1.1 and 1.10. Calculations return false, and leave their result
// unchanged, if the exact result is not such a decimal.
class Decimal {
public:
    static constexpr int kMostPlaces = 38;
    static constexpr std::size_t kLongestText = kMostPlaces + 4;  // "-", "0." and one digit more than places

    constexpr Decimal() = default;
    constexpr Decimal(Int128 coefficient, int places)
        : low_(static_cast<std::uint64_t>(coefficient)),
          high_(static_cast<std::int64_t>(coefficient >> 64)),
          places_(static_cast<std::uint8_t>(places)) {}

    constexpr Int128 coefficient() const { return (static_cast<Int128>(high_) << 64) | low_; }
    constexpr int places() const { return places_; }
    // Whether a double may lose some of its digits.
    bool isWide() const;
    constexpr bool isZero() const { return low_ == 0 && high_ == 0; }
    constexpr bool isNegative() const { return high_ < 0; }

    // The text must consist of "-", digits with at most one point, and an exponent; only digits are required.
    static bool parse(std::string_view text, Decimal& decimal);
    static bool parse(std::u16string_view text, Decimal& decimal);
    // The shortest decimal that reads back as the double, or the nearest one with this number of digits.
    static bool ofDouble(double number, Decimal& decimal);
    static bool ofDouble(double number, int digits, Decimal& decimal);

    // The nearest double.
    double toDouble() const;
    // Writes digits with a point, without trailing zeros and without an exponent, and returns the end. `out`
    // must have space for kLongestText characters.
    char* write(char* out) const;
    char16_t* write(char16_t* out) const;
    // Without trailing zeros.
    Decimal reduced() const;

    // Adds in place, for long sums.
    [[nodiscard]] bool add(const Decimal& other);

    constexpr Decimal negated() const { return {-coefficient(), places_}; }
    // The greatest whole number that is not greater than this one.
    Decimal floor() const;
    // Rounds halves away from zero; negative places round to tens, hundreds ...
    [[nodiscard]] bool rounded(int places, Decimal& result) const;

private:
    constexpr void set(Int128 coefficient) {
        low_ = static_cast<std::uint64_t>(coefficient);
        high_ = static_cast<std::int64_t>(coefficient >> 64);
    }

    // Two words, so that types with a decimal need no 16-byte alignment.
    std::uint64_t low_ = 0;
    std::int64_t high_ = 0;
    std::uint8_t places_ = 0;
};

[[nodiscard]] bool addAligned(Decimal left, Decimal right, Decimal& sum);

inline bool Decimal::add(const Decimal& other) {
    Int128 sum = 0;
    if (places_ != other.places_ || __builtin_add_overflow(coefficient(), other.coefficient(), &sum) ||
        sum == std::numeric_limits<Int128>::min()) {
        return addAligned(*this, other, *this);
    }
    set(sum);
    return true;
}

[[nodiscard]] inline bool add(const Decimal& left, const Decimal& right, Decimal& sum) {
    Decimal result = left;
    if (!result.add(right)) return false;
    sum = result;
    return true;
}

[[nodiscard]] inline bool subtract(const Decimal& left, const Decimal& right, Decimal& difference) {
    return add(left, right.negated(), difference);
}

[[nodiscard]] bool multiply(const Decimal& left, const Decimal& right, Decimal& product);
// Also returns false for non-terminating quotients. The divisor must not be 0.
[[nodiscard]] bool divide(const Decimal& dividend, const Decimal& divisor, Decimal& quotient);
// The remainder with the sign of the divisor, which must not be 0.
[[nodiscard]] bool modulo(const Decimal& dividend, const Decimal& divisor, Decimal& remainder);
// The nearest decimal of up to 20 digits; false if fewer than 17 would fit. The divisor must not be 0.
[[nodiscard]] bool divideRounded(const Decimal& dividend, const Decimal& divisor, Decimal& quotient);
// The double nearest to the quotient, except for rare ties. The divisor must not be 0.
double nearestQuotient(const Decimal& dividend, const Decimal& divisor);
// Negative, zero or positive.
int compare(const Decimal& left, const Decimal& right);

}  // namespace qbsvrl6

#endif
