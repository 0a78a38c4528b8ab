#include "qbsvrl6/api/printing.h"

#include <cups/cups.h>

#include <memory>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

constexpr int kConnectMilliseconds = 5000;

[[noreturn]] void fail(const std::string& what) {
    throw EngineError(ErrorCode::NotSupported, what + ": " + cupsLastErrorString());
}

}  // namespace

std::string printDocument(const std::string& printer, const std::string& title, std::string_view pdf) {
    const std::unique_ptr<http_t, void (*)(http_t*)> service(
        httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, kConnectMilliseconds,
                     nullptr),
        httpClose);
    if (!service) throw EngineError(ErrorCode::NotSupported, "no print service answers");

    std::string name = printer;
    if (name.empty()) {
        const char* chosen = cupsGetDefault2(service.get());
        if (chosen == nullptr) throw EngineError(ErrorCode::NotSupported, "there is no default printer");
        name = chosen;
    }
    const int job = cupsCreateJob(service.get(), name.c_str(), title.c_str(), 0, nullptr);
    if (job == 0) fail("printer \"" + name + "\"");
    const bool sent = cupsStartDocument(service.get(), name.c_str(), job, title.c_str(), CUPS_FORMAT_PDF,
                                        1) == HTTP_STATUS_CONTINUE &&
                      cupsWriteRequestData(service.get(), pdf.data(), pdf.size()) == HTTP_STATUS_CONTINUE &&
                      cupsFinishDocument(service.get(), name.c_str()) <= IPP_STATUS_OK_CONFLICTING;
    if (!sent) {
        cupsCancelJob2(service.get(), name.c_str(), job, 0);
        fail("printer \"" + name + "\"");
    }
    return name;
}

}  // namespace qbsvrl6
