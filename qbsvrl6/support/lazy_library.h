// A shared library of the system that is loaded when something first needs it. Few reports fetch from the
// web, print or become images, and the libraries for that bring dozens of others along: linked, they would
// take half of a small report's time, and an engine without a print service would need the library of one.
#ifndef QBSVR_QBSVRL6_SUPPORT_LAZY_LIBRARY_H
#define QBSVR_QBSVRL6_SUPPORT_LAZY_LIBRARY_H

#include <string>

namespace qbsvrl6 {

class LazyLibrary {
public:
    // Loads the library, for the process's life. Raises EngineError(NotSupported) with the cause where it
    // isn't there, and MachineError where memory or descriptors were lacking.
    explicit LazyLibrary(const std::string& soname);

    // The function of this name: `library.function<decltype(curl_easy_init)>("curl_easy_init")`. Raises
    // EngineError where the library has none.
    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }

private:
    void* symbol(const char* name) const;

    void* handle_;
    std::string soname_;
};

// The function of the library, named once.
// NOLINTBEGIN(bugprone-macro-parentheses): a declaration has no place for them
#define QBSVR_LAZY_FUNCTION(library, name) \
    decltype(::name)* name = (library).function<decltype(::name)>(#name)
// NOLINTEND(bugprone-macro-parentheses)

}  // namespace qbsvrl6

#endif
