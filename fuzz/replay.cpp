// Runs a fuzz target over its seeds, each of them complete and truncated: at every byte, or at some bytes of
// a long one.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(FuzzSeeds, Replay) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QBSVR_FUZZ_SEEDS)) {
        SCOPED_TRACE(entry.path());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string seed(std::istreambuf_iterator<char>(file), {});
        const std::size_t step = 1 + seed.size() / 512;
        for (std::size_t left = 0; left <= seed.size(); left += step) {
            const std::size_t size = seed.size() - left;
            const std::string input = seed.substr(0, size);  // an exact copy, so that an overrun is detected
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), size);
        }
        ++count;
    }
    EXPECT_GT(count, 0) << "no seeds in " << QBSVR_FUZZ_SEEDS;
}
