#include "qbsvrl6/data/widen.h"

namespace qbsvrl6 {

std::u16string_view widen(std::string_view utf8, std::u16string& buffer) {
    if (buffer.size() < utf8.size()) buffer.resize(utf8.size());
    char16_t* out = buffer.data();
    const char* from = utf8.data();
    const char* const end = from + utf8.size();
    while (true) {
        from = copyAscii(from, end, out, [](char) { return false; });
        if (from == end) break;
        putCharacter(out, takeCharacter(from));
    }
    return {buffer.data(), static_cast<std::size_t>(out - buffer.data())};
}

}  // namespace qbsvrl6
