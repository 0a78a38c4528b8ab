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

// What goes to the log once, however many rows it is true of.
class LayoutNotes {
public:
    // The item's text is placed in its box, and the box does not grow: reports #### in place of a number, and
    // lines that have no room.
    void placed(const PlannedControl& control, const Item& item, std::size_t linesLeftOut);
    void madeSmaller();

private:
    void hiddenNumber(const PlannedControl& control, const Item& item);

    std::unordered_set<const Control*> hidden_;   // numbers
    std::unordered_set<const Control*> leftOut_;  // lines
    bool madeSmaller_ = false;
};

struct LayoutContext;

// Settles items that had to wait. Conditions with the page count can't wait for the end: they decide what a
// sink gets at all. So the pages are counted first, in a layout that no sink sees; it has the same pages,
// since the room of what may turn out to be invisible is kept.
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

// Walks a report into a flow. Bands hold sub-reports, which are walked like the report that consists of bands:
// this is how a band's builder reaches the walk that has built it.
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
