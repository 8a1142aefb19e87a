// SPDX-License-Identifier: MIT
// Choice of the kernels for this process: the first set of the registry
// (simd/sets.h, widest first) that this CPU runs. active() is an indirect
// function: the dynamic loader calls its resolver once, while it relocates the
// library (or the program it is linked into), and binds every call to the
// accessor of the set it picked. Nothing is chosen or stored at run time.
#include "simd/simd.h"

namespace qel {
namespace simd {

namespace {

// The table of a build or CPU without vector code: every kernel absent.
constexpr Kernels kScalar{};

using Accessor = const Kernels& (*)() noexcept;

const Kernels& activeScalar() noexcept { return kScalar; }
#define QEL_SIMD_ACCESSOR(Name, folder) \
    const Kernels& active##Name() noexcept { return *folder##Kernels(); }
QEL_SIMD_BUILT(QEL_SIMD_ACCESSOR)
#undef QEL_SIMD_ACCESSOR

}  // namespace

const std::uint32_t kPatternPool[sizeof kPatternValues / sizeof kPatternValues[0]] = {QEL_SIMD_PATTERNS};

// The resolver of active(), called by the dynamic loader. It has C linkage so
// that the indirect function can name it; it is not exported.
extern "C" {
QEL_RESOLVER __attribute__((visibility("hidden"))) Accessor qel_simd_resolve_active() {
#define QEL_SIMD_PICK(Name, folder) \
    if (folder##Usable()) return &active##Name;
    QEL_SIMD_BUILT(QEL_SIMD_PICK)
#undef QEL_SIMD_PICK
    return &activeScalar;
}
}

const Kernels& active() noexcept __attribute__((ifunc("qel_simd_resolve_active")));

}  // namespace simd
}  // namespace qel
