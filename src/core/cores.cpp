// SPDX-License-Identifier: MIT
// The exported cores: each runs the engine's loop of its kind over its pair
// (core/engine.h) and answers with the kind's success value.
#include "core/engine.h"
#include "core/pairs.h"
#include "qel/qelcore.h"

using namespace qel;
using namespace qel::core;

QEL_API int u16stou8sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd) {
    return measureRun<Utf16ToUtf8>(count, in, inEnd);
}
QEL_API int u16stou8sConvertSafeLow(char** out, const char* outEnd, const char16_t** in, const char16_t* inEnd) {
    return convertSafe<Utf16ToUtf8>(out, outEnd, in, inEnd);
}
QEL_API int u16stou8sAllocLow(qelChrXBuf<char>* buf, char** out, const char** outEnd, const char16_t** in,
                              const char16_t* inEnd) {
    return convertAlloc<Utf16ToUtf8>(buf, out, outEnd, in, inEnd);
}
QEL_API int u16stou32sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd) {
    return measureRun<Utf16ToUtf32>(count, in, inEnd);
}
QEL_API int u16stou32sConvertSafeLow(unsigned int** out, const unsigned int* outEnd, const char16_t** in,
                                     const char16_t* inEnd) {
    return convertSafe<Utf16ToUtf32>(out, outEnd, in, inEnd);
}
QEL_API int u16stou32sAllocLow(qelChrXBuf<unsigned int>* buf, unsigned int** out, const unsigned int** outEnd,
                               const char16_t** in, const char16_t* inEnd) {
    return convertAlloc<Utf16ToUtf32>(buf, out, outEnd, in, inEnd);
}
QEL_API int u8stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned char** in,
                                const unsigned char* inEnd) {
    return convertFill<Utf8ToUtf16>(out, outEnd, in, inEnd);
}
QEL_API int u32stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned int** in,
                                 const unsigned int* inEnd) {
    return convertFill<Utf32ToUtf16>(out, outEnd, in, inEnd);
}
