#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {
namespace {

// Sixteen threads with different fonts meet at the library's first use and shape 1,500 different ideographs.
TEST(FontThreads, ResolveAndShapeAtOnce) {
    const std::u16string families[] = {u"SimSun", u"黑体",    u"Arial",   u"Times New Roman",
                                       u"楷体",   u"Verdana", u"No such", u"Courier New"};
    constexpr int kThreads = 16;
    std::vector<float> widths(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const FontSet& fonts = resolveFont(families[t % 8], t % 3 == 0, t % 2 == 0);
            float& width = widths[static_cast<std::size_t>(t)];
            for (int i = 0; i < 1500; ++i) {
                const std::u16string text{static_cast<char16_t>(0x4E00 + i), u'f', u'i', u'é',
                                          static_cast<char16_t>(u'A' + i % 26)};
                width += shape(fonts, text)->width;
                if (i % 50 == 0) width += static_cast<float>(breakLines(fonts, 9, text, 5000).size());
                if (fonts.memberFor(0xE000 + static_cast<char32_t>(i % 7)).face == nullptr) width = -1e9f;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const float width : widths) EXPECT_GT(width, 1500 * 1000);
}

}  // namespace
}  // namespace qbsvrl6
