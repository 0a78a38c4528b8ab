// The bytes of a template file. It is rejected with a message, or can be saved; loading the saved template
// and saving it again gives the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string saved;
    try {
        saved = writeTemplate(readTemplate({reinterpret_cast<const char*>(data), size}, "fuzz"));
    } catch (const EngineError&) {
        return 0;
    }
    if (writeTemplate(readTemplate(saved, "saved")) != saved) std::abort();
    return 0;
}
