// UTF-16 -> UTF-8 cores. A unit below 0x80 is one byte; the success values
// are byte sizes of the output.
#include "core/core_kinds.h"
#include "core/cores.h"

using namespace qel;
using namespace qel::core;

namespace {

struct Utf16ToUtf8 : PairPolicy<Utf16Source, Utf8Target>, MeasureTarget {
    static constexpr u32 kFastBelow = 0x80u;
    static constexpr Reports kMeasureReports = Reports::Nothing;  // the measuring core answers 0
};

}  // namespace

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
