#include "qbsvrl6/support/igzip.h"

#include <isa-l/crc.h>

#ifdef __x86_64__
#include <immintrin.h>

#define _Bool bool  // a header for C
#include <sys/platform/x86.h>
#undef _Bool
#endif

#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6::igzip {

namespace {

struct Functions {
    LazyLibrary library{"libisal.so.2", "libisal2"};
    QBSVR_LAZY_FUNCTION(library, isal_deflate_init);
    QBSVR_LAZY_FUNCTION(library, isal_deflate_reset);
    QBSVR_LAZY_FUNCTION(library, isal_deflate);
    QBSVR_LAZY_FUNCTION(library, isal_deflate_stateless_init);
    QBSVR_LAZY_FUNCTION(library, isal_deflate_stateless);
    QBSVR_LAZY_FUNCTION(library, crc32_gzip_refl);
};

const Functions& library() {
    static const Functions functions;
    return functions;
}

// The library leaves the upper halves of the vector registers in use. The SSE instructions that everything
// else is compiled to have to preserve these halves, which makes them many times as slow, until they are
// cleared.
#ifdef __x86_64__
__attribute__((target("avx"))) void clearUpperHalves() { _mm256_zeroupper(); }

template <typename Result>
Result withCleanRegisters(Result result) {
    if (CPU_FEATURE_ACTIVE(AVX)) clearUpperHalves();
    return result;
}
#else
template <typename Result>
Result withCleanRegisters(Result result) {
    return result;
}
#endif

}  // namespace

void beginStream(isal_zstream& stream) { library().isal_deflate_init(&stream); }
void resetStream(isal_zstream& stream) { library().isal_deflate_reset(&stream); }
void beginWhole(isal_zstream& stream) { library().isal_deflate_stateless_init(&stream); }

int deflate(isal_zstream& stream) { return withCleanRegisters(library().isal_deflate(&stream)); }

int deflateWhole(isal_zstream& stream) {
    return withCleanRegisters(library().isal_deflate_stateless(&stream));
}

std::uint32_t checksum(std::uint32_t before, std::string_view bytes) {
    return withCleanRegisters(library().crc32_gzip_refl(
        before, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

}  // namespace qbsvrl6::igzip
