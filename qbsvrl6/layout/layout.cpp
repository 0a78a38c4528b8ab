#include "qbsvrl6/layout/layout.h"

#include <utility>

#include "qbsvrl6/layout/flow.h"
#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/pager.h"
#include "qbsvrl6/layout/report_walk.h"
#include "qbsvrl6/layout/shown_grid.h"
#include "qbsvrl6/layout/structure_notes.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/clock.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

// The rows of a cross-table in a sub-report are computed for each place of it.
std::shared_ptr<RowView> crossViewOf(const ReportPlan& plan, const RowView& view, bool isSubReport) {
    const std::vector<OwnedValue> passed = view.passed();
    if (!isSubReport) return std::make_shared<RowView>(*plan.crossBinding, passed, view.now());
    const Table* const table = plan.binding->sources().rows;
    if (view.tables().tableFor(table) != table) {
        throw EngineError(ErrorCode::NotSupported,
                          "a cross-table cannot read a query that runs for each row of the outer report");
    }
    RowTables tables;
    tables.add(*plan.cross->rows, plan.cross->query->evaluate(passed, view.now(), view.walkedRows()));
    return std::make_shared<RowView>(*plan.crossBinding, passed, view.now(), WalkedRows(), std::move(tables));
}

void layOutPaged(LayoutContext& context, const ReportInstance& instance, PageSink& sink) {
    Pager pager(context, instance, sink);
    ReportWalk::walk(context, instance, pager);
    pager.finish();
}

class NoSink : public PageSink {
public:
    void beginPage(const PageInfo&) override {}
    void band(Band&&, Micrometres, Micrometres) override {}
    void endPage() override {}
    void finish(PendingTexts&) override {}
};

void countPages(LayoutContext& context, const ReportInstance& instance) {
    DrawingSource* const drawings = std::exchange(context.options.drawings, nullptr);
    DocumentStructure* const structure = std::exchange(context.options.structure, nullptr);
    context.late.beginCounting();
    NoSink sink;
    layOutPaged(context, instance, sink);
    context.late.endCounting();
    context.options.drawings = drawings;
    context.options.structure = structure;
}

// Page header and footer appear once, at the start and at the end.
void layOutContinuous(LayoutContext& context, const ReportInstance& instance, PageSink& sink) {
    ContinuousFlow flow(context, sink, instance.plan.report->page);
    BandBuilder builder(context, instance);
    const auto addPart = [&](std::optional<PlannedSection>& part, BandKind kind, std::size_t row) {
        if (!part) return;
        std::optional<BandDraft> draft = builder.section(*part, kind, builder.reportPosition(row));
        if (draft) flow.add(std::move(*draft));
    };
    const std::size_t rows = instance.view->rowCount();
    flow.begin();
    addPart(instance.plan.pageHeader, BandKind::PageHeader, 0);
    ReportWalk::walk(context, instance, flow);
    addPart(instance.plan.pageFooter, BandKind::PageFooter, rows > 0 ? rows - 1 : 0);
    flow.end();
}

}  // namespace

ReportInstance instanceOf(ReportPlan& plan, std::shared_ptr<RowView> view, bool isSubReport,
                          std::uint32_t structure) {
    ReportInstance instance{plan, std::move(view), isSubReport, nullptr, structure};
    if (plan.cross != nullptr) instance.crossView = crossViewOf(plan, *instance.view, isSubReport);
    return instance;
}

void layOut(const ReportDefinition& report, const ReportData& data, const LayoutOptions& options,
            PageSink& sink) {
    LayoutContext context(options, ReportWalk::walk);
    context.now = localTime();
    if (options.forWorkbook && report.workbook.formulas) context.calculations.emplace();
    const std::shared_ptr<const ShownGrids> grids = data.grids ? data.grids : showGrids(report, data);
    const std::unique_ptr<ReportPlan> plan =
        planReport(report, {data, options, context.styles, report.page, *grids});
    const ReportInstance instance = instanceOf(
        *plan, std::make_shared<RowView>(*plan->binding, std::span<const OwnedValue>(), context.now), false,
        addToStructure(options.structure, *plan, {}, 1));
    if (Spending* const spending = Spending::current()) {
        spending->progress().allRows = instance.view->rowCount();
        context.watched = instance.view.get();
    }
    if (options.paged) {
        if (plan->needsPageCount) countPages(context, instance);
        layOutPaged(context, instance, sink);
    } else {
        layOutContinuous(context, instance, sink);
    }
    sink.finish(context.late);
}

}  // namespace qbsvrl6
