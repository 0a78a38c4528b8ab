// The implementation of StringFormat.
//
//     form = "%" ( "s" | "d" | "f" | "." digit* ( "d" | "f" | "x" ) )
//
// Everything else is plain text, as is a "%" before another "%". An invalid form ends after the first unit
// that doesn't match, or at the end of the text.
#include <climits>
#include <string_view>

#include "common/fixed_text.h"
#include "common/string_ops.h"

namespace larkspur {

namespace {

void AppendText(lkstr& to, std::u16string_view text) { to.append(text); }
void AppendText(lkstr& to, std::string_view text) {
    lkstr_append(to, text.data(), static_cast<int>(text.size()));
}

class ArgumentReader {
public:
    ArgumentReader(const StringFormatArgument* arguments, int count)
        : m_Next(arguments), m_End(arguments + count) {}

    StringFormatArgument Take() { return m_Next < m_End ? *m_Next++ : StringFormatArgument(0); }

private:
    const StringFormatArgument* m_Next;
    const StringFormatArgument* m_End;
};

// Appends the argument according to the form at p, which is after the "%", and moves p past the form. Returns
// false for an invalid form.
template <typename Char>
bool AppendForm(lkstr& out, const Char*& p, ArgumentReader& arguments) {
    const auto take = [&p] { return *p == 0 ? Char(0) : *p++; };
    Char kind = take();
    if (kind != '.') {
        if (kind == 's') {
            out += arguments.Take().AsText();
        } else if (kind == 'd') {
            out += lkstr_fromi(arguments.Take().AsInteger());
        } else if (kind == 'f') {
            out += lkstr_fromf(arguments.Take().AsFloat());
        } else {
            return false;
        }
        return true;
    }
    int digits = 0;
    for (kind = take(); kind >= '0' && kind <= '9'; kind = take()) {
        digits = digits > INT_MAX / 10 - 1 ? INT_MAX / 10 : digits * 10 + (kind - '0');
    }
    if (kind == 'd') {
        out += FormatIntegerFixed(arguments.Take().AsInteger(), digits);
    } else if (kind == 'f') {
        out += FormatNumberFixed(arguments.Take().AsFloat(), digits);
    } else if (kind == 'x') {
        out += FormatIntegerHexFixed(static_cast<unsigned int>(arguments.Take().AsInteger()), digits);
    } else {
        return false;
    }
    return true;
}

template <typename Char>
lkstr StringFormatT(const Char* format, ArgumentReader arguments) {
    using View = std::basic_string_view<Char>;
    lkstr out;
    if (format == nullptr) return out;
    const Char* p = format;
    while (*p != 0) {
        const Char* const plain = p;
        while (*p != 0 && (*p != '%' || p[1] == '%')) ++p;
        AppendText(out, View(plain, static_cast<std::size_t>(p - plain)));
        if (*p == 0) break;
        ++p;
        if (AppendForm(out, p, arguments)) continue;
        out = u"StringFormat '";
        AppendText(out, View(format));
        out += u"' failed ";
    }
    return out;
}

}  // namespace

int StringFormatArgument::AsInteger() const {
    switch (m_Kind) {
        case Kind::kInteger:
            return static_cast<int>(m_Integer);
        case Kind::kFloat:
            // Values out of the range of int, not-a-number included, become 0.
            return m_Float > INT_MIN - 1.0 && m_Float < INT_MAX + 1.0 ? static_cast<int>(m_Float) : 0;
        default:
            return 0;
    }
}

double StringFormatArgument::AsFloat() const {
    switch (m_Kind) {
        case Kind::kInteger:
            return static_cast<double>(m_Integer);
        case Kind::kFloat:
            return m_Float;
        default:
            return 0;
    }
}

const lkchar* StringFormatArgument::AsText() const {
    return m_Kind == Kind::kText && m_Text != nullptr ? m_Text : gc_lkchar_empty;
}

lkstr StringFormatList(const char* format, const StringFormatArgument* arguments, int count) {
    return StringFormatT(format, ArgumentReader(arguments, count));
}

lkstr StringFormatList(const lkchar* format, const StringFormatArgument* arguments, int count) {
    return StringFormatT(format, ArgumentReader(arguments, count));
}

}  // namespace larkspur
