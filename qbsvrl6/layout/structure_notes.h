// Notes in the DocumentStructure what the bands of a report are.
#ifndef QBSVR_QBSVRL6_LAYOUT_STRUCTURE_NOTES_H
#define QBSVR_QBSVRL6_LAYOUT_STRUCTURE_NOTES_H

#include <cstddef>
#include <cstdint>

#include "qbsvrl6/items/structure.h"
#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

// Adds the report and returns its number; 0 without a structure.
std::uint32_t addToStructure(DocumentStructure* structure, ReportPlan& plan, const ItemRole& shownBy,
                             int headingLevel);

// Of one walk. Without a structure, all entries are none.
class StructureNotes {
public:
    StructureNotes(LayoutContext& context, const ReportInstance& instance)
        : context_(context), instance_(instance) {}

    // The entry of a new band; none for page headers and footers, and for the sub-reports in them.
    std::uint32_t addBand(BandKind kind, const Scope& scope = {}) const;
    // Of the control with this index in its section, or of the cell of a row.
    ItemRole roleOf(std::uint32_t band, std::size_t index, const PlannedControl& control,
                    int columnGroup) const;
    // The entry of a sub-report in a control at the position.
    std::uint32_t addSubReport(ReportPlan& plan, const ItemRole& shownBy, const Position& position) const;
    // Chooses the text of the finished band that is its heading: the largest of a group's header, or the
    // first one of the report that is larger than plain text.
    void chooseHeading(const Band& band, int groupLevel);

private:
    int levelOfGroup(int groupLevel) const;

    LayoutContext& context_;
    const ReportInstance& instance_;
    bool hasTitle_ = false;  // the report has a heading
};

}  // namespace qbsvrl6

#endif
