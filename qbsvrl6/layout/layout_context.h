// What the parts of one export's layout share.
#ifndef QBSVR_QBSVRL6_LAYOUT_LAYOUT_CONTEXT_H
#define QBSVR_QBSVRL6_LAYOUT_LAYOUT_CONTEXT_H

#include <cstdint>
#include <deque>
#include <memory>
#include <unordered_set>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/layout/band_draft.h"
#include "qbsvrl6/layout/content_texts.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/picture_store.h"

namespace qbsvrl6 {

// Numbers of a page that texts may show.
struct PageNumbers {
    int number = 1;  // as the report counts it
    int run = 0;     // the run of numbers that it belongs to: a group may start a new one
    RowRange rows;   // of the report's grid
};

// Messages that the log has once per control, however many rows they apply to.
class LayoutNotes {
public:
    // The item's text is placed in its box, and the box does not grow: reports #### in place of a number, and
    // lines that do not fit.
    void placed(const PlannedControl& control, const Item& item, std::size_t linesLeftOut);
    void madeSmaller();

private:
    void hiddenNumber(const PlannedControl& control, const Item& item);

    std::unordered_set<const Control*> hidden_;   // numbers
    std::unordered_set<const Control*> leftOut_;  // lines
    bool madeSmaller_ = false;
};

struct LayoutContext;

// Settles deferred items. Conditions on the page count cannot wait for the end, because they decide what a sink
// receives: the pages are counted first, in a layout that no sink sees. It has the same pages, since hidden items
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
    struct Waiting {
        LateItem late;
        int run = 0;
    };

    bool holds(const LateCondition& condition, const PageNumbers& page) const;
    void moveTo(LatePosition& at, const PageNumbers& page) const;
    int pageCount(int run) const;
    bool settleItem(Item& item, LateItem& late, const PageNumbers& page);
    void restyle(Item& item, LateItem& late, const PageNumbers& page);
    void settleContent(Item& item, LateItem& late, const PageNumbers& page);
    void settleText(Item& item, const LateItem& late);
    void fit(Item& item, const LateItem& late);

    LayoutContext& context_;
    bool counting_ = false;
    bool counted_ = false;
    std::deque<Waiting> waiting_;
    std::vector<int> pagesOfRun_;
    EvaluatedText evaluated_;
};

class Flow;
struct ReportInstance;

// Walks a report into a flow. A band may contain a sub-report, which is walked like the report itself: through
// this function, the builder of bands reaches the walk that uses it.
using WalkReport = void (*)(LayoutContext& context, ReportInstance instance, Flow& flow);

struct LayoutContext {
    LayoutContext(const LayoutOptions& layoutOptions, WalkReport walkReport)
        : options(layoutOptions), walk(walkReport), late(*this) {}
    LayoutContext(const LayoutContext&) = delete;
    LayoutContext& operator=(const LayoutContext&) = delete;

    LayoutOptions options;
    const WalkReport walk;
    std::int64_t now = 0;
    StylePool styles;
    PictureStore pictures;
    ContentTexts contentTexts{pictures};
    LayoutNotes notes;
    LateItems late;
};

// The control's style with its conditional ones on top, for those of its conditions that hold.
const PooledStyle* styleUnder(PlannedControl& control, std::vector<bool> holds,
                              const ReportDefinition& report, StylePool& styles);

// A plan with the rows that it is walked for.
struct ReportInstance {
    ReportPlan& plan;
    std::shared_ptr<RowView> view;
    bool isSubReport = false;
};

}  // namespace qbsvrl6

#endif
