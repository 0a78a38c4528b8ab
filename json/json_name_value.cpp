#include "json/json_name_value.h"

#include "common/string_ops.h"
#include "json/internal/text_scan.h"
#include "json/json_text.h"

namespace larkspur {

namespace {

using json_internal::FindFirstOf;
using json_internal::SkipSpace;

lkstr DecodedOnNeed(const lkstr& text) {
    return JSON_HasEscapeChar(text.c_str()) ? JSON_Decode(text.c_str(), static_cast<int>(text.size())) : text;
}

// Reads the value at p and moves past it.
lkstr ReadValue(const lkchar*& p, const lkchar* end) {
    if (p < end && *p == u'"') {
        const lkchar* begin = p + 1;
        const lkchar* stop = FindFirstOf<u'"', u'\\'>(begin, end);
        if (stop < end && *stop == u'\\') ++stop;  // the scan ends at the unit after a backslash
        p = stop < end ? stop + 1 : end;
        return DecodedOnNeed(lkstr(begin, stop));
    }
    const lkchar* begin = p;
    while (p < end && !json_internal::IsSpace(*p) && *p != u',' && *p != u'}') ++p;
    return lkstr(begin, p);
}

const lkstr* FindValue(const std::map<lkstr, lkstr>& values, const lkchar* name) {
    const auto place = values.find(name == nullptr ? gc_lkchar_empty : name);
    return place == values.end() ? nullptr : &place->second;
}

}  // namespace

bool JSON_DecodeNameValues(const lkchar* text, int n, std::map<lkstr, lkstr>& values) {
    if (text == nullptr || n < 1) return false;
    const lkchar* end = text + n;
    const lkchar* p = SkipSpace(text, end);
    if (p == end || *p != u'{') return false;
    ++p;
    while (p < end && *p != u'}') {
        p = SkipSpace(p, end);
        if (p == end || *p != u'"') return false;
        const lkchar* nameBegin = p + 1;
        const lkchar* nameEnd = FindFirstOf<u'"'>(nameBegin, end);
        if (nameEnd == end) return false;
        p = SkipSpace(nameEnd + 1, end);
        if (p == end || *p != u':') return false;
        p = SkipSpace(p + 1, end);
        values[lkstr(nameBegin, nameEnd)] = ReadValue(p, end);
        p = SkipSpace(p, end);
        if (p == end || *p != u',') break;  // unlike in a tree, commas are required
        ++p;
    }
    return p < end && *p == u'}';
}

lkstr JSON_EncodeNameValues(const std::vector<ClkNameValuePair>& pairs) {
    lkstr text = u"{";
    for (const ClkNameValuePair& pair : pairs) {
        if (text.size() > 1) text += u',';
        text.append(u"\"").append(pair.name).append(u"\":").append(pair.value);
    }
    return text += u'}';
}

bool JSON_ValueIsNull(const std::map<lkstr, lkstr>& values, const lkchar* name) {
    return FindValue(values, name) == nullptr;
}

lkstr JSON_ValueAsString(const std::map<lkstr, lkstr>& values, const lkchar* name,
                         const lkchar* defaultText) {
    if (const lkstr* value = FindValue(values, name)) return DecodedOnNeed(*value);
    return defaultText == nullptr ? gc_lkchar_empty : defaultText;
}

int JSON_ValueAsInteger(const std::map<lkstr, lkstr>& values, const lkchar* name, int defaultValue) {
    const lkstr text = JSON_ValueAsString(values, name, nullptr);
    return text.empty() ? defaultValue : lkstr_toi(text.c_str());
}

double JSON_ValueAsFloat(const std::map<lkstr, lkstr>& values, const lkchar* name, double defaultValue) {
    const lkstr text = JSON_ValueAsString(values, name, nullptr);
    return text.empty() ? defaultValue : lkstr_tof(text.c_str());
}

bool JSON_ValueAsBoolean(const std::map<lkstr, lkstr>& values, const lkchar* name, bool defaultValue) {
    const lkstr text = JSON_ValueAsString(values, name, nullptr);
    return text.empty() ? defaultValue : text != gc_str_false;
}

}  // namespace larkspur
