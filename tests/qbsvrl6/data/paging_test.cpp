// Tables whose rows are in a temporary file.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/data/row_groups.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"
#include "tests/scratch_directory.h"

namespace qbsvrl6 {
namespace {

constexpr std::size_t kRows = 5'000;

// With rows without some or any values, and long texts.
std::string json() {
    std::string text = "[";
    for (std::size_t row = 0; row < kRows; ++row) {
        text += row > 0 ? ",{\"r\":true" : "{\"r\":true";
        if (row % 7 != 3)
            text += ",\"n\":" + std::to_string(row) + ".5,\"t\":\"文" + std::to_string(row) + '"';
        if (row % 1'000 == 999) text += R"(,"long":")" + std::string(100'000, 'x') + '"';
        text += "}";
    }
    return text + "]";
}

bool isRow(const Table& table, std::size_t row) {
    const bool isEmpty = row % 7 == 3;
    const std::string number = isEmpty ? "" : std::to_string(row) + ".5";
    const std::string text = isEmpty ? "" : "文" + std::to_string(row);
    const std::size_t length = row % 1'000 == 999 ? 100'000 : 0;
    return toUtf8(table.value(row, 1).text) == number && toUtf8(table.value(row, 2).text) == text &&
           table.value(row, 3).text.size() == length;
}

class Paging : public testing::Test {
protected:
    ~Paging() override {
        limitRowMemory(kDefaultRowMemory);
        limitRowGroups(OpenGroup::kMostRows, kLoadedRowGroups);
        ::unsetenv("TMPDIR");
    }
    void tempIn(const std::string& folder) const { ::setenv("TMPDIR", folder.c_str(), 1); }

    const ScratchDirectory folder_;
};

TEST_F(Paging, RowsReadTheSameInAnyOrder) {
    const std::pair<std::uint64_t, std::size_t> cases[] = {
        {kDefaultRowMemory, 4'096}, {100'000, 4'096}, {0, 4'096}, {0, 3}, {0, 1}};
    tempIn(folder_.path.string());
    for (const auto& [memory, rows] : cases) {
        SCOPED_TRACE(std::to_string(memory) + " bytes, groups of " + std::to_string(rows));
        limitRowMemory(memory);
        limitRowGroups(rows, rows == 1 ? 1 : kLoadedRowGroups);
        const DataSet data = readData(json(), "f");
        const Table& table = *data.table(u"");
        EXPECT_EQ(table.isPaged(), memory < kDefaultRowMemory);
        ASSERT_EQ(table.rowCount(), kRows);
        for (std::size_t i = 0; i < kRows; ++i) {
            ASSERT_TRUE(isRow(table, i)) << i;
            ASSERT_TRUE(isRow(table, i * 2'741 % kRows)) << i * 2'741 % kRows;
        }
        EXPECT_TRUE(table.value(kRows, 0).isNull());
        EXPECT_TRUE(FilesBelow(folder_.path).empty()) << "the file has no name";
    }
}

TEST_F(Paging, ThreadsShareTheMemoryAndNothingElse) {
    limitRowMemory(1 << 20);
    const auto work = [] {
        for (int round = 0; round < 3; ++round) {
            const DataSet data = readData(json(), "f");
            for (std::size_t row = 0; row < kRows; ++row) ASSERT_TRUE(isRow(*data.table(u""), row)) << row;
        }
    };
    const std::jthread other(work);
    work();
}

template <class Error>
std::string errorOf() {
    try {
        readData(json(), "f");
    } catch (const Error& error) {
        return error.what();
    }
    return "none";
}

TEST_F(Paging, WithoutSpaceItFailsAndTriesAgain) {
    limitRowMemory(0);
    tempIn("/nonexistent");
    EXPECT_EQ(errorOf<MachineError>(),
              "the rows of the data: no temporary file in /nonexistent: No such file or directory");
    tempIn(folder_.path.string());
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit before {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const struct rlimit full { 200'000, before.rlim_max };
    ::setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_EQ(errorOf<MachineError>(), "the rows of the data: a temporary file is not written in " +
                                           folder_.path.string() + ": File too large");
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(errorOf<MachineError>(), "none");
}

TEST_F(Paging, EndsWithItsExport) {
    limitRowMemory(0);
    const std::atomic<bool> cancelled = true;
    {
        const Spending export_(Budget(), &cancelled);
        EXPECT_EQ(errorOf<EngineError>(), "f: the export was cancelled");
    }
    Budget budget;
    budget.dataBytes = 1 << 20;
    const Spending export_(budget);
    EXPECT_EQ(errorOf<EngineError>(), "f: the budget data-memory of 1 MiB is used up at the data");
}

}  // namespace
}  // namespace qbsvrl6
