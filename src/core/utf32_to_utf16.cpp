// UTF-32 -> UTF-16 cores. A unit below 0xD800 is written as it is; from
// 0xE000 a unit is one output unit or, above 0xFFFF, a surrogate pair, which
// the allocating core may split across two chunks. The success values are
// output sizes in units.
#include "core/cores.h"
#include "core/policies.h"

using namespace qel;
using namespace qel::core;
using policy::Utf32ToUtf16;

int u32stou16sPreflightLow(unsigned int* count, const unsigned int** in, const unsigned int* inEnd) {
    return measureRun<Utf32ToUtf16>(count, in, inEnd);
}

int u32stou16sConvertSafeLow(char16_t** out, const char16_t* outEnd, const unsigned int** in,
                             const unsigned int* inEnd) {
    return convertSafe<Utf32ToUtf16>(out, outEnd, in, inEnd);
}

int u32stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned int** in, const unsigned int* inEnd) {
    return convertFill<Utf32ToUtf16>(out, outEnd, in, inEnd);
}

int u32stou16sAllocLow(qelChrXBuf<char16_t>* buf, char16_t** out, const char16_t** outEnd, const unsigned int** in,
                       const unsigned int* inEnd) {
    return convertAlloc<Utf32ToUtf16>(buf, out, outEnd, in, inEnd);
}
