// UTF-8 -> UTF-32 cores. Every character is one output unit. In all four
// cores the success value is the byte length of the last multi-byte sequence
// of the call; the safe converter moves its input cursor back by that value
// when it withdraws a character.
#include "core/cores.h"
#include "core/policies.h"

using namespace qel;
using namespace qel::core;
using policy::Utf8ToUtf32;

int u8stou32sPreflightLow(unsigned int* count, const unsigned char** in, const unsigned char* inEnd) {
    return measureRun<Utf8ToUtf32>(count, in, inEnd);
}

int u8stou32sConvertSafeLow(unsigned int** out, const unsigned int* outEnd, const unsigned char** in,
                            const unsigned char* inEnd) {
    return convertSafe<Utf8ToUtf32>(out, outEnd, in, inEnd);
}

int u8stou32sConvertLow(unsigned int** out, const unsigned int* outEnd, const unsigned char** in,
                        const unsigned char* inEnd) {
    return convertFill<Utf8ToUtf32>(out, outEnd, in, inEnd);
}

int u8stou32sAllocLow(qelChrXBuf<unsigned int>* buf, unsigned int** out, const unsigned int** outEnd,
                      const unsigned char** in, const unsigned char* inEnd) {
    return convertAlloc<Utf8ToUtf32>(buf, out, outEnd, in, inEnd);
}
