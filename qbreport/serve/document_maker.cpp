#include "qbreport/serve/document_maker.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <utility>

#include "qbreport/failure.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr std::size_t kMostLoaded = 16;                        // templates that a process keeps
constexpr std::size_t kMostKeptData = std::size_t{256} << 10;  // with one of them

// A failure with the status of its answer.
class Refusal : public Failure {
public:
    Refusal(std::uint64_t status, const std::string& text) : Failure(text), httpStatus_(status) {}
    std::uint64_t httpStatus() const { return httpStatus_; }

private:
    std::uint64_t httpStatus_;
};

std::string bytesOf(const TemplateFile& file) {
    std::string bytes(static_cast<std::size_t>(file.status.st_size), '\0');
    std::size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t read = ::read(file.file.number(), &bytes[size], bytes.size() - size);
        if (read < 0 && errno == EINTR) continue;
        if (read <= 0) break;
        size += static_cast<std::size_t>(read);
    }
    bytes.resize(size);
    return bytes;
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

void DocumentMaker::Loaded::noteLibraries() {
    for (const Item& item : report.items(QBXItemKind_File)) {
        struct stat found {};
        if (item.type == "library" && ::stat(item.value.c_str(), &found) == 0)
            libraries.emplace_back(item.value, found);
    }
}

bool DocumentMaker::Loaded::hasOtherLibraries() const {
    return std::any_of(libraries.begin(), libraries.end(), [](const auto& library) {
        struct stat found {};
        return ::stat(library.first.c_str(), &found) != 0 || !isSame(found, library.second);
    });
}

DocumentMaker::DocumentMaker(const TemplateFolder& folder) : folder_(folder) {}

DocumentMaker::Loaded& DocumentMaker::load(const DocumentRequest& request) {
    const std::optional<TemplateFile> file = folder_.find(request.name);
    if (!file) throw Refusal(404, "there is no such template; GET /templates lists them");
    path_ = file->path;
    // A report keeps its data. Without data of the request, it would show those of another one.
    std::unique_ptr<Loaded>& loaded = loaded_[path_];
    if (loaded == nullptr || request.data.empty() || !isSame(loaded->status, file->status) ||
        loaded->hasOtherLibraries()) {
        loaded = std::make_unique<Loaded>(folder_.path() + "/");
        loaded->status = file->status;
        const std::string bytes = bytesOf(*file);
        loaded->report.loadTemplate(bytes, path_);
        if (bytes.find("<Include") != std::string::npos) loaded->noteLibraries();
    }
    loaded->messages.forget();
    return *loaded;
}

void DocumentMaker::requireData(const DocumentRequest& request, const Report& report) {
    if (!request.data.empty()) return;
    DataOptions given;
    for (const auto& [name, value] : request.parameters) given.parameters.push_back(name + "=" + value);
    const std::vector<std::string> missing = report.fieldsWithoutData(given);
    if (missing.empty()) return;
    throw Refusal(422, "the template needs data: it reads " + listed(missing) + "; send them as the body");
}

void DocumentMaker::render(const DocumentRequest& request, Loaded& loaded, DocumentAnswer& answer) {
    Report& report = loaded.report;
    report.prepare(request.format, request.options);
    DataOptions parameters;
    for (const auto& [name, value] : request.parameters) {
        parameters.parameters.push_back(name + "=" + value);
    }
    try {
        report.setParameters(parameters);
    } catch (const Failure& failure) {
        throw Refusal(400, failure.what());
    }
    requireData(request, report);
    if (!request.data.empty()) report.loadData(request.dataKind, request.data, "body");
    const void* bytes = nullptr;
    std::uint64_t size = 0;
    report.run([&] { return QBXReportExportToMemory(report.handle(), &bytes, &size); });
    answer.document = {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
    answer.pages = QBXReportGetPageCount(report.handle());
    answer.status = 200;
}

DocumentAnswer DocumentMaker::make(const DocumentRequest& request) {
    tidy();
    path_.clear();
    parameters_ = request.parameters;
    DocumentAnswer answer;
    Loaded* loaded = nullptr;
    try {
        loaded = &load(request);
        render(request, *loaded, answer);
    } catch (const Refusal& refusal) {
        answer.status = refusal.httpStatus();
        answer.error = refusal.what();
    } catch (const WrongUse& wrong) {
        answer.status = 400;
        answer.error = wrong.what();
    } catch (const Failure& failure) {
        answer.status = 422;
        answer.error = failure.what();
    } catch (const std::bad_alloc&) {
        answer.status = 422;
        answer.error = "the document needs more memory than is allowed";
    }
    const auto kept = loaded_.find(path_);
    if (kept != loaded_.end() && kept->second != nullptr) {
        answer.messages = kept->second->messages.json();
        answer.warnings = kept->second->messages.warningsSince();
    }
    if (answer.status != 200 && answer.error.empty()) answer.error = "the document could not be made";
    isReusable_ = answer.status == 200 && !request.data.empty() && request.data.size() <= kMostKeptData;
    return answer;
}

// Releases what the last document needed, and more if it is not worth keeping.
void DocumentMaker::tidy() {
    const auto last = loaded_.find(path_);
    if (last == loaded_.end()) return;
    if (!isReusable_ || loaded_.size() > kMostLoaded) {
        loaded_.erase(last);
        return;
    }
    Report& report = last->second->report;
    QBReportUnprepareExport(report.handle());
    for (const auto& [name, value] : parameters_) {
        QBXReportSetParameter(report.handle(), name.c_str(), nullptr);
    }
}

void makeDocuments(const TemplateFolder& folder, int socket) {
    DocumentMaker maker(folder);
    std::string packet;
    while (receivePacket(socket, packet)) {
        const DocumentAnswer answer = maker.make(unpacked<DocumentRequest>(packet));
        if (!sendPacket(socket, packed(answer), answer.document)) return;
    }
}

}  // namespace qbreport
