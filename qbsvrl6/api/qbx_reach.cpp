// QBXSetReach, QBXReportSetReach, QBXExportOptionSet.
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// `base` with the lists that the caller sets.
std::shared_ptr<const ReachRules> rulesFrom(const QBXReach& given, const ReachRules& base) {
    // The caller's structure may be shorter or longer than ours.
    const auto has = [&](std::size_t offset) { return given.size >= offset + sizeof(const lkchar*); };
    if (!has(offsetof(QBXReach, folders))) {
        throw EngineError(ErrorCode::NotSupported, "the member size of the reach is not sizeof(QBXReach)");
    }
    ReachRules rules = base;
    if (given.folders != nullptr) rules.setFolders(toUtf8(given.folders));
    if (has(offsetof(QBXReach, hosts)) && given.hosts != nullptr) rules.setHosts(toUtf8(given.hosts));
    return std::make_shared<const ReachRules>(std::move(rules));
}

}  // namespace

int QBXSetReach(const QBXReach* reach) {
    return guarded(__func__, 0, [&] {
        changeProcessSettings([&](ProcessSettings& settings, const ProcessSettings& fromFile) {
            settings.reach = reach == nullptr ? fromFile.reach : rulesFrom(*reach, *fromFile.reach);
        });
        return 1;
    });
}

int QBXReportSetReach(tagQBReport* handle, const QBXReach* reach) {
    return withObject(__func__, handle, [&](Report& report) {
        runtimeOf(report).reach = reach == nullptr ? nullptr : rulesFrom(*reach, *processSettings().reach);
        return 1;
    });
}

int QBXExportOptionSet(tagQBExportOption* handle, const lkchar* name, const lkchar* value) {
    return withObject(__func__, handle, [&](ExportOptions& options) {
        const std::string option = toUtf8(textFrom(name));
        const std::string text = toUtf8(textFrom(value));
        if (option != "csv.defuse") {
            throw EngineError(ErrorCode::NotSupported,
                              "there is no option \"" + option + "\"; there is: csv.defuse");
        }
        options.defuseFormulas = switchFrom(text);
        return 1;
    });
}
