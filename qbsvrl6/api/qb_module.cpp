// QBInitConfig, QBGetModule...
#include <dlfcn.h>
#include <sys/utsname.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
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

std::u16string moduleInfo() {
    utsname system{};
    if (uname(&system) != 0) return u"unknown";
    return toUtf16(std::string(system.machine) + " " + system.sysname);
}

}  // namespace

int QBInitConfig(const lkchar* setupPath) {
    return guarded("QBInitConfig", 0, [&] {
        setLogSetupPath(toUtf8(textFrom(setupPath)));
        return 1;
    });
}

const lkchar* QBGetModulePath() {
    return guarded("QBGetModulePath", u"", [] {
        static const std::u16string path = modulePath();
        return path.c_str();
    });
}

const lkchar* QBGetModuleVersion() { return QBSVR_VERSION; }

const lkchar* QBGetModuleInfo() {
    return guarded("QBGetModuleInfo", u"", [] {
        static const std::u16string info = moduleInfo();
        return info.c_str();
    });
}
