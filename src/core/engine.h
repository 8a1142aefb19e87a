// SPDX-License-Identifier: MIT
// The conversion engine: one loop converts a run of text of a pair into any
// Output (core/output.h), and so measures (Counter), fills a buffer
// (Bounded) or fills a growing buffer (Chunked); the safe converter is that
// loop with one unit of the buffer kept back, and the rule for the character
// that would fill it. Every loop writes its cursors back on every return,
// judges a character's validity before asking whether it fits, and leaves
// the input cursor on the first unit of an ill-formed character.
//
// Success values are worked out once, at the end of a call, from the text it
// converted (valueOf), so that nothing in a loop or a kernel keeps them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/common.h"
#include "core/output.h"
#include "core/pairs.h"
#include "simd/simd.h"

namespace qel {
namespace core {

// ---- success values ---------------------------------------------------------------

// The success value of a call that converted [from, p) under `rule`, or
// `start` when no character sets it. The text is well formed, so a
// character's first unit is found by walking back from its last.
template <class P>
inline int valueOf(Reports rule, const SrcOf<P>* from, const SrcOf<P>* p, int start) noexcept {
    if (rule == Reports::Nothing) return start;
    const SrcOf<P>* q = p;
    if (rule == Reports::SlowChars)
        while (q != from && static_cast<u32>(q[-1]) < P::kFastBelow) --q;
    if (q == from) return start;
    if (static_cast<u32>(q[-1]) < P::kFastBelow) return P::value(1, 1);
    const SrcOf<P>* const first = P::Source::startOf(q - 1);
    u32 cp = 0;
    const int len = P::Source::decode(first, q, cp);
    return P::value(len, P::Target::size(cp));
}

// ---- the bulk step ------------------------------------------------------------------

// Runs at the top of the loop: through the pair's vector kernel, when the
// process has one, it takes a stretch of whole, well-formed characters at
// once, exactly as the loop would have taken them. The kernel leaves at least
// one input unit and one unit of room, so that the last character of a run,
// every move to the next chunk and every error stay with the loop.
template <class P>
class Bulk {
public:
    using S = SrcOf<P>;
    using D = DstOf<P>;
    Bulk() noexcept : Bulk(simd::active()) {}
    explicit Bulk(const simd::Kernels& kernels) noexcept : kernels_(simd::coreKernels<S, D>(kernels)) {}

    QEL_CALLS_KERNELS void take(const S*& p, const S* end, Counter& out) noexcept {
        if (address(p) < retryAt_) return;
        if (kernels_.measure == nullptr || end - p <= kMinRun) {
            retryAt_ = UINTPTR_MAX;  // nothing more to take in this call
            return;
        }
        // The kernel works on copies, so that the loop's cursors stay in
        // registers.
        const S* q = p;
        unsigned int n = out.n;
        kernels_.measure(&q, end, &n);
        backOff(p, q);
        p = q;
        out.n = n;
    }
    template <class Out>
    QEL_CALLS_KERNELS void take(const S*& p, const S* end, Out& out) noexcept {
        if (address(p) < retryAt_) return;
        if (kernels_.convert == nullptr || end - p <= kMinRun || out.room() <= kMinRoom) {
            // Input and room only shrink, but a growing buffer's room comes
            // back with each chunk: look again a little later.
            retryAt_ = kernels_.convert == nullptr ? UINTPTR_MAX : address(p) + kRetryAfter * sizeof(S);
            return;
        }
        const S* q = p;
        D* w = out.o;
        kernels_.convert(&q, end, &w, out.end);
        backOff(p, q);
        p = q;
        out.o = w;
    }

private:
    // Below these the loop finishes alone: a kernel would gain nothing and
    // could be called for every character left.
    static constexpr std::ptrdiff_t kMinRun = 8;
    static constexpr std::ptrdiff_t kMinRoom = 16;
    // A kernel that took little (it stopped at a character it leaves to the
    // loop) is not asked again for a stretch of units, twice as long each
    // time it takes little again.
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

// ---- the loop -------------------------------------------------------------------------

// Converts from p into `out` until the input ends (0), a character is ill
// formed (kIllFormed, p on it) or the output ends the work (the result its
// more() or split() gives: 0 for a full buffer, kNoRoom for a character that
// does not fit, kNoMemory). More room is asked for only while input remains.
template <class P, class Out, class B>
inline int convertRun(Out& out, const SrcOf<P>*& p, const SrcOf<P>* inEnd, B& bulk) noexcept {
    int result = 0;
    while (p != inEnd) {
        if (out.room() == 0 && !out.more(result)) break;
        bulk.take(p, inEnd, out);
        const u32 unit = *p;
        if (unit < P::kFastBelow) {
            out.put(unit);
            ++p;
            continue;
        }
        u32 cp;
        const int len = P::Source::decode(p, inEnd, cp);
        if (len < 0) return kIllFormed;
        const int size = P::Target::size(cp);
        if (size > out.room()) {
            if (!out.template split<typename P::Target>(cp, size, result)) break;
        } else {
            out.template encode<typename P::Target>(cp, size);
        }
        p += len;
    }
    return result;
}

// The safe converter into [o, outEnd), of which the caller gives at least
// one unit: a character must end before outEnd, so that a terminator always
// fits at the returned cursor. The character that would fill the output
// exactly is written and withdrawn again (its units stay beyond the cursor),
// and the result is kNoRoom.
template <class P, class B>
inline int safeRun(DstOf<P>*& o, const DstOf<P>* outEnd, const SrcOf<P>*& p, const SrcOf<P>* inEnd,
                    const SrcOf<P>* from, B& bulk) noexcept {
    Bounded<DstOf<P>> out{{o, outEnd - 1}};
    int result = convertRun<P>(out, p, inEnd, bulk);
    o = out.o;
    if (result == kIllFormed || p == inEnd) return result;
    // The character at p does not end before outEnd.
    u32 cp = *p;
    const int len = cp < P::kFastBelow ? 1 : P::Source::decode(p, inEnd, cp);
    if (len < 0) return kIllFormed;
    const int size = cp < P::kFastBelow ? 1 : P::Target::size(cp);
    if (size == outEnd - o) {
        if (cp < P::kFastBelow) *o = static_cast<DstOf<P>>(cp);
        else P::Target::encode(cp, o);
        // Intended: one pair steps back by its success value, not by the
        // withdrawn character (see Utf8ToUtf32).
        if (P::kSafeStepsBackByValue) p += len - valueOf<P>(P::kSafeReports, from, p + len, 0);
    }
    return kNoRoom;
}

// ---- the cores' results -----------------------------------------------------------------

// Each kind of core over a pair, with its success value: the measuring core
// adds to *count, the fill converter may fill its output to the last unit,
// the safe converter keeps one unit free, the allocating core writes into the
// chunks of buf (*out and *outEnd being the cursor into and the end of the
// current chunk).
template <class P, class B = Bulk<P>>
inline int measureRun(unsigned int* count, const SrcOf<P>** in, const SrcOf<P>* inEnd, B bulk = B()) noexcept {
    Counter out{*count};
    const SrcOf<P>* p = *in;
    const int result = convertRun<P>(out, p, inEnd, bulk);
    const SrcOf<P>* const from = *in;
    *in = p;
    *count = out.n;
    return result < 0 ? result : valueOf<P>(P::kMeasureReports, from, p, 0);
}

template <class P, class B = Bulk<P>>
inline int convertFill(DstOf<P>** out, const DstOf<P>* outEnd, const SrcOf<P>** in, const SrcOf<P>* inEnd,
                    B bulk = B()) noexcept {
    Bounded<DstOf<P>> o{{*out, outEnd}};
    const SrcOf<P>* p = *in;
    const int result = convertRun<P>(o, p, inEnd, bulk);
    const SrcOf<P>* const from = *in;
    *out = o.o;
    *in = p;
    return result < 0 ? result : valueOf<P>(Reports::SlowChars, from, p, 0);
}

template <class P, class B = Bulk<P>>
inline int convertSafe(DstOf<P>** out, const DstOf<P>* outEnd, const SrcOf<P>** in, const SrcOf<P>* inEnd,
                    B bulk = B()) noexcept {
    DstOf<P>* o = *out;
    const SrcOf<P>* p = *in;
    const int result = safeRun<P>(o, outEnd, p, inEnd, *in, bulk);
    const SrcOf<P>* const from = *in;
    *out = o;
    *in = p;
    return result < 0 ? result : valueOf<P>(P::kSafeReports, from, p, 0);
}

template <class P, class B = Bulk<P>>
inline int convertAlloc(qelChrXBuf<DstOf<P>>* buf, DstOf<P>** out, const DstOf<P>** outEnd, const SrcOf<P>** in,
                     const SrcOf<P>* inEnd, B bulk = B()) noexcept {
    Chunked<DstOf<P>> o{{*out, *outEnd}, buf};
    const SrcOf<P>* p = *in;
    const int result = convertRun<P>(o, p, inEnd, bulk);
    const SrcOf<P>* const from = *in;
    *out = o.o;
    *outEnd = o.end;
    *in = p;
    return result < 0 ? result : valueOf<P>(Reports::SlowChars, from, p, P::kAllocStart);
}

}  // namespace core
}  // namespace qel
