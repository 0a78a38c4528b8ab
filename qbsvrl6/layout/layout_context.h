// What the parts of one export's layout share.
#ifndef QBSVR_QBSVRL6_LAYOUT_LAYOUT_CONTEXT_H
#define QBSVR_QBSVRL6_LAYOUT_LAYOUT_CONTEXT_H

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "qbsvrl6/items/items.h"
#include "qbsvrl6/layout/band_draft.h"
#include "qbsvrl6/layout/layout.h"
#include "qbsvrl6/layout/picture_store.h"

namespace qbsvrl6 {

// Numbers of a page that texts may show.
struct PageNumbers {
    int number = 1;  // as the report counts it
    int run = 0;     // the run of numbers that it belongs to: a group may start a new one
    RowRange rows;   // of the report's grid
};

// Settles texts that had to wait.
class LateTexts : public PendingTexts {
public:
    explicit LateTexts(bool measure) : measure_(measure) {}

    // Settles the draft's late texts for its page, but for those that show the page count: they become
    // pending items.
    void settleForPage(BandDraft& draft, const PageNumbers& page);
    void countPage(int run);
    void settle(Item& item) override;

private:
    struct Waiting {
        LateText late;
        int run = 0;
    };

    void settleNow(Item& item, const LateText& late);

    bool measure_;
    std::deque<Waiting> waiting_;
    std::vector<int> pagesOfRun_;
    EvaluatedText evaluated_;
};

struct LayoutContext {
    explicit LayoutContext(const LayoutOptions& layoutOptions)
        : options(layoutOptions), late(layoutOptions.measureText) {}

    const LayoutOptions& options;
    std::int64_t now = 0;
    StylePool styles;
    PictureStore pictures;
    LateTexts late;
};

// A plan with the rows that it is walked for.
struct ReportInstance {
    ReportPlan& plan;
    std::shared_ptr<RowView> view;
    bool isSubReport = false;
};

}  // namespace qbsvrl6

#endif
