// SPDX-License-Identifier: MIT
// Allocating UTF-16 copy. The copy always gets all the room it needs, so
// nothing is ever cut: it looks for no control sequences and checks nothing,
// it counts the units and copies them as one block.
#include <cstring>

#include "alloc/alloc_converter.h"
#include "common/common.h"

using namespace qel;

extern "C" QEL_API qelStrStatus qelStrUtf16CopyAlloc(char16_t** out, unsigned int* outLen, const char16_t* in,
                                                     unsigned int inLen) {
    const bool empty = isEmptyInput(in, inLen);
    if (out == nullptr) {  // length query: no allocation
        if (outLen != nullptr) *outLen = empty ? 0 : unitsBeforeTerminator(in, inputEnd(in, inLen));
        return qelStrOk;
    }
    unsigned int spare;
    if (outLen == nullptr) outLen = &spare;
    *outLen = 0;
    if (in == nullptr) {
        *out = nullptr;
        return qelStrOk;
    }
    if (empty) {  // intended: a failed allocation gives a null result, still qelStrOk
        *out = alloc::emptyResult<u16>();
        return qelStrOk;
    }

    const unsigned int n = unitsBeforeTerminator(in, inputEnd(in, inLen));
    // A copy whose size in bytes does not fit the provider's 32-bit size
    // cannot be had, just as when the provider refuses it.
    constexpr unsigned int kMaxUnits = (0xFFFFFFFFu - 2u) / 2u;
    u16* block = n <= kMaxUnits ? static_cast<u16*>(qelStrAlloc(2u * n + 2u)) : nullptr;
    if (block == nullptr) {
        *out = alloc::emptyResult<u16>();
        return qelStrNoMemory;
    }
    std::memcpy(block, in, n * sizeof(u16));
    block[n] = 0;
    *out = block;
    *outLen = n;
    return qelStrOk;
}
