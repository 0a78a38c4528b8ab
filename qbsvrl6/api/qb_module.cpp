// QBInitConfig, QBGetModule...
#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

std::u16string modulePath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&QBGetModulePath), &info) == 0 || info.dli_fname == nullptr)
        return {};
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(info.dli_fname, nullptr), std::free);
    return toUtf16(resolved ? resolved.get() : info.dli_fname);
}

// What the library was compiled for. The kernel's architecture may be another.
constexpr const lkchar* kModuleInfo =
#if defined(__x86_64__) && defined(__ILP32__)
    u"x32 Linux";
#elif defined(__x86_64__)
    u"x86_64 Linux";
#elif defined(__i386__)
    u"i686 Linux";
#elif defined(__aarch64__)
    u"aarch64 Linux";
#elif defined(__arm__)
    u"arm Linux";
#elif defined(__riscv) && __riscv_xlen == 64
    u"riscv64 Linux";
#elif defined(__loongarch64)
    u"loongarch64 Linux";
#elif defined(__powerpc64__) && defined(__LITTLE_ENDIAN__)
    u"ppc64le Linux";
#elif defined(__s390x__)
    u"s390x Linux";
#else
    u"unknown Linux";
#endif

}  // namespace

int QBInitConfig(const lkchar* setupPath) {
    return guarded(__func__, 0, [&] {
        const std::string path = toUtf8(textFrom(setupPath));
        setLogSetupPath(path);
        loadProcessSettings(path);
        return 1;
    });
}

const lkchar* QBGetModulePath() {
    return guarded(__func__, u"", [] {
        static const std::u16string path = modulePath();
        return path.c_str();
    });
}

const lkchar* QBGetModuleVersion() {
    return guarded(__func__, u"", [] { return u"" QBSVR_VERSION; });
}

const lkchar* QBGetModuleInfo() {
    return guarded(__func__, u"", [] { return kModuleInfo; });
}
