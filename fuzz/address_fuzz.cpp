// Names of files and web addresses, as in templates and data. Each is accepted, or rejected with EngineError;
// only web addresses have no path, and remain web addresses when they are converted for another folder.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "qbsvrl6/support/address.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > 1'024) return 0;
    const Address address{toUtf16(std::string_view(reinterpret_cast<const char*>(bytes), size)),
                          "/nowhere/a/"};
    shownAddress(address);
    isRelative(address.name);
    std::string path;
    try {
        path = localPath(address);
        folderAt(address);
    } catch (const EngineError&) {
        return 0;
    }
    if (path.empty() != isWebAddress(address.name)) std::abort();
    const Address moved{Relocation("/nowhere/b/").nameOf(address), "/nowhere/b/"};
    if (isWebAddress(moved.name) != isWebAddress(address.name)) std::abort();
    return 0;
}
