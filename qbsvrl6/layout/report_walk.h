// The walk over one report: its sections, groups and rows in order, into a flow.
#ifndef QBSVR_QBSVRL6_LAYOUT_REPORT_WALK_H
#define QBSVR_QBSVRL6_LAYOUT_REPORT_WALK_H

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/layout/band_builder.h"
#include "qbsvrl6/layout/flow.h"
#include "qbsvrl6/layout/layout_context.h"

namespace qbsvrl6 {

// Lives as long as its bands: pages on which its grid continues get titles and headers from it.
class ReportWalk : public RepeatSource, public std::enable_shared_from_this<ReportWalk> {
public:
    // Report headers, grid and report footers; the flow adds page headers and footers.
    static void walk(LayoutContext& context, ReportInstance instance, Flow& flow);

    ReportWalk(LayoutContext& context, ReportInstance instance);

    std::vector<BandDraft> repeats(const BandDraft& lead) override;
    BandDraft revealed(const BandDraft& row) override;

private:
    // Bands that stay together until the group of this level ends, or until `rowsLeft` more rows have been
    // added.
    struct RowKeep {
        std::uint64_t keep = 0;
        int level = 0;
        int rowsLeft = 0;
    };

    void walkReport();
    void add(BandDraft&& draft);
    void addSection(PlannedSection& section, BandKind kind, const Position& position);
    void addSlices(PlannedSection& section, BandKind kind, const Position& position);
    void addSubReport(PlannedControl& control, const ItemRole& role, BandKind kind, Micrometres left,
                      const Position& position, Micrometres height, std::uint64_t lead);
    std::optional<BandDraft> build(PlannedSection& section, BandKind kind, const Position& position,
                                   const SectionSlice* slice);
    void walkGrid();
    void walkRows();
    void walkLabels();
    std::size_t linesOfSheet(bool isNew) const;
    void addLabels(const LabelSheet& sheet, std::size_t lines, const RowRange& passed);
    void addTitle(int level);
    bool showsTitlesInGroups() const;
    // Adds the row, or the group without rows that begins with it, and returns the next row.
    std::size_t walkRow(std::size_t row);
    BandDraft builtRows(RowRange rows, std::optional<std::size_t> previous);
    void openGroups(int from, std::size_t row);
    void closeGroups(int from, std::size_t row);
    void countRow();
    void usePaperOf(int level);
    void endRowKeeps(int fromLevel);
    void fillPage();
    bool isFollowedByFooter(std::size_t row) const;
    // The groups from the outermost to before this level that can be folded.
    int foldsAround(int level) const;
    // Band::outline of a band of this kind, in the group of this level.
    int outlineOf(BandKind kind, int level) const;
    bool hidesRows() const { return shownLevels_ > 0 && !groupAt(shownLevels_ - 1).group->showRows; }
    const PlannedGroup& groupAt(std::size_t level) const { return instance_.plan.grid->groups[level]; }

    LayoutContext& context_;
    const ReportInstance instance_;
    Flow* flow_ = nullptr;  // during the walk
    BandBuilder builder_;
    RowView& view_;
    int paper_ = kOwnPaper;        // of the innermost group that names one
    bool hasPapers_ = false;       // the report has other paper than its own
    bool countsRows_ = true;       // its rows are those of the report, not of a cross-table
    std::size_t shownLevels_ = 0;  // of groups: those inside a group without rows are hidden as well
    RowRange hiddenRows_;          // of the group without rows that the next band begins
    std::u16string sheet_;         // that the next band begins
    std::vector<RowKeep> rowKeeps_;
    std::vector<std::uint64_t> togetherKeeps_;  // of the open groups that are kept together
};

}  // namespace qbsvrl6

#endif
