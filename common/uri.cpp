#include "common/uri.h"

#include "common/internal/ascii.h"
#include "common/string_ops.h"

namespace larkspur {

namespace {

constexpr bool IsHighSurrogate(lkchar c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool IsLowSurrogate(lkchar c) { return c >= 0xDC00 && c <= 0xDFFF; }

// A continuation octet of a UTF-8 sequence: six bits of the code from bit `shift` up.
constexpr unsigned char Further(unsigned int code, int shift) {
    return static_cast<unsigned char>(0x80 | (code >> shift & 0x3F));
}

}  // namespace

bool URIComponent_unescape(lkchar c) {
    if (IsAsciiLetter(c) || IsAsciiDigit(c)) return true;
    switch (c) {
        case u'-':
        case u'_':
        case u'.':
        case u'!':
        case u'~':
        case u'*':
        case u'\'':
        case u'(':
        case u')':
            return true;
        default:
            return false;
    }
}

void URIAddEncodedOctetToBuffer(unsigned char octet, lkstr& out) {
    lkchar encoded[3] = {u'%'};
    ByteToHex(octet, encoded[1], encoded[2]);
    out.append(encoded, 3);
}

void URIEncodeOctets(const unsigned char* octets, int size, lkstr& out) {
    if (octets == nullptr) return;
    for (int i = 0; i < size; ++i) URIAddEncodedOctetToBuffer(octets[i], out);
}

void URIEncodeSingle(lkchar unit, lkstr& out) {
    if (unit < 0x80) {
        URIAddEncodedOctetToBuffer(static_cast<unsigned char>(unit), out);
    } else if (unit < 0x800) {
        const unsigned char octets[] = {static_cast<unsigned char>(0xC0 | unit >> 6), Further(unit, 0)};
        URIEncodeOctets(octets, 2, out);
    } else {
        const unsigned char octets[] = {static_cast<unsigned char>(0xE0 | unit >> 12), Further(unit, 6),
                                        Further(unit, 0)};
        URIEncodeOctets(octets, 3, out);
    }
}

void URIEncodePair(lkchar high, lkchar low, lkstr& out) {
    const unsigned int code = 0x10000 + ((high & 0x3FFu) << 10) + (low & 0x3FFu);
    const unsigned char octets[] = {static_cast<unsigned char>(0xF0 | code >> 18), Further(code, 12),
                                    Further(code, 6), Further(code, 0)};
    URIEncodeOctets(octets, 4, out);
}

lkstr Encode(const lkchar* text, int size, bool (*predicate)(lkchar)) {
    lkstr encoded;
    if (text == nullptr || size < 1) return encoded;
    const lkchar* end = text + size;
    for (const lkchar* p = text; p != end; ++p) {
        if (predicate(*p)) {
            encoded.push_back(*p);
        } else if (IsHighSurrogate(*p) && p + 1 != end && IsLowSurrogate(p[1])) {
            URIEncodePair(p[0], p[1], encoded);
            ++p;
        } else if (IsHighSurrogate(*p) || IsLowSurrogate(*p)) {
            throw static_cast<const char*>("MakeURIError");
        } else {
            URIEncodeSingle(*p, encoded);
        }
    }
    return encoded;
}

lkstr encodeURIComponent(const lkchar* text, int size) { return Encode(text, size, URIComponent_unescape); }

}  // namespace larkspur
