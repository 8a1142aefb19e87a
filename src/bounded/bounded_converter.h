// SPDX-License-Identifier: MIT
// The bounded converter: converts a string of one variant (core/pairs.h)
// into a caller's buffer over the engine's walk (core/walk.h), or measures it
// when there is no buffer; instantiated for the ten converters of the qelStr
// family. A run goes to the fill converter when the call keeps no room for a
// terminator (the state's fill-to-end switch), to the safe converter
// otherwise.
#pragma once

#include "common/common.h"
#include "common/sequence.h"
#include "core/engine.h"
#include "core/pairs.h"
#include "core/walk.h"
#include "simd/simd.h"

namespace qel {
namespace bounded {

// Sink of the walk that converts into [w, bufEnd). plainEnd is where the
// fast path has to stop: one unit before bufEnd when a terminator is wanted,
// bufEnd when not.
template <class V>
struct BufferWriter {
    using Src = typename V::Src;
    using Dst = typename V::Dst;
    Dst* w;
    Dst* const bufEnd;
    Dst* const plainEnd;
    const bool fullLength;
    ConvState& state;
    const simd::Kernels& kernels;

    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        if (core::takeText<V>(kernels, read, inEnd, w, bufEnd)) return true;
        const auto copyPlain = simd::copyPlain<Src, Dst>(kernels);
        if (copyPlain != nullptr && core::worthAKernel(read, inEnd)) copyPlain(&read, inEnd, &w, plainEnd);
        // Locals, so that no store through a UTF-8 output may change them.
        const Src* r = read;
        Dst* o = w;
        bool room = true;
        for (; r != inEnd && core::isPlainUnit(*r); ++r) {
            if (o >= plainEnd) {
                state.result = kNoRoom;
                room = false;
                break;
            }
            *o++ = static_cast<Dst>(*r);
        }
        read = r;
        w = o;
        return room;
    }
    bool run(const Src*& runStart, const Src* runEnd, const Src* from, ConvState& st) noexcept {
        core::Bulk<V> bulk(kernels);
        if (st.fillToEnd) {
            core::Bounded<Dst> out{{w, bufEnd}};
            st.result = core::convertRun<V>(out, runStart, runEnd, bulk);
            w = out.o;
        } else if (w == bufEnd) {
            // The safe converter needs one unit of room; without a terminator
            // the fast path may have used the last unit.
            st.result = kNoRoom;
        } else {
            st.result = core::safeRun<V>(w, bufEnd, runStart, runEnd, from, bulk);
        }
        return st.result >= 0;
    }
    bool sequence(const Src* begin, const Src* end) noexcept {
        // Cut also when the sequence ends on the buffer's last unit.
        return core::carryBounded<V>(w, bufEnd, begin, end, false, fullLength, state);
    }
};

// The bounded converter of variant P. A null `out` asks for the length only.
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
        core::measure<P>(in, inEnd, *outLen, state);
        return statusFor(state.result);
    }

    Dst* const bufEnd = out + outSize;
    BufferWriter<P> writer{out, bufEnd, terminator ? bufEnd - 1 : bufEnd, fullLength, state, simd::active()};
    const Src* runStart = in;
    core::walk<P>(runStart, inEnd, writer, state);
    if (terminator) *writer.w = 0;
    *outLen = unitsBetween(out, writer.w);

    if (fullLength && state.result == kNoRoom) {
        // Intended: the rest is counted with the truncation's -7 still in the
        // state, so its last run is measured only after a run before a
        // sequence was, and that measurement's result becomes the status.
        core::measure<P>(runStart, inEnd, *outLen, state);
    }
    return statusFor(state.result);
}

}  // namespace bounded
}  // namespace qel
