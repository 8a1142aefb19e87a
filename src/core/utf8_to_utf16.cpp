// UTF-8 -> UTF-16 cores. A byte below 0x80 is one unit; a sequence of two or
// three bytes is one unit and a four-byte one a surrogate pair, which the
// allocating core may split across two chunks. The success values are byte
// lengths of the input sequences.
#include "core/cores.h"
#include "core/policies.h"

using namespace qel;
using namespace qel::core;
using policy::Utf8ToUtf16;

int u8stou16sPreflightLow(unsigned int* count, const unsigned char** in, const unsigned char* inEnd) {
    return measureRun<Utf8ToUtf16>(count, in, inEnd);
}

int u8stou16sConvertSafeLow(char16_t** out, const char16_t* outEnd, const unsigned char** in,
                            const unsigned char* inEnd) {
    return convertSafe<Utf8ToUtf16>(out, outEnd, in, inEnd);
}

int u8stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned char** in,
                        const unsigned char* inEnd) {
    return convertFill<Utf8ToUtf16>(out, outEnd, in, inEnd);
}

int u8stou16sAllocLow(qelChrXBuf<char16_t>* buf, char16_t** out, const char16_t** outEnd, const unsigned char** in,
                      const unsigned char* inEnd) {
    return convertAlloc<Utf8ToUtf16>(buf, out, outEnd, in, inEnd);
}
