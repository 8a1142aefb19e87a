// SPDX-License-Identifier: MIT
// The SSE2 and AVX2 kernels, written once over the operations of one
// instruction set: the walkers' scans and plain-unit copies in aligned
// vectors, and the cores' stretches of ASCII
// in every pair, and of the BMP without surrogates between UTF-16 and UTF-32,
// leaving every other character to the per-character code.
//
// The file of each set defines, before it includes this header,
//   QEL_VEC_TARGET  the target attribute of the set, which every function
//                   here carries, as they all work on its vectors, and
//   QEL_VEC_SCAN    QEL_VEC_TARGET for the functions that read aligned
//                   blocks of a string ended by a zero unit, which may hold
//                   bytes past it, and so are left alone by the address and
//                   thread sanitizers,
// then defines its operations type and builds its table with
// makeKernels<Ops>(). Everything here lies in an unnamed namespace, so that
// each of those files has its own copies, built for its own set.
//
// An operations type O has what differs between the sets:
//   V                    the vector type
//   movemask(v)          the top bit of every byte of v
//   atMost<U>(v, max)    the movemask bits of the lanes of units of U in
//                        which v is at most max
//   storePlain<S, D>(v, o)  writes a vector of units of S, each below 0x80
//                        (or below 0x10000 from UTF-32 to UTF-16), as as
//                        many units of D at o
// The element-wise operations, which are the same on every set, are written
// here once on GNU vector types, and the compiler picks the instructions of
// the set that each function is built for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "simd/simd.h"

#if !defined(QEL_VEC_TARGET) || !defined(QEL_VEC_SCAN)
#error "define QEL_VEC_TARGET and QEL_VEC_SCAN before including simd/generic/vector_kernels.h"
#endif

namespace qel {
namespace simd {
namespace {

inline std::size_t smaller(std::size_t a, std::size_t b) { return a < b ? a : b; }

// ---- element-wise operations ---------------------------------------------------------

// A vector of kBytes bytes in lanes of unsigned units the size of U.
template <std::size_t kBytes, class U>
struct LanesOf {
    using Unit = std::conditional_t<sizeof(U) == 1, std::uint8_t,
                                    std::conditional_t<sizeof(U) == 2, std::uint16_t, std::uint32_t>>;
    typedef Unit type __attribute__((vector_size(kBytes)));
};
template <std::size_t kBytes, class U>
using Lanes = typename LanesOf<kBytes, U>::type;

// The movemask bits of a whole vector of kBytes bytes.
template <std::size_t kBytes>
constexpr std::uint32_t kAllLanes = kBytes >= 32 ? ~0u : (1u << kBytes) - 1;

// A vector at any address, in memory that may hold units of any type.
template <class V>
struct Unaligned {
    V v;
} __attribute__((packed, may_alias));

template <class V, class T>
QEL_VEC_TARGET inline V load(const T* p) {
    return reinterpret_cast<const Unaligned<V>*>(p)->v;
}
// An aligned block of a string ended by a zero unit (see the walker kernels).
template <class V, class T>
QEL_VEC_SCAN inline V loadBlock(const T* p) {
    return *reinterpret_cast<const V*>(p);
}
template <class T, class V>
QEL_VEC_TARGET inline void store(T* p, V v) {
    reinterpret_cast<Unaligned<V>*>(p)->v = v;
}

// a - b in lanes of units of U.
template <class U, class V>
QEL_VEC_TARGET inline V sub(V a, V b) {
    return reinterpret_cast<V>(reinterpret_cast<Lanes<sizeof(V), U>>(a) - reinterpret_cast<Lanes<sizeof(V), U>>(b));
}

// All ones in the lanes of units of U where a equals b.
template <class U, class V>
QEL_VEC_TARGET inline V equal(V a, V b) {
    return reinterpret_cast<V>(reinterpret_cast<Lanes<sizeof(V), U>>(a) == reinterpret_cast<Lanes<sizeof(V), U>>(b));
}

// A vector with the unit kUnit in every lane of units of U, read from the
// pattern pool (see simd.h).
template <class O, class U, std::uint32_t kUnit>
QEL_VEC_TARGET inline typename O::V splat() {
    using V = typename O::V;
    constexpr std::uint32_t kPattern = sizeof(U) == 1   ? (kUnit & 0xFFu) * 0x01010101u
                                       : sizeof(U) == 2 ? (kUnit & 0xFFFFu) * 0x00010001u
                                                        : kUnit;
    constexpr int kIndex = patternIndex(kPattern);
    static_assert(kIndex >= 0, "every constant of the kernels is in the pattern pool");
    return reinterpret_cast<V>(Lanes<sizeof(V), u32>{} + kPatternPool[kIndex]);
}

// Lanes holding 0 or 0x01.
template <class O, class U>
QEL_VEC_TARGET inline std::uint32_t stopBits(typename O::V v) {
    return O::template atMost<U>(v, splat<O, U, 1>());
}

// Lanes holding anything but 0x02..0x7F: their units minus 2 exceed 0x7D.
template <class O, class U>
QEL_VEC_TARGET inline std::uint32_t specialBits(typename O::V v) {
    return ~O::template atMost<U>(sub<U>(v, splat<O, U, 2>()), splat<O, U, 0x7D>()) & kAllLanes<sizeof(v)>;
}

template <class U>
inline bool misaligned(const U* p) {
    return (reinterpret_cast<std::uintptr_t>(p) % sizeof(U)) != 0;
}

// The naturally aligned block of kBytes bytes that holds p.
template <std::size_t kBytes, class U>
inline const U* blockOf(const U* p) {
    return reinterpret_cast<const U*>(reinterpret_cast<std::uintptr_t>(p) & ~std::uintptr_t{kBytes - 1});
}

// p itself when it starts a block, else the start of the next block.
template <std::size_t kBytes, class U>
inline const U* blockAfter(const U* p) {
    return p + (kBytes - reinterpret_cast<std::uintptr_t>(p) % kBytes) % kBytes / sizeof(U);
}

// Bytes from b to `end`: beyond any string when `end` does not lie ahead.
inline std::size_t bytesTo(const void* b, const void* end) {
    return reinterpret_cast<std::uintptr_t>(end) - reinterpret_cast<std::uintptr_t>(b);
}

// ---- walker kernels --------------------------------------------------------------------
//
// A string that `end` does not bound is known only up to its first zero
// unit, so the walker kernels read whole aligned blocks, each holding a unit
// of the string: the block of p, and the next one only while no zero unit
// (nor `end`) has come up. Such a block never leaves the memory page of a
// unit that exists, and the bytes it holds past the zero unit are never
// looked at; the address and thread sanitizers, which check bytes and not
// blocks, would still report them.

template <class U, bool kSpecial>
inline bool isHit(U u) {
    const u32 v = static_cast<u32>(u);
    return kSpecial ? v - 2u >= 0x7Eu : v <= 1u;
}

template <class O, class U, bool kSpecial>
QEL_VEC_TARGET inline std::uint32_t hitBits(typename O::V v) {
    return kSpecial ? specialBits<O, U>(v) : stopBits<O, U>(v);
}

template <class O, class U, bool kSpecial>
QEL_VEC_SCAN const U* scan(const U* p, const U* end) {
    using V = typename O::V;
    constexpr std::size_t kLanes = sizeof(V) / sizeof(U);
    if (p == end) return p;
    if (misaligned(p)) {
        while (p != end && !isHit<U, kSpecial>(*p)) ++p;
        return p;
    }
    const U* b = blockOf<sizeof(V)>(p);
    const std::size_t before = reinterpret_cast<std::uintptr_t>(p) % sizeof(V);
    std::size_t ahead = bytesTo(p, end);
    ahead = ahead > SIZE_MAX - before ? SIZE_MAX : ahead + before;
    // The lanes before p do not count, nor those from `end` on.
    std::uint32_t hit = hitBits<O, U, kSpecial>(loadBlock<V>(b)) & (~0u << before);
    if (ahead < sizeof(V)) hit |= 1u << ahead;
    if (hit != 0) return b + __builtin_ctz(hit) / sizeof(U);
    b += kLanes;
    // Whole blocks before `end`, each read only once the one before it held
    // no zero unit.
    std::size_t blocks = ahead / sizeof(V) - 1;
    for (; blocks >= 2; blocks -= 2, b += 2 * kLanes) {
        hit = hitBits<O, U, kSpecial>(loadBlock<V>(b));
        if (hit != 0) return b + __builtin_ctz(hit) / sizeof(U);
        hit = hitBits<O, U, kSpecial>(loadBlock<V>(b + kLanes));
        if (hit != 0) return b + kLanes + __builtin_ctz(hit) / sizeof(U);
    }
    if (blocks != 0) {
        hit = hitBits<O, U, kSpecial>(loadBlock<V>(b));
        if (hit != 0) return b + __builtin_ctz(hit) / sizeof(U);
        b += kLanes;
    }
    // The block that `end` lies in, when it holds a unit before it.
    const std::size_t rest = ahead % sizeof(V);
    if (rest == 0) return b;
    hit = hitBits<O, U, kSpecial>(loadBlock<V>(b)) | 1u << rest;
    return b + __builtin_ctz(hit) / sizeof(U);
}

template <class O, class U>
QEL_VEC_SCAN const U* findStop(const U* p, const U* end) noexcept {
    return scan<O, U, false>(p, end);
}
template <class O, class U>
QEL_VEC_SCAN const U* findSpecial(const U* p, const U* end) noexcept {
    return scan<O, U, true>(p, end);
}

// Copies kChunk plain units from p to o.
constexpr std::size_t kChunk = 8;
template <class S, class D>
QEL_VEC_TARGET inline void copyChunk(const S* p, D* o) {
    Lanes<kChunk * sizeof(S), S> in;
    __builtin_memcpy(&in, p, sizeof in);
    const auto out = __builtin_convertvector(in, Lanes<kChunk * sizeof(D), D>);
    __builtin_memcpy(o, &out, sizeof out);
}

// Copies the plain units from p that lie in p's aligned block, before `end`
// and within the output room: by one store when they are the whole block,
// else one by one (they are known to be plain). Returns whether they reach
// the block's end.
template <class O, class S, class D>
QEL_VEC_SCAN inline bool copyInBlock(const S*& p, const S* end, D*& o, const D* oEnd) {
    using V = typename O::V;
    constexpr std::size_t kLanes = sizeof(V) / sizeof(S);
    const S* const b = blockOf<sizeof(V)>(p);
    const std::size_t skip = static_cast<std::size_t>(p - b);
    const V v = loadBlock<V>(b);
    std::size_t n = smaller(kLanes - skip, smaller(bytesTo(p, end) / sizeof(S), static_cast<std::size_t>(oEnd - o)));
    // Only the lanes of those units: the others may hold anything.
    const std::uint32_t special =
        (specialBits<O, S>(v) >> (skip * sizeof(S))) & static_cast<std::uint32_t>((std::uint64_t{1} << (n * sizeof(S))) - 1);
    if (special != 0) n = __builtin_ctz(special) / sizeof(S);
    if (n == kLanes) {
        O::template storePlain<S, D>(v, o);
    } else if (n >= kChunk) {
        // Chunks of units inside [p, p + n), the last one overlapping the
        // one before: each unit read is one of the string.
        std::size_t i = 0;
        for (; i + kChunk <= n; i += kChunk) copyChunk(p + i, o + i);
        if (i != n) copyChunk(p + n - kChunk, o + n - kChunk);
    } else {
        for (std::size_t i = 0; i < n; ++i) o[i] = static_cast<D>(p[i]);
    }
    p += n;
    o += n;
    return p == b + kLanes;
}

template <class O, class S, class D>
QEL_VEC_SCAN void copyPlain(const S** pp, const S* end, D** oo, const D* oEnd) noexcept {
    using V = typename O::V;
    constexpr std::size_t kLanes = sizeof(V) / sizeof(S);
    const S* p = *pp;
    D* o = *oo;
    if (misaligned(p)) {
        for (; p != end && o != oEnd && static_cast<u32>(*p) - 2u < 0x7Eu; ++p) *o++ = static_cast<D>(*p);
    } else if (p != end && o != oEnd && (blockOf<sizeof(V)>(p) == p || copyInBlock<O>(p, end, o, oEnd))) {
        // The block of p (from p), then whole blocks while they lie before
        // `end` and the output's end, then what the next block holds.
        std::size_t blocks = smaller(bytesTo(p, end) / sizeof(V), static_cast<std::size_t>(oEnd - o) / kLanes);
        for (; blocks > 0; --blocks) {
            const V v = loadBlock<V>(p);
            if (specialBits<O, S>(v) != 0) break;
            O::template storePlain<S, D>(v, o);
            p += kLanes;
            o += kLanes;
        }
        if (p != end && o != oEnd) copyInBlock<O>(p, end, o, oEnd);
    }
    *pp = p;
    *oo = o;
}

// ---- core kernels ----------------------------------------------------------------------

// How far a convert kernel may take input: one unit before the end, and no
// further than leaves one unit of output room (the units it takes are one
// output unit each).
template <class S, class D>
inline std::size_t takeable(const S* p, const S* end, const D* o, const D* outEnd) {
    return smaller(static_cast<std::size_t>(end - p) - 1, static_cast<std::size_t>(outEnd - o) - 1);
}

// Lanes of a vector of S that the pair S -> D does not take at once: all but
// ASCII, or for UTF-16 <-> UTF-32 all but the BMP without surrogates.
template <class O, class S, class D>
QEL_VEC_TARGET inline std::uint32_t otherBits(typename O::V v) {
    if constexpr (sizeof(S) == 1) {
        return O::movemask(v);
    } else if constexpr (sizeof(D) == 1) {
        return ~O::template atMost<S>(v, splat<O, S, 0x7F>()) & kAllLanes<sizeof(v)>;
    } else if constexpr (sizeof(S) == 2) {
        // UTF-16 -> UTF-32: every unit but a surrogate.
        return O::movemask(equal<u16>(v & splat<O, u16, 0xF800>(), splat<O, u16, 0xD800>()));
    } else {
        // UTF-32 -> UTF-16: code points of the BMP, no surrogate.
        const std::uint32_t surrogate =
            O::template atMost<S>(sub<S>(v, splat<O, S, 0xD800>()), splat<O, S, 0x7FF>());
        return (surrogate | ~O::template atMost<S>(v, splat<O, S, 0xFFFF>())) & kAllLanes<sizeof(v)>;
    }
}

// Whether the pair takes the unit u at once (as otherBits).
template <class S, class D>
inline bool isSimple(S unit) {
    const u32 u = static_cast<u32>(unit);
    if constexpr (sizeof(S) == 1 || sizeof(D) == 1) return u < 0x80u;
    else if constexpr (sizeof(S) == 2) return (u & 0xF800u) != 0xD800u;
    else return u < 0xD800u || (u >= 0xE000u && u <= 0xFFFFu);
}
// Takes whole vectors of simple units from *pp (see otherBits) while `left`
// holds one, then the simple units at the start of the next vector, or one by
// one those of the last `left` units that make no whole vector, and stops
// before the first other unit. *out is where they go (an output
// position, advanced past the units written), or a count that they are added
// to. Other: it stopped before such a unit.
template <class O, class S, class D, class Out>
QEL_VEC_TARGET inline bool takeSimple(const S** pp, Out* out, std::size_t left) {
    constexpr bool kWrite = std::is_same_v<Out, D*>;
    using V = typename O::V;
    constexpr std::size_t kLanes = sizeof(V) / sizeof(S);
    const S* p = *pp;
    Out o = *out;
    for (; left >= kLanes; left -= kLanes) {
        const V v = load<V>(p);
        const std::uint32_t other = otherBits<O, S, D>(v);
        if (other != 0) {
            std::size_t k = __builtin_ctz(other) / sizeof(S);
            if constexpr (kWrite) {
                for (; k > 0; --k) *o++ = static_cast<D>(*p++);
            } else {
                p += k;
                o += static_cast<Out>(k);
            }
            *pp = p;
            *out = o;
            return true;
        }
        if constexpr (kWrite) O::template storePlain<S, D>(v, o);
        p += kLanes;
        o += static_cast<std::conditional_t<kWrite, std::ptrdiff_t, Out>>(kLanes);
    }
    for (; left > 0 && isSimple<S, D>(*p); --left) {
        if constexpr (kWrite) {
            *o++ = static_cast<D>(*p++);
        } else {
            ++p;
            ++o;
        }
    }
    *pp = p;
    *out = o;
    return left > 0;
}

template <class O, class S, class D>
QEL_VEC_TARGET Stop convertSimple(const S** pp, const S* end, D** oo, const D* outEnd) noexcept {
    const std::size_t left = takeable(*pp, end, *oo, outEnd);
    const bool byRoom = left < static_cast<std::size_t>(end - *pp) - 1;
    if (takeSimple<O, S, D>(pp, oo, left)) return Stop::Other;
    return byRoom ? Stop::Room : Stop::End;
}

template <class O, class S, class D>
QEL_VEC_TARGET Stop measureSimple(const S** pp, const S* end, unsigned int* count) noexcept {
    return takeSimple<O, S, D>(pp, count, static_cast<std::size_t>(end - *pp) - 1) ? Stop::Other : Stop::End;
}

// The table of the set of O.
template <class O>
constexpr Kernels makeKernels() {
    Kernels k;
    k.u8u16 = {&convertSimple<O, u8, u16>, &measureSimple<O, u8, u16>};
    k.u8u32 = {&convertSimple<O, u8, u32>, &measureSimple<O, u8, u32>};
    k.u16u8 = {&convertSimple<O, u16, char>, &measureSimple<O, u16, char>};
    k.u16u32 = {&convertSimple<O, u16, u32>, &measureSimple<O, u16, u32>};
    k.u32u8 = {&convertSimple<O, u32, char>, &measureSimple<O, u32, char>};
    k.u32u16 = {&convertSimple<O, u32, u16>, &measureSimple<O, u32, u16>};
    k.scan8 = {&findStop<O, u8>, &findSpecial<O, u8>};
    k.scan16 = {&findStop<O, u16>, &findSpecial<O, u16>};
    k.scan32 = {&findStop<O, u32>, &findSpecial<O, u32>};
    k.plain8to16 = &copyPlain<O, u8, u16>;
    k.plain8to32 = &copyPlain<O, u8, u32>;
    k.plain16to8 = &copyPlain<O, u16, char>;
    k.plain16to32 = &copyPlain<O, u16, u32>;
    k.plain32to8 = &copyPlain<O, u32, char>;
    k.plain32to16 = &copyPlain<O, u32, u16>;
    return k;
}

}  // namespace
}  // namespace simd
}  // namespace qel
