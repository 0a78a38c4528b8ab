#include "qbsvrl6/bind/spreadsheet_format.h"

#include <algorithm>
#include <utility>

#include "format/locale_settings.h"

namespace qbsvrl6 {

namespace {

using Section = larkspur::ClkNumericFormatParser::ClkFormatAnalyser;

std::u16string quoted(std::u16string literal) {
    std::erase(literal, u'"');
    return literal.empty() ? literal : u'"' + literal + u'"';
}

// What a spreadsheet takes as it is, without quotes.
bool isSign(char16_t unit) { return unit == u'-' || unit == u':' || unit == u'/' || unit == u' '; }

// Whether the digits alone say all of the section.
bool isPlain(const Section& section) {
    return section.m_Prefix.empty() && section.m_Suffix.empty() && !section.m_ExplicitSign &&
           !section.m_Parenthesis && !section.m_Exponent;
}

std::u16string sectionFormat(const Section& section, bool negative) {
    std::u16string digits = section.GetExportXlsFormatText();
    if (digits.empty()) digits = u"0.#########";
    if (section.m_Exponent) digits += u"E+0";
    const std::u16string sign = negative ? u"-" : section.m_ExplicitSign ? u"+" : u"";
    if (negative && section.m_Parenthesis) {
        digits = u'(' + digits + u')';
    } else {
        digits = section.m_SignLeading ? sign + digits : digits + sign;
    }
    return quoted(section.m_Prefix) + digits + quoted(section.m_Suffix);
}

}  // namespace

// A spreadsheet puts the minus ahead of everything where there is no section for negative numbers.
std::u16string spreadsheetNumberFormat(const larkspur::ClkNumericFormatParser& format) {
    if (format.m_Kind != larkspur::NumericKindNormal) return {};
    const Section& normal = format.m_Normal;
    if (isPlain(normal) && format.m_Negative == nullptr && format.m_Zero == nullptr) {
        return normal.GetExportXlsFormatText();
    }
    std::u16string result = sectionFormat(normal, false) + u';' +
                            sectionFormat(format.m_Negative ? *format.m_Negative : normal, true);
    if (format.m_Zero) result += u';' + sectionFormat(*format.m_Zero, false);
    return result;
}

// The letters of the date language mean the same in a spreadsheet, but that months and minutes share a letter
// and that all else is quoted.
std::u16string spreadsheetDateFormat(std::u16string_view format) {
    std::u16string result;
    std::u16string literal;
    const auto flush = [&] { result += quoted(std::exchange(literal, {})); };
    for (std::size_t i = 0; i < format.size();) {
        const char16_t unit = format[i];
        std::size_t end = i + 1;
        while (end < format.size() && format[end] == unit) ++end;
        const std::size_t run = end - i;
        if (std::u16string_view(u"yMdHhms").find(unit) != std::u16string_view::npos) {
            const char16_t lower = unit == u'M' ? u'm' : (unit == u'H' ? u'h' : unit);
            flush();
            result +=
                std::u16string(unit == u'y' ? (run < 3 ? 2u : 4u) : std::min<std::size_t>(run, 4), lower);
            i = end;
        } else if (unit == u't') {
            flush();
            result += u"AM/PM";
            i = end;
        } else if (unit == u'/' && run > 1) {
            flush();
            result += unit;
            i += 2;
        } else if (isSign(unit)) {
            flush();
            result += unit == u'/' ? larkspur::g_c_DateSep
                                   : (unit == u':' ? larkspur::g_c_TimeSep : std::u16string(1, unit));
            ++i;
        } else {
            literal += unit;
            ++i;
        }
    }
    flush();
    return result;
}

}  // namespace qbsvrl6
