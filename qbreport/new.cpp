// qbreport new: a template and data to start from.
#include <algorithm>
#include <string>
#include <vector>

#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/files.h"
#include "qbreport/starters.h"
#include "qbreport/suggestion.h"

namespace qbreport {

ExitStatus makeNew(const NewOptions& options) {
    const auto known = starters();
    const auto starter = std::find_if(known.begin(), known.end(),
                                      [&](const Starter& one) { return one.name == options.kind; });
    if (starter == known.end()) {
        std::vector<std::string> names;
        for (const Starter& one : known) names.emplace_back(one.name);
        throw WrongUse("there is no \"" + options.kind + "\" to start from" +
                       suggestion(options.kind, names, "there are"));
    }
    const std::string base = options.name.empty()                 ? options.kind
                             : extensionOf(options.name) == "qbf" ? withoutExtension(options.name)
                                                                  : options.name;
    const std::string files[] = {base + ".qbf", base + ".json"};
    for (const std::string& file : files) {
        if (!options.replaces && fileKind(file) != FileKind::None) {
            throw Failure("\"" + file + "\" exists; choose another name, such as qbreport new " +
                          options.kind + " my-" + options.kind + ", or replace it with --force");
        }
    }
    writeFile(files[0], starter->templateText, options.replaces);
    writeFile(files[1], starter->dataText, options.replaces);
    writeResult(printable(files[0]) + "\n" + printable(files[1]) + "\n");
    return ExitStatus::Good;
}

}  // namespace qbreport
