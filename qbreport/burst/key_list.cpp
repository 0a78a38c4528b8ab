#include "qbreport/burst/key_list.h"

#include <algorithm>
#include <utility>

#include "qbreport/report.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

std::string inXml(const std::string& text) {
    std::string xml;
    for (const char c : text) {
        xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "&quot;" : std::string(1, c);
    }
    return xml;
}

// A grid with the columns and nothing else.
std::string templateFor(const std::vector<std::string>& columns) {
    std::string text = "<Report version=\"1\"><Grid><Columns>";
    for (const std::string& column : columns) {
        text += "<Column name=\"" + inXml(column) + "\" width=\"20mm\"><Title text=\"" + inXml(column) +
                "\"/><Content text=\"[" + inXml(column) + "]\"/></Column>";
    }
    return text + "</Columns></Grid></Report>";
}

void requireColumns(const Report& report, const std::vector<std::string>& columns) {
    std::vector<std::string> known;
    for (const Item& item : report.items(QBXItemKind_Column)) known.push_back(item.name);
    for (const std::string& column : columns) {
        if (std::find(known.begin(), known.end(), column) != known.end()) continue;
        throw Failure("the query has no column \"" + column + "\"" + suggestion(column, known, "columns"));
    }
}

// Where the engine writes the rows, and what has gone wrong.
struct Copy {
    Descriptor file;
    std::string problem;
    static int write(void* context, const void* bytes, std::uint64_t size) {
        auto& copy = *static_cast<Copy*>(context);
        try {
            qbreport::write(copy.file, {static_cast<const char*>(bytes), static_cast<std::size_t>(size)},
                            "the temporary list of keys");
        } catch (const Failure& failure) {
            copy.problem = failure.what();
            return 0;
        }
        return 1;
    }
};

}  // namespace

std::shared_ptr<const Source> listKeys(const DataOptions& data, const std::vector<std::string>& columns,
                                       Messages& messages) {
    Report report(messages);
    const std::string text = templateFor(columns);
    report.run([&] { return QBXReportLoadTemplate(report.handle(), text.data(), text.size(), ""); });
    DataOptions ofQuery = data;
    std::erase_if(ofQuery.parameters, [&](const std::string& assignment) {
        return data.query.find(":" + assignment.substr(0, assignment.find('='))) == std::string::npos;
    });
    report.loadData(ofQuery);
    requireColumns(report, columns);
    QBXReportPrepareExport(report.handle(), "csv");
    QBXReportSetExportOption(report.handle(), "layout", "grid");
    QBXReportSetExportOption(report.handle(), "csv.defuse", "no");
    Copy copy{openTemporary(), ""};
    report.run([&] {
        const int result = QBXReportExportToWriter(report.handle(), Copy::write, &copy);
        if (!copy.problem.empty()) QBXReportClearMessages(report.handle());  // what follows says more
        return !copy.problem.empty() ? 1 : result;
    });
    if (!copy.problem.empty()) throw Failure(copy.problem);
    return std::make_shared<const Source>(std::move(copy.file), "the list of keys");
}

}  // namespace qbreport
