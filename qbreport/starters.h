// Templates and data to start from. They are files of starters/, and part of the program.
#ifndef QBSVR_QBREPORT_STARTERS_H
#define QBSVR_QBREPORT_STARTERS_H

#include <span>
#include <string_view>

namespace qbreport {

struct Starter {
    std::string_view name;
    std::string_view templateText;
    std::string_view dataText;  // JSON
};

std::span<const Starter> starters();

}  // namespace qbreport

#endif
