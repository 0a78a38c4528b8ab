#include "qbsvrl6/support/suggestion.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// Names come from templates and data, which may contain any number of names of any length.
constexpr std::size_t kComparedUnits = 64;
constexpr std::size_t kListedNames = 12;
constexpr std::size_t kListedUnits = 48;

// Letters inserted, left out, replaced or swapped with the next one. Neither text exceeds kComparedUnits.
std::size_t editDistance(std::u16string_view a, std::u16string_view b) {
    using Row = std::array<std::size_t, kComparedUnits + 1>;
    Row beforeLast{};
    Row last{};
    Row row{};
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const bool same = lowered(a[i]) == lowered(b[j]);
            row[j + 1] = std::min({last[j + 1] + 1, row[j] + 1, last[j] + (same ? 0 : 1)});
            if (i > 0 && j > 0 && lowered(a[i]) == lowered(b[j - 1]) && lowered(a[i - 1]) == lowered(b[j])) {
                row[j + 1] = std::min(row[j + 1], beforeLast[j - 1] + 1);
            }
        }
        beforeLast = last;
        last = row;
    }
    return last[b.size()];
}

std::string shown(std::u16string_view name) {
    if (name.size() <= kListedUnits) return toUtf8(name);
    return toUtf8(name.substr(0, kListedUnits)) + "...";
}

}  // namespace

std::u16string_view nearestName(std::u16string_view wrong, std::span<const std::u16string_view> names) {
    if (wrong.size() > kComparedUnits) return {};
    std::u16string_view nearest;
    std::size_t fewest = (wrong.size() + 1) / 3 + 1;
    for (const std::u16string_view name : names.first(std::min(names.size(), kMostSuggested))) {
        const std::size_t lengths = std::max(name.size(), wrong.size()) - std::min(name.size(), wrong.size());
        if (name.empty() || name.size() > kComparedUnits || lengths >= fewest) continue;
        const std::size_t distance = editDistance(wrong, name);
        if (distance < fewest) {
            fewest = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::string suggestion(std::u16string_view wrong, std::span<const std::u16string_view> names) {
    if (names.empty()) return "there are none";
    const std::u16string_view nearest = nearestName(wrong, names);
    std::string text;
    if (!nearest.empty()) text += "did you mean \"" + shown(nearest) + "\"? ";
    text += nearest.empty() ? "there are: " : "There are: ";
    const std::size_t listed = std::min(names.size(), kListedNames);
    for (std::size_t i = 0; i < listed; ++i) text += (i > 0 ? ", " : "") + shown(names[i]);
    if (names.size() > kMostSuggested) {
        text += " and more";
    } else if (names.size() > listed) {
        text += " and " + std::to_string(names.size() - listed) + " more";
    }
    return text;
}

}  // namespace qbsvrl6
