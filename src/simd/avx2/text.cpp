// SPDX-License-Identifier: MIT
// AVX2 core kernels for text of multi-byte characters: UTF-8 into UTF-16 and
// UTF-32, and UTF-16 (surrogate pairs included) and UTF-32 into UTF-8. Every
// function carries its target attribute itself, so that no code outside this
// file is built for these instructions.
//
// A kernel works in two passes over stretches of a few hundred bytes: the
// first checks whole blocks of 32 bytes and finds how far the characters are
// whole, well formed and of the kinds taken at once, and how many output
// units they make; the second converts the checked stretch in steps of 16
// bytes of UTF-8 or 8 code points. AVX2 has no masked byte or word stores, so
// a step writes whole vectors, some lanes of which lie past its output; as
// the output of the checked characters is known, a step runs only where
// those lanes fall inside it, and every such lane is written over by a later
// step. The last few characters of a stretch are converted one by one, so
// that nothing is written past the output of the characters taken.
//
// The checks read only inside [p, end): these kernels need no exemption from
// the sanitizers.
#include "simd/avx2/text.h"


#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/rules.h"

#define QEL_AVX2 __attribute__((target("avx2,bmi,bmi2,lzcnt,popcnt")))

namespace qel {
namespace simd {
namespace avx2 {
namespace {

using V = __m256i;
using H = __m128i;

// ---- tables ------------------------------------------------------------------------

struct ShuffleTable {
    alignas(16) unsigned char row[256][16];
};

// Row m: the byte indices that gather the 16-bit lanes of an 8-lane vector
// whose bits are set in m to its start, in order (zeros after them).
constexpr ShuffleTable makeCompactWords() {
    ShuffleTable t{};
    for (unsigned m = 0; m < 256; ++m) {
        unsigned k = 0;
        for (unsigned j = 0; j < 8; ++j) {
            if ((m >> j) & 1u) {
                t.row[m][k++] = static_cast<unsigned char>(2 * j);
                t.row[m][k++] = static_cast<unsigned char>(2 * j + 1);
            }
        }
        while (k < 16) t.row[m][k++] = 0x80;
    }
    return t;
}

// Row i, where bits 2j and 2j + 1 of i hold the length less one (0..3) of
// the UTF-8 form in 32-bit lane j of a 4-lane vector: the byte indices that
// put those forms one after another (zeros after them).
constexpr ShuffleTable makePackUtf8() {
    ShuffleTable t{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned k = 0;
        for (unsigned j = 0; j < 4; ++j) {
            const unsigned len = ((i >> (2 * j)) & 3u) + 1;
            for (unsigned b = 0; b < len && k < 16; ++b) t.row[i][k++] = static_cast<unsigned char>(4 * j + b);
        }
        while (k < 16) t.row[i][k++] = 0x80;
    }
    return t;
}

constexpr ShuffleTable kCompactWords = makeCompactWords();
constexpr ShuffleTable kPackUtf8 = makePackUtf8();

// Bit j of a 4-bit value moved to bit 2j.
constexpr unsigned char kSpread4[16] = {0x00, 0x01, 0x04, 0x05, 0x10, 0x11, 0x14, 0x15,
                                        0x40, 0x41, 0x44, 0x45, 0x50, 0x51, 0x54, 0x55};

// Blocks of 32 bytes checked before the checked characters are converted.
constexpr std::size_t kBlocksPerStretch = 16;

// ---- helpers -----------------------------------------------------------------------

QEL_AVX2 inline std::uint32_t lowBits(unsigned n) { return _bzhi_u32(~0u, n); }
QEL_AVX2 inline unsigned highestBit(std::uint32_t m) { return 31u - _lzcnt_u32(m); }
QEL_AVX2 inline unsigned lowestBit(std::uint32_t m) { return _tzcnt_u32(m); }
QEL_AVX2 inline unsigned ones(std::uint32_t m) { return static_cast<unsigned>(_mm_popcnt_u32(m)); }
QEL_AVX2 inline std::uint32_t bytesOf(V v) { return static_cast<std::uint32_t>(_mm256_movemask_epi8(v)); }

template <class T>
QEL_AVX2 inline H load128(const T* p) {
    return _mm_loadu_si128(reinterpret_cast<const H*>(p));
}
template <class T>
QEL_AVX2 inline V load256(const T* p) {
    return _mm256_loadu_si256(reinterpret_cast<const V*>(p));
}
template <class T>
QEL_AVX2 inline void store128(T* p, H v) {
    _mm_storeu_si128(reinterpret_cast<H*>(p), v);
}
template <class T>
QEL_AVX2 inline void store256(T* p, V v) {
    _mm256_storeu_si256(reinterpret_cast<V*>(p), v);
}
QEL_AVX2 inline H low(V v) { return _mm256_castsi256_si128(v); }
QEL_AVX2 inline H high(V v) { return _mm256_extracti128_si256(v, 1); }
QEL_AVX2 inline V rows(const ShuffleTable& t, unsigned r0, unsigned r1) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load128(t.row[r0])), load128(t.row[r1]), 1);
}

QEL_AVX2 inline V bytes(unsigned b) { return _mm256_set1_epi8(static_cast<char>(b)); }
QEL_AVX2 inline V words(unsigned w) { return _mm256_set1_epi16(static_cast<short>(w)); }
QEL_AVX2 inline V dwords(unsigned d) { return _mm256_set1_epi32(static_cast<int>(d)); }
// All ones in the bytes of v from b.
QEL_AVX2 inline V atLeast(V v, unsigned b) { return _mm256_cmpeq_epi8(_mm256_max_epu8(v, bytes(b)), v); }

// What a checking pass found: the characters from where it started to `end`
// are whole, well formed and taken at once.
template <class S>
struct Checked {
    const S* end;
    std::size_t units;    // their output units
    bool stopped;         // what follows `end` is not taken (or the limit is near)
    bool pairs = false;   // UTF-16: the blocks held surrogates
};

// The most positions k of a block, at most `upTo`, whose lanes below k cost
// at most `room` by `cost` (which grows with k), where the lanes below upTo
// do not all fit.
template <class Cost>
QEL_AVX2 inline unsigned fitPositions(unsigned upTo, std::size_t room, Cost cost) {
    unsigned lo = 0, hi = upTo;  // lo fits, hi does not
    while (hi - lo > 1) {
        const unsigned mid = (lo + hi) / 2;
        if (cost(mid) <= room) lo = mid;
        else hi = mid;
    }
    return lo;
}

// ---- UTF-8 -> UTF-16 and UTF-32 ---------------------------------------------------

// Lookup tables of the UTF-8 check, one bit per kind of fault in a pair of
// bytes: by the high and the low half of the first byte and the high half of
// the second. A pair is wrong where all three agree on a bit.
enum : unsigned char {
    kTooShort = 0x01,   // a lead byte, then no continuation byte
    kTooLong = 0x02,    // ASCII, then a continuation byte
    kOverlong3 = 0x04,  // E0, then 80..9F
    kTooLarge = 0x08,   // F4, then 90..BF
    kSurrogate = 0x10,  // ED, then A0..BF
    kOverlong4 = 0x20,  // F0, then 80..8F
    kTwoConts = 0x80,   // two continuation bytes: wrong unless a lead byte of three or four came before
};
constexpr unsigned char kBase = kTooShort | kTooLong | kTwoConts;
alignas(16) constexpr unsigned char kByFirstHigh[16] = {
    kTooLong,  kTooLong,  kTooLong,  kTooLong,  kTooLong, kTooLong, kTooLong, kTooLong, kTwoConts, kTwoConts,
    kTwoConts, kTwoConts, kTooShort, kTooShort, kTooShort | kOverlong3 | kSurrogate,
    kTooShort | kTooLarge | kOverlong4};
alignas(16) constexpr unsigned char kByFirstLow[16] = {
    kBase | kOverlong3 | kOverlong4, kBase, kBase, kBase, kBase | kTooLarge, kBase, kBase, kBase, kBase, kBase, kBase,
    kBase, kBase, kBase | kSurrogate, kBase, kBase};
alignas(16) constexpr unsigned char kBySecondHigh[16] = {
    kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort,
    kTooLong | kTwoConts | kOverlong3 | kOverlong4, kTooLong | kTwoConts | kOverlong3 | kTooLarge,
    kTooLong | kTwoConts | kSurrogate | kTooLarge, kTooLong | kTwoConts | kSurrogate | kTooLarge,
    kTooShort, kTooShort, kTooShort, kTooShort};

QEL_AVX2 inline V lookup(const unsigned char (&table)[16], V nibbles) {
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(load128(table)), nibbles);
}

// The bytes of a 32-byte block at which something is wrong, as movemask
// bits: the second byte of a wrong pair (above), a continuation byte where
// none may be or a byte that is none where one must be, and the lead bytes
// that are wrong themselves (C0, C1, from F5). `prev` is the block before
// (zeros before a character boundary). A fault is found at or after the lead
// byte of the character at fault, never before it.
struct Utf8Checks {
    std::uint32_t bad;
    std::uint32_t cont;   // continuation bytes
    std::uint32_t from3;  // bytes from E0: lead bytes of three or four bytes
    std::uint32_t four;   // from F0: lead bytes of four
};

QEL_AVX2 inline Utf8Checks checkUtf8(V cur, V prev) {
    const V joined = _mm256_permute2x128_si256(prev, cur, 0x21);
    const V prev1 = _mm256_alignr_epi8(cur, joined, 15);
    const V prev2 = _mm256_alignr_epi8(cur, joined, 14);
    const V prev3 = _mm256_alignr_epi8(cur, joined, 13);
    const V low4 = bytes(0x0F);
    const V pairs = _mm256_and_si256(
        _mm256_and_si256(lookup(kByFirstHigh, _mm256_and_si256(_mm256_srli_epi16(prev1, 4), low4)),
                         lookup(kByFirstLow, _mm256_and_si256(prev1, low4))),
        lookup(kBySecondHigh, _mm256_and_si256(_mm256_srli_epi16(cur, 4), low4)));
    // Two continuation bytes in a row are right exactly where a lead byte of
    // three or four bytes stands two before, or one of four three before.
    const V must = _mm256_and_si256(_mm256_or_si256(_mm256_subs_epu8(prev2, bytes(0xE0 - 0x80)),
                                                    _mm256_subs_epu8(prev3, bytes(0xF0 - 0x80))),
                                    bytes(0x80));
    const V badLead =
        _mm256_or_si256(atLeast(cur, 0xF5), _mm256_cmpeq_epi8(_mm256_and_si256(cur, bytes(0xFE)), bytes(0xC0)));
    const V wrong = _mm256_or_si256(_mm256_xor_si256(pairs, must), badLead);
    // Continuation bytes, 80..BF, are the bytes below C0 as signed bytes.
    return {~bytesOf(_mm256_cmpeq_epi8(wrong, _mm256_setzero_si256())),
            bytesOf(_mm256_cmpgt_epi8(bytes(0xC0), cur)), bytesOf(atLeast(cur, 0xE0)), bytesOf(atLeast(cur, 0xF0))};
}

// Checks whole blocks of 32 bytes from `from` (a character boundary) while
// they lie before `limit`, at most `blocks` of them, and their characters'
// units at most `room`. It ends at the first block that holds anything else
// than whole, well-formed characters, before the character at fault (or
// earlier), or before the first character whose units would not fit, or
// else after the last character that ends in the last block. Units are
// counted in UTF-16 (kUtf16) or UTF-32.
template <bool kUtf16>
QEL_AVX2 inline Checked<u8> checkUtf8Stretch(const u8* from, const u8* limit, std::size_t room, std::size_t blocks) {
    const u8* b = from;
    V prev = _mm256_setzero_si256();
    std::size_t units = 0;  // those of the blocks' lead bytes, that of a character not yet ended included
    unsigned open = 0;       // bytes at the end of the block before of a character that goes on
    unsigned openUnits = 0;  // and its units
    // A block makes at most 32 units: with room for all of them, no block
    // needs to count its own (nor does a measuring pass, which has no room).
    const bool tight = room != SIZE_MAX && room / 32 < blocks;
    for (; blocks > 0 && limit - b >= 32; --blocks) {
        const V cur = load256(b);
        const std::uint32_t other = bytesOf(cur);
        const Utf8Checks c = checkUtf8(cur, prev);
        const std::uint32_t leads = ~c.cont;
        // The units of the characters of this block that start before
        // position k (the one that goes on from the block before is counted).
        const auto unitsBefore = [&](unsigned k) {
            return units + ones(leads & lowBits(k)) + (kUtf16 ? ones(c.four & lowBits(k)) : 0);
        };
        // The characters up to position `upTo` (before a lead byte), or as
        // many of them as fit; ends the stretch.
        const auto endAt = [&](unsigned upTo) -> Checked<u8> {
            if (units > room) return {b - open, units - openUnits, true};
            if (unitsBefore(upTo) > room) upTo = fitPositions(upTo, room, unitsBefore);
            return {b + upTo, unitsBefore(upTo), true};
        };
        if (c.bad != 0) {
            // The characters end before the last lead byte before the fault
            // (which may leave out a good character before it), or before
            // the character that goes on from the block before.
            const std::uint32_t before = leads & lowBits(lowestBit(c.bad));
            if (before == 0) return {b - open, units - openUnits, true};
            return endAt(highestBit(before));
        }
        // A character goes on when a lead byte stands last, one of three or
        // four bytes last but one, or one of four last but two (in a block
        // without faults at most one of these).
        const unsigned from2 = (other & leads) >> 31, from3 = (c.from3 >> 30) & 1u, from4 = (c.four >> 29) & 1u;
        const unsigned goesOn = from2 + 2 * from3 + 3 * from4;
        if (tight && unitsBefore(32 - goesOn) > room) return endAt(32 - goesOn);
        units += ones(leads) + (kUtf16 ? ones(c.four) : 0);
        open = goesOn;
        openUnits = (from2 | from3 | from4) + (kUtf16 && (c.four >> 29) != 0 ? 1 : 0);
        prev = cur;
        b += 32;
    }
    return {b - open, units - openUnits, limit - b < 32};
}

// Widens 16 or 32 ASCII bytes into units of D.
template <class D>
QEL_AVX2 inline void widen16(H in, D* o) {
    if constexpr (sizeof(D) == 2) {
        store256(o, _mm256_cvtepu8_epi16(in));
    } else {
        store256(o, _mm256_cvtepu8_epi32(in));
        store256(o + 8, _mm256_cvtepu8_epi32(_mm_srli_si128(in, 8)));
    }
}
template <class D>
QEL_AVX2 inline void widen32(V in, D* o) {
    widen16(low(in), o);
    widen16(high(in), o + 16);
}

// Gathers the 16-bit lanes in `keep` of each half of `values` to its start
// and writes them at o as units of D, those of the first half first (and
// those of `highBits`, bits 16..20 of code points, into UTF-32 with them
// when `hasHigh`).
// Writes 16 output units, of which those past the lanes' are written over
// later. Returns the units of the lanes.
template <class D>
QEL_AVX2 inline unsigned storeLanes(V values, V highBits, bool hasHigh, std::uint32_t keep, D* o) {
    const unsigned k0 = keep & 0xFFu, k1 = keep >> 8;
    const V shuffle = rows(kCompactWords, k0, k1);
    const V packed = _mm256_shuffle_epi8(values, shuffle);
    const unsigned c0 = ones(k0);
    if constexpr (sizeof(D) == 2) {
        store128(o, low(packed));
        store128(o + c0, high(packed));
    } else if (!hasHigh) {
        store256(o, _mm256_cvtepu16_epi32(low(packed)));
        store256(o + c0, _mm256_cvtepu16_epi32(high(packed)));
    } else {
        const V packedHigh = _mm256_shuffle_epi8(highBits, shuffle);
        const V first = _mm256_unpacklo_epi16(packed, packedHigh);
        const V second = _mm256_unpackhi_epi16(packed, packedHigh);
        store256(o, _mm256_permute2x128_si256(first, second, 0x20));
        store256(o + c0, _mm256_permute2x128_si256(first, second, 0x31));
    }
    return c0 + ones(k1);
}

// Converts the characters whose lead bytes are among the 16 bytes at q
// (which may start inside a character: its continuation bytes are left
// out), all of them checked characters, and returns the units written. It
// writes 16 output units, of which those past the characters' are written
// over later. The 16 bytes at q and the vectors of their next bytes are
// loaded from fixed places, so that one step need not wait on the one
// before.
template <class D>
QEL_AVX2 inline unsigned utf8Step(const u8* q, D* o) {
    const H in = load128(q);
    const std::uint32_t cont =
        static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(0xC0)), in)));
    const std::uint32_t leads = ~cont & 0xFFFFu;
    const std::uint32_t four = static_cast<std::uint32_t>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(in, _mm_set1_epi8(static_cast<char>(0xF0))), in)));
    // The code point of the character at each lead byte, in 16-bit lanes.
    const V b0 = _mm256_cvtepu8_epi16(in);
    const V low6 = words(0x3F);
    const V t1 = _mm256_and_si256(_mm256_cvtepu8_epi16(load128(q + 1)), low6);
    const V t2 = _mm256_and_si256(_mm256_cvtepu8_epi16(load128(q + 2)), low6);
    const V two = _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(b0, 6), words(0x7C0)), t1);
    const V three = _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi16(b0, 12), _mm256_slli_epi16(t1, 6)), t2);
    V cp = _mm256_blendv_epi8(_mm256_blendv_epi8(two, three, _mm256_cmpgt_epi16(b0, words(0xDF))), b0,
                              _mm256_cmpgt_epi16(words(0x80), b0));
    if (four == 0) return storeLanes(cp, cp, false, leads, o);
    const V isFour = _mm256_cmpgt_epi16(b0, words(0xEF));
    if constexpr (sizeof(D) == 2) {
        // The high surrogate of a four-byte character on its lead byte,
        // D7C0 + (cp >> 10); its low surrogate on the byte after it, from
        // the two bytes that follow that one.
        const V highHalf = _mm256_add_epi16(
            _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(b0, words(7)), 8),
                                            _mm256_slli_epi16(t1, 2)),
                            _mm256_srli_epi16(t2, 4)),
            words(0xD7C0));
        const V lowHalf =
            _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(t1, words(0xF)), 6), t2), words(0xDC00));
        const V afterFour = _mm256_cmpgt_epi16(_mm256_cvtepu8_epi16(_mm_slli_si128(in, 1)), words(0xEF));
        cp = _mm256_blendv_epi8(_mm256_blendv_epi8(cp, highHalf, isFour), lowHalf, afterFour);
        // A character whose low surrogate would be the 17th lane is written
        // after the others, by itself.
        const std::uint32_t last16 = four & 0x8000u;
        unsigned n = storeLanes(cp, cp, false, (leads & ~last16) | ((four & ~last16) << 1), o);
        if (last16 != 0) {
            u32 c = 0;
            rules::decodeUtf8(q + 15, q + 19, c);
            n += static_cast<unsigned>(rules::encodeUtf16(c, o + n));
        }
        return n;
    } else {
        // Bits 0..15 of the code point of a four-byte character, and 16..20.
        const V t3 = _mm256_and_si256(_mm256_cvtepu8_epi16(load128(q + 3)), low6);
        const V low16 = _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi16(t1, 12), _mm256_slli_epi16(t2, 6)), t3);
        const V high5 = _mm256_and_si256(
            _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(b0, words(7)), 2), _mm256_srli_epi16(t1, 4)), isFour);
        return storeLanes(_mm256_blendv_epi8(cp, low16, isFour), high5, true, leads, o);
    }
}

template <class D>
QEL_AVX2 Stop utf8Convert(const u8** pp, const u8* end, D** oo, const D* outEnd) {
    const u8* p = *pp;
    D* o = *oo;
    const u8* const limit = end - 1;
    std::size_t room = static_cast<std::size_t>(outEnd - o) - 1;  // from `filled` on
    const u8* checked = p;  // the characters from p to here are checked
    D* filled = o;          // and their output ends here
    for (;;) {
        if (p == checked) {
            // Whole blocks of ASCII in one pass.
            while (limit - p >= 32 && room >= 32) {
                const V in = load256(p);
                if (bytesOf(in) != 0) break;
                widen32(in, o);
                p += 32;
                o += 32;
                room -= 32;
            }
            checked = p;
            filled = o;
        }
        const Checked<u8> c = checkUtf8Stretch<sizeof(D) == 2>(checked, limit, room, kBlocksPerStretch);
        checked = c.end;
        filled += c.units;
        room -= c.units;
        // A step reads three bytes past its 16 and writes 16 units. Where
        // the steps end, p moves on past the character that they took last.
        if (checked - p >= 19 && filled - o >= 16) {
            do {
                o += utf8Step(p, o);
                p += 16;
            } while (checked - p >= 19 && filled - o >= 16);
            while (rules::isContinuation(*p)) ++p;
        }
        if (c.stopped) break;
    }
    while (p != checked) {
        u32 cp = 0;
        p += rules::decodeUtf8(p, checked, cp);
        if constexpr (sizeof(D) == 2) {
            o += rules::encodeUtf16(cp, o);
        } else {
            *o++ = cp;
        }
    }
    *pp = p;
    *oo = o;
    return stopAt(p, limit, o, outEnd - 1);
}

template <bool kUtf16>
QEL_AVX2 Stop utf8Measure(const u8** pp, const u8* end, unsigned int* n) {
    const Checked<u8> c = checkUtf8Stretch<kUtf16>(*pp, end - 1, SIZE_MAX, SIZE_MAX);
    *n += static_cast<unsigned int>(c.units);
    *pp = c.end;
    return c.end == end - 1 ? Stop::End : Stop::Other;
}

// ---- UTF-16 and UTF-32 -> UTF-8 ---------------------------------------------------

// Checks whole blocks of 32 bytes from `from` (a character boundary) while
// they lie before `limit`, at most `blocks` of them, and their UTF-8 at most
// `room` bytes. It ends before the first unit that is not taken: in UTF-16 a
// surrogate that is not part of a well-formed pair, in UTF-32 a surrogate
// code or anything above 0x10FFFF; or before the first block whose UTF-8
// would not fit.
//
// UTF-16 blocks follow one another at a fixed stride, so that the next load
// never waits on the checks of the block before: a pair that a block's end
// splits is carried into the next block, whose first unit must then be its
// low surrogate, and is left out again (with its two bytes) when the check
// ends there.
template <class S>
QEL_AVX2 inline Checked<S> checkWideStretch(const S* from, const S* limit, std::size_t room, std::size_t blocks) {
    constexpr std::ptrdiff_t kLanes = 32 / sizeof(S);
    const S* b = from;
    std::size_t units = 0;
    std::uint32_t carry = 0;  // 3 when the block before ended with a high surrogate
    bool pairs = false;
    const auto done = [&](bool stopped) {
        if (carry != 0) return Checked<S>{b - 1, units - 2, true, pairs};
        return Checked<S>{b, units, stopped, pairs};
    };
    for (; blocks > 0 && limit - b >= kLanes; --blocks) {
        const V v = load256(b);
        if constexpr (sizeof(S) == 2) {
            const std::uint32_t from80 = bytesOf(_mm256_cmpeq_epi16(_mm256_max_epu16(v, words(0x80)), v));
            const std::uint32_t from800 = bytesOf(_mm256_cmpeq_epi16(_mm256_max_epu16(v, words(0x800)), v));
            const std::uint32_t sur =
                bytesOf(_mm256_cmpeq_epi16(_mm256_and_si256(v, words(0xF800)), words(0xD800)));
            if ((sur | carry) == 0) {
                // No surrogates: one, two or three bytes a unit.
                const std::size_t more = kLanes + (ones(from80) + ones(from800)) / 2;
                if (units + more > room) {
                    // The units that fit, and the kernel ends after them.
                    const auto bytesBefore = [&](unsigned k) {
                        const std::uint32_t in = lowBits(2 * k);
                        return units + k + (ones(from80 & in) + ones(from800 & in)) / 2;
                    };
                    const unsigned fit = fitPositions(kLanes, room, bytesBefore);
                    units = bytesBefore(fit);
                    b += fit;
                    return done(true);
                }
                units += more;
                b += kLanes;
                continue;
            }
            const std::uint32_t hi =
                bytesOf(_mm256_cmpeq_epi16(_mm256_and_si256(v, words(0xFC00)), words(0xD800)));
            const std::uint32_t lo = sur & ~hi;
            pairs = true;
            // A low surrogate must follow each high one, and only there.
            const std::uint32_t highBefore = (hi << 2) | carry;
            const std::uint32_t bad = highBefore ^ lo;
            // Lanes taken, two bits each: all, or those before the first
            // lane at fault, less the high surrogate before it if any.
            std::uint32_t in = ~0u;
            if (bad != 0) {
                const unsigned cut = lowestBit(bad);
                if (cut == 0) return done(true);
                in = ((highBefore >> cut) & 1u) != 0 ? lowBits(cut - 2) : lowBits(cut);
            }
            // Three bytes for each unit from 0x800, but four for a pair.
            const auto bytesOfLanes = [&](std::uint32_t lanes) {
                return (ones(lanes) + ones(from80 & lanes) + ones(from800 & lanes) - ones(sur & lanes)) / 2;
            };
            const std::size_t more = bytesOfLanes(in);
            if (units + more > room) {
                // The units that fit, and no pair split: the kernel ends
                // after them.
                const auto bytesBefore = [&](unsigned k) { return units + bytesOfLanes(in & lowBits(2 * k)); };
                unsigned fit = fitPositions(ones(in) / 2, room, bytesBefore);
                if (fit != 0 && ((hi >> (2 * fit - 2)) & 1u) != 0) --fit;
                if (fit != 0) carry = 0;
                units = bytesBefore(fit);
                b += fit;
                return done(true);
            }
            units += more;
            if (bad != 0) {
                b += ones(in) / 2;
                carry = 0;
                return done(true);
            }
            carry = hi >> 30;
            b += kLanes;
        } else {
            const V d = _mm256_sub_epi32(v, dwords(0xD800));
            const V sur = _mm256_cmpeq_epi32(_mm256_min_epu32(d, dwords(0x7FF)), d);
            const V big = _mm256_cmpeq_epi32(_mm256_max_epu32(v, dwords(0x110000)), v);
            const std::uint32_t other = bytesOf(_mm256_or_si256(sur, big));
            const unsigned lanes = other == 0 ? unsigned{kLanes} : lowestBit(other) / 4;
            const std::uint32_t in = lowBits(lanes * 4);
            const std::uint32_t from80 = bytesOf(_mm256_cmpeq_epi32(_mm256_max_epu32(v, dwords(0x80)), v)) & in;
            const std::uint32_t from800 = bytesOf(_mm256_cmpeq_epi32(_mm256_max_epu32(v, dwords(0x800)), v)) & in;
            const std::uint32_t from10000 =
                bytesOf(_mm256_cmpeq_epi32(_mm256_max_epu32(v, dwords(0x10000)), v)) & in;
            const std::size_t more = lanes + (ones(from80) + ones(from800) + ones(from10000)) / 4;
            if (units + more > room) {
                // The units that fit, and the kernel ends after them.
                const auto bytesBefore = [&](unsigned k) {
                    const std::uint32_t before = lowBits(4 * k);
                    return units + k + (ones(from80 & before) + ones(from800 & before) + ones(from10000 & before)) / 4;
                };
                const unsigned fit = fitPositions(lanes, room, bytesBefore);
                units = bytesBefore(fit);
                b += fit;
                return done(true);
            }
            units += more;
            b += lanes;
            if (lanes != kLanes) return done(true);
        }
    }
    return done(limit - b < kLanes);
}

// Writes 8 units in 32-bit lanes as UTF-8: code points, those from 0x10000
// only when kFour, and with kPairs surrogates of pairs too, whose four bytes
// are split between them, the first three on the high surrogate and the last
// on the low one (`after` holds the unit after each lane, of which only
// those after high surrogates are used). Writes up to kFour ? 32 : 28 bytes,
// of which those past the forms' are written over later.
template <bool kFour, bool kPairs>
QEL_AVX2 inline unsigned storeUtf8(V u, V after, char* o) {
    V from80 = _mm256_cmpgt_epi32(u, dwords(0x7F));
    V from800 = _mm256_cmpgt_epi32(u, dwords(0x7FF));
    // The form of each code point in its lane, first byte lowest.
    const V low6 = dwords(0x3F), cont = dwords(0x80);
    const V last = _mm256_or_si256(_mm256_and_si256(u, low6), cont);
    const V mid = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(u, 6), low6), cont);
    const V two = _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi32(u, 6), dwords(0xC0)), _mm256_slli_epi32(last, 8));
    const V three = _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi32(u, 12), dwords(0xE0)),
                                    _mm256_or_si256(_mm256_slli_epi32(mid, 8), _mm256_slli_epi32(last, 16)));
    V forms = _mm256_blendv_epi8(_mm256_blendv_epi8(u, two, from80), three, from800);
    unsigned m4 = 0;
    if constexpr (kFour) {
        const V from10000 = _mm256_cmpgt_epi32(u, dwords(0xFFFF));
        m4 = static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(from10000)));
        const V second = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(u, 12), low6), cont);
        const V four = _mm256_or_si256(
            _mm256_or_si256(_mm256_srli_epi32(u, 18), dwords(0xF0)),
            _mm256_or_si256(_mm256_slli_epi32(second, 8),
                            _mm256_or_si256(_mm256_slli_epi32(mid, 16), _mm256_slli_epi32(last, 24))));
        forms = _mm256_blendv_epi8(forms, four, from10000);
    }
    if constexpr (kPairs) {
        const V top = _mm256_and_si256(u, dwords(0xFC00));
        const V isHigh = _mm256_cmpeq_epi32(top, dwords(0xD800));
        const V isLow = _mm256_cmpeq_epi32(top, dwords(0xDC00));
        // With a high surrogate h and a low one l, the code point is
        // (w << 10) + (l & 3FF) where w = (h & 3FF) + 40: its bytes are
        // F0 | w >> 8, 80 | (w >> 2) & 3F, 80 | (w & 3) << 4 | (l >> 6) & F
        // and 80 | l & 3F (`last` of the low surrogate, one byte).
        const V w = _mm256_add_epi32(_mm256_and_si256(u, dwords(0x3FF)), dwords(0x40));
        const V third = _mm256_or_si256(
            _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi32(w, 4), dwords(0x30)),
                            _mm256_and_si256(_mm256_srli_epi32(after, 6), dwords(0xF))),
            cont);
        const V highForm = _mm256_or_si256(
            _mm256_or_si256(_mm256_srli_epi32(w, 8), dwords(0xF0)),
            _mm256_or_si256(
                _mm256_slli_epi32(_mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(w, 2), low6), cont), 8),
                _mm256_slli_epi32(third, 16)));
        forms = _mm256_blendv_epi8(_mm256_blendv_epi8(forms, highForm, isHigh), last, isLow);
        from80 = _mm256_andnot_si256(isLow, from80);
        from800 = _mm256_andnot_si256(isLow, from800);
    }
    const unsigned m2 = static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(from80)));
    const unsigned m3 = static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(from800)));
    const V packed = _mm256_shuffle_epi8(
        forms, rows(kPackUtf8, kSpread4[m2 & 15u] + kSpread4[m3 & 15u] + kSpread4[m4 & 15u],
                    kSpread4[m2 >> 4] + kSpread4[m3 >> 4] + kSpread4[m4 >> 4]));
    const unsigned c0 = 4 + ones(m2 & 15u) + ones(m3 & 15u) + ones(m4 & 15u);
    store128(o, low(packed));
    store128(o + c0, high(packed));
    return 8 + ones(m2) + ones(m3) + ones(m4);
}

// Writes the 8 units at p as UTF-8 (see storeUtf8), surrogate pairs
// included when kPairs, which read the unit after the 8 too (inside the
// checked units, which always end before the last unit).
template <class S, bool kPairs>
QEL_AVX2 inline unsigned wideStep(const S* p, char* o) {
    if constexpr (sizeof(S) == 4) {
        return storeUtf8<true, false>(load256(p), load256(p), o);
    } else if constexpr (!kPairs) {
        const V u = _mm256_cvtepu16_epi32(load128(p));
        return storeUtf8<false, false>(u, u, o);
    } else {
        return storeUtf8<false, true>(_mm256_cvtepu16_epi32(load128(p)), _mm256_cvtepu16_epi32(load128(p + 1)), o);
    }
}

// Converts the checked units from *p in steps while a step's 8 units lie
// before `checked` and its 32 bytes before `filled`. Where the steps end
// inside a pair, *p goes back to its high surrogate, whose three bytes are
// written again.
template <class S, bool kPairs>
QEL_AVX2 inline void wideSteps(const S*& p, const S* checked, char*& o, const char* filled) {
    if (checked - p < 8 || filled - o < 32) return;
    do {
        o += wideStep<S, kPairs>(p, o);
        p += 8;
    } while (checked - p >= 8 && filled - o >= 32);
    if (kPairs && rules::isHighSurrogate(static_cast<u32>(p[-1]))) {
        --p;
        o -= 3;
    }
}

template <class S>
QEL_AVX2 Stop wideToUtf8Convert(const S** pp, const S* end, char** oo, const char* outEnd) {
    constexpr std::ptrdiff_t kLanes = 32 / sizeof(S);
    const S* p = *pp;
    char* o = *oo;
    const S* const limit = end - 1;
    std::size_t room = static_cast<std::size_t>(outEnd - o) - 1;
    const S* checked = p;  // the units from p to here are checked
    char* filled = o;      // and their UTF-8 ends here
    const S* pairsEnd = p;  // the checked units from here hold no surrogates
    for (;;) {
        if (p == checked) {
            // Whole blocks of ASCII in one pass.
            const V nonAscii = sizeof(S) == 2 ? words(0xFF80) : dwords(0xFFFFFF80u);
            while (limit - p >= kLanes && room >= static_cast<std::size_t>(kLanes)) {
                const V in = load256(p);
                if (!_mm256_testz_si256(in, nonAscii)) break;
                if constexpr (sizeof(S) == 2) {
                    store128(o, _mm_packus_epi16(low(in), high(in)));
                } else {
                    const H w = _mm_packus_epi32(low(in), high(in));
                    _mm_storel_epi64(reinterpret_cast<H*>(o), _mm_packus_epi16(w, w));
                }
                p += kLanes;
                o += kLanes;
                room -= static_cast<std::size_t>(kLanes);
            }
            checked = p;
            filled = o;
        }
        const Checked<S> c = checkWideStretch(checked, limit, room, kBlocksPerStretch);
        checked = c.end;
        filled += c.units;
        room -= c.units;
        // The steps of a stretch without surrogates (nor any left from the
        // stretch before) need not look for pairs.
        if (c.pairs) pairsEnd = checked;
        if (p < pairsEnd) {
            wideSteps<S, true>(p, checked, o, filled);
        } else {
            wideSteps<S, false>(p, checked, o, filled);
        }
        if (c.stopped) break;
    }
    while (p != checked) {
        u32 cp = static_cast<u32>(*p);
        if constexpr (sizeof(S) == 2) {
            p += rules::decodeUtf16(p, checked, cp);
        } else {
            ++p;
        }
        o += rules::encodeUtf8(cp, o);
    }
    *pp = p;
    *oo = o;
    return stopAt(p, limit, o, outEnd - 1);
}

template <class S>
QEL_AVX2 Stop wideToUtf8Measure(const S** pp, const S* end, unsigned int* n) {
    const Checked<S> c = checkWideStretch(*pp, end - 1, SIZE_MAX, SIZE_MAX);
    *n += static_cast<unsigned int>(c.units);
    *pp = c.end;
    return c.end == end - 1 ? Stop::End : Stop::Other;
}

}  // namespace

QEL_AVX2 Stop utf8ToUtf16Convert(const u8** p, const u8* end, u16** o, const u16* outEnd) noexcept {
    return utf8Convert(p, end, o, outEnd);
}
QEL_AVX2 Stop utf8ToUtf16Measure(const u8** p, const u8* end, unsigned int* n) noexcept {
    return utf8Measure<true>(p, end, n);
}
QEL_AVX2 Stop utf8ToUtf32Convert(const u8** p, const u8* end, u32** o, const u32* outEnd) noexcept {
    return utf8Convert(p, end, o, outEnd);
}
QEL_AVX2 Stop utf8ToUtf32Measure(const u8** p, const u8* end, unsigned int* n) noexcept {
    return utf8Measure<false>(p, end, n);
}
QEL_AVX2 Stop utf16ToUtf8Convert(const u16** p, const u16* end, char** o, const char* outEnd) noexcept {
    return wideToUtf8Convert(p, end, o, outEnd);
}
QEL_AVX2 Stop utf16ToUtf8Measure(const u16** p, const u16* end, unsigned int* n) noexcept {
    return wideToUtf8Measure(p, end, n);
}
QEL_AVX2 Stop utf32ToUtf8Convert(const u32** p, const u32* end, char** o, const char* outEnd) noexcept {
    return wideToUtf8Convert(p, end, o, outEnd);
}
QEL_AVX2 Stop utf32ToUtf8Measure(const u32** p, const u32* end, unsigned int* n) noexcept {
    return wideToUtf8Measure(p, end, n);
}

}  // namespace avx2
}  // namespace simd
}  // namespace qel
