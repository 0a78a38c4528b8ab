#include "qbsvrl6/template/libraries.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/reach.h"

namespace qbsvrl6 {

const ReadLibrary& Libraries::open(const Address& href) {
    if (isWebAddress(href.name)) {
        throw EngineError(ErrorCode::NotSupported, "a library is a file, not a web address");
    }
    if (isRelative(href.name) && href.home.empty()) {
        throw EngineError(
            ErrorCode::NotAllowed,
            "the template is from no file, so that a relative name has no folder to start from: "
            "give the template a name with a folder, or the library an absolute path");
    }
    const FilePath file = reachablePath(href);
    if (std::find(open_.begin(), open_.end(), file.path) != open_.end()) {
        throw EngineError(ErrorCode::BadTemplate, localPath(href) + " includes itself");
    }
    const auto known = known_.find(file.path);
    if (known != known_.end()) return known->second;
    if (open_.size() >= limits::kIncludeDepth || known_.size() >= limits::kLibraries) {
        throw EngineError(ErrorCode::LimitExceeded, "a template includes at most " +
                                                        std::to_string(limits::kLibraries) +
                                                        " libraries, within one another at most " +
                                                        std::to_string(limits::kIncludeDepth) + " deep");
    }
    const std::string bytes = readFile(file, limits::kTemplateBytes - bytes_);
    bytes_ += bytes.size();
    open_.push_back(file.path);
    ReadLibrary library = read_(bytes, localPath(href));
    open_.pop_back();
    return known_.emplace(file.path, std::move(library)).first->second;
}

void Libraries::countElements(std::uint64_t count) {
    elements_ += count;
    checkFigure(&Budget::templateElements, elements_);
}

}  // namespace qbsvrl6
