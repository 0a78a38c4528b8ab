// The vector instructions that kernels may use, chosen at run time. What the compiler may assume anyway, such
// as SSE2 on x86-64, is part of the plain kernels.
#ifndef QBSVR_COMMON_INTERNAL_VECTOR_LEVEL_H
#define QBSVR_COMMON_INTERNAL_VECTOR_LEVEL_H

#if defined(__x86_64__) && defined(__GNUC__)
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
    static const VectorLevel best = [] {
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
            __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2") &&
            __builtin_cpu_supports("bmi2")) {
            return VectorLevel::kAvx512;
        }
        return __builtin_cpu_supports("avx2") ? VectorLevel::kAvx2 : VectorLevel::kPlain;
    }();
    return best;
#else
    return VectorLevel::kPlain;
#endif
}

}  // namespace larkspur

#endif
