#include "format/boolean_format.h"

#include "format/locale_settings.h"

namespace larkspur {

void ClkBooleanFormatParser::Parse(const lkchar* format) {
    m_FormatText = format != nullptr ? format : gc_lkchar_empty;
    if (m_FormatText.empty()) {
        m_TrueText = GetLocalTrueText();
        m_FalseText = GetLocalFalseText();
        return;
    }
    const std::size_t colon = m_FormatText.find(u':');
    m_TrueText = m_FormatText.substr(0, colon);
    m_FalseText = colon != lkstr::npos ? m_FormatText.substr(colon + 1) : lkstr();
}

const lkstr& GetLocalTrueText() { return g_c_LocalTrueText; }
const lkstr& GetLocalFalseText() { return g_c_LocalFalseText; }

}  // namespace larkspur
