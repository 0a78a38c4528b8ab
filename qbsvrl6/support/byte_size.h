// Sizes in bytes, as settings write them.
#ifndef QBSVR_QBSVRL6_SUPPORT_BYTE_SIZE_H
#define QBSVR_QBSVRL6_SUPPORT_BYTE_SIZE_H

#include <cstdint>
#include <string_view>

namespace qbsvrl6 {

// Parses a whole number, optionally with a unit: bytes, KiB, MiB, GiB, KB, MB, GB. Raises EngineError, which
// names the setting and the expected form.
std::uint64_t sizeFrom(std::string_view setting, std::string_view text);

}  // namespace qbsvrl6

#endif
