// AVX2 kernels. None yet: a CPU without AVX-512 runs the per-unit code.
#include "core/simd.h"

namespace qel {
namespace simd {
const Kernels* avx2Kernels() noexcept { return nullptr; }
}  // namespace simd
}  // namespace qel
