// The commands and what each of them accepts. Each is in the file of its name.
#ifndef QBSVR_QBREPORT_COMMANDS_H
#define QBSVR_QBREPORT_COMMANDS_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qbreport/failure.h"
#include "qbreport/messages.h"

namespace qbreport {

// What the engine may use, for the whole process.
struct EngineOptions {
    std::string setupFolder;
    std::vector<std::string> fontFolders;
    std::vector<std::string> allowedFolders;
    std::vector<std::string> allowedHosts;
    std::vector<std::string> budget;  // "pages=500"
    std::string timeLimit;
};

// Where a report has its data from.
struct DataOptions {
    std::string file;  // "-": standard input
    std::string kind;
    std::string connection;
    std::string query;
    std::vector<std::string> parameters;  // "Year=2026"
};

// What a document is like.
struct FormatOptions {
    std::string format;
    std::string pages;
    std::string layout;
    std::string resolution;
    std::vector<std::string> options;  // "csv.defuse=yes"
};

struct RenderOptions {
    std::string file;  // of the template
    DataOptions data;
    std::vector<std::string> outputs;
    FormatOptions format;
    bool isStrict = false;
};
ExitStatus render(const RenderOptions& options, Messages& messages);

// The options of an export by their names, as the engine sets them. Passwords among them are cleared at the end.
class ExportOptions {
public:
    ExportOptions() = default;
    // Raises WrongUse.
    explicit ExportOptions(const FormatOptions& options);
    ~ExportOptions();
    ExportOptions(const ExportOptions&) = default;
    ExportOptions& operator=(const ExportOptions&) = default;
    ExportOptions(ExportOptions&&) = default;
    ExportOptions& operator=(ExportOptions&&) = default;

    const std::vector<std::pair<std::string, std::string>>& values() const { return values_; }
    static bool isPassword(std::string_view name) { return name.ends_with("password"); }

private:
    std::vector<std::pair<std::string, std::string>> values_;
};

struct BurstOptions {
    std::string file;  // of the template
    DataOptions data;
    std::string key;     // a column
    std::string output;  // "out/{Account}.pdf", "out/statements.tar"
    FormatOptions format;
    std::string total;  // a column
    std::string manifest;
    std::string metrics;
    std::string shard;  // "2/16"
    std::string onError = "skip";
    unsigned workers = 0;  // 0: one per processor
    bool resumes = false;
    bool isStrict = false;
};
ExitStatus burst(const BurstOptions& options, Messages& messages);

struct CollectOptions {
    std::string folder;
    DataOptions data;  // in place of what the manifests name
};
ExitStatus collect(const CollectOptions& options, Messages& messages);

struct ExtractOptions {
    std::string archive;
    std::string key;
    std::string output;
};
ExitStatus extract(const ExtractOptions& options);

struct CheckOptions {
    std::vector<std::string> files;
    DataOptions data;
    bool isStrict = false;
};
ExitStatus check(const CheckOptions& options, Messages& messages);

struct InfoOptions {
    std::string file;
    DataOptions data;
    bool isJson = false;
};
ExitStatus info(const InfoOptions& options, Messages& messages);

struct NewOptions {
    std::string kind;
    std::string name;  // of the files, without an extension; empty: the kind
    bool replaces = false;
};
ExitStatus makeNew(const NewOptions& options);

struct ServeOptions {
    std::string folder;  // of the templates
    std::string address = "127.0.0.1:8080";
    std::string tokenFile;
    std::vector<std::string> serverNames;
    unsigned workers = 0;  // 0: one per processor
    unsigned queue = 64;
    std::string memory = "1 GiB";
    std::string bodyLimit = "16 MiB";
};
ExitStatus serve(const ServeOptions& options, Messages& messages);

struct WatchOptions {
    std::string file;  // of the template
    DataOptions data;
    std::string address = "127.0.0.1:0";
};
ExitStatus watch(const WatchOptions& options, Messages& messages);

ExitStatus listFonts();
ExitStatus listFormats();

}  // namespace qbreport

#endif
