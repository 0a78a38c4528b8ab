// A band under construction, until it has its page.
#ifndef QBSVR_QBSVRL6_LAYOUT_BAND_DRAFT_H
#define QBSVR_QBSVRL6_LAYOUT_BAND_DRAFT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/items/band.h"
#include "qbsvrl6/layout/report_plan.h"
#include "qbsvrl6/layout/style_pool.h"

namespace qbsvrl6 {

struct BandDraft;

// Builds bands again for a page that continues a grid.
class RepeatSource {
public:
    virtual ~RepeatSource() = default;
    // The bands at the top of a page that continues with `lead`: title and group headers.
    virtual std::vector<BandDraft> repeats(const BandDraft& lead) = 0;
    // The row again, with nothing suppressed.
    virtual BandDraft revealed(const BandDraft& row) = 0;
};

// The position of an expression that needs its page: it is evaluated there when the page is complete.
struct LatePosition {
    Position position;
    std::shared_ptr<RowView> view;
    bool ofSubReport = false;  // its own rows are the rows of the page
};

struct LateCondition {
    const Expression* when = nullptr;
    LatePosition at;
};

// An item that is settled when its page, or the whole report, is complete.
struct LateItem {
    std::size_t item = 0;  // of the band
    PlannedControl* control = nullptr;
    PlannedText* text = nullptr;  // the control's, where it isn't known yet
    LatePosition textAt;
    // All must be true for the item to be shown: the control's condition, and those of what is around it.
    std::vector<LateCondition> visibleWhen;
    std::optional<LatePosition> contentAt;     // of the content's other texts (ContentTexts); none: known
    const ReportDefinition* styles = nullptr;  // of the control's late conditional styles; null: it has none
    LatePosition at;                           // of the conditions of the styles
};

struct BandDraft {
    Band band;
    Micrometres x = 0;                         // from the left edge of the flow
    std::vector<LateItem> deferred;            // in the order of their items
    std::optional<LateCondition> visibleWhen;  // of the band; where it does not hold, the band is empty space
    std::vector<int> sets;                     // of columns, one for each item; empty where there is one set
    std::vector<Micrometres> cuts;             // heights at which a cut divides nothing, ascending
    bool mayBreak = false;                     // may be cut even where it would fit on the next page
    std::size_t row = 0;                       // of the grid's walk
    bool hidesRepeated = false;                // a row with suppressed values
    bool isRest = false;                       // the lower part of one that began on an earlier page
    bool madeSmaller = false;  // something above the cut is no longer as large as it was designed
    std::shared_ptr<RepeatSource> owner;
    bool ofSubReport = false;
    std::vector<std::uint64_t>
        keeps;  // the flow's: first bands of the ranges that no break before this one may divide
    std::uint64_t sequence = 0;  // the flow's: counts the bands
};

// Cuts a draft at `height` or, better, a little above where nothing is divided; the upper part stays in
// `draft`. With `force`, something stays even if nothing fits: what can't be divided becomes as small as the
// upper part. Gives the lower part, without items where all has found its place; null, with the draft as it
// was, where nothing would stay. `drawings` draws what changes its size.
std::optional<BandDraft> splitDraft(BandDraft& draft, Micrometres height, bool force,
                                    DrawingSource* drawings);

// The part of a draft of the grid that belongs to a set of columns, fixed columns included.
BandDraft partForSet(const BandDraft& draft, const GridGeometry& geometry, int set);

}  // namespace qbsvrl6

#endif
