#include "common/fixed_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "common/string_ops.h"

namespace larkspur {

namespace {

str PrintFixed(double value, int digits) {
    char text[336];  // the largest double has 309 digits before the point
    const auto printed =
        std::to_chars(text, std::end(text), value, std::chars_format::fixed, std::clamp(digits, 0, 9));
    return str(text, printed.ptr);
}

}  // namespace

lkstr FormatNumberFixed(double value, int digits) {
    return lkstr_fromascii(PrintFixed(value, digits).c_str());
}

lkstr FormatNumberFixed2(double value, int digits) {
    str text = PrintFixed(value, digits);
    text.erase(text.find_last_not_of('0') + 1);
    if (!text.empty() && text.back() == '.') text.pop_back();
    return lkstr_fromascii(text.c_str());
}

lkstr FormatIntegerFixed(int value, int width) {
    const lkstr digits = lkstr_fromi(value);
    const auto size = static_cast<std::size_t>(std::max(width, 0));
    if (size <= digits.size()) return digits.substr(digits.size() - size);
    return lkstr(size - digits.size(), u'0') + digits;
}

lkstr FormatIntegerHexFixed(unsigned int value, int width) {
    lkstr result(static_cast<std::size_t>(std::max(width, 0)), u'0');
    for (std::size_t end = result.size(); value != 0 && end > 0; value >>= 8) {
        lkchar high = 0;
        ByteToHex(static_cast<unsigned char>(value), high, result[--end]);
        if (end > 0) result[--end] = high;
    }
    return result;
}

}  // namespace larkspur
