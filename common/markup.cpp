#include "common/markup.h"

#include <algorithm>

#include "common/errors.h"
#include "common/internal/ascii.h"
#include "common/string_ops.h"

namespace larkspur {

namespace {

// The reference that represents the unit, or null when the unit represents itself.
const lkchar* XmlEntity(lkchar c) {
    switch (c) {
        case u'"':
            return u"&quot;";
        case u'&':
            return u"&amp;";
        case u'<':
            return u"&lt;";
        case u'>':
            return u"&gt;";
        default:
            return nullptr;
    }
}

const lkchar* HtmlEntity(lkchar c) { return c == u' ' ? u"&nbsp;" : XmlEntity(c); }

using EntityOf = const lkchar* (*)(lkchar);

template <EntityOf entityOf>
bool HasSpecialChar(const lkchar* text, int size) {
    return text != nullptr && size > 0 &&
           std::any_of(text, text + size, [](lkchar c) { return entityOf(c) != nullptr; });
}

template <EntityOf entityOf>
lkstr EncodeMarkup(const lkchar* text, int size) {
    lkstr encoded;
    if (text == nullptr || size < 1) return encoded;
    const lkchar* end = text + size;
    const lkchar* stretch = text;
    for (const lkchar* p = text; p != end; ++p) {
        const lkchar* entity = entityOf(*p);
        if (entity == nullptr) continue;
        encoded.append(stretch, p).append(entity);
        stretch = p + 1;
    }
    return encoded.append(stretch, end);
}

constexpr bool IsNodeNameChar(lkchar c) {
    return IsAsciiLetter(c) || IsAsciiDigit(c) || c == u'-' || c == u'.' || c == u'_' || c == 183 || c > 192;
}

}  // namespace

bool XmlHasSpecialChar(const lkchar* text, int size) { return HasSpecialChar<XmlEntity>(text, size); }
bool HtmlHasSpecialChar(const lkchar* text, int size) { return HasSpecialChar<HtmlEntity>(text, size); }

lkstr XmlEncode(const lkchar* text, int size) { return EncodeMarkup<XmlEntity>(text, size); }
lkstr HtmlEncode(const lkchar* text, int size) { return EncodeMarkup<HtmlEntity>(text, size); }

bool XML_ValueHasSpecialChar(const lkchar*) { return false; }

lkstr XML_DecodeValue(const lkchar* text) {
    static constexpr struct {
        const char* entity;
        lkchar unit;
    } kEntities[] = {{"amp;", u'&'}, {"lt;", u'<'}, {"gt;", u'>'}, {"apos;", u'\''}, {"quot;", u'"'}};

    lkstr decoded;
    if (text == nullptr) return decoded;
    const lkchar* amp = lkstr_charat(text, u'&');
    if (amp == nullptr) return text;
    decoded.assign(text, amp);
    // Compares the whole rest: an entity counts only at the end of the text.
    for (const auto& [entity, unit] : kEntities) {
        if (lkstr_cmp(amp + 1, entity) == 0) return decoded + unit;
    }
    throw ClkException(LKExceptionJson, amp);
}

bool XmlCheckNodeName(const lkchar* name) {
    if (name == nullptr || IsAsciiDigit(*name) || *name == u'-' || *name == u'.') return false;
    while (*name != 0 && IsNodeNameChar(*name)) ++name;
    return *name == 0;
}

}  // namespace larkspur
