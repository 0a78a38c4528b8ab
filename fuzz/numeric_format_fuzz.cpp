// A number and a format text, separated by a line feed.
#include <cstdint>
#include <cstdlib>

#include "larkspur.h"

using namespace larkspur;

namespace {

constexpr std::size_t kMaxSize = 4096;  // time is linear in the length: longer inputs only take longer

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kMaxSize) return 0;
    const str input(reinterpret_cast<const char*>(data), size);
    const std::size_t lineEnd = input.find('\n');
    const double value = std::strtod(input.c_str(), nullptr);
    const lkstr format =
        lineEnd != str::npos ? Utf8ToUnicode(input.c_str() + lineEnd + 1, 0) : lkstr(u"#,##0.00;(0);-");

    ClkNumericFormatParser parser;
    parser.Parse(format.c_str());
    const lkstr text = parser.Format(value);
    require(text == FormatNumber(value, format.c_str()));
    parser.Format(-value);
    require(parser.Format(value) == text);

    // A section formatted into a buffer is the text of a parser with this section only, cut off at the
    // buffer's size.
    lkchar buffer[128];
    parser.m_Normal.Format(value, buffer);
    ClkNumericFormatParser single;
    single.m_Normal = parser.m_Normal;
    require(lkstr(buffer) == lkstr(single.Format(value)).substr(0, 127));

    ClkNumericFormatParser again;
    again.Parse(parser.GetFormatText().c_str());
    again.Format(value);
    parser.GetExportXlsFormatText();
    return 0;
}
