#include "qbsvrl6/support/number.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace qbsvrl6 {

namespace {

constexpr std::size_t kLongestText = 400;
constexpr double kLastExactWhole = 9'007'199'254'740'992;  // 2^53

bool parseDouble(std::string_view text, Number& number) {
    double parsed = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    // from_chars also accepts "inf" and "nan", which are never numbers in data.
    if (error != std::errc() || stop != end || !std::isfinite(parsed)) return false;
    number = parsed;
    return true;
}

template <class Operation>
Number calculate(const Number& left, const Number& right,
                 bool (*exact)(const Decimal&, const Decimal&, Decimal&), Operation nearest) {
    Decimal result;
    const Decimal* const a = left.decimal();
    const Decimal* const b = right.decimal();
    if (a != nullptr && b != nullptr && exact(*a, *b, result)) return result;
    return nearest(left.toDouble(), right.toDouble());
}

// The decimal that a double represents when it is rounded to this number of places. Its digits after the
// first 15 are errors of earlier calculations, so the first 15 alone decide what is a half or a whole number,
// as far as they reach.
bool readForPlaces(double number, int places, Decimal& decimal) {
    constexpr int kSureDigits = 15;
    const bool reach = std::fabs(number) < std::pow(10.0, kSureDigits - 1 - places);
    return reach ? Decimal::ofDouble(number, kSureDigits, decimal) : Decimal::ofDouble(number, decimal);
}

template <class T>
void appendBytes(std::u16string& key, const T& value) {
    const auto units = std::bit_cast<std::array<char16_t, sizeof(T) / sizeof(char16_t)>>(value);
    key.append(units.data(), units.size());
}

}  // namespace

Number::Number(double number) : number_(number) {
    if (std::fabs(number) <= kLastExactWhole && number == std::trunc(number))
        number_ = Decimal(static_cast<std::int64_t>(number), 0);
}

bool Number::parse(std::string_view text, Number& number) {
    Decimal decimal;
    if (!Decimal::parse(text, decimal)) return parseDouble(text, number);
    number = decimal;
    return true;
}

bool Number::parse(std::u16string_view text, Number& number) {
    Decimal decimal;
    if (Decimal::parse(text, decimal)) {
        number = decimal;
        return true;
    }
    std::array<char, kLongestText> bytes;
    if (text.size() > bytes.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] >= 0x80) return false;
        bytes[i] = static_cast<char>(text[i]);
    }
    return parseDouble({bytes.data(), text.size()}, number);
}

double Number::toDouble() const {
    const Decimal* const exact = decimal();
    return exact != nullptr ? exact->toDouble() : std::get<double>(number_);
}

bool Number::isZero() const {
    const Decimal* const exact = decimal();
    return exact != nullptr && exact->isZero();
}

bool Number::isFinite() const { return decimal() != nullptr || std::isfinite(std::get<double>(number_)); }

Number Number::operator-() const {
    const Decimal* const exact = decimal();
    return exact != nullptr ? Number(exact->negated()) : Number(-std::get<double>(number_));
}

Number operator+(const Number& left, const Number& right) {
    return calculate(left, right, add, [](double a, double b) { return a + b; });
}

Number operator-(const Number& left, const Number& right) {
    return calculate(left, right, subtract, [](double a, double b) { return a - b; });
}

Number operator*(const Number& left, const Number& right) {
    return calculate(left, right, multiply, [](double a, double b) { return a * b; });
}

Number operator/(const Number& left, const Number& right) {
    if (right.isZero()) return std::numeric_limits<double>::quiet_NaN();
    const Decimal* const a = left.decimal();
    const Decimal* const b = right.decimal();
    if (a == nullptr || b == nullptr) return left.toDouble() / right.toDouble();
    Decimal quotient;
    if (divide(*a, *b, quotient)) return quotient;
    // A double would lose digits that the operands have.
    if ((a->isWide() || b->isWide()) && divideRounded(*a, *b, quotient)) return quotient;
    return nearestQuotient(*a, *b);
}

Number Number::rounded(int places) const {
    Decimal result;
    const Decimal* exact = decimal();
    Decimal read;
    if (exact == nullptr && readForPlaces(toDouble(), places, read)) exact = &read;
    if (exact != nullptr) return exact->rounded(places, result) ? Number(result) : *this;
    // Too small for a decimal, or too large for places to matter.
    return std::fabs(toDouble()) < 1 ? Number() : *this;
}

Number Number::floor() const {
    Decimal read;
    if (const Decimal* const exact = decimal()) return exact->floor();
    if (readForPlaces(toDouble(), 0, read)) return read.floor();
    return std::floor(toDouble());
}

Number modulo(const Number& dividend, const Number& divisor) {
    if (divisor.isZero()) return std::numeric_limits<double>::quiet_NaN();
    return calculate(dividend, divisor, modulo, [](double a, double b) { return a - b * std::floor(a / b); });
}

// A whole power of a decimal is exact as long as it fits: interest over years.
Number power(const Number& base, const Number& exponent) {
    constexpr double kMostFactors = 128;
    const double count = exponent.toDouble();
    const Decimal* const factor = base.decimal();
    if (factor != nullptr && count >= 0 && count <= kMostFactors && count == std::trunc(count)) {
        Decimal result(1, 0);
        int left = static_cast<int>(count);
        while (left > 0 && multiply(result, *factor, result)) --left;
        if (left == 0) return result;
    }
    return std::pow(base.toDouble(), count);
}

int compare(const Number& left, const Number& right) {
    const Decimal* a = left.decimal();
    const Decimal* b = right.decimal();
    if (a != nullptr && b != nullptr) return compare(*a, *b);
    // Doubles that differ have the order of their shortest decimals.
    const double x = left.toDouble();
    const double y = right.toDouble();
    if (x != y) return x < y ? -1 : 1;
    Decimal read;
    if (a == nullptr && Decimal::ofDouble(x, read)) a = &read;
    if (b == nullptr && Decimal::ofDouble(y, read)) b = &read;
    return a == nullptr || b == nullptr ? 0 : compare(*a, *b);
}

void Number::appendKey(std::u16string& key) const {
    Decimal read;
    const Decimal* exact = decimal();
    if (exact == nullptr && Decimal::ofDouble(toDouble(), read)) exact = &read;
    if (exact == nullptr) return appendBytes(key, toDouble());
    const Decimal reduced = exact->reduced();
    key.push_back(static_cast<char16_t>(reduced.places()));
    appendBytes(key, reduced.coefficient());
}

}  // namespace qbsvrl6
