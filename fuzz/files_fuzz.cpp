// A template and the files that it names, in a folder of their own: libraries, data, databases, pictures, keys and
// settings. The input is a letter for the format, the template and, after each line "=== NAME", the bytes of a file.
// The document is written into that folder, and the template is saved there. No web server can be asked.
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "fuzz/whole_engine.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

using namespace quillbrook;

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFileLine = "\n=== ";
constexpr std::size_t kMostFiles = 5;

// Sockets are refused by the kernel: no address that an input can spell leaves the process.
void leaveNoNetwork() {
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(rules), rules};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        std::abort();
    }
}

// Removed at the end of the input, with what was written into it.
class Folder {
public:
    Folder() : path_(fs::temp_directory_path() / ("files_fuzz-" + std::to_string(::getpid()))) {
        fs::create_directory(path_);
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string at(std::string_view name) const { return path_ / name; }
    bool has(std::string_view name) const { return fs::exists(path_ / name); }
    void write(std::string_view name, std::string_view bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }

private:
    fs::path path_;
};

bool isFileName(std::string_view name) {
    return !name.empty() && name.size() < 32 && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return qbsvrl6::isLatinLetter(c) || qbsvrl6::isDigit(c) || c == '.' || c == '-';
           });
}

// The bytes before the first line of a file, and the files.
std::string_view divided(std::string_view input,
                         std::vector<std::pair<std::string, std::string_view>>& files) {
    std::vector<std::string_view> parts;
    for (std::size_t at = 0; at != std::string_view::npos && parts.size() <= kMostFiles;) {
        const std::size_t end = input.find(kFileLine, at);
        parts.push_back(input.substr(at, end - at));
        at = end == std::string_view::npos ? end : end + kFileLine.size();
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const std::size_t line = std::min(parts[i].find('\n'), parts[i].size());
        const std::string_view name = parts[i].substr(0, line);
        if (isFileName(name)) files.emplace_back(name, parts[i].substr(std::min(line + 1, parts[i].size())));
    }
    return parts.front();
}

void limit(tagQBReport* report) {
    qbsvrl6::Budget budget = qbsvrl6::smallBudget();
    budget.wallMilliseconds = 1'000;  // a query can run for ever
    budget.fetches = 10;
    qbsvrl6::runtimeOf(*reinterpret_cast<qbsvrl6::Report*>(report)).budget = budget;
}

// Settings may allow ODBC, whose drivers reach beyond the folder.
bool mayHold(std::string_view name, std::string_view bytes) {
    return name != "qbsvrl6.conf" || bytes.find("odbc") == std::string_view::npos;
}

void exportInto(const Folder& folder, tagQBReport* report, const char* format) {
    if (QBXReportPrepareExport(report, format) == 0) std::abort();
    for (const auto& [option, name] : {std::pair("xmp", "page.xmp"), std::pair("sign-key", "key.p12"),
                                       std::pair("sign-certificates", "chain.pem")}) {
        if (folder.has(name)) QBXReportSetExportOption(report, option, folder.at(name).c_str());
    }
    QBXReportSetExportOption(report, "sign-password", "secret");
    QBXReportSetExportOption(report, "sign-reason", "because");
    QBXReportSetExportOption(report, "resolution", "36");
    const std::string file = folder.at("document");
    const bool isMade = QBXReportExportToFile(report, file.c_str()) != 0;
    if (isMade != fs::exists(file)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qbsvrl6::leaveNoLog();
    leaveNoNetwork();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0 || size > qbsvrl6::kMaxSize) return 0;
    std::vector<std::pair<std::string, std::string_view>> files;
    const std::string_view text = divided({reinterpret_cast<const char*>(bytes) + 1, size - 1}, files);
    const Folder folder;
    folder.write("report.qbf", text);
    bool hasSettings = false;
    for (const auto& [name, content] : files) {
        if (mayHold(name, content)) folder.write(name, content);
        hasSettings = hasSettings || name == "qbsvrl6.conf";
    }
    if (hasSettings) QBInitConfig(qbsvrl6::toUtf16(folder.at("")).c_str());

    tagQBReport* const report = QBReportCreate();
    limit(report);
    if (QBXReportLoadTemplateFile(report, folder.at("report.qbf").c_str()) != 0) {
        if (folder.has("data")) QBReportLoadDataFromURL(report, qbsvrl6::toUtf16(folder.at("data")).c_str());
        QBXReportGetItemCount(report, QBXItemKind_File);
        QBXReportGetItemCount(report, QBXItemKind_Parameter);
        QBXFormat format = {};
        format.size = sizeof format;
        if (QBXGetFormat(bytes[0] % 12, &format) == 0) std::abort();
        exportInto(folder, report, format.name);
        QBReportSaveToFile(report, qbsvrl6::toUtf16(folder.at("saved.qbf")).c_str());
    }
    QBReportRelease(report);
    if (hasSettings) QBInitConfig(u"");
    return 0;
}
