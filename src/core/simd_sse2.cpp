// SSE2 kernels, the x86-64 baseline: 16 bytes per step, the same work as the
// AVX2 kernels (simd_avx2.cpp) on narrower vectors. SSE2 has unsigned
// comparisons of bytes only: 16-bit units are compared by saturating
// subtraction and 32-bit units with their top bits flipped.
#include "core/simd.h"

#if defined(__x86_64__) && !defined(QELUTF_SCALAR)

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#define QEL_SSE2 __attribute__((target("sse2")))
// The walker kernels may read past a zero unit within its memory page, which
// the address and thread sanitizers would report.
#define QEL_SSE2_SCAN QEL_SSE2 __attribute__((no_sanitize("address", "thread")))

namespace qel {
namespace simd {
namespace {

using W = __m128i;

inline std::size_t smaller(std::size_t a, std::size_t b) { return a < b ? a : b; }

// A vector with one constant in every lane, read from the pattern pool.
template <std::uint32_t kPattern>
QEL_SSE2 inline W splat() {
    constexpr int kIndex = patternIndex(kPattern);
    static_assert(kIndex >= 0, "every constant of the kernels is in the pattern pool");
    return _mm_set1_epi32(static_cast<int>(kPatternPool[kIndex]));
}
template <std::uint32_t kByte>
QEL_SSE2 inline W s8() {
    return splat<(kByte & 0xFFu) * 0x01010101u>();
}
template <std::uint32_t kWord>
QEL_SSE2 inline W s16() {
    return splat<(kWord & 0xFFFFu) * 0x00010001u>();
}
template <std::uint32_t kDword>
QEL_SSE2 inline W s32() {
    return splat<kDword>();
}

template <class T>
QEL_SSE2_SCAN inline W load(const T* p) {
    return _mm_loadu_si128(reinterpret_cast<const W*>(p));
}
template <class T>
QEL_SSE2 inline void store(T* p, W v) {
    _mm_storeu_si128(reinterpret_cast<W*>(p), v);
}

// ---- lanes by unit width --------------------------------------------------------------

// Byte mask (from movemask) of the lanes whose units are at most `max`.
template <class U>
QEL_SSE2 inline std::uint32_t atMost(W v, W max) {
    if constexpr (sizeof(U) == 1) {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(v, max), v)));
    } else if constexpr (sizeof(U) == 2) {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_subs_epu16(v, max), _mm_setzero_si128())));
    } else {
        const W flip = s32<0x80000000u>();
        const W above = _mm_cmpgt_epi32(_mm_xor_si128(v, flip), _mm_xor_si128(max, flip));
        return static_cast<std::uint32_t>(~_mm_movemask_epi8(above)) & 0xFFFFu;
    }
}

// Lanes holding 0 or 0x01.
template <class U>
QEL_SSE2 inline std::uint32_t stopBits(W v) {
    if constexpr (sizeof(U) == 1) return atMost<U>(v, s8<1>());
    else if constexpr (sizeof(U) == 2) return atMost<U>(v, s16<1>());
    else return atMost<U>(v, s32<1>());
}

// Lanes holding anything but 0x02..0x7F: their units minus 2 exceed 0x7D.
template <class U>
QEL_SSE2 inline std::uint32_t specialBits(W v) {
    if constexpr (sizeof(U) == 1) return ~atMost<U>(_mm_sub_epi8(v, s8<2>()), s8<0x7D>()) & 0xFFFFu;
    else if constexpr (sizeof(U) == 2) return ~atMost<U>(_mm_sub_epi16(v, s16<2>()), s16<0x7D>()) & 0xFFFFu;
    else return ~atMost<U>(_mm_sub_epi32(v, s32<2>()), s32<0x7D>()) & 0xFFFFu;
}

template <class U>
inline bool misaligned(const U* p) {
    return (reinterpret_cast<std::uintptr_t>(p) % sizeof(U)) != 0;
}

// Whole vectors from p before both `end` (when it lies ahead) and the end of
// p's memory page, and the units left after them up to either.
template <class U>
inline std::size_t unitsAhead(const U* p, const U* end) {
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(p);
    const std::size_t ahead = (reinterpret_cast<std::uintptr_t>(end) - at) / sizeof(U);
    const std::size_t inPage = (4096 - (at & 4095)) / sizeof(U);
    return smaller(ahead, inPage);
}

// ---- walker kernels --------------------------------------------------------------------

template <class U, bool kSpecial>
QEL_SSE2 inline bool isHit(U u) {
    const u32 v = static_cast<u32>(u);
    return kSpecial ? v - 2u >= 0x7Eu : v <= 1u;
}

template <class U, bool kSpecial>
QEL_SSE2_SCAN const U* scan(const U* p, const U* end) {
    constexpr std::size_t kLanes = 16 / sizeof(U);
    if (misaligned(p)) {
        while (p != end && !isHit<U, kSpecial>(*p)) ++p;
        return p;
    }
    for (;;) {
        const std::size_t units = unitsAhead(p, end);
        std::size_t k = units / kLanes;
        for (; k >= 2; k -= 2) {
            const std::uint32_t hit = kSpecial ? specialBits<U>(load(p)) | specialBits<U>(load(p + kLanes))
                                               : stopBits<U>(load(p)) | stopBits<U>(load(p + kLanes));
            if (hit != 0) break;
            p += 2 * kLanes;
        }
        for (; k > 0; --k) {
            const std::uint32_t hit = kSpecial ? specialBits<U>(load(p)) : stopBits<U>(load(p));
            if (hit != 0) return p + __builtin_ctz(hit) / sizeof(U);
            p += kLanes;
        }
        // The units before the page's end or `end`, one at a time.
        for (std::size_t t = units % kLanes; t > 0; --t, ++p)
            if (isHit<U, kSpecial>(*p)) return p;
        if (p == end || units == 0) return p;
    }
}

template <class U>
QEL_SSE2_SCAN const U* findStop(const U* p, const U* end) noexcept {
    return scan<U, false>(p, end);
}
template <class U>
QEL_SSE2_SCAN const U* findSpecial(const U* p, const U* end) noexcept {
    return scan<U, true>(p, end);
}

// Writes one vector of plain units as kLanes units of D (units of UTF-32
// below 0x10000 for UTF-16, below 0x80 for UTF-8).
template <class S, class D>
QEL_SSE2 inline void storePlain(W v, D* o) {
    const W zero = _mm_setzero_si128();
    if constexpr (sizeof(S) == 1 && sizeof(D) == 2) {
        store(o, _mm_unpacklo_epi8(v, zero));
        store(o + 8, _mm_unpackhi_epi8(v, zero));
    } else if constexpr (sizeof(S) == 1 && sizeof(D) == 4) {
        const W lo = _mm_unpacklo_epi8(v, zero), hi = _mm_unpackhi_epi8(v, zero);
        store(o, _mm_unpacklo_epi16(lo, zero));
        store(o + 4, _mm_unpackhi_epi16(lo, zero));
        store(o + 8, _mm_unpacklo_epi16(hi, zero));
        store(o + 12, _mm_unpackhi_epi16(hi, zero));
    } else if constexpr (sizeof(S) == 2 && sizeof(D) == 1) {
        _mm_storel_epi64(reinterpret_cast<W*>(o), _mm_packus_epi16(v, v));
    } else if constexpr (sizeof(S) == 2 && sizeof(D) == 4) {
        store(o, _mm_unpacklo_epi16(v, zero));
        store(o + 4, _mm_unpackhi_epi16(v, zero));
    } else if constexpr (sizeof(S) == 4 && sizeof(D) == 1) {
        const W words = _mm_packs_epi32(v, v);
        const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
        __builtin_memcpy(o, &bytes, 4);
    } else {
        // A signed pack of the units less 0x8000 is exact below 0x10000.
        const W bias = s32<0x8000>();
        const W words = _mm_add_epi16(_mm_packs_epi32(_mm_sub_epi32(v, bias), _mm_sub_epi32(v, bias)), s16<0x8000>());
        _mm_storel_epi64(reinterpret_cast<W*>(o), words);
    }
}

template <class S, class D>
QEL_SSE2_SCAN void copyPlain(const S** pp, const S* end, D** oo, const D* oEnd) noexcept {
    constexpr std::size_t kLanes = 16 / sizeof(S);
    const S* p = *pp;
    D* o = *oo;
    for (;;) {
        std::size_t k = misaligned(p) ? 0 : smaller(unitsAhead(p, end), static_cast<std::size_t>(oEnd - o)) / kLanes;
        for (; k > 0; --k) {
            const W v = load(p);
            if (specialBits<S>(v) != 0) break;
            storePlain<S, D>(v, o);
            p += kLanes;
            o += kLanes;
        }
        // Unit by unit: the units before a unit that is not plain, and up to
        // the next memory page, `end` or the end of the output.
        for (std::size_t t = 0; t < kLanes; ++t) {
            if (p == end || o == oEnd || static_cast<u32>(*p) - 2u >= 0x7Eu) {
                *pp = p;
                *oo = o;
                return;
            }
            *o++ = static_cast<D>(*p++);
            if ((reinterpret_cast<std::uintptr_t>(p) & 4095) == 0) break;
        }
    }
}

// ---- core kernels ----------------------------------------------------------------------

// How far a convert kernel may take input: one unit before the end, and no
// further than leaves one unit of output room at `perUnit` output units per
// input unit.
template <class S, class D>
inline std::size_t takeable(const S* p, const S* end, const D* o, const D* outEnd, std::size_t perUnit) {
    return smaller(static_cast<std::size_t>(end - p) - 1, (static_cast<std::size_t>(outEnd - o) - 1) / perUnit);
}

// Lanes of a vector of S that the pair S -> D does not take at once: all but
// ASCII, or for UTF-16 <-> UTF-32 all but the BMP without surrogates.
template <class S, class D>
QEL_SSE2 inline std::uint32_t otherBits(W v) {
    if constexpr (sizeof(S) == 1 || sizeof(D) == 1) {
        if constexpr (sizeof(S) == 1) return static_cast<std::uint32_t>(_mm_movemask_epi8(v));
        else if constexpr (sizeof(S) == 2) return ~atMost<S>(v, s16<0x7F>()) & 0xFFFFu;
        else return ~atMost<S>(v, s32<0x7F>()) & 0xFFFFu;
    } else if constexpr (sizeof(S) == 2) {
        // UTF-16 -> UTF-32: every unit but a surrogate.
        return static_cast<std::uint32_t>(
            _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, s16<0xF800>()), s16<0xD800>())));
    } else {
        // UTF-32 -> UTF-16: code points of the BMP, no surrogate.
        const std::uint32_t surrogate = atMost<S>(_mm_sub_epi32(v, s32<0xD800u>()), s32<0x7FF>());
        return (surrogate | ~atMost<S>(v, s32<0xFFFF>())) & 0xFFFFu;
    }
}

// Lanes (as otherBits) of units that the pair takes at once but that set the
// success value: from 0xE000 in UTF-32 -> UTF-16, one output unit each.
template <class S, class D>
QEL_SSE2 inline std::uint32_t slowBits(W v) {
    if constexpr (sizeof(S) == 4 && sizeof(D) == 2) return ~atMost<S>(v, s32<0xD7FF>()) & 0xFFFFu;
    else return 0;
}

// Every unit that slowBits finds is one character of one output unit.
inline void noteSlow(std::uint32_t seen, SlowChar* last) {
    if (seen != 0) {
        last->len = 1;
        last->size = 1;
    }
}

// Takes whole vectors of simple units from *p (see otherBits), then the
// simple units at the start of the next vector, and stops before the first
// other unit.
template <class S, class D, std::size_t kPerUnit>
QEL_SSE2 void convertSimple(const S** pp, const S* end, D** oo, const D* outEnd, SlowChar* last) noexcept {
    constexpr std::size_t kLanes = 16 / sizeof(S);
    const S* p = *pp;
    D* o = *oo;
    std::size_t left = takeable(p, end, o, outEnd, kPerUnit);
    std::uint32_t slowSeen = 0;
    for (; left >= kLanes; left -= kLanes) {
        const W v = load(p);
        const std::uint32_t other = otherBits<S, D>(v);
        const std::uint32_t taken = other == 0 ? ~0u : (other ^ (other - 1)) >> 1;
        slowSeen |= slowBits<S, D>(v) & taken;
        if (other != 0) {
            for (std::size_t k = __builtin_ctz(other) / sizeof(S); k > 0; --k) *o++ = static_cast<D>(*p++);
            break;
        }
        storePlain<S, D>(v, o);
        p += kLanes;
        o += kLanes;
    }
    noteSlow(slowSeen, last);
    *pp = p;
    *oo = o;
}

template <class S, class D>
QEL_SSE2 void measureSimple(const S** pp, const S* end, unsigned int* count, SlowChar* last) noexcept {
    constexpr std::size_t kLanes = 16 / sizeof(S);
    const S* p = *pp;
    unsigned int n = *count;
    std::size_t left = static_cast<std::size_t>(end - p) - 1;
    std::uint32_t slowSeen = 0;
    for (; left >= kLanes; left -= kLanes) {
        const W v = load(p);
        const std::uint32_t other = otherBits<S, D>(v);
        const std::uint32_t taken = other == 0 ? ~0u : (other ^ (other - 1)) >> 1;
        slowSeen |= slowBits<S, D>(v) & taken;
        if (other != 0) {
            const std::size_t k = __builtin_ctz(other) / sizeof(S);
            p += k;
            n += static_cast<unsigned int>(k);
            break;
        }
        p += kLanes;
        n += static_cast<unsigned int>(kLanes);
    }
    noteSlow(slowSeen, last);
    *pp = p;
    *count = n;
}

Kernels makeKernels() {
    Kernels k;
    k.isa = Isa::Sse2;
    k.u8u16 = {&convertSimple<u8, u16, 1>, &measureSimple<u8, u16>};
    k.u8u32 = {&convertSimple<u8, u32, 1>, &measureSimple<u8, u32>};
    k.u16u8 = {&convertSimple<u16, char, 3>, &measureSimple<u16, char>};
    k.u16u32 = {&convertSimple<u16, u32, 1>, &measureSimple<u16, u32>};
    k.u32u8 = {&convertSimple<u32, char, 4>, &measureSimple<u32, char>};
    k.u32u16 = {&convertSimple<u32, u16, 2>, &measureSimple<u32, u16>};
    k.scan8 = {&findStop<u8>, &findSpecial<u8>};
    k.scan16 = {&findStop<u16>, &findSpecial<u16>};
    k.scan32 = {&findStop<u32>, &findSpecial<u32>};
    k.plain8to16 = &copyPlain<u8, u16>;
    k.plain8to32 = &copyPlain<u8, u32>;
    k.plain16to8 = &copyPlain<u16, char>;
    k.plain16to32 = &copyPlain<u16, u32>;
    k.plain32to8 = &copyPlain<u32, char>;
    k.plain32to16 = &copyPlain<u32, u16>;
    return k;
}

}  // namespace

const Kernels* sse2Kernels() noexcept {
    static const Kernels table = makeKernels();
    return &table;
}

}  // namespace simd
}  // namespace qel

#else

namespace qel {
namespace simd {
const Kernels* sse2Kernels() noexcept { return nullptr; }
}  // namespace simd
}  // namespace qel

#endif
