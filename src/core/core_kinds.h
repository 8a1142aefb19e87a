// The four kinds of conversion core, each written once over a pair policy:
//
//   measureRun   measuring core: adds the output size of a run to a counter
//   convertSafe  safe converter: never leaves the output cursor on outEnd
//   convertFill  fill converter: may fill the output to its last unit
//   convertAlloc allocating core: writes into the chunks of a qelChrXBuf
//
// A pair policy names its source decoder and target encoder (both built on
// the code-point rules) and the few points in which the pairs differ:
//
//   kFastBelow        source units below this are characters of one output
//                     unit, written at once and left out of the result
//                     bookkeeping of the fill converter, the allocating core
//                     and the measuring core
//   measure(in, out)  the success value a character of `in` source units and
//                     `out` target units leaves behind
//   kMeasureReports   which characters set the measuring core's result
//   kSafeReports      which characters set the safe converter's result
//   kSafeStepsBackByResult  how the safe converter moves its input cursor
//                     back when it withdraws a character
//   kAllocStart       the allocating core's result before any character
//
// Every kind writes its cursors back on every return, judges a character's
// validity before asking whether it fits, and leaves the input cursor on the
// first unit of an ill-formed character.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/common.h"
#include "core/rules.h"
#include "simd/simd.h"
#include "qel/qelcore.h"

namespace qel {
namespace core {

// ---- source decoders and target encoders -----------------------------------

struct Utf8Source {
    using Unit = u8;
    static int decode(const Unit* p, const Unit* end, u32& cp) noexcept { return rules::decodeUtf8(p, end, cp); }
};

struct Utf16Source {
    using Unit = u16;
    static int decode(const Unit* p, const Unit* end, u32& cp) noexcept { return rules::decodeUtf16(p, end, cp); }
};

struct Utf32Source {
    using Unit = u32;
    static int decode(const Unit* p, const Unit* end, u32& cp) noexcept { return rules::decodeUtf32(p, end, cp); }
};

struct Utf8Target {
    using Unit = char;
    static constexpr int kMaxUnits = 4;
    static int size(u32 cp) noexcept { return rules::utf8Size(cp); }
    static void encode(u32 cp, Unit* dst) noexcept { rules::encodeUtf8(cp, dst); }
};

struct Utf16Target {
    using Unit = u16;
    static constexpr int kMaxUnits = 2;
    static int size(u32 cp) noexcept { return rules::utf16Size(cp); }
    static void encode(u32 cp, Unit* dst) noexcept { rules::encodeUtf16(cp, dst); }
};

struct Utf32Target {
    using Unit = u32;
    static constexpr int kMaxUnits = 1;
    static int size(u32 /*cp*/) noexcept { return 1; }
    static void encode(u32 cp, Unit* dst) noexcept { rules::encodeUtf32(cp, dst); }
};

// ---- policy building blocks ----------------------------------------------------

// Which characters set a core's success result.
enum class Reports {
    Nothing,    // the result stays as it started
    SlowChars,  // only characters at or above kFastBelow
    EveryChar,  // every character converted
};

constexpr bool reports(Reports rule, bool fast) noexcept {
    return rule == Reports::EveryChar || (rule == Reports::SlowChars && !fast);
}

// What a pair policy starts from: its decoder and encoder.
template <class Src, class Dst>
struct PairPolicy {
    using Source = Src;
    using Target = Dst;
    static constexpr Reports kMeasureReports = Reports::SlowChars;
    static constexpr Reports kSafeReports = Reports::EveryChar;
    static constexpr bool kSafeStepsBackByResult = false;
    static constexpr int kAllocStart = 1;
};

// Success values: the size of the character in the target, or its length in
// the source.
struct MeasureTarget {
    static constexpr int measure(int /*in*/, int out) noexcept { return out; }
};
struct MeasureSource {
    static constexpr int measure(int in, int /*out*/) noexcept { return in; }
};

// ---- the bulk step ----------------------------------------------------------------

// The bulk step runs at the top of every kind's per-character loop. Through
// the pair's vector kernel (core/simd.h), when the process has one, it takes
// a stretch of whole, well-formed characters at once, exactly as the
// per-character step would have taken them, advancing p (and n, or o). It
// leaves at least one input unit and at least one unit of output room, so
// that the last character of a call, the withdrawal of the safe converter,
// every chunk move and every error stay with the per-character step, and
// every result and cursor is what that step alone gives. `result` receives
// the success value of the last character taken that is not a fast one when
// the kind reports such characters (`reportsSlow`).
template <class P>
class Bulk {
public:
    using S = typename P::Source::Unit;
    using D = typename P::Target::Unit;
    static_assert(simd::kFastBelow<S, D> == P::kFastBelow, "the kernels' fast characters are the pair's");

    Bulk() noexcept : Bulk(simd::active()) {}
    explicit Bulk(const simd::Kernels& kernels) noexcept : kernels_(simd::coreKernels<S, D>(kernels)) {}

    QEL_CALLS_KERNELS void measure(const S*& p, const S* end, unsigned int& n, int& result, bool reportsSlow) noexcept {
        if (address(p) < retryAt_) return;
        if (kernels_.measure == nullptr || end - p <= kMinRun) {
            retryAt_ = UINTPTR_MAX;  // nothing more to take in this call
            return;
        }
        // The kernel works on copies, so that the caller's cursors stay out
        // of memory in its per-character loop.
        const S* q = p;
        unsigned int count = n;
        simd::SlowChar last;
        kernels_.measure(&q, end, &count, &last);
        if (reportsSlow && last.len != 0) result = P::measure(last.len, last.size);
        backOff(p, q);
        p = q;
        n = count;
    }
    QEL_CALLS_KERNELS void convert(const S*& p, const S* end, D*& o, const D* outEnd, int& result,
                                   bool reportsSlow) noexcept {
        if (address(p) < retryAt_) return;
        if (kernels_.convert == nullptr || end - p <= kMinRun || outEnd - o <= kMinRoom) {
            // Input and room only shrink, but the allocating core's room
            // grows with each chunk: look again a little later.
            retryAt_ = kernels_.convert == nullptr ? UINTPTR_MAX : address(p) + kRetryAfter * sizeof(S);
            return;
        }
        const S* q = p;
        D* w = o;
        simd::SlowChar last;
        kernels_.convert(&q, end, &w, outEnd, &last);
        if (reportsSlow && last.len != 0) result = P::measure(last.len, last.size);
        backOff(p, q);
        p = q;
        o = w;
    }

private:
    // Below these the per-character step finishes alone: a kernel would
    // gain nothing and could be called for every character left.
    static constexpr std::ptrdiff_t kMinRun = 8;
    static constexpr std::ptrdiff_t kMinRoom = 16;
    // A kernel that took little (it stopped at a character it leaves to the
    // per-character step) is not asked again for a stretch of units, twice
    // as long each time it takes little again.
    static constexpr std::uintptr_t kRetryAfter = 16;
    static constexpr std::uintptr_t kLongestWait = 1024;

    static std::uintptr_t address(const S* p) noexcept { return reinterpret_cast<std::uintptr_t>(p); }
    void backOff(const S* from, const S* to) noexcept {
        if (static_cast<std::uintptr_t>(to - from) >= kRetryAfter) {
            wait_ = kRetryAfter;
            return;
        }
        retryAt_ = address(to) + wait_ * sizeof(S);
        if (wait_ < kLongestWait) wait_ *= 2;
    }

    simd::CoreKernels<S, D> kernels_;
    std::uintptr_t retryAt_ = 0;  // the address from which the kernel is asked again
    std::uintptr_t wait_ = kRetryAfter;
};

// A bulk step that takes nothing: the per-character code alone.
template <class P>
struct NoBulk {
    using S = typename P::Source::Unit;
    using D = typename P::Target::Unit;
    void measure(const S*&, const S*, unsigned int&, int&, bool) noexcept {}
    void convert(const S*&, const S*, D*&, const D*, int&, bool) noexcept {}
};

// ---- the kinds ------------------------------------------------------------------

template <class P>
using SrcOf = typename P::Source::Unit;
template <class P>
using DstOf = typename P::Target::Unit;

// Adds to *count the output size of the well-formed characters from *in;
// stops with kIllFormed on the first ill-formed one.
template <class P, class B = Bulk<P>>
int measureRun(unsigned int* count, const SrcOf<P>** in, const SrcOf<P>* inEnd, B bulk = B()) noexcept {
    const SrcOf<P>* p = *in;
    unsigned int n = *count;
    int result = 0;
    while (p != inEnd) {
        bulk.measure(p, inEnd, n, result, reports(P::kMeasureReports, false));
        const u32 unit = *p;
        if (unit < P::kFastBelow) {
            ++n;
            ++p;
            continue;
        }
        u32 cp;
        const int len = P::Source::decode(p, inEnd, cp);
        if (len < 0) {
            result = kIllFormed;
            break;
        }
        const int size = P::Target::size(cp);
        n += static_cast<unsigned int>(size);
        p += len;
        if (reports(P::kMeasureReports, false)) result = P::measure(len, size);
    }
    *in = p;
    *count = n;
    return result;
}

// Converts into [*out, outEnd), of which the caller gives at least one unit.
// A character that fills the output exactly is withdrawn again (its units stay
// beyond the returned cursor) and the result is kNoRoom, so the caller can
// always write a terminator at the returned cursor.
template <class P, class B = Bulk<P>>
int convertSafe(DstOf<P>** out, const DstOf<P>* outEnd, const SrcOf<P>** in, const SrcOf<P>* inEnd,
                B bulk = B()) noexcept {
    DstOf<P>* o = *out;
    const SrcOf<P>* p = *in;
    int result = 0;
    while (p != inEnd) {
        bulk.convert(p, inEnd, o, outEnd, result, reports(P::kSafeReports, false));
        const u32 unit = *p;
        const bool fast = unit < P::kFastBelow;
        int len = 1;
        int size = 1;
        if (fast) {
            *o = static_cast<DstOf<P>>(unit);
        } else {
            u32 cp;
            len = P::Source::decode(p, inEnd, cp);
            if (len < 0) {
                result = kIllFormed;
                break;
            }
            size = P::Target::size(cp);
            if (size > outEnd - o) {
                result = kNoRoom;
                break;
            }
            P::Target::encode(cp, o);
        }
        o += size;
        p += len;
        if (reports(P::kSafeReports, fast)) result = P::measure(len, size);
        if (o == outEnd) {
            o -= size;
            if (P::kSafeStepsBackByResult) {
                p -= result;  // Intended: back by the success value, not by the withdrawn character.
            } else {
                p -= len;
            }
            result = kNoRoom;
            break;
        }
    }
    *out = o;
    *in = p;
    return result;
}

// The loop of the fill and the allocating kinds: converts from p into
// [o, oe) until the input ends or `room` ends the call. Where the room is
// used up, `room.next` moves on (the allocating kind takes the next chunk) or
// ends the call with the result as it stands; a character longer than the
// room left goes to `room.split`, which writes it across the end (the
// allocating kind) or ends the call (the fill kind).
template <class P, class Room, class B>
int fillLoop(Room& room, DstOf<P>*& o, const DstOf<P>*& oe, const SrcOf<P>*& p, const SrcOf<P>* inEnd, int result,
             B& bulk) noexcept {
    while (p != inEnd) {
        if (o == oe && !room.next(o, oe, result)) break;
        bulk.convert(p, inEnd, o, oe, result, true);
        const u32 unit = *p;
        if (unit < P::kFastBelow) {
            *o++ = static_cast<DstOf<P>>(unit);
            ++p;
            continue;
        }
        u32 cp;
        const int len = P::Source::decode(p, inEnd, cp);
        if (len < 0) {
            result = kIllFormed;
            break;
        }
        const int size = P::Target::size(cp);
        if (size > oe - o) {
            if (!room.split(cp, size, o, oe, result)) break;
        } else {
            P::Target::encode(cp, o);
            o += size;
        }
        p += len;
        result = P::measure(len, size);
    }
    return result;
}

// The fill kind's room: the caller's output, which ends the call.
template <class P>
struct EndOfOutput {
    bool next(DstOf<P>*&, const DstOf<P>*&, int&) noexcept { return false; }
    bool split(u32, int, DstOf<P>*&, const DstOf<P>*&, int& result) noexcept {
        result = kNoRoom;
        return false;
    }
};

// The allocating kind's room: the chunks of a qelChrXBuf, filled to their
// last unit. When no chunk can be had the result is kNoMemory with the
// cursors as before the move, while the buffer stands on the empty slot.
template <class P>
struct Chunks {
    using D = DstOf<P>;
    qelChrXBuf<D>* buf;

    bool next(D*& o, const D*& oe, int& result) noexcept {
        D* const chunk = buf->nextChunk();
        if (chunk == nullptr) {
            result = kNoMemory;
            return false;
        }
        o = chunk;
        oe = chunk + buf->curCapacity;
        return true;
    }
    // The character ends this chunk with its first units and begins the
    // next one with the rest.
    bool split(u32 cp, int size, D*& o, const D*& oe, int& result) noexcept {
        D* const chunk = buf->nextChunk();
        if (chunk == nullptr) {
            result = kNoMemory;
            return false;
        }
        D scratch[P::Target::kMaxUnits];
        P::Target::encode(cp, scratch);
        int i = 0;
        while (o != oe) *o++ = scratch[i++];
        o = chunk;
        oe = chunk + buf->curCapacity;
        while (i < size) *o++ = scratch[i++];
        return true;
    }
};

// Converts into [*out, outEnd) and may fill it: a full output ends the call
// with success even when input remains (the caller compares *in with inEnd).
template <class P, class B = Bulk<P>>
int convertFill(DstOf<P>** out, const DstOf<P>* outEnd, const SrcOf<P>** in, const SrcOf<P>* inEnd,
                B bulk = B()) noexcept {
    EndOfOutput<P> room;
    DstOf<P>* o = *out;
    const DstOf<P>* oe = outEnd;
    const SrcOf<P>* p = *in;
    const int result = fillLoop<P>(room, o, oe, p, inEnd, 0, bulk);
    *out = o;
    *in = p;
    return result;
}

// Converts the whole run into the chunks of buf, filling each to its last
// unit. *out and *outEnd are the cursor into, and the end of, the current
// chunk. A move to the next chunk happens only when input remains.
template <class P, class B = Bulk<P>>
int convertAlloc(qelChrXBuf<DstOf<P>>* buf, DstOf<P>** out, const DstOf<P>** outEnd, const SrcOf<P>** in,
                 const SrcOf<P>* inEnd, B bulk = B()) noexcept {
    Chunks<P> room{buf};
    DstOf<P>* o = *out;
    const DstOf<P>* oe = *outEnd;
    const SrcOf<P>* p = *in;
    const int result = fillLoop<P>(room, o, oe, p, inEnd, P::kAllocStart, bulk);
    *out = o;
    *outEnd = oe;
    *in = p;
    return result;
}

}  // namespace core
}  // namespace qel
