// The functions of ISA-L, which compress several times as fast as others. Few documents need them, so the library is
// loaded on first use.
#ifndef QBSVR_QBSVRL6_SUPPORT_IGZIP_H
#define QBSVR_QBSVRL6_SUPPORT_IGZIP_H

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <array>

#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

struct Igzip {
    // Every processor with SSE 4.2 makes the same bytes at this level, but not at the next one, which takes four
    // times as long and saves one percent of a sheet.
    static constexpr int kLevel = 2;
    using LevelBuffer = std::array<unsigned char, ISAL_DEF_LVL2_DEFAULT>;

    LazyLibrary library{"libisal.so.2"};
    QBSVR_LAZY_FUNCTION(library, isal_deflate_init);
    QBSVR_LAZY_FUNCTION(library, isal_deflate_reset);
    QBSVR_LAZY_FUNCTION(library, isal_deflate);
    QBSVR_LAZY_FUNCTION(library, isal_deflate_stateless_init);
    QBSVR_LAZY_FUNCTION(library, isal_deflate_stateless);
    QBSVR_LAZY_FUNCTION(library, crc32_gzip_refl);
};

// Raises EngineError(NotSupported) if the library is missing.
inline const Igzip& igzip() {
    static const Igzip functions;
    return functions;
}

}  // namespace qbsvrl6

#endif
