// A report of the engine, loaded as the command line says.
#ifndef QBSVR_QBREPORT_REPORT_H
#define QBSVR_QBREPORT_REPORT_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbreport/commands.h"
#include "qbreport/messages.h"

namespace qbreport {

// An item of a report, with its own texts.
struct Item {
    std::string name;
    std::string table;
    std::string type;
    std::string value;
    std::uint64_t count = 0;
    bool isRequired = false;
    int line = 0;
    int column = 0;
};

// Each function raises Failure. The cause is its message, or it is among those that were written.
class Report {
public:
    explicit Report(Messages& messages);
    ~Report();
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    tagQBReport* handle() const { return handle_; }

    // "-": standard input.
    void loadTemplate(const std::string& path);
    // `name`: as if the bytes were a file of this name.
    void loadTemplate(std::string_view bytes, const std::string& name);
    void setParameters(const DataOptions& data);
    // Sets the parameters and loads data.
    void loadData(const DataOptions& data);
    // `kind`: empty: the content decides. `name`: in messages.
    void loadData(const std::string& kind, std::string_view bytes, const std::string& name);
    // The fields that the template reads although there is no data; empty if there is data.
    std::vector<std::string> fieldsWithoutData(const DataOptions& data) const;
    // Raises Failure if there are such fields: the document would be empty.
    void requireData(const DataOptions& data) const;

    std::vector<Item> items(QBXItemKind kind) const;

    // Opens an export. Raises WrongUse.
    void prepare(const std::string& format, const std::vector<std::pair<std::string, std::string>>& options);

    // Calls the engine, with a line of progress, and writes its messages. Raises Failure if the result is
    // zero.
    void run(const std::function<int()>& call);

private:
    void loadFile(const DataOptions& data);
    // `query`: of the command line; it may use the parameter.
    void setParameter(const std::string& assignment, const std::string& query);

    Messages& messages_;
    tagQBReport* handle_;
    std::string file_;  // of the template, as messages name it
};

}  // namespace qbreport

#endif
