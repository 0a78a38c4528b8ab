// QBXGetBudget, QBXSetBudget, QBXReportSetBudget.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/support/error.h"

using namespace qbsvrl6;

namespace {

// The figures of the interface, in its order.
constexpr std::array kMembers{&Budget::wallMilliseconds,
                              &Budget::cpuMilliseconds,
                              &Budget::dataBytes,
                              &Budget::cells,
                              &Budget::nameUnits,
                              &Budget::fetches,
                              &Budget::fetchMilliseconds,
                              &Budget::fetchedBytes,
                              &Budget::pages,
                              &Budget::pageItems,
                              &Budget::pixels,
                              &Budget::pictureScans,
                              &Budget::templateElements,
                              &Budget::documentBytes};
static_assert(sizeof(QBXBudget) == sizeof(std::uint64_t) * (1 + kMembers.size()));

// The caller's structure may be shorter or longer than ours.
std::size_t memberCount(const QBXBudget& budget) {
    const std::size_t size =
        static_cast<std::size_t>(std::min<std::uint64_t>(budget.size, sizeof(QBXBudget)));
    if (size < 2 * sizeof(std::uint64_t)) {
        throw EngineError(ErrorCode::NotSupported, "the member size of the budget is not sizeof(QBXBudget)");
    }
    return size / sizeof(std::uint64_t) - 1;
}

// `base` with the figures that the caller sets.
Budget budgetFrom(const QBXBudget& given, Budget base) {
    std::array<std::uint64_t, kMembers.size()> figures{};
    const std::size_t count = memberCount(given);
    std::memcpy(figures.data(), &given.wallMilliseconds, count * sizeof(std::uint64_t));
    for (std::size_t i = 0; i < count; ++i) {
        if (figures[i] != 0) base.*kMembers[i] = figures[i];
    }
    return base;
}

}  // namespace

int QBXGetBudget(QBXBudget* budget) {
    return guardedForProcess(__func__, 0, [&] {
        if (budget == nullptr) return 0;
        const Budget current = processSettings().budget;
        std::array<std::uint64_t, kMembers.size()> figures{};
        for (std::size_t i = 0; i < figures.size(); ++i) figures[i] = current.*kMembers[i];
        std::memcpy(&budget->wallMilliseconds, figures.data(), memberCount(*budget) * sizeof(std::uint64_t));
        return 1;
    });
}

int QBXSetBudget(const QBXBudget* budget) {
    return guardedForProcess(__func__, 0, [&] {
        changeProcessSettings([&](ProcessSettings& settings, const ProcessSettings& fromFile) {
            settings.budget = budget == nullptr ? fromFile.budget : budgetFrom(*budget, settings.budget);
        });
        return 1;
    });
}

int QBXReportSetBudget(tagQBReport* handle, const QBXBudget* budget) {
    return withObject(__func__, handle, [&](Report& report) {
        Runtime& runtime = runtimeOf(report);
        if (budget == nullptr) {
            runtime.budget.reset();
        } else {
            runtime.budget = budgetFrom(*budget, processSettings().budget);
        }
        return 1;
    });
}
