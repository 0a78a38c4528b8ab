// qbreport extract: one document out of an archive.
#include <unistd.h>

#include <optional>
#include <string>

#include "qbreport/burst/archive_index.h"
#include "qbreport/burst/descriptor.h"
#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/files.h"

namespace qbreport {

ExitStatus extract(const ExtractOptions& options) {
    requireFile(options.archive, ".tar .zip");
    const std::string index = indexOf(options.archive);
    if (fileKind(index) != FileKind::Regular) {
        throw Failure("there is no index \"" + index + "\"; qbreport burst writes it beside the archive");
    }
    const std::optional<Range> range = findInIndex(index, options.key);
    if (!range.has_value()) {
        throw Failure("\"" + options.archive + "\" has no document of the key \"" + options.key + "\"");
    }
    std::string bytes(static_cast<std::size_t>(range->bytes), '\0');
    const std::size_t read =
        readAt(openToRead(options.archive), range->offset, bytes.data(), bytes.size(), options.archive);
    if (read != bytes.size()) {
        throw Failure("\"" + options.archive + "\" is shorter than its index says; is it the archive of \"" +
                      index + "\"?");
    }
    if (!options.output.empty() && options.output != kStandardStream) {
        writeFile(options.output, bytes, true);
    } else if (isTerminal(STDOUT_FILENO)) {
        throw WrongUse(
            "a terminal shows no documents; name a file, such as -o document.pdf, or redirect the output");
    } else {
        writeResult(bytes);
    }
    return ExitStatus::Good;
}

}  // namespace qbreport
