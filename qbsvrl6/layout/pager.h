// The paged flow: fills pages with bands and passes each page to the sink when it is complete.
//
// Bands fill a fragment from its top down. A fragment is the height between page header and page footer, or
// one of the page's columns of detail. A band that does not fit moves to the next fragment, together with
// preceding bands that must stay with it; a band that no fragment can hold is split (band_draft.h).
//
// One page is held back until it is complete. Until then a break can still move up to a better position, and
// the texts that show the number or totals of the page can be settled. Pages are final once they have been
// passed on, so memory use does not grow with their number.
#ifndef QBSVR_QBSVRL6_LAYOUT_PAGER_H
#define QBSVR_QBSVRL6_LAYOUT_PAGER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/layout/band_builder.h"
#include "qbsvrl6/layout/flow.h"
#include "qbsvrl6/layout/layout_context.h"

namespace qbsvrl6 {

// Invariants: a fragment never becomes higher than its page, unless a single band cannot be divided; and each
// page accepts at least some of the content placed on it, so that every layout ends.
class Pager : public Flow {
public:
    // Raises EngineError(LimitExceeded) for paper without space between its margins.
    Pager(LayoutContext& context, const ReportInstance& instance, PageSink& sink);

    void add(BandDraft&& draft) override;
    void startPage() override;
    void startPageNumbers() override { restartPending_ = true; }
    void startOn(PageSide side) override { side_ = side; }
    void usePaper(int paper) override { wanted_ = paper; }
    std::uint64_t beginKeep() override;
    void endKeep(std::uint64_t keep) override;
    void beginDetailColumns() override;
    void endDetailColumns() override;
    Micrometres room() override;
    Micrometres takePage() override;

    // Ends the last page. A report without any band has one empty page.
    void finish();

private:
    // A band of the page, at its position on the paper.
    struct Placed {
        BandDraft draft;
        Micrometres x = 0;
        Micrometres y = 0;
    };
    // Bands that stay on one page if possible.
    struct KeepTogether {
        std::uint64_t id = 0;
        std::uint64_t first = 0;  // sequence number of its first band
    };

    void beginAskedPage(const BandDraft& lead);
    std::vector<BandDraft> takeTitles();
    void turnPage(const BandDraft& lead);
    void leaveOtherPaper();
    int paperOfPage() const;
    std::optional<PlannedSection>& headerOfPage();
    std::optional<PlannedSection>& footerOfPage();
    std::shared_ptr<const Picture> backgroundOfPage();
    void place(BandDraft&& draft);
    void append(BandDraft&& draft);
    bool hasOnlyHeadersAbove(const BandDraft& draft) const;
    bool cutsInPlace(const BandDraft& draft) const;
    void moveOn(BandDraft&& draft);
    std::size_t chooseBreak(const BandDraft& draft) const;
    std::size_t breakRows(std::size_t index);
    void nextFragment(const BandDraft& lead);
    void nextPage(const BandDraft& lead);
    void endFragment();
    void addRepeats(const BandDraft& lead);

    void openPage(std::size_t row);
    void closePage();
    void emitPage(std::vector<Placed>& bands, const PageNumbers& numbers);
    Micrometres partHeight(std::optional<PlannedSection>& part, BandKind kind, const PageNumbers& numbers);
    void emitPart(std::optional<PlannedSection>& part, BandKind kind, Micrometres y, Micrometres height,
                  const PageNumbers& numbers);
    std::optional<BandDraft> makePart(std::optional<PlannedSection>& part, BandKind kind,
                                      const PageNumbers& numbers);
    void emitBand(BandDraft&& draft, Micrometres x, Micrometres y, const PageNumbers& numbers);
    void nextPageNumber();

    std::size_t firstRow(const BandDraft& lead) const { return lead.countsRows ? lead.row : nextRow_; }
    Micrometres capacity() const { return bottom_ - top_; }
    Micrometres left() const { return bottom_ - top_ - used_; }
    bool hasContent() const { return fragment_.size() > repeated_; }

    LayoutContext& context_;
    const ReportInstance& instance_;
    PageSink& sink_;
    const PageSetup* setup_;  // of the current page
    BandBuilder builder_;

    // The fragment that is being filled. Its bands have no positions yet: they follow one another from
    // `top_`.
    std::vector<BandDraft> fragment_;
    std::size_t repeated_ = 0;  // bands at its start that are repeated from earlier pages
    Micrometres top_ = 0;       // on the paper
    Micrometres bottom_ = 0;
    Micrometres used_ = 0;         // height of its bands
    bool fragmentHasRow_ = false;  // if so, a row may suppress repeated values

    // The current page: the bands of its complete fragments.
    bool pageOpen_ = false;
    std::vector<Placed> placed_;
    Micrometres headerHeight_ = 0, footerHeight_ = 0;
    Micrometres bodyTop_ = 0;        // lower edge of the page header
    PageNumbers numbers_{0, 0, {}};  // what the page shows
    int pages_ = 0;                  // sheets of paper so far, whatever numbers they show
    std::size_t nextRow_ = 0;        // of the grid: the first row of the current page

    // Requests that take effect with the next band, so that no empty page results.
    bool startPending_ = false;
    bool restartPending_ = false;
    PageSide side_ = PageSide::Any;  // of the next band

    int wanted_ = kOwnPaper;                                     // paper of the next band
    int opened_ = kOwnPaper;                                     // that was wanted for the current page
    int paper_ = kOwnPaper;                                      // of the current page
    std::map<int, std::shared_ptr<const Picture>> backgrounds_;  // of paper that was used

    int detailColumn_ = -1;                           // the page's column of detail; -1: the whole width
    Micrometres columnsTop_ = 0, columnsBottom_ = 0;  // of the columns of detail on this page

    std::vector<KeepTogether> keeps_;  // open: bands that are added now belong to all of them
    std::uint64_t nextKeep_ = 1;
    std::uint64_t nextSequence_ = 1;
};

}  // namespace qbsvrl6

#endif
