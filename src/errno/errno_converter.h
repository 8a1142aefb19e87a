// The errno-style conversions of zero-terminated strings, written once over
// the pairs::Errno* descriptions. They split the source into runs at control
// sequences with the bounded converter's walk, so the recognisers, the
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
#include "core/pairs.h"
#include "core/rules.h"
#include "simd/simd.h"

namespace qel {
namespace errnostyle {

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

// Stores a negative core result in errno and gives the failure value.
inline std::size_t failWith(int result) noexcept {
    errno = -result;
    return kFailed;
}

// The last run of UTF-16 -> UTF-32, a pair without a fill converter: the safe
// converter's decoding without its withdrawal. Stops with success when the
// output is full, and with kIllFormed on a broken surrogate, both cursors on
// it.
inline int fillUtf16ToUtf32(u32** out, const u32* outEnd, const u16** in, const u16* inEnd) noexcept {
    u32* o = *out;
    const u16* i = *in;
    int result = 0;
    while (o != outEnd && i != inEnd) {
        u32 cp;
        const int n = rules::decodeUtf16(i, inEnd, cp);
        if (n < 0) {
            result = n;
            break;
        }
        *o++ = cp;
        i += n;
    }
    *out = o;
    *in = i;
    return result;
}

// The converter that may fill the output to its last unit.
template <class P>
inline int fillConvert(typename P::Dst** out, const typename P::Dst* outEnd, const typename P::Src** in,
                       const typename P::Src* inEnd) noexcept {
    if constexpr (P::kHasFill) {
        return P::fill(out, outEnd, in, inEnd);
    } else {
        return fillUtf16ToUtf32(out, outEnd, in, inEnd);
    }
}

// Sink of bounded::walk that converts into [out, end). There is no fast path:
// all text goes to the cores in runs (or, where a kernel takes it at once,
// as the cores would convert it). A run that ends at the terminator is the
// last one and goes to the fill converter; a run before a sequence goes to the
// safe converter, which leaves room behind it.
template <class P>
struct BoundedWriter {
    using Src = typename P::Src;
    using Dst = typename P::Dst;

    Dst* out;
    Dst* const end;
    ConvState& state;  // where a cut sequence records kNoRoom

    const simd::ConvertText<Src, Dst> convertText = simd::convertText<Src, Dst>(simd::active());

    // No fast path of the walk's own: where there is a kernel for it, the
    // well-formed text up to the next zero unit or 0x01 is converted at once
    // (see bounded::takeText), and the rest goes to the cores in runs.
    QEL_CALLS_KERNELS bool plain(const Src*& read, const Src* inEnd) noexcept {
        bounded::takeText<P>(convertText, read, inEnd, out, end);
        return true;
    }
    bool run(const Src*& runStart, const Src* runEnd, ConvState& st) noexcept {
        st.result = *runEnd == 0 ? fillConvert<P>(&out, end, &runStart, runEnd)
                                 : P::safe(&out, end, &runStart, runEnd);
        return st.result >= 0;
    }
    bool sequence(const Src* begin, const Src* seqEnd) noexcept {
        // A sequence that ends exactly at the end of the output stays whole
        // only when the source ends right after it.
        return bounded::carrySequence<P>(out, end, begin, seqEnd, *seqEnd == 0, false, state);
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
        bounded::measure<P>(src, nullptr, count, state);
        return state.result < 0 ? failWith(state.result) : count;
    }
    if (n == 0) return 0;

    Dst* const end = outputEnd(dst, n);
    BoundedWriter<P> writer{dst, end, state};
    bounded::walk<P>(src, nullptr, writer, state);
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
