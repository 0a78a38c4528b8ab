#include <gtest/gtest.h>

#include <thread>

#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

// Exports share nothing but fonts and the log: each thread's pages are those of a single one.
TEST(LayoutThreads, GiveTheSamePages) {
    const std::string elements =
        "<Styles><Style name='s' color='#ff0000'/></Styles>"
        "<PageFooter height='5mm'><Text width='60mm' height='5mm' text='[PageNumber]/[PageCount] "
        "[Nowhere]'/></PageFooter>"
        "<Grid rowHeight='6mm'><Columns><Column name='A' width='30mm'><Content text='[n:$$]' "
        "font='SimSun'><When "
        "test='Mod(n, 2) = 0' style='s'/></Content></Column><Column name='B' width='30mm'>"
        "<Content text='[Date(2024, 1, n):yyyy年MM月dd日] [Sum(n, "
        "Running):#,##0.00]'/></Column></Columns></Grid>";
    const std::string rows = numberedRows(200);
    const std::string expected = layOutText(elements, rows).everything();
    std::vector<std::string> results(8);
    std::vector<std::thread> threads;
    for (std::string& result : results) {
        threads.emplace_back([&] { result = layOutText(elements, rows).everything(); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& result : results) EXPECT_EQ(result, expected);
}

}  // namespace
}  // namespace qbsvrl6
