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

// Whether the CPU has every feature that a set's kernels use. The features
// are tested together (bitwise, not one after another): the answer is one
// fact about the machine, not a chain of decisions. Each test is made 0 or 1
// first: GCC answers with the feature's own bit, so two answers may share no
// bit at all.
inline unsigned has(int answer) noexcept { return answer != 0 ? 1u : 0u; }

bool cpuHas(Isa isa) noexcept {
#if defined(__x86_64__) && !defined(QELUTF_SCALAR)
    switch (isa) {
    case Isa::Avx2: return (has(__builtin_cpu_supports("avx2")) & has(__builtin_cpu_supports("bmi2"))) != 0;
    case Isa::Avx512:
        return (has(__builtin_cpu_supports("avx512f")) & has(__builtin_cpu_supports("avx512bw")) &
                has(__builtin_cpu_supports("avx512vl")) & has(__builtin_cpu_supports("avx512vbmi")) &
                has(__builtin_cpu_supports("avx512vbmi2")) & has(__builtin_cpu_supports("bmi2"))) != 0;
    default: return true;  // Scalar, and SSE2, which is part of x86-64
    }
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
