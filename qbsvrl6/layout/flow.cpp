#include "qbsvrl6/layout/flow.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

void CollectingFlow::add(BandDraft&& draft) {
    const Micrometres y = height;
    if (draft.band.height > limits::kBandMicrometres - height) {
        throw EngineError(ErrorCode::LimitExceeded, "a sub-report is higher than " +
                                                        std::to_string(limits::kBandMicrometres / 1'000'000) +
                                                        " metres");
    }
    height += draft.band.height;
    bands.push_back({std::move(draft), y});
}

void takeIn(BandDraft& draft) {
    draft.ofSubReport = true;
    draft.band.inGrid = false;
    draft.band.bookmark.clear();
    draft.band.sheet.clear();
    for (Item& item : draft.band.items) item.column = item.lastColumn = -1;
}

void InnerFlow::add(BandDraft&& draft) {
    height += draft.band.height;
    draft.x += x_;
    takeIn(draft);
    draft.band.outline += outline_;
    const BandKind kind = draft.band.kind;
    outer_.add(std::move(draft));
    const bool leads =
        kind == BandKind::ReportHeader || kind == BandKind::GridTitle || kind == BandKind::GroupHeader;
    if (!leads) endLeads();
}

void InnerFlow::endLeads() {
    for (const std::uint64_t lead : leads_) outer_.endKeep(lead);
    leads_.clear();
}

void ContinuousFlow::begin() {
    sink_.beginPage({1, page_.paper, page_.margins});
    y_ = page_.margins.top;
}

void ContinuousFlow::add(BandDraft&& draft) {
    // The height of a million rows would overflow; sinks of this layout depend on the order of bands only.
    constexpr std::int64_t kLowest = std::numeric_limits<Micrometres>::max() / 2;
    const Micrometres height = draft.band.height;
    sink_.band(std::move(draft.band), page_.margins.left + draft.x,
               static_cast<Micrometres>(std::min(y_, kLowest)));
    context_.spareItems.keep(std::move(draft.band.items));
    y_ += height;
}

void ContinuousFlow::end() { sink_.endPage(); }

}  // namespace qbsvrl6
