// A band under construction, until it is placed on a page.
#ifndef QBSVR_QBSVRL6_LAYOUT_BAND_DRAFT_H
#define QBSVR_QBSVRL6_LAYOUT_BAND_DRAFT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/layout/late_item.h"
#include "qbsvrl6/layout/report_plan.h"
#include "qbsvrl6/layout/style_pool.h"
#include "qbsvrl6/layout/uncut_items.h"

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

struct BandDraft {
    Band band;
    Micrometres x = 0;                         // from the left edge of the flow
    std::vector<LateItem> deferred;            // in the order of their items
    std::optional<LateCondition> visibleWhen;  // of the band: if it is false, the band is left blank
    std::vector<int> columnGroups;             // the column group of each item; empty if there is only one
    std::vector<Micrometres> cuts;             // heights at which a cut divides nothing, ascending
    bool mayBreak = false;                     // may be cut even if it would fit on the next page
    std::size_t row = 0;                       // of the grid's walk: the first one
    std::vector<Micrometres> rowTops;          // of each row that begins in a band of several rows
    RowRange hiddenRows;                       // of a group without rows, in the band that counts them
    bool hidesRepeated = false;                // a row with suppressed values
    bool isRest = false;                       // the lower part of a band that began on an earlier page
    bool madeSmaller = false;                  // something above the cut was scaled down
    std::shared_ptr<RepeatSource> owner;
    bool ofSubReport = false;
    bool countsRows = true;  // its rows are rows of the page
    std::vector<std::uint64_t>
        keeps;  // the flow's: first bands of the ranges that no break before this one may divide
    std::uint64_t sequence = 0;         // the flow's: counts the bands
    std::unique_ptr<UncutItems> uncut;  // of a rest: its items that aren't in the band; null: all are
};

// Cuts a draft at `height`, or a little above if nothing is divided there. The upper part remains in `draft`;
// the lower part is returned, without items if everything fits in the upper one. Returns nothing, and leaves
// the draft unchanged, if no content would remain. With `force`, some content always remains: items that
// can't be divided are scaled down to the upper part. `drawings` redraws items that change their size. The
// upper part is complete; the lower one may hold items outside its band.
std::optional<BandDraft> splitDraft(BandDraft& draft, Micrometres height, bool force,
                                    DrawingSource* drawings);

// Puts all items of a rest into its band.
void complete(BandDraft& draft);

// Whether the draft has neither items nor a background.
bool isEmpty(const BandDraft& draft);

// The part of a band of the grid that belongs to a column group, fixed columns included.
BandDraft partForColumnGroup(const BandDraft& draft, const GridGeometry& geometry, int columnGroup);

}  // namespace qbsvrl6

#endif
