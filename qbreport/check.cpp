// qbreport check: everything that is wrong with templates, and with data for them.
#include <string>

#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/interrupt.h"
#include "qbreport/report.h"

namespace qbreport {

namespace {

// Returns whether the names of fields could be checked.
bool checkFile(const std::string& file, const DataOptions& data, Messages& messages) {
    try {
        Report report(messages);
        report.loadTemplate(file);
        report.loadData(data);
        report.run([&] { return QBXReportCheck(report.handle()); });
        return report.fieldsWithoutData(data).empty();
    } catch (const WrongUse&) {
        throw;
    } catch (const Failure& failure) {  // the other templates are checked all the same
        if (*failure.what() != '\0') messages.write({Severity::Error, failure.what()});
        return true;
    }
}

}  // namespace

ExitStatus check(const CheckOptions& options, Messages& messages) {
    bool hasFields = true;
    for (const std::string& file : options.files) {
        const std::size_t errors = messages.errors();
        const std::size_t warnings = messages.warnings();
        hasFields = checkFile(file, options.data, messages) && hasFields;
        if (isInterrupted()) throw Failure("");
        const std::string found = messages.errors() == errors && messages.warnings() == warnings
                                      ? "good"
                                      : counted(messages.errors() - errors, "error") + ", " +
                                            counted(messages.warnings() - warnings, "warning");
        writeResult(printable(file) + ": " + found + "\n");
    }
    if (!hasFields) {
        messages.write({Severity::Info, "without data, the names of fields are not checked; add -d FILE"});
    }
    return messages.status(options.isStrict);
}

}  // namespace qbreport
