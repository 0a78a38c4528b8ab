// ISA-L, which compresses several times as fast as others. Few documents need it, so it is loaded on first use.
#ifndef QBSVR_QBSVRL6_SUPPORT_IGZIP_H
#define QBSVR_QBSVRL6_SUPPORT_IGZIP_H

#include <isa-l/igzip_lib.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace qbsvrl6::igzip {

// Every processor with SSE 4.2 makes the same bytes at this level, but not at the next one, which takes four
// times as long and saves one percent of a sheet.
constexpr int kLevel = 2;
using LevelBuffer = std::array<unsigned char, ISAL_DEF_LVL2_DEFAULT>;

// The library's functions of these names. Raise EngineError(MissingLibrary) if it is missing.
void beginStream(isal_zstream& stream);
void resetStream(isal_zstream& stream);
void beginWhole(isal_zstream& stream);  // for deflateWhole()

// Return COMP_OK or an error of the library.
int deflate(isal_zstream& stream);
int deflateWhole(isal_zstream& stream);

// Continues the checksum of a ZIP archive, which begins with 0.
std::uint32_t checksum(std::uint32_t before, std::string_view bytes);

}  // namespace qbsvrl6::igzip

#endif
