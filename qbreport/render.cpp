// qbreport render: a template and data become documents.
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/files.h"
#include "qbreport/report.h"

namespace qbreport {

namespace {

struct Output {
    std::string file;
    std::string format;
    bool isStandardOutput() const { return file == kStandardStream; }
};

std::vector<Output> outputsOf(const RenderOptions& options) {
    std::vector<std::string> files = options.outputs;
    if (files.empty()) files.emplace_back(kStandardStream);
    if (files.size() > 1 && !options.format.format.empty()) {
        throw WrongUse("-f names the format of one document, but there are " +
                       counted(files.size(), "output") +
                       "; leave it out: the extensions of the files name the formats");
    }
    std::vector<Output> outputs;
    for (const std::string& file : files) {
        const std::string format = options.format.format.empty() ? extensionOf(file) : options.format.format;
        if (format.empty() && file == kStandardStream) {
            throw WrongUse(
                "the format is unknown; name a file, such as -o report.pdf, or the format, such as -f pdf");
        }
        if (format.empty()) {
            throw WrongUse("the format of \"" + file +
                           "\" is unknown: it has no extension; name it, such as -f pdf");
        }
        if (std::any_of(outputs.begin(), outputs.end(),
                        [&](const Output& other) { return other.file == file; })) {
            throw WrongUse("\"" + file + "\" is named twice; give each document its own file");
        }
        outputs.push_back({file, format});
    }
    return outputs;
}

bool isTextFormat(std::string_view format) {
    constexpr std::array kTexts{"html", "htm", "rtf", "txt", "text", "csv", "json"};
    return std::any_of(kTexts.begin(), kTexts.end(), [&](std::string_view text) { return text == format; });
}

void requireWritable(const Output& output, const RenderOptions& options) {
    if (output.isStandardOutput()) {
        if (isTerminal(STDOUT_FILENO) && !isTextFormat(output.format)) {
            throw WrongUse("a terminal cannot show " + output.format + "; name a file, such as -o report." +
                           output.format + ", or redirect the output");
        }
        return;
    }
    if (output.file.empty()) throw WrongUse("the name of an output is empty");
    if (output.file.ends_with('/') || fileKind(output.file) == FileKind::Folder) {
        throw Failure("\"" + output.file + "\" is a folder; name a file in it");
    }
    for (const std::string& input : {options.file, options.data.file}) {
        if (input != kStandardStream && fileKind(input) == FileKind::Regular &&
            isSameFile(input, output.file)) {
            throw Failure("\"" + output.file +
                          "\" is an input of this report; give the document another name");
        }
    }
}

using NamedValue = std::pair<std::string, std::string>;

// "@file" is the first line of a file: other users of the machine see the words of a command.
void readPassword(std::string& value) {
    if (!value.starts_with('@')) return;
    constexpr std::size_t kMostBytes = 4'096;
    std::string bytes = readBytes(value.substr(1), kMostBytes);
    value = bytes.substr(0, bytes.find_first_of("\r\n"));
    explicit_bzero(bytes.data(), bytes.size());
}

// Standard output, and the errno with which writing to it failed; 0: it has not.
struct StandardOutput {
    int error = 0;
    static int write(void* context, const void* bytes, std::uint64_t size) {
        auto& output = *static_cast<StandardOutput*>(context);
        output.error =
            writeAll(STDOUT_FILENO, {static_cast<const char*>(bytes), static_cast<std::size_t>(size)});
        return output.error == 0 ? 1 : 0;
    }
};

void exportToStandardOutput(Report& report) {
    StandardOutput to;
    report.run([&] {
        const int result = QBXReportExportToWriter(report.handle(), StandardOutput::write, &to);
        if (to.error != 0) QBXReportClearMessages(report.handle());  // what follows says more
        return result != 0 || to.error != 0 ? 1 : 0;
    });
    if (to.error != 0) failOutput(to.error);
}

void announce(Report& report, const Output& output, Messages& messages) {
    struct stat status {};
    std::string text = "written";
    if (const std::uint64_t pages = QBXReportGetPageCount(report.handle())) text = counted(pages, "page");
    if (::stat(output.file.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        text += ", " + shownSize(static_cast<std::uint64_t>(status.st_size));
    }
    messages.write({Severity::Info, text, output.file});
}

}  // namespace

ExportOptions::ExportOptions(const FormatOptions& options) {
    constexpr std::size_t kMostOthers = 3;
    values_.reserve(kMostOthers +
                    options.options.size());  // a vector that grows leaves copies of short texts
    for (const auto& [name, value] :
         {NamedValue{"pages", options.pages}, NamedValue{"layout", options.layout},
          NamedValue{"resolution", options.resolution}}) {
        if (!value.empty()) values_.emplace_back(name, value);
    }
    for (const std::string& option : options.options) {
        const std::size_t equals = option.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw WrongUse("\"" + option + "\" is no option; write it as name=value");
        }
        values_.emplace_back(option.substr(0, equals), option.substr(equals + 1));
        if (isPassword(values_.back().first)) readPassword(values_.back().second);
    }
}

ExportOptions::~ExportOptions() {
    for (auto& [name, value] : values_) explicit_bzero(value.data(), value.size());
}

ExitStatus render(const RenderOptions& options, Messages& messages) {
    const std::vector<Output> outputs = outputsOf(options);
    const ExportOptions values(options.format);
    Report report(messages);
    for (const Output& output : outputs) {
        report.prepare(output.format, values.values());
        requireWritable(output, options);
    }
    report.loadTemplate(options.file);
    report.loadData(options.data);
    report.requireData(options.data);
    for (const Output& output : outputs) {
        report.prepare(output.format, values.values());
        if (output.isStandardOutput()) {
            exportToStandardOutput(report);
        } else {
            report.run([&] { return QBXReportExportToFile(report.handle(), output.file.c_str()); });
            announce(report, output, messages);
        }
        QBReportUnprepareExport(report.handle());
    }
    return messages.status(options.isStrict);
}

}  // namespace qbreport
