// The limits of an export by their names.
#ifndef QBSVR_QBREPORT_LIMITS_H
#define QBSVR_QBREPORT_LIMITS_H

#include <string>
#include <vector>

namespace qbreport {

// Sets the budget of the process from texts such as "pages=500" and "wall-time=10 s". Raises WrongUse.
void setBudget(const std::vector<std::string>& figures);

}  // namespace qbreport

#endif
