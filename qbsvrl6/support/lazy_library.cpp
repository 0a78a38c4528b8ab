#include "qbsvrl6/support/lazy_library.h"

#include <dlfcn.h>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

LazyLibrary::LazyLibrary(const std::string& soname)
    : handle_(dlopen(soname.c_str(), RTLD_NOW | RTLD_LOCAL)), soname_(soname) {
    if (handle_ == nullptr) throw EngineError(ErrorCode::NotSupported, dlerror());
}

void* LazyLibrary::symbol(const char* name) const {
    void* address = dlsym(handle_, name);
    if (address == nullptr) throw EngineError(ErrorCode::NotSupported, soname_ + " has no " + name);
    return address;
}

}  // namespace qbsvrl6
