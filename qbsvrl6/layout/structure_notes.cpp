#include "qbsvrl6/layout/structure_notes.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <vector>

namespace qbsvrl6 {

namespace {

constexpr double kTitleSize = 1.15;  // times that of plain text: what is larger is a title

// A single column without a title arranges texts; it is no table.
std::shared_ptr<const std::vector<int>> tableColumns(const PlannedGrid& grid) {
    auto columns = std::make_shared<std::vector<int>>();
    int shown = 0;
    for (const PlacedColumn& column : grid.geometry.columns) {
        columns->push_back(column.visible ? column.columnGroup : DocumentStructure::kNoColumn);
        shown += column.visible ? 1 : 0;
    }
    if (shown < 2 && grid.titles.empty()) return nullptr;
    return columns;
}

// Whether the text comes before the other as a heading: it is larger, or bold, or read earlier.
bool isBetterHeading(const Item& item, const Item& than) {
    const auto rank = [](const Item& text) {
        return std::tuple(-text.style->fontSize, !text.style->bold, text.box.y, text.box.x);
    };
    return rank(item) < rank(than);
}

}  // namespace

std::uint32_t addToStructure(DocumentStructure* structure, ReportPlan& plan, const ItemRole& shownBy,
                             int headingLevel) {
    if (structure == nullptr) return 0;
    static_assert(kEveryColumnGroup == DocumentStructure::kEveryGroup);
    if (plan.grid && plan.grid->tableColumns == nullptr) plan.grid->tableColumns = tableColumns(*plan.grid);
    const int rowHeads = plan.cross != nullptr ? plan.grid->grid->fixedColumns : 0;
    if (!plan.grid) return structure->addReport({shownBy, nullptr, headingLevel, rowHeads, nullptr, nullptr});
    return structure->addReport(
        {shownBy, plan.grid->tableColumns, headingLevel, rowHeads, plan.grid->grid, plan.grid->columnNames});
}

std::uint32_t StructureNotes::addBand(BandKind kind, const Scope& scope) const {
    DocumentStructure* const structure = context_.options.structure;
    const bool isOfPage = kind == BandKind::PageHeader || kind == BandKind::PageFooter;
    if (structure == nullptr || isOfPage || instance_.structure == 0) return 0;
    return structure->addBand(kind, instance_.structure, scope.kind == ScopeKind::Group ? scope.level : -1);
}

ItemRole StructureNotes::roleOf(std::uint32_t band, std::size_t index, const PlannedControl& control,
                                int columnGroup) const {
    ItemRole role{band, static_cast<std::uint32_t>(index), control.firstColumn, control.lastColumn};
    if (band == 0 || role.column >= 0 || !instance_.plan.grid) return role;
    // A free control of a group's section covers the columns above and below it.
    const GridGeometry& geometry = instance_.plan.grid->geometry;
    for (std::size_t i = 0; i < geometry.columns.size(); ++i) {
        const PlacedColumn& column = geometry.columns[i];
        const bool meets = control.box.x < column.x + column.width && column.x < control.box.right();
        if (column.line > 0 || !meets || !geometry.inColumnGroup(i, std::max(columnGroup, 0))) continue;
        if (role.column < 0) role.column = static_cast<int>(i);
        role.lastColumn = static_cast<int>(i);
    }
    return role;
}

std::uint32_t StructureNotes::addSubReport(ReportPlan& plan, const ItemRole& shownBy,
                                           const Position& position) const {
    DocumentStructure* const structure = context_.options.structure;
    if (structure == nullptr || shownBy.band == 0) return 0;
    const int groups = position.scope.kind == ScopeKind::Group ? position.scope.level + 1
                       : position.ofRow                        ? instance_.view->groupCount()
                                                               : 0;
    return addToStructure(structure, plan, shownBy, levelOfGroup(groups));
}

// Groups without a header have no heading.
int StructureNotes::levelOfGroup(int groupLevel) const {
    int level = context_.options.structure->report(instance_.structure).headingLevel + (hasTitle_ ? 1 : 0);
    for (int outer = 0; outer < groupLevel; ++outer) {
        level += instance_.plan.grid->groups[static_cast<std::size_t>(outer)].header ? 1 : 0;
    }
    return level;
}

void StructureNotes::chooseHeading(const Band& band, int groupLevel) {
    const bool ofGroup = band.kind == BandKind::GroupHeader;
    const bool mayHaveTitle = band.kind == BandKind::ReportHeader && !hasTitle_;
    if (band.structure == 0 || (!ofGroup && !mayHaveTitle)) return;
    const Item* heading = nullptr;
    for (const Item& item : band.items) {
        const auto* const text = std::get_if<TextItem>(&item.content);
        if (text == nullptr || text->text.empty() || item.role.band != band.structure) continue;
        if (heading == nullptr || isBetterHeading(item, *heading)) heading = &item;
    }
    const double plain = instance_.plan.report->font.fontSize.value_or(ResolvedStyle().fontSize);
    if (heading == nullptr || (!ofGroup && heading->style->fontSize < kTitleSize * plain)) return;
    DocumentStructure::BandEntry& entry = context_.options.structure->band(band.structure);
    const int level = ofGroup ? levelOfGroup(groupLevel)
                              : context_.options.structure->report(instance_.structure).headingLevel;
    entry.heading = heading->role.index + 1;
    constexpr int kLowest = 6;
    entry.headingLevel = static_cast<std::uint8_t>(std::min(level, kLowest));
    hasTitle_ = hasTitle_ || !ofGroup;
}

}  // namespace qbsvrl6
