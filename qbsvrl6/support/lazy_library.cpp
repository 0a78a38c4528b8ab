#include "qbsvrl6/support/lazy_library.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

// The cause of a failed dlopen ends with the system's message; errno has been lost by then.
[[noreturn]] void failToLoad(const char* package) {
    const char* const cause = dlerror();
    if (cause == nullptr) throw std::bad_alloc();
    for (const int error : {EMFILE, ENFILE, ENOMEM, EAGAIN, EINTR, EIO}) {
        if (std::string_view(cause).ends_with(std::strerror(error))) throw MachineError(cause);
    }
    throw EngineError(ErrorCode::MissingLibrary,
                      std::string(cause) + "; install the package " + package + " (Debian 12)");
}

}  // namespace

LazyLibrary::LazyLibrary(const std::string& soname, const char* package)
    : handle_(dlopen(soname.c_str(), RTLD_NOW | RTLD_LOCAL)), soname_(soname) {
    if (handle_ == nullptr) failToLoad(package);
}

void* LazyLibrary::symbol(const char* name) const {
    void* address = dlsym(handle_, name);
    if (address == nullptr) throw EngineError(ErrorCode::MissingLibrary, soname_ + " has no " + name);
    return address;
}

}  // namespace qbsvrl6
