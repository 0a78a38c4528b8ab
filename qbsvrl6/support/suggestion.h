// Suggestions for a name that does not exist: the nearest existing name, and a short list of them.
#ifndef QBSVR_QBSVRL6_SUPPORT_SUGGESTION_H
#define QBSVR_QBSVRL6_SUPPORT_SUGGESTION_H

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// Further names are neither suggested nor counted.
inline constexpr std::size_t kMostSuggested = 2'000;

// The most likely meaning of a misspelt name: the name with the fewest letters inserted, omitted, replaced or
// swapped, at most one per three letters, ignoring ASCII case. Of equally near names, the first; empty if
// none is near enough.
std::u16string_view nearestName(std::u16string_view wrong, std::span<const std::u16string_view> names);

// For the end of a message: "did you mean \"Orders\"? There are: Customers, Orders, Lines and 2 more", or the
// parts of it that apply; "there are none" if there are no names. UTF-8. Long lists and names are cut.
std::string suggestion(std::u16string_view wrong, std::span<const std::u16string_view> names);

}  // namespace qbsvrl6

#endif
