// UTF-16 -> UTF-32 cores. Every character is one output unit, so nothing is
// ever split; every core answers exactly 0 on success. The pair has no fill
// converter.
#include "core/cores.h"
#include "core/policies.h"

using namespace qel;
using namespace qel::core;
using policy::Utf16ToUtf32;

int u16stou32sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd) {
    return measureRun<Utf16ToUtf32>(count, in, inEnd);
}

int u16stou32sConvertSafeLow(unsigned int** out, const unsigned int* outEnd, const char16_t** in,
                             const char16_t* inEnd) {
    return convertSafe<Utf16ToUtf32>(out, outEnd, in, inEnd);
}

int u16stou32sAllocLow(qelChrXBuf<unsigned int>* buf, unsigned int** out, const unsigned int** outEnd,
                       const char16_t** in, const char16_t* inEnd) {
    return convertAlloc<Utf16ToUtf32>(buf, out, outEnd, in, inEnd);
}
