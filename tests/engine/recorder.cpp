#include "tests/engine/recorder.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>

namespace recording {

namespace {

struct State {
    std::mutex mutex;  // guards the two lists of books
    std::deque<Books> reports;
    Books global;
    std::vector<std::pair<std::string, std::string>> failures;
    std::vector<std::pair<std::string, Template>> templates;
    std::atomic<bool> configured{false};
    std::atomic<unsigned> order{0};
    int log = -1;

    State() {
        if (const char* path = std::getenv("QBSVR_RECORDING_LOG")) {
            log = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        }
        if (const char* lines = std::getenv("QBSVR_RECORDING_FAIL")) {
            std::istringstream in(lines);
            for (std::string function, pattern; in >> function >> pattern;)
                failures.emplace_back(function, pattern);
        }
    }
    ~State() {
        for (Books& books : reports) {
            if (!books.released) books.Violation(books.name + " was never released");
        }
        if (log >= 0) close(log);
    }
};

State& TheState() {
    static State state;
    return state;
}

// The state must be there before any thread and be gone at exit only.
[[maybe_unused]] const State& g_State = TheState();

bool Fits(const std::string& pattern, const std::string& subject) {
    return fnmatch(pattern.c_str(), subject.c_str(), 0) == 0;
}

std::vector<Entry> SortedEntries(const std::string& reportName) {
    State& state = TheState();
    std::vector<Entry> entries;
    if (reportName.empty()) entries = state.global.entries;
    for (const Books& books : state.reports) {
        if (!reportName.empty() && books.name != reportName) continue;
        entries.insert(entries.end(), books.entries.begin(), books.entries.end());
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.order < b.order; });
    return entries;
}

std::vector<std::string> Texts(const std::vector<Entry>& entries, bool violations) {
    std::vector<std::string> texts;
    for (const Entry& entry : entries) {
        if (entry.violation == violations) texts.push_back(entry.text);
    }
    return texts;
}

}  // namespace

void Books::Add(bool violation, const std::string& text) {
    State& state = TheState();
    entries.push_back({state.order.fetch_add(1, std::memory_order_relaxed), violation, text});
    if (state.log < 0) return;
    const std::string line = (violation ? "VIOLATION " : "") + text + "\n";
    if (write(state.log, line.data(), line.size()) < 0) std::abort();
}

const lkchar* Handle::Give(const std::u16string& answer) {
    text = std::make_unique<lkchar[]>(answer.size() + 1);
    std::copy(answer.begin(), answer.end(), text.get());
    return text.get();
}

std::string Utf8(const lkchar* text) { return std::filesystem::path(text ? text : u"").string(); }

void Record(const char* function, Handle* handle, const std::string& text) {
    if (!handle) {
        RecordGlobal(function, text);
        return;
    }
    Books& books = *handle->books;
    books.Add(false, text);
    if (!TheState().configured.load(std::memory_order_relaxed))
        books.Violation(text + " ahead of QBInitConfig");
    if (books.released) books.Violation(text + " after the release");
    if (books.thread != std::this_thread::get_id()) books.Violation(text + " on another thread");
    // The one text that outlives a call with its handle.
    if (std::strcmp(function, "QBRecordsetSetConnectionString") != 0) handle->text.reset();
}

void RecordGlobal(const char* function, const std::string& text) {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    state.global.Add(false, text);
    if (!state.configured.load(std::memory_order_relaxed) && std::strcmp(function, "QBInitConfig") != 0) {
        state.global.Violation(text + " ahead of QBInitConfig");
    }
}

bool Fails(const char* function, const std::string& subject) {
    const auto& failures = TheState().failures;
    return std::any_of(failures.begin(), failures.end(), [&](const auto& failure) {
        return failure.first == function && Fits(failure.second, subject);
    });
}

Template TemplateOf(const std::string& path) {
    const auto& templates = TheState().templates;
    const auto found = std::find_if(templates.rbegin(), templates.rend(),
                                    [&](const auto& entry) { return Fits(entry.first, path); });
    return found == templates.rend() ? Template() : found->second;
}

Books* NewBooks() {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    const std::string name = "report" + std::to_string(state.reports.size() + 1);
    if (Fails("QBReportCreate", name)) return nullptr;
    Books& books = state.reports.emplace_back();
    books.name = name;
    return &books;
}

bool Configure() { return !TheState().configured.exchange(true, std::memory_order_relaxed); }

void Reset(bool configured) {
    State& state = TheState();
    state.reports.clear();
    state.global.entries.clear();
    state.failures.clear();
    state.templates.clear();
    state.configured = configured;
}

void Fail(const std::string& function, const std::string& pattern) {
    TheState().failures.emplace_back(function, pattern);
}

void SetTemplate(const std::string& pattern, const Template& content) {
    TheState().templates.emplace_back(pattern, content);
}

std::vector<std::string> Calls(const std::string& reportName) {
    return Texts(SortedEntries(reportName), false);
}

std::vector<std::string> Violations() {
    std::vector<std::string> texts = Texts(SortedEntries(""), true);
    for (const Books& books : TheState().reports) {
        if (!books.released) texts.push_back(books.name + " was never released");
    }
    return texts;
}

}  // namespace recording
