#include "qbsvrl6/support/decimal.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <system_error>

#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

__extension__ using UInt128 = unsigned __int128;

constexpr Int128 kLargest = std::numeric_limits<Int128>::max();
constexpr std::int64_t kExactInDouble = std::int64_t{1} << 53;

template <class T, std::size_t kCount>
constexpr std::array<T, kCount> powersOfTen() {
    std::array<T, kCount> powers{};
    powers[0] = 1;
    for (std::size_t i = 1; i < kCount; ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}

constexpr auto kPowers = powersOfTen<Int128, Decimal::kMostPlaces + 1>();
constexpr auto kDoublePowers = powersOfTen<double, 23>();  // each of them exact

Int128 power(int exponent) { return kPowers[static_cast<std::size_t>(exponent)]; }

bool fitsWord(Int128 number) { return static_cast<std::int64_t>(number) == number; }

Int128 magnitude(Int128 number) { return number < 0 ? -number : number; }

// The compiler's checked product of 128 bits needs a runtime library that is not linked everywhere.
bool product(Int128 left, Int128 right, Int128& result) {
    const bool small = fitsWord(left) && fitsWord(right);
    if (!small && right != 0 && magnitude(left) > kLargest / magnitude(right)) return false;
    result = left * right;
    return true;
}

bool scaled(Int128 coefficient, int exponent, Int128& result) {
    if (coefficient == 0) {
        result = 0;
        return true;
    }
    return exponent <= Decimal::kMostPlaces && product(coefficient, power(exponent), result);
}

// Both coefficients with the places of the one that has more.
bool align(const Decimal& left, const Decimal& right, Int128& a, Int128& b) {
    a = left.coefficient();
    b = right.coefficient();
    const int more = left.places() - right.places();
    return more >= 0 ? scaled(b, more, b) : scaled(a, -more, a);
}

// The decimal of a coefficient whose places may be out of range.
bool make(Int128 coefficient, std::int64_t places, Decimal& decimal) {
    if (coefficient == 0) places = 0;
    while (places > Decimal::kMostPlaces && coefficient % 10 == 0) {
        coefficient /= 10;
        --places;
    }
    if (places > Decimal::kMostPlaces || places < -Decimal::kMostPlaces) return false;
    if (places < 0) {
        if (!scaled(coefficient, static_cast<int>(-places), coefficient)) return false;
        places = 0;
    }
    decimal = {coefficient, static_cast<int>(places)};
    return true;
}

// The exponent of a number, which has at least one digit. Large values are capped: they are too large for any
// decimal.
template <class Unit>
bool parseExponent(const Unit* at, const Unit* end, std::int64_t& exponent) {
    constexpr std::int64_t kTooMuch = 1'000'000;
    const bool negative = at != end && *at == Unit('-');
    if (at != end && (*at == Unit('-') || *at == Unit('+'))) ++at;
    if (at == end) return false;
    for (; at != end; ++at) {
        if (!isDigit(*at)) return false;
        exponent = std::min(exponent * 10 + static_cast<int>(*at - Unit('0')), kTooMuch);
    }
    if (negative) exponent = -exponent;
    return true;
}

template <class Unit>
bool parseText(std::basic_string_view<Unit> text, Decimal& decimal) {
    const Unit* at = text.data();
    const Unit* const end = at + text.size();
    const bool negative = at != end && *at == Unit('-');
    if (negative) ++at;
    // Digits are collected in one word as long as they fit.
    constexpr std::uint64_t kRoomForDigit = std::numeric_limits<std::uint64_t>::max() / 10 - 1;
    std::uint64_t word = 0;
    Int128 wide = 0;
    bool isWide = false;
    const Unit* point = nullptr;
    const Unit* const first = at;
    for (; at != end; ++at) {
        if (!isDigit(*at)) {
            if (*at != Unit('.') || point != nullptr) break;
            point = at;
            continue;
        }
        const auto digit = static_cast<unsigned>(*at - Unit('0'));
        if (!isWide && word <= kRoomForDigit) {
            word = word * 10 + digit;
            continue;
        }
        if (!isWide) wide = word;
        isWide = true;
        if (wide > (kLargest - digit) / 10) return false;
        wide = wide * 10 + digit;
    }
    if (at - first == (point == nullptr ? 0 : 1)) return false;
    std::int64_t places = point == nullptr ? 0 : at - point - 1;
    if (at != end) {
        std::int64_t exponent = 0;
        if ((*at != Unit('e') && *at != Unit('E')) || !parseExponent(at + 1, end, exponent)) return false;
        places -= exponent;
    }
    const Int128 coefficient = isWide ? wide : static_cast<Int128>(word);
    return make(negative ? -coefficient : coefficient, places, decimal);
}

template <class Unit>
Unit* writeText(const Decimal& decimal, Unit* out) {
    const Decimal reduced = decimal.reduced();
    Int128 rest = magnitude(reduced.coefficient());
    std::array<Unit, Decimal::kLongestText> digits;
    std::size_t count = 0;
    const auto places = static_cast<std::size_t>(reduced.places());
    while (rest != 0 || count <= places) {
        // Dividing a word of 64 bits is many times faster.
        const int digit = fitsWord(rest) ? static_cast<int>(static_cast<std::int64_t>(rest) % 10)
                                         : static_cast<int>(rest % 10);
        rest = fitsWord(rest) ? static_cast<std::int64_t>(rest) / 10 : rest / 10;
        digits[count++] = static_cast<Unit>(Unit('0') + digit);
    }
    if (reduced.coefficient() < 0) *out++ = Unit('-');
    while (count > 0) {
        if (count == places) *out++ = Unit('.');
        *out++ = digits[--count];
    }
    return out;
}

}  // namespace

bool Decimal::parse(std::string_view text, Decimal& decimal) { return parseText(text, decimal); }
bool Decimal::parse(std::u16string_view text, Decimal& decimal) { return parseText(text, decimal); }

bool Decimal::ofDouble(double number, Decimal& decimal) {
    std::array<char, 32> text;
    // Without an exponent, it would write the digits of a large double that are beyond its 17.
    const auto written =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::scientific);
    return parse({text.data(), static_cast<std::size_t>(written.ptr - text.data())}, decimal);
}

bool Decimal::ofDouble(double number, int digits, Decimal& decimal) {
    std::array<char, 64> text;
    const auto written = std::to_chars(text.data(), text.data() + text.size(), number,
                                       std::chars_format::scientific, digits - 1);
    return written.ec == std::errc() &&
           parse({text.data(), static_cast<std::size_t>(written.ptr - text.data())}, decimal);
}

bool Decimal::isWide() const {
    constexpr int kSureDigits = 15;
    return magnitude(coefficient()) >= power(kSureDigits) &&
           magnitude(reduced().coefficient()) >= power(kSureDigits);
}

double Decimal::toDouble() const {
    const Int128 whole = coefficient();
    // One operation on two exact doubles rounds once.
    if (magnitude(whole) <= kExactInDouble && static_cast<std::size_t>(places_) < kDoublePowers.size()) {
        return static_cast<double>(static_cast<std::int64_t>(whole)) / kDoublePowers[places_];
    }
    std::array<char, kLongestText> text;
    double number = 0;
    std::from_chars(text.data(), write(text.data()), number);
    return number;
}

char* Decimal::write(char* out) const { return writeText(*this, out); }
char16_t* Decimal::write(char16_t* out) const { return writeText(*this, out); }

Decimal Decimal::reduced() const {
    Int128 whole = coefficient();
    int left = places_;
    for (; left > 0 && !fitsWord(whole) && whole % 10 == 0; --left) whole /= 10;
    if (!fitsWord(whole)) return {whole, left};
    auto word = static_cast<std::int64_t>(whole);
    for (; left > 0 && word % 10 == 0; --left) word /= 10;
    return {word, left};
}

Decimal Decimal::floor() const {
    const Int128 whole = coefficient();
    const Int128 unit = power(places_);
    return {whole / unit - (whole % unit < 0 ? 1 : 0), 0};
}

bool Decimal::rounded(int places, Decimal& result) const {
    const int dropped = places_ - places;
    if (dropped <= 0) {
        result = *this;
        return true;
    }
    if (dropped > kMostPlaces) {
        result = {};  // less than half of the unit
        return true;
    }
    const Int128 unit = power(dropped);
    const Int128 rest = coefficient() % unit;
    Int128 units = coefficient() / unit;
    if (magnitude(rest) >= unit - magnitude(rest)) units += rest < 0 ? -1 : 1;
    return make(units, places, result);
}

// If the operands cannot be aligned, they may fit without their trailing zeros.
bool addAligned(Decimal left, Decimal right, Decimal& sum) {
    Int128 a = 0;
    Int128 b = 0;
    Int128 coefficient = 0;
    for (bool reduced = false;; reduced = true) {
        if (align(left, right, a, b) && !__builtin_add_overflow(a, b, &coefficient) &&
            coefficient != std::numeric_limits<Int128>::min()) {
            sum = {coefficient, std::max(left.places(), right.places())};
            return true;
        }
        if (reduced) return false;
        left = left.reduced();
        right = right.reduced();
    }
}

bool multiply(const Decimal& left, const Decimal& right, Decimal& result) {
    Int128 coefficient = 0;
    if (product(left.coefficient(), right.coefficient(), coefficient))
        return make(coefficient, left.places() + right.places(), result);
    const Decimal a = left.reduced();
    const Decimal b = right.reduced();
    return product(a.coefficient(), b.coefficient(), coefficient) &&
           make(coefficient, a.places() + b.places(), result);
}

// A quotient terminates if the divisor's factors other than 2 and 5 divide the dividend. It needs as many
// more places as the divisor has twos or fives, whichever are more.
bool divide(const Decimal& dividend, const Decimal& divisor, Decimal& quotient) {
    const Decimal above = dividend.reduced();
    const Decimal below = divisor.reduced();
    UInt128 rest = static_cast<UInt128>(magnitude(below.coefficient()));
    const auto low = static_cast<std::uint64_t>(rest);
    const int twos =
        low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(static_cast<std::uint64_t>(rest >> 64));
    rest >>= twos;
    int fives = 0;
    for (; rest % 5 == 0; ++fives) rest /= 5;
    const Int128 factor = below.coefficient() < 0 ? -static_cast<Int128>(rest) : static_cast<Int128>(rest);
    if (above.coefficient() % factor != 0) return false;
    Int128 coefficient = above.coefficient() / factor;
    for (int i = twos; i < fives; ++i) {
        if (!product(coefficient, 2, coefficient)) return false;
    }
    for (int i = fives; i < twos; ++i) {
        if (!product(coefficient, 5, coefficient)) return false;
    }
    Decimal result;
    if (!make(coefficient, above.places() - below.places() + std::max(twos, fives), result)) return false;
    quotient = result.reduced();
    return true;
}

bool divideRounded(const Decimal& dividend, const Decimal& divisor, Decimal& quotient) {
    constexpr int kMostDigits = 20;
    constexpr int kLeastDigits = 17;
    Int128 above = magnitude(dividend.coefficient());
    const Int128 below = magnitude(divisor.coefficient());
    int places = dividend.places() - divisor.places();
    while (above / below < power(kMostDigits - 1) && above <= kLargest / 10 &&
           places < Decimal::kMostPlaces) {
        above *= 10;
        ++places;
    }
    const Int128 rest = above % below;
    const Int128 digits = above / below + (rest >= below - rest ? 1 : 0);
    if (digits < power(kLeastDigits - 1)) return false;
    const bool negative = (dividend.coefficient() < 0) != (divisor.coefficient() < 0);
    return make(negative ? -digits : digits, places, quotient);
}

bool modulo(const Decimal& dividend, const Decimal& divisor, Decimal& remainder) {
    Int128 a = 0;
    Int128 b = 0;
    if (!align(dividend, divisor, a, b)) return false;
    Int128 rest = a % b;
    if (rest != 0 && (rest < 0) != (b < 0)) rest += b;
    remainder = {rest, std::max(dividend.places(), divisor.places())};
    return true;
}

// Calculates with more bits than a double has, if the machine has them, so that intermediate rounding is not
// visible.
double nearestQuotient(const Decimal& dividend, const Decimal& divisor) {
    auto quotient =
        static_cast<long double>(dividend.coefficient()) / static_cast<long double>(divisor.coefficient());
    const int more = dividend.places() - divisor.places();
    const auto unit = static_cast<long double>(power(more < 0 ? -more : more));
    return static_cast<double>(more < 0 ? quotient * unit : quotient / unit);
}

int compare(const Decimal& left, const Decimal& right) {
    Int128 a = 0;
    Int128 b = 0;
    if (align(left, right, a, b)) return a < b ? -1 : (b < a ? 1 : 0);
    // The one with fewer places overflows when it is scaled, so its magnitude is larger.
    const Int128 larger = left.places() < right.places() ? left.coefficient() : -right.coefficient();
    return larger < 0 ? -1 : 1;
}

}  // namespace qbsvrl6
