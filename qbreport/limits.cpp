#include "qbreport/limits.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include "engine/qbsvr_more.h"
#include "qbreport/failure.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

struct Unit {
    std::string_view name;
    std::uint64_t factor;
};

constexpr std::array<Unit, 0> kNone{};
constexpr std::array kTimes{Unit{"ms", 1}, Unit{"s", 1'000}, Unit{"min", 60'000}, Unit{"h", 3'600'000}};
constexpr std::array kSizes{Unit{"bytes", 1},         Unit{"KiB", 1ull << 10}, Unit{"MiB", 1ull << 20},
                            Unit{"GiB", 1ull << 30},  Unit{"KB", 1'000},       Unit{"MB", 1'000'000},
                            Unit{"GB", 1'000'000'000}};

struct Figure {
    std::string_view name;
    std::uint64_t QBXBudget::*member;
    std::span<const Unit> units;
};

constexpr Figure kFigures[] = {
    {"wall-time", &QBXBudget::wallMilliseconds, kTimes},
    {"cpu-time", &QBXBudget::cpuMilliseconds, kTimes},
    {"data-memory", &QBXBudget::dataBytes, kSizes},
    {"cells", &QBXBudget::cells, kNone},
    {"name-length", &QBXBudget::nameUnits, kNone},
    {"fetches", &QBXBudget::fetches, kNone},
    {"fetch-time", &QBXBudget::fetchMilliseconds, kTimes},
    {"fetched-bytes", &QBXBudget::fetchedBytes, kSizes},
    {"pages", &QBXBudget::pages, kNone},
    {"page-items", &QBXBudget::pageItems, kNone},
    {"pixels", &QBXBudget::pixels, kNone},
    {"picture-scans", &QBXBudget::pictureScans, kNone},
    {"template-elements", &QBXBudget::templateElements, kNone},
    {"document-size", &QBXBudget::documentBytes, kSizes},
};

// `name`: of what the text limits.
std::uint64_t valueOf(std::string_view name, std::span<const Unit> known, std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), value);
    std::string_view unit = text.substr(static_cast<std::size_t>(end - text.data()));
    while (unit.starts_with(' ')) unit.remove_prefix(1);
    std::uint64_t factor = unit.empty() ? 1 : 0;
    std::string units;
    for (const Unit& one : known) {
        if (one.name == unit) factor = one.factor;
        units += (units.empty() ? "" : ", ") + std::string(one.name);
    }
    const bool isTooLarge = factor != 0 && value > std::numeric_limits<std::uint64_t>::max() / factor;
    if (failed != std::errc() || factor == 0 || isTooLarge || value == 0) {
        throw WrongUse("\"" + std::string(text) + "\" is no limit of " + std::string(name) +
                       ": a whole number from 1 is expected" +
                       (units.empty() ? "" : ", alone or with a unit (" + units + ")"));
    }
    return value * factor;
}

}  // namespace

void setBudget(const std::vector<std::string>& figures) {
    if (figures.empty()) return;
    QBXBudget budget{};
    budget.size = sizeof budget;
    for (const std::string& text : figures) {
        const std::size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const Figure* found = nullptr;
        std::vector<std::string> names;
        for (const Figure& figure : kFigures) {
            if (figure.name == name) found = &figure;
            names.emplace_back(figure.name);
        }
        if (found == nullptr) {
            throw WrongUse("there is no limit \"" + name + "\"" + suggestion(name, names, "limits"));
        }
        const std::string value = equals == std::string::npos ? "" : text.substr(equals + 1);
        budget.*found->member = valueOf(found->name, found->units, value);
    }
    if (QBXSetBudget(&budget) == 0) {
        throw Failure("the limits cannot be set: the settings file has an error; see docs/settings.md");
    }
}

std::uint64_t bytesIn(const std::string& flag, const std::string& size) {
    return valueOf(flag, kSizes, size);
}

}  // namespace qbreport
