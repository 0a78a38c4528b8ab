// An independent reader, ZXingReader, reads the symbols back from the pixels of the drawing's rectangles.
#include "qbsvrl6/barcode/barcode.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"
#include "tests/scratch_directory.h"

namespace qbsvrl6 {
namespace {

constexpr double kPixel = 100;  // micrometres

// A grey picture, as a PGM file, of a drawing that is made of rectangles.
void saveAsPgm(const Drawing& drawing, Size box, const std::string& path) {
    const auto width = static_cast<std::size_t>(box.width / kPixel);
    const auto height = static_cast<std::size_t>(box.height / kPixel);
    std::string pixels(width * height, '\xff');
    for (const auto& element : drawing.elements) {
        const auto* shape = std::get_if<Drawing::Path>(&element);
        if (shape == nullptr) continue;
        for (std::size_t i = 0; i + 4 <= shape->points.size(); i += 4) {
            const auto& from = shape->points[i];
            const auto& to = shape->points[i + 2];
            for (auto y = std::lround(from.y / kPixel); y < std::lround(to.y / kPixel); ++y) {
                for (auto x = std::lround(from.x / kPixel); x < std::lround(to.x / kPixel); ++x) {
                    pixels.at(static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)) = '\0';
                }
            }
        }
    }
    std::ofstream(path, std::ios::binary) << "P5\n" << width << ' ' << height << "\n255\n" << pixels;
}

std::string outputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 512> buffer;
    while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe) != nullptr)
        output += buffer.data();
    if (pipe != nullptr) pclose(pipe);
    return output;
}

// The line "Text: ..." of the reader, which shows identifiers without brackets, and GS (29) after those of
// variable length.
std::string readBack(const BarcodeRequest& request) {
    const Size box = request.type < 50 ? Size{90'000, 25'000} : Size{60'000, 60'000};
    const ScratchDirectory scratch;
    const std::string path = scratch.path / "symbol.pgm";
    saveAsPgm(drawBarcode(request, box), box, path);
    const std::string output = outputOf("ZXingReader " + path + " 2>/dev/null");
    const std::size_t start = output.find("Text:");
    if (start == std::string::npos) return "unreadable: " + output;
    const std::size_t open = output.find('"', start);
    const std::size_t from = open == std::string::npos ? output.find_first_not_of(' ', start + 5) : open + 1;
    const std::size_t end = output.find('\n', start);
    return output.substr(from, (open == std::string::npos ? end : output.rfind('"', end)) - from);
}

TEST(Barcode, IsReadBack) {
    if (outputOf("command -v ZXingReader").empty()) GTEST_SKIP() << "no ZXingReader";
    const struct {
        int type;
        std::u16string text;
        std::string expected;
    } cases[] = {
        {1, u"123456", "123456"},
        {2, u"690123456789", "6901234567892"},
        {3, u"1234567", "12345670"},
        {3, u"12345670", "12345670"},
        {4, u"01234567890", "012345678905"},
        {5, u"ABC-123", "ABC-123"},
        {6, u"Code93", "Code93"},
        {7, u"1540014128876", "15400141288763"},
        {8, u"A12345B", "12345"},
        {9, u"Hello, World!", "Hello, World!"},
        {25, u"190419", "190419"},
        {25, u"(11)190419", "11190419"},
        {25, u"(01)26932992101633(11)190419(17)220410(91)09A(21)0001",
         "012693299210163311190419172204109109A\x1D"
         "210001"},
        {50, u"可用于C/S报表与WEB报表", "可用于C/S报表与WEB报表"},
        {51, u"the best report tools,(2003-2010)", "the best report tools,(2003-2010)"},
        {52, u"共享相同的开发知识与资源", "共享相同的开发知识与资源"},
        {53, u"(01)03453120000011(17)120508(10)ABCD1234(410)9501101020917",
         "01034531200000111712050810ABCD1234\x1D"
         "4109501101020917"},
        {54, u"(01)03453120000011(17)120508(10)ABCD1234(410)9501101020917",
         "01034531200000111712050810ABCD1234\x1D"
         "4109501101020917"},
        {55, u"Aztec 阿兹特克", "Aztec 阿兹特克"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(readBack({test.type, test.text, true}), test.expected)
            << test.type << ' ' << toUtf8(test.text);
    }
}

TEST(Barcode, TextBelowTheBarsHasTheirWidthOrLess) {
    const struct {
        std::u16string text;
        Micrometres width;
        double least, most;  // points
    } cases[] = {{u"1234", 40'000, 8, 8},
                 {u"WWWWWWWWWWWWWWWW", 30'000, 5, 7},
                 {std::u16string(60, u'W'), 9'000, 4, 4}};
    for (const auto& test : cases) {
        const Drawing drawing = drawBarcode({9, test.text, true}, {test.width, 15'000});
        const auto& label = std::get<Drawing::Label>(drawing.elements.back());
        EXPECT_GE(label.fontSize, test.least) << toUtf8(test.text);
        EXPECT_LE(label.fontSize, test.most) << toUtf8(test.text);
        const Micrometres width = lineWidth(resolveFont(u"Arial", false, false), label.fontSize, label.text);
        EXPECT_TRUE(width <= test.width + 1 || label.fontSize == 4) << toUtf8(test.text) << ' ' << width;
    }
}

TEST(Barcode, IsInTheMiddleOfTheBox) {
    const Drawing drawing = drawBarcode({9, u"1234", false}, {40'000, 15'000});
    double left = 1e9, right = 0;
    for (const auto& point : std::get<Drawing::Path>(drawing.elements.front()).points) {
        left = std::min(left, static_cast<double>(point.x));
        right = std::max(right, static_cast<double>(point.x));
    }
    EXPECT_NEAR(left, 40'000 - right, 1);
    EXPECT_GT(right - left, 25'000);
}

TEST(Barcode, RefusesWhatTheSymbolCantHold) {
    const struct {
        int type;
        std::u16string text;
    } cases[] = {
        {3, u"12345671"},
        {0, u"1"},
        {999, u"1"},
        {1, u"12a"},
        {1, u""},
        {2, u"123"},
        {5, u"中"},
        {25, u"(99999)"},
        {53, u"11"},
        {25, u"(11)中"},
        {52, std::u16string(20'000, u'中')},
    };
    for (const auto& test : cases) {
        EXPECT_THROW(drawBarcode({test.type, test.text, true}, {50'000, 20'000}), EngineError)
            << test.type << ' ' << toUtf8(test.text.substr(0, 20));
    }
}

}  // namespace
}  // namespace qbsvrl6
