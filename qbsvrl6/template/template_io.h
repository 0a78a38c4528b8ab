// Converts template files, XML text, to a report's definition and back. docs/template-format.md describes the
// format.
#ifndef QBSVR_QBSVRL6_TEMPLATE_TEMPLATE_IO_H
#define QBSVR_QBSVRL6_TEMPLATE_TEMPLATE_IO_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// All errors of a template, in the order of its text. what(), code() and place() are those of the first one.
class TemplateError : public EngineError {
public:
    explicit TemplateError(std::vector<EngineError> errors)  // not empty
        : EngineError(errors.front()), errors_(std::move(errors)) {}

    const std::vector<EngineError>& errors() const { return errors_; }

private:
    std::vector<EngineError> errors_;
};

// Reads a template. `origin` is its file: relative names start from its folder, and messages name it. Raises
// EngineError with file, line and column: NotXml, BadEncoding, UnknownVersion, LimitExceeded, and BadTemplate
// for everything else that the format forbids. If the text is XML, the exception is a TemplateError with all
// errors, up to limits::kTemplateErrors.
ReportDefinition readTemplate(std::string_view bytes, const std::string& origin);

// The text of a template for a file in this folder (UTF-8, ending in "/"; empty: the working directory), in
// UTF-8. The same definition gives the same bytes. Relative paths are rewritten to start there. Characters
// that XML can't hold become U+FFFD, which is logged. Raises EngineError if sub-reports are nested too
// deeply.
std::string writeTemplate(const ReportDefinition& definition, const std::string& folder = {});

// The same from and to a file (UTF-8 path). Saving creates missing directories and never leaves a partial
// file.
ReportDefinition loadTemplate(const std::string& path);
void saveTemplate(const ReportDefinition& definition, const std::string& path);

}  // namespace qbsvrl6

#endif
