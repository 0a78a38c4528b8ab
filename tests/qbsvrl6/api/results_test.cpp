#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/api/runtime.h"

namespace qbsvrl6 {
namespace {

Spool spoolOf(const std::string& bytes) {
    Spool spool;
    spool.append(bytes);
    return spool;
}

// Forty results of 10 MB: more than a report keeps in memory, and each stays at its first address.
TEST(Results, StayReadableBeyondWhatIsKeptInMemory) {
    Report report;
    Runtime& runtime = runtimeOf(report);
    for (const char* round : {"first", "after dropping"}) {
        SCOPED_TRACE(round);
        constexpr std::size_t kSize = 10'000'000;
        std::vector<BinaryObject*> results;
        std::vector<const char*> addresses;
        for (int i = 0; i < 40; ++i) {
            results.push_back(runtime.keepResult(spoolOf(std::string(kSize, static_cast<char>('A' + i)))));
            addresses.push_back(results.back()->bytes().data());
        }
        EXPECT_EQ(runtime.keepResult(Spool())->bytes(), "");
        for (std::size_t i = 0; i < results.size(); ++i) {
            EXPECT_EQ(results[i]->bytes().data(), addresses[i]);
            EXPECT_EQ(results[i]->bytes(), std::string(kSize, static_cast<char>('A' + i)));
        }
        runtime.dropResults();
    }
}

}  // namespace
}  // namespace qbsvrl6
