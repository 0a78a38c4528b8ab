// The paged flow: fills pages with bands and hands each page, complete, to the sink.
#ifndef QBSVR_QBSVRL6_LAYOUT_PAGER_H
#define QBSVR_QBSVRL6_LAYOUT_PAGER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "qbsvrl6/layout/band_builder.h"
#include "qbsvrl6/layout/flow.h"
#include "qbsvrl6/layout/layout_context.h"

namespace qbsvrl6 {

// Bands fill a fragment: the page's height, or one of its columns of detail. One page is held back until it
// is complete, so that a break can be moved up to where it does least harm, and what shows the page's number
// or totals can be settled.
class Pager : public Flow {
public:
    // Raises EngineError(LimitExceeded) for paper without room between its margins.
    Pager(LayoutContext& context, const ReportInstance& instance, PageSink& sink);

    void add(BandDraft draft) override;
    void startPage() override;
    void startPageNumbers() override { restartPending_ = true; }
    std::uint64_t beginKeep() override;
    void endKeep(std::uint64_t keep) override;
    void beginDetailColumns() override;
    void endDetailColumns() override;
    Micrometres room() override;

    // Ends the last page; a report without any band has one blank page.
    void finish();

private:
    struct Placed {
        BandDraft draft;
        Micrometres x = 0;
        Micrometres y = 0;
    };
    struct Keep {
        std::uint64_t id = 0;
        std::uint64_t first = 0;  // sequence of its first band
    };

    void beginAskedPage(const BandDraft& lead);
    void place(BandDraft draft);
    void append(BandDraft draft);
    bool standsUnderHeadersAlone(const BandDraft& draft) const;
    bool cutsInPlace(const BandDraft& draft) const;
    void moveOn(BandDraft draft);
    std::size_t chooseBreak(const BandDraft& draft) const;
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
    void emitBand(BandDraft draft, Micrometres x, Micrometres y, const PageNumbers& numbers);
    void nextPageNumber();

    Micrometres capacity() const { return bottom_ - top_; }
    Micrometres left() const { return bottom_ - top_ - used_; }
    bool hasContent() const { return fragment_.size() > repeated_; }

    LayoutContext& context_;
    const ReportInstance& instance_;
    PageSink& sink_;
    const PageSetup& setup_;
    BandBuilder builder_;

    // The fragment being filled.
    std::vector<BandDraft> fragment_;
    std::size_t repeated_ = 0;  // bands at its start that are repeated from earlier pages
    Micrometres top_ = 0, bottom_ = 0, used_ = 0;
    bool fragmentHasRow_ = false;

    // The page: fragments that are complete.
    bool pageOpen_ = false;
    std::vector<Placed> placed_;
    Micrometres headerHeight_ = 0, footerHeight_ = 0;
    Micrometres bodyTop_ = 0;
    PageNumbers numbers_{0, 0, {}};
    int pages_ = 0;
    std::size_t nextRow_ = 0;  // of the grid, behind the rows of the pages before

    bool startPending_ = false;
    bool restartPending_ = false;
    int detailColumn_ = -1;  // -1: the whole width
    Micrometres columnsTop_ = 0, columnsBottom_ = 0;

    std::vector<Keep> keeps_;
    std::uint64_t nextKeep_ = 1;
    std::uint64_t nextSequence_ = 1;
};

}  // namespace qbsvrl6

#endif
