// Builds bands from sections, titles and rows.
#ifndef QBSVR_QBSVRL6_LAYOUT_BAND_BUILDER_H
#define QBSVR_QBSVRL6_LAYOUT_BAND_BUILDER_H

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/layout/band_draft.h"
#include "qbsvrl6/layout/chart_numbers.h"
#include "qbsvrl6/layout/flow.h"
#include "qbsvrl6/layout/label_rows.h"
#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/structure_notes.h"

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
    // `shownBy` is the role of the control.
    std::optional<ReportInstance> subReport(PlannedControl& control, const Position& position,
                                            const ItemRole& shownBy);
    // Of a sub-report that is alone in a slice of its section, which then has no band.
    ItemRole roleOfSlice(BandKind kind, const PlannedSection& section, std::size_t control,
                         const Position& position) const;
    BandDraft title();
    // `previous` is the row above, with which suppressed values are compared; none: all values are shown.
    BandDraft row(std::size_t row, std::optional<std::size_t> previous);
    // Whether the template keeps the row on the page of the next one.
    bool staysWithNext(std::size_t row);
    // The rows from this one on that merged cells hold together: the row alone if it is in no merged cell.
    RowRange mergedRows(std::size_t row);
    // Several rows as one band, in which merged cells cover several of them.
    BandDraft mergedRows(RowRange rows, std::optional<std::size_t> previous);
    // The labels of a line of a sheet, with a gap below them.
    BandDraft labels(std::span<const std::optional<LabelPlace>> places, Micrometres gap);
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
        UnplacedItem(PlannedControl& ownControl, Item& ownItem) : control(&ownControl), item(&ownItem) {}

        PlannedControl* control;
        Item* item;
        const PooledStyle* style = nullptr;
        std::optional<LateItem> late;
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
    static void setStyle(UnplacedItem& unplaced, const Rect& box, const PooledStyle* style);
    static void setStyle(Item& item, const PlannedControl& control, const Rect& box,
                         const PooledStyle* style);
    void makeText(PlannedText& text, const Position& position, UnplacedItem& unplaced);
    Micrometres makeTextItem(PlannedText& text, const Position& position, const PooledStyle& style,
                             Item& item);
    DrawingItem makeChart(PlannedChart& chart, const Control& control, const Position& position);
    void makeSubReport(PlannedControl& control, const Position& position, UnplacedItem& unplaced);
    Position evaluationPosition(const PlannedText& text, const Position& position) const;

    Micrometres arrange(const Section& section, Micrometres height,
                        std::vector<UnplacedItem>& unplacedItems) const;
    // A cell of several rows of a band that is being built.
    struct MergedCell {
        std::optional<UnplacedItem> unplaced;  // its item is the next member
        Item item;
        Micrometres top = 0;
    };
    // The merged cells of a band of several rows, at one of its rows.
    struct Merging {
        std::vector<MergedCell> open;  // of each cell of a row
        std::vector<bool> continues;   // the cell is the same as in the row above
        std::vector<bool> goesOn;      // the same, in the row below
        Micrometres top = 0;           // of the row
    };
    // The controls of a title or row, whose lines have these levels.
    struct CellLines {
        std::vector<PlannedControl>& controls;
        std::span<const Micrometres> heights;  // of the levels of each line
        bool canGrow = true;
        BandKind kind = BandKind::Row;
    };

    BandDraft plainRow(const Position& position);
    BandDraft cells(const CellLines& lines, const Position& position, std::optional<std::size_t> previous);
    void addCell(const CellLines& lines, std::size_t index, const Position& position,
                 std::optional<std::size_t> previous, BandDraft& draft);
    bool showsRow(const PlannedControl& control, const Position& position) const;
    void settleLines(const CellLines& lines, BandDraft& draft);
    std::size_t lineOf(const PlannedControl& control, std::size_t levels) const;
    ItemRole roleOfCell(const PlannedControl& control, std::uint32_t entry, int lastColumn) const;
    // The columns up to here are covered by the cell.
    int joinColumns(std::size_t index, const Position& position, Rect& box);
    std::vector<bool> spannedCells(std::size_t row);
    // Whether each cell is merged with that of the row above.
    std::vector<bool> continuesAbove(std::size_t row);
    bool openMerged(std::size_t index, const Position& position, std::uint32_t entry);
    void closeMerged(BandDraft& draft, Micrometres bottom, std::uint32_t entry);
    void append(BandDraft& whole, BandDraft&& row) const;
    void fillRow(BandDraft& whole, const BandDraft& row) const;
    void suppress(UnplacedItem& unplaced, const Position& position, std::size_t previous, BandDraft& draft);
    bool hasNoWidth(const PlannedControl& control, const Item& item, const TextItem& text) const;
    void beginItems(BandDraft& draft, std::size_t most);
    UnplacedItem& addItem(BandDraft& draft, PlannedControl& control);
    void dropItem();
    void endItems(BandDraft& draft) const;
    bool fit(UnplacedItem& unplaced) const;
    void fitText(const PlannedControl& control, Item& item, TextItem& text, bool settlesLate) const;
    void place(BandDraft& draft);
    void noteItem(BandDraft& draft, UnplacedItem& unplaced, std::size_t index) const;
    void moveInto(BandDraft& draft, UnplacedItem& unplaced) const;
    void placeNested(BandDraft& draft, UnplacedItem& unplaced, const Rect& box,
                     const std::vector<LateCondition>& around) const;
    std::optional<Color> alternate(std::size_t row, std::size_t blanks) const;
    void finishGridBand(BandDraft& draft) const;
    bool hasColumnGroups() const;

    LayoutContext& context_;
    const ReportInstance instance_;
    RowView& view_;
    StructureNotes structure_;
    const std::uint32_t walk_;       // its number in the calculations
    const std::uint32_t firstForm_;  // of rows with all columns; those of the column groups follow it
    const bool hasPlainRows_;
    EvaluatedText evaluated_;
    // For the current band.
    bool hasAllItems_ = true;  // each control has an item
    std::vector<UnplacedItem> unplacedItems_;
    std::vector<Micrometres> lineHeights_;
    std::vector<Micrometres> lineTops_;
    int covered_ = -1;            // the last column that a cell of the row covers
    Merging* merging_ = nullptr;  // while a band of several rows is being built
    ChartNumbers chartNumbers_;
};

}  // namespace qbsvrl6

#endif
