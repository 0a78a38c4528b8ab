// The part of an address after its question mark.
#ifndef QBSVR_QBREPORT_HTTP_QUERY_H
#define QBSVR_QBREPORT_HTTP_QUERY_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qbreport {

// The names and values of a target, in order and decoded. A value may contain "=".
std::vector<std::pair<std::string, std::string>> queryOf(std::string_view target);

}  // namespace qbreport

#endif
