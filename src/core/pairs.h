// SPDX-License-Identifier: MIT
// The six encoding pairs, each described once: how its source is decoded and
// its target encoded (both on the code-point rules), which characters the
// loops write at once without decoding, and which success value a call leaves.
// A family converts with a variant: a pair together with the forms in which
// embedded control sequences are read from its source and written to its
// target.
#pragma once

#include "common/common.h"
#include "common/sequence.h"
#include "core/rules.h"

namespace qel {
namespace core {

// ---- sources and targets ----------------------------------------------------------

struct Utf8Source {
    using Unit = u8;
    static int decode(const Unit* p, const Unit* end, u32& cp) noexcept { return rules::decodeUtf8(p, end, cp); }
    // The first unit of the character whose last unit is at `last`.
    static const Unit* startOf(const Unit* last) noexcept {
        while (rules::isContinuation(*last)) --last;
        return last;
    }
};

struct Utf16Source {
    using Unit = u16;
    static int decode(const Unit* p, const Unit* end, u32& cp) noexcept { return rules::decodeUtf16(p, end, cp); }
    static const Unit* startOf(const Unit* last) noexcept { return rules::isLowSurrogate(*last) ? last - 1 : last; }
};

struct Utf32Source {
    using Unit = u32;
    static int decode(const Unit* p, const Unit* end, u32& cp) noexcept { return rules::decodeUtf32(p, end, cp); }
    static const Unit* startOf(const Unit* last) noexcept { return last; }
};

struct Utf8Target {
    using Unit = char;
    static constexpr int kMaxUnits = 4;
    static int size(u32 cp) noexcept { return rules::utf8Size(cp); }
    static void encode(u32 cp, Unit* dst) noexcept { rules::encodeUtf8(cp, dst); }
};

struct Utf16Target {
    using Unit = u16;
    static constexpr int kMaxUnits = 2;
    static int size(u32 cp) noexcept { return rules::utf16Size(cp); }
    static void encode(u32 cp, Unit* dst) noexcept { rules::encodeUtf16(cp, dst); }
};

struct Utf32Target {
    using Unit = u32;
    static constexpr int kMaxUnits = 1;
    static int size(u32 /*cp*/) noexcept { return 1; }
    static void encode(u32 cp, Unit* dst) noexcept { rules::encodeUtf32(cp, dst); }
};

// ---- success values ---------------------------------------------------------------------

// Which character a call's success value comes from.
enum class Reports {
    Nothing,    // none: the value stays as it started
    SlowChars,  // the last one at or above kFastBelow
    EveryChar,  // the last one
};

// What a pair starts from. A pair names:
//   Source, Target   its decoder and encoder
//   kFastBelow       source units below this are characters of one output
//                    unit, written at once
//   value(in, out)   the success value a character of `in` source units and
//                    `out` target units leaves
//   kMeasureReports, kSafeReports  which character sets the value of the
//                    measuring and the safe converter (the fill and
//                    allocating converters report SlowChars)
//   kSafeStepsBackByValue  the safe converter withdraws a character by moving
//                    its input cursor back by the success value
//   kAllocStart      the allocating converter's value before any character
template <class Src, class Dst>
struct PairBase {
    using Source = Src;
    using Target = Dst;
    static constexpr Reports kMeasureReports = Reports::SlowChars;
    static constexpr Reports kSafeReports = Reports::EveryChar;
    static constexpr bool kSafeStepsBackByValue = false;
    static constexpr int kAllocStart = 1;
};

struct ValueIsTargetSize {
    static constexpr int value(int /*in*/, int out) noexcept { return out; }
};
struct ValueIsSourceLength {
    static constexpr int value(int in, int /*out*/) noexcept { return in; }
};

// ---- the pairs ------------------------------------------------------------------------

// UTF-8 -> UTF-16: a four-byte sequence is a surrogate pair, which the
// allocating converter may split across two chunks.
struct Utf8ToUtf16 : PairBase<Utf8Source, Utf16Target>, ValueIsSourceLength {
    static constexpr u32 kFastBelow = 0x80u;
};

// UTF-8 -> UTF-32: every character is one output unit.
struct Utf8ToUtf32 : PairBase<Utf8Source, Utf32Target>, ValueIsSourceLength {
    static constexpr u32 kFastBelow = 0x80u;
    static constexpr int kAllocStart = 0;
    // Intended: the safe converter reports as the fill converter does, and
    // withdraws by that value rather than by the withdrawn character.
    static constexpr Reports kSafeReports = Reports::SlowChars;
    static constexpr bool kSafeStepsBackByValue = true;
};

struct Utf16ToUtf8 : PairBase<Utf16Source, Utf8Target>, ValueIsTargetSize {
    static constexpr u32 kFastBelow = 0x80u;
    static constexpr Reports kMeasureReports = Reports::Nothing;  // the measuring core answers 0
};

// UTF-16 -> UTF-32: every character is one output unit and every call answers
// exactly 0 on success.
struct Utf16ToUtf32 : PairBase<Utf16Source, Utf32Target> {
    static constexpr u32 kFastBelow = 0xD800u;
    static constexpr int kAllocStart = 0;
    static constexpr int value(int /*in*/, int /*out*/) noexcept { return 0; }
};

struct Utf32ToUtf8 : PairBase<Utf32Source, Utf8Target>, ValueIsTargetSize {
    static constexpr u32 kFastBelow = 0x80u;
};

// UTF-32 -> UTF-16: above 0xFFFF a surrogate pair, which the allocating
// converter may split across two chunks.
struct Utf32ToUtf16 : PairBase<Utf32Source, Utf16Target>, ValueIsTargetSize {
    static constexpr u32 kFastBelow = 0xD800u;
};

template <class P>
using SrcOf = typename P::Source::Unit;
template <class P>
using DstOf = typename P::Target::Unit;

// ---- variants -----------------------------------------------------------------------------

// A pair with the forms of its control sequences, as the families use it.
template <class P, class SF, class DF>
struct Variant : P {
    using Pair = P;
    using Src = SrcOf<P>;
    using Dst = DstOf<P>;
    using SrcForm = SF;
    using DstForm = DF;
};

}  // namespace core

namespace pairs {

using core::Variant;

// The ten converters of the qelStr family.
using Utf16ToUtf8 = Variant<core::Utf16ToUtf8, seq::Utf16Form, seq::StdUtf8Form>;
using Utf16ToUtf8Raw = Variant<core::Utf16ToUtf8, seq::Utf16Form, seq::RawUtf8Form>;
using Utf32ToUtf8 = Variant<core::Utf32ToUtf8, seq::Utf32Form, seq::StdUtf8Form>;
using Utf32ToUtf8Raw = Variant<core::Utf32ToUtf8, seq::Utf32Form, seq::RawUtf8Form>;
using Utf8ToUtf16 = Variant<core::Utf8ToUtf16, seq::StdUtf8Form, seq::Utf16Form>;
using Utf8ToUtf16Raw = Variant<core::Utf8ToUtf16, seq::RawUtf8Form, seq::Utf16Form>;
using Utf8ToUtf32 = Variant<core::Utf8ToUtf32, seq::StdUtf8Form, seq::Utf32Form>;
using Utf8ToUtf32Raw = Variant<core::Utf8ToUtf32, seq::RawUtf8Form, seq::Utf32Form>;
using Utf16ToUtf32 = Variant<core::Utf16ToUtf32, seq::Utf16Form, seq::Utf32Form>;
using Utf32ToUtf16 = Variant<core::Utf32ToUtf16, seq::Utf32Form, seq::Utf16Form>;

// The errno-style family: standard form only, and a lead byte right before
// 0x02 in a UTF-8 source starts no sequence.
using ErrnoUtf8Form = seq::Utf8Form<seq::LeadBeforeEnd::NoSequence>;
using ErrnoUtf8ToUtf16 = Variant<core::Utf8ToUtf16, ErrnoUtf8Form, seq::Utf16Form>;
using ErrnoUtf8ToUtf32 = Variant<core::Utf8ToUtf32, ErrnoUtf8Form, seq::Utf32Form>;

}  // namespace pairs
}  // namespace qel
