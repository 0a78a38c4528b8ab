// Help for a name that does not exist: the nearest of the names that do, and a short list of them.
#ifndef QBSVR_QBSVRL6_SUPPORT_SUGGESTION_H
#define QBSVR_QBSVRL6_SUPPORT_SUGGESTION_H

#include <span>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// The name that a misspelt one most likely means: the fewest letters inserted, left out, replaced or swapped,
// at most one per three, where upper and lower case of ASCII count as one. Empty if none is that near. Of
// equally near names the first.
std::u16string_view nearestName(std::u16string_view wrong, std::span<const std::u16string_view> names);

// For the end of a message: "did you mean \"Orders\"? There are: Customers, Orders, Lines and 2 more", with
// as much of it as applies; "there are none" without names. UTF-8. Long lists and names are cut.
std::string suggestion(std::u16string_view wrong, std::span<const std::u16string_view> names);

}  // namespace qbsvrl6

#endif
