#include "qbreport/burst/run.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <utility>

#include "qbreport/burst/archive_index.h"
#include "qbreport/burst/digest.h"
#include "qbreport/console.h"
#include "qbreport/files.h"
#include "qbreport/interrupt.h"

namespace qbreport {

namespace {

constexpr std::chrono::seconds kBetweenSynchronizations(5);
constexpr std::chrono::milliseconds kBetweenLooks(200);  // at signals, while a document is being made
constexpr std::size_t kMostShown = 20;  // failed documents; the others are in their file only

std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

std::string lockOf(const std::string& manifest) { return manifest + ".lock"; }

// A file has its name only when it is complete.
void writeDocument(const std::string& path, std::string_view bytes) {
    const std::string draft = partOf(path);
    Descriptor file(::open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file.isOpen() && errno == ENOENT) {
        makeFolder(folderOf(path));
        file = Descriptor(::open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    }
    if (!file.isOpen()) failFile(path, errno);
    try {
        write(file, bytes, path);
        rename(draft, path);
    } catch (const Failure&) {
        remove(draft);
        throw;
    }
}

std::string listOf(const std::vector<std::string>& texts) {
    std::string list = "[";
    for (const std::string& text : texts) list += (list.size() > 1 ? "," : "") + inJson(text);
    return list + "]";
}

bool isEqual(const std::string& a, const std::string& b) { return digestOfFile(a) == digestOfFile(b); }

}  // namespace

Run::Run(const BurstPlan& plan, const RunOptions& options, const Survey& survey, RunStatus& status,
         Messages& messages)
    : plan_(plan),
      options_(options),
      status_(status),
      messages_(messages),
      survey_(survey),
      head_(headOf(plan.identity, plan.data, plan.shard, survey, plan.source.columns.hasTotal)),
      folder_(plan.names.folder()),
      documents_(plan.source, plan.shard, plan.shard.isWhole() ? &digest_ : nullptr) {
    figures_.expected = survey.documents;
}

bool Run::execute() {
    status_.begin(figures_);
    begin();
    RenderPlan render = plan_.render;
    render.dataKind = documents_.rows().kind();
    render.dataHead = documents_.rows().head();
    if (plan_.source.origin) {
        render.dataKind = "json";
        render.dataHead = plan_.source.origin->head;
        render.dataTail = plan_.source.origin->tail;
    }
    bool isComplete = false;
    {
        Work work(options_.workers, [&]() -> Work::Work {
            const auto renderer = std::make_shared<Renderer>(render);
            return [this, renderer](Job& job) { make(job, *renderer); };
        });
        try {
            isComplete = runAll(work);
        } catch (...) {
            manifest_->flush(true);
            throw;
        }
    }
    manifest_->flush(true);
    if (isComplete) requireSameData();
    if (isComplete) finish();
    return isComplete;
}

bool Run::nextDocument(Document& document) {
    if (!documents_.next(document)) return false;
    add(read_, document);
    return true;
}

// Somebody may have written to the data since the first pass.
void Run::requireSameData() {
    const bool isHashed = plan_.shard.isWhole() && !plan_.source.origin;
    if (read_.documents == survey_.documents && read_.rows == survey_.rows &&
        read_.total.text() == survey_.total.text() && (!isHashed || digest_.hex() == survey_.digest)) {
        return;
    }
    throw Failure("\"" + plan_.source.source->name() +
                  "\" has changed while the documents were being made; make all of them anew");
}

void Run::begin() {
    const RunFiles& files = plan_.files;
    makeFolder(folder_);
    makeFolder(folderOf(files.manifest));
    lock_ = openToWrite(lockOf(files.manifest), false);
    holdLock(lock_, files.manifest);
    if (plan_.names.isArchive()) return beginArchive();
    if (options_.resumes) {
        finished_ = FinishedFiles(files.manifest, head_);
    } else {
        remove(partOf(files.manifest));
        remove(earlierOf(files.manifest));
        // A shard that is made again must be what it was: nothing is replaced by something else.
        comparesOnly_ = !plan_.shard.isWhole() && exists(files.manifest);
        if (comparesOnly_) finished_ = FinishedFiles(files.manifest);
        // The documents of the manifest are going to be replaced.
        if (!comparesOnly_) remove(files.manifest);
    }
    manifest_.emplace(partOf(files.manifest), head_, 0);
    remove(files.failed);
}

void Run::beginArchive() {
    const RunFiles& files = plan_.files;
    remove(files.failed);
    if (!options_.resumes) remove(partOf(files.manifest));
    if (options_.resumes) {
        const std::string part = partOf(files.manifest);
        requireHead(exists(part) ? part : files.manifest, head_);
        reopenArchive(files);
    }
    archive_ = ArchiveWriter::open(partOf(files.archive), extensionOf(files.archive));
    keepArchived();
}

// Keeps the documents at the beginning of the archive that are as the manifest says; the rest is made again.
void Run::keepArchived() {
    const std::string part = partOf(plan_.files.manifest);
    std::uint64_t size = 0;
    std::uint64_t lines = 0;
    {
        ManifestReader reader(part);
        lines = reader.head().empty() ? 0 : reader.offset();
        Entry entry;
        Document document;
        while (nextDocument(document)) {
            const std::string name = plan_.names.nameOf(plan_.source.columns.names, document.values);
            const bool isKept = reader.next(entry) && isOf(entry, document, name) &&
                                entry.offset == archive_->offsetAfter(size, name) &&
                                digestOf(archive_->read(entry.offset, entry.bytes)) == entry.digest;
            if (isInterrupted()) throw Failure("interrupted; continue with --resume");
            if (!isKept) {
                pending_ = std::move(document);
                break;
            }
            size = archive_->endOf(entry.offset, entry.bytes);
            lines = reader.offset();
            ++figures_.kept;
            figures_.bytes += entry.bytes;
            figures_.pages += entry.pages;
            figures_.warnings += entry.warnings.size();
            status_.show(figures_);
        }
    }
    archive_->cut(size);
    manifest_.emplace(part, head_, lines);
}

std::unique_ptr<Run::Job> Run::nextJob() {
    auto job = std::make_unique<Job>();
    if (pending_.has_value()) {
        job->document = std::move(*pending_);
        pending_.reset();
    } else if (!nextDocument(job->document)) {
        return nullptr;
    }
    job->name = plan_.names.nameOf(plan_.source.columns.names, job->document.values);
    job->known = finished_.find(job->document);
    return job;
}

// So many that threads rarely wait for each other, unless the documents are large.
std::size_t Run::mostJobs() const {
    constexpr std::uint64_t kMostBytes = 4u << 20;  // of their documents
    const std::size_t least = 4 * options_.workers + 8;
    const std::uint64_t documents = figures_.made + figures_.kept;
    if (documents == 0) return least;
    const std::uint64_t fitting = kMostBytes / (figures_.bytes / documents + 1);
    return std::clamp<std::size_t>(fitting, least, 16 * options_.workers + 64);
}

bool Run::runAll(Work& work) {
    constexpr std::size_t kMostData = std::size_t{64} << 20;  // of the jobs
    std::size_t data = 0;
    bool isEnded = false;
    for (;;) {
        const std::size_t most = mostJobs();
        work.setBatch(most / 4);
        while (!isEnded && work.size() < most && (work.size() == 0 || data < kMostData)) {
            std::unique_ptr<Job> job = nextJob();
            isEnded = job == nullptr;
            if (isEnded) break;
            data += job->document.data.size();
            work.add(std::move(job));
        }
        if (work.size() == 0) return true;
        std::unique_ptr<Job> job = work.take(kBetweenLooks);
        if (isInterrupted()) return false;
        status_.show(figures_);
        if (job == nullptr) continue;
        data -= job->document.data.size();
        commit(*job);
        if (options_.stopsAtError && figures_.failed > 0) return false;
        synchronizeNowAndThen();
    }
}

bool Run::keeps(const Job& job) const {
    return options_.resumes && job.known.has_value() && isOf(*job.known, job.document, job.name) &&
           isFinished(*job.known, folder_ + job.name);
}

// On the thread of a worker.
void Run::make(Job& job, Renderer& renderer) const {
    if (keeps(job)) {
        job.entry = *job.known;
        return;
    }
    const std::string expected = comparesOnly_ && job.known.has_value() ? job.known->digest : "";
    job.known.reset();
    Entry& entry = job.entry;
    entry.key = job.document.key;
    entry.file = job.name;
    entry.at = job.document.at;
    entry.rows = job.document.rows;
    entry.data = digestOf(job.document.data);
    if (plan_.source.columns.hasTotal) entry.total = job.document.total.text();
    Rendered rendered = renderer.render(job.document);
    job.errors = std::move(rendered.errors);
    if (!rendered.isMade) {
        if (job.errors.empty()) job.errors.emplace_back("the document could not be made");
        return;
    }
    entry.bytes = rendered.bytes.size();
    entry.digest = digestOf(rendered.bytes);
    entry.pages = rendered.pages;
    entry.warnings = std::move(rendered.warnings);
    if (!expected.empty() && expected != entry.digest) {
        throw Failure("\"" + folder_ + job.name +
                      "\" is finished, but would now be another document; the inputs of \"" +
                      plan_.files.manifest + "\" have changed; remove it to make the shard anew");
    }
    if (archive_ != nullptr) {
        job.bytes = rendered.bytes;
    } else {
        writeDocument(folder_ + job.name, rendered.bytes);
    }
}

void Run::commit(Job& job) {
    if (!job.errors.empty()) return fail(job);
    if (archive_ != nullptr) job.entry.offset = archive_->add(job.name, job.bytes);
    manifest_->add(job.entry.line(archive_ != nullptr));
    ++(job.known.has_value() ? figures_.kept : figures_.made);
    figures_.bytes += job.entry.bytes;
    figures_.pages += job.entry.pages;
    figures_.warnings += job.entry.warnings.size();
}

void Run::fail(const Job& job) {
    ++figures_.failed;
    const std::string& path = plan_.files.failed;
    if (!failed_.isOpen()) failed_ = openToWrite(path, true);
    write(failed_,
          "{\"key\":" + inJson(job.document.key) + ",\"file\":" + inJson(job.name) +
              ",\"at\":" + std::to_string(job.document.at) + ",\"cause\":" + listOf(job.errors) +
              ",\"data\":" + inJson(documents_.rows().head() + job.document.data) + "}\n",
          path);
    if (figures_.failed > kMostShown) return;
    status_.clear();
    const std::string more =
        figures_.failed == kMostShown ? "; the causes of further ones are in \"" + path + "\"" : "";
    messages_.write({Severity::Error, job.errors.front() + more, job.document.key});
}

void Run::synchronizeNowAndThen() {
    const auto now = std::chrono::steady_clock::now();
    if (now - synchronized_ < kBetweenSynchronizations) return;
    synchronized_ = now;
    if (archive_ != nullptr) archive_->synchronize();
    manifest_->flush(true);
}

void Run::finish() {
    const RunFiles& files = plan_.files;
    const std::string part = partOf(files.manifest);
    if (archive_ != nullptr) {
        archive_->finish(part);
        archive_->synchronize();
        writeIndex(indexOf(files.archive), part);
    } else {
        synchronizeAll(folder_);
    }
    if (!plan_.shard.isWhole() && exists(files.manifest) && !isEqual(part, files.manifest)) {
        throw Failure("the shard has been made before, with another result: compare \"" + files.manifest +
                      "\" and \"" + part + "\"");
    }
    if (archive_ != nullptr) rename(partOf(files.archive), files.archive);
    rename(part, files.manifest);
    remove(earlierOf(files.manifest));
    remove(lockOf(files.manifest));
}

}  // namespace qbreport
