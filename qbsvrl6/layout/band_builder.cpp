#include "qbsvrl6/layout/band_builder.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "qbsvrl6/layout/section_arrangement.h"
#include "qbsvrl6/layout/text_layout.h"
#include "qbsvrl6/layout/whole_items.h"

namespace qbsvrl6 {

BandBuilder::BandBuilder(LayoutContext& context, ReportInstance instance)
    : context_(context),
      instance_(std::move(instance)),
      view_(*instance_.view),
      structure_(context, instance_),
      walk_(context.calculations ? context.calculations->newWalk() : 0),
      firstForm_(context.rowForms + 1),
      hasPlainRows_(instance_.plan.grid && instance_.plan.grid->hasPlainRows()),
      chartNumbers_(view_, context.now) {
    if (instance_.plan.grid) {
        context.rowForms += 1 + static_cast<std::uint32_t>(instance_.plan.grid->geometry.columnGroups);
    }
}

Position BandBuilder::reportPosition(std::size_t row) const {
    Position position;
    position.row = row;
    position.pageRows = {0, view_.rowCount()};
    return position;
}

Position BandBuilder::groupPosition(int level, std::size_t row) const {
    Position position = reportPosition(row);
    position.scope = {ScopeKind::Group, level};
    for (int outer = 0; outer <= level; ++outer) position.ofOthers |= view_.isOthers(outer, row);
    return position;
}

Position BandBuilder::rowPosition(std::size_t row) const {
    Position position = reportPosition(row);
    position.scope = view_.rowScope();
    position.ofRow = true;
    return position;
}

bool BandBuilder::isVisible(const Visibility& visible, const Position& position) {
    return !visible.when || visible.isLate() || view_.isTrue(*visible.when, position);
}

LateItem& BandBuilder::lateOf(UnplacedItem& unplaced) {
    if (!unplaced.late) {
        unplaced.late.emplace();
        unplaced.late->control = unplaced.control;
    }
    return *unplaced.late;
}

const PooledStyle* BandBuilder::styleOf(PlannedControl& control, const Position& position) {
    if (control.conditions.empty()) return control.style;
    std::vector<bool> holds;
    holds.reserve(control.conditions.size());
    for (const PlannedCondition& condition : control.conditions) {
        holds.push_back(condition.known == Known::Now && view_.isTrue(condition.when, position));
    }
    return styleUnder(control, std::move(holds), context_.styles);
}

// All data is available before the walk, so a text that waits for its group or report is evaluated at the
// last row of it.
Position BandBuilder::evaluationPosition(const PlannedText& text, const Position& position) const {
    Position settled = position;
    switch (text.evaluate) {
        case TextContent::Evaluate::Now:
            return settled;
        case TextContent::Evaluate::Page:
            settled.scope = {ScopeKind::Page, 0};
            break;
        case TextContent::Evaluate::Group:
            if (settled.scope.kind != ScopeKind::Group) settled.scope = view_.rowScope();
            break;
        case TextContent::Evaluate::Report:
            settled.scope = {ScopeKind::Report, 0};
            break;
    }
    settled.ofRow = false;
    const RowRange rows = view_.rowsOf(settled.scope, settled.row);
    if (rows.end > rows.first) settled.row = rows.end - 1;
    return settled;
}

void BandBuilder::setStyle(UnplacedItem& unplaced, const Rect& box, const PooledStyle* style) {
    unplaced.style = style;
    setStyle(*unplaced.item, *unplaced.control, box, style);
}

void BandBuilder::setStyle(Item& item, const PlannedControl& control, const Rect& box,
                           const PooledStyle* style) {
    item.box = box;
    item.control = control.control;
    item.style = style;
    item.column = control.firstColumn;
    item.lastColumn = control.lastColumn;
}

bool BandBuilder::makeItem(const Rect& box, const Position& position, UnplacedItem& unplaced) {
    PlannedControl& control = *unplaced.control;
    if (control.isPlain) {
        setStyle(unplaced, box, control.style);
        makeText(std::get<PlannedText>(control.content), position, unplaced);
        return true;
    }
    if (!isVisible(control.visible, position)) return false;
    if (control.visible.isLate())
        lateOf(unplaced).visibleWhen.push_back({&*control.visible.when, late(position)});
    if (control.hasLateStyle()) {
        lateOf(unplaced).hasStyles = true;
        lateOf(unplaced).at = late(position);
    }
    setStyle(unplaced, box, styleOf(control, position));
    std::visit(
        [&](auto& content) {
            using Content = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Content, PlannedText>) {
                makeText(content, position, unplaced);
            } else if constexpr (std::is_same_v<Content, LineContent>) {
                unplaced.item->content = LineItem{content};
            } else if constexpr (std::is_same_v<Content, BoxContent>) {
                unplaced.item->content = BoxItem{content};
            } else if constexpr (std::is_same_v<Content, PlannedPicture>) {
                unplaced.item->content = PictureItem{nullptr, {}, content.content->fit};
            } else if constexpr (std::is_same_v<Content, PlannedBarcode>) {
                unplaced.item->content = DrawingItem{nullptr, {}, control.control, nullptr};
            } else if constexpr (std::is_same_v<Content, PlannedChart>) {
                unplaced.item->content = makeChart(content, *control.control, position);
            } else {
                makeSubReport(control, position, unplaced);
            }
        },
        control.content);
    if (control.contentNeedsPage) {
        lateOf(unplaced).contentAt = late(position);
    } else {
        context_.contentTexts.evaluate(control, view_, position, *unplaced.item);
    }
    return true;
}

void BandBuilder::makeText(PlannedText& text, const Position& position, UnplacedItem& unplaced) {
    const bool isNow = text.evaluate == TextContent::Evaluate::Now;
    const std::optional<Position> settled =
        isNow ? std::nullopt : std::optional(evaluationPosition(text, position));
    const Position& at = isNow ? position : *settled;
    unplaced.needed = makeTextItem(text, at, *unplaced.style, *unplaced.item);
    if (context_.options.paged && (text.needsPage || text.needsPageCount)) {
        lateOf(unplaced).text = &text;
        lateOf(unplaced).textAt = late(at);
    } else {
        const std::u16string& shown = std::get<TextItem>(unplaced.item->content).text;
        unplaced.removed = text.removeWhenBlank && trimmed(shown).empty();
    }
}

// Returns the height that the text needs.
Micrometres BandBuilder::makeTextItem(PlannedText& text, const Position& position, const PooledStyle& style,
                                      Item& item) {
    TextItem& shown = std::get<TextItem>(item.content);
    view_.evaluateText(text.text, position, shown);
    if (context_.calculations) shown.calculation = context_.calculations->of(text, position, view_, walk_);
    shown.fontSize = style.fontSize;
    if (!context_.options.measureText) return 0;
    const Size box{item.box.width, item.box.height};
    return context_.options.drawText ? breakText(shown, style, box) : measureText(shown, style, box);
}

DrawingItem BandBuilder::makeChart(PlannedChart& chart, const Control& control, const Position& position) {
    DrawingItem item{nullptr, {}, &control, nullptr};
    if (context_.options.drawings != nullptr) {
        item.chart =
            std::make_shared<ShownChart>(ShownChart{{}, {}, chartNumbers_.of(chart, position, control.name)});
    }
    return item;
}

ItemRole BandBuilder::roleOfSlice(BandKind kind, const PlannedSection& section, std::size_t control,
                                  const Position& position) const {
    return structure_.roleOf(structure_.addBand(kind, position.scope), control, section.controls[control],
                             activeColumnGroup);
}

std::optional<ReportInstance> BandBuilder::subReport(PlannedControl& control, const Position& position,
                                                     const ItemRole& shownBy) {
    PlannedSubReport& content = std::get<PlannedSubReport>(control.content);
    if (!content.plan || !isVisible(control.visible, position)) return std::nullopt;
    std::vector<OwnedValue> arguments;
    for (const Expression& argument : content.arguments) {
        arguments.emplace_back(view_.evaluate(argument, position));
    }
    return instanceOf(*content.plan, view_.inside(content.rows, arguments, position), true,
                      structure_.addSubReport(*content.plan, shownBy, position));
}

void BandBuilder::makeSubReport(PlannedControl& control, const Position& position, UnplacedItem& unplaced) {
    unplaced.item->content = BoxItem{{{0, {}}, std::nullopt, 0}};
    std::optional<ReportInstance> instance = subReport(control, position, unplaced.item->role);
    if (!instance) return;
    CollectingFlow flow;
    context_.walk(context_, std::move(*instance), flow);
    unplaced.needed = flow.height;
    unplaced.nested = std::move(flow.bands);
}

std::optional<BandDraft> BandBuilder::section(PlannedSection& section, BandKind kind,
                                              const Position& position, const SectionSlice* slice) {
    if (!isVisible(section.visible, position)) return std::nullopt;
    const std::uint32_t entry = structure_.addBand(kind, position.scope);
    const std::size_t count = slice == nullptr ? section.controls.size() : slice->controls.size();
    BandDraft draft;
    draft.band.kind = kind;
    draft.band.structure = entry;
    beginItems(draft, count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = slice == nullptr ? i : slice->controls[i];
        PlannedControl& control = section.controls[index];
        const bool inColumnGroup = activeColumnGroup == kEveryColumnGroup ||
                                   control.columnGroup == kEveryColumnGroup ||
                                   control.columnGroup == activeColumnGroup;
        if (!inColumnGroup) continue;
        Rect box = control.box;
        if (slice != nullptr) box.y -= slice->top;
        UnplacedItem& unplaced = addItem(draft, control);
        unplaced.item->role = structure_.roleOf(entry, index, control, activeColumnGroup);
        if (!makeItem(box, position, unplaced)) dropItem();
    }
    endItems(draft);
    draft.band.background = section.section->background;
    draft.band.width = section.width;
    draft.band.height =
        arrange(*section.section, slice == nullptr ? section.height : slice->height, unplacedItems_);
    draft.mayBreak = !section.section->keepTogether;
    draft.row = position.row;
    if (section.visible.isLate()) draft.visibleWhen = LateCondition{&*section.visible.when, late(position)};
    place(draft);
    const bool begins = slice == nullptr || slice == section.slices.data();
    if (begins || kind == BandKind::ReportHeader) structure_.chooseHeading(draft.band, position.scope.level);
    return draft;
}

Micrometres BandBuilder::arrange(const Section& section, Micrometres height,
                                 std::vector<UnplacedItem>& unplacedItems) const {
    std::vector<ArrangedBox> boxes;
    boxes.reserve(unplacedItems.size());
    for (const UnplacedItem& unplaced : unplacedItems) {
        const Rect& box = unplaced.item->box;
        const PlannedContent& content = unplaced.control->content;
        const bool shape =
            std::holds_alternative<LineContent>(content) || std::holds_alternative<BoxContent>(content);
        const bool grows = std::holds_alternative<PlannedSubReport>(content) ||
                           (std::holds_alternative<PlannedText>(content) &&
                            unplaced.style->fit == TextFit::Grow && context_.options.measureText);
        const bool shrinks = unplaced.removed || (section.canShrink && grows);
        const Micrometres needed = unplaced.removed ? 0 : unplaced.needed;
        boxes.push_back({std::max(box.y, 0), box.height, needed, shrinks, shape});
        if (section.canGrow && !unplaced.removed) height = std::max(height, boxes.back().top + box.height);
    }
    height = arrangeBoxes(boxes, height, section.canGrow);
    for (std::size_t i = 0; i < unplacedItems.size(); ++i) {
        Rect& box = unplacedItems[i].item->box;
        box.y = std::min(boxes[i].top, height);
        box.height = std::min(boxes[i].height, height - box.y);
    }
    return height;
}

// Whether a text that should be visible has no width to be drawn in. Columns without width are hidden on
// purpose.
bool BandBuilder::hasNoWidth(const PlannedControl& control, const Item& item, const TextItem& text) const {
    const bool isHidden = item.box.width == 0 && (item.column >= 0 || control.offPaper > 0);
    return context_.options.drawText && text.lines.empty() && !isHidden && !trimmed(text.text).empty();
}

// The items of a band are made in its list, where they usually stay.
void BandBuilder::beginItems(BandDraft& draft, std::size_t most) {
    unplacedItems_.clear();
    unplacedItems_.reserve(most);
    hasAllItems_ = true;
    draft.band.items = context_.spareItems.take(most);
    draft.band.items.reserve(most);  // so that none moves
}

BandBuilder::UnplacedItem& BandBuilder::addItem(BandDraft& draft, PlannedControl& control) {
    std::vector<Item>& items = draft.band.items;
    const std::size_t index = unplacedItems_.size();
    Item& item = index < items.size() ? items[index] : items.emplace_back();
    makeBlank(item);
    return unplacedItems_.emplace_back(control, item);
}

void BandBuilder::dropItem() {
    unplacedItems_.pop_back();
    hasAllItems_ = false;
}

// Removes the spare items that the band did not need.
void BandBuilder::endItems(BandDraft& draft) const { draft.band.items.resize(unplacedItems_.size()); }

// Fits a text, picture or drawing into its final box. Returns whether the item shows anything.
bool BandBuilder::fit(UnplacedItem& unplaced) const {
    Item& item = *unplaced.item;
    if (auto* const text = std::get_if<TextItem>(&item.content)) {
        const bool settlesLate =
            unplaced.late && (unplaced.late->text != nullptr || unplaced.late->hasStyles);
        if (context_.options.measureText) fitText(*unplaced.control, item, *text, settlesLate);
        return item.column >= 0 || unplaced.late || !text->text.empty() || hasVisibleBox(*item.style);
    }
    if (isWhole(item) && !(unplaced.late && unplaced.late->contentAt)) {
        fitIntoBox(item, context_.options.drawings);
    }
    return true;
}

void BandBuilder::fitText(const PlannedControl& control, Item& item, TextItem& text, bool settlesLate) const {
    const PooledStyle& style = PooledStyle::of(*item.style);
    const Size size{item.box.width, item.box.height};
    const bool otherHeight = size.height != control.box.height;
    if (otherHeight && isTurned(style)) breakText(text, style, size);
    std::size_t leftOut = placeText(text, style, size);
    if (leftOut == 0 && hasNoWidth(control, item, text)) leftOut = 1;
    if (!settlesLate && (leftOut > 0 || text.masked)) context_.notes.placed(control, item, leftOut);
}

// Gives the items of the band their final places.
void BandBuilder::place(BandDraft& draft) {
    bool stay = true;
    bool isNoted = hasColumnGroups();
    for (UnplacedItem& unplaced : unplacedItems_) {
        unplaced.removed = unplaced.removed || !fit(unplaced);
        stay =
            stay && !unplaced.removed && !std::holds_alternative<PlannedSubReport>(unplaced.control->content);
        isNoted = isNoted || unplaced.late;
    }
    if (!stay) {
        hasAllItems_ = false;
        const std::vector<Item> made = std::exchange(draft.band.items, {});
        draft.band.items.reserve(made.size());
        for (UnplacedItem& unplaced : unplacedItems_) {
            if (!unplaced.removed) moveInto(draft, unplaced);
        }
        return;
    }
    if (!isNoted) return;
    for (std::size_t i = 0; i < unplacedItems_.size(); ++i) noteItem(draft, unplacedItems_[i], i);
}

// The other properties of the draft's item with this index.
void BandBuilder::noteItem(BandDraft& draft, UnplacedItem& unplaced, std::size_t index) const {
    if (unplaced.late) {
        unplaced.late->item = index;
        draft.deferred.push_back(std::move(*unplaced.late));
    }
    if (hasColumnGroups()) draft.columnGroups.push_back(unplaced.control->columnGroup);
}

void BandBuilder::moveInto(BandDraft& draft, UnplacedItem& unplaced) const {
    std::vector<LateCondition> around;
    if (unplaced.late && !unplaced.nested.empty()) around = unplaced.late->visibleWhen;
    const Rect box = unplaced.item->box;
    const bool isSubReport = std::holds_alternative<PlannedSubReport>(unplaced.control->content);
    if (!isSubReport || hasVisibleBox(*unplaced.item->style)) {
        noteItem(draft, unplaced, draft.band.items.size());
        draft.band.items.push_back(std::move(*unplaced.item));
    }
    if (!unplaced.nested.empty()) placeNested(draft, unplaced, box, around);
}

// The bands of a sub-report become items of the enclosing band, which may be cut between them. `around` holds
// the conditions under which they are shown.
void BandBuilder::placeNested(BandDraft& draft, UnplacedItem& unplaced, const Rect& box,
                              const std::vector<LateCondition>& around) const {
    for (CollectingFlow::Placed& placed : unplaced.nested) {
        const Micrometres left = box.x + placed.draft.x;
        const Micrometres top = box.y + placed.y;
        Band& band = placed.draft.band;
        if (placed.y + band.height > box.height) break;  // of a section that can't grow
        if (top > 0) draft.cuts.push_back(top);
        std::vector<LateCondition> conditions = around;
        if (placed.draft.visibleWhen) conditions.push_back(*placed.draft.visibleWhen);
        if (band.background) {
            Item fill;
            fill.box = {0, 0, band.width, band.height};
            fill.style = context_.styles.intern({});
            fill.content = BoxItem{{{0, {}}, band.background, 0}};
            band.items.insert(band.items.begin(), std::move(fill));
            for (LateItem& late : placed.draft.deferred) ++late.item;
        }
        auto late = placed.draft.deferred.begin();
        for (std::size_t i = 0; i < band.items.size(); ++i) {
            const bool isLate = late != placed.draft.deferred.end() && late->item == i;
            if (isLate || !conditions.empty()) {
                LateItem& own = draft.deferred.emplace_back(isLate ? std::move(*late++) : LateItem{});
                own.item = draft.band.items.size();
                if (own.control == nullptr) own.control = unplaced.control;
                own.visibleWhen.insert(own.visibleWhen.end(), conditions.begin(), conditions.end());
            }
            Item& item = band.items[i];
            item.box.x += left;
            item.box.y += top;
            item.column = item.lastColumn = unplaced.control->firstColumn;
            draft.band.items.push_back(std::move(item));
            if (hasColumnGroups()) draft.columnGroups.push_back(unplaced.control->columnGroup);
        }
    }
    std::sort(draft.cuts.begin(), draft.cuts.end());
}

bool BandBuilder::hasColumnGroups() const {
    const PlannedGrid* const grid = instance_.plan.grid.get();
    return grid != nullptr && grid->geometry.columnGroups > 1 && activeColumnGroup == kEveryColumnGroup;
}

void BandBuilder::finishGridBand(BandDraft& draft) const {
    const GridGeometry& geometry = instance_.plan.grid->geometry;
    draft.x = geometry.x;
    draft.band.inGrid = true;
    draft.band.columnGroup = std::max(activeColumnGroup, 0);
    draft.band.width = geometry.widthOf(activeColumnGroup);
    for (const Item& item : draft.band.items) draft.band.width = std::max(draft.band.width, item.box.right());
}

std::optional<BandDraft> BandBuilder::groupSection(PlannedSection& section, BandKind kind,
                                                   const Position& position, const SectionSlice* slice) {
    std::optional<BandDraft> draft = this->section(section, kind, position, slice);
    if (!draft) return draft;
    finishGridBand(*draft);
    const bool ofGroup = position.scope.kind == ScopeKind::Group;
    draft->band.groupLevel = ofGroup ? position.scope.level : -1;
    if (ofGroup && kind == BandKind::GroupHeader && (slice == nullptr || slice == section.slices.data())) {
        const Expression& key =
            instance_.plan.binding->groups()[static_cast<std::size_t>(position.scope.level)].key;
        TextArena arena;
        draft->band.bookmark = toText(view_.evaluate(key, position), arena);
    }
    return draft;
}

BandDraft BandBuilder::labels(std::span<const std::optional<LabelPlace>> places, Micrometres gap) {
    PlannedLabels& labels = *instance_.plan.grid->labels;
    BandDraft whole;
    whole.band.width = instance_.plan.width;
    whole.band.height = labels.label.height + gap;
    whole.band.keepsHeight = true;
    whole.row = places.empty() ? 0 : view_.rowCount();
    for (std::size_t column = 0; column < places.size(); ++column) {
        if (!places[column]) continue;
        const std::size_t row = places[column]->row;
        whole.row = std::min(whole.row, row);
        std::optional<BandDraft> label = section(labels.label, BandKind::Row, rowPosition(row));
        if (!label) continue;
        const Micrometres left = static_cast<Micrometres>(column) * labels.step;
        if (whole.band.structure == 0) whole.band.structure = label->band.structure;
        if (label->band.background) {
            Item& fill = whole.band.items.emplace_back();
            fill.box = {left, 0, labels.labels->width, labels.label.height};
            fill.style = context_.styles.intern({});
            fill.content = BoxItem{{{0, {}}, label->band.background, 0}};
        }
        for (LateItem& late : label->deferred) {
            late.item += whole.band.items.size();
            whole.deferred.push_back(std::move(late));
        }
        for (Item& item : label->band.items) {
            item.box.x += left;
            whole.band.width = std::max(whole.band.width, item.box.right());
            whole.band.items.push_back(std::move(item));
        }
    }
    return whole;
}

}  // namespace qbsvrl6
