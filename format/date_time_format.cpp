#include "format/date_time_format.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "format/internal/digit_fields.h"
#include "format/internal/format_cache.h"
#include "format/locale_settings.h"

namespace larkspur {

const std::locale ClkDateTimeFormatParser::m_s_c_DefaultLocale;

namespace {

using TextView = std::u16string_view;

constexpr TextView kDefaultFormat = u"%c";

// The forms of a run by its length; a longer run has the last one.
struct RunForms {
    lkchar letter;
    TextView forms[4];
};

constexpr RunForms kRunForms[] = {
    {u'y', {u"%#y", u"%y", u"%#Y", u"%Y"}}, {u'M', {u"%#m", u"%m", u"%b", u"%B"}},
    {u'd', {u"%#d", u"%d", u"%a", u"%A"}},  {u'H', {u"%#H", u"%H", u"", u""}},
    {u'h', {u"%#I", u"%I", u"", u""}},      {u'm', {u"%#M", u"%M", u"%b", u"%B"}},
    {u's', {u"%#S", u"%S", u"", u""}},      {u't', {u"%p", u"%p", u"%p", u"%p"}},
};

const RunForms* FindRunForms(lkchar letter) {
    const auto found = std::find_if(std::begin(kRunForms), std::end(kRunForms),
                                    [letter](const RunForms& run) { return run.letter == letter; });
    return found != std::end(kRunForms) ? found : nullptr;
}

// The form for the letter after a "%"; empty if it has none.
TextView LocaleForm(lkchar letter) {
    switch (letter) {
        case u'd':
            return u"%x";
        case u't':
            return u"%X";
        case u'g':
            return u"%c";
        default:
            return {};
    }
}

}  // namespace

// A parsed format contains the separators, which a program may have assigned since.
class CachedDateFormat {
public:
    void Parse(const lkchar* format) {
        m_DateSep = g_c_DateSep;
        m_TimeSep = g_c_TimeSep;
        m_Parser.Parse(format);
        m_IsDigits = m_Digits.Parse(m_Parser.m_CFormat.c_str());
    }
    bool IsValid() const { return m_DateSep == g_c_DateSep && m_TimeSep == g_c_TimeSep; }

    lkstr Format(const ClkDateTime& value) const {
        value.DoDecode();
        const bool isDigits = m_IsDigits && m_Digits.CanShow(value.m_Decoded);
        return isDigits ? m_Digits.Format(value.m_Decoded) : m_Parser.Format(value);
    }

private:
    lkstr m_DateSep, m_TimeSep;
    ClkDateTimeFormatParser m_Parser;
    bool m_IsDigits = false;
    DigitFields m_Digits;
};

void ClkDateTimeFormatParser::Parse(const lkchar* format) {
    m_HasMonthInMinuteRun = false;
    m_FormatText = format != nullptr ? format : gc_lkchar_empty;
    m_CFormat.clear();
    for (const lkchar* at = m_FormatText.c_str(); *at != u'\0';) {
        if (const RunForms* run = FindRunForms(*at)) {
            std::size_t last = 0;
            while (*++at == run->letter) last = std::min(last + 1, std::size(run->forms) - 1);
            m_CFormat += run->forms[last];
            if (run->letter == u'm' && last >= 2) m_HasMonthInMinuteRun = true;
        } else if (*at == u'/' && at[1] == u'/') {
            m_CFormat += u'/';
            at += 2;
        } else if (const TextView form = LocaleForm(at[1]); *at == u'%' && !form.empty()) {
            m_CFormat += form;
            at += 2;
        } else {
            if (*at == u'/') {
                m_CFormat += g_c_DateSep;
            } else if (*at == u':') {
                m_CFormat += g_c_TimeSep;
            } else {
                m_CFormat += *at;
            }
            ++at;
        }
    }
    if (m_CFormat.empty()) m_CFormat = kDefaultFormat;
}

lkstr ClkDateTimeFormatParser::Format(const ClkDateTime& value) const {
    return value.Format(m_CFormat.c_str());
}

lkstr FormatDateTime(const ClkDateTime& value, const lkchar* format) {
    if (const CachedDateFormat* cached = FormatCache<CachedDateFormat>::Get(format))
        return cached->Format(value);
    ClkDateTimeFormatParser parser;
    parser.Parse(format);
    return parser.Format(value);
}

int DecodeDateTimeFormatPrecision(const lkchar* format) {
    constexpr int kSecond = 5;
    constexpr std::pair<lkchar, int> kPrecisions[] = {{u'm', 4}, {u'H', 3}, {u'd', 2}, {u'M', 1}, {u'y', 0}};
    const TextView text(format != nullptr ? format : gc_lkchar_empty);
    for (const auto& [letter, precision] : kPrecisions) {
        if (text.find(letter) != TextView::npos) return precision;
    }
    return kSecond;
}

}  // namespace larkspur
