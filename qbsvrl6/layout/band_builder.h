// Builds bands from sections, titles and rows.
#ifndef QBSVR_QBSVRL6_LAYOUT_BAND_BUILDER_H
#define QBSVR_QBSVRL6_LAYOUT_BAND_BUILDER_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/layout/band_draft.h"
#include "qbsvrl6/layout/chart_numbers.h"
#include "qbsvrl6/layout/flow.h"
#include "qbsvrl6/layout/layout_context.h"

namespace qbsvrl6 {

class BandBuilder {
public:
    BandBuilder(LayoutContext& context, ReportInstance instance);

    // Nothing if the section isn't visible. With a slice, only that part of the section.
    std::optional<BandDraft> section(PlannedSection& section, BandKind kind, const Position& position,
                                     const SectionSlice* slice = nullptr);
    // A header or footer of a group; the position's scope is the group.
    std::optional<BandDraft> groupSection(PlannedSection& section, BandKind kind, const Position& position,
                                          const SectionSlice* slice = nullptr);
    // The plan and rows of a sub-report; nothing if it isn't visible or is nested too deep.
    std::optional<ReportInstance> subReport(PlannedControl& control, const Position& position);
    BandDraft title();
    // `previous` is the row above, with which suppressed values are compared; none: all values are shown.
    BandDraft row(std::size_t row, std::optional<std::size_t> previous);
    // A blank row after the last row; `number` counts them from 1.
    BandDraft blankRow(Micrometres height, std::size_t number);

    Position reportPosition(std::size_t row) const;
    Position groupPosition(int level, std::size_t row) const;
    Position rowPosition(std::size_t row) const;

    // Whether to build it: it is visible, or that is decided when its page is complete.
    bool isVisible(const Visibility& visible, const Position& position);

    // The column group that rows consist of; kEveryColumnGroup: all columns, which the pager divides.
    int activeColumnGroup = kEveryColumnGroup;

private:
    // A control's item while the final heights in the band are unknown.
    struct UnplacedItem {
        explicit UnplacedItem(PlannedControl& ownControl) : control(&ownControl) {}

        PlannedControl* control;
        const PooledStyle* style = nullptr;
        std::optional<LateItem> late;
        Item item;
        Micrometres needed = 0;  // height that a growing text needs
        bool removed = false;    // takes up no height, because it is empty
        std::vector<CollectingFlow::Placed> nested;
    };

    LatePosition late(const Position& position) const {
        return {position, instance_.view, instance_.isSubReport};
    }
    static LateItem& lateOf(UnplacedItem& unplaced);
    const PooledStyle* styleOf(PlannedControl& control, const Position& position);
    bool makeItem(const Rect& box, const Position& position, UnplacedItem& unplaced);
    void makeText(PlannedText& text, const Position& position, UnplacedItem& unplaced);
    DrawingItem makeChart(PlannedChart& chart, const Control& control, const Position& position);
    void makeSubReport(PlannedControl& control, const Position& position, UnplacedItem& unplaced);
    Position evaluationPosition(const PlannedText& text, const Position& position) const;

    Micrometres arrange(const Section& section, Micrometres height,
                        std::vector<UnplacedItem>& unplacedItems) const;
    BandDraft cells(std::vector<PlannedControl>& controls, Micrometres lineHeight, bool canGrow,
                    BandKind kind, const Position& position, std::optional<std::size_t> previous);
    void suppress(UnplacedItem& unplaced, const Position& position, std::size_t previous, BandDraft& draft);
    bool hasNoWidth(const UnplacedItem& unplaced, const TextItem& text) const;
    void place(BandDraft& draft, std::vector<UnplacedItem>& unplacedItems) const;
    void placeNested(BandDraft& draft, UnplacedItem& unplaced,
                     const std::vector<LateCondition>& around) const;
    std::optional<Color> alternate(std::size_t row, std::size_t blanks) const;
    void finishGridBand(BandDraft& draft) const;
    bool hasColumnGroups() const;

    LayoutContext& context_;
    const ReportInstance instance_;
    RowView& view_;
    EvaluatedText evaluated_;
    // For the current band.
    std::vector<UnplacedItem> unplacedItems_;
    std::vector<Micrometres> lineHeights_;
    std::vector<Micrometres> lineTops_;
    ChartNumbers chartNumbers_;
};

}  // namespace qbsvrl6

#endif
