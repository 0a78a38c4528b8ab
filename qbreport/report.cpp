#include "qbreport/report.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "qbreport/console.h"
#include "qbreport/data_kind.h"
#include "qbreport/files.h"
#include "qbreport/progress_line.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr const char* kStandardInput = "standard input";
constexpr std::string_view kTemplateFiles = ".qbf";
constexpr std::string_view kDataFiles = ".json .jsonl .ndjson .xml .csv .tsv .txt";
constexpr std::size_t kGuessedBytes = 1 << 16;

bool isText(const lkchar* text) { return text != nullptr && *text != 0; }

// Whether the template of the report, or of one of its sub-reports, names data of its own.
bool hasQuery(tagQBReport* report) {
    if (isText(QBReportGetQuerySQL(report))) return true;
    tagQBDetailGrid* const grid = QBReportGetDetailGrid(report);
    if (grid != nullptr && isText(QBRecordsetGetQuerySQL(QBDetailGridGetRecordset(grid)))) return true;
    for (tagQBControl* control = QBReportFindFirstControl(report); control != nullptr;
         control = QBReportFindNextControl(report)) {
        tagQBSubReport* const inner = QBControlGetAsSubReport(control);
        if (inner != nullptr && hasQuery(QBSubReportGetReport(inner))) return true;
    }
    return false;
}

std::vector<std::string> namesOf(const std::vector<Item>& items) {
    std::vector<std::string> names;
    for (const Item& item : items) names.push_back(item.name);
    return names;
}

bool isAmong(std::string_view name, const std::vector<std::string>& names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& known) { return isSameName(name, known); });
}

// With its options, or empty.
void requireDataKind(const std::string& kind) {
    static const std::vector<std::string> kKinds{"json", "jsonl", "xml", "csv"};
    const std::string name = kind.substr(0, kind.find(':'));
    if (kind.empty() || isAmong(name, kKinds)) return;
    throw WrongUse("there is no kind of data \"" + name + "\"" + suggestion(name, kKinds, "kinds") +
                   "; tab-separated values are csv:separator=tab");
}

// All bytes of a stream, up to the limit of what is fetched.
std::string readStream(const std::string& path) {
    QBXBudget budget{};
    budget.size = sizeof budget;
    const std::uint64_t most = QBXGetBudget(&budget) == 0 ? UINT64_MAX : budget.fetchedBytes;
    std::string bytes = readBytes(path, most + (most == UINT64_MAX ? 0 : 1));
    if (bytes.size() > most) {
        throw Failure((path == kStandardStream ? kStandardInput : path) + " has more than " +
                      shownSize(most) + "; allow more with --budget fetched-bytes=SIZE");
    }
    return bytes;
}

std::string nameIn(const std::string& assignment) { return assignment.substr(0, assignment.find('=')); }

}  // namespace

Report::Report(Messages& messages) : messages_(messages), handle_(QBReportCreate()) {
    if (handle_ == nullptr) throw Failure("out of memory");
}

Report::~Report() { QBReportRelease(handle_); }

void Report::run(const std::function<int()>& call) {
    bool isDone = false;
    {
        const ProgressLine line(handle_, file_, messages_.isForPeople() && !messages_.isQuiet());
        isDone = call() != 0;
    }
    messages_.writeThoseOf(handle_);
    if (!isDone) throw Failure("");
}

void Report::loadTemplate(const std::string& path) {
    requireFile(path, kTemplateFiles);
    const std::string kind = kindOfFile(path);
    if (!kind.empty() && kind != "xml") {
        throw Failure("\"" + path + "\" is data, not a template; name data with -d " + path);
    }
    const bool isStream = path == kStandardStream || fileKind(path) == FileKind::Stream;
    if (isStream) return loadTemplate(readStream(path), path == kStandardStream ? kStandardInput : path);
    file_ = path;
    run([&] { return QBXReportLoadTemplateFile(handle_, path.c_str()); });
}

void Report::loadTemplate(std::string_view bytes, const std::string& name) {
    file_ = name;
    run([&] { return QBXReportLoadTemplate(handle_, bytes.data(), bytes.size(), name.c_str()); });
}

void Report::setParameters(const DataOptions& data) {
    for (const std::string& assignment : data.parameters) setParameter(assignment, data.query);
}

void Report::loadData(const DataOptions& data) {
    setParameters(data);  // queries of databases may use them
    if (!data.file.empty()) {
        loadFile(data);
    } else if (!data.query.empty()) {
        run([&] { return QBXReportLoadDataFrom(handle_, data.connection.c_str(), data.query.c_str()); });
    }
}

void Report::loadFile(const DataOptions& data) {
    requireFile(data.file, kDataFiles);
    requireDataKind(data.kind);
    const FileKind file = fileKind(data.file);
    std::string kind = data.kind.empty() ? kindOfFile(data.file) : data.kind;
    if (data.file == kStandardStream && file_ == kStandardInput) {
        throw WrongUse("standard input cannot be both template and data; name a file for one of them");
    }
    if (data.file == kStandardStream && kind == "jsonl") {
        run([&] { return QBXReportLoadDataFrom(handle_, "jsonl", "-"); });
        return;
    }
    if (data.file == kStandardStream || file == FileKind::Stream) {
        const std::string bytes = readStream(data.file);
        return loadData(kind, bytes, data.file == kStandardStream ? kStandardInput : data.file);
    }
    if (kind.empty() && file == FileKind::Regular) kind = kindOfText(readBytes(data.file, kGuessedBytes));
    // JSON and XML have the same connection: the engine detects which one it is.
    if (kind.empty() || kind == "json") kind = "xml";
    run([&] { return QBXReportLoadDataFrom(handle_, kind.c_str(), data.file.c_str()); });
}

void Report::loadData(const std::string& kind, std::string_view bytes, const std::string& name) {
    requireDataKind(kind);
    const std::string known = kind.empty() ? kindOfText(bytes) : kind;
    run([&] { return QBXReportLoadData(handle_, known.c_str(), bytes.data(), bytes.size(), name.c_str()); });
}

void Report::setParameter(const std::string& assignment, const std::string& query) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw WrongUse("\"" + assignment + "\" is no parameter; write it as Name=value");
    }
    const std::string name = nameIn(assignment);
    std::vector<std::string> names = namesOf(items(QBXItemKind_Parameter));
    const std::vector<std::string> fields = namesOf(items(QBXItemKind_Field));
    names.insert(names.end(), fields.begin(), fields.end());
    const bool mayBeInQuery = query.find(name) != std::string::npos;
    if (!isAmong(name, names) && !mayBeInQuery) {
        throw Failure(file_ + " has no parameter \"" + name + "\"" + suggestion(name, names, "names"));
    }
    run([&] { return QBXReportSetParameter(handle_, name.c_str(), assignment.c_str() + equals + 1); });
}

std::vector<std::string> Report::fieldsWithoutData(const DataOptions& data) const {
    if (!data.file.empty() || !data.query.empty() || hasQuery(handle_)) return {};
    std::vector<std::string> given;
    for (const std::string& assignment : data.parameters) given.push_back(nameIn(assignment));
    std::vector<std::string> fields = namesOf(items(QBXItemKind_Field));
    std::erase_if(fields, [&](const std::string& name) { return isAmong(name, given); });
    return fields;
}

void Report::requireData(const DataOptions& data) const {
    const std::vector<std::string> missing = fieldsWithoutData(data);
    if (missing.empty()) return;
    std::string example = "data.json";
    for (const char* extension : {".json", ".jsonl", ".csv", ".xml", ".txt"}) {
        const std::string neighbour = withoutExtension(file_) + extension;
        if (fileKind(neighbour) != FileKind::Regular) continue;
        example = neighbour;
        break;
    }
    throw Failure(file_ + " needs data: it reads " + listed(missing) +
                  "; name a file of data, for example -d " + example);
}

void Report::prepare(const std::string& format,
                     const std::vector<std::pair<std::string, std::string>>& options) {
    bool isPrepared = QBXReportPrepareExport(handle_, format.c_str()) != 0;
    for (const auto& [name, value] : options) {
        isPrepared = isPrepared && QBXReportSetExportOption(handle_, name.c_str(), value.c_str()) != 0;
    }
    if (isPrepared) return;
    QBXMessage error{};
    error.size = sizeof error;
    const bool isKnown = QBXReportGetLastError(handle_, &error) != 0;
    const std::string text = isKnown ? error.text : "the export cannot be prepared";
    QBXReportClearMessages(handle_);
    throw WrongUse(text);
}

std::vector<Item> Report::items(QBXItemKind kind) const {
    std::vector<Item> items;
    const std::uint64_t count = QBXReportGetItemCount(handle_, kind);
    for (std::uint64_t i = 0; i < count; ++i) {
        QBXItem item{};
        item.size = sizeof item;
        if (QBXReportGetItem(handle_, kind, i, &item) == 0) break;
        items.push_back({item.name, item.table, item.type, item.value, item.count, item.required != 0,
                         item.line, item.column});
    }
    return items;
}

}  // namespace qbreport
