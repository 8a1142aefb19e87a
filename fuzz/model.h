// What a whole-string conversion call must produce, worked out from the
// reference model one piece at a time: the bounded qelStr conversions and
// copy, and the bounded errno-style conversions. The fuzz targets compare
// the library's calls with these outcomes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "reference.h"

namespace qelfuzz {

// One encoding pair, with the raw form of control sequences on its UTF-8
// side when `raw` is set.
struct Pair {
    qelref::Enc from;
    qelref::Enc to;
    bool raw;
};

// How sequences are read on the input side and written on the output side.
qelref::SeqForm inputForm(const Pair& p);
bool standardUtf8Output(const Pair& p);

// The whole conversion of an input of `inLen` units (the text ends at its
// first zero unit or there), as the bounded and allocating conversions see it.
qelref::Conversion wholeConversion(const Pair& p, const qelref::Units& in, std::uint32_t inLen);

struct BoundedOutcome {
    int status;
    std::uint32_t outLen;
    qelref::Units text;      // units in the buffer before the end of the output
    bool terminator;         // a zero unit right after `text`
    bool writesNothing;      // the buffer is left untouched
    bool lengthKnown;        // outLen is modelled (always, but kept for clarity)
};

// A bounded qelStr conversion: `out` null is a length query (outSize then
// ignored), `nullIn` a null input pointer. `flags` as passed to the Ex entry
// point (0 for the plain ones and the two pairs without UTF-8).
BoundedOutcome boundedCall(const Pair& p, const qelref::Units& in, bool nullIn, std::uint32_t inLen,
                           bool nullOut, std::uint32_t outSize, std::uint32_t flags);

// The bounded UTF-16 copy.
BoundedOutcome boundedCopy(const qelref::Units& in, bool nullIn, std::uint32_t inLen, bool nullOut,
                           std::uint32_t outSize);

// A bounded errno-style conversion of the zero-terminated `src` (null when
// nullSrc) into `n` units (dst null when nullDst).
struct ErrnoOutcome {
    std::size_t result;      // (size_t)-1 on failure
    bool setsEilseq;         // errno becomes EILSEQ
    qelref::Units text;      // units written before the terminator / end
    bool terminator;
};
ErrnoOutcome errnoCall(qelref::Enc from, qelref::Enc to, const qelref::Units& src, bool nullSrc,
                       bool nullDst, std::size_t n);

}  // namespace qelfuzz

#include "entries.h"

namespace qelfuzz {

// Marks a unit of an expected buffer whose value is not documented.
constexpr std::uint32_t kAny = 0xFFFFFFFE;

// What calling `e` with `a` must give, provided the string memory provider
// refuses nothing. Units of `out` that are kAny match anything.
qelent::Result expect(const qelent::Entry& e, const qelent::Args& a);
bool matches(const qelent::Result& expected, const qelent::Result& got);

// The provider requests of an allocating qelStr conversion whose result has
// `n` units of `unitBytes` bytes: sizes of qelStrAlloc, then of
// qelStrReAlloc calls, and the number of qelStrFree calls (the caller's own
// free of the result included).
struct Requests {
    std::vector<unsigned int> allocs, reallocs;
    unsigned int frees;
    bool operator==(const Requests& o) const { return allocs == o.allocs && reallocs == o.reallocs && frees == o.frees; }
};
Requests allocRequests(std::size_t n, unsigned int unitBytes);

}  // namespace qelfuzz
