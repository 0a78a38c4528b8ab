#include "qbsvrl6/sheet/grid/band_strip.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qbsvrl6 {

namespace {

// A band that overlaps the strip by no more than this starts the next one: otherwise, columns of detail whose
// rows differ slightly would form a single strip.
constexpr Micrometres kTolerance = kMicrometresPerMillimetre;

bool isPagePart(const Band& band) {
    return band.kind == BandKind::PageHeader || band.kind == BandKind::PageFooter;
}

// A joined band has no background, which would also fill the space between its parts.
void makeBackgroundItem(Band& band) {
    if (!band.background) return;
    Item fill;
    fill.box = {0, 0, band.width, band.height};
    fill.content = BoxItem{{{0, {}}, band.background, 0}};
    band.items.insert(band.items.begin(), std::move(fill));
    band.background.reset();
}

}  // namespace

bool BandStrip::takes(const Band& band, Micrometres x, Micrometres y) const {
    if (isEmpty_) return true;
    if (isPagePart(band) || isPagePart(band_) || y < y_ || (y > y_ && y >= bottom_ - kTolerance))
        return false;
    return std::none_of(open_.begin(), open_.end(), [&](const Extent& extent) {
        return extent.bottom > y && x < extent.right && x + band.width > extent.left;
    });
}

void BandStrip::add(Band&& band, Micrometres x, Micrometres y) {
    const Extent extent{x, x + band.width, y + band.height};
    if (isEmpty_) {
        isEmpty_ = false;
        std::swap(band_, band);  // the memory of the last one serves again
        x_ = x;
        y_ = y;
        bottom_ = extent.bottom;
        open_.assign(1, extent);
        return;
    }
    std::erase_if(open_, [y](const Extent& other) { return other.bottom <= y; });
    open_.push_back(extent);
    join(std::move(band), x, y);
}

void BandStrip::join(Band&& band, Micrometres x, Micrometres y) {
    makeBackgroundItem(band_);
    makeBackgroundItem(band);
    band_.form = 0;
    // Blank rows and bands without height do not determine the kind of the joined band.
    if (band_.kind == BandKind::BlankRow || band_.height == 0) {
        band_.kind = band.kind;
        band_.inGrid = band.inGrid;
        band_.groupLevel = band.groupLevel;
    }
    band_.repeated = band_.repeated && band.repeated;
    band_.keepsHeight = band_.keepsHeight && band.keepsHeight;
    for (Item& item : band.items) {
        item.box.x += x - x_;
        item.box.y += y - y_;
    }
    band_.items.insert(band_.items.end(), std::make_move_iterator(band.items.begin()),
                       std::make_move_iterator(band.items.end()));
    bottom_ = std::max(bottom_, y + band.height);
    band_.width = std::max(band_.width, x - x_ + band.width);
    band_.height = bottom_ - y_;
}

}  // namespace qbsvrl6
