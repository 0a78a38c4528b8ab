// qbreport collect: the shards of a burst become one run.
#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "qbreport/burst/archive_index.h"
#include "qbreport/burst/burst_plan.h"
#include "qbreport/burst/digest.h"
#include "qbreport/burst/finished.h"
#include "qbreport/burst/run_status.h"
#include "qbreport/console.h"
#include "qbreport/files.h"
#include "qbreport/interrupt.h"

namespace qbreport {

namespace {

// One manifest per shard, by its number.
struct ShardFiles {
    std::string manifest;  // of the whole run
    std::map<std::uint64_t, std::string> manifests;
    std::uint64_t count = 0;
};

// Reads "manifest.2-of-4.jsonl" as the second of four parts of "manifest.jsonl".
bool readShardName(const std::string& name, std::string& whole, Shard& shard) {
    const std::string base = withoutExtension(name);
    const std::size_t dot = base.rfind('.');
    const std::size_t of = base.find("-of-", std::min(dot, base.size()));
    if (extensionOf(name) != "jsonl" || dot == std::string::npos || of == std::string::npos) return false;
    try {
        shard = shardFrom(base.substr(dot + 1, of - dot - 1) + "/" + base.substr(of + 4));
    } catch (const WrongUse&) {
        return false;
    }
    whole = base.substr(0, dot) + name.substr(base.size());
    return true;
}

ShardFiles shardFiles(const std::string& folder) {
    if (fileKind(folder) != FileKind::Folder) throw Failure("there is no folder \"" + folder + "\"");
    ShardFiles files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        std::string whole;
        Shard shard;
        if (name.starts_with("failed.") || !readShardName(name, whole, shard)) continue;
        const std::string manifest = folder + whole;
        if (files.count != 0 && (files.count != shard.count || files.manifest != manifest)) {
            throw Failure("\"" + folder + "\" has shards of different runs, such as \"" + name + "\" and \"" +
                          files.manifests.begin()->second + "\"; remove those that are not needed");
        }
        files.count = shard.count;
        files.manifest = manifest;
        files.manifests[shard.number] = folder + name;
    }
    if (files.count == 0)
        throw Failure("\"" + folder + "\" has no manifest of a shard, such as manifest.1-of-4.jsonl");
    std::string missing;
    for (std::uint64_t i = 1; i <= files.count; ++i) {
        if (!files.manifests.contains(i)) missing += (missing.empty() ? "" : ", ") + std::to_string(i);
    }
    if (!missing.empty()) {
        throw Failure("of the " + std::to_string(files.count) + " shards, these are missing: " + missing +
                      "; run them, and collect again");
    }
    return files;
}

// The members of a head that are the same in all shards, as in the manifest of the whole run.
struct CommonHead {
    std::string identity;  // template, fonts, options
    std::string data;
    bool hasTotal = false;
};

CommonHead commonHead(const std::string& path) {
    CommonHead common;
    const ManifestReader reader(path);
    for (const auto& [name, value] : membersOf(reader.head())) {
        if (name == "data") common.data = value.substr(1, value.size() - 2);
        if (name == "total") common.hasTotal = true;
        if (name == "data" || name == "shard" || name == "documents" || name == "rows" || name == "total")
            continue;
        common.identity += (common.identity.empty() ? "" : ",") + inJson(name) + ":" + value;
    }
    if (common.identity.empty() || common.data.empty())
        throw Failure("\"" + path + "\" is no manifest of a shard");
    return common;
}

DataOptions dataOptions(const CommonHead& head, const DataOptions& given) {
    const std::string json = "{" + head.data + "}";
    DataOptions data = given;
    if (given.file.empty() && given.query.empty()) {
        data.file = textOf(memberOf(json, "file"));
        data.connection = textOf(memberOf(json, "connection"));
        data.query = textOf(memberOf(json, "query"));
    }
    if (data.kind.empty()) data.kind = textOf(memberOf(json, "kind"));
    if (data.connection == "odbc") {
        throw WrongUse("name the connection again, with --connection and --query: it is not in the manifest");
    }
    return data;
}

// Walks the data once more, takes the entry of each document from its shard, and compares both.
class Collector {
public:
    Collector(const ShardFiles& files, const OutputNames& names, const DocumentSource& source)
        : files_(files), names_(names), source_(source) {
        for (const auto& [number, path] : files.manifests) inputs_.emplace_back(path);
        for (Input& input : inputs_) input.hasEntry = input.reader.next(input.entry);
    }

    // Writes the manifest of the whole run. Its head is known at the end only, so it is put before the lines
    // then.
    Survey collect(const std::string& lines, const std::string& archive, RunStatus& status) {
        ManifestWriter writer(lines, "", 0);
        if (!archive.empty()) {
            archive_ = ArchiveWriter::open(archive, extensionOf(names_.archive()));
            archive_->cut(0);
            openShardArchives();
        }
        Survey survey;
        Digest digest;
        Documents documents(source_, Shard(), &digest);
        Document document;
        while (documents.next(document)) {
            add(survey, document);
            Input& input = inputOf(document);
            check(input.entry, document);
            if (archive_ != nullptr) {
                copy(input);
            } else {
                requireDocument(input.entry);
            }
            writer.add(input.entry.line(archive_ != nullptr));
            input.hasEntry = input.reader.next(input.entry);
            if (survey.documents % 1024 == 0) status.showSurvey(documents.share());
            if (isInterrupted()) throw Failure("");
        }
        requireEnd();
        survey.digest = source_.origin ? source_.origin->digest : digest.hex();
        writer.flush(true);
        return survey;
    }

    // Ends the archive, once the manifest is written.
    void finishArchive(const std::string& manifest) {
        if (archive_ == nullptr) return;
        archive_->finish(manifest);
        archive_->synchronize();
        writeIndex(indexOf(names_.archive()), manifest);
    }

private:
    struct Input {
        explicit Input(const std::string& path) : reader(path) {}
        ManifestReader reader;
        Entry entry;
        bool hasEntry = false;
        Descriptor archive;
        std::string archivePath;
    };

    void openShardArchives() {
        std::uint64_t number = 0;
        for (Input& input : inputs_) {
            input.archivePath = runFiles(names_, "", {++number, files_.count}).archive;
            input.archive = openToRead(input.archivePath);
        }
    }

    // The shard whose next entry is of the document.
    Input& inputOf(const Document& document) {
        Input* found = nullptr;
        for (Input& input : inputs_) {
            if (!input.hasEntry || input.entry.key != document.key) continue;
            if (found != nullptr) {
                throw Failure("\"" + document.key + "\" is twice: in \"" + found->reader.path() +
                              "\" and \"" + input.reader.path() + "\"");
            }
            found = &input;
        }
        if (found != nullptr) return *found;
        throw Failure("\"" + document.key +
                      "\" is missing: no shard has it next; look into failed.*.jsonl, and run "
                      "its shard again with --resume");
    }

    void check(const Entry& entry, const Document& document) const {
        const std::string name = names_.nameOf(source_.columns.names, document.values);
        const bool hasTotal = source_.columns.hasTotal;
        if (isOf(entry, document, name) && (!hasTotal || entry.total == document.total.text())) return;
        throw Failure("\"" + document.key +
                      "\" is not of the data as it is now: rows, total or content differ; run " +
                      "its shard again");
    }

    void requireDocument(const Entry& entry) const {
        const std::string path = names_.folder() + entry.file;
        const Descriptor file = openToRead(path);
        if (sizeOf(file, path) == entry.bytes) return;
        throw Failure("\"" + path + "\" is not as its manifest says; run its shard again with --resume");
    }

    void copy(Input& input) {
        Entry& entry = input.entry;
        std::string bytes(static_cast<std::size_t>(entry.bytes), '\0');
        bytes.resize(readAt(input.archive, entry.offset, bytes.data(), bytes.size(), input.archivePath));
        if (digestOf(bytes) != entry.digest) {
            throw Failure("\"" + entry.key + "\" in \"" + input.archivePath +
                          "\" is not as its manifest says; run its shard again with --resume");
        }
        entry.offset = archive_->add(entry.file, bytes);
    }

    void requireEnd() const {
        for (const Input& input : inputs_) {
            if (!input.hasEntry) continue;
            throw Failure("\"" + input.reader.path() + "\" has \"" + input.entry.key +
                          "\", which is not in the data, or is there before");
        }
    }

    const ShardFiles& files_;
    const OutputNames& names_;
    const DocumentSource& source_;
    std::vector<Input> inputs_;
    std::unique_ptr<ArchiveWriter> archive_;
};

// The manifest with its head before the lines.
void writeManifest(const std::string& path, const std::string& head, const std::string& lines) {
    ManifestWriter writer(path, head, 0);
    ManifestReader reader(lines);  // its head is empty
    for (Entry entry; reader.next(entry);) writer.add(reader.line());
    writer.flush(true);
}

}  // namespace

ExitStatus collect(const CollectOptions& options, Messages& messages) {
    const std::string folder = options.folder.ends_with('/') ? options.folder : options.folder + "/";
    const ShardFiles files = shardFiles(folder);
    const CommonHead head = commonHead(files.manifests.begin()->second);
    for (const auto& [number, path] : files.manifests) {
        const CommonHead other = commonHead(path);
        if (other.identity == head.identity && other.data == head.data) continue;
        throw Failure("\"" + path + "\" is of another run than \"" + files.manifests.begin()->second +
                      "\": template, data, fonts or options differ");
    }
    const std::string settings = memberOf("{" + head.identity + "}", "options");
    const auto setting = [&](const char* name) { return textOf(memberOf(settings, name)); };
    OutputNames names(setting("output"), setting("by"), setting("format"));
    names.moveTo(folder);
    const DataOptions data = dataOptions(head, options.data);
    const DocumentSource source =
        documentSource(data, setting("by"), setting("total"), names.columns(), messages);

    RunStatus status(files.manifest, "", messages.isForPeople() && !messages.isQuiet());
    Collector collector(files, names, source);
    const std::string lines = files.manifest + ".lines";
    const std::string part = partOf(files.manifest);
    const std::string archive = names.isArchive() ? partOf(names.archive()) : "";
    const Survey survey = collector.collect(lines, archive, status);
    writeManifest(part, headOf(head.identity, head.data, Shard(), survey, head.hasTotal), lines);
    collector.finishArchive(part);
    if (!archive.empty()) rename(archive, names.archive());
    rename(part, files.manifest);
    remove(lines);
    status.clear();
    std::string text = counted(survey.documents, "document") + " of " + counted(files.count, "shard") + ", " +
                       counted(survey.rows, "row");
    if (head.hasTotal) text += ", total " + survey.total.text();
    messages.write({Severity::Info, text + ": each once, as in the data", files.manifest});
    return messages.status(false);
}

}  // namespace qbreport
