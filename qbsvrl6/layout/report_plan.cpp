#include "qbsvrl6/layout/report_plan.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/layout/paper_edge.h"
#include "qbsvrl6/layout/report_sources.h"
#include "qbsvrl6/layout/shown_grid.h"
#include "qbsvrl6/model/beside_paper.h"
#include "qbsvrl6/model/inheritance.h"
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

class Planner {
public:
    // `left` is where the report's sections begin on the paper.
    Planner(const ReportDefinition& report, const PlanSource& source, Micrometres left, int depth)
        : report_(report), source_(source), page_(&source.page), left_(left), depth_(depth) {}

    // A sub-report is planned for a box of this width. It reads the outer report's data if it has none
    // itself. With `sectionRows`, its rows are from the table of the outer report.
    std::unique_ptr<ReportPlan> plan(Micrometres width, const DataSet* outerData,
                                     std::span<const SubReportParameter> passed,
                                     const DataSources* sectionRows = nullptr) {
        plan_ = std::make_unique<ReportPlan>();
        plan_->report = &report_;
        plan_->width = width;
        data_ = dataOf(report_, source_.data, outerData);
        plan_->styles = std::make_unique<NamedStyles>(report_);
        plan_->binding = std::make_unique<Binding>(
            report_, sectionRows == nullptr ? sourcesOf(report_, source_.data, outerData) : *sectionRows,
            passed);
        binding_ = plan_->binding.get();
        width_ = width;
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
        if (!nested && source_.options.paged) planPapers();
        if (report_.grid) planGrid(passed);
        for (const ReturnSite& returning : plan_->binding->unconnectedReturns()) {
            const Rect box{0, 0, soundLength(returning.control->box.width), 0};
            plan_->unshown.push_back(planSubReport(returning.content(), box, Site{left_}));
        }
        return std::move(plan_);
    }

private:
    static constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);
    // The columns of a name: several if it repeats, none if there are no values.
    struct NamedColumns {
        std::size_t first = kNoColumn, last = kNoColumn;
    };

    // Whether the planned section is a page header or footer, whose scope is the page.
    enum class Page { IsOwn, IsNot };

    // The surroundings of a section or row.
    struct Site {
        Micrometres left = 0;  // its left edge on the paper; in columns of detail, that of the last one
        double scale = 1;      // of its lengths and fonts
        Page page = Page::IsNot;
    };

    void addSection(std::vector<PlannedSection>& sections, const SectionPtr& section) {
        if (!section) return;
        const int paper = paperNamed(section->page);
        const PaperInUse inUse(*this, paper);
        sections.push_back(planSection(*section, {left_}));
        sections.back().paper = paper;
    }

    // While it exists, sections are planned for this paper.
    class PaperInUse {
    public:
        PaperInUse(Planner& planner, int paper)
            : planner_(planner), page_(planner.page_), left_(planner.left_), width_(planner.width_) {
            if (paper == kOwnPaper) return;
            planner.page_ = &planner.report_.namedPages[static_cast<std::size_t>(paper)].setup;
            planner.left_ = soundOffset(planner.page_->margins.left);
            planner.width_ = printableWidth(*planner.page_);
        }
        ~PaperInUse() {
            planner_.page_ = page_;
            planner_.left_ = left_;
            planner_.width_ = width_;
        }
        PaperInUse(const PaperInUse&) = delete;
        PaperInUse& operator=(const PaperInUse&) = delete;

    private:
        Planner& planner_;
        const PageSetup* page_;
        Micrometres left_, width_;
    };

    // Without pages, there is no paper. Sub-reports name none.
    int paperNamed(const std::u16string& name) const {
        if (name.empty() || depth_ > 0 || !source_.options.paged) return kOwnPaper;
        const auto found = std::find_if(report_.namedPages.begin(), report_.namedPages.end(),
                                        [&name](const NamedPage& page) { return page.name == name; });
        return found == report_.namedPages.end() ? kOwnPaper
                                                 : static_cast<int>(found - report_.namedPages.begin());
    }

    void planPapers() {
        plan_->firstPaper = paperNamed(report_.firstPage);
        plan_->leftPaper = paperNamed(report_.leftPage);
        for (const NamedPage& page : report_.namedPages) {
            PlannedPaper& paper = plan_->papers.emplace_back();
            paper.page = &page;
            if (source_.options.onlyDetailGrid || !source_.options.pageHeadersAndFooters) continue;
            const PaperInUse inUse(*this, static_cast<int>(plan_->papers.size()) - 1);
            const Site site{left_, 1, Page::IsOwn};
            if (page.header) paper.header = planSection(*page.header, site);
            if (page.footer) paper.footer = planSection(*page.footer, site);
        }
    }

    Visibility visibility(const std::u16string& text, Page page) {
        if (trimmed(text).empty()) return {};
        Visibility visible{binding_->compile(text)};
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
        planned.width = width_;
        planned.visible = visibility(section.visibleWhen, site.page);
        return planned;
    }

    // A control with its own position, which may reach beyond the paper.
    PlannedControl planFreeControl(const Control& control, Rect box, const Site& site) {
        if (!source_.options.paged) return planControl(control, box, site);
        const Micrometres paper = soundLength(page_->paper.width);
        const Extent whole{std::int64_t{site.left} + box.x, box.width};
        const Extent visible = extentOnPaper(control, whole, paper);
        const bool isLogged = site.scale == 1 && isBesidePaper(control, depth_ > 0 ? report_.page : *page_);
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
            Expression when = binding_->compile(conditional.when);
            const Known known = whenKnown(when, site.page);
            planned.conditions.push_back({std::move(when), plan_->styles->find(conditional.style), known});
        }
        planned.visible = visibility(control.visibleWhen, site.page);
        const bool isReadAloud = source_.options.structure != nullptr && source_.options.drawText;
        if (isReadAloud && site.page != Page::IsOwn) warnOfMissingText(control);
        planned.content =
            std::visit([&](const auto& content) { return planContent(content, box, site); }, control.content);
        for (const TextTemplate* const text : contentTexts(planned.content)) {
            if (!source_.options.paged) break;
            const bool usesCount = text->any(&Expression::usesPageCount);
            plan_->needsPageCount = plan_->needsPageCount || usesCount;
            planned.contentNeedsPage =
                planned.contentNeedsPage || usesCount || text->any(&Expression::usesPage);
        }
        planned.isPlain = isPlain(planned);
        return planned;
    }

    static bool isPlain(const PlannedControl& control) {
        const auto* const text = std::get_if<PlannedText>(&control.content);
        return text != nullptr && control.conditions.empty() && !control.visible.when && !text->link &&
               text->evaluate == TextContent::Evaluate::Now && !text->needsPage && !text->needsPageCount &&
               !text->removeWhenBlank;
    }

    static void warnOfMissingText(const Control& control) {
        const auto* const picture = std::get_if<PictureContent>(&control.content);
        if (picture == nullptr || !picture->alternateText.empty()) return;
        logWarning("the picture has no \"alternateText\": screen readers skip it", control.position);
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
            return {&chart->title, &chart->xTitle, &chart->yTitle, &chart->alternateText};
        }
        return {};
    }

    PlannedContent planContent(const TextContent& content, const Rect&, const Site& site) {
        PlannedText planned;
        planned.text = binding_->compileText(content.text);
        if (source_.options.forWorkbook) planned.text.keepValue();
        if (!content.link.empty()) planned.link = binding_->compileText(content.link);
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
        PlannedPicture planned{&content, binding_->compileText(content.source), content.folder,
                               binding_->compileText(content.alternateText)};
        planned.start.folder = folderAt(content.folder);
        planned.start.name.clear();
        if (!planned.source.isConstant()) planned.start.namedBy = NamedBy::Data;
        return planned;
    }

    PlannedContent planContent(const BarcodeContent& content, const Rect&, const Site&) {
        return PlannedBarcode{&content, binding_->compileText(content.text)};
    }

    PlannedContent planContent(const ChartContent& content, const Rect&, const Site&) {
        PlannedChart planned;
        planned.content = &content;
        planned.title = binding_->compileText(content.settings.title);
        planned.xTitle = binding_->compileText(content.settings.xTitle);
        planned.yTitle = binding_->compileText(content.settings.yTitle);
        planned.alternateText = binding_->compileText(content.alternateText);
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
                logMissingTable(report_, *data, name, TextUse::ChartTable);
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
        planned.passed = passedTo(content);
        for (const SubReportParameter& parameter : planned.passed) {
            planned.arguments.push_back(parameter.expression.empty()
                                            ? plan_->binding->parameterExpression(parameter.name)
                                            : binding_->compile(parameter.expression));
        }
        const auto queries = source_.data.rowQueries.find(&content.report->definition);
        if (queries != source_.data.rowQueries.end()) planned.rows.queries = queries->second;
        const Micrometres width = box.width > 0 ? box.width : std::max(width_ - box.x, 1);
        const PlanSource source{source_.data, source_.options, source_.styles, *page_, source_.grids};
        planned.plan = Planner(content.report->definition, source, site.left + box.x, depth_ + 1)
                           .plan(width, plan_->binding->sources().data, planned.passed,
                                 content.hasSectionRows ? &plan_->binding->sources() : nullptr);
        planned.rows.binding = planned.plan->binding.get();
        planned.rows.areOfSection = content.hasSectionRows;
        plan_->binding->connect(content, planned.rows, *planned.plan->binding);
        return planned;
    }

    // The rows of a cross-table are of its own table.
    void bindCross(const ShownGrid& shown, std::span<const SubReportParameter> passed) {
        DataSources sources = plan_->binding->sources();
        sources.rows = &shown.rows->tables().front();
        sources.head = nullptr;
        plan_->cross = &shown;
        plan_->crossBinding = std::make_unique<Binding>(shown.names, sources, passed);
        binding_ = plan_->crossBinding.get();
    }

    void planGrid(std::span<const SubReportParameter> passed) {
        const DetailGrid& grid = *source_.grids.gridOf(report_);
        columns_ = source_.grids.columnsOf(report_);
        const ShownGrid* const shown = source_.grids.find(report_);
        if (shown != nullptr && shown->cross) bindCross(*shown, passed);
        plan_->grid = std::make_unique<PlannedGrid>();
        PlannedGrid& planned = *plan_->grid;
        planned.grid = &grid;
        if (source_.options.structure != nullptr) {
            auto names = std::make_shared<std::vector<std::u16string>>();
            for (const ShownColumn& shownColumn : columns_) names->push_back(shownColumn.column->name);
            planned.columnNames = std::move(names);
        }
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
        planned.geometry = placeColumns(grid, columns_, available, surroundings);
        warnOfDiscarded(planned.geometry, available);
        Site site{left_ + planned.geometry.x, planned.geometry.scale};
        if (depth_ == 0 && source_.options.paged) site.left += lastDetailColumn(report_.page);
        planned.titleHeights = titleHeights(grid.titleHeight, site.scale);
        planned.rowHeight = scaledLength(soundLength(grid.rowHeight), site.scale);
        for (const auto& column : report_.grid->columns) columnIndex_.try_emplace(column->name);
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const PlacedColumn& place = planned.geometry.columns[i];
            const Column& column = *columns_[i].column;
            NamedColumns& named = columnIndex_[column.name];
            if (named.first == kNoColumn) named.first = named.last = i;
            if (columns_[i].rows) named.last = i;
            if (!place.visible) continue;
            binding_->setTotaledRows(columns_[i].rows);
            const auto cell = [&](const Control& control, Micrometres height) {
                PlannedControl made = planControl(control, {place.x, 0, place.width, height}, site);
                made.gridColumn = &column.name;
                made.firstColumn = made.lastColumn = static_cast<int>(i);
                made.columnGroup = place.columnGroup;
                return made;
            };
            if (!planned.titleHeights.empty()) {
                planned.titles.push_back(cell(column.title, planned.titleHeights.back()));
                planned.titles.back().level = levelsOf(column);
                planned.titles.back().levels =
                    static_cast<int>(planned.titleHeights.size()) - planned.titles.back().level;
            }
            planned.cells.push_back(cell(column.content, planned.rowHeight));
            planned.cells.back().rows = columns_[i].rows;
        }
        binding_->setTotaledRows(std::nullopt);
        if (!planned.titleHeights.empty()) planTitleSpans(planned, site);
        planJoins(planned);
        if (grid.labels) planLabels(*grid.labels, planned);
        for (const auto& group : grid.groups) {
            PlannedGroup made;
            made.group = group.get();
            made.paper = paperNamed(group->page);
            if (group->header) made.header = planGroupSection(*group->header, planned.geometry, site);
            if (!group->sheet.empty()) made.sheet = binding_->compileText(group->sheet);
            if (group->footer) made.footer = planGroupSection(*group->footer, planned.geometry, site);
            planned.groups.push_back(std::move(made));
        }
        if (grid.header) planned.header = planGroupSection(*grid.header, planned.geometry, site);
        if (grid.footer) planned.footer = planGroupSection(*grid.footer, planned.geometry, site);
        if (!trimmed(grid.keepWithNext).empty()) planned.keepWithNext = binding_->compile(grid.keepWithNext);
        binding_ = plan_->binding.get();
    }

    // Rows of titles above the title of the column.
    static int levelsOf(const Column& column) {
        int levels = 0;
        for (const auto& span : column.titleSpans) levels += span->levels;
        return levels;
    }

    std::vector<Micrometres> titleHeights(Micrometres titleHeight, double scale) const {
        const Micrometres lowest = scaledLength(soundLength(titleHeight), scale);
        if (lowest == 0) return {};
        std::vector<Micrometres> heights;
        for (const ShownColumn& column : columns_) {
            std::size_t level = 0;
            for (const auto& span : column.column->titleSpans) {
                const auto end = level + static_cast<std::size_t>(span->levels);
                if (heights.size() < end) heights.resize(end);
                const Micrometres own = scaledLength(soundLength(span->height), scale);
                if (span->levels == 1) heights[level] = std::max(heights[level], own);
                level = end;
            }
        }
        for (Micrometres& height : heights) {
            if (height == 0) height = lowest;
        }
        heights.push_back(lowest);
        return heights;
    }

    // A title over columns on several lines or pages is repeated on each.
    void planTitleSpans(PlannedGrid& planned, const Site& site) {
        const GridGeometry& geometry = planned.geometry;
        const auto spanAt = [&](std::size_t column, std::size_t depth) -> const TitleSpan* {
            const auto& spans = columns_[column].column->titleSpans;
            return depth < spans.size() ? spans[depth].get() : nullptr;
        };
        std::vector<std::size_t> shown;
        for (std::size_t i = 0; i < geometry.columns.size(); ++i) {
            if (geometry.columns[i].visible) shown.push_back(i);
        }
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const std::size_t first = shown[i];
            int level = 0;
            for (std::size_t depth = 0; depth < columns_[first].column->titleSpans.size(); ++depth) {
                const TitleSpan& span = *columns_[first].column->titleSpans[depth];
                const auto continues = [&](std::size_t column) {
                    return spanAt(column, depth) == &span &&
                           geometry.columns[column].line == geometry.columns[first].line &&
                           geometry.columns[column].columnGroup == geometry.columns[first].columnGroup;
                };
                const int at = std::exchange(level, level + span.levels);
                if (i > 0 && continues(shown[i - 1])) continue;
                std::size_t end = i + 1;
                while (end < shown.size() && continues(shown[end])) ++end;
                const std::size_t last = shown[end - 1];
                const PlacedColumn& left = geometry.columns[first];
                const PlacedColumn& right = geometry.columns[last];
                PlannedControl made = planControl(span.title,
                                                  {left.x, 0, right.x + right.width - left.x,
                                                   planned.titleHeights[static_cast<std::size_t>(at)]},
                                                  site);
                made.firstColumn = static_cast<int>(first);
                made.lastColumn = static_cast<int>(last);
                made.columnGroup = left.columnGroup;
                made.level = at;
                made.levels = span.levels;
                planned.titles.push_back(std::move(made));
            }
        }
    }

    void planJoins(PlannedGrid& planned) {
        const auto joins = [](const ShownColumn& shown) {
            return !shown.column->mergeBy.empty() || shown.column->span > 1;
        };
        if (std::none_of(columns_.begin(), columns_.end(), joins)) return;
        const GridGeometry& geometry = planned.geometry;
        for (const PlannedControl& cell : planned.cells) {
            const auto at = static_cast<std::size_t>(cell.firstColumn);
            const Column& column = *columns_[at].column;
            CellJoins& made = planned.joins.emplace_back();
            if (!trimmed(column.mergeBy).empty() && geometry.lines == 1) {
                made.mergeBy = binding_->compile(column.mergeBy);
                planned.merges = true;
            }
            if (column.span < 2 || trimmed(column.spanWhen).empty()) continue;
            made.spanWhen = binding_->compile(column.spanWhen);
            std::size_t last = at;
            const std::size_t end = std::min(at + static_cast<std::size_t>(column.span), columns_.size());
            for (std::size_t i = at + 1; i < end; ++i) {
                const PlacedColumn& place = geometry.columns[i];
                const PlacedColumn& own = geometry.columns[at];
                if (place.line != own.line || place.columnGroup != own.columnGroup) break;
                if (place.visible) last = i;
            }
            made.spanLast = static_cast<int>(last);
            made.spanWidth = geometry.columns[last].x + geometry.columns[last].width - cell.box.x;
        }
    }

    void warnOfDiscarded(const GridGeometry& geometry, Micrometres available) const {
        constexpr std::size_t kMostNames = 10;
        std::size_t lost = 0;
        std::string names;
        for (std::size_t i = 0; i < geometry.columns.size(); ++i) {
            if (!geometry.columns[i].discarded) continue;
            if (++lost <= kMostNames) names += (lost == 1 ? "" : ", ") + quoted(columns_[i].column->name);
        }
        if (lost == 0) return;
        if (lost > kMostNames) names += " and " + std::to_string(lost - kMostNames) + " more";
        logWarning("the columns need " + inMillimetres(geometry.needed) + " and have " +
                   inMillimetres(available) + ": adapt=\"discard\" leaves out " + names +
                   "; another adapt, narrower columns or wider paper would keep them");
    }

    // Controls that name columns follow them: to their line where group sections wrap, and to each page that
    // holds some of them.
    PlannedSection planGroupSection(const Section& section, const GridGeometry& geometry, const Site& site) {
        PlannedSection planned = emptySection(section, site);
        planned.paper = paperNamed(section.page);
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
            if (first->second.first == kNoColumn) continue;
            const auto to = columnIndex_.find(control->toColumn);
            if (to != columnIndex_.end() && to->second.last != kNoColumn) {
                const std::size_t last = std::max(first->second.last, to->second.last);
                planColumnControl(*control, box, {first->second.first, last},
                                  {geometry, site, lines, planned});
                continue;
            }
            // One for each value of a column that repeats, with the totals of its rows.
            for (std::size_t i = first->second.first; i <= first->second.last; ++i) {
                binding_->setTotaledRows(columns_[i].rows);
                planColumnControl(*control, box, {i, i}, {geometry, site, lines, planned});
            }
            binding_->setTotaledRows(std::nullopt);
        }
        planned.height *= lines;
        if (geometry.columnGroups == 1) slice(planned);
        return planned;
    }

    // The section of a grid that is being planned.
    struct GroupSection {
        const GridGeometry& geometry;
        const Site& site;
        int& lines;
        PlannedSection& planned;
    };

    // A control of these columns, on each page that has some of them.
    void planColumnControl(const Control& control, Rect box, const NamedColumns& columns,
                           const GroupSection& section) {
        const GridGeometry& geometry = section.geometry;
        for (int columnGroup = 0; columnGroup < geometry.columnGroups; ++columnGroup) {
            const auto span = columnSpan(geometry, columns.first, columns.last, columnGroup);
            if (!span) continue;
            const PlacedColumn& left = geometry.columns[span->first];
            const PlacedColumn& right = geometry.columns[span->second];
            box.x = left.x;
            box.width = right.x + right.width - left.x;
            Rect own = box;
            if (geometry.wrapGroups) {
                own.y += left.line * section.planned.height;
                section.lines = std::max(section.lines, left.line + 1);
            }
            PlannedControl made = planControl(control, own, section.site);
            made.firstColumn = static_cast<int>(span->first);
            made.lastColumn = static_cast<int>(span->second);
            const bool everywhere = geometry.columns[columns.last].columnGroup == kEveryColumnGroup;
            made.columnGroup = everywhere ? kEveryColumnGroup : columnGroup;
            section.planned.controls.push_back(std::move(made));
            if (everywhere) break;
        }
    }

    void planLabels(const Labels& labels, PlannedGrid& planned) {
        PlannedLabels& made = planned.labels.emplace();
        made.labels = &labels;
        made.step = labelStep(labels);
        made.columns = labelColumns(labels, plan_->width);
        made.label = planSection(labels.label, {left_ + (made.columns - 1) * made.step});
        if (!trimmed(labels.start).empty()) made.start = binding_->compile(labels.start);
        if (!trimmed(labels.copies).empty()) made.copies = binding_->compile(labels.copies);
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
    const PageSetup* page_;  // that sections are planned for
    Micrometres left_;
    Micrometres width_ = 0;  // of sections
    int depth_;
    std::unique_ptr<ReportPlan> plan_;
    Binding* binding_ = nullptr;  // of the texts that are being planned
    const DataSet* data_ = nullptr;
    std::vector<ShownColumn> columns_;  // of the grid
    std::unordered_map<std::u16string, NamedColumns> columnIndex_;
};

}  // namespace

bool PlannedGrid::hasPlainRows() const {
    const auto isPlain = [](const PlannedControl& cell) {
        return cell.isPlain && !cell.rows && !std::get<PlannedText>(cell.content).suppressRepeated;
    };
    return joins.empty() && geometry.lines == 1 && geometry.columnGroups == 1 &&
           std::all_of(cells.begin(), cells.end(), isPlain);
}

std::unique_ptr<ReportPlan> planReport(const ReportDefinition& report, const PlanSource& source) {
    return Planner(report, source, soundOffset(report.page.margins.left), 0)
        .plan(printableWidth(report.page), nullptr, {});
}

}  // namespace qbsvrl6
