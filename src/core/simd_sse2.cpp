// SSE2 kernels. None yet: a CPU without AVX-512 runs the per-unit code.
#include "core/simd.h"

namespace qel {
namespace simd {
const Kernels* sse2Kernels() noexcept { return nullptr; }
}  // namespace simd
}  // namespace qel
