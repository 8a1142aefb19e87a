// SPDX-License-Identifier: MIT
// SSE2 kernels, the x86-64 baseline: the kernels of generic/vector_kernels.h on
// 16-byte vectors.
#include "simd/simd.h"


#include <immintrin.h>

#include <cstdint>

#define QEL_VEC_TARGET __attribute__((target("sse2")))
// Aligned blocks of a string ended by a zero unit may hold bytes past it.
#define QEL_VEC_SCAN QEL_VEC_TARGET __attribute__((no_sanitize("address", "thread")))

#include "simd/generic/vector_kernels.h"

namespace qel {
namespace simd {
namespace {

struct Sse2 {
    using V = __m128i;

    QEL_VEC_TARGET static std::uint32_t movemask(V v) { return static_cast<std::uint32_t>(_mm_movemask_epi8(v)); }

    // SSE2 compares bytes only as unsigned: 16-bit units are compared by
    // saturating subtraction, and 32-bit units as signed with their top bits
    // flipped.
    template <class U>
    QEL_VEC_TARGET static std::uint32_t atMost(V v, V max) {
        if constexpr (sizeof(U) == 1) {
            return movemask(_mm_cmpeq_epi8(_mm_min_epu8(v, max), v));
        } else if constexpr (sizeof(U) == 2) {
            return movemask(_mm_cmpeq_epi16(_mm_subs_epu16(v, max), _mm_setzero_si128()));
        } else {
            const V flip = splat<Sse2, u32, 0x80000000u>();
            return ~movemask(_mm_cmpgt_epi32(_mm_xor_si128(v, flip), _mm_xor_si128(max, flip))) & kAllLanes<16>;
        }
    }

    template <class S, class D>
    QEL_VEC_TARGET static void storePlain(V v, D* o) {
        const V zero = _mm_setzero_si128();
        if constexpr (sizeof(S) == 1 && sizeof(D) == 2) {
            store(o, _mm_unpacklo_epi8(v, zero));
            store(o + 8, _mm_unpackhi_epi8(v, zero));
        } else if constexpr (sizeof(S) == 1 && sizeof(D) == 4) {
            const V lo = _mm_unpacklo_epi8(v, zero), hi = _mm_unpackhi_epi8(v, zero);
            store(o, _mm_unpacklo_epi16(lo, zero));
            store(o + 4, _mm_unpackhi_epi16(lo, zero));
            store(o + 8, _mm_unpacklo_epi16(hi, zero));
            store(o + 12, _mm_unpackhi_epi16(hi, zero));
        } else if constexpr (sizeof(S) == 2 && sizeof(D) == 1) {
            _mm_storel_epi64(reinterpret_cast<V*>(o), _mm_packus_epi16(v, v));
        } else if constexpr (sizeof(S) == 2 && sizeof(D) == 4) {
            store(o, _mm_unpacklo_epi16(v, zero));
            store(o + 4, _mm_unpackhi_epi16(v, zero));
        } else if constexpr (sizeof(S) == 4 && sizeof(D) == 1) {
            const V words = _mm_packs_epi32(v, v);
            const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
            __builtin_memcpy(o, &bytes, 4);
        } else {
            // A signed pack of the units less 0x8000 is exact below 0x10000.
            const V bias = splat<Sse2, u32, 0x8000>();
            const V words = _mm_add_epi16(_mm_packs_epi32(_mm_sub_epi32(v, bias), _mm_sub_epi32(v, bias)),
                                          splat<Sse2, u16, 0x8000>());
            _mm_storel_epi64(reinterpret_cast<V*>(o), words);
        }
    }
};

// Built by the compiler: nothing runs to set it up.
constexpr Kernels kTable = makeKernels<Sse2>();

}  // namespace

const Kernels* sse2Kernels() noexcept { return &kTable; }

QEL_RESOLVER bool sse2Usable() noexcept { return true; }  // part of x86-64 itself

}  // namespace simd
}  // namespace qel
