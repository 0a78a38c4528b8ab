#include "qbsvrl6/template/known_templates.h"

#include <algorithm>
#include <functional>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kMostTemplates = 8;
constexpr std::size_t kMostBytes = 256 << 10;

bool fitsBudget(std::uint64_t elements) {
    try {
        checkFigure(&Budget::templateElements, elements);
        return true;
    } catch (const EngineError&) {  // reading tells where
        return false;
    }
}

}  // namespace

KnownTemplates& KnownTemplates::ofProcess() {
    // Never destroyed: threads may still read templates while the process ends.
    static KnownTemplates& known = *new KnownTemplates;
    return known;
}

std::optional<ReportDefinition> KnownTemplates::find(std::string_view bytes, const std::string& origin) {
    std::shared_ptr<const Known> found;
    {
        const std::lock_guard lock(mutex_);
        const auto place = std::find_if(known_.begin(), known_.end(), [&](const auto& known) {
            return known->bytes == bytes && known->origin == origin;
        });
        if (place == known_.end()) return std::nullopt;
        known_.splice(known_.begin(), known_, place);
        found = *place;
    }
    if (!fitsBudget(found->elements)) return std::nullopt;
    return found->definition;
}

void KnownTemplates::add(std::string_view bytes, const std::string& origin,
                         const ReportDefinition& definition, std::uint64_t elements) {
    if (bytes.size() > kMostBytes) return;
    const std::size_t hash = std::hash<std::string_view>()(bytes);
    {
        const std::lock_guard lock(mutex_);
        if (!read_.isAgain(hash)) return;
    }
    auto known = std::make_shared<const Known>(Known{std::string(bytes), origin, definition, elements});
    const std::lock_guard lock(mutex_);
    known_.push_front(std::move(known));
    if (known_.size() > kMostTemplates) known_.pop_back();
}

}  // namespace qbsvrl6
