#include "qbsvrl6/sheet/workbook/drawing_picture.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qbsvrl6/paint/raster/raster.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// Fine enough for print.
constexpr double kResolution = 200;
// Enough for a watermark, which is large and pale.
constexpr double kBackdropResolution = 120;

class NothingPending : public PendingTexts {
public:
    void settle(Item&) override {}
};

// A page with one band, as large as the paper, of these items.
std::string pageAsPng(const RasterOptions& options, Size paper, std::vector<Item> items) {
    Spool bytes;
    const std::unique_ptr<PageSink> sink = makePngWriter(options, bytes);
    PageInfo page;
    page.paper = paper;
    sink->beginPage(page);
    Band band;
    band.width = paper.width;
    band.height = paper.height;
    band.items = std::move(items);
    sink->band(std::move(band), 0, 0);
    sink->endPage();
    NothingPending nothing;
    sink->finish(nothing);
    return bytes.take();
}

// The drawing alone, without the paddings around it.
std::string drawAsPng(const Item& item) {
    const Rect place = pictureBox(item);
    RasterOptions options;
    options.resolution = kResolution;
    Item alone;
    alone.box = {-place.x, -place.y, item.box.width, item.box.height};
    alone.content = item.content;
    return pageAsPng(options, {place.width, place.height}, {std::move(alone)});
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
    if (isNew) entry->second = addDrawn(item);
    return entry->second;
}

std::uint32_t PictureList::numberOfShown(const Item& item) {
    if (pictureCut(item).isEmpty()) return numberOf(item);
    const auto& picture = std::get<PictureItem>(item.content).picture;
    if (picture == nullptr) return 0;
    const Rect shown = pictureBox(item);
    const auto [entry, isNew] = byShownSize_.try_emplace({picture->id, shown.width, shown.height});
    if (isNew) entry->second = addDrawn(item);
    return entry->second;
}

std::uint32_t PictureList::addDrawn(const Item& item) {
    try {
        auto picture = std::make_shared<Picture>();
        picture->bytes = drawAsPng(item);
        // Counts down from the highest id: the ids of the report's pictures count up.
        picture->id = UINT64_MAX - pictures_.size();
        return add(std::move(picture));
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        logWarning(std::string("a drawing is left out of the document: ") + error.what());
        return 0;
    }
}

std::shared_ptr<const Picture> backdropOf(const std::shared_ptr<const Picture>& background,
                                          const Watermark& watermark, Size paper) {
    if (watermark.text.empty() || watermark.fontSize <= 0) return background;
    try {
        RasterOptions options;
        options.resolution = kBackdropResolution;
        options.background = background;
        options.watermark = watermark;
        return loadPicture(pageAsPng(options, paper, {}), "the watermark");
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        logWarning(std::string("the watermark is left out of the document: ") + error.what());
        return background;
    }
}

Rect pictureBox(const Item& item) {
    if (const auto* content = std::get_if<PictureItem>(&item.content)) {
        Rect shown = content->placed;
        if (content->fit == PictureFit::Clip) {
            shown.width = std::min(shown.width, std::max(item.box.width - shown.x, 1));
            shown.height = std::min(shown.height, std::max(item.box.height - shown.y, 1));
        }
        return shown;
    }
    Rect box{0, 0, item.box.width, item.box.height};
    if (item.style == nullptr) return box;
    const Edges& padding = item.style->padding;
    const Rect inner{padding.left, padding.top, box.width - padding.left - padding.right,
                     box.height - padding.top - padding.bottom};
    return inner.width > 0 && inner.height > 0 ? inner : box;
}

PictureCut pictureCut(const Item& item) {
    const auto* content = std::get_if<PictureItem>(&item.content);
    if (content == nullptr || content->fit != PictureFit::Clip) return {};
    const Rect shown = pictureBox(item);
    const auto hidden = [](Micrometres part, Micrometres whole) {
        return whole > part ? 1 - static_cast<double>(part) / whole : 0;
    };
    return {hidden(shown.width, content->placed.width), hidden(shown.height, content->placed.height)};
}

void writeCut(XmlWriter& xml, const PictureCut& cut) {
    if (cut.isEmpty()) return;
    const auto thousandths = [](double share) { return std::lround(share * 100'000); };
    xml.open("a:srcRect").attribute("r", thousandths(cut.right)).attribute("b", thousandths(cut.bottom));
    xml.close();
}

}  // namespace qbsvrl6
