// The bounded converter: converts a string of one encoding pair into a
// caller's buffer. Written once over a pair description (core/pairs.h) and
// instantiated for the ten converters of the qelStr family.
//
// One walk over the input serves converting and measuring alike:
//   - a plain unit (ASCII other than the zero unit and the sequence start
//     0x01) is handled straight away while no run is pending: the fast path;
//   - every other unit starts a pending run, and once a run is pending every
//     unit joins it, up to the next embedded control sequence or the end of
//     the input; the run then goes to the pair's cores in one call;
//   - a recognised control sequence is carried over by the walk itself.
// What "handled", "goes to the cores" and "carried over" mean is up to the
// sink that the walk drives: BufferWriter converts into the caller's buffer,
// Counter measures.
#pragma once

#include "common/common.h"
#include "common/sequence.h"
#include "core/pairs.h"
#include "core/rules.h"
#include "simd/simd.h"

namespace qel {
namespace bounded {

// A unit the fast path takes: ASCII other than a zero unit and 0x01.
template <class U>
constexpr bool isPlainUnit(U u) noexcept {
    const u32 v = static_cast<u32>(u);
    return v <= 0x7Fu && v != 0 && v != seq::kStart;
}

// A text kernel (simd::convertText) may take, in one pass, text that the walk
// would split into plain units and a pending run: from the first unit that is
// not plain on, the walk hands everything up to the next zero unit or 0x01 to
// a core as one run. The kernel keeps clear of the output's end, so the units
// it writes are the ones that the fast path and the core would write; what
// must stay with the core is the end of the run, where its rules on room
// decide, and the success value that the run leaves (its last character that
// is not a fast one, which the UTF-8 -> UTF-32 safe converter also steps back
// by). So after the kernel, the text from the last character that is not
// plain on is given back: the walk then hands it to the core as a run, which
// converts that character again and goes on exactly as it would have.
//
// takeText runs the kernel from `read` (writing at w, up to limit) and gives
// back as described; it returns whether the walk now stands before such a
// run (false: the kernel took plain units only, or nothing).
template <class P>
QEL_CALLS_KERNELS inline bool takeText(simd::ConvertText<typename P::Src, typename P::Dst> kernel,
                                         const typename P::Src*& read, const typename P::Src* inEnd,
                                         typename P::Dst*& w, const typename P::Dst* limit) noexcept {
    using Src = typename P::Src;
    if (kernel == nullptr || limit - w <= simd::kTextMargin) return false;
    // The kernel takes no zero unit and no 0x01, so the units that are not
    // plain are those from 0x80: it reports where the last of them ends.
    const Src* charEnd = nullptr;
    kernel(&read, inEnd, &w, limit - simd::kTextMargin, &charEnd);
    // Nothing to give back when the kernel took plain units only, or when it
    // took the text to its end: the run would have ended there with room to
    // spare and a success value, and the walk ends with it. (A run that meets
    // 0x01 may go on past it, when no sequence starts there.)
    if (charEnd == nullptr || read == inEnd || *read == 0) return false;
    // The last character that is not plain, and its size in the target.
    const Src* start = charEnd - 1;
    if constexpr (sizeof(Src) == 1) {
        while ((static_cast<u32>(*start) & 0xC0u) == 0x80u) --start;
    } else if constexpr (sizeof(Src) == 2) {
        if (rules::isLowSurrogate(*start)) --start;
    }
    u32 cp = 0;
    if constexpr (sizeof(Src) == 1) {
        rules::decodeUtf8(start, charEnd, cp);
    } else if constexpr (sizeof(Src) == 2) {
        rules::decodeUtf16(start, charEnd, cp);
    } else {
        cp = *start;
    }
    int size = 1;
    if constexpr (sizeof(typename P::Dst) == 1) {
        size = rules::utf8Size(cp);
    } else if constexpr (sizeof(typename P::Dst) == 2) {
        size = rules::utf16Size(cp);
    }
    w -= unitsBetween(charEnd, read) + static_cast<unsigned int>(size);
    read = start;
    return true;
}

// The walk from `runStart` (also the first read position) to the input end
// or the first zero unit. A Sink offers:
//   bool plain(const Src*& read, const Src* inEnd)
//       the fast path: takes the plain units from `read` on and leaves `read`
//       on the first other unit; false ends the walk (no room).
//   bool run(const Src*& runStart, const Src* runEnd, ConvState& state)
//       hands the pending run to a core, which moves `runStart` as far as it
//       got and whose result goes into the state; false ends the walk.
//   bool sequence(const Src* begin, const Src* end)
//       carries over the recognised sequence [begin, end); false ends the
//       walk (the sequence was cut).
// On return `runStart` is the first unit not dealt with.
template <class P, class Sink>
QEL_CALLS_KERNELS void walk(const typename P::Src*& runStart, const typename P::Src* inEnd, Sink& sink, ConvState& state) {
    using Src = typename P::Src;
    const auto findStop = simd::scanKernels<Src>(simd::active()).findStop;
    const Src* read = runStart;
    for (;;) {
        if (read == runStart) {
            const bool goOn = sink.plain(read, inEnd);
            runStart = read;
            if (!goOn) return;
        }
        if (read != inEnd && *read != 0 && static_cast<u32>(*read) != seq::kStart) {
            // The unit joins the pending run, and so does every unit up to
            // the next zero unit, 0x01 or the input end.
            ++read;
            if (findStop != nullptr) {
                read = findStop(read, inEnd);
            } else {
                while (read != inEnd && static_cast<u32>(*read) > seq::kStart) ++read;
            }
        }
        if (read == inEnd || *read == 0) break;
        const seq::Recognised<Src> found = P::SrcForm::recognise(read, inEnd);
        if (!found.valid) {
            // The 0x01 and the units the recogniser passed join the pending
            // run as ordinary text; scanning resumes at the stop position.
            read = found.stop;
            continue;
        }
        if (read != runStart && !sink.run(runStart, read, state)) return;
        const Src* const after = found.stop + 1;
        if (!sink.sequence(read, after)) return;
        runStart = read = after;
    }
    // The last run. Intended: nothing compares runStart with read afterwards,
    // so a fill converter that filled the buffer exactly ends the call with
    // success and the rest of this run is lost.
    if (state.result >= 0 && read != runStart) sink.run(runStart, read, state);
}

// The convert step: the fill converter when the state's fill-to-end switch is
// set, the safe converter otherwise. The pairs without a UTF-8 side are only
// ever given a state with the switch clear, so they use the safe converter.
template <class P>
bool convertStep(ConvState& state, typename P::Dst*& out, const typename P::Dst* outEnd,
                 const typename P::Src*& in, const typename P::Src* inEnd) {
    if constexpr (P::kHasFill) {
        if (state.fillToEnd) {
            state.result = P::fill(&out, outEnd, &in, inEnd);
            return state.result >= 0;
        }
    }
    if (out == outEnd) {
        // The safe converter needs one unit of room. Without a terminator and
        // without a fill converter the fast path may have used the last unit.
        state.result = kNoRoom;
        return false;
    }
    state.result = P::safe(&out, outEnd, &in, inEnd);
    return state.result >= 0;
}

// Sink that measures: adds output units to a running count.
template <class P>
struct Counter {
    using Src = typename P::Src;
    unsigned int& count;
    const decltype(simd::ScanKernels<Src>::findSpecial) findSpecial = simd::scanKernels<Src>(simd::active()).findSpecial;

    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        const Src* const from = read;
        if (findSpecial != nullptr) {
            read = findSpecial(read, inEnd);
        } else {
            while (read != inEnd && isPlainUnit(*read)) ++read;
        }
        count += unitsBetween(from, read);
        return true;
    }
    bool run(const Src*& runStart, const Src* runEnd, ConvState& state) {
        state.result = P::preflight(&count, &runStart, runEnd);
        return state.result >= 0;
    }
    bool sequence(const Src* begin, const Src* end) noexcept {
        count += seq::sizeIn<typename P::SrcForm, typename P::DstForm>(begin, end);
        return true;
    }
};

// Carries the sequence [begin, end) over into [w, bufEnd) and moves w past
// it. A sequence that does not end before bufEnd (unless `wholeAtEnd`) is cut:
// closed or dropped by the target form's rule (dropped under `drop`), and
// the walk ends with kNoRoom.
template <class P>
bool carrySequence(typename P::Dst*& w, typename P::Dst* bufEnd, const typename P::Src* begin,
                   const typename P::Src* end, bool wholeAtEnd, bool drop, ConvState& state) noexcept {
    const seq::Carried<typename P::Dst> c =
        seq::carryBounded<typename P::SrcForm, typename P::DstForm>(begin, end, w, bufEnd);
    if (c.complete && (c.pos != bufEnd || wholeAtEnd)) {
        w = c.pos;
        return true;
    }
    w = P::DstForm::close(w, c.pos, bufEnd, drop);
    state.result = kNoRoom;
    return false;
}

// Sink that converts into [w, bufEnd). plainEnd is where the fast path has
// to stop: one unit before bufEnd when a terminator is wanted, bufEnd when not.
template <class P>
struct BufferWriter {
    using Src = typename P::Src;
    using Dst = typename P::Dst;
    Dst* w;
    Dst* const bufEnd;
    Dst* const plainEnd;
    const bool fullLength;
    ConvState& state;

    const simd::CopyPlain<Src, Dst> copyPlain = simd::copyPlain<Src, Dst>(simd::active());
    const simd::ConvertText<Src, Dst> convertText = simd::convertText<Src, Dst>(simd::active());

    // Where there is a kernel for it, the well-formed text up to the next
    // zero unit or 0x01 is converted at once (see takeText); blocks of plain
    // units follow at once where there is a kernel; the loop takes what is
    // left: the unit that does not fit, or all of them.
    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        if (takeText<P>(convertText, read, inEnd, w, bufEnd)) return true;
        if (copyPlain != nullptr) copyPlain(&read, inEnd, &w, plainEnd);
        for (; read != inEnd && isPlainUnit(*read); ++read) {
            if (w >= plainEnd) {
                state.result = kNoRoom;
                return false;
            }
            *w++ = static_cast<Dst>(*read);
        }
        return true;
    }
    bool run(const Src*& runStart, const Src* runEnd, ConvState& st) {
        return convertStep<P>(st, w, bufEnd, runStart, runEnd);
    }
    bool sequence(const Src* begin, const Src* end) noexcept {
        // Cut also when the sequence ends on the buffer's last unit.
        return carrySequence<P>(w, bufEnd, begin, end, false, fullLength, state);
    }
};

// The measuring walk from `from`: adds to `count` the output units of the
// text up to the input end or the first zero unit, control sequences at
// their size in the target form. Runs are measured by the pair's measuring
// core, whose result goes into the state; the walk ends at an ill-formed run.
template <class P>
void measure(const typename P::Src* from, const typename P::Src* inEnd, unsigned int& count, ConvState& state) {
    Counter<P> counter{count};
    walk<P>(from, inEnd, counter, state);
}

// The bounded converter of pair P. A null `out` asks for the length only.
// flags: qelStrFlagNoTerminator (no terminator; the state's fill-to-end
// switch is set by the caller to match) and qelStrFlagFullLength (count the
// rest after a truncation); other bits are ignored here.
template <class P>
qelStrStatus convertBounded(typename P::Dst* out, unsigned int outSize, unsigned int* outLen,
                            const typename P::Src* in, unsigned int inLen, ConvState& state,
                            unsigned int flags) {
    using Src = typename P::Src;
    using Dst = typename P::Dst;
    const bool terminator = (flags & qelStrFlagNoTerminator) == 0;
    const bool fullLength = (flags & qelStrFlagFullLength) != 0;

    unsigned int spare;
    qelStrStatus status;
    if (answeredByArgumentChecks(out, outSize, outLen, spare, in, inLen, terminator, status)) return status;
    const Src* const inEnd = inputEnd(in, inLen);
    *outLen = 0;

    if (out == nullptr) {
        measure<P>(in, inEnd, *outLen, state);
        return statusFor(state.result);
    }

    Dst* const bufEnd = out + outSize;
    BufferWriter<P> writer{out, bufEnd, terminator ? bufEnd - 1 : bufEnd, fullLength, state};
    const Src* runStart = in;
    walk<P>(runStart, inEnd, writer, state);
    if (terminator) *writer.w = 0;
    *outLen = unitsBetween(out, writer.w);

    if (fullLength && state.result == kNoRoom) {
        // Intended: the rest is counted with the truncation's -7 still in the
        // state, so its last run is measured only after a run before a
        // sequence was, and that measurement's result becomes the status.
        measure<P>(runStart, inEnd, *outLen, state);
    }
    return statusFor(state.result);
}

}  // namespace bounded
}  // namespace qel
