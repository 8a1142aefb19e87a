// SPDX-License-Identifier: MIT
// AVX-512 kernels (F, BW, VL, VBMI, VBMI2 and BMI2): 64 bytes of UTF-8, 32
// units of UTF-16 or 16 of UTF-32 per step, partial steps by masked loads
// and stores, so that nothing outside the run or the output is read or
// written. Every function carries its target attribute itself, so that no
// code outside this file is built for these instructions.
//
// A UTF-8 step lists the lead bytes (every byte that is not 10xxxxxx) of the
// block, gathers the first to fourth byte of each character into one lane per
// character, and accepts the characters from the first on while each one is
// well formed: its lead byte announces exactly as many bytes as lie before
// the next lead byte (or the block's end), and its second byte is in range.
// UTF-16 and UTF-32 steps check surrogates and code-point ranges lane by
// lane. A step takes the longest prefix of whole, well-formed characters and
// leaves the rest to the next step or to the per-character code.
#include "simd/simd.h"


// GCC 12 warns about the deliberately undefined vectors inside its own
// AVX-512 intrinsics (a known false positive).
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#define QEL_AVX512 \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512dq,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt")))
// The walker kernels read bytes past a zero unit (in its aligned block, or
// for convertText its memory page), which these sanitizers would report.
#define QEL_AVX512_SCAN QEL_AVX512 __attribute__((no_sanitize("address", "thread")))

namespace qel {
namespace simd {
namespace {

using V = __m512i;

alignas(64) constexpr unsigned char kIota8[64] = {
    0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
    22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43,
    44, 45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};
alignas(64) constexpr unsigned char kIotaPlus1[64] = {
    1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
    23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44,
    45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63, 63};
alignas(64) constexpr unsigned char kIotaPlus2[64] = {
    2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23,
    24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45,
    46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63, 63, 63};
// Word indices that interleave two vectors of 32 words a and b into
// a0 b0 a1 b1 ... a15 b15 and a16 b16 ... a31 b31.
alignas(64) constexpr unsigned short kInterleaveLow16[32] = {
    0, 32, 1, 33, 2, 34, 3, 35, 4, 36, 5, 37, 6, 38, 7, 39, 8, 40, 9, 41, 10, 42, 11, 43, 12, 44, 13, 45, 14, 46, 15, 47};
alignas(64) constexpr unsigned short kInterleaveHigh16[32] = {16, 48, 17, 49, 18, 50, 19, 51, 20, 52, 21,
                                                             53, 22, 54, 23, 55, 24, 56, 25, 57, 26, 58,
                                                             27, 59, 28, 60, 29, 61, 30, 62, 31, 63};
// Byte indices into two vectors a and b of 32 16-bit lanes that put, for
// lane k, bytes 2k and 2k + 1 of a and byte 2k of b one after another (96
// bytes in two vectors).
alignas(64) constexpr unsigned char kThreeBytes[128] = {
    0, 1, 64, 2, 3, 66, 4, 5, 68, 6, 7, 70, 8, 9, 72, 10,
    11, 74, 12, 13, 76, 14, 15, 78, 16, 17, 80, 18, 19, 82, 20, 21,
    84, 22, 23, 86, 24, 25, 88, 26, 27, 90, 28, 29, 92, 30, 31, 94,
    32, 33, 96, 34, 35, 98, 36, 37, 100, 38, 39, 102, 40, 41, 104, 42,
    43, 106, 44, 45, 108, 46, 47, 110, 48, 49, 112, 50, 51, 114, 52, 53,
    116, 54, 55, 118, 56, 57, 120, 58, 59, 122, 60, 61, 124, 62, 63, 126,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
// Byte indices that gather, from 63 bytes of 21 three-byte characters, the
// third and second byte of character k into 16-bit lane k (kThreeTo16Low),
// its first byte into the low byte of lane k (kThreeTo16Lead), or its third,
// second and first byte into 32-bit lane k (kThreeTo32, two vectors).
alignas(64) constexpr unsigned char kThreeTo16Low[64] = {
    2, 1, 5, 4, 8, 7, 11, 10, 14, 13, 17, 16, 20, 19, 23, 22,
    26, 25, 29, 28, 32, 31, 35, 34, 38, 37, 41, 40, 44, 43, 47, 46,
    50, 49, 53, 52, 56, 55, 59, 58, 62, 61, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
alignas(64) constexpr unsigned char kThreeTo16Lead[64] = {
    0, 0, 3, 3, 6, 6, 9, 9, 12, 12, 15, 15, 18, 18, 21, 21,
    24, 24, 27, 27, 30, 30, 33, 33, 36, 36, 39, 39, 42, 42, 45, 45,
    48, 48, 51, 51, 54, 54, 57, 57, 60, 60, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
alignas(64) constexpr unsigned char kThreeTo32[128] = {
    2, 1, 0, 0, 5, 4, 3, 3, 8, 7, 6, 6, 11, 10, 9, 9,
    14, 13, 12, 12, 17, 16, 15, 15, 20, 19, 18, 18, 23, 22, 21, 21,
    26, 25, 24, 24, 29, 28, 27, 27, 32, 31, 30, 30, 35, 34, 33, 33,
    38, 37, 36, 36, 41, 40, 39, 39, 44, 43, 42, 42, 47, 46, 45, 45,
    50, 49, 48, 48, 53, 52, 51, 51, 56, 55, 54, 54, 59, 58, 57, 57,
    62, 61, 60, 60, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
constexpr std::uint64_t kEvenBits64 = 0x5555555555555555ull;
constexpr std::uint64_t kOddBits64 = 0xAAAAAAAAAAAAAAAAull;
constexpr std::uint64_t kFirstOfFour64 = 0x1111111111111111ull;

QEL_AVX512 inline std::uint64_t low64(std::size_t n) { return _bzhi_u64(~0ull, static_cast<unsigned>(n)); }
QEL_AVX512 inline std::uint32_t low32(std::size_t n) { return _bzhi_u32(~0u, static_cast<unsigned>(n)); }
QEL_AVX512 inline std::uint32_t low16(std::size_t n) { return _bzhi_u32(0xFFFFu, static_cast<unsigned>(n)); }

inline std::size_t smaller(std::size_t a, std::size_t b) { return a < b ? a : b; }

// Every byte, 16-bit or 32-bit lane holding one constant, read from the
// pattern pool (see simd.h).
template <std::uint32_t kPattern>
QEL_AVX512 inline V splat() {
    constexpr int kIndex = patternIndex(kPattern);
    static_assert(kIndex >= 0, "every constant of the kernels is in the pattern pool");
    return _mm512_set1_epi32(static_cast<int>(kPatternPool[kIndex]));
}
template <std::uint32_t kByte>
QEL_AVX512 inline V b8() {
    return splat<(kByte & 0xFFu) * 0x01010101u>();
}
template <std::uint32_t kWord>
QEL_AVX512 inline V b16() {
    return splat<(kWord & 0xFFFFu) * 0x00010001u>();
}
template <std::uint32_t kDword>
QEL_AVX512 inline V b32() {
    return splat<kDword>();
}

// a | (b & c), in one instruction.
QEL_AVX512 inline V orAnd(V a, V b, V c) { return _mm512_ternarylogic_epi32(a, b, c, 0xF8); }

QEL_AVX512 inline unsigned highestBit(std::uint64_t m) { return 63u - static_cast<unsigned>(_lzcnt_u64(m)); }

// Quarter G (16 bytes) and half H (32 bytes) of a vector.
template <unsigned G>
QEL_AVX512 inline __m128i quarter(V v) {
    if constexpr (G == 0) return _mm512_castsi512_si128(v);
    else return _mm512_extracti32x4_epi32(v, G);
}
template <unsigned H>
QEL_AVX512 inline __m256i half(V v) {
    if constexpr (H == 0) return _mm512_castsi512_si256(v);
    else return _mm512_extracti64x4_epi64(v, 1);
}

// Lanes of group `g` (of `width` lanes) among the first `count` lanes.
inline std::size_t groupLanes(std::size_t count, unsigned g, unsigned width) {
    const std::size_t from = static_cast<std::size_t>(g) * width;
    return count > from ? count - from : 0;
}

// How far a convert kernel may take input from p without looking at its
// output: to one unit before the end, and no further than leaves one unit of
// output room when every input unit gives at most `perUnit` output units.
// Kept for a stretch of steps, so that the size of a step does not wait on
// the output count of the one before; only the last steps before the room's
// end look at the output of their characters.
template <class S, class D>
inline const S* inputLimit(const S* p, const S* end, const D* o, const D* outEnd, std::size_t perUnit) {
    const std::size_t byRoom = (static_cast<std::size_t>(outEnd - o) - 1) / perUnit;
    return p + smaller(static_cast<std::size_t>(end - p) - 1, byRoom);
}

// A step's output units, each character counted at its first lane: a lane
// costs as many units as there are masks that hold it, and lanes inside a
// character cost nothing.
struct LaneCosts {
    std::uint64_t m0 = 0, m1 = 0, m2 = 0, m3 = 0;
    QEL_AVX512 std::size_t below(std::size_t k) const {
        const std::uint64_t b = low64(k);
        return static_cast<std::size_t>(_mm_popcnt_u64(m0 & b) + _mm_popcnt_u64(m1 & b) + _mm_popcnt_u64(m2 & b) +
                                        _mm_popcnt_u64(m3 & b));
    }
};

// The most lanes of the first n whose output fits in `room`: they end before
// a character's first lane (only such lanes cost anything), so the lanes
// taken are whole characters. For a step that would not fit as a whole.
QEL_AVX512 inline std::size_t fitLanes(const LaneCosts& c, std::size_t n, std::size_t room) {
    if (c.below(n) <= room) return n;
    std::size_t lo = 0, hi = n;  // lo fits, hi does not
    while (hi - lo > 1) {
        const std::size_t mid = (lo + hi) / 2;
        if (c.below(mid) <= room) lo = mid;
        else hi = mid;
    }
    return lo;
}

// When a wide step (64 units of one kind) is tried: at once after one that
// took its units, and after one that did not only further on, the further the
// more of them in a row did not.
class WideRetry {
public:
    explicit WideRetry(const void* p) : from_(reinterpret_cast<std::uintptr_t>(p)) {}
    bool due(const void* p) const { return reinterpret_cast<std::uintptr_t>(p) >= from_; }
    void took() { skip_ = kFirstSkip; }
    void missed(const void* p, std::size_t unitSize) {
        from_ = reinterpret_cast<std::uintptr_t>(p) + skip_ * unitSize;
        if (skip_ < kLongestSkip) skip_ *= 2;
    }

private:
    static constexpr std::size_t kFirstSkip = 64, kLongestSkip = 1024;
    std::uintptr_t from_;
    std::size_t skip_ = kFirstSkip;
};

// ---- UTF-8 decoding ---------------------------------------------------------------

struct Utf8Block {
    unsigned count;        // lead bytes in the block
    unsigned chars;        // characters taken
    unsigned bytes;        // their bytes
    V b0, b1, b2, b3;      // lane k: first to fourth byte of character k
    std::uint64_t two;     // characters of two or more bytes
    std::uint64_t three;   // of three or more
    std::uint64_t four;    // of four
};

// The longest run of whole, well-formed characters at the start of the n
// bytes (1..64) held in `in` (lanes from n on are zero).
QEL_AVX512 inline void decodeUtf8(V in, unsigned n, Utf8Block& blk) {
    const std::uint64_t live = low64(n);
    const std::uint64_t cont = _mm512_cmpeq_epi8_mask(_mm512_and_si512(in, b8<0xC0>()), b8<0x80>());
    const std::uint64_t lead = live & ~cont;
    blk.count = static_cast<unsigned>(_mm_popcnt_u64(lead));
    if ((lead & 1u) == 0) {
        blk.chars = blk.bytes = 0;
        return;
    }
    const V iota = _mm512_load_si512(kIota8);
    const V one = b8<1>();
    const V pos = _mm512_maskz_compress_epi8(lead, iota);
    const V pos1 = _mm512_add_epi8(pos, one);
    const V pos2 = _mm512_add_epi8(pos1, one);
    const V pos3 = _mm512_add_epi8(pos2, one);
    const V b0 = _mm512_permutexvar_epi8(pos, in);
    const V b1 = _mm512_permutexvar_epi8(pos1, in);
    blk.b0 = b0;
    blk.b1 = b1;
    blk.b2 = _mm512_permutexvar_epi8(pos2, in);
    blk.b3 = _mm512_permutexvar_epi8(pos3, in);

    const std::uint64_t two = _mm512_cmpge_epu8_mask(b0, b8<0xC0>());
    const std::uint64_t three = _mm512_cmpge_epu8_mask(b0, b8<0xE0>());
    const std::uint64_t four = _mm512_cmpge_epu8_mask(b0, b8<0xF0>());
    V len = one;
    len = _mm512_mask_add_epi8(len, two, len, one);
    len = _mm512_mask_add_epi8(len, three, len, one);
    len = _mm512_mask_add_epi8(len, four, len, one);
    // Lane k: where character k + 1 starts, or the block's end for the last.
    V following = _mm512_permutexvar_epi8(_mm512_add_epi8(iota, one), pos);
    following = _mm512_mask_set1_epi8(following, 1ull << (blk.count - 1), static_cast<char>(n));
    std::uint64_t good = _mm512_cmpeq_epi8_mask(following, _mm512_add_epi8(pos, len));

    std::uint64_t bad = _mm512_cmplt_epu8_mask(_mm512_sub_epi8(b0, b8<0xC0>()), b8<2>());  // C0, C1
    bad |= _mm512_cmpge_epu8_mask(b0, b8<0xF5>());
    if (three != 0) {
        bad |= _mm512_mask_cmplt_epu8_mask(_mm512_cmpeq_epi8_mask(b0, b8<0xE0>()), b1, b8<0xA0>());  // overlong
        bad |= _mm512_mask_cmpge_epu8_mask(_mm512_cmpeq_epi8_mask(b0, b8<0xED>()), b1, b8<0xA0>());  // surrogate
        bad |= _mm512_mask_cmplt_epu8_mask(_mm512_cmpeq_epi8_mask(b0, b8<0xF0>()), b1, b8<0x90>());  // overlong
        bad |= _mm512_mask_cmpge_epu8_mask(_mm512_cmpeq_epi8_mask(b0, b8<0xF4>()), b1, b8<0x90>());  // > U+10FFFF
    }
    good &= ~bad & low64(blk.count);
    const unsigned chars = static_cast<unsigned>(_tzcnt_u64(~good));
    blk.chars = chars;
    blk.bytes = chars == blk.count ? n : static_cast<unsigned>(_tzcnt_u64(_pdep_u64(1ull << chars, lead)));
    blk.two = two;
    blk.three = three;
    blk.four = four;
}

// Code points of characters 16G..16G+15 of a block, one per 32-bit lane.
template <unsigned g>
QEL_AVX512 inline V codePoints32(const Utf8Block& blk) {
    const __mmask16 m2 = static_cast<__mmask16>(blk.two >> (16 * g));
    const __mmask16 m3 = static_cast<__mmask16>(blk.three >> (16 * g));
    const __mmask16 m4 = static_cast<__mmask16>(blk.four >> (16 * g));
    const V low6 = b32<0x3F>();
    V acc = _mm512_cvtepu8_epi32(quarter<g>(blk.b0));
    const V c1 = _mm512_and_si512(_mm512_cvtepu8_epi32(quarter<g>(blk.b1)), low6);
    const V c2 = _mm512_and_si512(_mm512_cvtepu8_epi32(quarter<g>(blk.b2)), low6);
    const V c3 = _mm512_and_si512(_mm512_cvtepu8_epi32(quarter<g>(blk.b3)), low6);
    acc = _mm512_mask_or_epi32(acc, m2, _mm512_slli_epi32(acc, 6), c1);
    acc = _mm512_mask_or_epi32(acc, m3, _mm512_slli_epi32(acc, 6), c2);
    acc = _mm512_mask_or_epi32(acc, m4, _mm512_slli_epi32(acc, 6), c3);
    // The lead byte's length bits now stand above the code point.
    V keep = b32<0x7Fu>();
    keep = _mm512_mask_mov_epi32(keep, m2, b32<0x7FFu>());
    keep = _mm512_mask_mov_epi32(keep, m3, b32<0xFFFFu>());
    keep = _mm512_mask_mov_epi32(keep, m4, b32<0x1FFFFFu>());
    return _mm512_and_si512(acc, keep);
}

// Code points of characters 32H..32H+31 of a block without four-byte
// characters, one per 16-bit lane.
template <unsigned h>
QEL_AVX512 inline V codePoints16(const Utf8Block& blk) {
    const __mmask32 m2 = static_cast<__mmask32>(blk.two >> (32 * h));
    const __mmask32 m3 = static_cast<__mmask32>(blk.three >> (32 * h));
    const V low6 = b16<0x3F>();
    V acc = _mm512_cvtepu8_epi16(half<h>(blk.b0));
    const V c1 = _mm512_and_si512(_mm512_cvtepu8_epi16(half<h>(blk.b1)), low6);
    const V c2 = _mm512_and_si512(_mm512_cvtepu8_epi16(half<h>(blk.b2)), low6);
    acc = _mm512_mask_mov_epi16(acc, m2, _mm512_or_si512(_mm512_slli_epi16(acc, 6), c1));
    acc = _mm512_mask_mov_epi16(acc, m3, _mm512_or_si512(_mm512_slli_epi16(acc, 6), c2));
    // Three-byte forms lose their length bits above bit 15; two-byte ones
    // keep them at bits 11..13.
    return _mm512_and_si512(acc, _mm512_mask_mov_epi16(b16<0xFFFF>(), m2 & ~m3, b16<0x7FF>()));
}

// Writes 16 code points (lanes in `live`, a prefix) as UTF-16; returns the
// units written.
QEL_AVX512 inline unsigned storeUtf16(V cp, __mmask16 live, u16* o) {
    const __mmask16 sup = _mm512_mask_cmpge_epu32_mask(live, cp, b32<0x10000u>());
    if (sup == 0) {
        _mm512_mask_cvtepi32_storeu_epi16(o, live, cp);
        return static_cast<unsigned>(_mm_popcnt_u32(live));
    }
    // High surrogate 0xD7C0 + (cp >> 10) in the low half of the lane, low
    // surrogate 0xDC00 + the low ten bits in the high half.
    const V surrogateBase = _mm512_mask_blend_epi16(0x55555555u, b16<0xDC00>(), b16<0xD7C0>());
    const V high = _mm512_add_epi32(_mm512_srli_epi32(cp, 10), surrogateBase);
    const V pair = orAnd(high, _mm512_slli_epi32(cp, 16), _mm512_slli_epi32(b32<0x3FFu>(), 16));
    const V words = _mm512_mask_mov_epi32(cp, sup, pair);
    const __mmask32 keep = _pdep_u32(live, 0x55555555u) | _pdep_u32(sup, 0xAAAAAAAAu);
    const V packed = _mm512_maskz_compress_epi16(keep, words);
    const unsigned count = static_cast<unsigned>(_mm_popcnt_u32(keep));
    _mm512_mask_storeu_epi16(o, low32(count), packed);
    return count;
}

// Writes 16 code points (lanes in `live`) as UTF-8; returns the bytes
// written.
QEL_AVX512 inline unsigned storeUtf8(V cp, __mmask16 live, char* o) {
    const V low6 = b32<0x3F>();
    const V t0 = _mm512_or_si512(_mm512_and_si512(cp, low6), b32<0x80>());
    const V t1 = _mm512_or_si512(_mm512_and_si512(_mm512_srli_epi32(cp, 6), low6), b32<0x80>());
    const V t2 = _mm512_or_si512(_mm512_and_si512(_mm512_srli_epi32(cp, 12), low6), b32<0x80>());
    const __mmask16 m2 = _mm512_cmpge_epu32_mask(cp, b32<0x80>());
    const __mmask16 m3 = _mm512_cmpge_epu32_mask(cp, b32<0x800>());
    const __mmask16 m4 = _mm512_cmpge_epu32_mask(cp, b32<0x10000>());
    V w = cp;
    w = _mm512_mask_mov_epi32(
        w, m2, _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi32(cp, 6), b32<0xC0>()), _mm512_slli_epi32(t0, 8)));
    w = _mm512_mask_mov_epi32(
        w, m3,
        _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi32(cp, 12), b32<0xE0>()),
                        _mm512_or_si512(_mm512_slli_epi32(t1, 8), _mm512_slli_epi32(t0, 16))));
    w = _mm512_mask_mov_epi32(
        w, m4,
        _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi32(cp, 18), b32<0xF0>()),
                        _mm512_or_si512(_mm512_slli_epi32(t2, 8),
                                        _mm512_or_si512(_mm512_slli_epi32(t1, 16), _mm512_slli_epi32(t0, 24)))));
    w = _mm512_maskz_mov_epi32(live, w);
    // Every byte of an encoded form is non-zero except a U+0000 character,
    // whose one byte is the first of its lane.
    const std::uint64_t keep = _mm512_test_epi8_mask(w, w) | _pdep_u64(live, kFirstOfFour64);
    const V packed = _mm512_maskz_compress_epi8(keep, w);
    const unsigned count = static_cast<unsigned>(_mm_popcnt_u64(keep));
    _mm512_mask_storeu_epi8(o, low64(count), packed);
    return count;
}

// ---- well-formed UTF-8 blocks ------------------------------------------------------

// A block of well-formed characters is checked by where its continuation
// bytes stand: exactly one after each two-byte lead, two after each
// three-byte lead and three after each four-byte lead, and nowhere else, with
// no lead byte C0, C1 or from F5, and the second byte in range after E0, ED,
// F0 and F4. Each character is then decoded at its lead byte from the bytes
// that follow it, in 16-bit lanes, and the lanes of the lead bytes are packed
// together; in UTF-16 a four-byte character puts its high surrogate on its
// lead byte and its low surrogate on the byte after it.
struct FastBlock {
    std::uint64_t lead;   // lead bytes, one per character
    std::uint64_t multi;  // leads of two or more bytes
    std::uint64_t three;  // of three or more
    std::uint64_t four;   // of four
    V in, next1, next2;   // the block, and shifted by one and two bytes
};

// The `whole` bytes (from wholeBytes) of `in` as a block of well-formed
// characters; false when anything in them is ill-formed (the general decoder
// then finds how far the block is well-formed).
QEL_AVX512 inline bool checkFast(V in, unsigned whole, FastBlock& blk) {
    if (whole == 0) return false;
    const std::uint64_t live = low64(whole);
    const std::uint64_t cont = _mm512_mask_cmpeq_epi8_mask(live, _mm512_and_si512(in, b8<0xC0>()), b8<0x80>());
    const std::uint64_t multi = _mm512_mask_cmpge_epu8_mask(live, in, b8<0xC0>());
    const std::uint64_t three = _mm512_mask_cmpge_epu8_mask(live, in, b8<0xE0>());
    const std::uint64_t four = _mm512_mask_cmpge_epu8_mask(live, in, b8<0xF0>());
    const std::uint64_t refused = _mm512_mask_cmpge_epu8_mask(live, in, b8<0xF5>()) |
                                  _mm512_mask_cmplt_epu8_mask(live, _mm512_sub_epi8(in, b8<0xC0>()), b8<2>());
    // A lead byte at the block's last positions announces bytes beyond it:
    // the shift loses them, but wholeBytes has moved `whole` before it.
    if (refused != 0 || ((multi << 1) | (three << 2) | (four << 3)) != cont) return false;
    const V next1 = _mm512_permutexvar_epi8(_mm512_load_si512(kIotaPlus1), in);
    if (three != 0) {
        const std::uint64_t rangeBad =
            _mm512_mask_cmplt_epu8_mask(_mm512_mask_cmpeq_epi8_mask(three, in, b8<0xE0>()), next1, b8<0xA0>()) |
            _mm512_mask_cmpge_epu8_mask(_mm512_mask_cmpeq_epi8_mask(three, in, b8<0xED>()), next1, b8<0xA0>()) |
            _mm512_mask_cmplt_epu8_mask(_mm512_mask_cmpeq_epi8_mask(four, in, b8<0xF0>()), next1, b8<0x90>()) |
            _mm512_mask_cmpge_epu8_mask(_mm512_mask_cmpeq_epi8_mask(four, in, b8<0xF4>()), next1, b8<0x90>());
        if (rangeBad != 0) return false;
        blk.next2 = _mm512_permutexvar_epi8(_mm512_load_si512(kIotaPlus2), in);
    }
    blk.lead = live & ~cont;
    blk.multi = multi;
    blk.three = three;
    blk.four = four;
    blk.in = in;
    blk.next1 = next1;
    return true;
}

// 16-bit values of positions 32H..32H+31: the code point at the lead byte of
// a character of the BMP, the surrogates of a four-byte one at its lead byte
// and the byte after it (kUtf16), or the low 16 bits of its code point at its
// lead byte (not kUtf16).
template <unsigned h, bool kUtf16>
QEL_AVX512 inline V fastValues(const FastBlock& blk) {
    const V low6 = b16<0x3F>();
    const V b = _mm512_cvtepu8_epi16(half<h>(blk.in));
    const V n1 = _mm512_and_si512(_mm512_cvtepu8_epi16(half<h>(blk.next1)), low6);
    const __mmask32 m2 = static_cast<__mmask32>(blk.multi >> (32 * h));
    // Two bytes: 110xxxxx 10yyyyyy -> xxxxxyyyyyy.
    V v = _mm512_mask_mov_epi16(b, m2, _mm512_and_si512(_mm512_or_si512(_mm512_slli_epi16(b, 6), n1), b16<0x7FF>()));
    if (blk.three == 0) return v;
    const __mmask32 m3 = static_cast<__mmask32>(blk.three >> (32 * h));
    const V n2 = _mm512_and_si512(_mm512_cvtepu8_epi16(half<h>(blk.next2)), low6);
    // Three bytes: the lead's length bits leave the 16-bit lane.
    v = _mm512_mask_mov_epi16(v, m3, _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi16(b, 12), _mm512_slli_epi16(n1, 6)), n2));
    if (blk.four == 0) return v;
    const __mmask32 m4 = static_cast<__mmask32>(blk.four >> (32 * h));
    if constexpr (kUtf16) {
        // High surrogate 0xD800 + ((cp - 0x10000) >> 10) = 0xD7C0 + (cp >> 10);
        // low surrogate, on the byte after the lead, from that byte's next two.
        const V above10 = _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(b, b16<7>()), 8),
                                                          _mm512_slli_epi16(n1, 2)),
                                          _mm512_srli_epi16(n2, 4));
        v = _mm512_mask_mov_epi16(v, m4, _mm512_add_epi16(above10, b16<0xD7C0>()));
        const __mmask32 mLow = static_cast<__mmask32>((blk.four << 1) >> (32 * h));
        const V lowSur = _mm512_or_si512(
            _mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(n1, b16<0xF>()), 6), n2), b16<0xDC00>());
        v = _mm512_mask_mov_epi16(v, mLow, lowSur);
    } else {
        // The low 16 bits: 4 of the second byte, 6 of the third and the fourth.
        const V next3 = _mm512_permutexvar_epi8(_mm512_load_si512(kIotaPlus1), blk.next2);
        const V n3 = _mm512_and_si512(_mm512_cvtepu8_epi16(half<h>(next3)), low6);
        const V low16 = _mm512_or_si512(
            _mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(n1, b16<0xF>()), 12), _mm512_slli_epi16(n2, 6)), n3);
        v = _mm512_mask_mov_epi16(v, m4, low16);
    }
    return v;
}

// The bits 16..20 of the code points of four-byte characters at their lead
// bytes, positions 32H..32H+31.
template <unsigned h>
QEL_AVX512 inline V fastHighBits(const FastBlock& blk) {
    const V b = _mm512_cvtepu8_epi16(half<h>(blk.in));
    const V n1 = _mm512_and_si512(_mm512_cvtepu8_epi16(half<h>(blk.next1)), b16<0x3F>());
    const V high = _mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(b, b16<7>()), 2), _mm512_srli_epi16(n1, 4));
    return _mm512_maskz_mov_epi16(static_cast<__mmask32>(blk.four >> (32 * h)), high);
}

// Writes `count` packed 16-bit values (and their bits 16..20) as UTF-32.
QEL_AVX512 inline void storeWide(V packed, V packedHigh, bool high, unsigned count, u32* o) {
    V w0 = _mm512_cvtepu16_epi32(half<0>(packed));
    V w1 = _mm512_cvtepu16_epi32(half<1>(packed));
    if (high) {
        w0 = _mm512_or_si512(w0, _mm512_slli_epi32(_mm512_cvtepu16_epi32(half<0>(packedHigh)), 16));
        w1 = _mm512_or_si512(w1, _mm512_slli_epi32(_mm512_cvtepu16_epi32(half<1>(packedHigh)), 16));
    }
    _mm512_mask_storeu_epi32(o, static_cast<__mmask16>(low16(count)), w0);
    _mm512_mask_storeu_epi32(o + 16, static_cast<__mmask16>(low16(groupLanes(count, 1, 16))), w1);
}

// Bytes 0, 3, ..., 60: where the characters of 63 bytes of three-byte
// characters start.
constexpr std::uint64_t kEveryThirdOf63 = 0x1249249249249249ull;

// Writes the 21 characters of a block of 63 bytes of three-byte characters
// (a stretch of most CJK text), whose bytes stand at fixed places: gathered
// by fixed byte permutations, without packing.
template <class D>
QEL_AVX512 inline unsigned writeThreeByteBlock(V in, D* o) {
    const V low6 = b16<0x3F>();
    if constexpr (sizeof(D) == 2) {
        // Lane k: third byte | second byte << 8, and the first byte.
        const V tail = _mm512_permutexvar_epi8(_mm512_load_si512(kThreeTo16Low), in);
        const V lead = _mm512_permutexvar_epi8(_mm512_load_si512(kThreeTo16Lead), in);
        const V mid = _mm512_and_si512(_mm512_srli_epi16(tail, 2), _mm512_slli_epi16(low6, 6));
        // (tail & 0x3F) | mid, then the first byte's four bits on top.
        const V cp = _mm512_or_si512(_mm512_ternarylogic_epi32(tail, mid, low6, 0xEC), _mm512_slli_epi16(lead, 12));
        _mm512_mask_storeu_epi16(o, low32(21), cp);
    } else {
        // Lane k: third byte | second byte << 8 | first byte << 16.
        const V mid6 = _mm512_slli_epi32(b32<0x3F>(), 6), top4 = _mm512_slli_epi32(b32<0xF0>(), 8);
        for (unsigned h = 0; h < 2; ++h) {
            const V v = _mm512_permutexvar_epi8(_mm512_load_si512(kThreeTo32 + 64 * h), in);
            const V lowTwelve =
                _mm512_ternarylogic_epi32(v, _mm512_and_si512(_mm512_srli_epi32(v, 2), mid6), b32<0x3F>(), 0xEC);
            const V cp = orAnd(lowTwelve, _mm512_srli_epi32(v, 4), top4);
            _mm512_mask_storeu_epi32(o + 16 * h, static_cast<__mmask16>(h == 0 ? 0xFFFFu : 0x1Fu), cp);
        }
    }
    return 21;
}

// Writes the characters of a well-formed block as UTF-16 or UTF-32; returns
// the units written.
template <class D>
QEL_AVX512 inline unsigned writeFast(const FastBlock& blk, D* o) {
    if (blk.lead == kEveryThirdOf63 && blk.three == blk.lead && blk.four == 0)
        return writeThreeByteBlock(blk.in, o);
    if constexpr (sizeof(D) == 2) {
        const std::uint64_t units = blk.lead | (blk.four << 1);
        const __mmask32 u0 = static_cast<__mmask32>(units), u1 = static_cast<__mmask32>(units >> 32);
        const unsigned c0 = static_cast<unsigned>(_mm_popcnt_u32(u0));
        const unsigned c1 = static_cast<unsigned>(_mm_popcnt_u32(u1));
        _mm512_mask_storeu_epi16(o, low32(c0), _mm512_maskz_compress_epi16(u0, fastValues<0, true>(blk)));
        _mm512_mask_storeu_epi16(o + c0, low32(c1), _mm512_maskz_compress_epi16(u1, fastValues<1, true>(blk)));
        return c0 + c1;
    } else {
        const __mmask32 l0 = static_cast<__mmask32>(blk.lead), l1 = static_cast<__mmask32>(blk.lead >> 32);
        const unsigned c0 = static_cast<unsigned>(_mm_popcnt_u32(l0));
        const unsigned c1 = static_cast<unsigned>(_mm_popcnt_u32(l1));
        const bool high = blk.four != 0;
        const V p0 = _mm512_maskz_compress_epi16(l0, fastValues<0, false>(blk));
        const V p1 = _mm512_maskz_compress_epi16(l1, fastValues<1, false>(blk));
        const V h0 = high ? _mm512_maskz_compress_epi16(l0, fastHighBits<0>(blk)) : p0;
        const V h1 = high ? _mm512_maskz_compress_epi16(l1, fastHighBits<1>(blk)) : p1;
        storeWide(p0, h0, high, c0, o);
        storeWide(p1, h1, high, c1, o + c0);
        return c0 + c1;
    }
}

// ---- UTF-8 -> UTF-16 and UTF-32 ---------------------------------------------------

// The output of the first n bytes of `in` (see LaneCosts): one unit per lead
// byte, two in UTF-16 for a four-byte character.
template <class D>
QEL_AVX512 inline LaneCosts utf8Costs(V in, std::size_t n) {
    const std::uint64_t live = low64(n);
    LaneCosts c;
    c.m0 = live & ~_mm512_cmplt_epi8_mask(in, b8<0xC0>());
    if constexpr (sizeof(D) == 2) c.m1 = _mm512_mask_cmpge_epu8_mask(live, in, b8<0xF0>());
    return c;
}

// Widens n (up to 64) ASCII bytes into 16-bit units.
QEL_AVX512 inline void widenAsciiTo16(V in, std::size_t n, u16* o) {
    _mm512_mask_storeu_epi16(o, low32(n), _mm512_cvtepu8_epi16(half<0>(in)));
    _mm512_mask_storeu_epi16(o + 32, low32(groupLanes(n, 1, 32)), _mm512_cvtepu8_epi16(half<1>(in)));
}
QEL_AVX512 inline void widenAsciiTo32(V in, std::size_t n, u32* o) {
    _mm512_mask_storeu_epi32(o, static_cast<__mmask16>(low16(n)), _mm512_cvtepu8_epi32(quarter<0>(in)));
    _mm512_mask_storeu_epi32(o + 16, static_cast<__mmask16>(low16(groupLanes(n, 1, 16))),
                             _mm512_cvtepu8_epi32(quarter<1>(in)));
    _mm512_mask_storeu_epi32(o + 32, static_cast<__mmask16>(low16(groupLanes(n, 2, 16))),
                             _mm512_cvtepu8_epi32(quarter<2>(in)));
    _mm512_mask_storeu_epi32(o + 48, static_cast<__mmask16>(low16(groupLanes(n, 3, 16))),
                             _mm512_cvtepu8_epi32(quarter<3>(in)));
}

// Characters of one block written as UTF-16; returns the units written.
QEL_AVX512 inline unsigned writeUtf16(const Utf8Block& blk, u16* o) {
    const unsigned chars = blk.chars;
    if ((blk.four & low64(chars)) == 0) {
        _mm512_mask_storeu_epi16(o, low32(chars), codePoints16<0>(blk));
        if (chars > 32) _mm512_mask_storeu_epi16(o + 32, low32(chars - 32), codePoints16<1>(blk));
        return chars;
    }
    unsigned written = storeUtf16(codePoints32<0>(blk), static_cast<__mmask16>(low16(chars)), o);
    if (chars > 16) written += storeUtf16(codePoints32<1>(blk), static_cast<__mmask16>(low16(chars - 16)), o + written);
    if (chars > 32) written += storeUtf16(codePoints32<2>(blk), static_cast<__mmask16>(low16(chars - 32)), o + written);
    if (chars > 48) written += storeUtf16(codePoints32<3>(blk), static_cast<__mmask16>(low16(chars - 48)), o + written);
    return written;
}

// Where the last whole character among the n bytes at p ends, judged from
// the last three bytes alone (a lead byte there may announce more bytes than
// the block holds). For well-formed text this is where a step ends; the
// decoder checks it, so that the next step's start waits on three loads
// and not on the whole decoding.
inline unsigned wholeBytes(const u8* p, unsigned n) {
    const u32 b1 = p[n - 1];
    const u32 b2 = n >= 2 ? p[n - 2] : 0u;
    const u32 b3 = n >= 3 ? p[n - 3] : 0u;
    const bool cont1 = (b1 & 0xC0u) == 0x80u;
    const bool cont2 = (b2 & 0xC0u) == 0x80u;
    const unsigned cut = (b1 >= 0xC0u ? 1u : 0u) + (cont1 && b2 >= 0xE0u ? 2u : 0u) +
                         (cont1 && cont2 && b3 >= 0xF0u ? 3u : 0u);
    return n - cut;
}

// Whether a step may be followed by another: it took every character up to
// where wholeBytes put its end (not so after an ill-formed character).
inline bool tookWhole(const Utf8Block& blk) { return blk.chars == blk.count && blk.chars != 0; }

// Writes the characters that the general decoder took as UTF-16 or UTF-32;
// returns the units written.
template <class D>
QEL_AVX512 inline unsigned writeGeneral(const Utf8Block& blk, D* o) {
    if constexpr (sizeof(D) == 2) {
        return writeUtf16(blk, o);
    } else {
        const unsigned c = blk.chars;
        _mm512_mask_storeu_epi32(o, static_cast<__mmask16>(low16(c)), codePoints32<0>(blk));
        _mm512_mask_storeu_epi32(o + 16, static_cast<__mmask16>(low16(groupLanes(c, 1, 16))), codePoints32<1>(blk));
        _mm512_mask_storeu_epi32(o + 32, static_cast<__mmask16>(low16(groupLanes(c, 2, 16))), codePoints32<2>(blk));
        _mm512_mask_storeu_epi32(o + 48, static_cast<__mmask16>(low16(groupLanes(c, 3, 16))), codePoints32<3>(blk));
        return c;
    }
}

template <bool kToUtf16>
QEL_AVX512 Stop utf8Convert(const u8** pp, const u8* end, typename std::conditional<kToUtf16, u16, u32>::type** oo,
                            const typename std::conditional<kToUtf16, u16, u32>::type* outEnd) noexcept {
    const u8* p = *pp;
    auto* o = *oo;
    const u8* limit = p;
    for (;;) {
        // Output units never outnumber input bytes. The last few bytes before
        // the end are left to the per-character code: a step over them would
        // cost more than it takes.
        if (p >= limit) limit = inputLimit(p, end, o, outEnd, 1);
        std::size_t n = smaller(64, static_cast<std::size_t>(limit - p));
        bool cut = false;
        if (n < 64 && limit != end - 1) {
            // Near the room's end: a step over the input, cut to the
            // characters whose output fits, and the last.
            n = smaller(64, static_cast<std::size_t>(end - p) - 1);
            cut = true;
        }
        if (n < 4) break;
        V in = _mm512_maskz_loadu_epi8(low64(n), p);
        if (cut) {
            const std::size_t room = static_cast<std::size_t>(outEnd - o) - 1;
            const std::size_t fits = fitLanes(utf8Costs<std::conditional_t<kToUtf16, u16, u32>>(in, n), n, room);
            if (fits < n) {
                if (fits == 0) break;
                n = fits;
                in = _mm512_maskz_mov_epi8(low64(n), in);
            } else {
                cut = false;  // all of it fits: the limit moves on after it
            }
        }
        if (_mm512_movepi8_mask(in) == 0) {
            if constexpr (kToUtf16) {
                widenAsciiTo16(in, n, o);
            } else {
                widenAsciiTo32(in, n, o);
            }
            p += n;
            o += n;
            if (cut) break;
            continue;
        }
        const unsigned whole = wholeBytes(p, static_cast<unsigned>(n));
        FastBlock fast;
        if (checkFast(in, whole, fast)) {
            o += writeFast(fast, o);
            p += whole;
            if (cut) break;
            continue;
        }
        // Nothing whole in the step, or something ill-formed: the general
        // decoder finds the characters before it, and the per-character
        // code takes over after them.
        if (whole == 0) break;
        Utf8Block blk;
        decodeUtf8(in, whole, blk);
        o += writeGeneral(blk, o);
        // Past an ill-formed character the per-character code takes over.
        if (!tookWhole(blk)) {
            p += blk.bytes;
            break;
        }
        p += whole;
        if (cut) break;
    }
    *pp = p;
    *oo = o;
    return stopAt(p, end - 1, o, outEnd - 1);
}

template <bool kToUtf16>
QEL_AVX512 Stop utf8Measure(const u8** pp, const u8* end, unsigned int* count) noexcept {
    const u8* p = *pp;
    unsigned int total = *count;
    for (;;) {
        const std::size_t n = smaller(64, static_cast<std::size_t>(end - p) - 1);
        if (n == 0) break;
        const V in = _mm512_maskz_loadu_epi8(low64(n), p);
        if (_mm512_movepi8_mask(in) == 0) {
            p += n;
            total += static_cast<unsigned>(n);
            continue;
        }
        const unsigned whole = wholeBytes(p, static_cast<unsigned>(n));
        FastBlock fast;
        if (checkFast(in, whole, fast)) {
            total += static_cast<unsigned>(_mm_popcnt_u64(fast.lead));
            if (kToUtf16) total += static_cast<unsigned>(_mm_popcnt_u64(fast.four));
            p += whole;
            continue;
        }
        if (whole == 0) break;
        Utf8Block blk;
        decodeUtf8(in, whole, blk);
        total += blk.chars;
        if (kToUtf16) total += static_cast<unsigned>(_mm_popcnt_u64(blk.four & low64(blk.chars)));
        // Past an ill-formed character the per-character code takes over.
        if (!tookWhole(blk)) {
            p += blk.bytes;
            break;
        }
        p += whole;
    }
    *pp = p;
    *count = total;
    return p == end - 1 ? Stop::End : Stop::Other;
}

// ---- UTF-16 -> UTF-8 and UTF-32 -----------------------------------------------------

// Surrogate check of a block of UTF-16 units: how many of the n units at the
// start form whole characters, with the masks of high and low surrogates.
struct Utf16Block {
    unsigned taken;
    std::uint32_t high;
    std::uint32_t low;
};

// `nextLow` has bit n - 1 set when the unit after the block is a low
// surrogate that the step may take with a high surrogate in its last lane;
// `carried` is 1 when lane 0 is the low half of a pair that the step before
// wrote.
QEL_AVX512 inline Utf16Block checkUtf16(V units, std::size_t n, std::uint32_t nextLow = 0, std::uint32_t carried = 0) {
    const std::uint32_t live = low32(n);
    const V top6 = _mm512_and_si512(units, b16<0xFC00>());
    const std::uint32_t high = _mm512_mask_cmpeq_epi16_mask(live, top6, b16<0xD800>());
    const std::uint32_t low = _mm512_mask_cmpeq_epi16_mask(live, top6, b16<0xDC00>());
    if ((high | low) == 0) return {static_cast<unsigned>(n), 0, 0};
    const std::uint32_t bad = (high & ~((low >> 1) | nextLow)) | (low & ~((high << 1) | carried));
    const unsigned taken = bad == 0 ? static_cast<unsigned>(n) : static_cast<unsigned>(_tzcnt_u32(bad));
    return {taken, high, low};
}

// Writes the units in `take` (whole characters; surrogate pairs with their
// high half in `high` and low half in `low`, `following` the unit after each)
// as UTF-8. Each unit's form is built in 16-bit lanes as its first two bytes
// and its last two; a surrogate pair puts all four bytes on its high half and
// none on its low half. The two halves are interleaved and the bytes that
// belong to the forms packed together. Returns the bytes written.
QEL_AVX512 inline unsigned storeUtf16AsUtf8(V u, V following, std::uint32_t take, std::uint32_t high,
                                            std::uint32_t low, char* o) {
    const V low6 = b16<0x3F>(), cont = b16<0x80>();
    const std::uint32_t m2 = _mm512_cmpge_epu16_mask(u, cont);
    const std::uint32_t m3 = _mm512_cmpge_epu16_mask(u, b16<0x800>());
    const V trail0 = _mm512_or_si512(_mm512_and_si512(u, low6), cont);
    const V trail1 = _mm512_or_si512(_mm512_and_si512(_mm512_srli_epi16(u, 6), low6), cont);
    // First two bytes: 110xxxxx 10yyyyyy, or 1110xxxx 10yyyyyy.
    V a = _mm512_mask_mov_epi16(
        u, m2, _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi16(u, 6), b16<0xC0>()), _mm512_slli_epi16(trail0, 8)));
    a = _mm512_mask_mov_epi16(
        a, m3, _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi16(u, 12), b16<0xE0>()), _mm512_slli_epi16(trail1, 8)));
    V b = _mm512_maskz_mov_epi16(m3, trail0);
    if ((high | low) != 0) {
        // cp >> 10 of a pair is its high half's low ten bits plus 0x40.
        const V w = _mm512_add_epi16(_mm512_and_si512(u, b16<0x3FF>()), b16<0x40>());
        const V a4 = _mm512_or_si512(
            _mm512_or_si512(_mm512_srli_epi16(w, 8), b16<0xF0>()),
            _mm512_slli_epi16(_mm512_or_si512(_mm512_and_si512(_mm512_srli_epi16(w, 2), low6), cont), 8));
        const V b4 = _mm512_or_si512(
            _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(w, b16<3>()), 4),
                                            _mm512_and_si512(_mm512_srli_epi16(following, 6), b16<0xF>())),
                            cont),
            _mm512_slli_epi16(_mm512_or_si512(_mm512_and_si512(following, low6), cont), 8));
        a = _mm512_maskz_mov_epi16(~low, _mm512_mask_mov_epi16(a, high, a4));
        b = _mm512_maskz_mov_epi16(~low, _mm512_mask_mov_epi16(b, high, b4));
    }
    a = _mm512_maskz_mov_epi16(take, a);
    b = _mm512_maskz_mov_epi16(take, b);
    const V w0 = _mm512_permutex2var_epi16(a, _mm512_load_si512(kInterleaveLow16), b);
    const V w1 = _mm512_permutex2var_epi16(a, _mm512_load_si512(kInterleaveHigh16), b);
    // Every byte of a form is non-zero but that of a U+0000 character.
    const std::uint32_t zero = _mm512_mask_cmpeq_epi16_mask(take, u, _mm512_setzero_si512());
    const std::uint64_t keep0 = _mm512_test_epi8_mask(w0, w0) | _pdep_u64(zero & 0xFFFFu, kFirstOfFour64);
    const std::uint64_t keep1 = _mm512_test_epi8_mask(w1, w1) | _pdep_u64(zero >> 16, kFirstOfFour64);
    const unsigned c0 = static_cast<unsigned>(_mm_popcnt_u64(keep0));
    const unsigned c1 = static_cast<unsigned>(_mm_popcnt_u64(keep1));
    _mm512_mask_storeu_epi8(o, low64(c0), _mm512_maskz_compress_epi8(keep0, w0));
    _mm512_mask_storeu_epi8(o + c0, low64(c1), _mm512_maskz_compress_epi8(keep1, w1));
    return c0 + c1;
}

// Writes `taken` units (1..32) from 0x800 that are no surrogates as their
// three-byte forms: the first two bytes of each built in one 16-bit lane and
// the third in another, then put in order by one fixed byte permutation per
// 64 bytes written.
QEL_AVX512 inline unsigned storeThreeByteForms(V u, unsigned taken, char* o) {
    const V low6 = b16<0x3F>(), cont = b16<0x80>();
    const V first = _mm512_or_si512(
        _mm512_or_si512(_mm512_srli_epi16(u, 12), b16<0xE0>()),
        _mm512_slli_epi16(_mm512_or_si512(_mm512_and_si512(_mm512_srli_epi16(u, 6), low6), cont), 8));
    const V third = _mm512_or_si512(_mm512_and_si512(u, low6), cont);
    const unsigned bytes = 3 * taken;
    _mm512_mask_storeu_epi8(o, low64(bytes),
                            _mm512_permutex2var_epi8(first, _mm512_load_si512(kThreeBytes), third));
    if (bytes > 64)
        _mm512_mask_storeu_epi8(o + 64, low64(bytes - 64),
                                _mm512_permutex2var_epi8(first, _mm512_load_si512(kThreeBytes + 64), third));
    return bytes;
}

// Writes the first `taken` units of a step (with surrogate masks from
// checkUtf16) as UTF-8; returns the bytes written.
QEL_AVX512 inline unsigned emitUtf16ToUtf8(V units, V following, const Utf16Block& blk, unsigned taken, char* o) {
    const std::uint32_t take = low32(taken);
    const std::uint32_t slow = _mm512_mask_cmpge_epu16_mask(take, units, b16<0x80>());
    const std::uint32_t big = _mm512_mask_cmpge_epu16_mask(take, units, b16<0x800>());
    unsigned written;
    if (slow == 0) {
        _mm512_mask_cvtepi16_storeu_epi8(o, take, units);
        return taken;
    }
    if (big == 0) {
        // One or two bytes per unit, built in 16-bit lanes.
        const V lead = _mm512_or_si512(_mm512_srli_epi16(units, 6), b16<0xC0>());
        const V trail = _mm512_or_si512(_mm512_and_si512(units, b16<0x3F>()), b16<0x80>());
        const V w = _mm512_mask_mov_epi16(units, slow, _mm512_or_si512(lead, _mm512_slli_epi16(trail, 8)));
        const std::uint64_t keep = _pdep_u64(take, kEvenBits64) | _pdep_u64(slow, kOddBits64);
        written = static_cast<unsigned>(_mm_popcnt_u64(keep));
        _mm512_mask_storeu_epi8(o, low64(written), _mm512_maskz_compress_epi8(keep, w));
    } else if (big == take && (blk.high | blk.low) == 0) {
        written = storeThreeByteForms(units, taken, o);
    } else {
        written = storeUtf16AsUtf8(units, following, take, blk.high, blk.low, o);
    }
    return written;
}

// The bytes that the first `taken` units of a step make in UTF-8.
QEL_AVX512 inline unsigned countUtf16ToUtf8(V units, const Utf16Block& blk, unsigned taken) {
    const std::uint32_t take = low32(taken);
    const std::uint32_t slow = _mm512_mask_cmpge_epu16_mask(take, units, b16<0x80>());
    const std::uint32_t big = _mm512_mask_cmpge_epu16_mask(take, units, b16<0x800>()) & ~(blk.high | blk.low);
    // One byte per unit, one more from 0x80, one more again for a three-byte
    // unit; a surrogate pair makes 2 + 2.
    return taken + static_cast<unsigned>(_mm_popcnt_u32(slow)) + static_cast<unsigned>(_mm_popcnt_u32(big));
}

// Writes the first `taken` units of a step as UTF-32; returns the units
// written. A surrogate pair's code point is built on its high half in two
// 16-bit lanes: its low 16 bits from the high half's low six bits and the low
// half's ten, and bits 16..20 from the high half's bits 6..9 plus one. The
// two are interleaved into 32-bit lanes, and the lanes of low halves left out.
QEL_AVX512 inline unsigned emitUtf16ToUtf32(V units, V following, const Utf16Block& blk, unsigned taken, u32* o) {
    const std::uint32_t take = low32(taken);
    if (blk.high == 0 && blk.low == 0) {
        _mm512_mask_storeu_epi32(o, static_cast<__mmask16>(take), _mm512_cvtepu16_epi32(half<0>(units)));
        _mm512_mask_storeu_epi32(o + 16, static_cast<__mmask16>(take >> 16), _mm512_cvtepu16_epi32(half<1>(units)));
        return taken;
    }
    const V bits0to15 =
        _mm512_mask_mov_epi16(units, blk.high, orAnd(_mm512_slli_epi16(units, 10), following, b16<0x3FF>()));
    // 0xD800 + 0x40 * bits 6..9 + the low six bits, shifted right by 6, is
    // 0x360 + bits 6..9.
    const V bits16to20 =
        _mm512_maskz_sub_epi16(blk.high, _mm512_srli_epi16(units, 6), _mm512_srli_epi16(b16<0xD7C0>(), 6));
    const V w0 = _mm512_permutex2var_epi16(bits0to15, _mm512_load_si512(kInterleaveLow16), bits16to20);
    const V w1 = _mm512_permutex2var_epi16(bits0to15, _mm512_load_si512(kInterleaveHigh16), bits16to20);
    const std::uint32_t lanes = take & ~blk.low;
    const __mmask16 lanes0 = static_cast<__mmask16>(lanes), lanes1 = static_cast<__mmask16>(lanes >> 16);
    const unsigned c0 = static_cast<unsigned>(_mm_popcnt_u32(lanes0));
    const unsigned c1 = static_cast<unsigned>(_mm_popcnt_u32(lanes1));
    _mm512_mask_storeu_epi32(o, static_cast<__mmask16>(low16(c0)), _mm512_maskz_compress_epi32(lanes0, w0));
    _mm512_mask_storeu_epi32(o + c0, static_cast<__mmask16>(low16(c1)), _mm512_maskz_compress_epi32(lanes1, w1));
    return c0 + c1;
}

// Writes the first `taken` units of a step as UTF-8 or UTF-32.
template <class D>
QEL_AVX512 inline unsigned emitUtf16(V units, V following, const Utf16Block& blk, unsigned taken, D* o) {
    if constexpr (sizeof(D) == 1) {
        return emitUtf16ToUtf8(units, following, blk, taken, o);
    } else {
        return emitUtf16ToUtf32(units, following, blk, taken, o);
    }
}

// The size of a step over up to n units at p: a high surrogate in its last
// lane waits for the next step, with its low half. Known from one load and
// not from the step's checks, so that the next step need not wait on them.
inline std::size_t utf16StepSize(const u16* p, std::size_t n) {
    return n == 0 ? 0 : n - ((p[n - 1] & 0xFC00u) == 0xD800u ? 1 : 0);
}

// 1 when the unit at p is a low surrogate.
inline std::uint32_t lowSurrogateAt(const u16* p) { return (*p & 0xFC00u) == 0xDC00u ? 1u : 0u; }

// The output of the first n units (see LaneCosts): a low surrogate costs
// nothing and its high one the whole pair, four bytes or one code point.
template <class D>
QEL_AVX512 inline LaneCosts utf16Costs(V units, std::size_t n) {
    const std::uint32_t live = low32(n);
    const V top6 = _mm512_and_si512(units, b16<0xFC00>());
    const std::uint32_t notLow = live & ~_mm512_cmpeq_epi16_mask(top6, b16<0xDC00>());
    LaneCosts c;
    c.m0 = notLow;
    if constexpr (sizeof(D) == 1) {
        c.m1 = _mm512_mask_cmpge_epu16_mask(notLow, units, b16<0x80>());
        c.m2 = _mm512_mask_cmpge_epu16_mask(notLow, units, b16<0x800>());
        c.m3 = _mm512_mask_cmpeq_epi16_mask(live, top6, b16<0xD800>());
    }
    return c;
}

// The loop of the UTF-16 kernels. A step's size is known before its checks,
// so that steps follow each other without waiting on them; a step that takes
// less than its size ends the kernel.
template <class D, bool kMeasure, unsigned kPerUnit>
QEL_AVX512 inline Stop utf16Loop(const u16** pp, const u16* end, D** oo, const D* outEnd, unsigned int* count) {
    const u16* p = *pp;
    D* o = kMeasure ? nullptr : *oo;
    const u16* limit = p;
    WideRetry wide(p);
    unsigned int total = kMeasure ? *count : 0;
    std::uint32_t carried = 0;
    for (;;) {
        if (!kMeasure && p >= limit) limit = inputLimit(p, end, o, outEnd, kPerUnit);
        const std::size_t ahead = kMeasure ? static_cast<std::size_t>(end - p) - 1 : static_cast<std::size_t>(limit - p);
        if (ahead >= 64 && wide.due(p)) {
            // A wide step over 64 units of one kind: ASCII into UTF-8, or no
            // surrogate into UTF-32.
            const V u0 = _mm512_loadu_si512(p);
            const V u1 = _mm512_loadu_si512(p + 32);
            bool simple;
            if constexpr (sizeof(D) == 1) {
                simple = _mm512_cmpge_epu16_mask(_mm512_max_epu16(u0, u1), b16<0x80>()) == 0;
            } else {
                const V sur = b16<0xD800>(), mask = b16<0xF800>();
                simple = (_mm512_cmpeq_epi16_mask(_mm512_and_si512(u0, mask), sur) |
                          _mm512_cmpeq_epi16_mask(_mm512_and_si512(u1, mask), sur)) == 0;
            }
            if (simple) {
                if constexpr (kMeasure) {
                    total += 64;
                } else if constexpr (sizeof(D) == 1) {
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o), _mm512_cvtepi16_epi8(u0));
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32), _mm512_cvtepi16_epi8(u1));
                    o += 64;
                } else {
                    _mm512_storeu_si512(o, _mm512_cvtepu16_epi32(half<0>(u0)));
                    _mm512_storeu_si512(o + 16, _mm512_cvtepu16_epi32(half<1>(u0)));
                    _mm512_storeu_si512(o + 32, _mm512_cvtepu16_epi32(half<0>(u1)));
                    _mm512_storeu_si512(o + 48, _mm512_cvtepu16_epi32(half<1>(u1)));
                    o += 64;
                }
                p += 64;
                wide.took();
                continue;
            }
            wide.missed(p, sizeof *p);
        }
        // A whole step of 32 units whose next unit may be taken too moves on
        // by all its units: a high surrogate in its last lane takes its low
        // half from the next step, which leaves that unit out.
        const bool whole = ahead > 32;
        if (!whole && carried != 0) {
            ++p;
            carried = 0;
            if constexpr (sizeof(D) == 1 && kMeasure) total += 2;
            continue;
        }
        // Near the room's end: a step over the input, cut to the characters
        // whose output fits, and the last.
        bool cut = !kMeasure && !whole && limit != end - 1;
        std::size_t n = whole ? 32 : utf16StepSize(p, cut ? smaller(32, static_cast<std::size_t>(end - p) - 1) : ahead);
        if (n == 0) break;
        V units = _mm512_maskz_loadu_epi16(low32(n), p);
        if (cut) {
            const std::size_t room = static_cast<std::size_t>(outEnd - o) - 1;
            const std::size_t fits = fitLanes(utf16Costs<D>(units, n), n, room);
            if (fits < n) {
                if (fits == 0) break;
                n = fits;
                units = _mm512_maskz_mov_epi16(low32(n), units);
            } else {
                cut = false;  // all of it fits: the limit moves on after it
            }
        }
        const Utf16Block blk = checkUtf16(units, n, whole ? lowSurrogateAt(p + 32) << 31 : 0, carried);
        const unsigned taken = blk.taken;
        if constexpr (kMeasure) {
            if constexpr (sizeof(D) == 1) {
                total += countUtf16ToUtf8(units, blk, taken);
            } else {
                total += taken - static_cast<unsigned>(_mm_popcnt_u32(blk.low & low32(taken)));
            }
        } else {
            // The unit after each lane: p + n lies before the limit.
            o += emitUtf16(units, _mm512_maskz_loadu_epi16(low32(n), p + 1), blk, taken, o);
        }
        if (taken != n) {
            p += taken;
            break;
        }
        carried = whole ? blk.high >> 31 : 0;
        p += n;
        if (cut) break;
    }
    *pp = p;
    if constexpr (kMeasure) {
        *count = total;
        return p == end - 1 ? Stop::End : Stop::Other;
    } else {
        *oo = o;
        return stopAt(p, end - 1, o, outEnd - 1);
    }
}

QEL_AVX512 Stop utf16ToUtf8Convert(const u16** pp, const u16* end, char** oo, const char* outEnd) noexcept {
    // At most three bytes per unit.
    return utf16Loop<char, false, 3>(pp, end, oo, outEnd, nullptr);
}
QEL_AVX512 Stop utf16ToUtf8Measure(const u16** pp, const u16* end, unsigned int* count) noexcept {
    return utf16Loop<char, true, 3>(pp, end, nullptr, nullptr, count);
}
QEL_AVX512 Stop utf16ToUtf32Convert(const u16** pp, const u16* end, u32** oo, const u32* outEnd) noexcept {
    return utf16Loop<u32, false, 1>(pp, end, oo, outEnd, nullptr);
}
QEL_AVX512 Stop utf16ToUtf32Measure(const u16** pp, const u16* end, unsigned int* count) noexcept {
    return utf16Loop<u32, true, 1>(pp, end, nullptr, nullptr, count);
}

// ---- UTF-32 -> UTF-8 and UTF-16 ------------------------------------------------------

// How many of the n units at the start of `units` are code points.
QEL_AVX512 inline unsigned checkUtf32(V units, std::size_t n) {
    const __mmask16 live = static_cast<__mmask16>(low16(n));
    const __mmask16 below = _mm512_cmplt_epu32_mask(units, b32<0xD800u>());
    const __mmask16 above = _mm512_cmplt_epu32_mask(_mm512_sub_epi32(units, b32<0xE000u>()), b32<0x110000u - 0xE000u>());
    const std::uint32_t bad = live & ~(below | above);
    return bad == 0 ? static_cast<unsigned>(n) : static_cast<unsigned>(_tzcnt_u32(bad));
}

// The output of the first n code points (see LaneCosts).
template <class D>
QEL_AVX512 inline LaneCosts utf32Costs(V units, std::size_t n) {
    const __mmask16 live = static_cast<__mmask16>(low16(n));
    LaneCosts c;
    c.m0 = live;
    c.m1 = _mm512_mask_cmpge_epu32_mask(live, units, b32<0x10000>());
    if constexpr (sizeof(D) == 1) {
        c.m2 = _mm512_mask_cmpge_epu32_mask(live, units, b32<0x80>());
        c.m3 = _mm512_mask_cmpge_epu32_mask(live, units, b32<0x800>());
    }
    return c;
}

// Writes the first `taken` units of a step as UTF-8 or UTF-16, or counts the
// units they make.
template <class D>
QEL_AVX512 inline unsigned emitUtf32(V units, unsigned taken, D* o) {
    const __mmask16 take = static_cast<__mmask16>(low16(taken));
    if constexpr (sizeof(D) == 1) {
        const __mmask16 slow = _mm512_mask_cmpge_epu32_mask(take, units, b32<0x80>());
        if (slow == 0) {
            _mm512_mask_cvtepi32_storeu_epi8(o, take, units);
            return taken;
        }
        return storeUtf8(units, take, o);
    } else {
        return storeUtf16(units, take, o);
    }
}
template <class D>
QEL_AVX512 inline unsigned countUtf32(V units, unsigned taken) {
    const __mmask16 take = static_cast<__mmask16>(low16(taken));
    const __mmask16 m4 = _mm512_mask_cmpge_epu32_mask(take, units, b32<0x10000>());
    if constexpr (sizeof(D) == 1) {
        const __mmask16 slow = _mm512_mask_cmpge_epu32_mask(take, units, b32<0x80>());
        const __mmask16 m3 = _mm512_mask_cmpge_epu32_mask(take, units, b32<0x800>());
        return taken + static_cast<unsigned>(_mm_popcnt_u32(slow) + _mm_popcnt_u32(m3) + _mm_popcnt_u32(m4));
    } else {
        return taken + static_cast<unsigned>(_mm_popcnt_u32(m4));
    }
}

// The loop of the UTF-32 kernels: steps of 16 units that advance by their
// full size whenever they take it; the first unit that is no code point
// ends the kernel.
template <class D, bool kMeasure, unsigned kPerUnit>
QEL_AVX512 inline Stop utf32Loop(const u32** pp, const u32* end, D** oo, const D* outEnd, unsigned int* count) {
    const u32* p = *pp;
    D* o = kMeasure ? nullptr : *oo;
    const u32* limit = p;
    unsigned int total = kMeasure ? *count : 0;
    for (;;) {
        if (!kMeasure && p >= limit) limit = inputLimit(p, end, o, outEnd, kPerUnit);
        const std::size_t ahead = kMeasure ? static_cast<std::size_t>(end - p) - 1 : static_cast<std::size_t>(limit - p);
        if (ahead >= 64) {
            // A wide step over 64 units of one kind: ASCII into UTF-8, or
            // units below 0xD800 into UTF-16.
            const V u0 = _mm512_loadu_si512(p);
            const V u1 = _mm512_loadu_si512(p + 16);
            const V u2 = _mm512_loadu_si512(p + 32);
            const V u3 = _mm512_loadu_si512(p + 48);
            const V top = _mm512_max_epu32(_mm512_max_epu32(u0, u1), _mm512_max_epu32(u2, u3));
            bool simple;
            if constexpr (sizeof(D) == 1) {
                simple = _mm512_cmpge_epu32_mask(top, b32<0x80>()) == 0;
            } else {
                // Code points of the BMP: below 0x10000 and no surrogate.
                const V surrogate = b32<0xD800u>(), span = b32<0x800>();
                const std::uint32_t sur =
                    _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u0, surrogate), span) |
                    _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u1, surrogate), span) |
                    _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u2, surrogate), span) |
                    _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u3, surrogate), span);
                simple = sur == 0 && _mm512_cmpge_epu32_mask(top, b32<0x10000u>()) == 0;
            }
            if (simple) {
                if constexpr (kMeasure) {
                    total += 64;
                } else if constexpr (sizeof(D) == 1) {
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm512_cvtepi32_epi8(u0));
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm512_cvtepi32_epi8(u1));
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 32), _mm512_cvtepi32_epi8(u2));
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 48), _mm512_cvtepi32_epi8(u3));
                    o += 64;
                } else {
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o), _mm512_cvtepi32_epi16(u0));
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 16), _mm512_cvtepi32_epi16(u1));
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32), _mm512_cvtepi32_epi16(u2));
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 48), _mm512_cvtepi32_epi16(u3));
                    o += 64;
                }
                p += 64;
                continue;
            }
        }
        if (sizeof(D) == 1 && ahead >= 32) {
            // 32 code points of the BMP, narrowed to 16 bits and written
            // as UTF-16 units would be.
            const V u0 = _mm512_loadu_si512(p);
            const V u1 = _mm512_loadu_si512(p + 16);
            const V top = _mm512_max_epu32(u0, u1);
            const bool bmp = checkUtf32(u0, 16) == 16 && checkUtf32(u1, 16) == 16 &&
                             _mm512_cmpge_epu32_mask(top, b32<0x10000u>()) == 0;
            if (bmp) {
                const V units16 =
                    _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi32_epi16(u0)), _mm512_cvtepi32_epi16(u1), 1);
                const std::uint32_t slow = _mm512_cmpge_epu16_mask(units16, b16<0x80>());
                const std::uint32_t big = _mm512_cmpge_epu16_mask(units16, b16<0x800>());
                if constexpr (kMeasure) {
                    total += 32 + static_cast<unsigned>(_mm_popcnt_u32(slow) + _mm_popcnt_u32(big));
                } else if constexpr (sizeof(D) == 1) {
                    o += storeUtf16AsUtf8(units16, units16, ~0u, 0, 0, reinterpret_cast<char*>(o));
                }
                p += 32;
                continue;
            }
        }
        // Near the room's end: a step over the input, cut to the characters
        // whose output fits, and the last.
        bool cut = !kMeasure && ahead < 16 && limit != end - 1;
        std::size_t n = smaller(16, cut ? static_cast<std::size_t>(end - p) - 1 : ahead);
        if (n == 0) break;
        V units = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(low16(n)), p);
        if (cut) {
            const std::size_t room = static_cast<std::size_t>(outEnd - o) - 1;
            const std::size_t fits = fitLanes(utf32Costs<D>(units, n), n, room);
            if (fits < n) {
                if (fits == 0) break;
                n = fits;
                units = _mm512_maskz_mov_epi32(static_cast<__mmask16>(low16(n)), units);
            } else {
                cut = false;  // all of it fits: the limit moves on after it
            }
        }
        const unsigned taken = checkUtf32(units, n);
        if (taken != n) {
            if constexpr (kMeasure) {
                total += countUtf32<D>(units, taken);
            } else {
                o += emitUtf32(units, taken, o);
            }
            p += taken;
            break;
        }
        if constexpr (kMeasure) {
            total += countUtf32<D>(units, static_cast<unsigned>(n));
        } else {
            o += emitUtf32(units, static_cast<unsigned>(n), o);
        }
        p += n;
        if (cut) break;
    }
    *pp = p;
    if constexpr (kMeasure) {
        *count = total;
        return p == end - 1 ? Stop::End : Stop::Other;
    } else {
        *oo = o;
        return stopAt(p, end - 1, o, outEnd - 1);
    }
}

QEL_AVX512 Stop utf32ToUtf8Convert(const u32** pp, const u32* end, char** oo, const char* outEnd) noexcept {
    return utf32Loop<char, false, 4>(pp, end, oo, outEnd, nullptr);
}
QEL_AVX512 Stop utf32ToUtf8Measure(const u32** pp, const u32* end, unsigned int* count) noexcept {
    return utf32Loop<char, true, 4>(pp, end, nullptr, nullptr, count);
}
QEL_AVX512 Stop utf32ToUtf16Convert(const u32** pp, const u32* end, u16** oo, const u16* outEnd) noexcept {
    return utf32Loop<u16, false, 2>(pp, end, oo, outEnd, nullptr);
}
QEL_AVX512 Stop utf32ToUtf16Measure(const u32** pp, const u32* end, unsigned int* count) noexcept {
    return utf32Loop<u16, true, 2>(pp, end, nullptr, nullptr, count);
}

// ---- walker kernels ---------------------------------------------------------------

// A string that `end` does not bound is known only up to its first zero
// unit, so the walker kernels read only inside the naturally aligned blocks
// of 64 bytes that hold a unit of the string: the block of p, and the next
// one only once no zero unit (nor `end`) has come up before it. Such a block
// never leaves the memory page of a unit that exists. Masked loads read part
// of a block; whole loads, the bytes of which past the zero unit are never
// looked at, are left alone by the address and thread sanitizers, which
// check bytes and not blocks.

// Units from p that one step may look at: those of p's block, not past `end`
// when it lies ahead.
template <class U>
inline std::size_t stepUnits(const U* p, const U* end) {
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(p);
    const std::size_t ahead = (reinterpret_cast<std::uintptr_t>(end) - at) / sizeof(U);
    const std::size_t inBlock = (64 - (at & 63)) / sizeof(U);
    return smaller(ahead, inBlock);
}

// The first n units from p, within p's aligned block: past a zero unit too,
// which only the sanitizers mind.
template <class U>
QEL_AVX512_SCAN inline V loadUnits(const U* p, std::size_t n) {
    if constexpr (sizeof(U) == 1) return _mm512_maskz_loadu_epi8(low64(n), p);
    else if constexpr (sizeof(U) == 2) return _mm512_maskz_loadu_epi16(low32(n), p);
    else return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(low16(n)), p);
}

// Lanes (of the first n) holding 0 or 0x01.
template <class U>
QEL_AVX512 inline std::uint64_t stopLanes(V v, std::size_t n) {
    if constexpr (sizeof(U) == 1) return _mm512_mask_cmple_epu8_mask(low64(n), v, b8<1>());
    else if constexpr (sizeof(U) == 2) return _mm512_mask_cmple_epu16_mask(low32(n), v, b16<1>());
    else return _mm512_mask_cmple_epu32_mask(static_cast<__mmask16>(low16(n)), v, b32<1>());
}

// Lanes (of the first n) holding anything but 0x02..0x7F.
template <class U>
QEL_AVX512 inline std::uint64_t specialLanes(V v, std::size_t n) {
    if constexpr (sizeof(U) == 1)
        return _mm512_mask_cmpge_epu8_mask(low64(n), _mm512_sub_epi8(v, b8<2>()), b8<0x7E>());
    else if constexpr (sizeof(U) == 2)
        return _mm512_mask_cmpge_epu16_mask(low32(n), _mm512_sub_epi16(v, b16<2>()), b16<0x7E>());
    else
        return _mm512_mask_cmpge_epu32_mask(static_cast<__mmask16>(low16(n)), _mm512_sub_epi32(v, b32<2>()), b32<0x7E>());
}

// A string that is not aligned to its units is walked a unit at a time.
template <class U>
inline bool misaligned(const U* p) {
    return (reinterpret_cast<std::uintptr_t>(p) % sizeof(U)) != 0;
}

// Whole blocks from p (which starts one) that lie before `end`; without
// bound when `end` does not lie ahead.
template <class U>
inline std::size_t wholeBlocks(const U* p, const U* end) {
    return (reinterpret_cast<std::uintptr_t>(end) - reinterpret_cast<std::uintptr_t>(p)) / 64;
}

inline bool startsBlock(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 63) == 0; }

// A whole aligned block (see above).
template <class U>
QEL_AVX512_SCAN inline V loadBlock(const U* p) {
    return _mm512_load_si512(p);
}

// The lanes of a whole block that hold 0 or 0x01 (kSpecial: anything but
// 0x02..0x7F).
template <class U, bool kSpecial>
QEL_AVX512 inline std::uint64_t hitLanes(V v) {
    constexpr std::size_t kLanes = 64 / sizeof(U);
    // A byte is special exactly when it is below 2 as a signed byte.
    if constexpr (kSpecial && sizeof(U) == 1) return _mm512_cmplt_epi8_mask(v, b8<2>());
    else return kSpecial ? specialLanes<U>(v, kLanes) : stopLanes<U>(v, kLanes);
}

// The first lane of `hits` among the units from p: a masked step to the end
// of p's block, then whole blocks, each read once the one before held none.
template <class U, bool kSpecial>
QEL_AVX512_SCAN inline const U* scan(const U* p, const U* end) {
    constexpr std::size_t kLanes = 64 / sizeof(U);
    for (;;) {
        const std::size_t n = stepUnits(p, end);
        if (n == 0) return p;
        const V v = loadUnits(p, n);
        std::uint64_t hit = kSpecial ? specialLanes<U>(v, n) : stopLanes<U>(v, n);
        if (hit != 0) return p + _tzcnt_u64(hit);
        p += n;
        if (!startsBlock(p)) return p;  // at `end`
        std::size_t k = wholeBlocks(p, end);
        for (; k >= 4; k -= 4, p += 4 * kLanes) {
            hit = hitLanes<U, kSpecial>(loadBlock(p));
            if (hit != 0) return p + _tzcnt_u64(hit);
            hit = hitLanes<U, kSpecial>(loadBlock(p + kLanes));
            if (hit != 0) return p + kLanes + _tzcnt_u64(hit);
            hit = hitLanes<U, kSpecial>(loadBlock(p + 2 * kLanes));
            if (hit != 0) return p + 2 * kLanes + _tzcnt_u64(hit);
            hit = hitLanes<U, kSpecial>(loadBlock(p + 3 * kLanes));
            if (hit != 0) return p + 3 * kLanes + _tzcnt_u64(hit);
        }
        for (; k > 0; --k, p += kLanes) {
            hit = hitLanes<U, kSpecial>(loadBlock(p));
            if (hit != 0) return p + _tzcnt_u64(hit);
        }
    }
}

template <class U>
QEL_AVX512_SCAN const U* findStop(const U* p, const U* end) noexcept {
    if (misaligned(p)) {
        while (p != end && static_cast<u32>(*p) > 1u) ++p;
        return p;
    }
    return scan<U, false>(p, end);
}

template <class U>
QEL_AVX512_SCAN const U* findSpecial(const U* p, const U* end) noexcept {
    if (misaligned(p)) {
        while (p != end && static_cast<u32>(*p) - 2u < 0x7Eu) ++p;
        return p;
    }
    return scan<U, true>(p, end);
}

// Writes the first n lanes of v (all plain units) as n units of D.
template <class S, class D>
QEL_AVX512 inline void storePlain(V v, std::size_t n, D* o) {
    if constexpr (sizeof(S) == 1 && sizeof(D) == 2) {
        widenAsciiTo16(v, n, o);
    } else if constexpr (sizeof(S) == 1 && sizeof(D) == 4) {
        widenAsciiTo32(v, n, o);
    } else if constexpr (sizeof(S) == 2 && sizeof(D) == 1) {
        _mm512_mask_cvtepi16_storeu_epi8(o, low32(n), v);
    } else if constexpr (sizeof(S) == 2 && sizeof(D) == 4) {
        _mm512_mask_storeu_epi32(o, static_cast<__mmask16>(low16(n)), _mm512_cvtepu16_epi32(half<0>(v)));
        _mm512_mask_storeu_epi32(o + 16, static_cast<__mmask16>(low16(groupLanes(n, 1, 16))),
                                 _mm512_cvtepu16_epi32(half<1>(v)));
    } else if constexpr (sizeof(S) == 4 && sizeof(D) == 1) {
        _mm512_mask_cvtepi32_storeu_epi8(o, static_cast<__mmask16>(low16(n)), v);
    } else {
        _mm512_mask_cvtepi32_storeu_epi16(o, static_cast<__mmask16>(low16(n)), v);
    }
}

template <class S, class D>
QEL_AVX512_SCAN void copyPlain(const S** pp, const S* end, D** oo, const D* oEnd) noexcept {
    const S* p = *pp;
    D* o = *oo;
    if (misaligned(p)) {
        for (; p != end && static_cast<u32>(*p) - 2u < 0x7Eu && o != oEnd; ++p) *o++ = static_cast<D>(*p);
    } else {
        constexpr std::size_t kLanes = 64 / sizeof(S);
        for (;;) {
            // A masked step first: a short string needs no other.
            const std::size_t n = smaller(stepUnits(p, end), static_cast<std::size_t>(oEnd - o));
            if (n == 0) break;
            const V v = loadUnits(p, n);
            const std::uint64_t hit = specialLanes<S>(v, n);
            const std::size_t k = hit == 0 ? n : static_cast<std::size_t>(_tzcnt_u64(hit));
            storePlain<S, D>(v, k, o);
            p += k;
            o += k;
            if (k < n || !startsBlock(p)) break;
            std::size_t whole = smaller(wholeBlocks(p, end), static_cast<std::size_t>(oEnd - o) / kLanes);
            for (; whole > 0; --whole) {
                const V w = loadBlock(p);
                if (specialLanes<S>(w, kLanes) != 0) break;
                storePlain<S, D>(w, kLanes, o);
                p += kLanes;
                o += kLanes;
            }
        }
    }
    *pp = p;
    *oo = o;
}

// ---- whole texts -------------------------------------------------------------------

// One step of convertText over the n units at p (in v), none of them a zero
// unit or 0x01, with room for the worst case of all of them: the units taken
// (written at o, which moves on) and whether another step may follow.
// Steps that leave nothing over between them.
struct NothingCarried {
    template <class S>
    void settle(const S*& /*p*/) {}
};

template <class D>
struct Utf8Text : NothingCarried {
    static constexpr std::size_t kPerUnit = 1;
    QEL_AVX512 static LaneCosts costs(V in, std::size_t n) { return utf8Costs<D>(in, n); }
    // Inlined into convertText (which it would not be by its size), with the
    // same sanitizer attributes: a sanitized function forced into an
    // unsanitized one leaves its stack marks behind.
    QEL_AVX512_SCAN __attribute__((always_inline)) std::size_t take(const u8* p, V in, std::size_t n, D*& o,
                                                                    bool& more, bool /*ahead*/) {
        more = true;
        if ((_mm512_movepi8_mask(in) & low64(n)) == 0) {
            if constexpr (sizeof(D) == 2) {
                widenAsciiTo16(in, n, o);
            } else {
                widenAsciiTo32(in, n, o);
            }
            o += n;
            return n;
        }
        const unsigned whole = wholeBytes(p, static_cast<unsigned>(n));
        FastBlock fast;
        if (checkFast(in, whole, fast)) {
            o += writeFast(fast, o);
            return whole;
        }
        more = false;
        if (whole == 0) return 0;
        Utf8Block blk;
        decodeUtf8(in, whole, blk);
        o += writeGeneral(blk, o);
        return blk.bytes;
    }
};

template <class D>
struct Utf16Text {
    static constexpr std::size_t kPerUnit = sizeof(D) == 1 ? 3 : 1;
    QEL_AVX512 static LaneCosts costs(V units, std::size_t n) { return utf16Costs<D>(units, n); }
    // 1 when the last step wrote a surrogate pair whose low half is the
    // first unit of the next step.
    std::uint32_t carried = 0;

    // `ahead`: a whole step (n = 32) whose next unit may be taken too. Such
    // a step moves on by all its units, a high surrogate in its last lane
    // taking its low half from the next step.
    QEL_AVX512 std::size_t take(const u16* p, V units, std::size_t n, D*& o, bool& more, bool ahead) {
        if (ahead) {
            const Utf16Block blk = checkUtf16(units, n, lowSurrogateAt(p + n) << 31, carried);
            const V following = _mm512_loadu_si512(p + 1);
            more = true;
            if (blk.taken == n) {
                o += emitUtf16(units, following, blk, static_cast<unsigned>(n), o);
                carried = blk.high >> 31;
                return n;
            }
            o += emitUtf16(units, following, blk, blk.taken, o);
            carried = 0;
            more = false;
            return blk.taken;
        }
        const std::size_t size = utf16StepSize(p, n);
        const Utf16Block blk = checkUtf16(units, size);
        // The unit after each lane but the last (which waits, when it is a
        // high surrogate, for the next step).
        const V following = _mm512_maskz_loadu_epi16(low32(n) >> 1, p + 1);
        more = true;
        if (size != 0 && blk.taken == size) {
            // The usual case, apart so that the step's size does not wait on
            // the checks.
            o += emitUtf16(units, following, blk, static_cast<unsigned>(size), o);
            return size;
        }
        o += emitUtf16(units, following, blk, blk.taken, o);
        more = false;
        return blk.taken;
    }
    // Takes the low half that the last step left over, if any.
    void settle(const u16*& p) {
        if (carried != 0) {
            ++p;
            carried = 0;
        }
    }
};

template <class D>
struct Utf32Text : NothingCarried {
    static constexpr std::size_t kPerUnit = sizeof(D) == 1 ? 4 : 2;
    QEL_AVX512 static LaneCosts costs(V units, std::size_t n) { return utf32Costs<D>(units, n); }
    QEL_AVX512 std::size_t take(const u32* /*p*/, V units, std::size_t n, D*& o, bool& more, bool /*ahead*/) {
        const unsigned taken = checkUtf32(units, n);
        if (taken == n) {
            o += emitUtf32(units, static_cast<unsigned>(n), o);
            more = true;
            return n;
        }
        o += emitUtf32(units, taken, o);
        more = false;
        return taken;
    }
};

// Whole vectors of units that a pair takes without any check but the unit
// range: 64 units of UTF-16 or UTF-32 that are ASCII, or of the BMP without
// surrogates between UTF-16 and UTF-32. Returns false (writing nothing) when the 64 units are not all such
// units, or any of them is a zero unit or 0x01; UTF-8 takes no such step, as
// its own steps are as wide.
template <class S, class D>
QEL_AVX512_SCAN inline bool wideText(const S* p, D* o) {
    if constexpr (sizeof(S) == 1) {
        return false;  // the step itself is as wide
    } else if constexpr (sizeof(S) == 2) {
        const V u0 = _mm512_loadu_si512(p), u1 = _mm512_loadu_si512(p + 32);
        if (_mm512_cmple_epu16_mask(_mm512_min_epu16(u0, u1), b16<1>()) != 0) return false;
        if constexpr (sizeof(D) == 1) {
            if (_mm512_cmpge_epu16_mask(_mm512_max_epu16(u0, u1), b16<0x80>()) != 0) return false;
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o), _mm512_cvtepi16_epi8(u0));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32), _mm512_cvtepi16_epi8(u1));
        } else {
            const V sur = b16<0xD800>(), mask = b16<0xF800>();
            if ((_mm512_cmpeq_epi16_mask(_mm512_and_si512(u0, mask), sur) |
                 _mm512_cmpeq_epi16_mask(_mm512_and_si512(u1, mask), sur)) != 0)
                return false;
            _mm512_storeu_si512(o, _mm512_cvtepu16_epi32(half<0>(u0)));
            _mm512_storeu_si512(o + 16, _mm512_cvtepu16_epi32(half<1>(u0)));
            _mm512_storeu_si512(o + 32, _mm512_cvtepu16_epi32(half<0>(u1)));
            _mm512_storeu_si512(o + 48, _mm512_cvtepu16_epi32(half<1>(u1)));
        }
        return true;
    } else {
        const V u0 = _mm512_loadu_si512(p), u1 = _mm512_loadu_si512(p + 16);
        const V u2 = _mm512_loadu_si512(p + 32), u3 = _mm512_loadu_si512(p + 48);
        const V least = _mm512_min_epu32(_mm512_min_epu32(u0, u1), _mm512_min_epu32(u2, u3));
        if (_mm512_cmple_epu32_mask(least, b32<1>()) != 0) return false;
        const V top = _mm512_max_epu32(_mm512_max_epu32(u0, u1), _mm512_max_epu32(u2, u3));
        if constexpr (sizeof(D) == 1) {
            if (_mm512_cmpge_epu32_mask(top, b32<0x80>()) != 0) return false;
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm512_cvtepi32_epi8(u0));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm512_cvtepi32_epi8(u1));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 32), _mm512_cvtepi32_epi8(u2));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 48), _mm512_cvtepi32_epi8(u3));
        } else {
            const V surrogate = b32<0xD800u>(), span = b32<0x800>();
            const std::uint32_t sur = _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u0, surrogate), span) |
                                      _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u1, surrogate), span) |
                                      _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u2, surrogate), span) |
                                      _mm512_cmplt_epu32_mask(_mm512_sub_epi32(u3, surrogate), span);
            if (sur != 0 || _mm512_cmpge_epu32_mask(top, b32<0x10000u>()) != 0) return false;
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o), _mm512_cvtepi32_epi16(u0));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 16), _mm512_cvtepi32_epi16(u1));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32), _mm512_cvtepi32_epi16(u2));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 48), _mm512_cvtepi32_epi16(u3));
        }
        return true;
    }
}

// convertText still reads whole vectors within the memory page of a unit
// that exists, past a zero unit too: the units it may look at from p in one
// step, and the whole vectors from p before the page's end and `end`.
template <class U>
inline std::size_t pageStepUnits(const U* p, const U* end) {
    constexpr std::size_t kLanes = 64 / sizeof(U);
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(p);
    const std::size_t ahead = (reinterpret_cast<std::uintptr_t>(end) - at) / sizeof(U);
    const std::size_t inPage = (4096 - (at & 4095)) / sizeof(U);
    return smaller(kLanes, smaller(ahead, inPage));
}
template <class U>
inline std::size_t wholeVectors(const U* p, const U* end) {
    constexpr std::size_t kLanes = 64 / sizeof(U);
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(p);
    const std::size_t ahead = (reinterpret_cast<std::uintptr_t>(end) - at) / sizeof(U);
    const std::size_t inPage = (4096 - (at & 4095)) / sizeof(U);
    return smaller(ahead, inPage) / kLanes;
}
template <class U>
QEL_AVX512_SCAN inline V loadVector(const U* p) {
    return _mm512_loadu_si512(p);
}
template <class U>
QEL_AVX512_SCAN inline V loadPageUnits(const U* p, std::size_t n) {
    if constexpr (sizeof(U) == 1) return _mm512_maskz_loadu_epi8(low64(n), p);
    else if constexpr (sizeof(U) == 2) return _mm512_maskz_loadu_epi16(low32(n), p);
    else return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(low16(n)), p);
}

// The first n lanes of v, the others zero.
template <class U>
QEL_AVX512 inline V keepLanes(V v, std::size_t n) {
    if constexpr (sizeof(U) == 1) return _mm512_maskz_mov_epi8(low64(n), v);
    else if constexpr (sizeof(U) == 2) return _mm512_maskz_mov_epi16(low32(n), v);
    else return _mm512_maskz_mov_epi32(static_cast<__mmask16>(low16(n)), v);
}

// convertText: steps over the units from p, each within p's memory page,
// before `end`, before the first zero unit or 0x01 and within the output
// room, taken by the pair's Step. Within a span of whole vectors that lies
// before the page's end and `end`, steps load whole vectors and their sizes
// do not wait on the page arithmetic, while the room holds the worst case of
// a step; nearer the output's end, masked steps are cut to the characters
// whose output fits.
template <class S, class D, class Step>
QEL_AVX512_SCAN Stop convertText(const S** pp, const S* end, D** oo, const D* oEnd) noexcept {
    constexpr std::size_t kLanes = 64 / sizeof(S);
    // The most that a whole step writes (a step of UTF-16 may take the low
    // half of a pair from the unit after it).
    constexpr std::size_t kStepRoom = (kLanes + 1) * Step::kPerUnit;
    const S* p = *pp;
    D* o = *oo;
    bool more = !misaligned(p);
    WideRetry wide(p);
    Step step;
    while (more && o < oEnd) {
        const S* const spanEnd = p + wholeVectors(p, end) * kLanes;
        while (more && static_cast<std::size_t>(spanEnd - p) >= kLanes) {
            if (sizeof(S) > 1 && wide.due(p) && static_cast<std::size_t>(spanEnd - p) >= 64 && oEnd - o >= 64) {
                if (wideText(p, o)) {
                    p += 64;
                    o += 64;
                    wide.took();
                    continue;
                }
                wide.missed(p, sizeof *p);
            }
            // A unit beyond the step lies in the span too.
            const bool ahead = static_cast<std::size_t>(spanEnd - p) > kLanes;
            if (!ahead) {
                step.settle(p);
                if (static_cast<std::size_t>(spanEnd - p) < kLanes) break;
            }
            const V v = loadVector(p);
            if (stopLanes<S>(v, kLanes) != 0) break;
            // Near the output's end, a whole step only when its output fits
            // (a pair that it completes from the next step counted in full).
            const std::size_t room = static_cast<std::size_t>(oEnd - o);
            if (room < kStepRoom && Step::costs(v, kLanes).below(kLanes) > room) break;
            p += step.take(p, v, kLanes, o, more, ahead);
        }
        step.settle(p);
        if (!more || o == oEnd) break;
        // One masked step: up to a zero unit or 0x01, the page's end or `end`.
        std::size_t n = pageStepUnits(p, end);
        if (n == 0) break;
        V v = loadPageUnits(p, n);
        std::uint64_t stop = stopLanes<S>(v, n);
        const std::size_t ahead =
            (reinterpret_cast<std::uintptr_t>(end) - reinterpret_cast<std::uintptr_t>(p)) / sizeof(S);
        if (stop == 0 && n < kLanes && n < ahead) {
            // Cut by the page's end, with no zero unit before it: the string
            // goes on into the next page, so a whole step may be read (a
            // character may straddle the two pages).
            n = smaller(kLanes, ahead);
            v = loadPageUnits(p, n);
            stop = stopLanes<S>(v, n);
        }
        if (stop != 0) {
            n = static_cast<std::size_t>(_tzcnt_u64(stop));
            if (n == 0) break;
        }
        // Where the worst case would not fit, the step takes the characters
        // that do, and the kernel ends after it.
        const std::size_t room = static_cast<std::size_t>(oEnd - o);
        bool cut = false;
        if (n * Step::kPerUnit > room) {
            const std::size_t fits = fitLanes(Step::costs(v, n), n, room);
            if (fits < n) {
                if (fits == 0) break;
                n = fits;
                v = keepLanes<S>(v, n);
                cut = true;
            }
        }
        p += step.take(p, v, n, o, more, false);
        // A step that ends before a zero unit or 0x01 ends the kernel.
        if ((stop != 0 || cut) && more) more = false;
    }
    *pp = p;
    *oo = o;
    return stopAt(p, end, o, oEnd);
}

constexpr Kernels makeKernels() {
    Kernels k;
    k.u8u16 = {&utf8Convert<true>, &utf8Measure<true>};
    k.u8u32 = {&utf8Convert<false>, &utf8Measure<false>};
    k.u16u8 = {&utf16ToUtf8Convert, &utf16ToUtf8Measure};
    k.u16u32 = {&utf16ToUtf32Convert, &utf16ToUtf32Measure};
    k.u32u8 = {&utf32ToUtf8Convert, &utf32ToUtf8Measure};
    k.u32u16 = {&utf32ToUtf16Convert, &utf32ToUtf16Measure};
    k.scan8 = {&findStop<u8>, &findSpecial<u8>};
    k.scan16 = {&findStop<u16>, &findSpecial<u16>};
    k.scan32 = {&findStop<u32>, &findSpecial<u32>};
    k.plain8to16 = &copyPlain<u8, u16>;
    k.plain8to32 = &copyPlain<u8, u32>;
    k.plain16to8 = &copyPlain<u16, char>;
    k.plain16to32 = &copyPlain<u16, u32>;
    k.plain32to8 = &copyPlain<u32, char>;
    k.plain32to16 = &copyPlain<u32, u16>;
    k.text8to16 = &convertText<u8, u16, Utf8Text<u16>>;
    k.text8to32 = &convertText<u8, u32, Utf8Text<u32>>;
    k.text16to8 = &convertText<u16, char, Utf16Text<char>>;
    k.text16to32 = &convertText<u16, u32, Utf16Text<u32>>;
    k.text32to8 = &convertText<u32, char, Utf32Text<char>>;
    k.text32to16 = &convertText<u32, u16, Utf32Text<u16>>;
    return k;
}

// Built by the compiler: nothing runs to set it up.
constexpr Kernels kTable = makeKernels();

}  // namespace

const Kernels* avx512Kernels() noexcept { return &kTable; }

QEL_RESOLVER bool avx512Usable() noexcept {
    __builtin_cpu_init();
    return QEL_CPU_HAS("avx512f") && QEL_CPU_HAS("avx512bw") && QEL_CPU_HAS("avx512vl") && QEL_CPU_HAS("avx512dq") &&
           QEL_CPU_HAS("avx512vbmi") && QEL_CPU_HAS("avx512vbmi2") && QEL_CPU_HAS("bmi2");
}

}  // namespace simd
}  // namespace qel
