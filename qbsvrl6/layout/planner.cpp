#include "qbsvrl6/layout/planner.h"

#include <algorithm>
#include <numeric>

#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/layout/paper_edge.h"
#include "qbsvrl6/layout/report_sources.h"
#include "qbsvrl6/model/beside_paper.h"
#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

std::unique_ptr<ReportPlan> Planner::plan(Micrometres width, const DataSet* outerData,
                                          std::span<const SubReportParameter> passed,
                                          const DataSources* sectionRows) {
    plan_ = std::make_unique<ReportPlan>();
    plan_->report = &report_;
    plan_->width = width;
    data_ = dataOf(report_, source_.data, outerData);
    plan_->styles = std::make_unique<NamedStyles>(report_);
    plan_->binding = std::make_unique<Binding>(
        report_, sectionRows == nullptr ? sourcesOf(report_, source_.data, outerData) : *sectionRows, passed);
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

void Planner::addSection(std::vector<PlannedSection>& sections, const SectionPtr& section) {
    if (!section) return;
    const int paper = paperNamed(section->page);
    const PaperInUse inUse(*this, paper);
    sections.push_back(planSection(*section, {left_}));
    sections.back().paper = paper;
}

// Without pages, there is no paper. Sub-reports name none.
int Planner::paperNamed(const std::u16string& name) const {
    if (name.empty() || depth_ > 0 || !source_.options.paged) return kOwnPaper;
    const auto found = std::find_if(report_.namedPages.begin(), report_.namedPages.end(),
                                    [&name](const NamedPage& page) { return page.name == name; });
    return found == report_.namedPages.end() ? kOwnPaper
                                             : static_cast<int>(found - report_.namedPages.begin());
}

void Planner::planPapers() {
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

Visibility Planner::visibility(const std::u16string& text, Page page) {
    if (trimmed(text).empty()) return {};
    Visibility visible{binding_->compile(text)};
    visible.known = whenKnown(*visible.when, page);
    return visible;
}

// Page headers and footers know the number of their page from the start; nothing else does.
Known Planner::whenKnown(const Expression& condition, Page page) {
    if (!source_.options.paged) return Known::Now;
    plan_->needsPageCount = plan_->needsPageCount || condition.usesPageCount;
    const bool ofPage = page == Page::IsOwn;
    const bool late = condition.usesPageCount || condition.usesPageRows ||
                      (ofPage ? condition.usesDefaultScope : condition.usesPage);
    return late ? Known::OnPage : Known::Now;
}

PlannedSection Planner::planSection(const Section& section, const Site& site) {
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
void Planner::slice(PlannedSection& section) {
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
        const bool subReport = std::holds_alternative<PlannedSubReport>(section.controls[control].content) &&
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

PlannedSection Planner::emptySection(const Section& section, const Site& site) {
    PlannedSection planned;
    planned.section = &section;
    planned.height = scaledLength(soundLength(section.height), site.scale);
    planned.width = width_;
    planned.visible = visibility(section.visibleWhen, site.page);
    return planned;
}

// A control with its own position, which may reach beyond the paper.
PlannedControl Planner::planFreeControl(const Control& control, Rect box, const Site& site) {
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

PlannedControl Planner::planControl(const Control& control, const Rect& box, const Site& site) {
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
        planned.contentNeedsPage = planned.contentNeedsPage || usesCount || text->any(&Expression::usesPage);
    }
    planned.isPlain = isPlain(planned);
    return planned;
}

bool Planner::isPlain(const PlannedControl& control) {
    const auto* const text = std::get_if<PlannedText>(&control.content);
    return text != nullptr && control.conditions.empty() && !control.visible.when && !text->link &&
           text->evaluate == TextContent::Evaluate::Now && !text->needsPage && !text->needsPageCount &&
           !text->removeWhenBlank;
}

void Planner::warnOfMissingText(const Control& control) {
    const auto* const picture = std::get_if<PictureContent>(&control.content);
    if (picture == nullptr || !picture->alternateText.empty()) return;
    logWarning("the picture has no \"alternateText\": screen readers skip it", control.position);
}

// The texts that ContentTexts evaluates.
std::vector<const TextTemplate*> Planner::contentTexts(const PlannedContent& content) {
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

PlannedContent Planner::planContent(const TextContent& content, const Rect&, const Site& site) {
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

PlannedContent Planner::planContent(const PictureContent& content, const Rect&, const Site&) {
    PlannedPicture planned{&content, binding_->compileText(content.source), content.folder,
                           binding_->compileText(content.alternateText)};
    planned.start.folder = folderAt(content.folder);
    planned.start.name.clear();
    if (!planned.source.isConstant()) planned.start.namedBy = NamedBy::Data;
    return planned;
}

PlannedContent Planner::planContent(const BarcodeContent& content, const Rect&, const Site&) {
    return PlannedBarcode{&content, binding_->compileText(content.text)};
}

PlannedContent Planner::planContent(const ChartContent& content, const Rect&, const Site&) {
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
std::optional<DataSources> Planner::tableSources(const std::u16string& name) {
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

PlannedContent Planner::planContent(const SubReportContent& content, const Rect& box, const Site& site) {
    PlannedSubReport planned = planSubReport(content, box, site);
    if (planned.plan) plan_->needsPageCount = plan_->needsPageCount || planned.plan->needsPageCount;
    return planned;
}

PlannedSubReport Planner::planSubReport(const SubReportContent& content, const Rect& box, const Site& site) {
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

}  // namespace qbsvrl6
