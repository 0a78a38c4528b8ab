#include "qbsvrl6/api/export.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "qbsvrl6/api/attachments.h"
#include "qbsvrl6/api/drawings.h"
#include "qbsvrl6/api/export_kinds.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/api/report_work.h"
#include "qbsvrl6/api/unused_columns.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/layout/layout.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/thread_memory.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using namespace quillbrook;

void addReports(Report& report, std::vector<Report*>& reports) {
    reports.push_back(&report);
    forEachSubReport(report.definition, [&](Control&, Report& inner) { addReports(inner, reports); });
}

// An export that runs on this thread: the report with all of its sub-reports. Event handlers call back into
// the library and may export other reports, so that exports are nested.
class RunningExport {
public:
    explicit RunningExport(Report& root) : outer_(innermost) {
        refuseDuringExport(root);
        addReports(root, reports_);
        releasedMeanwhile_.reserve(reports_.size());  // releasing never fails
        innermost = this;
    }
    ~RunningExport() {
        innermost = outer_;
        for (Report* report : releasedMeanwhile_) delete report;
    }
    RunningExport(const RunningExport&) = delete;
    RunningExport& operator=(const RunningExport&) = delete;

    static RunningExport* of(const Report& report) {
        RunningExport* running = innermost;
        while (running != nullptr && std::find(running->reports_.begin(), running->reports_.end(), &report) ==
                                         running->reports_.end()) {
            running = running->outer_;
        }
        return running;
    }
    void deleteAtEnd(Report* report) { releasedMeanwhile_.push_back(report); }
    // Whether the report still exists to own the result.
    void refuseIfReleased() const {
        if (!releasedMeanwhile_.empty()) {
            throw EngineError(ErrorCode::NotSupported, "the report was released during its own export");
        }
    }
    const std::vector<Report*>& reports() const { return reports_; }

private:
    static thread_local RunningExport* innermost;

    RunningExport* outer_;
    std::vector<Report*> reports_;  // the root first
    std::vector<Report*> releasedMeanwhile_;
};

thread_local RunningExport* RunningExport::innermost = nullptr;

// The data that charts get by request is for one export only.
class ChartDataRestorer {
public:
    void keep(ChartContent& chart) { kept_.emplace_back(&chart, chart.data); }
    ~ChartDataRestorer() {
        for (auto& [chart, data] : kept_) chart->data = std::move(data);
    }

private:
    std::vector<std::pair<ChartContent*, ChartData>> kept_;
};

// Handlers are the caller's code. An exception of theirs ends this export and is logged with the event's
// name.
template <class Handler, class... Arguments>
void fire(const char* event, const HandlerSlot<Handler>& slot, Arguments... arguments) {
    if (slot.current() == nullptr) return;
    const auto failed = [&](const std::string& cause) {
        return EngineError(ErrorCode::NotSupported,
                           "the handler of the event " + std::string(event) + " raised " + cause);
    };
    try {
        slot.current()->Execute(arguments...);
    } catch (const std::exception& error) {
        throw failed(std::string("an exception: ") + error.what());
    } catch (...) {
        throw failed("something that is no exception");
    }
}

void fireInitialize(const RunningExport& running) {
    for (Report* report : running.reports()) {
        if (const Runtime* runtime = findRuntime(*report)) fire("Initialize", runtime->handlers.initialize);
    }
}

// Each chart asks the handler of its own report, or of the nearest one around that has a handler.
void requestChartData(Report& report, Runtime* handlerOwner, ChartDataRestorer& restorer) {
    Runtime* own = findRuntime(report);
    if (own != nullptr && own->handlers.chartRequestData.current()) handlerOwner = own;
    for (Control* control : allControls(report.definition)) {
        if (auto* chart = std::get_if<ChartContent>(&control->content)) {
            if (handlerOwner == nullptr || !handlerOwner->handlers.chartRequestData.current()) continue;
            restorer.keep(*chart);
            fire("ChartRequestData", handlerOwner->handlers.chartRequestData,
                 toHandle<tagQBChart>(control, runtimeOf(report)));
        } else if (auto* subReport = std::get_if<SubReportContent>(&control->content)) {
            requestChartData(*subReport->report, handlerOwner, restorer);
        }
    }
}

// A picture that can't be loaded is logged and left out: the report is readable without it.
std::shared_ptr<const Picture> backgroundOf(const ReportDefinition& report) {
    if (report.backgroundPicture.empty()) return nullptr;
    try {
        return loadPicture(fetch(report.backgroundPicture, limits::kPictureBytes),
                           shownAddress(report.backgroundPicture));
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        const TextPosition position = placeOf(report.backgroundPicture, report);
        const std::string message = std::string("no background picture: ") + error.what();
        if (error.code() == ErrorCode::NotAllowed) {
            logError(message, position);
        } else {
            logWarning(message, position);
        }
        return nullptr;
    }
}

// Ends an export whose document or time grows beyond its budget.
class BudgetGuard : public PageSink {
public:
    BudgetGuard(std::unique_ptr<PageSink> sink, const Spool& output, bool paged)
        : sink_(std::move(sink)), output_(output), paged_(paged) {}
    void beginPage(const PageInfo& page) override {
        items_ = 0;
        sink_->beginPage(page);
    }
    void band(Band&& band, Micrometres x, Micrometres y) override {
        // One table that runs on has no pages to fill.
        items_ = band.items.size() + (paged_ ? items_ : 0);
        checkFigure(&Budget::pageItems, items_, paged_ ? "one page" : "one band");
        sink_->band(std::move(band), x, y);
    }
    void endPage() override {
        sink_->endPage();
        if (paged_) ++Spending::current()->progress().pages;
        check();
    }
    void finish(PendingTexts& pending) override {
        sink_->finish(pending);
        check();
    }

private:
    void check() const {
        checkTime();
        checkFigure(&Budget::documentBytes, output_.size());
    }

    std::unique_ptr<PageSink> sink_;
    const Spool& output_;
    bool paged_;
    std::size_t items_ = 0;  // of the page or band
};

// The data, and the columns that the grids have with it.
ReportData dataOf(Runtime& runtime, bool mayLackData) {
    ReportData data = collectData(runtime.report, mayLackData);
    data.grids = showGrids(runtime.report.definition, data);
    return data;
}

void layOutInto(Runtime& runtime, const ReportData& data, const LayoutOptions& options, PageSink& sink,
                std::vector<PdfAttachment>* attachments = nullptr) {
    if (attachments != nullptr) *attachments = loadAttachments(runtime.report.definition, data);
    ChartDataRestorer restorer;
    requestChartData(runtime.report, nullptr, restorer);
    layOut(runtime.report.definition, data, options, sink);
    runtime.pageCount = Spending::current()->progress().pages;
}

Spool makeDocument(Runtime& runtime, const ExportOptions& options, std::vector<std::string>* furtherFiles) {
    ReportDefinition& definition = runtime.report.definition;
    ExportJob job{definition,
                  options,
                  layoutOptionsFor(options),
                  backgroundOf(definition),
                  furtherFiles,
                  processSettings().defuseFormulas,
                  std::make_shared<std::vector<PdfAttachment>>()};
    job.structure = structureFor(definition, options);
    job.layout.structure = job.structure.get();
    Drawings drawings(definition);
    job.layout.drawings = &drawings;
    const ReportData data = dataOf(runtime, false);
    job.grids = data.grids;
    Spool output;
    BudgetGuard sink(makeSink(job, output), output, job.layout.paged);
    layOutInto(runtime, data, job.layout, sink,
               options.kind == ExportKind::Pdf ? job.attachments.get() : nullptr);
    return output;
}

std::string fileNameOf(const ExportOptions& options) {
    if (options.fileName.empty()) throw EngineError(ErrorCode::FileUnwritable, "no file is named");
    return toUtf8(options.fileName);
}

// "a/b.png" of page 2 is "a/b-2.png".
std::string numbered(const std::string& file, std::size_t page) {
    const std::size_t dot = file.rfind('.');
    const bool hasEnding = dot != std::string::npos && file.find('/', dot) == std::string::npos;
    const std::size_t end = hasEnding ? dot : file.size();
    return file.substr(0, end) + "-" + std::to_string(page) + file.substr(end);
}

// An error is about the file that was asked for.
void writeFurtherPage(const std::string& file, std::size_t page, const std::string& name,
                      const std::string& bytes) {
    try {
        writeFile(name, bytes);
    } catch (const EngineError& error) {
        throw EngineError(error.code(),
                          "page " + std::to_string(page) + ", \"" + name + "\": " + error.message(), {file});
    }
}

// Every log line of an export names the template: many reports may be exported at once.
template <class Export>
Spool aboutTemplate(const Runtime& runtime, Export run) {
    returnMemoryAtThreadEnd();
    const std::string file = runtime.templateFile;  // the report may be released during its export
    const LogSubject subject(file);
    try {
        return run();
    } catch (const EngineError& error) {
        // The place of an error without a file is one in the template.
        if (!error.place().file.empty()) throw error.about(file);
        throw EngineError(error.code(), error.message(), {file, error.place().position});
    } catch (const MachineError& error) {
        throw MachineError(subject.with(error.what()));
    } catch (const std::bad_alloc&) {
        throw MachineError(subject.with("out of memory"));
    }
}

}  // namespace

Spool exportReport(Runtime& runtime, ExportOptions& options, std::vector<std::string>* furtherFiles) {
    return aboutTemplate(runtime, [&] {
        const ReportWork work(runtime);
        const RunningExport running(runtime.report);
        fireInitialize(running);
        fire("ExportBegin", runtime.handlers.exportBegin, toHandle<tagQBExportOption>(&options, runtime));
        Spool document = makeDocument(runtime, options, furtherFiles);
        running.refuseIfReleased();
        return document;
    });
}

void checkReport(Runtime& runtime, std::unique_ptr<PageSink> pages) {
    class NoDocument : public PageSink {
        void beginPage(const PageInfo&) override {}
        void band(Band&&, Micrometres, Micrometres) override {}
        void endPage() override {}
        void finish(PendingTexts&) override {}
    };
    aboutTemplate(runtime, [&] {
        const ReportWork work(runtime);
        const RunningExport running(runtime.report);
        ExportOptions options;
        fireInitialize(running);
        backgroundOf(runtime.report.definition);
        LayoutOptions layout = layoutOptionsFor(options);
        Drawings drawings(runtime.report.definition);
        layout.drawings = &drawings;
        const auto structure = structureFor(runtime.report.definition, options);
        layout.structure = structure.get();
        const Spool nothing;
        if (pages == nullptr) pages = std::make_unique<NoDocument>();
        BudgetGuard sink(std::move(pages), nothing, layout.paged);
        const ReportData data = dataOf(runtime, true);
        layOutInto(runtime, data, layout, sink);
        tellUnusedColumns(runtime.report.definition, data);
        return Spool();
    });
}

ExportOptions& preparedOptions(Runtime& runtime) {
    if (!runtime.prepared) throw EngineError(ErrorCode::NotSupported, "no export is prepared");
    return runtime.preparedOptions;
}

// The first page is written last: it is there only with all others.
void exportToFile(Runtime& runtime, ExportOptions& options) {
    std::vector<std::string> furtherFiles;
    const Spool document = exportReport(runtime, options, &furtherFiles);
    const std::string file = fileNameOf(options);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < furtherFiles.size(); ++i) names.push_back(numbered(file, i + 2));
    std::size_t written = 0;
    try {
        for (; written < names.size(); ++written) {
            writeFurtherPage(file, written + 2, names[written], furtherFiles[written]);
        }
        writeFile(file, document);
    } catch (...) {
        for (std::size_t i = 0; i < written; ++i) ::unlink(names[i].c_str());
        throw;
    }
}

Spool printedReport(Runtime& runtime) {
    return aboutTemplate(runtime, [&] {
        const ReportWork work(runtime);
        const RunningExport running(runtime.report);
        fireInitialize(running);
        Spool document = makeDocument(runtime, {}, nullptr);
        running.refuseIfReleased();
        return document;
    });
}

bool isBeingExported(const Report& report) noexcept { return RunningExport::of(report) != nullptr; }

void refuseDuringExport(const Report& report) {
    if (isBeingExported(report)) {
        throw EngineError(ErrorCode::NotSupported, "not possible while the report is being exported");
    }
}

void releaseReport(Report* report) noexcept {
    if (Runtime* const runtime = findRuntime(*report)) runtime->forgetHandles();
    if (RunningExport* running = RunningExport::of(*report)) {
        running->deleteAtEnd(report);
    } else {
        delete report;
    }
}

}  // namespace qbsvrl6
