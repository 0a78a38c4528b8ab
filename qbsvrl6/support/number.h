// The numbers with which reports calculate.
#ifndef QBSVR_QBSVRL6_SUPPORT_NUMBER_H
#define QBSVR_QBSVRL6_SUPPORT_NUMBER_H

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "qbsvrl6/support/decimal.h"

namespace qbsvrl6 {

// An exact decimal if possible: numbers in data and templates, whole numbers, and their sums, differences,
// products and terminating quotients as long as they fit. All other numbers are the nearest double: 1 / 3, a
// square root, 1e308. Only quotients of amounts too wide for a double are rounded decimals.
class Number {
public:
    constexpr Number() = default;
    constexpr Number(const Decimal& decimal) : number_(decimal) {}
    constexpr Number(std::integral auto whole) : number_(Decimal(whole, 0)) {}
    Number(double number);

    // The text must consist of "-", digits with at most one point, and an exponent; only digits are required.
    // Returns false for other texts, and for numbers beyond the range of double.
    static bool parse(std::string_view text, Number& number);
    static bool parse(std::u16string_view text, Number& number);

    const Decimal* decimal() const { return std::get_if<Decimal>(&number_); }
    double toDouble() const;
    bool isZero() const;
    bool isNegative() const { return decimal() != nullptr ? decimal()->isNegative() : toDouble() < 0; }
    bool isFinite() const;

    Number operator-() const;
    friend Number operator+(const Number& left, const Number& right);
    friend Number operator-(const Number& left, const Number& right);
    friend Number operator*(const Number& left, const Number& right);
    friend Number operator/(const Number& left, const Number& right);  // by 0: not finite

    // Rounds halves away from zero; negative places round to tens, hundreds ...
    Number rounded(int places) const;
    Number floor() const;
    // The remainder with the sign of the divisor; not finite if the divisor is 0.
    friend Number modulo(const Number& dividend, const Number& divisor);
    friend Number power(const Number& base, const Number& exponent);

    // Negative, zero or positive. A double compares as the shortest decimal that reads back as the same
    // double.
    friend int compare(const Number& left, const Number& right);
    // Appends a key that is the same for equal numbers and different for others.
    void appendKey(std::u16string& key) const;

private:
    std::variant<Decimal, double> number_;
};

Number modulo(const Number& dividend, const Number& divisor);
Number power(const Number& base, const Number& exponent);
int compare(const Number& left, const Number& right);

}  // namespace qbsvrl6

#endif
