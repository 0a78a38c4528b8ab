// The decimal digits of a double at a fixed number of decimals.
#ifndef QBSVR_FORMAT_INTERNAL_FIXED_DIGITS_H
#define QBSVR_FORMAT_INTERNAL_FIXED_DIGITS_H

#include <cstdint>
#include <string_view>

namespace larkspur {

// Rounds as printf does: correctly, with exact ties to even, and at most kMaxDecimals decimals. The digits
// have the form of the C library's fcvt. Unlike fcvt, it has no static buffer, so threads need no lock.
class FixedDigits {
public:
    static constexpr int kMaxDecimals = 17;

    // `decimals` is clamped to 0 to kMaxDecimals.
    FixedDigits(double value, int decimals);
    FixedDigits(const FixedDigits&) = delete;
    FixedDigits& operator=(const FixedDigits&) = delete;

    // The digits are those of the exact binary value, which is often slightly below a decimal tie. Slightly
    // increasing the magnitude makes ties round away from zero, as people expect.
    static double AwayFromTies(double value, int decimals);

    // Sets `scaled` to the magnitude in units of its last decimal, if that is a number from 0 to 17 and the
    // result is exact; not for zero, which has the digits "0" and the decimals.
    static bool Scale(double magnitude, int decimals, std::uint64_t& scaled);

    // Integer digits and decimals without a point. A non-zero value below 1 has no leading zeros, and so no
    // digits if it rounds to zero; but without decimals, it has the digit "0". Infinities and NaN have their
    // names, with PointPosition 0 and no sign bit.
    std::string_view Digits() const { return m_Digits; }

    // The number of digits before the point; negative for zeros between the point and the first digit.
    int PointPosition() const { return m_PointPosition; }

    bool IsNegative() const { return m_IsNegative; }  // the sign bit: true for -0.0

private:
    void SetScaled(std::uint64_t scaled, int decimals);
    void SetExact(double magnitude, int decimals);

    std::string_view m_Digits;
    int m_PointPosition;
    bool m_IsNegative;
    char m_Buffer[336];  // 309 integer digits, a point and the decimals
};

}  // namespace larkspur

#endif
