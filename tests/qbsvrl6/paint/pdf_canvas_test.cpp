#include "qbsvrl6/paint/pdf/pdf_canvas.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <limits>

#include "qbsvrl6/paint/band_painter.h"
#include "tests/qbsvrl6/paint/handmade.h"

namespace qbsvrl6 {
namespace {

// A page of 10 x 10 cm on which 1 mm is 283 units; text codes are those of a TrueType font, counted from 1.
constexpr Micrometres kPage = 100'000;

std::string drawn(const std::function<void(Canvas&)>& draw) {
    Spool output;
    PdfFile file(output);
    PdfFonts fonts({});
    PdfPictures pictures(file, PdfStandard::None);
    PdfCanvas canvas(fonts, pictures);
    canvas.begin(kPage);
    draw(canvas);
    std::string content(canvas.end());
    const std::string head = "q .01 0 0 .01 0 0 cm\n";
    EXPECT_TRUE(content.starts_with(head) && content.ends_with("Q")) << content;
    content = content.substr(head.size(), content.size() - head.size() - 1);
    for (char& c : content) {
        if (c < '\n') c = static_cast<char>('0' + c);  // codes as digits
    }
    return content;
}

void write(Canvas& canvas, std::u16string_view text, Point origin, Direction direction = {},
           bool bold = false, bool italic = false, float wordSpacing = 0, float letterSpacing = 0,
           Color color = {}) {
    const char16_t* family = bold || italic ? u"WenQuanYi Micro Hei" : u"Liberation Mono";
    const ShapedTextPtr shaped = shape(resolveFont(family, bold, italic), text);
    canvas.text({*shaped, text, origin, direction, 10, color, wordSpacing, letterSpacing});
}

TEST(PdfCanvas, DrawsInFewOperators) {
    const Color red{255, 0, 0};
    const BorderLine thin{100, {}};
    const Border leftOnly{{117, red}, {}, {}, {}};
    struct Case {
        const char* name;
        std::function<void(Canvas&)> draw;
        const char* expected;
    };
    const Case cases[] = {
        {"nothing", [](Canvas&) {}, ""},
        {"shapes in front of texts of another colour",
         [&](Canvas& c) {
             write(c, u"a", {0, 10'000}, {}, true, false, 0, 0, red);
             c.nextLayer();
             c.fill({0, 0, 10'000, 5'000}, {});
             c.border({0, 0, 10'000, 5'000}, leftOnly);
         },
         "BT\n/F1 1000 Tf\n1 0 0 rg\n2 Tr\n1 0 0 RG\n33 w\n0 25511 Td(01)Tj\nET\n"
         "q\n0 g\n0 26929 2835 1417 re f\n2 J\n0 26929 m 0 28346 l\nS\nQ\n"},
        {"a fill",
         [&](Canvas& c) {
             c.fill({0, 0, 10'000, 5'000}, red);
         },
         "q\n1 0 0 rg\n0 26929 2835 1417 re f\nQ\n"},
        {"fills of one colour side by side are one",
         [&](Canvas& c) {
             c.fill({0, 0, 10'000, 5'000}, red);
             c.fill({10'000, 0, 10'000, 5'000}, red);
             c.fill({0, 5'000, 10'000, 5'000}, red);
         },
         "q\n1 0 0 rg\n0 26929 5669 1417 re f\n0 25511 2835 1418 re f\nQ\n"},
        {"borders of a table's cells are one line a row and a column",
         [&](Canvas& c) {
             for (int row = 0; row < 3; ++row) {
                 for (int column = 0; column < 2; ++column) {
                     c.border({column * 10'000, row * 5'000, 10'000, 5'000}, {thin, thin, thin, thin});
                 }
             }
         },
         "q\n2 J\n28 w\n0 28346 m 5669 28346 l\n0 26929 m 5669 26929 l\n0 25511 m 5669 25511 l\n"
         "0 24094 m 5669 24094 l\n0 24094 m 0 28346 l\n2835 24094 m 2835 28346 l\n5669 24094 m 5669 28346 "
         "l\nS\nQ\n"},
        {"texts share one text object and are painted on top of the shapes",
         [&](Canvas& c) {
             write(c, u"ab", {10'000, 10'000});
             write(c, u"ba", {20'000, 10'000});
             c.fill({0, 0, 10'000, 5'000}, {});
         },
         "q\n0 26929 2835 1417 re f\nQ\nBT\n/F1 1000 Tf\n2835 25511 Td(0102)Tj\n2834 0 Td(0201)Tj\nET\n"},
        {"a new layer covers",
         [&](Canvas& c) {
             write(c, u"a", {0, 10'000});
             c.nextLayer();
             c.fill({0, 0, 10'000, 5'000}, {});
         },
         "BT\n/F1 1000 Tf\n0 25511 Td(01)Tj\nET\nq\n0 26929 2835 1417 re f\nQ\n"},
        {"a clipped text",
         [&](Canvas& c) {
             write(c, u"a", {0, 10'000});
             c.beginClip({0, 0, 10'000, 10'000});
             write(c, u"a", {0, 10'000});
             write(c, u"b", {0, 20'000});
             c.endClip();
             write(c, u"b", {0, 10'000});
         },
         "BT\n/F1 1000 Tf\n0 25511 Td(01)Tj\nET q 0 25511 2835 2835 re W n\nBT\n0 25511 Td(01)Tj\n0 -2834 "
         "Td(02)Tj\n"
         "ET Q BT\n0 25511 Td(02)Tj\nET\n"},
        {"a turned text, then a horizontal one",
         [&](Canvas& c) {
             write(c, u"a", {10'000, 10'000}, {0, 1});
             write(c, u"a", {10'000, 10'000});
         },
         "BT\n/F1 1000 Tf\n0 -1 1 0 2835 25511 Tm(01)Tj\n1 0 0 1 2835 25511 Tm(01)Tj\nET\n"},
        {"made bold and italic",
         [&](Canvas& c) {
             write(c, u"a", {0, 10'000}, {}, true, true);
         },
         "BT\n/F1 1000 Tf\n2 Tr\n33 w\n1 0 .2126 1 0 25511 Tm(01)Tj\nET\n"},
        {"justified by blanks",
         [&](Canvas& c) {
             write(c, u"a b", {0, 10'000}, {}, false, false, 250);
         },
         "BT\n/F1 1000 Tf\n0 25511 Td[(0102)-250(03)]TJ\nET\n"},
        {"justified by characters",
         [&](Canvas& c) {
             write(c, u"ab", {0, 10'000}, {}, false, false, 0, 50);
             write(c, u"a", {0, 10'000});
         },
         "BT\n/F1 1000 Tf\n50 Tc\n0 25511 Td(0102)Tj\n0 Tc\n0 0 Td(01)Tj\nET\n"},
        {"a transparent path",
         [&](Canvas& c) {
             Drawing::Path path{"MLZ", {{0, 0}, {10'000, 0}}, red, std::nullopt, 0, 0.4};
             c.path(path, {0, 10'000});
         },
         "q\nq/G40 gs\n1 0 0 rg\n0 25511 m\n2835 25511 l\nh\nf\nQ\nQ\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(drawn(c.draw), c.expected) << c.name;
}

TEST(PdfCanvas, OddInputStaysDefined) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double huge = std::numeric_limits<double>::max();
    const std::string content = drawn([&](Canvas& c) {
        write(c, u"", {0, 0});
        write(c, u"a", {nan, huge});
        c.path({"MLCZX", {{nan, huge}, {-huge, 0}}, Color{}, Color{}, nan, nan}, {0, 0});
        c.border({INT_MAX, 0, -5, INT_MIN}, {{100, {}}, {}, {}, {100, {}}});
        c.box({0, 0, -5, -5}, {{250, {}}, Color{}, 1'000});
        c.bar({0, 0}, {nan, nan}, 10, 10, {});
        const ShapedTextPtr shaped = shape(resolveFont(u"Arial", false, false), u"abc");
        c.text({*shaped, u"a", {0, 0}, {}, 10, {}});  // less text than the glyphs represent
        c.text({*shaped, u"abc", {0, 0}, {}, nan, {}});
        c.text({*shaped, u"abc", {0, 0}, {}, 10, {}, 0, std::numeric_limits<float>::infinity()});
    });
    EXPECT_EQ(content.find("nan"), std::string::npos);
    EXPECT_EQ(content.find("inf"), std::string::npos);
}

TEST(BandPainter, CoveringItemsAreDrawnOverEarlierTexts) {
    const ResolvedStyle style = handmade::style(u"Liberation Mono");
    const Rect place{0, 0, 50'000, 10'000};
    const Rect beside{50'000, 0, 50'000, 10'000};
    const auto layers = [&](const Rect& box, int column) {
        Band band = handmade::band(10'000);
        band.items.push_back(handmade::text(place, u"a", style, column));
        Item cover = handmade::other(box, BoxItem{{{}, Color{}, 0}});
        cover.column = column;
        band.items.push_back(std::move(cover));
        const std::string content = drawn([&](Canvas& c) {
            std::vector<PendingItem> pending;
            paintBand(c, std::move(band), 0, 0, pending);
        });
        return content.find("BT") < content.find("re") ? "text first" : "shape first";
    };
    EXPECT_STREQ(layers(place, -1), "text first");
    EXPECT_STREQ(layers(beside, -1), "shape first");
    EXPECT_STREQ(layers(place, 3), "shape first");  // cells never overlap
}

}  // namespace
}  // namespace qbsvrl6
