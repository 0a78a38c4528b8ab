#include <gtest/gtest.h>

#include "qbsvrl6/layout/picture_store.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

// A PNG file of one grey pixel, as Base64.
constexpr const char* kPixel =
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAAAACklEQVR4nGNoAAAAggCBd81ytgAAAABJRU5ErkJggg==";

Micrometres placedWidth(const Item& item) {
    const auto& picture = std::get<PictureItem>(item.content);
    return picture.picture ? picture.placed.width : -1;
}

TEST(Picture, ComesFromTheData) {
    struct Case {
        std::string source;
        bool found;
    };
    const Case cases[] = {
        {kPixel, true},
        {std::string("data:image/png;base64,") + kPixel, true},
        {std::string("data:image/png,") + kPixel, false},
        {"data:image/png;base64,AAAA", false},
        {"/9j/" + std::string(80, 'A'), false},
        {"none.png", false},
        {"", false},
    };
    for (const Case& test : cases) {
        const RecordingSink sink = layOutText(
            "<Grid titleHeight='0mm' rowHeight='10mm'><Columns><Column name='P' "
            "width='30mm'><Content><Picture source='[p]'/>"
            "</Content></Column></Columns></Grid>",
            "[{\"p\":\"" + test.source + "\"},{\"p\":\"" + test.source + "\"}]");
        ASSERT_EQ(sink.pages.at(0).size(), 2u) << test.source;
        for (const auto& recorded : sink.pages[0]) {
            EXPECT_EQ(placedWidth(recorded.band.items.at(0)), test.found ? 10'000 : -1) << test.source;
        }
    }
}

TEST(Picture, FitsItsBox) {
    Picture picture;
    picture.pixelWidth = 200;
    picture.pixelHeight = 100;
    picture.dotsPerInch = 100;
    struct Case {
        PictureFit fit;
        Rect place;
        Rect expected;
    };
    const Case cases[] = {
        {PictureFit::Stretch, {1'000, 2'000, 10'000, 10'000}, {1'000, 2'000, 10'000, 10'000}},
        {PictureFit::Contain, {1'000, 0, 10'000, 10'000}, {1'000, 2'500, 10'000, 5'000}},
        {PictureFit::Contain, {0, 0, 100'000, 10'000}, {40'000, 0, 20'000, 10'000}},
        {PictureFit::Contain, {0, 0, 0, 10'000}, {0, 5'000, 0, 0}},
        {PictureFit::Clip, {1'000, 2'000, 10'000, 10'000}, {1'000, 2'000, 50'800, 25'400}},
    };
    for (const Case& test : cases) {
        const Rect placed = fitPicture(picture, test.fit, test.place);
        EXPECT_EQ(placed, test.expected)
            << placed.x << "," << placed.y << " " << placed.width << "x" << placed.height;
    }
}

}  // namespace
}  // namespace qbsvrl6
