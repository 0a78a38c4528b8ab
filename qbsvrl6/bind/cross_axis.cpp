#include "qbsvrl6/bind/cross_axis.h"

#include <limits>
#include <utility>

#include "qbsvrl6/bind/passed_values.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

// A group with a `top` has all rows of its key.
Group groupOf(const CrossLevel& level) {
    Group group;
    group.by = level.by;
    group.sort = level.sort;
    group.top = level.top > 0 ? level.top : std::numeric_limits<int>::max();
    group.others = level.others;
    return group;
}

Position positionAt(const RowView& view, std::size_t row, int level) {
    Position position;
    position.row = row;
    position.pageRows = {0, view.rowCount()};
    position.scope = level < 0 ? Scope{ScopeKind::Report, 0} : Scope{ScopeKind::Group, level};
    for (int outer = 0; outer <= level; ++outer) position.ofOthers |= view.isOthers(outer, row);
    return position;
}

}  // namespace

CrossAxisQuery::CrossAxisQuery(const ReportDefinition& report, const DataSources& sources,
                               std::span<const SubReportParameter> passed,
                               const std::vector<CrossLevel>& levels)
    : levels_(levels) {
    names_.info = report.info;
    names_.fields = report.fields;
    names_.parameters = report.parameters;
    names_.inherited = report.inherited;
    names_.places = report.places;
    names_.grid = std::make_unique<DetailGrid>();
    for (const CrossLevel& level : levels) {
        names_.grid->groups.push_back(std::make_unique<Group>(groupOf(level)));
    }
    binding_ = std::make_unique<Binding>(names_, sources, passed);
    for (const CrossLevel& level : levels) {
        titles_.push_back({binding_->compileText(level.title), binding_->compileText(level.total)});
    }
}

void CrossAxisQuery::refusePassed() const {
    for (std::size_t level = 0; level < levels_.size(); ++level) {
        const Binding::BoundGroup& group = binding_->groups()[level];
        qbsvrl6::refusePassed(group.key, *binding_, levels_[level].by);
        for (const SortTerm& term : group.sort) {
            qbsvrl6::refusePassed(term.expression, *binding_, levels_[level].sort);
        }
        for (const auto& [compiled, text] : {std::pair(&titles_[level].key, &levels_[level].title),
                                             std::pair(&titles_[level].total, &levels_[level].total)}) {
            for (const TextPart& part : compiled->parts) {
                if (part.expression) qbsvrl6::refusePassed(*part.expression, *binding_, *text);
            }
        }
    }
}

struct CrossAxisQuery::Finding {
    RowView& view;
    CrossAxis axis;
    TextArena arena;
    EvaluatedText evaluated;

    std::u16string textAt(TextTemplate& text, std::size_t row, int level) {
        if (text.parts.empty()) return {};
        view.evaluateText(text, positionAt(view, row, level), evaluated);
        return std::move(evaluated.text);
    }
};

CrossAxis CrossAxisQuery::find(RowView& view) {
    Finding finding{view, {}, {}, {}};
    CrossAxis& axis = finding.axis;
    const Table* const table = view.tables().tableFor(binding_->sources().rows);
    const std::size_t tableRows = table == nullptr ? 0 : table->rowCount();
    checkLeft(&Budget::dataBytes, tableRows * sizeof(std::uint32_t), "the rows of a cross-table");
    axis.leafOf.assign(tableRows, CrossAxis::kNowhere);
    axis.nodes.emplace_back();
    if (levels_.empty()) {
        axis.lines.push_back({0, -1});
        for (std::size_t row = 0; row < view.rowCount(); ++row) {
            Position position;
            position.row = row;
            axis.leafOf[*view.tableRow(position)] = 0;
        }
    } else if (view.rowCount() > 0) {
        addKeys(finding, {0, view.rowCount()}, 0, 0);
    }
    return std::move(axis);
}

void CrossAxisQuery::addKeys(Finding& finding, RowRange rows, std::size_t level, std::uint32_t parent) {
    RowView& view = finding.view;
    CrossAxis& axis = finding.axis;
    const auto depth = static_cast<int>(level);
    const bool hasTotal = !levels_[level].total.empty();
    const CrossLine total{parent, depth};
    if (hasTotal) axis.nodes[parent].totalTitle = finding.textAt(titles_[level].total, rows.first, depth - 1);
    if (hasTotal && levels_[level].totalPlace == TotalPlace::Before) axis.lines.push_back(total);
    for (std::size_t row = rows.first; row < rows.end;) {
        goOn();
        const RowRange group = view.group(depth, row);
        const auto node = static_cast<std::uint32_t>(axis.nodes.size());
        if (node >= limits::kCrossCells) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "a cross-table has more than " + std::to_string(limits::kCrossCells) + " keys");
        }
        CrossNode& made = axis.nodes.emplace_back();
        made.parent = parent;
        made.level = depth;
        made.key =
            OwnedValue(view.evaluate(binding_->groups()[level].key, positionAt(view, group.first, depth)));
        made.title = titles_[level].key.parts.empty()
                         ? std::u16string(toText(made.key.get(), finding.arena))
                         : finding.textAt(titles_[level].key, group.first, depth);
        finding.arena.reset();
        if (level + 1 < levels_.size()) {
            addKeys(finding, group, level + 1, node);
        } else {
            axis.lines.push_back({node, -1});
            Position position;
            for (position.row = group.first; position.row < group.end; ++position.row) {
                axis.leafOf[*view.tableRow(position)] = node;
            }
        }
        row = group.end;
    }
    if (hasTotal && levels_[level].totalPlace == TotalPlace::After) axis.lines.push_back(total);
}

}  // namespace qbsvrl6
