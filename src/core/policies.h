// The pair policies of the six conversion cores (see core_kinds.h): what
// each pair's cores count as a fast character, which success values they
// leave and where the kinds differ. One header, so that the cores and their
// tests instantiate the kinds from the same descriptions.
#pragma once

#include "core/core_kinds.h"

namespace qel {
namespace core {
namespace policy {

// UTF-8 -> UTF-16: a byte below 0x80 is one unit; a sequence of two or three
// bytes is one unit and a four-byte one a surrogate pair, which the
// allocating core may split across two chunks. The success values are byte
// lengths of the input sequences.
struct Utf8ToUtf16 : PairPolicy<Utf8Source, Utf16Target>, MeasureSource {
    static constexpr u32 kFastBelow = 0x80u;
};

// UTF-8 -> UTF-32: every character is one output unit. In all four cores the
// success value is the byte length of the last multi-byte sequence of the
// call; the safe converter moves its input cursor back by that value when it
// withdraws a character.
struct Utf8ToUtf32 : PairPolicy<Utf8Source, Utf32Target>, MeasureSource {
    static constexpr u32 kFastBelow = 0x80u;
    static constexpr int kAllocStart = 0;
    static constexpr Reports kSafeReports = Reports::SlowChars;  // intended: the fill converter's value
    static constexpr bool kSafeStepsBackByResult = true;         // intended: see convertSafe
};

// UTF-16 -> UTF-8: a unit below 0x80 is one byte; the success values are
// byte sizes of the output.
struct Utf16ToUtf8 : PairPolicy<Utf16Source, Utf8Target>, MeasureTarget {
    static constexpr u32 kFastBelow = 0x80u;
    static constexpr Reports kMeasureReports = Reports::Nothing;  // the measuring core answers 0
};

// UTF-16 -> UTF-32: every character is one output unit, so nothing is ever
// split; every core answers exactly 0 on success. The pair has no fill
// converter.
struct Utf16ToUtf32 : PairPolicy<Utf16Source, Utf32Target> {
    static constexpr u32 kFastBelow = 0xD800u;
    static constexpr int kAllocStart = 0;
    static constexpr int measure(int /*in*/, int /*out*/) noexcept { return 0; }
};

// UTF-32 -> UTF-8: a unit below 0x80 is one byte; the success values are
// byte sizes of the output.
struct Utf32ToUtf8 : PairPolicy<Utf32Source, Utf8Target>, MeasureTarget {
    static constexpr u32 kFastBelow = 0x80u;
};

// UTF-32 -> UTF-16: a unit below 0xD800 is written as it is; from 0xE000 a
// unit is one output unit or, above 0xFFFF, a surrogate pair, which the
// allocating core may split across two chunks. The success values are output
// sizes in units.
struct Utf32ToUtf16 : PairPolicy<Utf32Source, Utf16Target>, MeasureTarget {
    static constexpr u32 kFastBelow = 0xD800u;
};

}  // namespace policy
}  // namespace core
}  // namespace qel
