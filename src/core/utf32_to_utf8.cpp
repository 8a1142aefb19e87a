// UTF-32 -> UTF-8 cores. A unit below 0x80 is one byte; the success values
// are byte sizes of the output.
#include "core/cores.h"
#include "core/policies.h"

using namespace qel;
using namespace qel::core;
using policy::Utf32ToUtf8;

int u32stou8sPreflightLow(unsigned int* count, const unsigned int** in, const unsigned int* inEnd) {
    return measureRun<Utf32ToUtf8>(count, in, inEnd);
}

int u32stou8sConvertSafeLow(char** out, const char* outEnd, const unsigned int** in, const unsigned int* inEnd) {
    return convertSafe<Utf32ToUtf8>(out, outEnd, in, inEnd);
}

int u32stou8sConvertLow(char** out, const char* outEnd, const unsigned int** in, const unsigned int* inEnd) {
    return convertFill<Utf32ToUtf8>(out, outEnd, in, inEnd);
}

int u32stou8sAllocLow(qelChrXBuf<char>* buf, char** out, const char** outEnd, const unsigned int** in,
                      const unsigned int* inEnd) {
    return convertAlloc<Utf32ToUtf8>(buf, out, outEnd, in, inEnd);
}
