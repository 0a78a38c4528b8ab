#include "qbsvrl6/layout/pager.h"

#include <algorithm>
#include <string>
#include <utility>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

constexpr Micrometres kSmallestPage = 1'000;  // width and height between the margins
constexpr Micrometres kUsefulCut = 15'000;    // height that is worth filling with a part of a band
constexpr double kMostRepeated = 0.6;         // share of a page that titles and group headers may take up

}  // namespace

Pager::Pager(LayoutContext& context, const ReportInstance& instance, PageSink& sink)
    : context_(context),
      instance_(instance),
      sink_(sink),
      setup_(&instance.plan.report->page),
      builder_(context, instance) {
    const std::int64_t width =
        std::int64_t{setup_->paper.width} - setup_->margins.left - setup_->margins.right;
    const std::int64_t height =
        std::int64_t{setup_->paper.height} - setup_->margins.top - setup_->margins.bottom;
    if (width < kSmallestPage || height < kSmallestPage) {
        throw EngineError(ErrorCode::LimitExceeded, "the margins leave no room on the page");
    }
}

void Pager::startPage() {
    startPending_ = startPending_ || (pageOpen_ && (!placed_.empty() || !fragment_.empty()));
}

std::uint64_t Pager::beginKeep() {
    keeps_.push_back({nextKeep_++, nextSequence_});
    return keeps_.back().id;
}

void Pager::endKeep(std::uint64_t keep) {
    std::erase_if(keeps_, [keep](const KeepTogether& open) { return open.id == keep; });
}

// Titles without content below them.
std::vector<BandDraft> Pager::takeTitles() {
    std::vector<BandDraft> titles;
    while (hasContent() && fragment_.back().band.kind == BandKind::GridTitle) {
        used_ -= fragment_.back().band.height;
        titles.push_back(std::move(fragment_.back()));
        fragment_.pop_back();
    }
    return titles;
}

// A title without content below it moves to the new page.
void Pager::beginAskedPage(const BandDraft& lead) {
    std::vector<BandDraft> titles = takeTitles();
    if (hasContent() || !placed_.empty()) {
        endFragment();
        closePage();
        openPage(firstRow(lead));
        if (titles.empty()) addRepeats(lead);
    }
    for (BandDraft& title : titles) append(std::move(title));
}

// The page is blank if the next one has the number that is asked for: what it repeats moves on as well.
void Pager::turnPage(const BandDraft& lead) {
    const bool isOdd = numbers_.number % 2 == 1;
    if (isOdd == (side_ == PageSide::Odd)) return;
    std::vector<BandDraft> titles = takeTitles();
    std::vector<BandDraft> repeats;
    if (!hasContent() && placed_.empty()) {
        repeats = std::exchange(fragment_, {});
        repeated_ = 0;
        used_ = 0;
    }
    endFragment();
    closePage();
    openPage(firstRow(lead));
    for (BandDraft& repeat : repeats) append(std::move(repeat));
    repeated_ = fragment_.size();
    for (BandDraft& title : titles) append(std::move(title));
}

void Pager::add(BandDraft&& draft) {
    if (pageOpen_ && wanted_ != opened_) startPage();
    if (std::exchange(startPending_, false)) beginAskedPage(draft);
    leaveOtherPaper();
    if (!pageOpen_) openPage(firstRow(draft));
    if (side_ != PageSide::Any) turnPage(draft);
    side_ = PageSide::Any;
    draft.sequence = nextSequence_++;
    for (const KeepTogether& keep : keeps_) {
        if (keep.first < draft.sequence) draft.keeps.push_back(keep.first);
    }
    place(std::move(draft));
}

void Pager::place(BandDraft&& draft) {
    for (;;) {
        if (draft.hidesRepeated && !fragmentHasRow_) {
            BandDraft revealed = draft.owner->revealed(draft);
            revealed.sequence = draft.sequence;
            revealed.keeps = std::move(draft.keeps);
            revealed.x = draft.x;
            if (draft.ofSubReport) takeIn(revealed);
            draft = std::move(revealed);
        }
        if (draft.band.height <= left()) return append(std::move(draft));
        const bool startsPage = !hasContent() && top_ == bodyTop_;
        const bool mustStay = startsPage || hasOnlyHeadersAbove(draft);
        if (mustStay || cutsInPlace(draft)) {
            std::optional<BandDraft> rest = splitDraft(draft, left(), mustStay, context_.options.drawings);
            if (rest) {
                rest->sequence = nextSequence_++;
                if (rest->madeSmaller) context_.notes.madeSmaller();
                append(std::move(draft));
                if (isEmpty(*rest)) return;  // the rest of a section is empty and needs no page
                nextFragment(*rest);
                draft = std::move(*rest);
                continue;
            }
        }
        if (hasContent()) return moveOn(std::move(draft));
        if (startsPage) return append(std::move(draft));  // nothing divides it
        nextPage(draft);
    }
}

// A row that does not fit directly below its title and headers does not fit on any page.
bool Pager::hasOnlyHeadersAbove(const BandDraft& draft) const {
    if (draft.band.kind != BandKind::Row || top_ != bodyTop_ || left() < kUsefulCut) return false;
    return std::all_of(fragment_.begin(), fragment_.end(), [](const BandDraft& band) {
        return band.band.kind == BandKind::GridTitle || band.band.kind == BandKind::GroupHeader;
    });
}

void Pager::append(BandDraft&& draft) {
    complete(draft);
    used_ += draft.band.height;
    fragmentHasRow_ = fragmentHasRow_ || draft.band.kind == BandKind::Row;
    fragment_.push_back(std::move(draft));
}

// A band that no page can hold is split where it is, if that fills the page better.
bool Pager::cutsInPlace(const BandDraft& draft) const {
    const auto nextRow = std::upper_bound(draft.rowTops.begin(), draft.rowTops.end(), 0);
    if (nextRow != draft.rowTops.end()) return *nextRow <= left();
    return (draft.mayBreak || draft.band.height > bottom_ - bodyTop_) && left() >= kUsefulCut;
}

// Breaks the fragment at the best place and moves the rest to the next one.
void Pager::moveOn(BandDraft&& draft) {
    std::size_t from = chooseBreak(draft);
    if (from < fragment_.size() && fragment_[from].rowTops.size() > 1) from = breakRows(from);
    std::vector<BandDraft> carried(
        std::make_move_iterator(fragment_.begin() + static_cast<std::ptrdiff_t>(from)),
        std::make_move_iterator(fragment_.end()));
    fragment_.resize(from);
    carried.push_back(std::move(draft));
    nextFragment(carried.front());
    for (BandDraft& band : carried) place(std::move(band));
}

// Only the last row of a band of several rows has to stay with what follows. Returns the index of the band with
// that row.
std::size_t Pager::breakRows(std::size_t index) {
    BandDraft& rows = fragment_[index];
    const Micrometres height = rows.band.height;
    std::optional<BandDraft> last = splitDraft(rows, rows.rowTops.back(), false, context_.options.drawings);
    if (!last) return index;
    last->sequence = rows.sequence;
    last->keeps = rows.keeps;
    used_ += last->band.height + rows.band.height - height;
    fragment_.insert(fragment_.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(*last));
    return index + 1;
}

// The latest break that divides no group of bands that must stay together; if there is none, the break that
// divides the fewest. Groups that began on an earlier page are divided already.
std::size_t Pager::chooseBreak(const BandDraft& draft) const {
    const std::uint64_t first = fragment_[repeated_].sequence;
    std::size_t best = fragment_.size();
    std::size_t bestDivided = static_cast<std::size_t>(-1);
    for (std::size_t i = fragment_.size(); i > repeated_; --i) {
        const BandDraft& following = i == fragment_.size() ? draft : fragment_[i];
        const auto divided =
            static_cast<std::size_t>(std::count_if(following.keeps.begin(), following.keeps.end(),
                                                   [first](std::uint64_t keep) { return keep >= first; }));
        if (divided < bestDivided) {
            best = i;
            bestDivided = divided;
        }
        if (divided == 0) break;
    }
    return best;
}

void Pager::nextFragment(const BandDraft& lead) {
    if (detailColumn_ < 0 || detailColumn_ + 1 >= detailColumns(*setup_)) return nextPage(lead);
    endFragment();
    ++detailColumn_;
    top_ = columnsTop_;
    addRepeats(lead);
}

void Pager::nextPage(const BandDraft& lead) {
    endFragment();
    closePage();
    openPage(firstRow(lead));
    addRepeats(lead);
}

void Pager::endFragment() {
    const Micrometres x =
        detailColumn_ < 0 ? 0 : detailColumn_ * (detailWidth(*setup_) + std::max(setup_->columnGap, 0));
    Micrometres y = top_;
    for (BandDraft& draft : fragment_) {
        const Micrometres height = draft.band.height;
        const Micrometres left = setup_->margins.left + x + draft.x;
        placed_.push_back({std::move(draft), left, y});
        y += height;
    }
    columnsBottom_ = std::max(columnsBottom_, y);
    top_ = y;
    fragment_.clear();
    repeated_ = 0;
    used_ = 0;
    fragmentHasRow_ = false;
}

void Pager::addRepeats(const BandDraft& lead) {
    if (lead.owner == nullptr) return;
    std::vector<BandDraft> repeats = lead.owner->repeats(lead);
    std::int64_t height = 0;
    for (const BandDraft& band : repeats) height += band.band.height;
    while (static_cast<double>(height) > kMostRepeated * capacity()) {
        height -= repeats.back().band.height;  // inner headers are dropped first
        repeats.pop_back();
    }
    for (BandDraft& band : repeats) {
        band.x = lead.x;
        if (lead.ofSubReport) takeIn(band);
        append(std::move(band));
    }
    repeated_ = fragment_.size();
}

void Pager::beginDetailColumns() {
    if (detailColumns(*setup_) == 1) return;
    if (std::exchange(startPending_, false)) {
        endFragment();
        closePage();
    }
    if (!pageOpen_) openPage(nextRow_);
    endFragment();
    detailColumn_ = 0;
    columnsTop_ = columnsBottom_ = top_;
}

// The next band is below the longest column.
void Pager::endDetailColumns() {
    if (detailColumn_ < 0) return;
    if (pageOpen_) {
        endFragment();
        top_ = columnsBottom_;
    }
    detailColumn_ = -1;
}

// Opens a page again that has no bands but titles.
void Pager::leaveOtherPaper() {
    if (!pageOpen_ || wanted_ == opened_) return;
    pageOpen_ = false;
    --pages_;
    --numbers_.number;
}

Micrometres Pager::room() {
    if (startPending_ || (pageOpen_ && wanted_ != opened_)) return 0;
    if (!pageOpen_) openPage(nextRow_);
    return std::max(left(), 0);
}

Micrometres Pager::takePage() {
    startPage();
    if (std::exchange(startPending_, false)) {
        endFragment();
        closePage();
    }
    leaveOtherPaper();
    return room();
}

void Pager::nextPageNumber() {
    spend(&Budget::pages, 1);
    ++pages_;
    ++numbers_.number;
}

void Pager::openPage(std::size_t row) {
    if (std::exchange(restartPending_, false)) {
        ++numbers_.run;
        numbers_.number = 0;
    }
    nextPageNumber();
    pageOpen_ = true;
    numbers_.rows = {row, row};
    opened_ = wanted_;
    paper_ = paperOfPage();
    const ReportPlan& plan = instance_.plan;
    setup_ =
        paper_ == kOwnPaper ? &plan.report->page : &plan.papers[static_cast<std::size_t>(paper_)].page->setup;
    headerHeight_ = partHeight(headerOfPage(), BandKind::PageHeader, numbers_);
    footerHeight_ = partHeight(footerOfPage(), BandKind::PageFooter, numbers_);
    top_ = setup_->margins.top + headerHeight_;
    bottom_ = setup_->paper.height - setup_->margins.bottom - footerHeight_;
    if (bottom_ - top_ < kSmallestPage) {
        throw EngineError(ErrorCode::LimitExceeded, "the page header and footer leave no room on the page");
    }
    bodyTop_ = columnsTop_ = columnsBottom_ = top_;
    if (detailColumn_ > 0) detailColumn_ = 0;
}

int Pager::paperOfPage() const {
    if (wanted_ != kOwnPaper) return wanted_;
    const ReportPlan& plan = instance_.plan;
    if (pages_ == 1 && plan.firstPaper != kOwnPaper) return plan.firstPaper;
    return numbers_.number % 2 == 0 ? plan.leftPaper : kOwnPaper;
}

std::optional<PlannedSection>& Pager::headerOfPage() {
    ReportPlan& plan = instance_.plan;
    if (paper_ == kOwnPaper) return plan.pageHeader;
    std::optional<PlannedSection>& own = plan.papers[static_cast<std::size_t>(paper_)].header;
    return own ? own : plan.pageHeader;
}

std::optional<PlannedSection>& Pager::footerOfPage() {
    ReportPlan& plan = instance_.plan;
    if (paper_ == kOwnPaper) return plan.pageFooter;
    std::optional<PlannedSection>& own = plan.papers[static_cast<std::size_t>(paper_)].footer;
    return own ? own : plan.pageFooter;
}

// Null: that of the document.
std::shared_ptr<const Picture> Pager::backgroundOfPage() {
    if (paper_ == kOwnPaper) return nullptr;
    const Address& address = instance_.plan.papers[static_cast<std::size_t>(paper_)].page->background;
    if (address.empty()) return nullptr;
    const auto [background, isNew] = backgrounds_.try_emplace(paper_);
    if (isNew) {
        Address start = address;
        start.name.clear();
        const TextPosition place = instance_.plan.report->placesOf(address.name, TextUse::Address).front();
        background->second = context_.pictures.find(address.name, start, {place});
    }
    return background->second;
}

// Headers and footers are laid out twice: before the page for their heights, and after it for the sink.
Micrometres Pager::partHeight(std::optional<PlannedSection>& part, BandKind kind,
                              const PageNumbers& numbers) {
    const std::optional<BandDraft> draft = makePart(part, kind, numbers);
    return draft ? std::min(draft->band.height, setup_->paper.height) : 0;
}

std::optional<BandDraft> Pager::makePart(std::optional<PlannedSection>& part, BandKind kind,
                                         const PageNumbers& numbers) {
    if (!part) return std::nullopt;
    const RowRange& rows = numbers.rows;
    const bool atEnd = kind == BandKind::PageFooter && rows.end > rows.first;
    const std::size_t count = instance_.view->rowCount();
    Position position;
    position.row = std::min(atEnd ? rows.end - 1 : rows.first, count > 0 ? count - 1 : 0);
    position.isBeforeRow = kind == BandKind::PageFooter && rows.end == rows.first && rows.first < count;
    position.scope = {ScopeKind::Page, 0};
    position.pageRows = rows;
    position.pageNumber = numbers.number;
    return builder_.section(*part, kind, position);
}

void Pager::closePage() {
    pageOpen_ = false;
    RowRange rows{nextRow_, nextRow_};
    bool anyRow = false;
    for (const Placed& placed : placed_) {
        // A row belongs to the page on which it begins.
        const BandDraft& draft = placed.draft;
        if (draft.isRest || draft.ofSubReport || !draft.countsRows) continue;
        RowRange own = draft.hiddenRows;
        if (draft.band.kind == BandKind::Row && own.end == own.first)
            own = {draft.row, draft.row + std::max<std::size_t>(draft.rowTops.size(), 1)};
        if (own.end == own.first) continue;
        rows = anyRow ? RowRange{std::min(rows.first, own.first), std::max(rows.end, own.end)} : own;
        anyRow = true;
    }
    nextRow_ = rows.end;
    numbers_.rows = rows;
    // Columns of detail follow one another, but sinks receive bands from the top down, unless they need the
    // order of reading.
    const auto higher = [](const Placed& a, const Placed& b) { return a.y < b.y; };
    if (context_.options.structure == nullptr && !std::is_sorted(placed_.begin(), placed_.end(), higher)) {
        std::stable_sort(placed_.begin(), placed_.end(), higher);
    }
    const PlannedGrid* const grid = instance_.plan.grid.get();
    const bool pagesForColumnGroups =
        grid != nullptr && grid->geometry.columnGroups > 1 && !grid->geometry.columnGroupsInTurn &&
        std::any_of(placed_.begin(), placed_.end(),
                    [](const Placed& placed) { return placed.draft.band.inGrid; });
    if (!pagesForColumnGroups) {
        emitPage(placed_, numbers_);
    } else {
        for (int columnGroup = 0; columnGroup < grid->geometry.columnGroups; ++columnGroup) {
            if (columnGroup > 0) nextPageNumber();
            std::vector<Placed> bands;
            for (Placed& placed : placed_) {
                const bool inGrid = placed.draft.band.inGrid;
                if (columnGroup > 0 && !inGrid) continue;
                bands.push_back({inGrid ? partForColumnGroup(placed.draft, grid->geometry, columnGroup)
                                        : std::move(placed.draft),
                                 placed.x, placed.y});
            }
            emitPage(bands, numbers_);
        }
    }
    placed_.clear();
}

void Pager::emitPage(std::vector<Placed>& bands, const PageNumbers& numbers) {
    context_.late.countPage(numbers.run);
    const auto first = std::find_if(bands.begin(), bands.end(),
                                    [](const Placed& placed) { return !placed.draft.band.sheet.empty(); });
    const std::u16string_view sheet = first == bands.end() ? std::u16string_view() : first->draft.band.sheet;
    sink_.beginPage(
        {pages_, setup_->paper, setup_->margins, numbers.number, sheet, paper_ + 1, backgroundOfPage()});
    emitPart(headerOfPage(), BandKind::PageHeader, setup_->margins.top, headerHeight_, numbers);
    for (Placed& placed : bands) emitBand(std::move(placed.draft), placed.x, placed.y, numbers);
    const Micrometres footerTop = setup_->paper.height - setup_->margins.bottom - footerHeight_;
    emitPart(footerOfPage(), BandKind::PageFooter, footerTop, footerHeight_, numbers);
    sink_.endPage();
}

void Pager::emitPart(std::optional<PlannedSection>& part, BandKind kind, Micrometres y, Micrometres height,
                     const PageNumbers& numbers) {
    std::optional<BandDraft> draft = makePart(part, kind, numbers);
    if (!draft) return;
    draft->band.height = height;
    emitBand(std::move(*draft), setup_->margins.left, y, numbers);
}

void Pager::emitBand(BandDraft&& draft, Micrometres x, Micrometres y, const PageNumbers& numbers) {
    context_.late.settleForPage(draft, numbers);
    sink_.band(std::move(draft.band), x, y);
    context_.spareItems.keep(std::move(draft.band.items));
}

void Pager::finish() {
    if (!pageOpen_ && pages_ == 0) openPage(0);
    if (!pageOpen_) return;
    endFragment();
    closePage();
}

}  // namespace qbsvrl6
