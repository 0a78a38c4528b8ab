// A shared library of the system that is loaded on first use. Few reports fetch from the web, print or become
// images, and the libraries for that load dozens of others. If they were linked, loading them would take half
// the time of a small report, and a machine without a print service would need its library.
#ifndef QBSVR_QBSVRL6_SUPPORT_LAZY_LIBRARY_H
#define QBSVR_QBSVRL6_SUPPORT_LAZY_LIBRARY_H

#include <string>

namespace qbsvrl6 {

class LazyLibrary {
public:
    // Loads the library for the life of the process. Raises EngineError(MissingLibrary) with the cause and
    // Debian's package if it is missing, and MachineError if memory or descriptors run out.
    LazyLibrary(const std::string& soname, const char* package);

    // The function of this name: `library.function<decltype(curl_easy_init)>("curl_easy_init")`. Raises
    // EngineError(MissingLibrary) if the library has none.
    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }

private:
    void* symbol(const char* name) const;

    void* handle_;
    std::string soname_;
};

// Declares and initialises a member with the library's function of this name.
// NOLINTBEGIN(bugprone-macro-parentheses): a declaration cannot have them
#define QBSVR_LAZY_FUNCTION(library, name) \
    decltype(::name)* name = (library).function<decltype(::name)>(#name)
// NOLINTEND(bugprone-macro-parentheses)

}  // namespace qbsvrl6

#endif
