// The allocating converter: converts a string of one encoding pair into a
// growing qelChrXBuf and hands the caller one exactly sized, zero-terminated
// block. Written once over a pair description (core/pairs.h); the raw twins
// are the instances over the raw pairs. The errno-style allocating functions
// fill their buffer with the same writer.
//
// The input is walked by the bounded converter's walk (fast path, pending
// runs, control sequences); this writer is the sink that puts plain units
// straight into the buffer, hands each run to the pair's allocating core and
// carries each sequence over with appendSequence. The buffer grows as far as
// memory allows, so nothing is ever cut: when memory runs out the whole output
// is dropped by detach.
#pragma once

#include "alloc/append_sequence.h"
#include "bounded/bounded_converter.h"
#include "common/common.h"
#include "common/sequence.h"
#include "core/pairs.h"
#include "simd/simd.h"
#include "qel/qelcore.h"

namespace qel {
namespace alloc {

// One zero unit from the provider, or null when it cannot be had.
template <class T>
inline T* emptyResult() noexcept {
    T* block = static_cast<T*>(qelStrAlloc(sizeof(T)));
    if (block != nullptr) block[0] = 0;
    return block;
}

// A qelChrXBuf with the writer's write position and chunk end, as a sink of
// bounded::walk. Set up, filled, detached once and released once, in one call.
template <class P>
struct BufferFiller {
    using Src = typename P::Src;
    using Dst = typename P::Dst;

    qelChrXBuf<Dst> buf;
    Dst* out = buf.firstChunk;
    const Dst* outEnd = buf.firstChunk + 512;
    const simd::CopyPlain<Src, Dst> copyPlain = simd::copyPlain<Src, Dst>(simd::active());
    const simd::ConvertText<Src, Dst> convertText = simd::convertText<Src, Dst>(simd::active());

    BufferFiller() noexcept = default;
    BufferFiller(const BufferFiller&) = delete;  // the cursors point into buf
    BufferFiller& operator=(const BufferFiller&) = delete;

    // The fast path: plain units become one target unit each, moving on to
    // the next chunk when the current one is full. False when no chunk could
    // be had; the buffer then stands on the empty slot, which detach reports.
    // Where there is a kernel it copies blocks up to the chunk's end; a unit
    // at a time otherwise. First, where there is a kernel for it, the
    // well-formed text up to the next zero unit or 0x01 is converted at once
    // within the chunk (see bounded::takeText).
    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        if (bounded::takeText<P>(convertText, read, inEnd, out, outEnd)) return true;
        for (;;) {
            if (copyPlain != nullptr) copyPlain(&read, inEnd, &out, outEnd);
            if (read == inEnd || !bounded::isPlainUnit(*read)) return true;
            if (out == outEnd) {
                Dst* const chunk = buf.nextChunk();
                if (chunk == nullptr) return false;
                out = chunk;
                outEnd = chunk + buf.curCapacity;
            }
            *out++ = static_cast<Dst>(*read++);
        }
    }
    bool run(const Src*& runStart, const Src* runEnd, ConvState& state) noexcept {
        state.result = P::alloc(&buf, &out, &outEnd, &runStart, runEnd);
        return state.result >= 0;
    }
    bool sequence(const Src* begin, const Src* end) noexcept {
        return appendSequence<typename P::SrcForm, typename P::DstForm>(&buf, &out, &outEnd, begin, end);
    }

    // Converts the input from `in` up to inEnd or its first zero unit.
    void fill(const Src* in, const Src* inEnd, ConvState& state) noexcept {
        bounded::walk<P>(in, inEnd, *this, state);
    }

    // Joins what was written into the caller's result (reserve 0); `failed`
    // is set when memory ran out, the result then being one zero unit or null.
    Dst* detach(unsigned int* len, bool* failed) noexcept {
        return buf.detach(len, out, outEnd, failed, 0);
    }
    void release() noexcept { buf.release(); }
};

// The allocating converter of pair P: a null `out` asks for the length,
// through the bounded converter of the same pair and variant.
template <class P>
qelStrStatus convertAlloc(typename P::Dst** out, unsigned int* outLen, const typename P::Src* in,
                          unsigned int inLen, ConvState& state) noexcept {
    using Dst = typename P::Dst;
    if (out == nullptr) return bounded::convertBounded<P>(nullptr, 0, outLen, in, inLen, state, 0);

    unsigned int spare;
    if (outLen == nullptr) outLen = &spare;
    if (in == nullptr) {
        *out = nullptr;
        *outLen = 0;
        return qelStrOk;
    }
    if (isEmptyInput(in, inLen)) {  // intended: qelStrOk even when the unit cannot be had
        *out = emptyResult<Dst>();
        *outLen = 0;
        return qelStrOk;
    }

    BufferFiller<P> filler;
    filler.fill(in, inputEnd(in, inLen), state);
    bool failed = false;
    *out = filler.detach(outLen, &failed);
    filler.release();
    return failed ? qelStrNoMemory : statusFor(state.result);
}

}  // namespace alloc
}  // namespace qel
