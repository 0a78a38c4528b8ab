// qbreport burst: one document per key of the data.
#include <string>

#include "qbreport/burst/run.h"
#include "qbreport/console.h"
#include "qbreport/interrupt.h"
#include "qbreport/machine.h"

namespace qbreport {

namespace {

void announce(const BurstPlan& plan, const RunFigures& figures, bool isComplete, Messages& messages) {
    std::string text = counted(figures.made, "document");
    if (figures.kept > 0) text += ", " + grouped(figures.kept) + " kept";
    if (figures.failed > 0) text += ", " + grouped(figures.failed) + " failed";
    text += ", " + counted(figures.pages, "page") + ", " + shownSize(figures.bytes);
    if (figures.warnings > 0) text += ", " + counted(figures.warnings, "warning");
    const std::string& path = isComplete ? plan.files.manifest : partOf(plan.files.manifest);
    messages.write({Severity::Info, text, path});
}

}  // namespace

ExitStatus burst(const BurstOptions& options, Messages& messages) {
    const BurstPlan plan = planOf(options, messages);
    RunStatus status(options.file, options.metrics, messages.isForPeople() && !messages.isQuiet());
    const Survey survey = surveyOf(plan.source, plan.names, plan.shard, plan.reserved,
                                   [&](double share) { status.showSurvey(share); });
    RunOptions run;
    run.workers = options.workers == 0 ? processors() : options.workers;
    run.resumes = options.resumes;
    run.stopsAtError = options.onError == "stop";
    keepMemory();
    Run running(plan, run, survey, status, messages);
    bool isComplete = false;
    try {
        isComplete = running.execute();
    } catch (...) {
        status.clear();
        if (running.figures().done() > 0) announce(plan, running.figures(), false, messages);
        throw;
    }
    const RunFigures& figures = running.figures();
    status.finish(figures, isComplete);
    announce(plan, figures, isComplete, messages);
    if (figures.failed > 0) {
        throw Failure(counted(figures.failed, "document") + " failed; the causes and the data are in \"" +
                      plan.files.failed + "\"");
    }
    if (!isComplete && isInterrupted()) throw Failure("interrupted; continue with --resume");
    const bool isWarned = options.isStrict && figures.warnings > 0;
    return isWarned ? ExitStatus::Warnings : messages.status(options.isStrict);
}

}  // namespace qbreport
