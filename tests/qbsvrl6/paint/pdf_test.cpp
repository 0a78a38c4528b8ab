#include "qbsvrl6/paint/pdf/pdf.h"

#include <gtest/gtest.h>
#include <png.h>

#include <sstream>

#include "qbsvrl6/support/utf.h"
#include "tests/qbsvrl6/paint/handmade.h"
#include "tests/qbsvrl6/paint/programs.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

using handmade::kPaper;
using programs::TemporaryFile;

struct Document {
    PdfOptions options;
    std::u16string settled = u"settled";
    std::vector<std::vector<Band>> pages;
};

std::string write(Document document) {
    Spool output;
    const auto writer = makePdfWriter(document.options, output);
    int number = 0;
    for (std::vector<Band>& page : document.pages) {
        writer->beginPage({++number, kPaper, {}});
        Micrometres y = 10'000;
        for (Band& band : page) {
            const Micrometres height = band.height;
            writer->band(std::move(band), 0, y);
            y += height;
        }
        writer->endPage();
    }
    handmade::SettleTo settle(document.settled);
    writer->finish(settle);
    return output.take();
}

Band bandOf(Item item, Micrometres height = 10'000) {
    Band band = handmade::band(height);
    band.items.push_back(std::move(item));
    return band;
}

std::string checked(const TemporaryFile& file) {
    const programs::Outcome outcome = programs::run("qpdf --check " + file.path());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    return outcome.output;
}

std::string textOf(const TemporaryFile& file, const std::string& options = "") {
    std::string text = programs::run("pdftotext -nopgbrk " + options + " " + file.path() + " -").output;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

// The document's objects as plain text.
std::string plain(const TemporaryFile& file) {
    return programs::run("qpdf --qdf --object-streams=disable --no-original-object-ids " + file.path() + " -")
        .output;
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

TEST(Pdf, TextReadsAsItWasWritten) {
    struct Case {
        const char* name;
        const char16_t* family;
        const char16_t* text;
        const char16_t* expected;  // null: the same
    };
    const Case cases[] = {
        {"Chinese and Latin", u"SimSun", u"客户名称 Customer（甲方）：￥1,234.50", nullptr},
        {"by two fonts", u"Arial", u"Invoice 发票 No. 2024-03", nullptr},
        {"ligatures", u"Times New Roman", u"office first flat", nullptr},
        {"beyond the BMP", u"SimSun", u"\U00020BB7野家", nullptr},
        {"a decomposed letter", u"Arial", u"Cafe\u0301", nullptr},
        {"dashes that join", u"SimSun", u"甲——乙……", nullptr},
        {"a fixed blank beside a blank", u"Arial", u"one two\u00A0three", u"one two three"},
        {"one glyph for two characters", u"SimSun", u"一月\u2F00号，\u4E00", nullptr},
        {"brackets and backslashes in codes", u"SimHei", u"()\\<>[]{}%/#\"'&", nullptr},
        {"TrueType Chinese, made bold", u"WenQuanYi Micro Hei", u"文泉驿 123", nullptr},
        {"kerned", u"Arial", u"AVATAR To. Yes", nullptr},
    };
    ResolvedStyle styles[std::size(cases)];
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        styles[i] = handmade::style(cases[i].family, 12);
        styles[i].bold = i == 9;
        Document document;
        document.pages.emplace_back();
        document.pages.back().push_back(
            bandOf(handmade::text({10'000, 0, 190'000, 10'000}, cases[i].text, styles[i])));
        const TemporaryFile file("a.pdf", write(std::move(document)));
        checked(file);
        const std::u16string expected = cases[i].expected != nullptr ? cases[i].expected : cases[i].text;
        EXPECT_EQ(textOf(file), toUtf8(expected)) << cases[i].name;
        const std::string fonts = programs::run("pdffonts " + file.path()).output;
        EXPECT_EQ(countOf(fonts, "yes yes yes"), countOf(fonts, "\n") - 2) << cases[i].name << "\n" << fonts;
    }
}

TEST(Pdf, InvisibleCharactersLeaveTheBlankItsCode) {
    const ResolvedStyle style = handmade::style(u"Arial");
    Document document;
    document.pages.emplace_back();
    for (const char16_t* text : {u"soft\u00ADhyphen", u"one two", u"three four"}) {
        document.pages.back().push_back(bandOf(handmade::text({10'000, 0, 190'000, 10'000}, text, style)));
    }
    const TemporaryFile file("a.pdf", write(std::move(document)));
    EXPECT_EQ(countOf(plain(file), "/ActualText"), 1u);
    EXPECT_NE(textOf(file).find("one two"), std::string::npos);
}

Document table(int rows, const ResolvedStyle& style) {
    Document document;
    for (int row = 0; row < rows; ++row) {
        if (row % 40 == 0) document.pages.emplace_back();
        Band band = handmade::band(6'000);
        for (int column = 0; column < 3; ++column) {
            const std::string content =
                std::string(column == 1 ? "名称" : "v") + std::to_string(row) + "." + std::to_string(column);
            band.items.push_back(handmade::text({10'000 + column * 50'000, 0, 50'000, 6'000},
                                                toUtf16(content), style, column));
        }
        document.pages.back().push_back(std::move(band));
    }
    return document;
}

TEST(Pdf, PagesHangOnATree) {
    const ResolvedStyle style = handmade::style();
    for (const int pages : {0, 1, 64, 65, 200}) {  // a document without pages gets an empty one
        const TemporaryFile file("a.pdf", write(table(pages * 40, style)));
        checked(file);
        const std::string info = programs::run("pdfinfo " + file.path()).output;
        EXPECT_TRUE(info.find("Pages:           " + std::to_string(std::max(pages, 1)) + "\n") !=
                    std::string::npos)
            << pages << "\n"
            << info;
    }
    EXPECT_EQ(textOf(TemporaryFile("a.pdf", write(table(200 * 40, style))), "-f 200 -l 200").substr(0, 7),
              "v7960.0");
}

TEST(Pdf, WholeFontsAreEmbeddedOnRequest) {
    const ResolvedStyle style = handmade::style(u"Arial");
    Document document;
    document.options.embedWholeFonts = true;
    document.pages.emplace_back();
    document.pages.back().push_back(bandOf(handmade::text({10'000, 0, 100'000, 10'000}, u"Whole", style)));
    const std::string bytes = write(std::move(document));
    EXPECT_GT(bytes.size(), 70'000u);
    const TemporaryFile file("a.pdf", bytes);
    checked(file);
    EXPECT_EQ(textOf(file), "Whole");
    EXPECT_NE(programs::run("pdffonts " + file.path()).output.find("yes no  yes"), std::string::npos);
}

std::string makePng(png_uint_32 format, std::uint8_t alpha) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = 8;
    image.height = 4;
    image.format = format;
    std::vector<std::uint8_t> pixels(8 * 4 * PNG_IMAGE_PIXEL_SIZE(format));
    std::vector<std::uint8_t> colors(256 * PNG_IMAGE_PIXEL_SIZE(format), 0x80);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const bool isAlpha = (format & PNG_FORMAT_FLAG_ALPHA) != 0 &&
                             i % PNG_IMAGE_PIXEL_CHANNELS(format) + 1 == PNG_IMAGE_PIXEL_CHANNELS(format);
        pixels[i] = isAlpha ? alpha : static_cast<std::uint8_t>(i * 7 % 50);
    }
    image.colormap_entries = 50;
    png_alloc_size_t size = 0;
    png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), 0, colors.data());
    std::string bytes(size, '\0');
    png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, colors.data());
    bytes.resize(size);
    return bytes;
}

TEST(Pdf, PicturesKeepTheirKind) {
    struct Case {
        const char* name;
        std::string bytes;
        const char* image;  // as pdfimages lists it: colour, components, bits, encoding
        bool mask;
        PdfStandard standard = PdfStandard::None;
    };
    const std::string photo =
        ReadFile(std::string(QBSVR_SOURCE_DIR) + "/samples/Samples/Data/Picture/Butterfly.jpg");
    const Case cases[] = {
        {"JPEG", photo, "rgb     3   8  jpeg", false},
        {"JPEG in four colours", ReadFile(QBSVR_SOURCE_DIR "/fuzz/seeds/picture_fuzz/cmyk.jpg"),
         "cmyk    4   8  jpeg", false},
        {"grey PNG", makePng(PNG_FORMAT_GRAY, 0), "gray    1   8  image", false},
        {"colour PNG", makePng(PNG_FORMAT_RGB, 0), "rgb     3   8  image", false},
        {"palette PNG", makePng(PNG_FORMAT_RGB_COLORMAP, 0), "index   1   8  image", false},
        {"deep PNG", makePng(PNG_FORMAT_LINEAR_Y, 0), "gray    1  16  image", false},
        {"transparent PNG", makePng(PNG_FORMAT_RGBA, 100), "rgb     3   8  image", true},
        {"transparent grey PNG", makePng(PNG_FORMAT_GA, 100), "gray    1   8  image", true},
        {"opaque PNG with alpha", makePng(PNG_FORMAT_RGBA, 255), "rgb     3   8  image", false},
        {"four colours where all are sRGB", ReadFile(QBSVR_SOURCE_DIR "/fuzz/seeds/picture_fuzz/cmyk.jpg"),
         "rgb     3   8  image", false, PdfStandard::A2u},
        {"deep in PDF 1.4", makePng(PNG_FORMAT_LINEAR_Y, 0), "gray    1   8  image", false, PdfStandard::A1b},
        {"transparent in PDF 1.4", makePng(PNG_FORMAT_GA, 100), "gray    1   8  image", false,
         PdfStandard::A1b},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Document document;
        document.options.standard = c.standard;
        document.pages.resize(2);
        for (int i = 0; i < 6; ++i) {  // from one file read six times
            document.pages[static_cast<std::size_t>(i) % 2].push_back(bandOf(handmade::other(
                {0, 0, 10'000, 10'000}, PictureItem{loadPicture(c.bytes, "x"), {0, 0, 10'000, 10'000}})));
        }
        const TemporaryFile file("a.pdf", write(std::move(document)));
        checked(file);
        const std::string list = programs::run("pdfimages -list " + file.path()).output;
        EXPECT_NE(list.find(c.image), std::string::npos) << list;
        EXPECT_EQ(list.find("smask") != std::string::npos, c.mask) << list;
        EXPECT_EQ(countOf(plain(file), "/Subtype /Image"), c.mask ? 2u : 1u);
    }
}

TEST(Pdf, BrokenPicturesAreLeftOut) {
    const ResolvedStyle style = handmade::style();
    const std::string whole = makePng(PNG_FORMAT_RGB, 0);
    const std::string transparent = makePng(PNG_FORMAT_RGBA, 9);
    std::string wrong = whole;
    wrong[wrong.size() / 2] = static_cast<char>(wrong[wrong.size() / 2] ^ 0x55);
    for (const std::string& bytes :
         {whole.substr(0, whole.size() / 2), transparent.substr(0, transparent.size() - 20), wrong}) {
        Document document = table(1, style);
        document.pages[0].push_back(bandOf(
            handmade::other({0, 0, 10'000, 10'000}, PictureItem{loadPicture(bytes, "x"), {0, 0, 1, 1}})));
        const TemporaryFile file("a.pdf", write(std::move(document)));
        checked(file);
        EXPECT_EQ(countOf(plain(file), "/Subtype /Image"), 0u);
        EXPECT_NE(textOf(file).find("v0.0"), std::string::npos);
    }
}

}  // namespace
}  // namespace qbsvrl6
