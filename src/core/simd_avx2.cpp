// AVX2 kernels: 32 bytes per step. The walkers' scans and plain copies run
// in whole vectors and finish each memory page unit by unit; the cores take
// ASCII stretches of every pair, and blocks of the BMP between UTF-16 and
// UTF-32, leaving every other character to the per-character code. Every
// function carries its target attribute itself, so that no code outside this
// file is built for these instructions.
#include "core/simd.h"

#if defined(__x86_64__) && !defined(QELUTF_SCALAR)

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#define QEL_AVX2 __attribute__((target("avx2,bmi,bmi2,lzcnt,popcnt")))
// The walker kernels may read past a zero unit within its memory page, which
// the address and thread sanitizers would report.
#define QEL_AVX2_SCAN QEL_AVX2 __attribute__((no_sanitize("address", "thread")))

namespace qel {
namespace simd {
namespace {

using W = __m256i;

inline std::size_t smaller(std::size_t a, std::size_t b) { return a < b ? a : b; }

// A vector with one constant in every lane, read from the pattern pool.
template <std::uint32_t kPattern>
QEL_AVX2 inline W splat() {
    constexpr int kIndex = patternIndex(kPattern);
    static_assert(kIndex >= 0, "every constant of the kernels is in the pattern pool");
    return _mm256_set1_epi32(static_cast<int>(kPatternPool[kIndex]));
}
template <std::uint32_t kByte>
QEL_AVX2 inline W s8() {
    return splat<(kByte & 0xFFu) * 0x01010101u>();
}
template <std::uint32_t kWord>
QEL_AVX2 inline W s16() {
    return splat<(kWord & 0xFFFFu) * 0x00010001u>();
}
template <std::uint32_t kDword>
QEL_AVX2 inline W s32() {
    return splat<kDword>();
}

template <class T>
QEL_AVX2_SCAN inline W load(const T* p) {
    return _mm256_loadu_si256(reinterpret_cast<const W*>(p));
}
template <class T>
QEL_AVX2 inline void store(T* p, W v) {
    _mm256_storeu_si256(reinterpret_cast<W*>(p), v);
}
template <class T>
QEL_AVX2 inline void store128(T* p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

// ---- lanes by unit width --------------------------------------------------------------

// Byte mask (from movemask) of the lanes whose units are at most `kMax`.
template <class U>
QEL_AVX2 inline std::uint32_t atMost(W v, W max) {
    if constexpr (sizeof(U) == 1) return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_min_epu8(v, max), v)));
    else if constexpr (sizeof(U) == 2)
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(_mm256_min_epu16(v, max), v)));
    else return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi32(_mm256_min_epu32(v, max), v)));
}

// Lanes holding 0 or 0x01.
template <class U>
QEL_AVX2 inline std::uint32_t stopBits(W v) {
    if constexpr (sizeof(U) == 1) return atMost<U>(v, s8<1>());
    else if constexpr (sizeof(U) == 2) return atMost<U>(v, s16<1>());
    else return atMost<U>(v, s32<1>());
}

// Lanes holding anything but 0x02..0x7F: their units minus 2 exceed 0x7D.
template <class U>
QEL_AVX2 inline std::uint32_t specialBits(W v) {
    if constexpr (sizeof(U) == 1) return ~atMost<U>(_mm256_sub_epi8(v, s8<2>()), s8<0x7D>());
    else if constexpr (sizeof(U) == 2) return ~atMost<U>(_mm256_sub_epi16(v, s16<2>()), s16<0x7D>());
    else return ~atMost<U>(_mm256_sub_epi32(v, s32<2>()), s32<0x7D>());
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
QEL_AVX2 inline bool isHit(U u) {
    const u32 v = static_cast<u32>(u);
    return kSpecial ? v - 2u >= 0x7Eu : v <= 1u;
}

template <class U, bool kSpecial>
QEL_AVX2_SCAN const U* scan(const U* p, const U* end) {
    constexpr std::size_t kLanes = 32 / sizeof(U);
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
            if (hit != 0) return p + _tzcnt_u32(hit) / sizeof(U);
            p += kLanes;
        }
        // The units before the page's end or `end`, one at a time.
        for (std::size_t t = units % kLanes; t > 0; --t, ++p)
            if (isHit<U, kSpecial>(*p)) return p;
        if (p == end || units == 0) return p;
    }
}

template <class U>
QEL_AVX2_SCAN const U* findStop(const U* p, const U* end) noexcept {
    return scan<U, false>(p, end);
}
template <class U>
QEL_AVX2_SCAN const U* findSpecial(const U* p, const U* end) noexcept {
    return scan<U, true>(p, end);
}

// Writes one vector of plain units as kLanes units of D.
template <class S, class D>
QEL_AVX2 inline void storePlain(W v, D* o) {
    if constexpr (sizeof(S) == 1 && sizeof(D) == 2) {
        store(o, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v)));
        store(o + 16, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v, 1)));
    } else if constexpr (sizeof(S) == 1 && sizeof(D) == 4) {
        const __m128i lo = _mm256_castsi256_si128(v), hi = _mm256_extracti128_si256(v, 1);
        store(o, _mm256_cvtepu8_epi32(lo));
        store(o + 8, _mm256_cvtepu8_epi32(_mm_srli_si128(lo, 8)));
        store(o + 16, _mm256_cvtepu8_epi32(hi));
        store(o + 24, _mm256_cvtepu8_epi32(_mm_srli_si128(hi, 8)));
    } else if constexpr (sizeof(S) == 2 && sizeof(D) == 1) {
        store128(o, _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
    } else if constexpr (sizeof(S) == 2 && sizeof(D) == 4) {
        store(o, _mm256_cvtepu16_epi32(_mm256_castsi256_si128(v)));
        store(o + 8, _mm256_cvtepu16_epi32(_mm256_extracti128_si256(v, 1)));
    } else if constexpr (sizeof(S) == 4 && sizeof(D) == 1) {
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(words, words));
    } else {
        store128(o, _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
    }
}

template <class S, class D>
QEL_AVX2_SCAN void copyPlain(const S** pp, const S* end, D** oo, const D* oEnd) noexcept {
    constexpr std::size_t kLanes = 32 / sizeof(S);
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
QEL_AVX2 inline std::uint32_t otherBits(W v) {
    if constexpr (sizeof(S) == 1 || sizeof(D) == 1) {
        if constexpr (sizeof(S) == 1) return static_cast<std::uint32_t>(_mm256_movemask_epi8(v));
        else if constexpr (sizeof(S) == 2) return ~atMost<S>(v, s16<0x7F>());
        else return ~atMost<S>(v, s32<0x7F>());
    } else if constexpr (sizeof(S) == 2) {
        // UTF-16 -> UTF-32: every unit but a surrogate.
        return static_cast<std::uint32_t>(
            _mm256_movemask_epi8(_mm256_cmpeq_epi16(_mm256_and_si256(v, s16<0xF800>()), s16<0xD800>())));
    } else {
        // UTF-32 -> UTF-16: code points of the BMP, no surrogate.
        const std::uint32_t surrogate = atMost<S>(_mm256_sub_epi32(v, s32<0xD800u>()), s32<0x7FF>());
        return surrogate | ~atMost<S>(v, s32<0xFFFF>());
    }
}

// Lanes (as otherBits) of units that the pair takes at once but that set the
// success value: from 0xE000 in UTF-32 -> UTF-16, one output unit each.
template <class S, class D>
QEL_AVX2 inline std::uint32_t slowBits(W v) {
    if constexpr (sizeof(S) == 4 && sizeof(D) == 2) return ~atMost<S>(v, s32<0xD7FF>());
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
QEL_AVX2 void convertSimple(const S** pp, const S* end, D** oo, const D* outEnd, SlowChar* last) noexcept {
    constexpr std::size_t kLanes = 32 / sizeof(S);
    const S* p = *pp;
    D* o = *oo;
    std::size_t left = takeable(p, end, o, outEnd, kPerUnit);
    std::uint32_t slowSeen = 0;
    for (; left >= kLanes; left -= kLanes) {
        const W v = load(p);
        const std::uint32_t other = otherBits<S, D>(v);
        const std::uint32_t taken = other == 0 ? ~0u : _blsmsk_u32(other) >> 1;
        slowSeen |= slowBits<S, D>(v) & taken;
        if (other != 0) {
            for (std::size_t k = _tzcnt_u32(other) / sizeof(S); k > 0; --k) *o++ = static_cast<D>(*p++);
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
QEL_AVX2 void measureSimple(const S** pp, const S* end, unsigned int* count, SlowChar* last) noexcept {
    constexpr std::size_t kLanes = 32 / sizeof(S);
    const S* p = *pp;
    unsigned int n = *count;
    std::size_t left = static_cast<std::size_t>(end - p) - 1;
    std::uint32_t slowSeen = 0;
    for (; left >= kLanes; left -= kLanes) {
        const W v = load(p);
        const std::uint32_t other = otherBits<S, D>(v);
        const std::uint32_t taken = other == 0 ? ~0u : _blsmsk_u32(other) >> 1;
        slowSeen |= slowBits<S, D>(v) & taken;
        if (other != 0) {
            const std::size_t k = _tzcnt_u32(other) / sizeof(S);
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
    k.isa = Isa::Avx2;
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

const Kernels* avx2Kernels() noexcept {
    static const Kernels table = makeKernels();
    return &table;
}

}  // namespace simd
}  // namespace qel

#else

namespace qel {
namespace simd {
const Kernels* avx2Kernels() noexcept { return nullptr; }
}  // namespace simd
}  // namespace qel

#endif
