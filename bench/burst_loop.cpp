// The engine's bare loop, beside which bench/burst_bench.py measures qbreport burst: one report makes a document of
// each statement in memory, and nothing is hashed, checked or written.
//
//     burst_loop TEMPLATE DATA    (JSON Lines; the rows of a statement begin with the same characters before "Holder")
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "engine/qbsvr_more.h"

namespace {

std::string readFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string_view> statementsIn(std::string_view data) {
    std::vector<std::string_view> statements;
    std::string_view key;
    for (std::size_t begin = 0; begin < data.size();) {
        const std::size_t end = data.find('\n', begin) + 1;
        const std::string_view row = data.substr(begin, end - begin);
        const std::string_view rowKey = row.substr(0, row.find("\"Holder\""));
        if (rowKey == key) {
            const std::string_view last = statements.back();
            statements.back() = {last.data(), last.size() + row.size()};
        } else {
            statements.push_back(row);
        }
        key = rowKey;
        begin = end;
    }
    return statements;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    QBInitConfig(u"");
    tagQBReport* const report = QBReportCreate();
    if (QBXReportLoadTemplateFile(report, arguments[1]) == 0) return 1;
    const std::string data = readFile(arguments[2]);
    const std::vector<std::string_view> statements = statementsIn(data);
    std::uint64_t bytes = 0;
    const std::clock_t started = std::clock();
    for (const std::string_view statement : statements) {
        const void* document = nullptr;
        std::uint64_t size = 0;
        const bool isMade =
            QBXReportLoadData(report, "jsonl", statement.data(), statement.size(), "data") != 0 &&
            QBXReportPrepareExport(report, "pdf") != 0 &&
            QBXReportExportToMemory(report, &document, &size) != 0;
        if (!isMade) return 1;
        bytes += size;
        QBReportUnprepareExport(report);
    }
    const double seconds = static_cast<double>(std::clock() - started) / CLOCKS_PER_SEC;
    std::cout << statements.size() << " " << bytes << " " << seconds << "\n";
    QBReportRelease(report);
}
