// SPDX-License-Identifier: MIT
// Internal conventions shared by every entry point of the qelStr family:
// unit types, core results, the conversion state, the input extent and the
// mapping of core results to statuses.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "qel/qelstr.h"

namespace qel {

// Code units. UTF-8 is read as unsigned bytes everywhere inside the library.
using u8 = unsigned char;
using u16 = char16_t;
using u32 = unsigned int;

// Core results: zero or more is success, the rest are negated errno values.
constexpr int kNoRoom = -E2BIG;
constexpr int kIllFormed = -EILSEQ;
constexpr int kNoMemory = -ENOMEM;

// State of one bounded or allocating conversion call.
struct ConvState {
    int result = 0;          // last core result, or kNoRoom stored by a converter
    bool fillToEnd = false;  // use the fill converter instead of the safe one
};

// Status of a call, derived from the last core result.
constexpr qelStrStatus statusFor(int result) noexcept {
    return result >= 0 ? qelStrOk : (result == kNoRoom ? qelStrTruncated : qelStrBadInput);
}

// End of an input of inLen units: in + inLen computed on integers, so that it
// may wrap at the top of the address space (inLen 0xFFFFFFFF puts it just
// before the input). It is only ever compared for equality with a position
// that walks forward from `in`.
template <class T>
inline const T* inputEnd(const T* in, unsigned int inLen) noexcept {
    return reinterpret_cast<const T*>(reinterpret_cast<std::uintptr_t>(in) +
                                      static_cast<std::uintptr_t>(inLen) * sizeof(T));
}

// Empty input by the family's rule: null, zero length, or a zero first unit.
template <class T>
inline bool isEmptyInput(const T* in, unsigned int inLen) noexcept {
    return in == nullptr || inLen == 0 || in[0] == 0;
}

// The first three argument checks of every bounded conversion and of the
// bounded copy, in their order: a null outLen is replaced by `spare`; empty
// input answers 0 (writing a terminator when one is wanted and there is room);
// a non-null buffer of size 0 answers qelStrEmptyBuffer. Returns true when the
// call is answered, with the status in `status`.
template <class O, class I>
inline bool answeredByArgumentChecks(O* out, unsigned int outSize, unsigned int*& outLen,
                                     unsigned int& spare, const I* in, unsigned int inLen,
                                     bool terminator, qelStrStatus& status) noexcept {
    if (outLen == nullptr) outLen = &spare;
    if (isEmptyInput(in, inLen)) {
        if (terminator && out != nullptr && outSize > 0) out[0] = 0;
        *outLen = 0;
        status = qelStrOk;
        return true;
    }
    if (out != nullptr && outSize == 0) {
        *outLen = 0;
        status = qelStrEmptyBuffer;
        return true;
    }
    return false;
}

// UTF-8 text arrives as char at the public interface and is read as unsigned
// bytes inside.
inline const u8* utf8Units(const char* s) noexcept { return reinterpret_cast<const u8*>(s); }
inline u8* utf8Units(char* s) noexcept { return reinterpret_cast<u8*>(s); }

// Units of an input before its first zero unit or its end, whichever comes
// first.
template <class T>
inline unsigned int unitsBeforeTerminator(const T* in, const T* inEnd) noexcept {
    const T* p = in;
    while (p != inEnd && *p != 0) ++p;
    return static_cast<unsigned int>(p - in);
}

// Units between two positions of the same buffer.
template <class T>
inline unsigned int unitsBetween(const T* from, const T* to) noexcept {
    return static_cast<unsigned int>(to - from);
}

}  // namespace qel
