// Choice of the kernels for this process: the widest instruction set that
// both the build and the CPU have, made once, on first use, and never
// changed afterwards.
#include "core/simd.h"

#include <initializer_list>

namespace qel {
namespace simd {

namespace {

// The table of a build or CPU without vector code: every kernel absent.
const Kernels kScalar{};

bool cpuHas(Isa isa) noexcept {
#if defined(__x86_64__) && !defined(QELUTF_SCALAR)
    switch (isa) {
    case Isa::Scalar: return true;
    case Isa::Sse2: return true;  // part of x86-64
    case Isa::Avx2: return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
    case Isa::Avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
               __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("bmi2");
    }
    return false;
#else
    return isa == Isa::Scalar;
#endif
}

const Kernels& widest() noexcept {
#if defined(__x86_64__) && !defined(QELUTF_SCALAR)
    __builtin_cpu_init();
#endif
    for (Isa isa : {Isa::Avx512, Isa::Avx2, Isa::Sse2}) {
        if (const Kernels* k = forIsa(isa)) return *k;
    }
    return kScalar;
}

}  // namespace

const std::uint32_t kPatternPool[sizeof kPatternValues / sizeof kPatternValues[0]] = {QEL_SIMD_PATTERNS};

const Kernels* forIsa(Isa isa) noexcept {
    if (!cpuHas(isa)) return nullptr;
    switch (isa) {
    case Isa::Scalar: return &kScalar;
    case Isa::Sse2: return sse2Kernels();
    case Isa::Avx2: return avx2Kernels();
    case Isa::Avx512: return avx512Kernels();
    }
    return nullptr;
}

const Kernels& chooseKernels() noexcept { return widest(); }

}  // namespace simd
}  // namespace qel
