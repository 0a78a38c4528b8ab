#include "qbsvrl6/picture/picture.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "common/base64.h"
#include "qbsvrl6/picture/jpeg.h"
#include "qbsvrl6/picture/png.h"
#include "qbsvrl6/picture/row_reducer.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {
namespace {

std::string big(unsigned value, int bytes) {
    std::string text;
    while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes));
    return text;
}

std::string chunk(const std::string& name, const std::string& content) {
    return big(static_cast<unsigned>(content.size()), 4) + name + content + std::string(4, '\0');
}

std::string png(unsigned width, unsigned height, const std::string& between = {}) {
    return "\x89PNG\r\n\x1A\n" +
           chunk("IHDR", big(width, 4) + big(height, 4) + std::string("\x08\x02\0\0\0", 5)) +
           std::string(4, '\0') + between;
}

std::string segment(int code, const std::string& content) {
    return std::string("\xFF") + static_cast<char>(code) + big(static_cast<unsigned>(content.size() + 2), 2) +
           content;
}

std::string frame(int code, unsigned width, unsigned height, int channels, int bits = 8) {
    return segment(code, big(static_cast<unsigned>(bits), 1) + big(height, 2) + big(width, 2) +
                             big(static_cast<unsigned>(channels), 1) + std::string(9, '\x11'));
}

std::string jpeg(const std::string& segments) { return "\xFF\xD8" + segments; }

TEST(Picture, HeadsAreRead) {
    const auto jfif = [](const char* unit) {
        return std::string("JFIF\0\1\1", 7) + unit + big(200, 2) + big(200, 2) + std::string(2, '\0');
    };
    const std::string exif(40, '\xC0');
    struct Case {
        const char* name;
        std::string bytes;
        int width, height, channels;
        double dotsPerInch;
        bool inverted = false;
    };
    const Case cases[] = {
        {"PNG", png(640, 480), 640, 480, 3, 96},
        {"JPEG", jpeg(frame(0xC0, 640, 480, 3)), 640, 480, 3, 96},
        {"JPEG after other segments",
         jpeg(segment(0xE0, jfif("\1")) + segment(0xE1, exif) + "\xFF" + frame(0xC2, 3, 2, 1)), 3, 2, 1, 200},
        {"JPEG with dots per centimetre", jpeg(segment(0xE0, jfif("\2")) + frame(0xC0, 3, 2, 1)), 3, 2, 1,
         508},
        {"JPEG in four colours", jpeg(segment(0xEE, "Adobe") + frame(0xC1, 3, 2, 4)), 3, 2, 4, 96, true},
        {"JPEG in three, by the same program", jpeg(segment(0xEE, "Adobe") + frame(0xC1, 3, 2, 3)), 3, 2, 3,
         96},
        {"JPEG in four colours as they are", jpeg(frame(0xC1, 3, 2, 4)), 3, 2, 4, 96},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto picture = loadPicture(c.bytes, "x");
        EXPECT_EQ(picture->pixelWidth, c.width);
        EXPECT_EQ(picture->pixelHeight, c.height);
        EXPECT_EQ(picture->channels, c.channels);
        EXPECT_NEAR(picture->dotsPerInch, c.dotsPerInch, 0.01);
        EXPECT_EQ(picture->inverted, c.inverted);
        EXPECT_EQ(picture->bytes, c.bytes);
        EXPECT_EQ(picture->id, loadPicture(c.bytes, "y")->id);
        EXPECT_NE(picture->id, loadPicture(c.bytes + "x", "y")->id);
    }
}

TEST(Picture, ResolutionOfAPngIsThatOfItsFile) {
    std::string file = png(10, 10);
    file.resize(33);
    file += chunk("pHYs", big(11811, 4) + big(11811, 4) + "\1");
    EXPECT_NEAR(loadPicture(file, "x")->dotsPerInch, 300, 0.1);
}

// Of the pixels in the corners of the file, 0 1 above 2 3, those that are shown above, left and right.
TEST(Picture, PhotographsAreTurnedUpright) {
    constexpr int kShown[][2] = {{0, 1}, {0, 1}, {1, 0}, {3, 2}, {2, 3},
                                 {0, 2}, {2, 0}, {3, 1}, {1, 3}, {0, 1}};
    constexpr int kStep = 80;
    Pixels corners{32, 16, 1, {}, {}};
    for (int y = 0; y < corners.height; ++y) {
        for (int x = 0; x < corners.width; ++x) {
            corners.color.push_back(static_cast<std::uint8_t>(kStep * ((x < 16 ? 0 : 1) + (y < 8 ? 0 : 2))));
        }
    }
    const std::string plain = encodeUpright(corners, 1);
    const auto turned = [&](std::string tiff) {
        return plain.substr(0, 20) + segment(0xE1, std::string("Exif\0\0", 6) + std::move(tiff)) +
               segment(0xE2, "ICC_PROFILE colours") + plain.substr(20);
    };
    for (int orientation = 0; orientation <= 9; ++orientation) {
        SCOPED_TRACE(orientation);
        const char value = static_cast<char>(orientation);
        const std::string big =
            std::string("MM\0*\0\0\0\x8\0\1\1\x12\0\3\0\0\0\1\0", 19) + value + std::string(2, '\0');
        const std::string little =
            std::string("II*\0\x8\0\0\0\1\0\x12\1\3\0\1\0\0\0", 18) + value + std::string(3, '\0');
        for (const std::string& tiff : {big, little}) {
            const auto picture = loadPicture(turned(tiff), "x");
            const bool isTurned = orientation >= 5 && orientation <= 8;
            ASSERT_EQ(picture->pixelWidth, isTurned ? 16 : 32);
            ASSERT_EQ(picture->pixelHeight, isTurned ? 32 : 16);
            const Pixels shown = decodePicture(*picture);
            ASSERT_EQ(shown.width, picture->pixelWidth);
            EXPECT_NEAR(shown.color.front(), kShown[orientation][0] * kStep, 3);
            EXPECT_NEAR(shown.color[static_cast<std::size_t>(shown.width) - 1],
                        kShown[orientation][1] * kStep, 3);
            EXPECT_NE(picture->bytes.find("ICC_PROFILE colours"), std::string::npos);
            EXPECT_EQ(loadPicture(picture->bytes, "x")->bytes, picture->bytes) << "turned again";
        }
        for (std::size_t length = 0; length < little.size(); ++length)
            loadPicture(turned(little.substr(0, length)), "x");
    }
    const std::string damaged =
        turned(std::string("II*\0\x8\0\0\0\1\0\x12\1\3\0\1\0\0\0\6\0\0\0", 22)).substr(0, 120);
    EXPECT_THROW(loadPicture(damaged, "x"), EngineError);
}

TEST(Picture, OthersAreRefused) {
    struct Case {
        const char* name;
        std::string bytes;
        ErrorCode expected;
    };
    const Case cases[] = {
        {"empty", "", ErrorCode::BadPicture},
        {"a text", "no picture", ErrorCode::BadPicture},
        {"PNG without size", png(0, 480), ErrorCode::BadPicture},
        {"PNG cut short", png(640, 480).substr(0, 20), ErrorCode::BadPicture},
        {"PNG bomb", png(100'000, 100'000), ErrorCode::LimitExceeded},
        {"PNG with the largest numbers", png(0xFFFFFFFF, 0xFFFFFFFF), ErrorCode::LimitExceeded},
        {"JPEG bomb", jpeg(frame(0xC0, 65535, 65535, 3)), ErrorCode::LimitExceeded},
        {"JPEG without frame", jpeg(segment(0xDA, "abc") + frame(0xC0, 6, 4, 3)), ErrorCode::BadPicture},
        {"lossless JPEG", jpeg(frame(0xC3, 6, 4, 3) + frame(0xC0, 6, 4, 3)), ErrorCode::BadPicture},
        {"JPEG of twelve bits", jpeg(frame(0xC1, 6, 4, 3, 12)), ErrorCode::BadPicture},
        {"JPEG of two channels", jpeg(frame(0xC0, 6, 4, 2)), ErrorCode::BadPicture},
        {"too many bytes", std::string(limits::kPictureBytes + 1, 'x'), ErrorCode::LimitExceeded},
    };
    for (const Case& c : cases) {
        try {
            loadPicture(c.bytes, "logo.png");
            ADD_FAILURE() << c.name;
        } catch (const EngineError& error) {
            EXPECT_EQ(error.code(), c.expected) << c.name;
            EXPECT_NE(std::string(error.what()).find("logo.png"), std::string::npos) << c.name;
        }
    }
    const std::string whole = jpeg(segment(0xE0, std::string(20, 'x')) + frame(0xC0, 6, 4, 3));
    for (std::size_t length = 0; length + 10 < whole.size(); ++length) {
        EXPECT_THROW(loadPicture(whole.substr(0, length), "x"), EngineError) << length;
    }
    std::string scans = jpeg(frame(0xC2, 6, 4, 1));
    for (int i = 0; i < 100; ++i) scans += segment(0xDA, std::string("\1\1\0\0\x3F\0", 6));
    for (const auto& [bytes, expected] :
         {std::pair(scans, ErrorCode::BadPicture),
          std::pair(scans + segment(0xDA, "\1"), ErrorCode::BudgetExceeded)}) {
        try {
            decodeJpeg(bytes, false);
            ADD_FAILURE() << "no tables";
        } catch (const EngineError& error) {
            EXPECT_EQ(error.code(), expected) << error.what();
        }
    }
}

// Five rows of five: the first pixel is 0, each further one lighter by 10.
TEST(Picture, InterlacedRowsAreInTheirPlaces) {
    const std::string text =
        "iVBORw0KGgoAAAANSUhEUgAAAAUAAAAFCAAAAAHfA0mvAAAALUlEQVR42mNgYNBgOPGBQYThDkNKRQ8D"
        "lxxDXhPDpWcMRjZuAVEM0xas2rIPALFyC7laww12AAAAAElFTkSuQmCC";
    larkspur::ClkMemory bytes;
    ASSERT_TRUE(larkspur::Base64_Decode(text.data(), static_cast<int>(text.size()), bytes));
    const std::string file(static_cast<const char*>(bytes.Data()), static_cast<std::size_t>(bytes.Size()));
    const Pixels pixels = decodePng(file);
    ASSERT_EQ(pixels.color.size(), 25u);
    for (std::size_t i = 0; i < 25; ++i) EXPECT_EQ(pixels.color[i], 10 * i) << i;
    std::string damaged = file;
    damaged[45] = static_cast<char>(damaged[45] ^ 1);
    try {
        decodePng(damaged);
        ADD_FAILURE() << "damaged";
    } catch (const EngineError& error) {
        EXPECT_NE(std::string(error.what()).find("IDAT"), std::string::npos) << error.what();
    }
}

// Reduces blocks of two by two pixels, with single ones at the end of each row and column: grey and alpha.
TEST(Picture, ReducedPixelsAreMeansByAlpha) {
    RowReducer reducer(3, 3, 2, 2);
    for (const std::vector<std::uint8_t>& row : {std::vector<std::uint8_t>{100, 255, 200, 255, 7, 0},
                                                 {0, 0, 100, 255, 9, 100},
                                                 {50, 10, 60, 30, 4, 255}}) {
        reducer.add(row.data());
    }
    const Pixels pixels = reducer.take();
    EXPECT_EQ(pixels.width * 10 + pixels.height, 22);
    EXPECT_EQ(pixels.color, (std::vector<std::uint8_t>{133, 9, 58, 4}));
    EXPECT_EQ(pixels.alpha, (std::vector<std::uint8_t>{191, 50, 20, 255}));
}

}  // namespace
}  // namespace qbsvrl6
