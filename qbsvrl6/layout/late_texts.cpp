#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/text_layout.h"

namespace qbsvrl6 {

void LateTexts::settleForPage(BandDraft& draft, const PageNumbers& page) {
    for (LateText& late : draft.lates) {
        Item& item = draft.band.items[late.item];
        late.position.pageNumber = page.number;
        if (!late.ofSubReport) {
            late.position.pageRows = page.rows;
            const bool ofPage = late.text->evaluate == TextContent::Evaluate::Page;
            if (ofPage && page.rows.end > page.rows.first) late.position.row = page.rows.end - 1;
        }
        if (!late.text->needsPageCount) {
            settleNow(item, late);
            continue;
        }
        TextItem& text = std::get<TextItem>(item.content);
        text.text.clear();
        text.pageFields.clear();
        text.lines.clear();
        text.pending = true;
        text.pendingKey = static_cast<std::uint32_t>(waiting_.size());
        waiting_.push_back({late, page.run});
    }
    draft.lates.clear();
}

void LateTexts::countPage(int run) {
    if (pagesOfRun_.size() <= static_cast<std::size_t>(run))
        pagesOfRun_.resize(static_cast<std::size_t>(run) + 1);
    ++pagesOfRun_[static_cast<std::size_t>(run)];
}

void LateTexts::settle(Item& item) {
    auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || !text->pending || text->pendingKey >= waiting_.size()) return;
    Waiting& waiting = waiting_[text->pendingKey];
    waiting.late.position.pageCount = pagesOfRun_[static_cast<std::size_t>(waiting.run)];
    settleNow(item, waiting.late);
}

void LateTexts::settleNow(Item& item, const LateText& late) {
    TextItem& text = std::get<TextItem>(item.content);
    late.view->evaluateText(late.text->text, late.position, evaluated_);
    text.text = evaluated_.text;
    text.value = evaluated_.cell;
    text.pageFields = evaluated_.pageFields;
    if (evaluated_.color) text.color = evaluated_.color;
    text.pending = false;
    if (!measure_) return;
    const Size box{item.box.width, item.box.height};
    breakText(text, *late.style, box);
    placeText(text, *late.style, box);
}

}  // namespace qbsvrl6
