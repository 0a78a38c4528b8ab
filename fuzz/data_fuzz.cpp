// The bytes of a data file, also as JSON Lines and CSV. They are rejected with a message, or can also be
// converted to XML text, which can be read again.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "qbsvrl6/data/csv_reader.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::u16string xml;
    try {
        readJsonLines(*bytesOf(bytes, "fuzz"));
    } catch (const EngineError&) {
    }
    for (const char* const form : {"", "separator=;,header=no,encoding=gbk"}) {
        try {
            readCsv(*bytesOf(bytes, "fuzz"), csvFormFrom(form));
        } catch (const EngineError&) {
        }
    }
    try {
        readData(bytes, "fuzz");
        xml = readXmlText(bytes, "fuzz");
    } catch (const EngineError&) {
        return 0;
    }
    try {
        readData("\xEF\xBB\xBF" + toUtf8(xml), "xml");
    } catch (const EngineError& error) {
        if (error.code() != ErrorCode::LimitExceeded) std::abort();
    }
    return 0;
}
