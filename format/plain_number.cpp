#include "format/internal/plain_number.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>

#include "format/internal/fixed_digits.h"
#include "format/locale_settings.h"

namespace larkspur {

namespace {

using Analyser = ClkNumericFormatParser::ClkFormatAnalyser;

// What the general writer does with the other fields is not repeated here. The limits leave the buffer enough
// space: 16 digits have at most 15 separators.
bool IsPlain(const Analyser& section) {
    constexpr std::size_t kMostLiterals = 16;
    constexpr int kMostIntegers = 16;
    const bool isOther = section.m_ExplicitSign || !section.m_SignLeading || section.m_Currency ||
                         section.m_Space || section.m_Exponent;
    return !isOther && section.m_TextColor == 0 && section.m_MinDecimals >= 0 &&
           section.m_MinDecimals <= section.m_MaxDecimals &&
           section.m_MaxDecimals <= FixedDigits::kMaxDecimals && section.m_MinIntegerDigits >= 0 &&
           section.m_MinIntegerDigits <= kMostIntegers && section.m_Prefix.size() <= kMostLiterals &&
           section.m_Suffix.size() <= kMostLiterals && g_c_DecimalSep.size() == 1 &&
           g_c_ThousandSep.size() <= 2;
}

// "00" to "99".
constexpr auto kDigitPairs = [] {
    std::array<std::array<lkchar, 2>, 100> pairs{};
    for (unsigned int i = 0; i < 100; ++i) {
        pairs[i] = {static_cast<lkchar>(u'0' + i / 10), static_cast<lkchar>(u'0' + i % 10)};
    }
    return pairs;
}();

// Writes from the end to the start: no length needs to be known before.
class BackwardWriter {
public:
    explicit BackwardWriter(lkchar* end) : m_At(end) {}

    const lkchar* Start() const { return m_At; }

    void Put(lkchar unit) { *--m_At = unit; }

    void Put(const lkstr& text) {
        if (text.size() == 1) return Put(text.front());  // like most separators
        if (!text.empty()) m_At = std::copy_backward(text.begin(), text.end(), m_At);
    }

    // Writes the last `count` digits of the number and removes them from it.
    void PutDigits(std::uint64_t& number, int count) {
        for (; count >= 2; count -= 2, number /= 100) {
            m_At -= 2;
            std::memcpy(m_At, kDigitPairs[number % 100].data(), sizeof kDigitPairs[0]);
        }
        if (count > 0) {
            Put(static_cast<lkchar>(u'0' + number % 10));
            number /= 10;
        }
    }

    // Groups are counted from the point and include padding zeros.
    void PutIntegers(std::uint64_t number, int least, int groupSize) {
        if (groupSize == 3) {
            for (; number >= 1000; number /= 1000, least -= 3) {
                PutThreeDigits(static_cast<unsigned int>(number % 1000));
                Put(g_c_ThousandSep);
            }
            if (least <= 1) {
                // Without a branch for each digit, since the number of digits is hard to predict.
                PutThreeDigits(static_cast<unsigned int>(number));
                m_At += (number < 100) + (number < 10) + (number == 0 && least <= 0);
                return;
            }
        } else if (groupSize <= 0) {
            groupSize = INT_MAX;
            for (; number >= 100; least -= 2) PutDigits(number, 2);
        }
        for (int group = groupSize; number > 0 || least > 0; --least, --group) {
            if (group == 0) {
                Put(g_c_ThousandSep);
                group = groupSize;
            }
            PutDigits(number, 1);
        }
    }

private:
    void PutThreeDigits(unsigned int number) {
        m_At -= 3;
        m_At[0] = static_cast<lkchar>(u'0' + number / 100);
        std::memcpy(m_At + 1, kDigitPairs[number % 100].data(), sizeof kDigitPairs[0]);
    }

    lkchar* m_At;
};

}  // namespace

const lkchar* WritePlainNumber(double value, const Analyser& section, lkchar* buffer) {
    if (!IsPlain(section)) return nullptr;
    if (section.m_Percent) value *= 100.0;
    int decimals = section.m_MaxDecimals;
    value = FixedDigits::AwayFromTies(value, decimals);
    std::uint64_t scaled;
    if (!FixedDigits::Scale(std::fabs(value), decimals, scaled)) return nullptr;
    const bool showsSign = std::signbit(value) && scaled != 0;
    for (; decimals > section.m_MinDecimals && scaled % 10 == 0; --decimals) scaled /= 10;

    BackwardWriter writer(buffer + kPlainNumberRoom);
    writer.Put(u'\0');
    writer.Put(section.m_Suffix);
    if (section.m_Percent) writer.Put(u'%');
    if (section.m_Parenthesis && std::signbit(value)) writer.Put(u')');
    if (decimals > 0) {
        writer.PutDigits(scaled, decimals);
        writer.Put(g_c_DecimalSep);
    }
    writer.PutIntegers(scaled, section.m_MinIntegerDigits, section.m_GroupSize);
    if (showsSign) writer.Put(section.m_Parenthesis ? u'(' : u'-');
    writer.Put(section.m_Prefix);
    return writer.Start();
}

}  // namespace larkspur
