#include "qbreport/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace qbreport {

namespace {

constexpr std::size_t kListedNames = 12;

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Bytes inserted, omitted, replaced or swapped.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = lowered(a[i]) == lowered(b[j]) ? 0 : 1;
            row[j + 1] = std::min({last[j + 1] + 1, row[j] + 1, last[j] + changed});
            const bool isSwapped =
                i > 0 && j > 0 && lowered(a[i]) == lowered(b[j - 1]) && lowered(a[i - 1]) == lowered(b[j]);
            if (isSwapped) row[j + 1] = std::min(row[j + 1], beforeLast[j - 1] + 1);
        }
        beforeLast.swap(last);
        last.swap(row);
    }
    return last[b.size()];
}

// Empty if no name is near.
std::string nearest(std::string_view wrong, const std::vector<std::string>& names) {
    std::string_view found;
    std::size_t fewest = (wrong.size() + 1) / 3 + 1;
    for (const std::string& name : names) {
        if (name.size() >= wrong.size() + fewest || wrong.size() >= name.size() + fewest) continue;
        const std::size_t changes = distance(wrong, name);
        if (changes >= fewest) continue;
        fewest = changes;
        found = name;
    }
    return std::string(found);
}

}  // namespace

std::string listed(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size() && i < kListedNames; ++i) {
        list += (list.empty() ? "" : ", ") + names[i];
    }
    return names.size() > kListedNames ? list + ", …" : list;
}

std::string suggestion(std::string_view wrong, const std::vector<std::string>& names, std::string_view what) {
    if (names.empty()) return "";
    const std::string near = nearest(wrong, names);
    return (near.empty() ? "" : "; did you mean \"" + near + "\"?") + " (" + std::string(what) + ": " +
           listed(names) + ")";
}

bool isSameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char left, char right) { return lowered(left) == lowered(right); });
}

}  // namespace qbreport
