#include "qbsvrl6/layout/shown_grid.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "qbsvrl6/bind/passed_values.h"
#include "qbsvrl6/layout/cross_grid.h"
#include "qbsvrl6/layout/report_sources.h"
#include "qbsvrl6/layout/style_pool.h"
#include "qbsvrl6/layout/text_layout.h"
#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/clock.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

class Shower {
public:
    explicit Shower(const ReportData& data) : data_(data), now_(localTime()) {}

    // What a report gives its sub-report.
    struct Outer {
        const DataSet* data = nullptr;
        std::span<const SubReportParameter> passed = {};
        std::optional<DataSources> sectionRows = {};
        int depth = 0;
    };

    void show(const ReportDefinition& report, const Outer& outer) {
        if (outer.depth > limits::kSubReportDepth) return;
        std::optional<DataSources> sources;
        const auto ownSources = [&]() -> const DataSources& {
            if (!sources)
                sources = outer.sectionRows ? *outer.sectionRows : sourcesOf(report, data_, outer.data);
            return *sources;
        };
        if (report.grid && report.grid->cross) {
            grids_->add(report, showCross(report, ownSources(), outer));
        } else if (report.grid && hasShapes(*report.grid)) {
            grids_->add(report, showColumns(report, ownSources(), outer));
        }
        for (const Control* control : allControls(const_cast<ReportDefinition&>(report))) {
            const auto* const content = std::get_if<SubReportContent>(&control->content);
            if (content == nullptr) continue;
            const std::vector<SubReportParameter> passed = passedTo(*content);
            Outer inner{dataOf(report, data_, outer.data), passed, {}, outer.depth + 1};
            if (inner.data == nullptr && report.grid) inner.data = ownSources().data;
            if (content->hasSectionRows) inner.sectionRows = ownSources();
            show(content->report->definition, inner);
        }
    }

    std::shared_ptr<const ShownGrids> done() { return std::move(grids_); }

private:
    static bool hasShapes(const DetailGrid& grid) {
        return std::any_of(grid.columns.begin(), grid.columns.end(), [](const auto& column) {
            return column->fitsContent || !column->visibleWhen.empty() || !column->repeat.empty();
        });
    }

    // The rows whose keys make columns. Those of a sub-report are all of its table: which of them it shows
    // differs from place to place.
    WalkedRows rowsWithKeys(const ReportDefinition& report, const DataSources& sources, const Outer& outer) {
        if (outer.depth == 0) return RowView(Binding(report, sources, outer.passed), {}, now_).walkedRows();
        return sources.rows == nullptr ? WalkedRows() : WalkedRows({0, sources.rows->rowCount()});
    }

    ShownGrid showCross(const ReportDefinition& report, const DataSources& sources, const Outer& outer) {
        ShownGrid shown;
        shown.query = std::make_unique<CrossTableQuery>(report, sources, outer.passed);
        const WalkedRows rows = rowsWithKeys(report, sources, outer);
        shown.query->findColumns({}, now_, rows);
        const auto& levels = report.grid->cross->columns;
        const bool needsTotals =
            outer.depth == 0 || std::any_of(levels.begin(), levels.end(), [](const CrossLevel& level) {
                return !level.conditions.empty();
            });
        shown.rows = shown.query->evaluate({}, now_, needsTotals ? rows : WalkedRows());
        shown.cross = crossGrid(report, *shown.query);
        shown.names.info = report.info;
        shown.names.parameters = report.parameters;
        shown.names.inherited = report.inherited;
        return shown;
    }

    ShownGrid showColumns(const ReportDefinition& report, const DataSources& sources, const Outer& outer) {
        ShownGrid shown;
        for (const auto& column : report.grid->columns) {
            if (column->repeat.empty()) {
                shown.columns.push_back({column.get(), column->width});
            } else {
                addRepeated(*column, report, sources, outer, shown);
            }
        }
        shapeColumns(report, sources, outer, shown);
        return shown;
    }

    // A column for each value, with the value in place of the placeholders of its title.
    void addRepeated(const Column& column, const ReportDefinition& report, const DataSources& sources,
                     const Outer& outer, ShownGrid& shown) {
        if (data_.rowQueries.contains(&report)) {
            throw EngineError(
                ErrorCode::NotSupported,
                "repeat=\"" + toUtf8(column.repeat) +
                    "\" of a column cannot read a query that runs for each row of the outer report");
        }
        std::vector<CrossLevel> levels(1);
        levels.front().by = column.repeat;
        levels.front().sort = column.repeatSort;
        const auto* const title = std::get_if<TextContent>(&column.title.content);
        if (title != nullptr) levels.front().title = title->text;
        CrossAxisQuery query(report, sources, outer.passed, levels);
        query.refusePassed();
        RowView view(query.binding(), {}, now_, rowsWithKeys(report, sources, outer));
        CrossAxis axis = query.find(view);
        if (shown.columns.size() + axis.lines.size() > limits::kDataColumns) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "repeat=\"" + toUtf8(column.repeat) + "\" of a column has " +
                                  std::to_string(axis.lines.size()) + " values, and a grid has at most " +
                                  std::to_string(limits::kDataColumns) +
                                  " columns; use a coarser expression");
        }
        const auto& keys = *shown.keys.emplace_back(
            std::make_unique<const std::vector<std::uint32_t>>(std::move(axis.leafOf)));
        for (const CrossLine& line : axis.lines) {
            auto own = std::make_unique<Column>(column);
            if (title != nullptr)
                std::get<TextContent>(own->title.content).text = literalText(axis.nodes[line.node].title);
            shown.columns.push_back({own.get(), own->width, false, KeyedRows{&keys, line.node}});
            shown.repeated.push_back(std::move(own));
        }
    }

    // The report for all rows of its table, if its filter reads what an outer report passes; otherwise null.
    static std::unique_ptr<const ReportDefinition> withoutFilter(const ReportDefinition& report,
                                                                 const DataSources& sources,
                                                                 const Outer& outer) {
        if (outer.passed.empty() || trimmed(report.grid->filter).empty()) return nullptr;
        const Binding binding(report, sources, outer.passed);
        if (passedName(*binding.filter(), binding).empty()) return nullptr;
        auto unfiltered = std::make_unique<ReportDefinition>(report);
        unfiltered->grid->filter.clear();
        return unfiltered;
    }

    // Which columns are shown, and how wide those of widths by content are.
    void shapeColumns(const ReportDefinition& report, const DataSources& sources, const Outer& outer,
                      ShownGrid& shown) {
        const std::unique_ptr<const ReportDefinition> unfiltered = withoutFilter(report, sources, outer);
        Binding binding(unfiltered ? *unfiltered : report, sources, outer.passed);
        std::vector<std::optional<Expression>> conditions;
        std::vector<std::optional<TextTemplate>> texts;
        std::vector<TextTemplate> titles;
        for (const ShownColumn& own : shown.columns) {
            const Column& column = *own.column;
            binding.setTotaledRows(own.rows);
            conditions.emplace_back();
            if (!trimmed(column.visibleWhen).empty()) {
                conditions.back() = binding.compile(column.visibleWhen);
                refusePassed(*conditions.back(), binding, column.visibleWhen);
            }
            texts.emplace_back();
            const auto* const text = std::get_if<TextContent>(&column.content.content);
            if (column.fitsContent && text != nullptr) texts.back() = binding.compileText(text->text);
            const auto* const title = std::get_if<TextContent>(&column.title.content);
            titles.push_back(binding.compileText(title != nullptr ? title->text : u""));
        }
        RowView view(binding, {}, now_);
        NamedStyles styles(report);
        Position ofReport;
        ofReport.pageRows = {0, view.rowCount()};
        for (std::size_t i = 0; i < shown.columns.size(); ++i) {
            ShownColumn& shape = shown.columns[i];
            const Column& column = *shape.column;
            shape.hidden = conditions[i] && !view.isTrue(*conditions[i], ofReport);
            if (shape.hidden || !column.fitsContent) continue;
            Widest widest{shape.width, shape.rows};
            if (report.grid->titleHeight > 0) {
                widest.style = stylesOf_.intern(styles.resolve(column.title.styleName, column.title.style));
                view.evaluateText(titles[i], ofReport, text_);
                widest.take(text_.text);
            }
            if (texts[i]) {
                widest.style =
                    stylesOf_.intern(styles.resolve(column.content.styleName, column.content.style));
                measureRows(*texts[i], view, widest);
            }
            shape.width = widest.width;
        }
    }

    // The width that texts need on one line.
    struct Widest {
        Micrometres width = 0;
        std::optional<KeyedRows> rows;  // that the column shows; none: all
        const PooledStyle* style = nullptr;

        void take(const std::u16string& text) {
            if (!text.empty()) width = std::max(width, unbrokenWidth(text, *style));
        }
    };

    void measureRows(TextTemplate& text, RowView& view, Widest& widest) {
        std::u16string last;
        Position position;
        position.pageRows = {0, view.rowCount()};
        position.scope = view.rowScope();
        position.ofRow = true;
        for (position.row = 0; position.row < view.rowCount(); ++position.row) {
            goOn();
            if (widest.rows && !widest.rows->hold(*view.tableRow(position))) continue;
            view.evaluateText(text, position, text_);
            if (text_.text == last) continue;
            widest.take(text_.text);
            last = text_.text;
        }
    }

    const ReportData& data_;
    const std::int64_t now_;
    StylePool stylesOf_;
    EvaluatedText text_;
    std::shared_ptr<ShownGrids> grids_ = std::make_shared<ShownGrids>();
};

}  // namespace

std::shared_ptr<const ShownGrids> showGrids(const ReportDefinition& report, const ReportData& data) {
    Shower shower(data);
    shower.show(report, {});
    return shower.done();
}

}  // namespace qbsvrl6
