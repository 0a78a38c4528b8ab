// The vector instructions that kernels may use, chosen at run time. What the compiler may assume anyway, such
// as SSE2 on x86-64, is part of the plain kernels.
#ifndef QBSVR_COMMON_INTERNAL_VECTOR_LEVEL_H
#define QBSVR_COMMON_INTERNAL_VECTOR_LEVEL_H

#if defined(__x86_64__) && defined(__GNUC__) && __has_include(<sys/platform/x86.h>)
#define _Bool bool  // a header for C
#include <sys/platform/x86.h>
#undef _Bool
#define QBSVR_VECTOR_KERNELS 1
#define QBSVR_TARGET_AVX2 __attribute__((target("avx2")))
#define QBSVR_TARGET_AVX512 \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,popcnt")))
#endif

namespace larkspur {

enum class VectorLevel { kPlain, kAvx2, kAvx512 };

// The highest level of this processor and its operating system.
inline VectorLevel BestVectorLevel() {
#ifdef QBSVR_VECTOR_KERNELS
    // The C library has asked the processor already. Asking again takes tens of microseconds at the start of the
    // program in a virtual machine, which has to answer each question itself.
    static const VectorLevel best = [] {
        if (CPU_FEATURE_ACTIVE(AVX512BW) && CPU_FEATURE_ACTIVE(AVX512VL) && CPU_FEATURE_ACTIVE(AVX512_VBMI) &&
            CPU_FEATURE_ACTIVE(AVX512_VBMI2) && CPU_FEATURE_ACTIVE(BMI2)) {
            return VectorLevel::kAvx512;
        }
        return CPU_FEATURE_ACTIVE(AVX2) ? VectorLevel::kAvx2 : VectorLevel::kPlain;
    }();
    return best;
#else
    return VectorLevel::kPlain;
#endif
}

}  // namespace larkspur

#endif
