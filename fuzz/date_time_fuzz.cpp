// A date text and a date format, separated by a line feed. A date that is read and shown completely reads as
// the same date again.
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
    const lkstr input =
        size > 0 ? Utf8ToUnicode(reinterpret_cast<const char*>(data), static_cast<int>(size)) : lkstr();
    const std::size_t lineEnd = input.find(u'\n');
    const lkstr format = lineEnd != lkstr::npos ? input.substr(lineEnd + 1) : lkstr();

    bool ok = false;
    const ClkDateTime value = ParseDateTime(input.substr(0, lineEnd).c_str(), ok);
    require(ok || value.m_Time == 0);
    try {
        FormatDateTime(value, format.c_str());
        if (ok && value.GetYear() >= 1970 && value.GetYear() <= 9999) {
            const ClkDateTime again =
                ParseDateTime(FormatDateTime(value, u"yyyy-MM-dd HH:mm:ss").c_str(), ok);
            require(ok && again.m_Time == value.m_Time);
        }
    } catch (const ClkException&) {  // a year beyond the range of int
    }
    DecodeDateTimeFormatPrecision(format.c_str());
    ClkBooleanFormatParser boolean;
    boolean.Parse(format.c_str());
    return 0;
}
