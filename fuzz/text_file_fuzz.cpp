// The bytes of a text file. Both forms of the conversion read the same text, and the text saved in the
// detected encoding reads as the same text again.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "larkspur.h"

using namespace larkspur;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<char> bytes(data, data + size);  // an exact copy, so that an overrun is detected
    const int n = static_cast<int>(bytes.size());
    lkstr text;
    TextEncodeMode mode = TextEncodeUtf8;
    LoadStrFromMemoryBuf(bytes.data(), n, text, mode);

    ClkMemory block;
    Utf8ToUnicode(bytes.data(), n, block);
    require(std::u16string_view(static_cast<const lkchar*>(block.Data()),
                                static_cast<std::size_t>(block.Size()) / 2 - 1) ==
            Utf8ToUnicode(bytes.data(), n));
    IsValidUtf8Str(bytes.data(), n);

    if (text.empty() || mode == TextEncodeMbs) return 0;
    SaveStrToMemoryBuf(text.data(), static_cast<int>(text.size()), mode, block);
    lkstr again;
    TextEncodeMode modeAgain = TextEncodeMbs;
    LoadStrFromMemoryBuf(block.Data(), block.Size(), again, modeAgain);
    require(again == text && modeAgain == mode);
    return 0;
}
