// SPDX-License-Identifier: MIT
// The errno-style conversions of zero-terminated strings, written once over
// the variants of pairs.h. They split the source into runs at control
// sequences with the engine's walk, so the recognisers, the
// measuring walk and the carrying over are the family's own; what differs is
// that the source has no length, that runs before a sequence leave room
// behind them and only the last run may fill the output, and that failure is
// reported through errno.
//
// The walk is given null as the input end: the source's terminator is below
// 0x20, so it stops every recogniser's scan and the walk itself, and the end
// is only ever compared for equality with positions inside the string, none
// of which is null.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "alloc/alloc_converter.h"
#include "bounded/bounded_converter.h"
#include "common/common.h"
#include "common/sequence.h"
#include "core/engine.h"
#include "core/pairs.h"
#include "core/walk.h"
#include "simd/simd.h"

namespace qel {
namespace errnostyle {

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

// Stores a negative core result in errno and gives the failure value.
inline std::size_t failWith(int result) noexcept {
    errno = -result;
    return kFailed;
}

// Sink of the walk that converts into [out, end). There is no fast path:
// all text goes to the loop in runs (or, where a kernel takes it at once, as
// the loop would convert it). A run that ends at the terminator is the last
// one and may fill the output; a run before a sequence goes to the safe
// converter, which leaves room behind it.
template <class V>
struct BoundedWriter {
    using Src = typename V::Src;
    using Dst = typename V::Dst;

    Dst* out;
    Dst* const end;
    ConvState& state;  // where a cut sequence records kNoRoom
    const simd::Kernels& kernels;

    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        core::takeText<V>(kernels, read, inEnd, out, end);
        return true;
    }
    bool run(const Src*& runStart, const Src* runEnd, const Src* from, ConvState& st) noexcept {
        core::Bulk<V> bulk(kernels);
        if (*runEnd == 0) {
            core::Bounded<Dst> o{{out, end}};
            st.result = core::convertRun<V>(o, runStart, runEnd, bulk);
            out = o.o;
        } else {
            st.result = core::safeRun<V>(out, end, runStart, runEnd, from, bulk);
        }
        return st.result >= 0;
    }
    bool sequence(const Src* begin, const Src* seqEnd) noexcept {
        // A sequence that ends exactly at the end of the output stays whole
        // only when the source ends right after it.
        return core::carryBounded<V>(out, end, begin, seqEnd, *seqEnd == 0, false, state);
    }
};

// End of a caller's output of n units. A size that reaches past the top of the
// address space (a caller that passes "enough") is clamped so that no position
// wraps; such an output is never filled.
template <class T>
inline T* outputEnd(T* dst, std::size_t n) noexcept {
    std::uintptr_t room = (UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(dst)) / sizeof(T);
    const std::uintptr_t maxSpan = static_cast<std::uintptr_t>(PTRDIFF_MAX) / sizeof(T);
    if (room > maxSpan) room = maxSpan;
    return dst + (n < room ? n : static_cast<std::size_t>(room));
}

// qel_<a>sto<b>s: converts into dst of n units, or measures when dst is null.
// errno is written only on failure.
template <class P>
inline std::size_t convertBounded(typename P::Dst* dst, const typename P::Src* src, std::size_t n) noexcept {
    using Dst = typename P::Dst;
    if (src == nullptr || *src == 0) {
        if (dst != nullptr && n > 0) dst[0] = 0;
        return 0;
    }
    ConvState state;
    if (dst == nullptr) {
        unsigned int count = 0;
        core::measure<P>(src, nullptr, count, state);
        return state.result < 0 ? failWith(state.result) : count;
    }
    if (n == 0) return 0;

    Dst* const end = outputEnd(dst, n);
    BoundedWriter<P> writer{dst, end, state, simd::active()};
    core::walk<P>(src, nullptr, writer, state);
    if (writer.out != end) *writer.out = 0;
    if (state.result == kNoRoom || writer.out == end) return n;
    if (state.result >= 0) return static_cast<std::size_t>(writer.out - dst);
    return failWith(state.result);
}

// qel_<a>sto<b>s_alloc: errno is always written, and cleared on success.
template <class P>
inline typename P::Dst* convertAlloc(const typename P::Src* src) noexcept {
    using Dst = typename P::Dst;
    if (src == nullptr) return nullptr;
    if (*src == 0) return alloc::emptyResult<Dst>();

    ConvState state;
    alloc::BufferFiller<P> filler;
    filler.fill(src, nullptr, state);
    bool failed = false;
    unsigned int len;
    Dst* const result = filler.detach(&len, &failed);
    // Intended: unlike the bounded functions, errno is written on success too.
    errno = failed ? ENOMEM : (state.result < 0 ? -state.result : 0);
    filler.release();
    return result;
}

}  // namespace errnostyle
}  // namespace qel
