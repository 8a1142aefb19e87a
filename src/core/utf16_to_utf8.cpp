// UTF-16 -> UTF-8 cores. A unit below 0x80 is one byte; the success values
// are byte sizes of the output.
#include "core/cores.h"
#include "core/policies.h"

using namespace qel;
using namespace qel::core;
using policy::Utf16ToUtf8;

int u16stou8sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd) {
    return measureRun<Utf16ToUtf8>(count, in, inEnd);
}

int u16stou8sConvertSafeLow(char** out, const char* outEnd, const char16_t** in, const char16_t* inEnd) {
    return convertSafe<Utf16ToUtf8>(out, outEnd, in, inEnd);
}

int u16stou8sConvertLow(char** out, const char* outEnd, const char16_t** in, const char16_t* inEnd) {
    return convertFill<Utf16ToUtf8>(out, outEnd, in, inEnd);
}

int u16stou8sAllocLow(qelChrXBuf<char>* buf, char** out, const char** outEnd, const char16_t** in,
                      const char16_t* inEnd) {
    return convertAlloc<Utf16ToUtf8>(buf, out, outEnd, in, inEnd);
}
