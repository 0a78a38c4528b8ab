// The books of the recording engine: handles, the calls made with them, and the promises broken.
//
// Each report keeps its own books, without a lock, so that the engine puts no order between threads that its
// caller didn't: a race in the caller stays visible to ThreadSanitizer.
#ifndef QBSVR_TESTS_ENGINE_RECORDER_H
#define QBSVR_TESTS_ENGINE_RECORDER_H

#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/qbsvr.h"
#include "tests/engine/recording_engine.h"

namespace recording {

using quillbrook::lkchar;

struct Entry {
    unsigned order = 0;
    bool violation = false;
    std::string text;
};

// The books of one created report and all that hangs from it, or of the calls that concern no report.
struct Books {
    std::string name;
    std::thread::id thread = std::this_thread::get_id();
    bool released = false;
    std::shared_ptr<void> report;  // kept beyond its release, so that later calls are seen
    std::vector<Entry> entries;

    void Add(bool violation, const std::string& text);
    void Violation(const std::string& text) { Add(true, text); }
};

// What every handle is. Its last text is freed at the next call, so that a caller who keeps it is found out.
struct Handle {
    Handle(Books* ownBooks, std::string ownName) : books(ownBooks), name(std::move(ownName)) {}

    Books* books;
    std::string name;
    std::unique_ptr<lkchar[]> text;

    const lkchar* Give(const std::u16string& answer);
};

std::string Utf8(const lkchar* text);

inline void Show(std::ostream& out, const Handle* handle) { out << (handle ? handle->name : "null"); }
inline void Show(std::ostream& out, const lkchar* text) {
    if (text) {
        out << '"' << Utf8(text) << '"';
    } else {
        out << "null";
    }
}
inline void Show(std::ostream& out, int value) { out << value; }
inline void Show(std::ostream& out, double value) { out << value; }

// Writes the call down with the books' owner, and looks whether it may come at all.
void Record(const char* function, Handle* handle, const std::string& text);
// A call that concerns no report.
void RecordGlobal(const char* function, const std::string& text);

template <class... Arguments>
std::string CallText(const char* function, const Arguments&... arguments) {
    std::ostringstream out;
    out << function << '(';
    [[maybe_unused]] const char* separator = "";
    ((out << separator, Show(out, arguments), separator = ", "), ...);
    out << ')';
    return out.str();
}

// False for a null handle, with which an engine does nothing.
template <class HandleType, class... Arguments>
bool Call(const char* function, HandleType* handle, const Arguments&... arguments) {
    Record(function, handle, CallText(function, handle, arguments...));
    return handle != nullptr;
}

bool Fails(const char* function, const std::string& subject);
Template TemplateOf(const std::string& path);

// The books of a report about to be created.
Books* NewBooks();
bool Configure();  // false when that was done before

}  // namespace recording

#endif
