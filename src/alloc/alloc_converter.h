// SPDX-License-Identifier: MIT
// The allocating converter: converts a string of one variant (core/pairs.h)
// into a growing qelChrXBuf over the engine's walk (core/walk.h) and hands the
// caller one exactly sized, zero-terminated block. The errno-style allocating
// functions fill their buffer with the same writer. The buffer grows as far
// as memory allows, so nothing is ever cut: when memory runs out the whole
// output is dropped by detach.
#pragma once

#include "bounded/bounded_converter.h"
#include "common/common.h"
#include "common/sequence.h"
#include "core/engine.h"
#include "core/output.h"
#include "core/pairs.h"
#include "core/walk.h"
#include "qel/qelcore.h"
#include "simd/simd.h"

namespace qel {
namespace alloc {

// One zero unit from the provider, or null when it cannot be had.
template <class T>
inline T* emptyResult() noexcept {
    T* block = static_cast<T*>(qelStrAlloc(sizeof(T)));
    if (block != nullptr) block[0] = 0;
    return block;
}

// A qelChrXBuf and its output cursor, as a sink of the walk. Set up, filled,
// detached once and released once, in one call.
template <class V>
struct BufferFiller {
    using Src = typename V::Src;
    using Dst = typename V::Dst;

    qelChrXBuf<Dst> buf;
    core::Chunked<Dst> out{{buf.firstChunk, buf.firstChunk + 512}, &buf};
    const simd::Kernels& kernels = simd::active();

    BufferFiller() noexcept = default;
    BufferFiller(const BufferFiller&) = delete;  // the cursors point into buf
    BufferFiller& operator=(const BufferFiller&) = delete;

    // The fast path: plain units become one target unit each, moving on to
    // the next chunk when the current one is full; the text kernel and the
    // block copy work within the chunk. False when no chunk could be had.
    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        if (core::takeText<V>(kernels, read, inEnd, out.o, out.end)) return true;
        const auto copyPlain = simd::copyPlain<Src, Dst>(kernels);
        for (;;) {
            if (copyPlain != nullptr && core::worthAKernel(read, inEnd)) copyPlain(&read, inEnd, &out.o, out.end);
            if (read == inEnd || !core::isPlainUnit(*read)) return true;
            if (!core::putUnit(out, *read)) return false;
            ++read;
        }
    }
    bool run(const Src*& runStart, const Src* runEnd, const Src*, ConvState& state) noexcept {
        core::Bulk<V> bulk(kernels);
        state.result = core::convertRun<V>(out, runStart, runEnd, bulk);
        return state.result >= 0;
    }
    bool sequence(const Src* begin, const Src* end) noexcept {
        return core::carrySequence<typename V::SrcForm, typename V::DstForm>(begin, end, out);
    }

    // Converts the input from `in` up to inEnd or its first zero unit.
    void fill(const Src* in, const Src* inEnd, ConvState& state) noexcept { core::walk<V>(in, inEnd, *this, state); }

    // Joins what was written into the caller's result (reserve 0); `failed`
    // is set when memory ran out, the result then being one zero unit or null.
    Dst* detach(unsigned int* len, bool* failed) noexcept { return buf.detach(len, out.o, out.end, failed, 0); }
    void release() noexcept { buf.release(); }
};

// The allocating converter of variant P: a null `out` asks for the length,
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
