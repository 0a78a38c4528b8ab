// QBXSetReach, QBXReportSetReach.
#include <cstddef>
#include <memory>
#include <utility>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/support/error.h"

using namespace qbsvrl6;

namespace {

// `base` with the lists that the caller sets.
std::shared_ptr<const ReachRules> rulesFrom(const QBXReach& given, const ReachRules& base) {
    // The caller's structure may be shorter or longer than ours.
    const auto has = [&](std::size_t offset) { return given.size >= offset + sizeof(const char*); };
    if (!has(offsetof(QBXReach, folders))) {
        throw EngineError(ErrorCode::NotSupported, "the member size of the reach is not sizeof(QBXReach)");
    }
    ReachRules rules = base;
    if (given.folders != nullptr) rules.setFolders(given.folders);
    if (has(offsetof(QBXReach, hosts)) && given.hosts != nullptr) rules.setHosts(given.hosts);
    return std::make_shared<const ReachRules>(std::move(rules));
}

}  // namespace

int QBXSetReach(const QBXReach* reach) {
    return guardedForProcess(__func__, 0, [&] {
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
