// Receivers of bands, which place them one below the other.
#ifndef QBSVR_QBSVRL6_LAYOUT_FLOW_H
#define QBSVR_QBSVRL6_LAYOUT_FLOW_H

#include <cstdint>
#include <utility>
#include <vector>

#include "qbsvrl6/layout/band_draft.h"
#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

class Flow {
public:
    virtual ~Flow() = default;

    virtual void add(BandDraft&& draft) = 0;

    // Without pages, the other functions do nothing.

    // The next band starts a page, unless the page is still empty.
    virtual void startPage() {}
    virtual void startPageNumbers() {}  // and is page 1
    virtual void startOn(PageSide) {}   // and has such a number, after a blank page if it needs one
    // The next bands are on this paper of the plan, from a new page on if the current one is another.
    virtual void usePaper(int) {}
    // Bands that are added before the matching `endKeep` stay on one page if possible.
    virtual std::uint64_t beginKeep() { return 0; }
    virtual void endKeep(std::uint64_t) {}
    virtual void beginDetailColumns() {}
    virtual void endDetailColumns() {}
    // The height that is left on the page.
    virtual Micrometres room() { return 0; }
    // Starts a page, unless it is still empty, and returns its height.
    virtual Micrometres takePage() { return 0; }
};

// Collects the bands of a sub-report, which become part of a band of the enclosing report.
class CollectingFlow : public Flow {
public:
    void add(BandDraft&& draft) override;

    struct Placed {
        BandDraft draft;
        Micrometres y = 0;
    };
    std::vector<Placed> bands;
    Micrometres height = 0;
};

// Makes a band of a sub-report one of the enclosing report, which has a different grid and columns.
void takeIn(BandDraft& draft);

// Passes the bands of a sub-report that is alone at its height in a section to the outer flow.
class InnerFlow : public Flow {
public:
    // `leads` are ranges of bands of the outer flow that stay with the first row. `outline` is that of the
    // section.
    InnerFlow(Flow& outer, Micrometres x, std::vector<std::uint64_t> leads, int outline)
        : outer_(outer), x_(x), leads_(std::move(leads)), outline_(outline) {}
    ~InnerFlow() override { endLeads(); }
    InnerFlow(const InnerFlow&) = delete;
    InnerFlow& operator=(const InnerFlow&) = delete;

    void add(BandDraft&& draft) override;
    void startPage() override { outer_.startPage(); }
    void startOn(PageSide side) override { outer_.startOn(side); }
    std::uint64_t beginKeep() override { return outer_.beginKeep(); }
    void endKeep(std::uint64_t keep) override { outer_.endKeep(keep); }

    std::int64_t height = 0;  // of all that was added

private:
    void endLeads();

    Flow& outer_;
    Micrometres x_;
    std::vector<std::uint64_t> leads_;
    int outline_;
};

// The continuous layout: bands go straight to the sink.
class ContinuousFlow : public Flow {
public:
    ContinuousFlow(LayoutContext& context, PageSink& sink, const PageSetup& page)
        : context_(context), sink_(sink), page_(page) {}

    void begin();
    void add(BandDraft&& draft) override;
    void end();

private:
    LayoutContext& context_;
    PageSink& sink_;
    const PageSetup& page_;
    std::int64_t y_ = 0;
};

}  // namespace qbsvrl6

#endif
