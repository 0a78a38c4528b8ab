#include "qbsvrl6/paint/raster/raster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/picture/png.h"
#include "qbsvrl6/support/error.h"
#include "tests/qbsvrl6/paint/handmade.h"
#include "tests/qbsvrl6/paint/programs.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

// At 254 dots per inch, a millimetre is ten pixels.
constexpr double kResolution = 254;
constexpr Size kSmall{40'000, 20'000};

using Pages = std::vector<std::vector<Item>>;
using MakeWriter = std::unique_ptr<PageSink> (*)(const RasterOptions& options, Spool& output);

void write(PageSink& writer, Pages pages, Size paper = kSmall) {
    int number = 0;
    for (std::vector<Item>& items : pages) {
        Band band = handmade::band(paper.height);
        band.items = std::move(items);
        writer.beginPage({++number, paper, {}});
        writer.band(std::move(band), 0, 0);
        writer.endPage();
    }
    handmade::SettleTo settle(u"settled");
    writer.finish(settle);
}

std::string image(MakeWriter make, Pages pages, bool allInOne = false, double resolution = kResolution) {
    RasterOptions options;
    options.resolution = resolution;
    options.allPagesInOne = allInOne;
    Spool output;
    write(*make(options, output), std::move(pages));
    return output.take();
}

Color at(const Pixels& pixels, int x, int y) {
    const auto index = [](int value) { return static_cast<std::size_t>(value); };
    const std::size_t i = (index(y) * index(pixels.width) + index(x)) * index(pixels.channels);
    const std::size_t step = pixels.channels == 3 ? 1 : 0;
    return {pixels.color[i], pixels.color[i + step], pixels.color[i + 2 * step]};
}

// The smallest rectangle that contains all pixels that are not white.
Rect inked(const Pixels& pixels) {
    int left = pixels.width, top = pixels.height, right = 0, bottom = 0;
    for (int y = 0; y < pixels.height; ++y) {
        for (int x = 0; x < pixels.width; ++x) {
            if (at(pixels, x, y) == Color{255, 255, 255}) continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x + 1);
            bottom = std::max(bottom, y + 1);
        }
    }
    return {left, top, right - left, bottom - top};
}

std::vector<Item> one(Item item) {
    std::vector<Item> items;
    items.push_back(std::move(item));
    return items;
}

TEST(Raster, ShapesFallOnTheirPixels) {
    const Color red{255, 0, 0};
    struct Case {
        const char* name;
        Item item;
        Rect expected;
        bool grey;
    };
    ResolvedStyle bordered = handmade::style();
    bordered.border.left = {300, red};
    const Drawing::Path square{
        "MLLLZ", {{0, 0}, {5'000, 0}, {5'000, 5'000}, {0, 5'000}}, Color{}, std::nullopt, 0, 1};
    const auto drawing = std::make_shared<Drawing>(Drawing{{square}});
    Case cases[] = {
        {"a filled box",
         handmade::other({1'000, 2'000, 3'000, 4'000}, BoxItem{{{}, red, 0}}),
         {10, 20, 30, 40},
         false},
        {"a box's line",
         handmade::other({1'000, 2'000, 3'000, 4'000}, BoxItem{{{200, {}}, std::nullopt, 0}}),
         {9, 19, 32, 42},
         true},
        {"a hair line is a pixel",
         handmade::other({1'000, 2'000, 3'000, 0}, LineItem{{{}, 1, false, false}}),
         {10, 20, 30, 1},
         true},
        {"a border", handmade::text({10'000, 2'000, 5'000, 4'000}, u"", bordered), {99, 19, 3, 43}, false},
        {"a drawing",
         handmade::other({10'000, 5'000, 5'000, 5'000}, DrawingItem{drawing, u""}),
         {100, 50, 50, 50},
         true},
    };
    for (Case& c : cases) {
        Pages pages(1);
        pages[0].push_back(std::move(c.item));
        const Pixels pixels = decodePng(image(makePngWriter, std::move(pages)));
        EXPECT_EQ(pixels.width, 400);
        EXPECT_EQ(pixels.height, 200);
        EXPECT_EQ(pixels.channels, c.grey ? 1 : 3) << c.name;
        const Rect found = inked(pixels);
        EXPECT_EQ(found, c.expected) << c.name << ": " << found.x << " " << found.y << " " << found.width
                                     << " " << found.height;
    }
}

TEST(Raster, TextsStandWhereTheyWereLaidOut) {
    for (const int rotation : {0, 90, 180, 270}) {
        ResolvedStyle style = handmade::style(u"SimHei", 20);  // an em of 7 mm
        style.padding = {};
        style.rotation = rotation;
        const Rect box{10'000, 2'000, 14'200, 14'200};
        const Rect found = inked(decodePng(image(makePngWriter, {one(handmade::text(box, u"口口", style))})));
        const bool along = rotation % 180 == 0;
        const int length = along ? found.width : found.height;
        const int height = along ? found.height : found.width;
        EXPECT_NEAR(length, 130, 8) << rotation;
        EXPECT_NEAR(height, 58, 8) << rotation;
        // The line is at the top of the rotated box.
        const bool nearTop = rotation == 0 ? found.y < 40 : rotation == 180 ? found.bottom() > 140 : true;
        const bool nearSide = rotation == 90 ? found.right() > 220 : rotation == 270 ? found.x < 120 : true;
        EXPECT_TRUE(nearTop && nearSide) << rotation;
    }
    ResolvedStyle style = handmade::style(u"SimHei", 40);
    style.padding = {};
    const Rect clipped = inked(
        decodePng(image(makePngWriter, {one(handmade::text({5'000, 2'000, 20'000, 4'000}, u"口", style))})));
    EXPECT_LE(clipped.bottom(), 60);
    EXPECT_GT(clipped.height, 0);
}

TEST(Raster, MatchesThePdfOfTheSamePages) {
    ResolvedStyle styles[] = {handmade::style(u"SimSun", 10), handmade::style(u"Arial", 14),
                              handmade::style(u"WenQuanYi Micro Hei", 12)};
    styles[0].border.bottom = {300, {}};
    styles[1].align = HorizontalAlign::Right;
    styles[1].underline = true;
    styles[2].bold = styles[2].italic = true;
    styles[2].background = Color{220, 220, 220};
    const auto pages = [&] {
        Pages made(1);
        for (int row = 0; row < 3; ++row) {
            made[0].push_back(handmade::text({10'000, 10'000 + row * 15'000, 150'000, 12'000},
                                             u"客户名称 Report 1,234.50 AVATAR", styles[row]));
        }
        made[0].push_back(
            handmade::other({20'000, 60'000, 50'000, 30'000}, BoxItem{{{500, {}}, Color{200, 0, 0}, 8'000}}));
        made[0].push_back(handmade::other({80'000, 60'000, 50'000, 30'000}, LineItem{{{}, 800, true, true}}));
        return made;
    };
    constexpr double kDots = 100;
    Spool pdf, png;
    write(*makePdfWriter({}, pdf), pages(), handmade::kPaper);
    RasterOptions options;
    options.resolution = kDots;
    write(*makePngWriter(options, png), pages(), handmade::kPaper);
    const programs::TemporaryFile file("a.pdf", pdf.take());
    const std::string drawn = file.path() + ".png";
    ASSERT_EQ(programs::run("pdftoppm -r 100 -png -singlefile " + file.path() + " " + file.path()).status, 0);
    const Pixels theirs = decodePng(ReadFile(drawn));
    const Pixels ours = decodePng(png.take());
    ASSERT_EQ(ours.width, theirs.width);
    ASSERT_LE(std::abs(ours.height - theirs.height), 1);
    // The two renderers smooth edges differently, so areas of eight by eight pixels are compared.
    constexpr int kArea = 8;
    for (int y = 0; y + kArea < ours.height - 1; y += kArea) {
        for (int x = 0; x + kArea < ours.width; x += kArea) {
            int difference = 0;
            for (int i = 0; i < kArea * kArea; ++i) {
                difference += at(ours, x + i % kArea, y + i / kArea).green -
                              at(theirs, x + i % kArea, y + i / kArea).green;
            }
            ASSERT_LT(std::abs(difference) / (kArea * kArea), 45) << x << " " << y;
        }
    }
}

TEST(Raster, PagesAndResolution) {
    const ResolvedStyle style = handmade::style();
    const auto pages = [&] {
        Pages made(3);
        for (std::size_t i = 0; i < 3; ++i) {
            const auto level = static_cast<std::uint8_t>(40 * (i + 1));
            made[i].push_back(
                handmade::other({0, 0, 10'000, 10'000}, BoxItem{{{}, Color{level, level, level}, 0}}));
        }
        Item late = handmade::text({20'000, 0, 20'000, 10'000}, u"", style);
        std::get<TextItem>(late.content).pending = true;
        made[1].push_back(std::move(late));
        return made;
    };
    const Pixels first = decodePng(image(makePngWriter, pages()));
    EXPECT_EQ(first.height, 200);
    EXPECT_EQ(at(first, 50, 50).red, 40);

    Spool front;
    std::vector<std::string> others;
    RasterOptions aFileAPage;
    aFileAPage.resolution = kResolution;
    aFileAPage.furtherPages = &others;
    write(*makePngWriter(aFileAPage, front), pages());
    ASSERT_EQ(others.size(), 2u);
    EXPECT_EQ(at(decodePng(front.take()), 50, 50).red, 40);
    EXPECT_EQ(at(decodePng(others[0]), 50, 50).red, 80);
    EXPECT_EQ(at(decodePng(others[1]), 50, 50).red, 120);

    const Pixels all = decodePng(image(makePngWriter, pages(), true));
    ASSERT_EQ(all.height, 600);
    for (int page = 0; page < 3; ++page) EXPECT_EQ(at(all, 50, 200 * page + 50).red, 40 * (page + 1));
    const auto darkest = [&](int top) {
        int found = 255;
        for (int y = top; y < top + 100; ++y) {
            for (int x = 200; x < 400; ++x) found = std::min<int>(found, at(all, x, y).red);
        }
        return found;
    };
    EXPECT_EQ(darkest(0), 255);
    EXPECT_LT(darkest(200), 100);  // the late text, on its page
    EXPECT_EQ(darkest(400), 255);

    const std::string png = image(makePngWriter, pages(), false, 300);
    EXPECT_NEAR(loadPicture(png, "x")->dotsPerInch, 300, 0.1);

    const auto describe = [](const std::string& bytes) {
        const programs::TemporaryFile file("a.tif", bytes);
        return programs::run("tiffinfo -D " + file.path()).output;
    };
    std::string info = describe(image(makeTiffWriter, pages()));
    std::size_t count = 0;
    for (std::size_t from = 0;
         (from = info.find("Image Width: 400 Image Length: 200", from)) != std::string::npos; ++from)
        ++count;
    EXPECT_EQ(count, 3u) << info;
    EXPECT_NE(info.find("Resolution: 254, 254 pixels/inch"), std::string::npos) << info;
    EXPECT_EQ(info.find("rror"), std::string::npos) << info;
    info = describe(image(makeTiffWriter, pages(), true));
    EXPECT_NE(info.find("Image Width: 400 Image Length: 600"), std::string::npos) << info;
    EXPECT_NE(describe(image(makeTiffWriter, {})).find("Image Width"), std::string::npos);
    // Strips of less than a page contain the same pixels as the PNG.
    const programs::TemporaryFile large("a.tif", image(makeTiffWriter, pages(), true, 2 * kResolution));
    const std::string plain = large.path() + "f";
    programs::run("tiffcp -c none -r 1200 " + large.path() + " " + plain);
    const Pixels rows = decodePng(image(makePngWriter, pages(), true, 2 * kResolution));
    ASSERT_EQ(rows.channels, 1);
    EXPECT_NE(ReadFile(plain).find(std::string(rows.color.begin(), rows.color.end())), std::string::npos);
    EXPECT_EQ(decodePng(image(makePngWriter, {}, true)).width, 2100);  // an empty page of the default paper
}

TEST(Raster, PicturesAreDrawn) {
    const std::string root = QBSVR_SOURCE_DIR;
    const auto picture = loadPicture(ReadFile(root + "/fuzz/seeds/picture_fuzz/color.jpg"), "no white in it");
    const Pixels whole = decodePicture(*picture);
    const Pixels drawn =
        decodePng(image(makePngWriter, {one(handmade::other({10'000, 5'000, 20'000, 10'000},
                                                            PictureItem{picture, {0, 0, 20'000, 10'000}}))}));
    EXPECT_EQ(inked(drawn), (Rect{100, 50, 200, 100}));
    const auto mean = [](const Pixels& pixels, const Rect& area) {
        double sum = 0;
        for (int y = area.y; y < area.bottom(); ++y) {
            for (int x = area.x; x < area.right(); ++x) sum += at(pixels, x, y).blue;
        }
        return sum / area.width / area.height;
    };
    EXPECT_NEAR(mean(drawn, {100, 50, 200, 100}), mean(whole, {0, 0, whole.width, whole.height}), 3);

    const std::string photo = ReadFile(root + "/samples/Samples/Data/Picture/Butterfly.jpg");
    // A truncated picture is drawn as far as possible or left out; the page is made in both cases.
    for (const std::size_t length : {photo.size() / 2, photo.size() - 1, std::size_t{700}}) {
        std::shared_ptr<const Picture> cut;
        try {
            cut = loadPicture(photo.substr(0, length), "x");
        } catch (const EngineError&) {
            continue;
        }
        EXPECT_EQ(
            decodePng(image(makePngWriter, {one(handmade::other({0, 0, 10'000, 10'000},
                                                                PictureItem{cut, {0, 0, 10'000, 10'000}}))}))
                .width,
            400);
    }
}

TEST(Raster, WhatIsTooLargeIsRefused) {
    Spool output;
    RasterOptions options;
    options.resolution = 2400;
    const auto writer = makePngWriter(options, output);
    try {
        writer->beginPage({1, {5'000'000, 5'000'000}, {}});
        FAIL();
    } catch (const EngineError& error) {
        EXPECT_EQ(error.code(), ErrorCode::LimitExceeded);
    }
    options.resolution = 25.4;
    options.allPagesInOne = true;
    const auto all = makeTiffWriter(options, output);
    const auto addPages = [&] {
        for (int i = 0; i < 300; ++i) {
            all->beginPage({i + 1, {1'000, 5'000'000}, {}});
            all->endPage();
        }
    };
    EXPECT_THROW(addPages(), EngineError);
}

}  // namespace
}  // namespace qbsvrl6
