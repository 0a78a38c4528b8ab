#include "format/int_enum_format.h"

#include <string_view>
#include <vector>

#include "common/string_ops.h"

namespace larkspur {

ClkIntEnumAnalyser::ClkIntEnumAnalyser(const lkchar* text) {
    const std::u16string_view whole(text != nullptr ? text : gc_lkchar_empty);
    if (whole.size() < 3 || whole.front() != u'{' || whole.back() != u'}') return;
    std::vector<lkstr> pieces;
    SplitText(lkstr(whole.substr(1, whole.size() - 2)).c_str(), u',', pieces);
    for (const lkstr& piece : pieces) {
        const std::size_t equals = piece.find(u'=');
        if (equals != lkstr::npos) m_Items[lkstr_toi(piece.c_str())] = piece.substr(equals + 1);
    }
}

lkstr ClkIntEnumAnalyser::Format(int value) const {
    const auto item = m_Items.find(value);
    return item != m_Items.end() ? item->second : lkstr_fromi(value);
}

lkstr ClkIntEnumAnalyser::GetFormatText() const {
    lkstr text = u"{";
    for (const auto& [value, word] : m_Items) {
        if (text.size() > 1) text += u',';
        text += lkstr_fromi(value);
        text += u'=';
        text += word;
    }
    text += u'}';
    return text;
}

}  // namespace larkspur
