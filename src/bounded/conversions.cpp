// SPDX-License-Identifier: MIT
// The bounded conversion entry points of the six encoding pairs: each sets up
// a conversion state and calls the bounded converter of its pair.
#include <type_traits>

#include "bounded/bounded_converter.h"
#include "core/pairs.h"

using namespace qel;

namespace {

// An Ex entry point: the fill-to-end switch follows qelStrFlagNoTerminator and
// qelStrFlagRawSequences picks the raw variant; the flags go on unchanged. A
// plain entry point of these pairs is this with flags 0.
template <class Std, class Raw>
qelStrStatus convertEx(typename Std::Dst* out, unsigned int outSize, unsigned int* outLen,
                       const typename Std::Src* in, unsigned int inLen, unsigned int flags) {
    static_assert(std::is_same_v<typename Std::Src, typename Raw::Src> &&
                  std::is_same_v<typename Std::Dst, typename Raw::Dst>);
    ConvState state;
    state.fillToEnd = (flags & qelStrFlagNoTerminator) != 0;
    if (flags & qelStrFlagRawSequences)
        return bounded::convertBounded<Raw>(out, outSize, outLen, in, inLen, state, flags);
    return bounded::convertBounded<Std>(out, outSize, outLen, in, inLen, state, flags);
}

// The pairs without a UTF-8 side have one converter, no flags word and no
// fill-to-end switch.
template <class P>
qelStrStatus convertOnly(typename P::Dst* out, unsigned int outSize, unsigned int* outLen,
                         const typename P::Src* in, unsigned int inLen) {
    ConvState state;
    return bounded::convertBounded<P>(out, outSize, outLen, in, inLen, state, 0);
}

}  // namespace

extern "C" {

QEL_API qelStrStatus qelStrUtf16ToUtf8Ex(char* out, unsigned int outSize, unsigned int* outLen,
                                         const char16_t* in, unsigned int inLen, qelStrFlags flags) {
    return convertEx<pairs::Utf16ToUtf8, pairs::Utf16ToUtf8Raw>(out, outSize, outLen, in, inLen, flags);
}

QEL_API qelStrStatus qelStrUtf16ToUtf8(char* out, unsigned int outSize, unsigned int* outLen, const char16_t* in,
                                       unsigned int inLen) {
    return convertEx<pairs::Utf16ToUtf8, pairs::Utf16ToUtf8Raw>(out, outSize, outLen, in, inLen, 0);
}

QEL_API qelStrStatus qelStrUtf32ToUtf8Ex(char* out, unsigned int outSize, unsigned int* outLen,
                                         const unsigned int* in, unsigned int inLen, qelStrFlags flags) {
    return convertEx<pairs::Utf32ToUtf8, pairs::Utf32ToUtf8Raw>(out, outSize, outLen, in, inLen, flags);
}

QEL_API qelStrStatus qelStrUtf32ToUtf8(char* out, unsigned int outSize, unsigned int* outLen,
                                       const unsigned int* in, unsigned int inLen) {
    return convertEx<pairs::Utf32ToUtf8, pairs::Utf32ToUtf8Raw>(out, outSize, outLen, in, inLen, 0);
}

QEL_API qelStrStatus qelStrUtf8ToUtf16Ex(char16_t* out, unsigned int outSize, unsigned int* outLen, const char* in,
                                         unsigned int inLen, qelStrFlags flags) {
    return convertEx<pairs::Utf8ToUtf16, pairs::Utf8ToUtf16Raw>(out, outSize, outLen, utf8Units(in), inLen, flags);
}

QEL_API qelStrStatus qelStrUtf8ToUtf16(char16_t* out, unsigned int outSize, unsigned int* outLen, const char* in,
                                       unsigned int inLen) {
    return convertEx<pairs::Utf8ToUtf16, pairs::Utf8ToUtf16Raw>(out, outSize, outLen, utf8Units(in), inLen, 0);
}

QEL_API qelStrStatus qelStrUtf8ToUtf32Ex(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                         const char* in, unsigned int inLen, qelStrFlags flags) {
    return convertEx<pairs::Utf8ToUtf32, pairs::Utf8ToUtf32Raw>(out, outSize, outLen, utf8Units(in), inLen, flags);
}

QEL_API qelStrStatus qelStrUtf8ToUtf32(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                       const char* in, unsigned int inLen) {
    return convertEx<pairs::Utf8ToUtf32, pairs::Utf8ToUtf32Raw>(out, outSize, outLen, utf8Units(in), inLen, 0);
}

QEL_API qelStrStatus qelStrUtf16ToUtf32(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                        const char16_t* in, unsigned int inLen) {
    return convertOnly<pairs::Utf16ToUtf32>(out, outSize, outLen, in, inLen);
}

QEL_API qelStrStatus qelStrUtf32ToUtf16(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                        const unsigned int* in, unsigned int inLen) {
    return convertOnly<pairs::Utf32ToUtf16>(out, outSize, outLen, in, inLen);
}

}  // extern "C"
