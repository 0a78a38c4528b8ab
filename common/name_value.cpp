#include "common/name_value.h"

#include <vector>

#include "common/internal/ascii.h"
#include "common/string_ops.h"

namespace larkspur {

bool lkstricmper::operator()(const lkstr& a, const lkstr& b) const { return lkstr_icmp(a, b) < 0; }

void DecodeTextToNameValues(const lkchar* text, const ClkNameValueSlots& slots) {
    std::vector<lkstr> pieces;
    SplitText(text, u";\r\n", pieces);
    for (const lkstr& piece : pieces) {
        lkstr name;
        lkstr value;
        if (!SplitNameValueText(piece.c_str(), name, value)) continue;
        const auto slot = slots.find(name);
        if (slot != slots.end() && slot->second != nullptr) *slot->second = value;
    }
}

lkstr BuildNameValuesText(const ClkNameValueSlots& slots) {
    lkstr text;
    for (const auto& [name, value] : slots) {
        if (value == nullptr || value->empty()) continue;
        text.append(name).append(u"=").append(*value).append(u";\r\n");
    }
    return text;
}

bool NameToIntValue(const lkchar* name, const CNameIntValuePair* table, int& value) {
    bool found = false;
    if (name == nullptr) name = gc_lkchar_empty;
    for (; table != nullptr && table->name != nullptr; ++table) {
        if (lkstr_icmp(name, table->name) != 0) continue;
        value = table->value;
        found = true;
    }
    return found;
}

bool IntValueToName(int value, const CNameIntValuePair* table, lkstr& name) {
    bool found = false;
    for (; table != nullptr && table->name != nullptr; ++table) {
        if (value != table->value) continue;
        name = table->name;
        found = true;
    }
    return found;
}

bool IsFirstNameChar(lkchar c) { return IsAsciiLetter(c) || c == u'_' || c >= 256; }

bool IsNameChar(lkchar c) { return IsFirstNameChar(c) || IsAsciiDigit(c); }

bool IsGoodNameText(const lkchar* text) {
    if (text == nullptr || !IsFirstNameChar(*text)) return false;
    while (IsNameChar(*text)) ++text;
    return *text == 0;
}

void EnsureNameText(lkstr& name) {
    if (!IsGoodNameText(name.c_str())) name = u'[' + name + u']';
}

}  // namespace larkspur
