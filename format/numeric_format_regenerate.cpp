// Converts number formats back into text, in this language and in that of spreadsheets. A parsed section has
// counts and flags, not its text, so the result is a canonical form.
#include <algorithm>
#include <cstdint>

#include "common/string_ops.h"
#include "format/locale_settings.h"
#include "format/numeric_format.h"

namespace larkspur {

namespace {

constexpr lkchar kDefaultXlsFormat[] = u"0.#########";

lkstr Repeated(lkchar unit, std::int64_t count) {
    return lkstr(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)), unit);
}

lkstr DecimalOf(unsigned int component) { return lkstr_fromi(static_cast<int>(component & 255)); }

lkstr ColourForm(unsigned int color) {
    if (color == 0) return {};
    return u"rgb(" + DecimalOf(color) + u"," + DecimalOf(color >> 8) + u"," + DecimalOf(color >> 16) + u")";
}

// The number of places and separators in the integer pattern: enough for the required zeros and one whole
// group.
std::int64_t IntegerPatternLength(std::int64_t zeros, std::int64_t groupSize) {
    if (groupSize < 1) return std::max<std::int64_t>(zeros, 1);
    if (zeros < 1) return groupSize + 2;
    const std::int64_t places = std::max(groupSize + 1, zeros);
    return places + (places - 1) / groupSize;
}

lkstr IntegerPattern(std::int64_t zeros, std::int64_t groupSize) {
    lkstr pattern = Repeated(u'#', IntegerPatternLength(zeros, groupSize));
    std::int64_t position = 0;
    for (auto unit = pattern.rbegin(); unit != pattern.rend(); ++unit) {
        ++position;
        if (groupSize > 0 && position % (groupSize + 1) == 0) {
            *unit = u',';
        } else if (zeros > 0) {
            *unit = u'0';
            --zeros;
        }
    }
    return pattern;
}

lkstr OrXlsDefault(const lkstr& text) { return text.empty() ? lkstr(kDefaultXlsFormat) : text; }

}  // namespace

lkstr ClkNumericFormatParser::ClkFormatAnalyser::InternalGetNumericFormatText() const {
    lkstr text = IntegerPattern(m_MinIntegerDigits, m_GroupSize);
    const lkstr decimals =
        Repeated(u'0', m_MinDecimals) + Repeated(u'#', std::int64_t{m_MaxDecimals} - m_MinDecimals);
    if (!decimals.empty()) text += u'.' + decimals;
    if (m_Percent) text += u'%';
    return text;
}

// A trailing currency is marked by a sign after the digits, even if the section had none; a space after the
// digits replaces the sign. Both lose part of the section, and stored format texts depend on this.
lkstr ClkNumericFormatParser::ClkFormatAnalyser::GetFormatText() const {
    lkstr lead;
    lkstr trail;
    if (m_Parenthesis) {
        lead = u"(";
        trail = u")";
    } else if (!m_SignLeading) {
        trail = m_ExplicitSign ? u"+" : u"-";
    } else if (m_ExplicitSign) {
        lead = u"+";
    }
    if (m_Currency) {
        lkstr& sign = m_SignLeading ? lead : trail;
        sign.insert(m_CurrencyBeforeSign ? 0 : sign.size(), 1, u'$');
    }
    if (m_Space) {
        if (m_SignLeading) {
            lead += u' ';
        } else {
            trail = u' ' + lead;
        }
    }
    if (m_Exponent) lead.insert(0, 1, u'e');
    return ColourForm(m_TextColor) + m_Prefix + lead + InternalGetNumericFormatText() + trail + m_Suffix;
}

bool ClkNumericFormatParser::ClkFormatAnalyser::IsDefaultXlsFormat() const {
    return m_MaxDecimals == 9 && m_MinDecimals == 0 && m_MinIntegerDigits == 1 && !m_ExplicitSign &&
           m_SignLeading && !m_Parenthesis && m_TextColor == 0 && m_GroupSize == 0 && !m_Percent &&
           !m_Currency && !m_Space && m_CurrencyBeforeSign && !m_Exponent;
}

lkstr ClkNumericFormatParser::ClkFormatAnalyser::GetExportXlsFormatText() const {
    lkstr text = IsDefaultXlsFormat() ? lkstr() : InternalGetNumericFormatText();
    if (m_Currency) text.insert(m_SignLeading ? 0 : text.size(), g_c_SCurrency);
    return text;
}

lkstr ClkNumericFormatParser::DoGetNormalFormatText() const {
    lkstr text = m_Normal.GetFormatText();
    if (m_Negative != nullptr || m_Zero != nullptr) text += u';';
    if (m_Negative != nullptr) text += m_Negative->GetFormatText();
    if (m_Zero != nullptr) text += u';' + m_Zero->GetFormatText();
    return text;
}

lkstr ClkNumericFormatParser::GetFormatText() const {
    switch (m_Kind) {
        case NumericKindBigDigit:
            return u"$$$$$" + DoGetNormalFormatText();
        case NumericKindBigMoney:
            return u"$$";
        case NumericKindBigNumeric:
            return u"$$" + DoGetNormalFormatText();
        case NumericKindIntEnum:
            return m_IntEnum != nullptr ? m_IntEnum->GetFormatText() : lkstr(u"{}");
        default:
            return DoGetNormalFormatText();
    }
}

lkstr ClkNumericFormatParser::GetExportXlsFormatText() const {
    if (m_Kind != NumericKindNormal) return {};
    lkstr normal = m_Normal.GetExportXlsFormatText();
    if (m_Negative == nullptr && m_Zero == nullptr && !m_Normal.m_Parenthesis) return normal;
    const lkstr positive = OrXlsDefault(normal);
    lkstr negative = positive;
    if (m_Negative != nullptr) {
        negative = OrXlsDefault(m_Negative->GetExportXlsFormatText());
    } else if (m_Normal.m_Parenthesis) {
        negative = u'(' + positive + u')';
    }
    if (negative.find_first_of(u"-(") == lkstr::npos) negative.insert(0, 1, u'-');
    return positive + u';' + negative + u';' +
           (m_Zero != nullptr ? m_Zero->GetExportXlsFormatText() : normal);
}

}  // namespace larkspur
