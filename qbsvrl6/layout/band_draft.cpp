#include "qbsvrl6/layout/band_draft.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qbsvrl6/layout/text_layout.h"
#include "qbsvrl6/layout/whole_items.h"

namespace qbsvrl6 {

namespace {

// Divides a draft's items into those above and those below a cut.
class Splitter {
public:
    Splitter(BandDraft& draft, Micrometres height, bool force, DrawingSource* drawings)
        : draft_(draft), force_(force), cut_(height), drawings_(drawings) {
        if (!draft.uncut) draft.uncut = std::make_unique<UncutItems>(draft);
        const Micrometres cut = draft.uncut->cutBefore(height);
        isCut_ = cut > 0;
        if (isCut_) cut_ = cut;
    }

    std::optional<BandDraft> split() {
        if (cut_ <= 0 || cut_ >= draft_.band.height) return std::nullopt;
        if (!draft_.rowTops.empty() && !isCut_ && !force_) return std::nullopt;
        draft_.uncut->putAbove(cut_, draft_);
        breakCrossingTexts();
        nothingStays_ = !somethingStays();
        if (!force_ && nothingStays_) return std::nullopt;
        rest_.band.kind = draft_.band.kind;
        rest_.band.inGrid = draft_.band.inGrid;
        rest_.band.groupLevel = draft_.band.groupLevel;
        rest_.band.columnGroup = draft_.band.columnGroup;
        rest_.band.structure = draft_.band.structure;
        rest_.band.background = draft_.band.background;
        rest_.band.width = draft_.band.width;
        rest_.x = draft_.x;
        rest_.mayBreak = draft_.mayBreak;
        rest_.row = draft_.row;
        rest_.owner = draft_.owner;
        rest_.ofSubReport = draft_.ofSubReport;
        rest_.countsRows = draft_.countsRows;
        rest_.visibleWhen = draft_.visibleWhen;
        divide();
        rest_.band.height = draft_.band.height - cut_ + extra_;
        divideRows();
        rest_.uncut->continueBelow(cut_, extra_);
        if (saved_ > 0) closeGap();
        draft_.band.height = cut_;
        draft_.band.form = 0;
        return std::move(rest_);
    }

private:
    // Texts are broken into lines here if the sink draws none, because they are divided between lines.
    void breakCrossingTexts() {
        for (Item& item : draft_.band.items) {
            auto* const text = std::get_if<TextItem>(&item.content);
            const bool crosses = item.box.y < cut_ && item.box.bottom() > cut_;
            if (text == nullptr || !crosses || !text->lines.empty()) continue;
            const Size box{item.box.width, item.box.height};
            breakText(*text, PooledStyle::of(*item.style), box);
            placeText(*text, PooledStyle::of(*item.style), box);
        }
    }

    // Whether any content would remain in the upper part.
    bool somethingStays() const {
        return std::any_of(draft_.band.items.begin(), draft_.band.items.end(), [&](const Item& item) {
            if (item.box.y >= cut_) return false;
            if (item.box.bottom() <= cut_) return true;
            if (isWhole(item)) return staysWhole(item);
            const auto* const text = std::get_if<TextItem>(&item.content);
            return text != nullptr && !text->lines.empty() &&
                   text->lines.front().baseline <= cut_ - item.box.y;
        });
    }

    // A cell is as high as its row, but its content may need less.
    bool staysWhole(const Item& item) const {
        return draft_.band.kind == BandKind::Row && usedHeight(item) <= cut_ - item.box.y;
    }

    void divide() {
        std::vector<Item> items = std::exchange(draft_.band.items, {});
        std::vector<LateItem> deferred = std::exchange(draft_.deferred, {});
        rest_.uncut = std::move(draft_.uncut);
        const std::vector<std::size_t>& numbers = rest_.uncut->numbers();
        std::vector<std::size_t> upperNumbers, lowerNumbers, below;
        auto late = deferred.begin();
        for (std::size_t i = 0; i < items.size(); ++i) {
            LateItem* const own = late != deferred.end() && late->item == i ? &*late++ : nullptr;
            Item& item = items[i];
            if (item.box.y >= cut_) {
                below.push_back(rest_.band.items.size());
                item.box.y -= cut_;
                put(rest_, std::move(item), own);
            } else if (item.box.bottom() <= cut_) {
                put(draft_, std::move(item), own);
            } else {
                cross(item, own);
            }
            upperNumbers.resize(draft_.band.items.size(), numbers[i]);
            lowerNumbers.resize(rest_.band.items.size(), numbers[i]);
        }
        draft_.columnGroups = rest_.uncut->columnGroupsOf(upperNumbers);
        rest_.uncut->setNumbers(std::move(lowerNumbers));
        for (const std::size_t index : below) rest_.band.items[index].box.y += extra_;
        if (extra_ > 0 && draft_.band.kind == BandKind::Row) evenCells();
    }

    // A row belongs to the part in which it begins.
    void divideRows() {
        const auto below = std::lower_bound(draft_.rowTops.begin(), draft_.rowTops.end(), cut_);
        rest_.row += static_cast<std::size_t>(below - draft_.rowTops.begin());
        rest_.isRest = below == draft_.rowTops.end();
        if (rest_.isRest && !draft_.rowTops.empty()) --rest_.row;
        for (auto top = below; top != draft_.rowTops.end(); ++top) {
            rest_.rowTops.push_back(*top == cut_ ? 0 : *top - cut_ + extra_);
        }
        draft_.rowTops.erase(below, draft_.rowTops.end());
    }

    // Whether the item is a cell of several rows.
    bool isMerged(const Item& item) const {
        const bool isCell = isWhole(item) || std::holds_alternative<TextItem>(item.content);
        return isCut_ && isCell &&
               std::any_of(draft_.rowTops.begin(), draft_.rowTops.end(),
                           [&](Micrometres top) { return top > item.box.y && top < item.box.bottom(); });
    }

    // Each part of a merged cell shows its whole content.
    void crossMerged(Item& item, LateItem* late) {
        Item lower = item;
        lower.box.y = 0;
        lower.box.height = item.box.bottom() - cut_;
        lower.role = {};  // it has been read
        item.box.height = cut_ - item.box.y;
        for (Item* const part : {&item, &lower}) {
            if (auto* const text = std::get_if<TextItem>(&part->content)) {
                placeText(*text, PooledStyle::of(*part->style), {part->box.width, part->box.height});
            } else if (isWhole(*part)) {
                fitIntoBox(*part, drawings_);
            }
        }
        std::optional<LateItem> lowerLate;
        if (late != nullptr) lowerLate = *late;
        put(draft_, std::move(item), late);
        put(rest_, std::move(lower), lowerLate ? &*lowerLate : nullptr);
    }

    // Makes all cells of the row equally high again.
    void evenCells() {
        for (const std::size_t index : crossing_) {
            Item& item = rest_.band.items[index];
            item.box.height = std::max(item.box.height, remaining_ + extra_);
            auto* const text = std::get_if<TextItem>(&item.content);
            if (isWhole(item)) {
                fitIntoBox(item, drawings_);
            } else if (text != nullptr) {
                placeText(*text, PooledStyle::of(*item.style), {item.box.width, item.box.height});
            }
        }
    }

    // Notes that the next item of the lower part continues a cell. Only the highest items are cells of the
    // row itself.
    void noteCell(Micrometres remaining) {
        if (remaining < remaining_) return;
        if (remaining > remaining_) crossing_.clear();
        remaining_ = remaining;
        crossing_.push_back(rest_.band.items.size());
    }

    // The deferred properties that also apply to a part of an item: visibility, style, and the link of a
    // text.
    static std::optional<LateItem> partOf(const LateItem* late, bool ofText) {
        if (late == nullptr) return std::nullopt;
        const bool hasLink = ofText && late->contentAt;
        if (late->visibleWhen.empty() && !late->hasStyles && !hasLink) return std::nullopt;
        LateItem part = *late;
        part.text = nullptr;
        if (!hasLink) part.contentAt.reset();
        return part;
    }

    static void put(BandDraft& draft, Item item, LateItem* late) {
        if (late != nullptr) {
            late->item = draft.band.items.size();
            draft.deferred.push_back(std::move(*late));
        }
        draft.band.items.push_back(std::move(item));
    }

    void needBelow(Micrometres height, Micrometres available) {
        extra_ = std::max(extra_, height - available);
    }

    void cross(Item& item, LateItem* late) {
        const Micrometres above = cut_ - item.box.y;
        const Micrometres remaining = item.box.height - above;
        if (isMerged(item)) return crossMerged(item, late);
        if (isWhole(item)) return crossWhole(item, late);
        Item lower = frameBelow(item, remaining);
        if (auto* const text = std::get_if<TextItem>(&item.content)) {
            crossText(item, *text, lower, above, remaining);
        } else if (auto* const line = std::get_if<LineItem>(&item.content)) {
            const auto left = static_cast<Micrometres>(
                std::lround(static_cast<double>(item.box.width) * above / item.box.height));
            const bool rising = line->line.rising;
            lower.box.x = rising ? item.box.x : item.box.x + left;
            lower.box.width = item.box.width - left;
            lower.content = *line;
            if (rising) item.box.x += item.box.width - left;
            item.box.width = left;
        } else {
            lower.content = item.content;
        }
        item.box.height = above;
        std::optional<LateItem> lowerLate = partOf(late, std::holds_alternative<TextItem>(item.content));
        put(draft_, std::move(item), late);
        noteCell(remaining);
        put(rest_, std::move(lower), lowerLate ? &*lowerLate : nullptr);
    }

    // The lower part of an item's box, without content.
    static Item frameBelow(const Item& item, Micrometres height) {
        Item frame;
        frame.box = {item.box.x, 0, item.box.width, height};
        frame.style = item.style;
        frame.column = item.column;
        frame.lastColumn = item.lastColumn;
        frame.role = item.role;
        return frame;
    }

    // Puts an undivided item on one side of the cut; in a row, its empty cell is on the other.
    void crossWhole(Item& item, LateItem* late) {
        const bool ofRow = draft_.band.kind == BandKind::Row && hasVisibleBox(*item.style);
        const Micrometres above = cut_ - item.box.y;
        const Micrometres remaining = item.box.height - above;
        const bool fits = staysWhole(item);
        std::optional<LateItem> frameLate = partOf(late, false);
        LateItem* const ofFrame = frameLate ? &*frameLate : nullptr;
        if (fits || (force_ && item.box.y == 0)) {
            Item below = frameBelow(item, remaining);
            if (!fits) saved_ = std::max(saved_, remaining);
            rest_.madeSmaller = rest_.madeSmaller || !fits;
            item.box.height = above;
            fitIntoBox(item, drawings_);
            put(draft_, std::move(item), late);
            if (!ofRow) return;
            noteCell(remaining);
            put(rest_, std::move(below), ofFrame);
            return;
        }
        if (ofRow) {
            Item upper = frameBelow(item, above);
            upper.box.y = item.box.y;
            put(draft_, std::move(upper), ofFrame);
            item.box.height = std::max(usedHeight(item), remaining);
            fitIntoBox(item, drawings_);
        }
        needBelow(item.box.height, remaining);
        item.box.y = 0;
        if (ofRow) noteCell(remaining);
        put(rest_, std::move(item), late);
    }

    // Items that were scaled down leave a gap: the lower part moves up, and is dropped if it has no content.
    void closeGap() {
        std::vector<Item>& items = rest_.band.items;
        UncutItems& uncut = *rest_.uncut;
        if (uncut.hasOnlyEmptyCells() && std::all_of(items.begin(), items.end(), isEmptyCell)) {
            rest_.band.background.reset();
            items.clear();
            rest_.deferred.clear();
            uncut.setNumbers({});
            uncut.removeItems();
        }
        Micrometres gap = std::min(saved_, rest_.band.height);
        for (const Item& item : items) gap = std::min(gap, item.box.y);
        if (!uncut.isEmpty()) gap = static_cast<Micrometres>(std::min<std::int64_t>(gap, uncut.top()));
        for (Item& item : items) item.box.y -= gap;
        uncut.moveUp(gap);
        rest_.band.height -= gap;
    }

    void crossText(Item& item, TextItem& text, Item& lower, Micrometres above, Micrometres remaining) {
        TextItem rest;
        const Micrometres needed = text.lines.empty()
                                       ? 0
                                       : splitText(text, rest, PooledStyle::of(*item.style),
                                                   {item.box.width, item.box.height}, above, nothingStays_);
        needBelow(needed, remaining);
        lower.box.height = std::max(remaining, needed);
        lower.content = std::move(rest);
    }

    BandDraft& draft_;
    bool force_;
    Micrometres cut_;
    bool isCut_ = false;  // `cut_` divides nothing but merged cells
    DrawingSource* drawings_;
    std::vector<std::size_t> crossing_;  // indices of items of the lower part that continue a cell
    Micrometres remaining_ = 0;          // the rest of their height
    Micrometres saved_ = 0;              // height of the lower part that scaled-down items no longer need
    bool nothingStays_ = false;          // if so, each text leaves a line above, or no page would accept it
    Micrometres extra_ = 0;              // height that the lower part needs in addition to the rest
    BandDraft rest_;
};

}  // namespace

std::optional<BandDraft> splitDraft(BandDraft& draft, Micrometres height, bool force,
                                    DrawingSource* drawings) {
    return Splitter(draft, height, force, drawings).split();
}

void complete(BandDraft& draft) {
    if (!draft.uncut) return;
    draft.uncut->putAll(draft);
    draft.uncut.reset();
}

bool isEmpty(const BandDraft& draft) {
    return draft.band.items.empty() && (!draft.uncut || draft.uncut->isEmpty()) && !draft.band.background;
}

BandDraft partForColumnGroup(const BandDraft& draft, const GridGeometry& geometry, int columnGroup) {
    BandDraft part;
    part.x = draft.x;
    part.row = draft.row;
    part.visibleWhen = draft.visibleWhen;
    const Band& whole = draft.band;
    part.band.kind = whole.kind;
    part.band.inGrid = whole.inGrid;
    part.band.repeated = whole.repeated;
    part.band.groupLevel = whole.groupLevel;
    part.band.columnGroup = columnGroup;
    part.band.form = whole.form;
    part.band.structure = whole.structure;
    part.band.background = whole.background;
    part.band.width = geometry.widthOf(columnGroup);
    part.band.height = whole.height;
    if (columnGroup == 0) part.band.bookmark = whole.bookmark;
    if (columnGroup == 0) part.band.sheet = whole.sheet;
    auto late = draft.deferred.begin();
    for (std::size_t i = 0; i < whole.items.size(); ++i) {
        const bool isLate = late != draft.deferred.end() && late->item == i;
        const bool inColumnGroup =
            draft.columnGroups.empty()
                ? columnGroup == 0
                : draft.columnGroups[i] == columnGroup || draft.columnGroups[i] == kEveryColumnGroup;
        if (inColumnGroup && isLate) {
            part.deferred.push_back(*late);
            part.deferred.back().item = part.band.items.size();
        }
        if (isLate) ++late;
        if (!inColumnGroup) continue;
        part.band.width = std::max(part.band.width, whole.items[i].box.right());
        part.band.items.push_back(whole.items[i]);
    }
    return part;
}

}  // namespace qbsvrl6
