// Choice of the kernels for this process: the widest instruction set that
// both the build and the CPU have. On x86-64 active() is an indirect
// function: the dynamic loader calls its resolver once, while it relocates
// the library (or the program it is linked into), and binds every call to the
// accessor of the set it picked. Nothing is chosen or stored at run time.
#include "core/simd.h"

namespace qel {
namespace simd {

namespace {

// The table of a build or CPU without vector code: every kernel absent.
constexpr Kernels kScalar{};

#if defined(__x86_64__) && !defined(QELUTF_SCALAR)

// The resolver runs before the program's and the sanitizers' own start-up
// code: it may call nothing that is instrumented, only the compiler's CPU
// feature tests (which need __builtin_cpu_init first, as nothing has run it
// yet at that point).
#define QEL_RESOLVER __attribute__((no_sanitize("address", "thread", "undefined")))

// Whether the CPU has every feature that a set's kernels use. Each answer is
// made 0 or 1 before they are combined: GCC answers with the feature's own
// bit, so two answers may share no bit at all.
QEL_RESOLVER inline bool cpuHas(Isa isa) noexcept {
    const auto has = [](int answer) { return answer != 0 ? 1u : 0u; };
    switch (isa) {
    case Isa::Avx2: return (has(__builtin_cpu_supports("avx2")) & has(__builtin_cpu_supports("bmi2"))) != 0;
    case Isa::Avx512:
        return (has(__builtin_cpu_supports("avx512f")) & has(__builtin_cpu_supports("avx512bw")) &
                has(__builtin_cpu_supports("avx512vl")) & has(__builtin_cpu_supports("avx512vbmi")) &
                has(__builtin_cpu_supports("avx512vbmi2")) & has(__builtin_cpu_supports("bmi2"))) != 0;
    default: return true;  // Scalar, and SSE2, which is part of x86-64
    }
}

// The widest set a build may choose (QELUTF_WIDEST_ISA: a build that measures
// a narrower set on a wider CPU).
#if defined(QELUTF_WIDEST_ISA_SSE2)
constexpr Isa kWidest = Isa::Sse2;
#elif defined(QELUTF_WIDEST_ISA_AVX2)
constexpr Isa kWidest = Isa::Avx2;
#else
constexpr Isa kWidest = Isa::Avx512;
#endif

using Accessor = const Kernels& (*)() noexcept;

const Kernels& activeAvx512() noexcept { return *avx512Kernels(); }
const Kernels& activeAvx2() noexcept { return *avx2Kernels(); }
const Kernels& activeSse2() noexcept { return *sse2Kernels(); }

#else

constexpr bool cpuHas(Isa isa) noexcept { return isa == Isa::Scalar; }

#endif

}  // namespace

const std::uint32_t kPatternPool[sizeof kPatternValues / sizeof kPatternValues[0]] = {QEL_SIMD_PATTERNS};

const Kernels* forIsa(Isa isa) noexcept {
#if defined(__x86_64__) && !defined(QELUTF_SCALAR)
    __builtin_cpu_init();
#endif
    if (!cpuHas(isa)) return nullptr;
    switch (isa) {
    case Isa::Scalar: return &kScalar;
    case Isa::Sse2: return sse2Kernels();
    case Isa::Avx2: return avx2Kernels();
    case Isa::Avx512: return avx512Kernels();
    }
    return nullptr;
}

#if defined(__x86_64__) && !defined(QELUTF_SCALAR)

// The resolver of active(), called by the dynamic loader. It has C linkage so
// that the indirect function can name it; it is not exported.
extern "C" {
QEL_RESOLVER __attribute__((visibility("hidden"))) Accessor qel_simd_resolve_active() {
    __builtin_cpu_init();
    if (kWidest >= Isa::Avx512 && cpuHas(Isa::Avx512)) return &activeAvx512;
    if (kWidest >= Isa::Avx2 && cpuHas(Isa::Avx2)) return &activeAvx2;
    return &activeSse2;
}
}

const Kernels& active() noexcept __attribute__((ifunc("qel_simd_resolve_active")));

#else

const Kernels& active() noexcept { return kScalar; }

#endif

}  // namespace simd
}  // namespace qel
