// The limits of an export by their names.
#ifndef QBSVR_QBREPORT_LIMITS_H
#define QBSVR_QBREPORT_LIMITS_H

#include <cstdint>
#include <string>
#include <vector>

namespace qbreport {

// Sets the budget of the process from texts such as "pages=500" and "wall-time=10 s". Raises WrongUse.
void setBudget(const std::vector<std::string>& figures);

// The bytes of a size such as "16 MiB", which is the value of the flag. Raises WrongUse.
std::uint64_t bytesIn(const std::string& flag, const std::string& size);

}  // namespace qbreport

#endif
