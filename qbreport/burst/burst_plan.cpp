#include "qbreport/burst/burst_plan.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

#include "qbreport/burst/digest.h"
#include "qbreport/burst/key_list.h"
#include "qbreport/burst/xml_rows.h"
#include "qbreport/console.h"
#include "qbreport/data_kind.h"
#include "qbreport/files.h"
#include "qbreport/report.h"

namespace qbreport {

namespace {

// "name":"value", with a comma before it where it is not the first member.
void addMember(std::string& json, const std::string& name, const std::string& value) {
    if (!json.empty() && !json.ends_with('{')) json += ',';
    json += inJson(name) + ":" + value;
}

void addText(std::string& json, const std::string& name, const std::string& value) {
    if (!value.empty()) addMember(json, name, inJson(value));
}

void addList(std::string& json, const std::string& name, const std::vector<std::string>& values) {
    if (values.empty()) return;
    std::string list = "[";
    for (const std::string& value : values) list += (list.size() > 1 ? "," : "") + inJson(value);
    addMember(json, name, list + "]");
}

// The connection without its password.
std::string shownConnection(const std::string& connection) {
    return connection.starts_with("odbc:") ? "odbc" : connection;
}

// The files that documents are made of, without the folders of this machine, in the order of their names.
std::string filesOf(const std::vector<Item>& items, bool areFonts) {
    std::set<std::pair<std::string, std::string>> files;
    for (const Item& item : items) {
        if ((item.type == "font") != areFonts) continue;
        const std::string& name = areFonts ? item.value : item.name;
        files.emplace(name.substr(areFonts ? name.rfind('/') + 1 : 0), digestOfFile(item.value));
    }
    std::string list = "[";
    for (const auto& [name, digest] : files) {
        std::string file = "{";
        addText(file, "file", name);
        addText(file, "sha256", digest);
        list += (list.size() > 1 ? "," : "") + file + "}";
    }
    return list + "]";
}

// Of a password, the manifest has the name only.
std::vector<std::string> shownOptions(const FormatOptions& format) {
    std::vector<std::string> shown = format.options;
    for (std::string& option : shown) {
        const std::string name = option.substr(0, option.find('='));
        if (ExportOptions::isPassword(name)) option = name;
    }
    return shown;
}

std::string optionsOf(const BurstOptions& options) {
    std::string json = "{";
    addText(json, "by", options.key);
    addText(json, "output", options.output);
    addText(json, "format", options.format.format);
    addText(json, "total", options.total);
    addText(json, "pages", options.format.pages);
    addText(json, "layout", options.format.layout);
    addText(json, "resolution", options.format.resolution);
    addList(json, "option", shownOptions(options.format));
    addList(json, "parameter", options.data.parameters);
    return json + "}";
}

std::string identityOf(const BurstOptions& options, const RenderPlan& render, const Report& report) {
    std::string json = "{";
    const std::u16string wide = QBGetModuleVersion();
    addText(json, "qbreport", QBSVR_VERSION);
    addText(json, "engine", std::string(wide.begin(), wide.end()));
    std::string file = "{";
    addText(file, "file", options.file);
    addText(file, "sha256", digestOf(render.templateBytes));
    addMember(json, "template", file + "}");
    const std::vector<Item> files = report.items(QBXItemKind_File);
    addMember(json, "files", filesOf(files, false));
    addMember(json, "fonts", filesOf(files, true));
    addMember(json, "options", optionsOf(options));
    return json.substr(1);
}

std::string dataOf(const DataOptions& data, const DocumentSource& source) {
    std::string json;
    addText(json, "file", data.file);
    addText(json, "kind", data.kind);
    addText(json, "connection", shownConnection(data.connection));
    addText(json, "query", data.query);
    const std::uint64_t bytes = source.origin ? source.origin->bytes : source.source->size();
    addMember(json, "bytes", std::to_string(bytes));
    return json;
}

std::string withSuffix(const std::string& path, const std::string& suffix) {
    const std::string base = withoutExtension(path);
    return base + suffix + path.substr(base.size());
}

void checkExport(const RenderPlan& plan) {
    Messages silent(Messages::Form::Text, true);
    const Report report(silent);
    bool isKnown = QBXReportPrepareExport(report.handle(), plan.format.c_str()) != 0;
    bool isWhole = plan.format != "png";
    for (const auto& [name, value] : plan.exportOptions.values()) {
        isKnown = isKnown && QBXReportSetExportOption(report.handle(), name.c_str(), value.c_str()) != 0;
        isWhole = isWhole || (name == "all-in-one" && value == "yes");
    }
    QBXMessage error{};
    error.size = sizeof error;
    if (!isKnown) {
        const bool hasText = QBXReportGetLastError(report.handle(), &error) != 0;
        throw WrongUse(hasText ? error.text : "the export cannot be prepared");
    }
    if (!isWhole) {
        throw WrongUse(
            "png has a file per page, but here each document is one file; add --option all-in-one=yes");
    }
}

}  // namespace

RunFiles runFiles(const OutputNames& names, const std::string& manifest, const Shard& shard) {
    const std::string suffix = shard.suffix();
    RunFiles files;
    files.manifest = withSuffix(manifest.empty() ? names.folder() + "manifest.jsonl" : manifest, suffix);
    files.failed = withSuffix(names.folder() + "failed.jsonl", suffix);
    if (names.isArchive()) files.archive = withSuffix(names.archive(), suffix);
    return files;
}

Shard shardFrom(const std::string& text) {
    Shard shard;
    if (text.empty()) return shard;
    const std::size_t slash = std::min(text.find('/'), text.size());
    const char* const end = text.data() + text.size();
    const auto number = std::from_chars(text.data(), end, shard.number);
    const auto count = std::from_chars(std::min(text.data() + slash + 1, end), end, shard.count);
    const bool isRead = number.ec == std::errc() && number.ptr == text.data() + slash &&
                        count.ec == std::errc() && count.ptr == end;
    if (!isRead || shard.number < 1 || shard.number > shard.count) {
        throw WrongUse("\"" + text + "\" is no shard; write 1/16 for the first of sixteen");
    }
    return shard;
}

DocumentSource documentSource(const DataOptions& data, const std::string& key, const std::string& total,
                              const std::vector<std::string>& columns, Messages& messages) {
    DocumentSource source;
    const auto indexOf = [&](const std::string& name) {
        auto& names = source.columns.names;
        const auto known = std::find(names.begin(), names.end(), name);
        if (known != names.end()) return static_cast<std::size_t>(known - names.begin());
        names.push_back(name);
        return names.size() - 1;
    };
    source.columns.key = indexOf(key);
    for (const std::string& column : columns) indexOf(column);
    source.columns.hasTotal = !total.empty();
    if (source.columns.hasTotal) source.columns.total = indexOf(total);
    source.isKeyList = !data.query.empty();
    if (source.isKeyList) {
        source.kind = kKeyListKind;
        source.source = listKeys(data, source.columns.names, messages);
        return source;
    }
    if (data.file.empty()) {
        throw WrongUse("there is no data; name a file, such as -d rows.jsonl, or a connection and a query");
    }
    requireFile(data.file, ".jsonl .ndjson .json .csv .tsv .txt .xml");
    source.kind = data.kind.empty() ? kindOfFile(data.file) : data.kind;
    source.source = std::make_shared<const Source>(data.file);
    if (source.kind.empty()) source.kind = kindOf(*source.source);
    if (source.kind != "xml") return source;
    XmlRows rows = readXmlRows(*source.source, key);
    source.origin = {source.source->size(), std::move(rows.digest), std::move(rows.head),
                     std::move(rows.tail)};
    source.kind = "jsonl";
    source.source = std::move(rows.rows);
    return source;
}

BurstPlan planOf(const BurstOptions& options, Messages& messages) {
    const Shard shard = shardFrom(options.shard);
    OutputNames names(options.output, options.key, options.format.format);
    RunFiles files = runFiles(names, options.manifest, shard);
    RenderPlan render;
    render.templateFile = options.file;
    render.format = names.format();
    render.exportOptions = ExportOptions(options.format);
    checkExport(render);
    if (options.file == kStandardStream)
        throw WrongUse("the template of a burst is a file, not standard input");

    Report report(messages);
    report.loadTemplate(options.file);
    DataOptions parameters;
    parameters.parameters = options.data.parameters;
    parameters.query = options.data.query;
    report.setParameters(parameters);
    for (const std::string& assignment : options.data.parameters) {
        const std::size_t equals = assignment.find('=');
        render.parameters.emplace_back(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    render.templateBytes = readBytes(options.file);

    DocumentSource source =
        documentSource(options.data, options.key, options.total, names.columns(), messages);
    if (!shard.isWhole() && !source.isKeyList && !source.source->hasRanges()) {
        throw WrongUse("a shard is a part of a file, but \"" + source.source->name() + "\" is none");
    }
    render.dataName = source.source->name();
    render.isKeyList = source.isKeyList;
    if (source.isKeyList) render.connection = options.data.connection;
    render.columnNames = source.columns.names;
    if (!source.isKeyList)  // the data of the command line replaces what the template names
        report.run([&] { return QBXReportLoadData(report.handle(), "json", "[]", 2, ""); });
    std::string identity = identityOf(options, render, report);
    std::string data = dataOf(options.data, source);
    std::vector<std::string> reserved{options.file, options.data.file, files.manifest, files.failed};
    return {shard,
            std::move(names),
            std::move(files),
            std::move(source),
            std::move(render),
            std::move(identity),
            std::move(data),
            std::move(reserved)};
}

std::string headOf(const std::string& identity, const std::string& data, const Shard& shard,
                   const Survey& survey, bool hasTotal) {
    std::string source = "{" + data;
    addText(source, "sha256", survey.digest);
    std::string head = "{" + identity;
    addMember(head, "data", source + "}");
    if (!shard.isWhole()) {
        addText(head, "shard", std::to_string(shard.number) + "/" + std::to_string(shard.count));
    }
    addMember(head, "documents", std::to_string(survey.documents));
    addMember(head, "rows", std::to_string(survey.rows));
    if (hasTotal) addText(head, "total", survey.total.text());
    return head + "}";
}

}  // namespace qbreport
