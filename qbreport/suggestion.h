// Suggestions for a misspelt name.
#ifndef QBSVR_QBREPORT_SUGGESTION_H
#define QBSVR_QBREPORT_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

namespace qbreport {

// For the end of a message: "; did you mean "invoice.qbf"? (templates: invoice.qbf, list.qbf)", or the parts
// of it that apply. `what` names the names.
std::string suggestion(std::string_view wrong, const std::vector<std::string>& names, std::string_view what);

// "a, b, c, …": the first names.
std::string listed(const std::vector<std::string>& names);

// Whether two names differ at most in the case of ASCII letters.
bool isSameName(std::string_view a, std::string_view b);

}  // namespace qbreport

#endif
