// Renders numbers according to parsed format sections.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "common/string_ops.h"
#include "format/internal/fixed_digits.h"
#include "format/internal/format_cache.h"
#include "format/internal/plain_number.h"
#include "format/locale_settings.h"
#include "format/numeric_format.h"

namespace larkspur {

namespace {

using Analyser = ClkNumericFormatParser::ClkFormatAnalyser;

// Values with more integer digits are shown in scientific form.
constexpr int kMaxIntegerDigits = 64;

constexpr std::size_t kColourMarkSize = std::size(u"[_color#=rgb(255,255,255)]") - 1;
constexpr std::size_t kRawBufferSize = 128;

// An upper bound for the units that a section renders, the zero unit included.
std::size_t RoomFor(const Analyser& section) {
    constexpr std::size_t kSigns = std::size(u"(- )%");
    constexpr std::size_t kExponent = std::size(u"e+308");
    const auto integers = static_cast<unsigned int>(std::max(section.m_MinIntegerDigits, kMaxIntegerDigits));
    const auto decimals = static_cast<unsigned int>(std::max(section.m_MinDecimals, 0));
    std::size_t room = kSigns + kExponent + section.m_Prefix.size() + integers + g_c_DecimalSep.size() +
                       decimals + FixedDigits::kMaxDecimals + section.m_Suffix.size();
    if (section.m_GroupSize > 0) {
        room += integers / static_cast<unsigned int>(section.m_GroupSize) * g_c_ThousandSep.size();
    }
    if (section.m_Currency) room += g_c_SCurrency.size();
    if (section.m_TextColor != 0) room += 3 * kColourMarkSize;
    return room;
}

// Renders one section into a buffer that RoomFor has measured.
class SectionWriter {
public:
    SectionWriter(const Analyser& section, lkchar* buffer) : m_Section(section), m_At(buffer) {}

    // Writes the value and the zero unit.
    void Write(double value) {
        Render(value, m_Section.m_Percent, m_Section.m_Exponent);
        Put(u'\0');
    }

private:
    void Put(lkchar unit) { *m_At++ = unit; }
    void Put(const lkstr& text) {
        if (text.size() == 1) return Put(text.front());  // like most separators
        if (!text.empty()) m_At = std::copy(text.begin(), text.end(), m_At);
    }
    void PutZeros(int count) {
        if (count > 0) m_At = std::fill_n(m_At, count, u'0');
    }
    void PutNumber(unsigned int number) {
        if (number >= 10) PutNumber(number / 10);
        Put(static_cast<lkchar>(u'0' + number % 10));
    }

    void Render(double value, bool percent, bool exponent);
    void RenderScientific(double value, bool percent);
    void RenderDigits(double value, const FixedDigits& digits, bool percent);
    void PutColourMark();
    void PutLeadingSign(bool negative, bool hasDigits);
    void PutTrailingSign(double value, bool negative);
    void PutIntegers(const char* digits, int count);
    void PutDecimals(std::string_view digits, int leadingZeros);

    const Analyser& m_Section;
    lkchar* m_At;
};

void SectionWriter::PutColourMark() {
    for (const lkchar unit : std::u16string_view(u"[_color#=rgb(")) Put(unit);
    PutNumber(m_Section.m_TextColor & 255);
    Put(u',');
    PutNumber(m_Section.m_TextColor >> 8 & 255);
    Put(u',');
    PutNumber(m_Section.m_TextColor >> 16 & 255);
    Put(u')');
    Put(u']');
}

// Each nested form starts with the colour mark again.
void SectionWriter::Render(double value, bool percent, bool exponent) {
    if (m_Section.m_TextColor != 0) PutColourMark();
    if (percent) value *= 100.0;
    if (exponent) return RenderScientific(value, percent);
    value = FixedDigits::AwayFromTies(value, m_Section.m_MaxDecimals);
    const FixedDigits digits(value, m_Section.m_MaxDecimals);
    if (digits.PointPosition() > kMaxIntegerDigits) return Render(value, false, true);
    RenderDigits(value, digits, percent);
}

// The mantissa is rendered as a separate value and is not normalised if it rounds up to 10.
void SectionWriter::RenderScientific(double value, bool percent) {
    int power = 0;
    double mantissa = std::fabs(value);
    if (mantissa != 0.0 && std::isfinite(mantissa)) {
        for (; mantissa >= 10.0; ++power) mantissa /= 10.0;
        for (; mantissa < 1.0; --power) mantissa *= 10.0;
    }
    Render(std::copysign(mantissa, value), percent, false);
    Put(u'e');
    Put(power < 0 ? u'-' : u'+');
    PutNumber(static_cast<unsigned int>(std::abs(power)));
}

void SectionWriter::RenderDigits(double value, const FixedDigits& fixedDigits, bool percent) {
    const bool negative = fixedDigits.IsNegative();
    std::string_view digits = fixedDigits.Digits();
    int integers = fixedDigits.PointPosition();
    if (m_Section.m_MaxDecimals <= 0 && integers == 1 && digits.front() == '0') {
        digits = {};
        integers = 0;
    }
    Put(m_Section.m_Prefix);
    if (m_Section.m_SignLeading) {
        PutLeadingSign(negative, !digits.empty());
    } else if (m_Section.m_Parenthesis && negative) {
        Put(u'(');
    }
    const int shownIntegers = std::max(integers, 0);
    PutIntegers(digits.data(), shownIntegers);
    digits.remove_prefix(static_cast<std::size_t>(shownIntegers));
    PutDecimals(digits, std::max(-integers, 0));
    if (!m_Section.m_SignLeading) {
        PutTrailingSign(value, negative);
    } else if (m_Section.m_Parenthesis && negative) {
        Put(u')');
    }
    if (percent) Put(u'%');
    Put(m_Section.m_Suffix);
}

void SectionWriter::PutLeadingSign(bool negative, bool hasDigits) {
    const lkchar* const begin = m_At - m_Section.m_Prefix.size();
    const bool currency = m_Section.m_Currency;
    if (currency && m_Section.m_CurrencyBeforeSign) Put(g_c_SCurrency);
    if (!negative) {
        if (m_Section.m_ExplicitSign) Put(u'+');
    } else if (hasDigits) {
        if (m_Section.m_Parenthesis) {
            Put(u'(');
        } else if (m_Section.m_ExplicitSign || m_Section.m_TextColor == 0) {
            Put(u'-');
        }
    }
    if (currency && !m_Section.m_CurrencyBeforeSign) Put(g_c_SCurrency);
    if (m_Section.m_Space && m_At != begin) Put(u' ');
}

// Unlike the leading sign, this one depends on the unrounded value: -0.001 keeps its "-" under "0.00-".
void SectionWriter::PutTrailingSign(double value, bool negative) {
    if (m_Section.m_Space) Put(u' ');
    if (m_Section.m_Currency && m_Section.m_CurrencyBeforeSign) Put(g_c_SCurrency);
    if (value < 0.0) {
        Put(m_Section.m_Parenthesis ? u')' : u'-');
    } else if (m_Section.m_ExplicitSign && !negative) {
        Put(u'+');
    }
    if (m_Section.m_Currency && !m_Section.m_CurrencyBeforeSign) Put(g_c_SCurrency);
}

// Groups are counted from the point and include padding zeros.
void SectionWriter::PutIntegers(const char* digits, int count) {
    int places = std::max(m_Section.m_MinIntegerDigits, count);
    int zeros = places - count;
    const int groupSize = m_Section.m_GroupSize;
    int group = groupSize > 0 ? (places - 1) % groupSize + 1 : places;
    for (; places > 0; --places) {
        if (group == 0) {
            Put(g_c_ThousandSep);
            group = groupSize;
        }
        --group;
        if (zeros > 0) {
            --zeros;
            Put(u'0');
        } else {
            Put(static_cast<lkchar>(*digits++));
        }
    }
}

void SectionWriter::PutDecimals(std::string_view digits, int leadingZeros) {
    const int required = std::max(m_Section.m_MinDecimals, 0);
    if (digits.empty() && required == 0) return;
    Put(g_c_DecimalSep);
    const lkchar* const begin = m_At;
    PutZeros(leadingZeros);
    for (const char digit : digits) Put(static_cast<lkchar>(digit));
    PutZeros(required - static_cast<int>(m_At - begin));
    while (m_At - begin > required && m_At[-1] == u'0') --m_At;
    if (m_At == begin) m_At -= g_c_DecimalSep.size();
}

// Equals pow(0.1, exponent) to the last bit, since it decides which values count as zero.
double PowerOfTenth(int exponent) {
    static const auto powers = [] {
        std::array<double, 24> table;
        for (std::size_t i = 0; i < table.size(); ++i) table[i] = std::pow(0.1, static_cast<double>(i));
        return table;
    }();
    const auto index = static_cast<std::size_t>(exponent);
    return index < powers.size() ? powers[index] : std::pow(0.1, exponent);
}

int ShownDecimals(const Analyser& section) { return section.m_MaxDecimals + (section.m_Percent ? 2 : 0); }

bool ShowsAsZero(double value, const Analyser& normal, const Analyser& negative) {
    return value > -0.5 * PowerOfTenth(ShownDecimals(negative)) &&
           value < 0.5 * PowerOfTenth(ShownDecimals(normal));
}

int ToEnumValue(double value) {
    if (!(value > INT_MIN)) return INT_MIN;  // NaN too
    return value < INT_MAX ? static_cast<int>(value) : INT_MAX;
}

struct CachedParser : ClkNumericFormatParser {
    static constexpr bool IsValid() { return true; }  // rendering reads the separators anew
};

}  // namespace

void ClkNumericFormatParser::ClkFormatAnalyser::Format(double value, lkchar* buffer) const {
    const std::size_t room = RoomFor(*this);
    if (room <= kRawBufferSize) {
        SectionWriter(*this, buffer).Write(value);
        return;
    }
    lkstr text(room, u'\0');
    SectionWriter(*this, text.data()).Write(value);
    const int length = std::min(lkstr_len(text.c_str()), static_cast<int>(kRawBufferSize) - 1);
    lkstr_ncpy(buffer, text.c_str(), length);
}

const lkchar* ClkNumericFormatParser::Format(double value) const {
    switch (m_Kind) {
        case NumericKindIntEnum:
            return Keep(m_IntEnum != nullptr ? m_IntEnum->Format(ToEnumValue(value))
                                             : lkstr_fromi(ToEnumValue(value)));
        case NumericKindBigMoney:
            return Keep(ToBigMoney(value));
        case NumericKindBigNumeric:
            return Keep(ToBigNumeric(value, m_Normal));
        default:
            break;
    }
    const ClkFormatAnalyser* section = &m_Normal;
    if (m_Zero != nullptr && ShowsAsZero(value, m_Normal, m_Negative != nullptr ? *m_Negative : m_Normal)) {
        section = m_Zero.get();
        value = 0.0;
    } else if (m_Negative != nullptr && value < 0.0) {
        section = m_Negative.get();
    }
    static_assert(sizeof m_Result == kPlainNumberRoom * sizeof(lkchar));
    const lkchar* text = WritePlainNumber(value, *section, m_Result);
    if (text == nullptr) {
        lkchar* const room = Room(RoomFor(*section));
        SectionWriter(*section, room).Write(value);
        text = room;
    }
    return m_Kind == NumericKindBigDigit ? Keep(ToBigNumericDigit(text)) : text;
}

lkchar* ClkNumericFormatParser::Room(std::size_t size) const {
    if (size <= std::size(m_Result)) return m_Result;
    if (m_LongResult.size() < size) m_LongResult.resize(size);
    return m_LongResult.data();
}

const lkchar* ClkNumericFormatParser::Keep(const lkstr& text) const {
    lkchar* const room = Room(text.size() + 1);
    lkstr_cpy(room, text);
    return room;
}

lkstr FormatNumber(double value, const lkchar* format) {
    if (const auto* cached = FormatCache<CachedParser>::Get(format)) return cached->Format(value);
    ClkNumericFormatParser parser;
    parser.Parse(format);
    return parser.Format(value);
}

}  // namespace larkspur
