#include "qbsvrl6/layout/report_plan.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/layout/paper_edge.h"
#include "qbsvrl6/model/beside_paper.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The nearest length that a template can hold.
Micrometres soundLength(Micrometres length) {
    return std::clamp<Micrometres>(length, 0, limits::kPaperMicrometres);
}

Micrometres soundOffset(Micrometres offset) {
    return std::clamp<Micrometres>(offset, -limits::kPaperMicrometres, limits::kPaperMicrometres);
}

template <typename T>
const T* found(const std::map<const ReportDefinition*, std::shared_ptr<const T>>& sets,
               const ReportDefinition* key, const T* otherwise) {
    const auto known = sets.find(key);
    return known == sets.end() ? otherwise : known->second.get();
}

class Planner {
public:
    // `left` is where the report's sections begin on the paper.
    Planner(const ReportDefinition& report, const PlanSource& source, Micrometres left, int depth)
        : report_(report), source_(source), left_(left), depth_(depth) {}

    // A sub-report is planned for a box of this width. It reads the outer report's data if it has none
    // itself. With `sectionRows`, its rows are from the table of the outer report.
    std::unique_ptr<ReportPlan> plan(Micrometres width, const DataSet* outerData,
                                     std::span<const SubReportParameter> passed,
                                     const DataSources* sectionRows = nullptr) {
        plan_ = std::make_unique<ReportPlan>();
        plan_->report = &report_;
        plan_->width = width;
        data_ = found(source_.data.sets, &report_, outerData);
        plan_->styles = std::make_unique<NamedStyles>(report_);
        plan_->binding =
            std::make_unique<Binding>(report_, sectionRows == nullptr ? dataSources() : *sectionRows, passed);
        const bool nested = depth_ > 0;
        const bool sections = nested || !source_.options.onlyDetailGrid;
        if (sections) {
            for (const SectionPtr& section : report_.reportHeaders) addSection(plan_->reportHeaders, section);
            for (const SectionPtr& section : report_.reportFooters) addSection(plan_->reportFooters, section);
        }
        if (sections && !nested && source_.options.pageHeadersAndFooters) {
            const Site page{left_, 1, Page::IsOwn};
            if (report_.pageHeader) plan_->pageHeader = planSection(*report_.pageHeader, page);
            if (report_.pageFooter) plan_->pageFooter = planSection(*report_.pageFooter, page);
        }
        if (report_.grid) planGrid();
        for (const ReturnSite& returning : plan_->binding->unconnectedReturns()) {
            const Rect box{0, 0, soundLength(returning.control->box.width), 0};
            plan_->unshown.push_back(planSubReport(returning.content(), box, Site{left_}));
        }
        return std::move(plan_);
    }

private:
    // Whether the planned section is a page header or footer, whose scope is the page.
    enum class Page { IsOwn, IsNot };

    // The surroundings of a section or row.
    struct Site {
        Micrometres left = 0;  // its left edge on the paper; in columns of detail, that of the last one
        double scale = 1;      // of its lengths and fonts
        Page page = Page::IsNot;
    };

    // The grid's data takes precedence; the report's data supplies parameters and, if it has another table,
    // the fields of that table's first row.
    DataSources dataSources() {
        DataSources sources;
        sources.data = data_;
        sources.set = found<DataSet>(source_.data.setParameters, &report_, nullptr);
        const Table* const reportTable = tableOf(data_, report_.data.table, TextUse::ReportTable);
        sources.rows = reportTable;
        if (!report_.grid) return sources;
        const auto own = source_.data.gridSets.find(report_.grid.get());
        const bool hasOwn = own != source_.data.gridSets.end();
        const DataSet* const gridData = hasOwn ? own->second.get() : data_;
        const std::u16string& name = report_.grid->recordset.table;
        const bool same = !hasOwn && name.empty();
        if (!same) sources.rows = tableOf(gridData, name, TextUse::GridTable);
        if (sources.rows != reportTable) sources.head = reportTable;
        if (sources.data == nullptr) sources.data = gridData;
        if (hasOwn) sources.gridData = gridData;
        return sources;
    }

    const Table* tableOf(const DataSet* data, const std::u16string& name, TextUse use) const {
        if (data == nullptr) return nullptr;
        const Table* const table = data->table(name);
        if (table == nullptr && !name.empty()) logMissing(*data, name, use);
        return table;
    }

    void logMissing(const DataSet& data, const std::u16string& name, TextUse use) const {
        const char* const user = use == TextUse::ReportTable ? "the report"
                                 : use == TextUse::GridTable ? "the grid"
                                                             : "a chart";
        const std::string key = std::to_string(TextPlaces::keyOf(name, use)) + ' ' +
                                std::to_string(reinterpret_cast<std::uintptr_t>(&report_));
        if (!isNewWarning(key)) return;
        for (const TextPosition& place : report_.placesOf(name, use)) {
            logMissingTable(data, name, user, place);
        }
    }

    void addSection(std::vector<PlannedSection>& sections, const SectionPtr& section) {
        if (section) sections.push_back(planSection(*section, {left_}));
    }

    Visibility visibility(const std::u16string& text, Page page) {
        if (trimmed(text).empty()) return {};
        Visibility visible{plan_->binding->compile(text)};
        visible.known = whenKnown(*visible.when, page);
        return visible;
    }

    // Page headers and footers know the number of their page from the start; nothing else does.
    Known whenKnown(const Expression& condition, Page page) {
        if (!source_.options.paged) return Known::Now;
        plan_->needsPageCount = plan_->needsPageCount || condition.usesPageCount;
        const bool ofPage = page == Page::IsOwn;
        const bool late = condition.usesPageCount || condition.usesPageRows ||
                          (ofPage ? condition.usesDefaultScope : condition.usesPage);
        return late ? Known::OnPage : Known::Now;
    }

    PlannedSection planSection(const Section& section, const Site& site) {
        PlannedSection planned = emptySection(section, site);
        for (const auto& control : section.controls.items) {
            const Rect& box = control->box;
            const Rect sound{soundOffset(box.x), soundOffset(box.y), soundLength(box.width),
                             soundLength(box.height)};
            planned.controls.push_back(planFreeControl(*control, sound, site));
        }
        slice(planned);
        return planned;
    }

    // Divides a section at the sub-reports that are alone at their height, unless the section or sub-report
    // may become invisible later.
    static void slice(PlannedSection& section) {
        if (!section.section->canGrow || section.visible.isLate()) return;
        std::vector<std::size_t> order(section.controls.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        const auto top = [&](std::size_t i) { return section.controls[i].box.y; };
        const auto bottom = [&](std::size_t i) { return section.controls[i].box.bottom(); };
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return top(a) < top(b); });
        SectionSlice current;
        bool any = false;
        Micrometres reached = 0;  // the lowest edge so far
        const auto close = [&](Micrometres at) {
            current.height = at - current.top;
            if (!current.controls.empty() || current.height > 0) section.slices.push_back(std::move(current));
            current = {at, 0, {}, false};
        };
        for (std::size_t i = 0; i < order.size(); ++i) {
            const std::size_t control = order[i];
            const bool subReport =
                std::holds_alternative<PlannedSubReport>(section.controls[control].content) &&
                !section.controls[control].visible.isLate();
            const bool alone = subReport && top(control) >= std::max(reached, 0) &&
                               (i + 1 == order.size() || top(order[i + 1]) >= bottom(control));
            reached = std::max(reached, bottom(control));
            if (!alone) {
                current.controls.push_back(control);
                continue;
            }
            any = true;
            close(top(control));
            current.controls.push_back(control);
            current.isSubReport = true;
            close(bottom(control));
        }
        close(std::max(section.height, current.top));
        if (!any) section.slices.clear();
        // Controls are drawn in the order in which the template has them.
        for (SectionSlice& made : section.slices) std::sort(made.controls.begin(), made.controls.end());
    }

    PlannedSection emptySection(const Section& section, const Site& site) {
        PlannedSection planned;
        planned.section = &section;
        planned.height = scaledLength(soundLength(section.height), site.scale);
        planned.visible = visibility(section.visibleWhen, site.page);
        return planned;
    }

    // A control with its own position, which may reach beyond the paper.
    PlannedControl planFreeControl(const Control& control, Rect box, const Site& site) {
        if (!source_.options.paged) return planControl(control, box, site);
        const Micrometres paper = soundLength(source_.page.paper.width);
        const Extent whole{std::int64_t{site.left} + box.x, box.width};
        const Extent visible = extentOnPaper(control, whole, paper);
        const bool isLogged = site.scale == 1 && isBesidePaper(control, report_.page);
        if (!isLogged) warnOfOverhang(control, whole, paper);
        box.x = static_cast<Micrometres>(visible.left - site.left);
        box.width = static_cast<Micrometres>(visible.width);
        PlannedControl planned = planControl(control, box, site);
        planned.offPaper = static_cast<Micrometres>(whole.width - visible.width);
        return planned;
    }

    PlannedControl planControl(const Control& control, const Rect& box, const Site& site) {
        PlannedControl planned;
        planned.control = &control;
        planned.box = box;
        planned.style = source_.styles.intern(
            scaledStyle(plan_->styles->resolve(control.styleName, control.style), site.scale));
        for (const ConditionalStyle& conditional : control.conditions) {
            Expression when = plan_->binding->compile(conditional.when);
            const Known known = whenKnown(when, site.page);
            planned.conditions.push_back({std::move(when), plan_->styles->find(conditional.style), known});
        }
        planned.visible = visibility(control.visibleWhen, site.page);
        planned.content =
            std::visit([&](const auto& content) { return planContent(content, box, site); }, control.content);
        for (const TextTemplate* const text : contentTexts(planned.content)) {
            if (!source_.options.paged) break;
            const bool usesCount = text->any(&Expression::usesPageCount);
            plan_->needsPageCount = plan_->needsPageCount || usesCount;
            planned.contentNeedsPage =
                planned.contentNeedsPage || usesCount || text->any(&Expression::usesPage);
        }
        return planned;
    }

    // The texts that ContentTexts evaluates.
    static std::vector<const TextTemplate*> contentTexts(const PlannedContent& content) {
        if (const auto* const text = std::get_if<PlannedText>(&content)) {
            if (text->link) return {&*text->link};
        } else if (const auto* const picture = std::get_if<PlannedPicture>(&content)) {
            return {&picture->source, &picture->alternateText};
        } else if (const auto* const barcode = std::get_if<PlannedBarcode>(&content)) {
            return {&barcode->text};
        } else if (const auto* const chart = std::get_if<PlannedChart>(&content)) {
            return {&chart->title, &chart->xTitle, &chart->yTitle};
        }
        return {};
    }

    PlannedContent planContent(const TextContent& content, const Rect&, const Site& site) {
        PlannedText planned;
        planned.text = plan_->binding->compileText(content.text);
        if (!content.link.empty()) planned.link = plan_->binding->compileText(content.link);
        planned.evaluate = content.evaluate;
        planned.suppressRepeated = content.suppressRepeated;
        planned.removeWhenBlank = content.removeWhenBlank;
        const bool pageScope = site.page == Page::IsOwn || content.evaluate == TextContent::Evaluate::Page;
        planned.needsPage = planned.text.any(&Expression::usesPage) ||
                            content.evaluate == TextContent::Evaluate::Page ||
                            (pageScope && planned.text.any(&Expression::usesDefaultScope));
        planned.needsPageCount = planned.text.any(&Expression::usesPageCount);
        return planned;
    }

    PlannedContent planContent(const LineContent& content, const Rect&, const Site&) { return content; }
    PlannedContent planContent(const BoxContent& content, const Rect&, const Site&) { return content; }

    PlannedContent planContent(const PictureContent& content, const Rect&, const Site&) {
        PlannedPicture planned{&content, plan_->binding->compileText(content.source), content.folder,
                               plan_->binding->compileText(content.alternateText)};
        planned.start.folder = folderAt(content.folder);
        planned.start.name.clear();
        if (!planned.source.isConstant()) planned.start.namedBy = NamedBy::Data;
        return planned;
    }

    PlannedContent planContent(const BarcodeContent& content, const Rect&, const Site&) {
        return PlannedBarcode{&content, plan_->binding->compileText(content.text)};
    }

    PlannedContent planContent(const ChartContent& content, const Rect&, const Site&) {
        PlannedChart planned;
        planned.content = &content;
        planned.title = plan_->binding->compileText(content.settings.title);
        planned.xTitle = plan_->binding->compileText(content.settings.xTitle);
        planned.yTitle = plan_->binding->compileText(content.settings.yTitle);
        if (content.rows.series.empty() || !content.data.empty()) return planned;
        if (content.rows.table.empty()) {
            planned.query.emplace(content.rows, *plan_->binding);
        } else if (const std::optional<DataSources> sources = tableSources(content.rows.table)) {
            planned.table = std::make_unique<Binding>(*plan_->binding, *sources, content.rows.filter);
            planned.query.emplace(content.rows, *planned.table);
        }
        return planned;
    }

    // Another table in the data of the report or its grid.
    std::optional<DataSources> tableSources(const std::u16string& name) {
        DataSources sources = plan_->binding->sources();
        const auto own = source_.data.gridSets.find(report_.grid.get());
        const DataSet* const gridData = own == source_.data.gridSets.end() ? nullptr : own->second.get();
        sources.rows = data_ == nullptr ? nullptr : data_->table(name);
        if (sources.rows == nullptr && gridData != nullptr) sources.rows = gridData->table(name);
        if (sources.rows == nullptr) {
            if (const DataSet* const data = data_ != nullptr ? data_ : gridData) {
                logMissing(*data, name, TextUse::ChartTable);
            }
            return std::nullopt;
        }
        const Table* const reportTable = data_ == nullptr ? nullptr : data_->table(report_.data.table);
        sources.head = sources.rows == reportTable ? nullptr : reportTable;
        return sources;
    }

    PlannedContent planContent(const SubReportContent& content, const Rect& box, const Site& site) {
        PlannedSubReport planned = planSubReport(content, box, site);
        if (planned.plan) plan_->needsPageCount = plan_->needsPageCount || planned.plan->needsPageCount;
        return planned;
    }

    PlannedSubReport planSubReport(const SubReportContent& content, const Rect& box, const Site& site) {
        PlannedSubReport planned;
        if (depth_ + 1 > limits::kSubReportDepth) {
            logWarning("sub-reports are nested more than " + std::to_string(limits::kSubReportDepth) +
                       " deep: the innermost are left out");
            return planned;
        }
        for (const SubReportParameter& parameter : content.parameters) {
            planned.arguments.push_back(plan_->binding->compile(parameter.expression));
        }
        const auto queries = source_.data.rowQueries.find(&content.report->definition);
        if (queries != source_.data.rowQueries.end()) planned.rows.queries = queries->second;
        const Micrometres width = box.width > 0 ? box.width : std::max(plan_->width - box.x, 1);
        planned.plan = Planner(content.report->definition, source_, site.left + box.x, depth_ + 1)
                           .plan(width, plan_->binding->sources().data, content.parameters,
                                 content.hasSectionRows ? &plan_->binding->sources() : nullptr);
        planned.rows.binding = planned.plan->binding.get();
        planned.rows.areOfSection = content.hasSectionRows;
        plan_->binding->connect(content, planned.rows, *planned.plan->binding);
        return planned;
    }

    void planGrid() {
        const DetailGrid& grid = *report_.grid;
        plan_->grid = std::make_unique<PlannedGrid>();
        PlannedGrid& planned = *plan_->grid;
        planned.grid = &grid;
        GridSurroundings surroundings = GridSurroundings::Page;
        Micrometres available = plan_->width;
        if (!source_.options.paged) {
            surroundings = GridSurroundings::Endless;
        } else if (depth_ > 0) {
            surroundings = GridSurroundings::Box;
        } else if (detailColumns(report_.page) > 1) {
            surroundings = GridSurroundings::Box;
            available = detailWidth(report_.page);
        }
        planned.geometry = placeColumns(grid, available, surroundings);
        warnOfDiscarded(grid, planned.geometry, available);
        Site site{left_ + planned.geometry.x, planned.geometry.scale};
        if (depth_ == 0 && source_.options.paged) site.left += lastDetailColumn(report_.page);
        planned.titleHeight = scaledLength(soundLength(grid.titleHeight), site.scale);
        planned.rowHeight = scaledLength(soundLength(grid.rowHeight), site.scale);
        for (std::size_t i = 0; i < grid.columns.size(); ++i) {
            const PlacedColumn& place = planned.geometry.columns[i];
            columnIndex_.emplace(grid.columns[i]->name, i);
            if (!place.visible) continue;
            const auto cell = [&](const Control& control, Micrometres height) {
                PlannedControl made = planControl(control, {place.x, 0, place.width, height}, site);
                made.gridColumn = &grid.columns[i]->name;
                made.firstColumn = made.lastColumn = static_cast<int>(i);
                made.columnGroup = place.columnGroup;
                return made;
            };
            if (planned.titleHeight > 0)
                planned.titles.push_back(cell(grid.columns[i]->title, planned.titleHeight));
            planned.cells.push_back(cell(grid.columns[i]->content, planned.rowHeight));
        }
        for (const auto& group : grid.groups) {
            PlannedGroup made;
            made.group = group.get();
            if (group->header) made.header = planGroupSection(*group->header, planned.geometry, site);
            if (group->footer) made.footer = planGroupSection(*group->footer, planned.geometry, site);
            planned.groups.push_back(std::move(made));
        }
    }

    static void warnOfDiscarded(const DetailGrid& grid, const GridGeometry& geometry, Micrometres available) {
        constexpr std::size_t kMostNames = 10;
        std::int64_t needed = 0;
        std::size_t lost = 0;
        std::string names;
        for (std::size_t i = 0; i < geometry.columns.size(); ++i) {
            needed += soundLength(grid.columns[i]->width);
            if (geometry.columns[i].visible) continue;
            if (++lost <= kMostNames) names += (lost == 1 ? "" : ", ") + quoted(grid.columns[i]->name);
        }
        if (lost == 0) return;
        if (lost > kMostNames) names += " and " + std::to_string(lost - kMostNames) + " more";
        logWarning("the columns need " + inMillimetres(needed) + " and have " + inMillimetres(available) +
                   ": adapt=\"discard\" leaves out " + names +
                   "; another adapt, narrower columns or wider paper would keep them");
    }

    // Controls that name columns follow them: to their line where group sections wrap, and to each page that
    // holds some of them.
    PlannedSection planGroupSection(const Section& section, const GridGeometry& geometry, const Site& site) {
        PlannedSection planned = emptySection(section, site);
        int lines = 1;
        for (const auto& control : section.controls.items) {
            Rect box = control->box;
            box = {scaledLength(soundOffset(box.x), geometry.scale),
                   scaledLength(soundOffset(box.y), geometry.scale),
                   scaledLength(soundLength(box.width), geometry.scale),
                   scaledLength(soundLength(box.height), geometry.scale)};
            const auto first = columnIndex_.find(control->column);
            if (control->column.empty() || first == columnIndex_.end()) {
                planned.controls.push_back(planFreeControl(*control, box, site));
                planned.controls.back().columnGroup = 0;
                continue;
            }
            const auto to = columnIndex_.find(control->toColumn);
            const std::size_t last =
                to == columnIndex_.end() ? first->second : std::max(first->second, to->second);
            for (int columnGroup = 0; columnGroup < geometry.columnGroups; ++columnGroup) {
                const auto span = columnSpan(geometry, first->second, last, columnGroup);
                if (!span) continue;
                const PlacedColumn& left = geometry.columns[span->first];
                const PlacedColumn& right = geometry.columns[span->second];
                box.x = left.x;
                box.width = right.x + right.width - left.x;
                Rect own = box;
                if (geometry.wrapGroups) {
                    own.y += left.line * planned.height;
                    lines = std::max(lines, left.line + 1);
                }
                PlannedControl made = planControl(*control, own, site);
                made.firstColumn = static_cast<int>(span->first);
                made.lastColumn = static_cast<int>(span->second);
                const bool everywhere = geometry.columns[last].columnGroup == kEveryColumnGroup;
                made.columnGroup = everywhere ? kEveryColumnGroup : columnGroup;
                planned.controls.push_back(std::move(made));
                if (everywhere) break;
            }
        }
        planned.height *= lines;
        if (geometry.columnGroups == 1) slice(planned);
        return planned;
    }

    // The first and last column of the range that are in the column group, on the line of the first; none if
    // only fixed columns are in it and the range extends beyond them.
    static std::optional<std::pair<std::size_t, std::size_t>> columnSpan(const GridGeometry& geometry,
                                                                         std::size_t first, std::size_t last,
                                                                         int columnGroup) {
        std::optional<std::pair<std::size_t, std::size_t>> span;
        bool own = geometry.columns[last].columnGroup == kEveryColumnGroup;
        for (std::size_t i = first; i <= last; ++i) {
            if (!geometry.inColumnGroup(i, columnGroup)) continue;
            if (span && geometry.columns[i].line != geometry.columns[span->first].line) break;
            own = own || geometry.columns[i].columnGroup == columnGroup;
            span = {span ? span->first : i, i};
        }
        // If group sections do not wrap, columns on later lines have no position in them.
        if (span && !geometry.wrapGroups && geometry.columns[span->first].line > 0) return std::nullopt;
        return own ? span : std::nullopt;
    }

    const ReportDefinition& report_;
    const PlanSource& source_;
    Micrometres left_;
    int depth_;
    std::unique_ptr<ReportPlan> plan_;
    const DataSet* data_ = nullptr;
    std::unordered_map<std::u16string, std::size_t> columnIndex_;
};

}  // namespace

std::unique_ptr<ReportPlan> planReport(const ReportDefinition& report, const PlanSource& source) {
    return Planner(report, source, soundOffset(report.page.margins.left), 0)
        .plan(printableWidth(report.page), nullptr, {});
}

}  // namespace qbsvrl6
