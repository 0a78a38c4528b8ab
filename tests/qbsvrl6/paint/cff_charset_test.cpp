#include "qbsvrl6/paint/pdf/cff_charset.h"

#include <gtest/gtest.h>
#include <hb.h>

#include <string>

#include "qbsvrl6/fonts/font_library.h"

namespace qbsvrl6 {
namespace {

// Header, an INDEX of one name, an INDEX of one top dictionary (an operand of each size, a real number, ROS
// and the charset's offset, which is 40), padding, the charset.
std::string table(const std::string& charset, bool cidKeyed = true) {
    const std::string ros = cidKeyed ? std::string("\x1C\x01\x00\xF7\x00\xFB\x00\x0C\x1E", 9) : std::string();
    const std::string top = ros + std::string("\x1D\0\0\0\x28\x0F\x1E\x12\x3F\x05", 10);
    std::string bytes = std::string("\x01\0\x04\x02", 4) + std::string("\0\1\1\1\2N", 6) +
                        std::string("\0\1\1\1", 4) + static_cast<char>(top.size() + 1) + top;
    bytes.resize(40);
    return bytes + charset;
}

TEST(CffCharset, FormatsAreRead) {
    struct Case {
        const char* name;
        std::string bytes;
        std::uint32_t cids[5];  // of the glyphs 0 to 4
    };
    const Case cases[] = {
        {"one by one", table(std::string("\0\0\5\1\0\0\7\0\1", 9)), {0, 5, 256, 7, 1}},
        {"short ranges", table(std::string("\1\0\5\1\1\0\1", 7)), {0, 5, 6, 256, 257}},
        {"long ranges", table(std::string("\2\0\5\0\1\1\0\0\1", 9)), {0, 5, 6, 256, 257}},
        {"a range beyond the last glyph", table(std::string("\1\0\1\xFF", 4)), {0, 1, 2, 3, 4}},
        {"cut short", table(std::string("\0\0\5", 3)), {0, 5, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        const CffCharset charset = CffCharset::read(c.bytes, 5);
        EXPECT_TRUE(charset.isCidKeyed()) << c.name;
        for (std::uint32_t glyph = 0; glyph < 5; ++glyph) {
            EXPECT_EQ(charset.cidOf(glyph), c.cids[glyph]) << c.name << " " << glyph;
        }
        EXPECT_EQ(charset.cidOf(99), 0u) << c.name;
    }
    const CffCharset named = CffCharset::read(table(std::string("\0\0\5\0\6", 5), false), 3);
    EXPECT_FALSE(named.isCidKeyed());
    EXPECT_EQ(named.cidOf(2), 2u);
}

TEST(CffCharset, AnyBytesAreDefined) {
    const std::string whole = table(std::string("\1\0\5\1\1\0\1", 7));
    for (std::size_t length = 0; length < whole.size(); ++length)
        CffCharset::read(whole.substr(0, length), 5);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char value : {'\0', '\x7F', '\xFF'}) {
            std::string changed = whole;
            changed[at] = value;
            CffCharset::read(changed, 65535).cidOf(65535);
        }
    }
}

}  // namespace
}  // namespace qbsvrl6
