// The JSON request of a barcode. It is rejected with EngineError, or drawn as SVG.
#include <cstdint>
#include <string_view>

#include "qbsvrl6/api/barcode_request.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > 4'096) return 0;
    try {
        barcodeSvg(
            parseBarcodeRequest(toUtf16(std::string_view(reinterpret_cast<const char*>(bytes), size))));
    } catch (const EngineError&) {
    }
    return 0;
}
