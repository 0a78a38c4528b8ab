#include <algorithm>
#include <utility>

#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/text_layout.h"
#include "qbsvrl6/layout/whole_items.h"

namespace qbsvrl6 {

void LateItems::countPage(int run) {
    if (counted_) return;
    const auto index = static_cast<std::size_t>(run);
    if (pagesOfRun_.size() <= index) pagesOfRun_.resize(index + 1);
    ++pagesOfRun_[index];
}

void LateItems::endCounting() {
    counting_ = false;
    counted_ = true;
}

int LateItems::pageCount(int run) const { return pagesOfRun_.at(static_cast<std::size_t>(run)); }

void LateItems::moveTo(LatePosition& at, const PageNumbers& page) const {
    at.position.pageNumber = page.number;
    if (!at.ofSubReport) at.position.pageRows = page.rows;
    if (counted_) at.position.pageCount = pageCount(page.run);
}

bool LateItems::holds(const LateCondition& condition, const PageNumbers& page) const {
    LatePosition at = condition.at;
    moveTo(at, page);
    return at.view->isTrue(*condition.when, at.position);
}

void LateItems::settleForPage(BandDraft& draft, const PageNumbers& page) {
    if (counting_) return;
    Band& band = draft.band;
    if (draft.visibleWhen && !holds(*draft.visibleWhen, page)) {
        band.items.clear();
        band.background.reset();
        band.bookmark.clear();
        draft.deferred.clear();
    }
    if (draft.deferred.empty()) return;
    std::size_t kept = draft.deferred.front().item;
    auto late = draft.deferred.begin();
    for (std::size_t i = kept; i < band.items.size(); ++i) {
        const bool isLate = late != draft.deferred.end() && late->item == i;
        if (isLate && !settleItem(band.items[i], *late++, page)) continue;
        if (kept != i) band.items[kept] = std::move(band.items[i]);
        ++kept;
    }
    if (kept < band.items.size()) band.form = 0;
    band.items.resize(kept);
    draft.deferred.clear();
}

// Returns whether the item is shown.
bool LateItems::settleItem(Item& item, LateItem& late, const PageNumbers& page) {
    const auto isTrue = [&](const LateCondition& condition) { return holds(condition, page); };
    if (!std::all_of(late.visibleWhen.begin(), late.visibleWhen.end(), isTrue)) return false;
    if (late.hasStyles) restyle(item, late, page);
    if (late.contentAt) settleContent(item, late, page);
    if (late.text == nullptr) {
        const bool redraws = late.contentAt && !std::holds_alternative<TextItem>(item.content);
        if (late.hasStyles || redraws) fit(item, *late.control);
        return true;
    }
    LatePosition& at = late.textAt;
    moveTo(at, page);
    const bool ofPage = late.text->evaluate == TextContent::Evaluate::Page;
    if (ofPage && !at.ofSubReport) {
        const std::size_t count = at.view->rowCount();
        const bool hasRows = page.rows.end > page.rows.first;
        at.position.row = hasRows ? page.rows.end - 1 : std::min(page.rows.first, count > 0 ? count - 1 : 0);
        at.position.isBeforeRow = !hasRows && page.rows.first < count;
    }
    if (!late.text->needsPageCount || counted_) {
        settleText(item, *late.control, *late.text, *at.view, at.position);
        return true;
    }
    TextItem& text = std::get<TextItem>(item.content);
    text.text.clear();
    text.pageFields.clear();
    text.lines.clear();
    text.pending = true;
    text.pendingKey = static_cast<std::uint32_t>(waiting_.size());
    waiting_.push_back({waitFor(late), page.run, at.position});
    return true;
}

std::uint32_t LateItems::waitFor(const LateItem& late) {
    const WaitingText text{late.control, late.text, late.textAt.view};
    constexpr std::ptrdiff_t kTextsOfAPage = 8;
    const auto recent = waitingTexts_.end() - std::min(kTextsOfAPage, std::ssize(waitingTexts_));
    const auto known = std::find(recent, waitingTexts_.end(), text);
    const auto index = static_cast<std::uint32_t>(known - waitingTexts_.begin());
    if (known == waitingTexts_.end()) waitingTexts_.push_back(text);
    return index;
}

void LateItems::restyle(Item& item, LateItem& late, const PageNumbers& page) {
    std::vector<bool> conditions;
    for (const PlannedCondition& condition : late.control->conditions) {
        conditions.push_back(holds({&condition.when, late.at}, page));
    }
    item.style = styleUnder(*late.control, std::move(conditions), context_.styles);
}

void LateItems::settleContent(Item& item, LateItem& late, const PageNumbers& page) {
    moveTo(*late.contentAt, page);
    context_.contentTexts.evaluate(*late.control, *late.contentAt->view, late.contentAt->position, item);
}

void LateItems::settle(Item& item) {
    auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || !text->pending || text->pendingKey >= waiting_.size()) return;
    Waiting& waiting = waiting_[text->pendingKey];
    waiting.position.pageCount = pageCount(waiting.run);
    const WaitingText& late = waitingTexts_[waiting.text];
    settleText(item, *late.control, *late.text, *late.view, waiting.position);
}

void LateItems::settleText(Item& item, const PlannedControl& control, PlannedText& planned, RowView& view,
                           const Position& position) {
    TextItem& text = std::get<TextItem>(item.content);
    view.evaluateText(planned.text, position, evaluated_);
    text.text = evaluated_.text;
    text.pageFields = evaluated_.pageFields;
    text.value = evaluated_.value;
    if (evaluated_.color) text.color = evaluated_.color;
    text.pending = false;
    fit(item, control);
}

void LateItems::fit(Item& item, const PlannedControl& control) {
    auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr) {
        if (isWhole(item)) fitIntoBox(item, context_.options.drawings);
        return;
    }
    const PooledStyle& style = PooledStyle::of(*item.style);
    text->fontSize = style.fontSize;
    if (!context_.options.measureText) return;
    const Size box{item.box.width, item.box.height};
    breakText(*text, style, box);
    context_.notes.placed(control, item, placeText(*text, style, box));
}

const PooledStyle* styleUnder(PlannedControl& control, std::vector<bool> holds, StylePool& styles) {
    const PooledStyle*& variant = control.variants[holds];
    if (variant == nullptr) {
        ResolvedStyle style = *control.style;
        for (std::size_t i = 0; i < holds.size(); ++i) {
            const Style* const conditional = control.conditions[i].style;
            if (holds[i] && conditional != nullptr) applyStyle(style, *conditional);
        }
        variant = styles.intern(style);
    }
    return variant;
}

}  // namespace qbsvrl6
