// Exports while the machine runs out of something: the n-th allocation, open file, mapping, read or write fails,
// once or from then on. Such an export fails with a cause in the log or produces the complete document, and
// the next one is not affected. Each case is a separate process, forked from one that has exported before
// (warm) or has not (cold).
#include <dlfcn.h>
#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <harfbuzz/hb-subset.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <new>
#include <random>
#include <string_view>
#include <utility>

#include "engine/qbsvr_more.h"
#include "tests/qbsvrl6/api/api_fixture.h"

namespace {

enum class Lack { Nothing, Memory, Files, Mappings, Reads, Writes };
struct Moment {
    Lack lack = Lack::Nothing;
    bool lasting = false;  // until the export ends
    long left = 0;         // calls that succeed
    bool came = false;
} moment;

bool fails(Lack lack, int error) {
    if (moment.lack != lack) return false;
    if (moment.left-- > 0) return false;
    moment.came = true;
    if (!moment.lasting) moment.left = 1L << 40;
    errno = error;
    return true;
}

struct EnoughMemory {
    Lack before = std::exchange(moment.lack, moment.lack == Lack::Memory ? Lack::Nothing : moment.lack);
    ~EnoughMemory() { moment.lack = before; }
};

// The next definition of a function: that of the system or of a sanitizer.
template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Functions of the program come before those of libraries, for every library of the process.
extern "C" {
[[gnu::weak]] void* __interceptor_malloc(std::size_t);
[[gnu::weak]] void* __interceptor_calloc(std::size_t, std::size_t);
[[gnu::weak]] void* __interceptor_realloc(void*, std::size_t);
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t size) noexcept {
    if (fails(Lack::Memory, ENOMEM)) return nullptr;
    return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    if (fails(Lack::Memory, ENOMEM)) return nullptr;
    return __interceptor_calloc != nullptr ? __interceptor_calloc(count, size) : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) noexcept {
    if (size > 0 && fails(Lack::Memory, ENOMEM)) return nullptr;
    return __interceptor_realloc != nullptr ? __interceptor_realloc(block, size)
                                            : __libc_realloc(block, size);
}

int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    if (fails(Lack::Files, EMFILE)) return -1;
    static auto* const real = next<int(const char*, int, ...)>("open");
    return real(path, flags, mode);
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));
int openat(int folder, const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    if (fails(Lack::Files, EMFILE)) return -1;
    static auto* const real = next<int(int, const char*, int, ...)>("openat");
    return real(folder, path, flags, mode);
}
int openat64(int folder, const char* path, int flags, ...) __attribute__((alias("openat")));
void* mmap(void* at, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    if (fails(Lack::Mappings, ENOMEM)) return MAP_FAILED;
    static auto* const real = next<void*(void*, std::size_t, int, int, int, off_t)>("mmap");
    return real(at, size, protection, flags, file, offset);
}
void* mmap64(void*, std::size_t, int, int, int, off_t) noexcept __attribute__((alias("mmap")));
ssize_t read(int file, void* to, std::size_t size) {
    if (fails(Lack::Reads, EIO)) return -1;
    static auto* const real = next<ssize_t(int, void*, std::size_t)>("read");
    return real(file, to, size);
}

ssize_t write(int file, const void* from, std::size_t size) {
    if (fails(Lack::Writes, ENOSPC)) return -1;
    static auto* const real = next<ssize_t(int, const void*, std::size_t)>("write");
    return real(file, from, size);
}

// The C library ends the process if it has no memory for this.
int __cxa_thread_atexit_impl(void (*destroy)(void*), void* object, void* library) {
    static auto* const real = next<int(void (*)(void*), void*, void*)>("__cxa_thread_atexit_impl");
    const EnoughMemory enough;
    return real(destroy, object, library);
}

// fontconfig does not survive a lack of memory, so its calls fail as a whole.
FcBool FcConfigParseAndLoadFromMemory(FcConfig* config, const FcChar8* text, FcBool complain) {
    if (fails(Lack::Memory, ENOMEM)) return FcFalse;
    static auto* const real =
        next<decltype(FcConfigParseAndLoadFromMemory)>("FcConfigParseAndLoadFromMemory");
    const EnoughMemory enough;
    return real(config, text, complain);
}
FcCache* FcDirCacheLoad(const FcChar8* directory, FcConfig* config, FcChar8** file) {
    if (fails(Lack::Memory, ENOMEM)) return nullptr;
    static auto* const real = next<decltype(FcDirCacheLoad)>("FcDirCacheLoad");
    const EnoughMemory enough;
    return real(directory, config, file);
}
FcCache* FcDirCacheRead(const FcChar8* directory, FcBool force, FcConfig* config) {
    return force ? nullptr : FcDirCacheLoad(directory, config, nullptr);
}

// Nor does HarfBuzz's subsetter.
hb_subset_plan_t* hb_subset_plan_create_or_fail(hb_face_t* face, const hb_subset_input_t* input) {
    if (fails(Lack::Memory, ENOMEM)) return nullptr;
    static auto* const real = next<decltype(hb_subset_plan_create_or_fail)>("hb_subset_plan_create_or_fail");
    const EnoughMemory enough;
    return real(face, input);
}
hb_face_t* hb_subset_plan_execute_or_fail(hb_subset_plan_t* plan) {
    if (fails(Lack::Memory, ENOMEM)) return nullptr;
    static auto* const real =
        next<decltype(hb_subset_plan_execute_or_fail)>("hb_subset_plan_execute_or_fail");
    const EnoughMemory enough;
    return real(plan);
}
}

// A sanitizer's own operators would not call malloc. GCC warns if it sees that a pointer from new is freed.
void* operator new(std::size_t size) {
    if (void* const memory = malloc(size)) return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return malloc(size); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace api_test {
namespace {

namespace fs = std::filesystem;

struct Format {
    const char* name;
    tagQBExportType type;
    bool xlsx = false;
    bool png = false;
    const char* further = nullptr;  // the name of a format that has no type
};
constexpr Format kFormats[] = {
    {"CSV", QBExportType_CSV, false, false},        {"TXT", QBExportType_TXT, false, false},
    {"HTM", QBExportType_HTM, false, false},        {"PDF", QBExportType_PDF, false, false},
    {"RTF", QBExportType_RTF, false, false},        {"XLS", QBExportType_XLS, false, false},
    {"XLSX", QBExportType_XLS, true, false},        {"TIFF", QBExportType_IMG, false, false},
    {"PNG", QBExportType_IMG, false, true},         {"DOCX", QBExportType_PDF, false, false, "docx"},
    {"ODS", QBExportType_PDF, false, false, "ods"}, {"JSON", QBExportType_PDF, false, false, "json"},
};

struct Case {
    const char* name;
    Lack lack;
    bool lasting;
};
constexpr Case kCases[] = {
    {"one allocation", Lack::Memory, false}, {"all allocations", Lack::Memory, true},
    {"one file", Lack::Files, false},        {"all files", Lack::Files, true},
    {"one mapping", Lack::Mappings, false},  {"all mappings", Lack::Mappings, true},
    {"one read", Lack::Reads, false},        {"one write", Lack::Writes, false},
};

class BadMomentsTest : public ApiTest {
protected:
    BadMomentsTest() { write("everything.qbf", kEverything); }

    // Exports a new report to a file: only the caches of the process survive.
    std::string document(const Format& format, const Moment& during = {}) const {
        const OwnReport report;
        fs::remove("document");
        moment = during;
        const bool done = exports(report, format);
        moment.lack = Lack::Nothing;
        if (done) return read("document");
        return fs::exists("document") ? "part of a document" : "(null)";
    }

    bool exports(tagQBReport* report, const Format& format) const {
        if (QBReportLoadFromFile(report, template_.c_str()) == 0) return false;
        if (format.further != nullptr) {
            return QBXReportPrepareExport(report, format.further) != 0 &&
                   QBXReportExportToFile(report, "document") != 0;
        }
        tagQBExportOption* const option = QBReportPrepareExport(report, format.type);
        if (format.xlsx) {
            tagQBE2XLSOption* const workbook = QBExportOptionGetAsE2XLSOption(option);
            if (workbook == nullptr) return false;
            QBE2XLSOptionSetToXlsxFormat(workbook, 1);
        }
        if (format.png) {
            tagQBE2IMGOption* const image = QBExportOptionGetAsE2IMGOption(option);
            if (image == nullptr) return false;
            QBE2IMGOptionSetImageType(image, QBImageType_PNG);
            QBE2IMGOptionSetAllInOne(image, 1);
        }
        QBExportOptionSetFileName(option, u"document");
        return QBReportExport(report, 0) != 0;
    }

    // Runs the action in a child process and returns its result. The child exits without destructors, because
    // there may have been no memory for them.
    template <class Action>
    static std::string inChild(Action action) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            const std::string said = action();
            const ssize_t written = ::write(ends[1], said.data(), said.size());
            _exit(written == static_cast<ssize_t>(said.size()) ? 0 : 1);
        }
        close(ends[1]);
        std::string said;
        char block[4096];
        for (ssize_t count = 0; (count = ::read(ends[0], block, sizeof block)) > 0;) {
            said.append(block, static_cast<std::size_t>(count));
        }
        close(ends[0]);
        int status = 0;
        waitpid(child, &status, 0);
        return status == 0 ? said : "the process ended with status " + std::to_string(status);
    }

    // Returns what is wrong, "" if nothing is, or "." if the export made fewer than n calls.
    std::string atMoment(const Format& format, const Case& c, long n, const std::string& good) {
        return inChild([&]() -> std::string {
            takeLog();
            const std::string first = document(format, {c.lack, c.lasting, n});
            const bool came = moment.came;
            if (first == "(null)" && takeLog().empty()) return "no cause is logged";
            if (first != "(null)" && first != good) return "another document";
            if (document(format) != good) return "the next export has another document";
            return came ? "" : ".";
        });
    }

    std::u16string template_ = path("everything.qbf");

    // How many calls an export makes that could fail.
    long callsOf(const Format& format, Lack lack) {
        constexpr long kMost = 1L << 40;
        return std::stol(inChild([&] {
            document(format, {lack, false, kMost});
            return std::to_string(kMost - moment.left);
        }));
    }

    // The values of n to try: most of them small. QBSVR_EVERY_MOMENT=sample tries all of the first and a sample
    // of the others, in minutes; QBSVR_EVERY_MOMENT=all tries all, in hours.
    static std::vector<long> moments(long calls) {
        constexpr long kSmall = 300, kSample = 100;
        const char* const every = std::getenv("QBSVR_EVERY_MOMENT");
        const bool all = every != nullptr && std::string_view(every) == "all";
        std::mt19937 random(1);
        std::uniform_int_distribution<long> gap(1, std::max(1L, 2 * calls / kSample));
        std::vector<long> values;
        for (long n = 0; n < calls;) {
            values.push_back(n);
            if (every == nullptr) {
                n += 1 + n / 2;
            } else {
                n += all || n < kSmall ? 1 : gap(random);
            }
        }
        return values;
    }

    void walk(const char* state, const Format& format, const std::string& good) {
        for (const Case& c : kCases) {
            for (const long n : moments(callsOf(format, c.lack))) {
                const std::string wrong = atMoment(format, c, n, good);
                if (wrong == ".") break;
                EXPECT_EQ(wrong, "") << format.name << ", " << state << ": " << c.name << " after " << n;
            }
        }
    }
};

// Must be first: a process that has exported before does not notice that its fonts are missing.
TEST_F(BadMomentsTest, WithoutFontsDrawnDocumentsFailAndOthersHaveEstimatedWidths) {
    write("no-fonts.conf", "<?xml version=\"1.0\"?><fontconfig></fontconfig>");
    const std::string wrong = inChild([&] {
        ::setenv("FONTCONFIG_FILE", (directory_ + "no-fonts.conf").c_str(), 1);
        std::string said;
        const auto expect = [&](const char* report, std::string_view formats) {
            template_ = path(report);
            for (const Format& format : kFormats) {
                const bool works = formats.find(format.name) != formats.npos;
                const bool made = document(format) != "(null)";
                const bool advised = takeLog().find("install fonts such as") != std::string::npos;
                if (made != works || (!made && !advised)) said += std::string(report) + format.name + " ";
            }
        };
        document(kFormats[0]);
        if (takeLog().find("estimated widths") == std::string::npos) said += "no warning ";
        expect("bare.qbf", "CSV TXT HTM RTF XLSX DOCX ODS JSON");
        expect("everything.qbf", "CSV TXT HTM XLSX ODS JSON");  // RTF and DOCX hold pictures of charts
        return said;
    });
    EXPECT_EQ(wrong, "");
}

TEST_F(BadMomentsTest, EndOneExportAtMost) {
    // Opens the log before files run out.
    const OwnReport report;
    QBReportLoadFromFile(report, path("none.qbf").c_str());
    std::map<std::string, std::string> good;
    for (const Format& format : kFormats) {
        good[format.name] = inChild([&] { return document(format); });
        ASSERT_GT(good[format.name].size(), 50u) << good[format.name];
    }
    for (const Format& format : kFormats) {
        if (std::string_view("CSV PDF PNG").find(format.name) != std::string_view::npos) {
            walk("cold", format, good[format.name]);
        }
    }
    for (const Format& format : kFormats) EXPECT_EQ(document(format), good[format.name]);
    for (const Format& format : kFormats) walk("warm", format, good[format.name]);
}

// Otherwise the administrator's limits would not apply for the rest of the process.
TEST_F(BadMomentsTest, SettingsThatCouldNotBeOpenedAreReadLater) {
    write("qbsvrl6.conf", "budget.page-items = 1");
    moment = {Lack::Files, true};
    QBInitConfig(path("").c_str());
    EXPECT_TRUE(moment.came);
    moment = {};
    EXPECT_EQ(document(kFormats[0]), "(null)");
    EXPECT_NE(takeLog().find("the budget page-items of 1 is used up"), std::string::npos);
}

}  // namespace
}  // namespace api_test
