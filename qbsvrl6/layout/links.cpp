#include "qbsvrl6/layout/links.h"

#include <algorithm>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::u16string_view kSchemes[] = {u"http://", u"https://", u"mailto:", u"tel:"};

bool isControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

bool hasAllowedScheme(std::u16string_view address) {
    return std::any_of(std::begin(kSchemes), std::end(kSchemes),
                       [&](std::u16string_view scheme) { return startsIgnoringCase(address, scheme); });
}

// Programs that open documents ignore spaces before a scheme and read "\" as "/": "//host" and "/\host" would
// be network shares.
bool isRelativeLink(std::u16string_view address) {
    const std::u16string_view first = address.substr(0, address.find_first_of(u"/?#"));
    const std::u16string_view path = address.substr(0, address.find_first_of(u"?#"));
    return first.find(u':') == std::u16string_view::npos && path.find(u'\\') == std::u16string_view::npos &&
           !address.starts_with(u' ') && !address.starts_with(u"//");
}

void appendEncoded(std::u16string& out, std::u16string_view character) {
    for (const char c : toUtf8(character)) {
        const auto byte = static_cast<unsigned char>(c);
        out += u'%';
        out += static_cast<char16_t>(kUpperHexDigits[byte >> 4]);
        out += static_cast<char16_t>(kUpperHexDigits[byte & 0xF]);
    }
}

std::u16string encoded(std::u16string_view address, bool ascii) {
    constexpr std::u16string_view kNeverInAddresses = u" \"<>\\^`{|}";
    std::u16string out;
    out.reserve(address.size());
    for (std::size_t i = 0; i < address.size(); ++i) {
        const char16_t unit = address[i];
        const bool isPair =
            (unit & 0xFC00) == 0xD800 && i + 1 < address.size() && (address[i + 1] & 0xFC00) == 0xDC00;
        const bool isLone = (unit & 0xF800) == 0xD800 && !isPair;
        const std::u16string_view character = address.substr(i, isPair ? 2 : 1);
        if (isLone || (ascii && unit >= 0x80) || kNeverInAddresses.find(unit) != std::u16string_view::npos) {
            appendEncoded(out, character);
        } else {
            out += character;
        }
        if (isPair) ++i;
    }
    return out;
}

}  // namespace

CheckedLink checkLink(std::u16string_view address, const LinkRules& rules) {
    if (address.empty() || rules.maxUnits == 0) return {};
    if (std::any_of(address.begin(), address.end(), isControl)) return {{}, "it has control characters"};
    const bool isInner = address.front() == u'#';
    if (!isInner && !hasAllowedScheme(address) && !isRelativeLink(address)) {
        return {{}, "only http, https, mailto, tel, relative addresses and #places are links"};
    }
    CheckedLink link{address.size() > rules.maxUnits ? std::u16string() : encoded(address, rules.ascii)};
    if (link.address.empty() || link.address.size() > rules.maxUnits) {
        return {{}, "it is longer than this format allows"};
    }
    return link;
}

}  // namespace qbsvrl6
