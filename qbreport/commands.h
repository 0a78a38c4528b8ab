// The commands and what each of them accepts. Each is in the file of its name.
#ifndef QBSVR_QBREPORT_COMMANDS_H
#define QBSVR_QBREPORT_COMMANDS_H

#include <string>
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

struct RenderOptions {
    std::string file;  // of the template
    DataOptions data;
    std::vector<std::string> outputs;
    std::string format;
    std::string pages;
    std::string layout;
    std::string resolution;
    std::vector<std::string> options;  // "csv.defuse=yes"
    bool isStrict = false;
};
ExitStatus render(const RenderOptions& options, Messages& messages);

struct CheckOptions {
    std::vector<std::string> files;
    DataOptions data;
    bool isStrict = false;
};
ExitStatus check(const CheckOptions& options, Messages& messages);

struct InfoOptions {
    std::string file;
    DataOptions data;
};
ExitStatus info(const InfoOptions& options, Messages& messages);

struct NewOptions {
    std::string kind;
    std::string name;  // of the files, without an extension; empty: the kind
    bool replaces = false;
};
ExitStatus makeNew(const NewOptions& options);

ExitStatus listFonts();
ExitStatus listFormats();

}  // namespace qbreport

#endif
