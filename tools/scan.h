// SPDX-License-Identifier: MIT
// scan.h - what qelconv needs to know about text beyond the library's
// conversions: fast unit searches, where a block may be cut so that block-wise
// conversion equals whole-input conversion, and a walker that finds the first
// ill-formed character and its line and column. Control sequences are
// recognised, and characters decoded, by the library's own rules.
//
// Units are in machine order here. UTF-8 text is handled as unsigned bytes.
#ifndef QELCONV_SCAN_H
#define QELCONV_SCAN_H

#include <qel/qelchars.h>

#include "common/sequence.h"
#include "core/rules.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qelconv {

using U8 = qel::u8;
using U16 = qel::u16;
using U32 = qel::u32;
namespace rules = qel::rules;
namespace seq = qel::seq;

// How an embedded control sequence is spelled in the text being scanned, and
// how UTF-8 is validated.
enum class Form {
    Fixed,     // one unit per content character (UTF-16, UTF-32, raw UTF-8)
    Standard,  // UTF-8 with two-byte content characters U+0080..U+009F
    Repair     // UTF-8 as the surrogate repair sees it: pairs of halves
               // allowed, no sequences (their bytes are ordinary UTF-8)
};

// The longest stretch that the recognition of one sequence can look at,
// start unit included: the start unit, 17 two-byte characters, the end unit.
constexpr std::size_t kSequenceSpan = 2 + 2 * seq::kMaxContent;

// ---------------------------------------------------------------------------
// Word-at-a-time unit searches. A 64-bit word holds 8, 4 or 2 lanes; the exact
// zero-lane test below never borrows across lanes, so it can count as well as
// find.

template <class U>
struct Lanes {
    static constexpr unsigned bits = 8 * sizeof(U);
    static constexpr std::uint64_t one = bits == 8 ? 0x0101010101010101ull
                                         : bits == 16 ? 0x0001000100010001ull
                                                      : 0x0000000100000001ull;
    static constexpr std::uint64_t high = one << (bits - 1);
    static constexpr std::uint64_t low = ~high;
    static constexpr std::size_t perWord = 8 / sizeof(U);

    // Top bit of every lane that equals zero, and nothing else.
    static std::uint64_t zeroLanes(std::uint64_t x) {
        std::uint64_t y = (x & low) + low;
        return ~(y | x | low);
    }
    static std::uint64_t load(const U* p) {
        std::uint64_t x;
        std::memcpy(&x, p, 8);
        return x;
    }
};

// Index of the first unit equal to v in p[0..n), or n.
template <class U>
std::size_t findUnit(const U* p, std::size_t n, U v) {
    if constexpr (sizeof(U) == 1) {
        const void* hit = std::memchr(p, v, n);
        return hit ? static_cast<std::size_t>(static_cast<const U*>(hit) - p) : n;
    } else {
        using L = Lanes<U>;
        const std::uint64_t pattern = L::one * static_cast<std::uint64_t>(v);
        std::size_t i = 0;
        for (; i + L::perWord <= n; i += L::perWord)
            if (L::zeroLanes(L::load(p + i) ^ pattern)) break;
        for (; i < n; ++i)
            if (p[i] == v) return i;
        return n;
    }
}

// Number of lanes in whole words of p[0..n) for which pick(word) sets the top
// bit; the units of the last partial word are left to the caller (*done says
// how many were covered). Lane counts are summed in place, 255 words at most
// between two horizontal sums, so nothing needs a population count.
template <class U, class Pick>
std::size_t countLanes(const U* p, std::size_t n, std::size_t* done, Pick pick) {
    using L = Lanes<U>;
    constexpr std::uint64_t laneMax = L::bits == 32 ? 0xFFFFFFFFull : (1ull << L::bits) - 1;
    std::size_t count = 0, i = 0;
    while (i + L::perWord <= n) {
        std::uint64_t sums = 0;
        for (unsigned w = 0; w < 255 && i + L::perWord <= n; ++w, i += L::perWord)
            sums += pick(L::load(p + i)) >> (L::bits - 1);
        for (unsigned k = 0; k < 64; k += L::bits) count += static_cast<std::size_t>((sums >> k) & laneMax);
    }
    *done = i;
    return count;
}

// Number of units equal to v in p[0..n).
template <class U>
std::size_t countUnit(const U* p, std::size_t n, U v) {
    using L = Lanes<U>;
    const std::uint64_t pattern = L::one * static_cast<std::uint64_t>(v);
    std::size_t i;
    std::size_t count = countLanes(p, n, &i, [pattern](std::uint64_t x) { return L::zeroLanes(x ^ pattern); });
    for (; i < n; ++i) count += p[i] == v;
    return count;
}

// Characters in well-formed p[0..n) with sequences in the standard or fixed
// form: UTF-8 continuation bytes and UTF-16 low surrogates do not start one.
template <class U>
std::size_t countChars(const U* p, std::size_t n) {
    if constexpr (sizeof(U) == 4) {
        return n;
    } else {
        using L = Lanes<U>;
        // A UTF-8 byte 10xxxxxx, or a UTF-16 unit 110111xxxxxxxxxx.
        constexpr unsigned kMask = sizeof(U) == 1 ? 0xC0u : 0xFC00u;
        constexpr unsigned kTail = sizeof(U) == 1 ? 0x80u : 0xDC00u;
        std::size_t i;
        std::size_t tails = countLanes(p, n, &i, [](std::uint64_t x) {
            return L::zeroLanes((x & (L::one * kMask)) ^ (L::one * kTail));
        });
        for (; i < n; ++i) tails += sizeof(U) == 1 ? rules::isContinuation(p[i]) : rules::isLowSurrogate(p[i]);
        return n - tails;
    }
}

// ---------------------------------------------------------------------------
// Embedded control sequences, recognised as the library's converters do.

// Length in units of the sequence starting at p[0] (a 0x01), or 0 when none
// starts there. avail is the number of units readable from p.
template <class U>
std::size_t sequenceLength(const U* p, std::size_t avail, Form form) {
    seq::Recognised<U> found;
    if constexpr (sizeof(U) == 1) {
        found = form == Form::Standard ? seq::StdUtf8Form::recognise(p, p + avail)
                                       : seq::RawUtf8Form::recognise(p, p + avail);
    } else {
        found = seq::FixedForm<U>::recognise(p, p + avail);
    }
    return found.valid ? static_cast<std::size_t>(found.stop - p) + 1 : 0;
}

// ---------------------------------------------------------------------------
// Block cutting.

// Whether the three bytes at p spell a high (or a low) surrogate, which the
// surrogate repair joins into one character.
inline bool isSurrogateHalf(const U8* p, bool high) {
    U32 cp;
    return rules::decodeUtf8(p, 3, cp, rules::Utf8Surrogates::Accept) == 3 &&
           (high ? rules::isHighSurrogate(cp) : rules::isLowSurrogate(cp));
}

// p[0..n) is the buffered input, more of which follows. The
// result is the largest cut that ends neither inside a character (nor between
// two surrogate halves that the repair joins) nor inside, or within the look
// of, a possible control sequence.
template <class U>
std::size_t cutPoint(const U* p, std::size_t n, Form form) {
    std::size_t c = n;
    if constexpr (sizeof(U) == 1) {
        std::size_t i = c;
        while (i > 0 && c - i < 3 && rules::isContinuation(p[i - 1])) --i;
        // A byte that leads no character is ill-formed whatever follows it.
        if (i > 0) {
            const std::size_t len = static_cast<std::size_t>(rules::utf8LeadLength(p[i - 1]));
            if (len != 0 && i - 1 + len > c) c = i - 1;
        }
        if (form == Form::Repair && c >= 3 && isSurrogateHalf(p + c - 3, true))
            c -= 3;  // a high half: keep it with the low half that may follow
    } else if constexpr (sizeof(U) == 2) {
        if (c > 0 && rules::isHighSurrogate(p[c - 1])) --c;
    }
    // A 0x01 whose recognition could reach the cut starts the next block; no
    // sequence spans a later 0x01, so the last one in reach is enough.
    const std::size_t low = c > kSequenceSpan ? c - kSequenceSpan : 0;
    for (std::size_t i = c; i > low; --i)
        if (p[i - 1] == 1) return i - 1;
    return c;
}

// ---------------------------------------------------------------------------
// The walker. It follows the text as the library's converters do: sequences
// are skipped whole, every other character is checked by the library's own
// length functions.

struct Walk {
    std::size_t stop = 0;       // first ill-formed character, or the end
    bool illFormed = false;
    std::uint64_t newlines = 0;  // U+000A before stop
    std::uint64_t column = 0;    // characters between the last U+000A (or the start) and stop
};

// Length of the well-formed character at p[0] (1 for a zero unit), or 0.
template <class U>
std::size_t characterLength(const U* p, std::size_t avail, Form form) {
    int r;
    if constexpr (sizeof(U) == 1) {
        if (p[0] < 0x80) return 1;
        r = qel_u8clen(reinterpret_cast<const char*>(p), avail);
        if (r <= 0 && form == Form::Repair && avail >= 6 && isSurrogateHalf(p, true) && isSurrogateHalf(p + 3, false))
            return 6;  // a high half and a low half: one character once repaired
    } else if constexpr (sizeof(U) == 2) {
        r = qel_u16clen(p, avail);
    } else {
        r = qel_u32clen(p, avail);
    }
    return r < 0 ? 0 : r == 0 ? 1 : static_cast<std::size_t>(r);
}

template <class U>
Walk walk(const U* p, std::size_t n, Form form) {
    Walk w;
    std::size_t i = 0;
    while (i < n) {
        std::size_t len = 0, chars = 1;
        if (p[i] == 1 && form != Form::Repair) {
            len = sequenceLength(p + i, n - i, form);
            if (len) chars = form == Form::Standard ? countChars(p + i, len) : len;
        }
        if (!len) {
            len = characterLength(p + i, n - i, form);
            if (!len) {
                w.illFormed = true;
                break;
            }
        }
        if (p[i] == 0x0A) {
            ++w.newlines;
            w.column = 0;
        } else {
            w.column += chars;
        }
        i += len;
    }
    w.stop = i;
    return w;
}

}  // namespace qelconv

#endif  // QELCONV_SCAN_H
