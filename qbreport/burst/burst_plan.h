// What a burst is to do, as the command line says it.
#ifndef QBSVR_QBREPORT_BURST_BURST_PLAN_H
#define QBSVR_QBREPORT_BURST_BURST_PLAN_H

#include <string>
#include <vector>

#include "qbreport/burst/documents.h"
#include "qbreport/burst/output_names.h"
#include "qbreport/burst/renderer.h"
#include "qbreport/burst/survey.h"
#include "qbreport/commands.h"
#include "qbreport/messages.h"

namespace qbreport {

// The files of a run, or of one shard of it.
struct RunFiles {
    std::string manifest;
    std::string failed;   // the documents that could not be made
    std::string archive;  // empty: each document has its own file
};
RunFiles runFiles(const OutputNames& names, const std::string& manifest, const Shard& shard);

struct BurstPlan {
    Shard shard;
    OutputNames names;
    RunFiles files;
    DocumentSource source;
    RenderPlan render;
    // Members of the manifest's head, as JSON.
    std::string identity;               // template, fonts, options
    std::string data;                   // where the data is from
    std::vector<std::string> reserved;  // files that no document may replace
};

// Loads the template, and lists the keys of a database. Raises Failure.
BurstPlan planOf(const BurstOptions& options, Messages& messages);

// "2/16". Raises WrongUse.
Shard shardFrom(const std::string& text);

// Where documents come from. `columns`: those of their names.
DocumentSource documentSource(const DataOptions& data, const std::string& key, const std::string& total,
                              const std::vector<std::string>& columns, Messages& messages);

// The first line of the manifest.
std::string headOf(const std::string& identity, const std::string& data, const Shard& shard,
                   const Survey& survey, bool hasTotal);

}  // namespace qbreport

#endif
