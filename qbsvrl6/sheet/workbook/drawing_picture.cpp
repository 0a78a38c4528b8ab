#include "qbsvrl6/sheet/workbook/drawing_picture.h"

#include <utility>

#include "qbsvrl6/paint/raster/raster.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// Fine enough for print.
constexpr double kResolution = 200;

class NothingPending : public PendingTexts {
public:
    void settle(Item&) override {}
};

// A page that is the drawing alone, without the paddings around it.
std::string drawAsPng(const Item& item) {
    const Rect place = pictureBox(item);
    std::string bytes;
    RasterOptions options;
    options.resolution = kResolution;
    const std::unique_ptr<PageSink> sink = makePngWriter(options, bytes);
    PageInfo page;
    page.paper = {place.width, place.height};
    sink->beginPage(page);
    Band band;
    band.width = place.width;
    band.height = place.height;
    Item alone;
    alone.box = {-place.x, -place.y, item.box.width, item.box.height};
    alone.content = item.content;
    band.items.push_back(std::move(alone));
    sink->band(std::move(band), 0, 0);
    sink->endPage();
    NothingPending nothing;
    sink->finish(nothing);
    return bytes;
}

}  // namespace

std::uint32_t PictureList::add(std::shared_ptr<const Picture> picture) {
    pictures_.push_back(std::move(picture));
    return static_cast<std::uint32_t>(pictures_.size());
}

std::uint32_t PictureList::numberOf(const Item& item) {
    if (const auto* content = std::get_if<PictureItem>(&item.content)) {
        if (content->picture == nullptr) return 0;
        const auto [entry, isNew] = byId_.try_emplace(content->picture->id);
        if (isNew) entry->second = add(content->picture);
        return entry->second;
    }
    const auto* content = std::get_if<DrawingItem>(&item.content);
    if (content == nullptr || content->drawing == nullptr) return 0;
    const auto [entry, isNew] = byDrawing_.try_emplace(content->drawing);
    if (!isNew) return entry->second;
    try {
        auto picture = std::make_shared<Picture>();
        picture->bytes = drawAsPng(item);
        // Apart from the ids of the report's own pictures, which count from below.
        picture->id = UINT64_MAX - byDrawing_.size();
        entry->second = add(std::move(picture));
    } catch (const EngineError& error) {
        logWarning(std::string("a drawing is left out of the document: ") + error.what());
    }
    return entry->second;
}

Rect pictureBox(const Item& item) {
    if (const auto* content = std::get_if<PictureItem>(&item.content)) return content->placed;
    Rect box{0, 0, item.box.width, item.box.height};
    if (item.style == nullptr) return box;
    const Edges& padding = item.style->padding;
    const Rect inner{padding.left, padding.top, box.width - padding.left - padding.right,
                     box.height - padding.top - padding.bottom};
    return inner.width > 0 && inner.height > 0 ? inner : box;
}

}  // namespace qbsvrl6
