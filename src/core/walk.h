// SPDX-License-Identifier: MIT
// The walk over a string that the bounded, allocating and errno-style
// families share, written once over a variant (core/pairs.h):
//   - a plain unit (ASCII other than the zero unit and the sequence start
//     0x01) is handled straight away while no run is pending: the fast path;
//   - every other unit starts a pending run, and once a run is pending every
//     unit joins it, up to the next embedded control sequence or the end of
//     the input; the run then goes to the engine's loop in one piece;
//   - a recognised control sequence is carried over by the walk itself.
// What "handled", "goes to the loop" and "carried over" mean is up to the
// family's sink: a Measurer counts, the families' writers convert.
#pragma once

#include <cstdint>

#include "common/common.h"
#include "common/sequence.h"
#include "core/engine.h"
#include "core/output.h"
#include "core/pairs.h"
#include "simd/simd.h"

namespace qel {
namespace core {

// A unit the fast path takes: ASCII other than a zero unit and 0x01.
template <class U>
constexpr bool isPlainUnit(U u) noexcept {
    return static_cast<u32>(u) - 2u <= 0x7Du;  // 0x02..0x7F
}

// Whether a scan or copy kernel can pay for its call on the text from p:
// below a whole vector of the widest kernels' steps the per-unit loops are
// quicker. A string ended only by a zero unit has an end behind p (or null)
// and counts as long.
template <class U>
inline bool worthAKernel(const U* p, const U* end) noexcept {
    constexpr std::uintptr_t kMinBytes = 32;
    return reinterpret_cast<std::uintptr_t>(end) - reinterpret_cast<std::uintptr_t>(p) >= kMinBytes;
}

// The fast path's vector step where the process has a text kernel: the
// well-formed text from `read` up to the next zero unit or 0x01 (plain units
// and what a run would make of the rest alike) is converted at once, into
// [w, limit) less a margin, so that the end of the output, where the rules on
// room differ, stays with the walk and the loop. True when the text from
// where the kernel stopped belongs to a pending run, as it would without the
// kernel: the kernel took a unit that is not plain. That matters only where
// it stopped before a plain unit (the output's room ran out), and is looked
// up only then.
template <class V>
QEL_CALLS_KERNELS inline bool takeText(const simd::Kernels& kernels, const typename V::Src*& read,
                                       const typename V::Src* inEnd, typename V::Dst*& w,
                                       const typename V::Dst* limit) noexcept {
    using Src = typename V::Src;
    const auto kernel = simd::convertText<Src, typename V::Dst>(kernels);
    if (kernel == nullptr || limit - w <= simd::kTextMargin) return false;
    const Src* const from = read;
    kernel(&read, inEnd, &w, limit - simd::kTextMargin);
    if (read == inEnd || !isPlainUnit(*read)) return false;
    const auto findSpecial = simd::scanKernels<Src>(kernels).findSpecial;
    const Src* q = from;
    if (findSpecial != nullptr && worthAKernel(q, read)) {
        q = findSpecial(q, read);
    } else {
        while (q != read && isPlainUnit(*q)) ++q;
    }
    return q != read;
}

// The walk from `runStart` (also the first read position) to the input end
// or the first zero unit, with the process's kernels that the sink holds
// (`kernels`, looked up once per call). A Sink offers:
//   bool plain(const Src*& read, const Src* inEnd)
//       the fast path: takes what it can from `read` on and leaves `read` on
//       the first unit it did not take; false ends the walk (no room).
//   bool run(const Src*& runStart, const Src* runEnd, const Src* from, ConvState& state)
//       hands the pending run to the loop, which moves `runStart` as far as
//       it got; `from` is where the text of the run began (the fast path may
//       have converted its first characters), for its success value. The
//       result goes into the state; false ends the walk.
//   bool sequence(const Src* begin, const Src* end)
//       carries over the recognised sequence [begin, end); false ends the
//       walk (the sequence was cut).
// On return `runStart` is the first unit not dealt with.
template <class V, class Sink>
QEL_CALLS_KERNELS void walk(const typename V::Src*& runStart, const typename V::Src* inEnd, Sink& sink,
                            ConvState& state) {
    using Src = typename V::Src;
    const auto findStop = simd::scanKernels<Src>(sink.kernels).findStop;
    const Src* read = runStart;
    const Src* from = runStart;
    for (;;) {
        if (read == runStart) {
            from = read;
            const bool goOn = sink.plain(read, inEnd);
            runStart = read;
            if (!goOn) return;
        }
        if (read != inEnd && *read != 0 && static_cast<u32>(*read) != seq::kStart) {
            // The unit joins the pending run, and so does every unit up to
            // the next zero unit, 0x01 or the input end.
            ++read;
            if (findStop != nullptr && worthAKernel(read, inEnd)) {
                read = findStop(read, inEnd);
            } else {
                while (read != inEnd && static_cast<u32>(*read) > seq::kStart) ++read;
            }
        }
        if (read == inEnd || *read == 0) break;
        const seq::Recognised<Src> found = V::SrcForm::recognise(read, inEnd);
        if (!found.valid) {
            // The 0x01 and the units the recogniser passed join the pending
            // run as ordinary text; scanning resumes at the stop position.
            read = found.stop;
            continue;
        }
        if (read != runStart && !sink.run(runStart, read, from, state)) return;
        const Src* const after = found.stop + 1;
        if (!sink.sequence(read, after)) return;
        runStart = read = after;
    }
    // The last run. Intended: nothing compares runStart with read afterwards,
    // so a fill converter that filled the buffer exactly ends the call with
    // success and the rest of this run is lost.
    if (state.result >= 0 && read != runStart) sink.run(runStart, read, from, state);
}

// Sink that measures: adds output units to a running count.
template <class V>
struct Measurer {
    using Src = typename V::Src;
    const simd::Kernels& kernels;
    Counter out;

    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        const Src* r = read;
        const auto findSpecial = simd::scanKernels<Src>(kernels).findSpecial;
        if (findSpecial != nullptr && worthAKernel(r, inEnd)) {
            r = findSpecial(r, inEnd);
        } else {
            while (r != inEnd && isPlainUnit(*r)) ++r;
        }
        out.n += unitsBetween(read, r);
        read = r;
        return true;
    }
    bool run(const Src*& runStart, const Src* runEnd, const Src*, ConvState& state) noexcept {
        Bulk<V> bulk(kernels);
        state.result = convertRun<V>(out, runStart, runEnd, bulk);
        return state.result >= 0;
    }
    bool sequence(const Src* begin, const Src* end) noexcept {
        return carrySequence<typename V::SrcForm, typename V::DstForm>(begin, end, out);
    }
};

// The measuring walk from `from`: adds to `count` the output units of the
// text up to the input end or the first zero unit, control sequences at
// their size in the target form. The walk ends at an ill-formed run, whose
// result goes into the state.
template <class V>
inline void measure(const typename V::Src* from, const typename V::Src* inEnd, unsigned int& count,
                    ConvState& state) {
    Measurer<V> measurer{simd::active(), {count}};
    walk<V>(from, inEnd, measurer, state);
    count = measurer.out.n;
}

// Carries the sequence [begin, end) over into [w, bufEnd) and moves w past
// it. A sequence that does not end before bufEnd (unless `wholeAtEnd`) is cut:
// closed or dropped by the target form's rule (dropped under `drop`), and the
// walk ends with kNoRoom.
template <class V>
inline bool carryBounded(typename V::Dst*& w, const typename V::Dst* bufEnd, const typename V::Src* begin,
                         const typename V::Src* end, bool wholeAtEnd, bool drop, ConvState& state) noexcept {
    Bounded<typename V::Dst> out{{w, bufEnd}};
    const bool complete = carrySequence<typename V::SrcForm, typename V::DstForm>(begin, end, out);
    if (complete && (out.o != bufEnd || wholeAtEnd)) {
        w = out.o;
        return true;
    }
    w = V::DstForm::close(w, out.o, bufEnd, drop);
    state.result = kNoRoom;
    return false;
}

}  // namespace core
}  // namespace qel
