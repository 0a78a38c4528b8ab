// The n-th allocation of a call fails, for every n: the call returns its failure value or succeeds, nothing
// leaks (the leak checker detects it), and the report works afterwards.
#include <cstdlib>
#include <new>

#include "tests/qbsvrl6/api/api_fixture.h"

namespace {

thread_local long allocationsLeft = -1;  // below 0: unlimited

void* allocate(std::size_t size) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocationsLeft == 0 ? nullptr : allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace api_test {
namespace {

// Calls `action` with one more allowed allocation each time, until it needs no more.
template <class Action>
void failEachAllocation(const char* what, Action&& action) {
    for (long allowed = 0;; ++allowed) {
        allocationsLeft = allowed;
        const bool done = action();
        const bool exhausted = allocationsLeft == 0;
        allocationsLeft = -1;
        if (!exhausted) {
            EXPECT_TRUE(done) << what << " with " << allowed << " allocations";
            EXPECT_GT(allowed, 1) << what << " allocates nothing: is the allocator in place?";
            return;
        }
        ASSERT_LT(allowed, 10'000'000) << what;
    }
}

TEST_F(ApiTest, AllocationFailuresLeaveNoHarm) {
    const std::u16string list = path("list.qbf");
    const std::u16string saved = path("saved.qbf");
    failEachAllocation("create", [] {
        tagQBReport* report = QBReportCreate();
        QBReportRelease(report);
        return report != nullptr;
    });
    const OwnReport report;
    failEachAllocation("load", [&] { return QBReportLoadFromFile(report, list.c_str()) != 0; });
    failEachAllocation("save", [&] { return QBReportSaveToFile(report, saved.c_str()) != 0; });
    EXPECT_EQ(read("saved.qbf"), read("list.qbf"));
    write("everything.qbf", kEverything);
    ASSERT_EQ(QBReportLoadFromFile(report, path("everything.qbf").c_str()), 1) << takeLog();
    const tagQBExportType types[] = {QBExportType_CSV, QBExportType_TXT, QBExportType_HTM, QBExportType_PDF,
                                     QBExportType_RTF, QBExportType_XLS, QBExportType_IMG};
    for (const tagQBExportType type : types) {
        const std::string expected = exported(report, type);
        failEachAllocation("export", [&] {
            tagQBBinaryObject* object = QBReportExportDirectToBinaryObject(report, type);
            return object != nullptr;
        });
        EXPECT_EQ(exported(report, type), expected) << type;
    }
    tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_XLS);
    QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
    failEachAllocation("export as XLSX", [&] { return QBReportExportToBinaryObject(report) != nullptr; });
    option = QBReportPrepareExport(report, QBExportType_IMG);
    QBE2IMGOptionSetImageType(QBExportOptionGetAsE2IMGOption(option), QBImageType_PNG);
    QBExportOptionSetFileName(option, path("page.png").c_str());
    failEachAllocation("export into PNG files", [&] { return QBReportExport(report, 0) != 0; });
    EXPECT_TRUE(exists("page-2.png"));
}

}  // namespace
}  // namespace api_test
