// SPDX-License-Identifier: MIT
// The ten allocating conversion entry points: each sets up a conversion state
// (result 0, fill-to-end switch never set) and calls the allocating converter
// of its pair; an AllocEx entry point takes the raw twin when
// qelStrFlagRawSequences is set and looks at no other bit.
#include "alloc/alloc_converter.h"
#include "core/pairs.h"

using namespace qel;

namespace {

template <class P>
qelStrStatus allocOnly(typename P::Dst** out, unsigned int* outLen, const typename P::Src* in,
                       unsigned int inLen) noexcept {
    ConvState state;
    return alloc::convertAlloc<P>(out, outLen, in, inLen, state);
}

template <class Std, class Raw>
qelStrStatus allocEx(typename Std::Dst** out, unsigned int* outLen, const typename Std::Src* in,
                     unsigned int inLen, qelStrFlags flags) noexcept {
    if (flags & qelStrFlagRawSequences) return allocOnly<Raw>(out, outLen, in, inLen);
    return allocOnly<Std>(out, outLen, in, inLen);
}

}  // namespace

extern "C" {

QEL_API qelStrStatus qelStrUtf16ToUtf8Alloc(char** out, unsigned int* outLen, const char16_t* in,
                                            unsigned int inLen) {
    return allocOnly<pairs::Utf16ToUtf8>(out, outLen, in, inLen);
}
QEL_API qelStrStatus qelStrUtf16ToUtf8AllocEx(char** out, unsigned int* outLen, const char16_t* in,
                                              unsigned int inLen, qelStrFlags flags) {
    return allocEx<pairs::Utf16ToUtf8, pairs::Utf16ToUtf8Raw>(out, outLen, in, inLen, flags);
}
QEL_API qelStrStatus qelStrUtf16ToUtf32Alloc(unsigned int** out, unsigned int* outLen, const char16_t* in,
                                             unsigned int inLen) {
    return allocOnly<pairs::Utf16ToUtf32>(out, outLen, in, inLen);
}
QEL_API qelStrStatus qelStrUtf32ToUtf16Alloc(char16_t** out, unsigned int* outLen, const unsigned int* in,
                                             unsigned int inLen) {
    return allocOnly<pairs::Utf32ToUtf16>(out, outLen, in, inLen);
}
QEL_API qelStrStatus qelStrUtf32ToUtf8Alloc(char** out, unsigned int* outLen, const unsigned int* in,
                                            unsigned int inLen) {
    return allocOnly<pairs::Utf32ToUtf8>(out, outLen, in, inLen);
}
QEL_API qelStrStatus qelStrUtf32ToUtf8AllocEx(char** out, unsigned int* outLen, const unsigned int* in,
                                              unsigned int inLen, qelStrFlags flags) {
    return allocEx<pairs::Utf32ToUtf8, pairs::Utf32ToUtf8Raw>(out, outLen, in, inLen, flags);
}
QEL_API qelStrStatus qelStrUtf8ToUtf16Alloc(char16_t** out, unsigned int* outLen, const char* in,
                                            unsigned int inLen) {
    return allocOnly<pairs::Utf8ToUtf16>(out, outLen, utf8Units(in), inLen);
}
QEL_API qelStrStatus qelStrUtf8ToUtf16AllocEx(char16_t** out, unsigned int* outLen, const char* in,
                                              unsigned int inLen, qelStrFlags flags) {
    return allocEx<pairs::Utf8ToUtf16, pairs::Utf8ToUtf16Raw>(out, outLen, utf8Units(in), inLen, flags);
}
QEL_API qelStrStatus qelStrUtf8ToUtf32Alloc(unsigned int** out, unsigned int* outLen, const char* in,
                                            unsigned int inLen) {
    return allocOnly<pairs::Utf8ToUtf32>(out, outLen, utf8Units(in), inLen);
}
QEL_API qelStrStatus qelStrUtf8ToUtf32AllocEx(unsigned int** out, unsigned int* outLen, const char* in,
                                              unsigned int inLen, qelStrFlags flags) {
    return allocEx<pairs::Utf8ToUtf32, pairs::Utf8ToUtf32Raw>(out, outLen, utf8Units(in), inLen, flags);
}

}  // extern "C"
