// The shared state of one export's layout.
#ifndef QBSVR_QBSVRL6_LAYOUT_LAYOUT_CONTEXT_H
#define QBSVR_QBSVRL6_LAYOUT_LAYOUT_CONTEXT_H

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/layout/band_draft.h"
#include "qbsvrl6/layout/calculations.h"
#include "qbsvrl6/layout/content_texts.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/picture_store.h"
#include "qbsvrl6/layout/spare_items.h"

namespace qbsvrl6 {

// The numbers of a page.
struct PageNumbers {
    int number = 1;  // as the report counts it
    int run = 0;     // index of its run of page numbers: a group may start a new run
    RowRange rows;   // of the report's grid
};

// Writes messages to the log once per control, however many rows they apply to.
class LayoutNotes {
public:
    explicit LayoutNotes(const LayoutOptions& options) : hidesText_(options.hidesText) {}

    // Call it when the item's text has been placed in its final box: reports #### in place of a number, and
    // lines that do not fit.
    void placed(const PlannedControl& control, const Item& item, std::size_t linesLeftOut);
    void madeSmaller();

private:
    void hiddenNumber(const PlannedControl& control, const Item& item);

    const bool hidesText_;
    std::unordered_set<const Control*> hidden_;   // numbers
    std::unordered_set<const Control*> leftOut_;  // lines
    bool madeSmaller_ = false;
};

struct LayoutContext;

// Settles deferred items. Conditions on the page count cannot wait for the end, because they decide what a
// sink receives: a first layout without a sink counts the pages. Its pages are the same, since hidden items
// leave their space empty.
class LateItems : public PendingTexts {
public:
    explicit LateItems(LayoutContext& context) : context_(context) {}

    void beginCounting() { counting_ = true; }
    void endCounting();

    // Settles the draft's late items for its page: hides, restyles, evaluates. Texts with a page count that
    // isn't known yet become pending items.
    void settleForPage(BandDraft& draft, const PageNumbers& page);
    void countPage(int run);
    void settle(Item& item) override;

private:
    // A text that waits for the page count. There may be some per page, so that what they share is kept once.
    struct WaitingText {
        const PlannedControl* control = nullptr;
        PlannedText* text = nullptr;
        std::shared_ptr<RowView> view;
        bool operator==(const WaitingText&) const = default;
    };
    struct Waiting {
        std::uint32_t text = 0;  // in waitingTexts_
        int run = 0;
        Position position;
    };

    bool holds(const LateCondition& condition, const PageNumbers& page) const;
    void moveTo(LatePosition& at, const PageNumbers& page) const;
    int pageCount(int run) const;
    bool settleItem(Item& item, LateItem& late, const PageNumbers& page);
    void restyle(Item& item, LateItem& late, const PageNumbers& page);
    void settleContent(Item& item, LateItem& late, const PageNumbers& page);
    std::uint32_t waitFor(const LateItem& late);
    void settleText(Item& item, const PlannedControl& control, PlannedText& text, RowView& view,
                    const Position& position);
    void fit(Item& item, const PlannedControl& control);

    LayoutContext& context_;
    bool counting_ = false;
    bool counted_ = false;
    std::vector<WaitingText> waitingTexts_;
    std::deque<Waiting> waiting_;
    std::vector<int> pagesOfRun_;
    EvaluatedText evaluated_;
};

class Flow;
struct ReportInstance;

// Walks a report into a flow. The builder of bands calls it for sub-reports, which are walked like the report
// itself.
using WalkReport = void (*)(LayoutContext& context, ReportInstance instance, Flow& flow);

struct LayoutContext {
    LayoutContext(const LayoutOptions& layoutOptions, WalkReport walkReport)
        : options(layoutOptions), walk(walkReport), late(*this) {}
    LayoutContext(const LayoutContext&) = delete;
    LayoutContext& operator=(const LayoutContext&) = delete;

    LayoutOptions options;
    const WalkReport walk;
    std::int64_t now = 0;
    const RowView* watched = nullptr;  // its rows count as the progress of the export; null: none
    StylePool styles;
    PictureStore pictures;
    ContentTexts contentTexts{pictures, options};
    LayoutNotes notes{options};
    SpareItems spareItems;
    LateItems late;
    std::optional<Calculations> calculations;  // none: no sink needs them
    std::uint32_t rowForms = 0;                // used so far (Band::form)
};

// The control's style with the conditional styles whose conditions hold applied to it.
const PooledStyle* styleUnder(PlannedControl& control, std::vector<bool> holds, StylePool& styles);

// A plan, and the rows to walk it with.
struct ReportInstance {
    ReportPlan& plan;
    std::shared_ptr<RowView> view;
    bool isSubReport = false;
    std::shared_ptr<RowView> crossView = nullptr;  // the rows of a cross-table; null: the grid is none
    std::uint32_t structure = 0;  // the number of its entry in the DocumentStructure; 0: none
};

ReportInstance instanceOf(ReportPlan& plan, std::shared_ptr<RowView> view, bool isSubReport,
                          std::uint32_t structure);

}  // namespace qbsvrl6

#endif
