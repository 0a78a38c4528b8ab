#include "qbsvrl6/api/printing.h"

#include <cups/cups.h>

#include <memory>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

namespace {

constexpr int kConnectMilliseconds = 5000;

// The functions of libcups that are used.
struct Cups {
    LazyLibrary library{"libcups.so.2", "libcups2"};
    QBSVR_LAZY_FUNCTION(library, httpConnect2);
    QBSVR_LAZY_FUNCTION(library, httpClose);
    QBSVR_LAZY_FUNCTION(library, ippPort);
    QBSVR_LAZY_FUNCTION(library, cupsServer);
    QBSVR_LAZY_FUNCTION(library, cupsEncryption);
    QBSVR_LAZY_FUNCTION(library, cupsGetDefault2);
    QBSVR_LAZY_FUNCTION(library, cupsCreateJob);
    QBSVR_LAZY_FUNCTION(library, cupsStartDocument);
    QBSVR_LAZY_FUNCTION(library, cupsWriteRequestData);
    QBSVR_LAZY_FUNCTION(library, cupsFinishDocument);
    QBSVR_LAZY_FUNCTION(library, cupsCancelJob2);
    QBSVR_LAZY_FUNCTION(library, cupsLastErrorString);

    [[noreturn]] void fail(const std::string& what) const {
        throw EngineError(ErrorCode::NotSupported, what + ": " + cupsLastErrorString());
    }
};

}  // namespace

std::string printDocument(const std::string& printer, const std::string& title, std::string_view pdf) {
    static const Cups cups;
    const std::unique_ptr<http_t, void (*)(http_t*)> service(
        cups.httpConnect2(cups.cupsServer(), cups.ippPort(), nullptr, AF_UNSPEC, cups.cupsEncryption(), 1,
                          kConnectMilliseconds, nullptr),
        cups.httpClose);
    if (!service) throw EngineError(ErrorCode::NotSupported, "no print service answers");

    std::string name = printer;
    if (name.empty()) {
        const char* chosen = cups.cupsGetDefault2(service.get());
        if (chosen == nullptr) throw EngineError(ErrorCode::NotSupported, "there is no default printer");
        name = chosen;
    }
    const int job = cups.cupsCreateJob(service.get(), name.c_str(), title.c_str(), 0, nullptr);
    if (job == 0) cups.fail("printer \"" + name + "\"");
    const bool sent =
        cups.cupsStartDocument(service.get(), name.c_str(), job, title.c_str(), CUPS_FORMAT_PDF, 1) ==
            HTTP_STATUS_CONTINUE &&
        cups.cupsWriteRequestData(service.get(), pdf.data(), pdf.size()) == HTTP_STATUS_CONTINUE &&
        cups.cupsFinishDocument(service.get(), name.c_str()) <= IPP_STATUS_OK_CONFLICTING;
    if (!sent) {
        cups.cupsCancelJob2(service.get(), name.c_str(), job, 0);
        cups.fail("printer \"" + name + "\"");
    }
    return name;
}

}  // namespace qbsvrl6
