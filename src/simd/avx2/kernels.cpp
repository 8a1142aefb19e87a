// SPDX-License-Identifier: MIT
// AVX2 kernels: the kernels of generic/vector_kernels.h on 32-byte vectors, and
// the multi-byte kernels of text.cpp for four of the pairs.
// Every function carries its target attribute itself, so that no code
// outside this file is built for these instructions.
#include "simd/simd.h"


#include <immintrin.h>

#include <cstdint>

#define QEL_VEC_TARGET __attribute__((target("avx2,bmi,bmi2,lzcnt,popcnt")))
// Aligned blocks of a string ended by a zero unit may hold bytes past it.
#define QEL_VEC_SCAN QEL_VEC_TARGET __attribute__((no_sanitize("address", "thread")))

#include "simd/generic/vector_kernels.h"
#include "simd/avx2/text.h"

namespace qel {
namespace simd {
namespace {

struct Avx2 {
    using V = __m256i;

    QEL_VEC_TARGET static std::uint32_t movemask(V v) { return static_cast<std::uint32_t>(_mm256_movemask_epi8(v)); }

    template <class U>
    QEL_VEC_TARGET static std::uint32_t atMost(V v, V max) {
        if constexpr (sizeof(U) == 1) return movemask(_mm256_cmpeq_epi8(_mm256_min_epu8(v, max), v));
        else if constexpr (sizeof(U) == 2) return movemask(_mm256_cmpeq_epi16(_mm256_min_epu16(v, max), v));
        else return movemask(_mm256_cmpeq_epi32(_mm256_min_epu32(v, max), v));
    }

    template <class S, class D>
    QEL_VEC_TARGET static void storePlain(V v, D* o) {
        if constexpr (sizeof(S) == 1 && sizeof(D) == 2) {
            store(o, _mm256_cvtepu8_epi16(low(v)));
            store(o + 16, _mm256_cvtepu8_epi16(high(v)));
        } else if constexpr (sizeof(S) == 1 && sizeof(D) == 4) {
            const __m128i lo = low(v), hi = high(v);
            store(o, _mm256_cvtepu8_epi32(lo));
            store(o + 8, _mm256_cvtepu8_epi32(_mm_srli_si128(lo, 8)));
            store(o + 16, _mm256_cvtepu8_epi32(hi));
            store(o + 24, _mm256_cvtepu8_epi32(_mm_srli_si128(hi, 8)));
        } else if constexpr (sizeof(S) == 2 && sizeof(D) == 1) {
            store(o, _mm_packus_epi16(low(v), high(v)));
        } else if constexpr (sizeof(S) == 2 && sizeof(D) == 4) {
            store(o, _mm256_cvtepu16_epi32(low(v)));
            store(o + 8, _mm256_cvtepu16_epi32(high(v)));
        } else if constexpr (sizeof(S) == 4 && sizeof(D) == 1) {
            const __m128i words = _mm_packus_epi32(low(v), high(v));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(words, words));
        } else {
            store(o, _mm_packus_epi32(low(v), high(v)));
        }
    }

private:
    QEL_VEC_TARGET static __m128i low(V v) { return _mm256_castsi256_si128(v); }
    QEL_VEC_TARGET static __m128i high(V v) { return _mm256_extracti128_si256(v, 1); }
};

// The kernels of generic/vector_kernels.h, but for the cores of UTF-8 into
// UTF-16 and UTF-32 and of UTF-16 and UTF-32 into UTF-8 those that take
// multi-byte characters too (text.cpp).
constexpr Kernels withTextKernels(Kernels k) {
    k.u8u16 = {&avx2::utf8ToUtf16Convert, &avx2::utf8ToUtf16Measure};
    k.u8u32 = {&avx2::utf8ToUtf32Convert, &avx2::utf8ToUtf32Measure};
    k.u16u8 = {&avx2::utf16ToUtf8Convert, &avx2::utf16ToUtf8Measure};
    k.u32u8 = {&avx2::utf32ToUtf8Convert, &avx2::utf32ToUtf8Measure};
    return k;
}

// Built by the compiler: nothing runs to set it up.
constexpr Kernels kTable = withTextKernels(makeKernels<Avx2>());

}  // namespace

const Kernels* avx2Kernels() noexcept { return &kTable; }

QEL_RESOLVER bool avx2Usable() noexcept {
    __builtin_cpu_init();
    return QEL_CPU_HAS("avx2") && QEL_CPU_HAS("bmi2");
}

}  // namespace simd
}  // namespace qel
