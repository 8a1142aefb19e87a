// SPDX-License-Identifier: MIT
// Embedded control sequences: 0x01, up to 17 content characters 0x20..0x9F,
// 0x02. One unit that every whole-string copy and conversion uses to
// recognise a sequence, to carry it over into another form unit by unit, to
// size it in a target form, and to close or drop a sequence that a bounded
// output cut.
//
// A form is how a sequence is spelled in one encoding:
//   FixedForm<U>  one unit per character: UTF-16, UTF-32, and UTF-8 in the
//                 raw form (bytes 0x80..0x9F standing alone);
//   Utf8Form<Q>   standard UTF-8: 0x20..0x7F as one byte, U+0080..U+009F as
//                 C2 80..C2 9F. Q selects the recogniser's rule for a lead
//                 byte that stands right before 0x02 (see Utf8Form).
// A form used as a source offers recognise() and read(); as a target it
// offers encode() and close().
#pragma once

#include "common/common.h"

namespace qel {
namespace seq {

constexpr u32 kStart = 0x01;
constexpr u32 kEnd = 0x02;
constexpr int kMaxContent = 17;

constexpr bool isContent(u32 v) noexcept { return v >= 0x20u && v <= 0x9Fu; }

// What a recogniser found at a 0x01: whether a sequence starts there, and the
// position where its scan stopped (on the closing 0x02 when valid).
template <class U>
struct Recognised {
    bool valid;
    const U* stop;
};

// Closes or drops a cut sequence by the rule for fixed-width output: with
// fullLength, or with fewer than 4 units written, the sequence is dropped;
// otherwise it keeps all written units but the last two, the first of those
// places gets 0x02 and the second stays free for a terminator. Returns the new
// end of the output.
template <class U>
inline U* closeFixed(U* seqStart, U* pos, bool fullLength) noexcept {
    if (fullLength || pos - seqStart < 4) return seqStart;
    pos[-2] = static_cast<U>(kEnd);
    return pos - 1;
}

template <class U>
struct FixedForm {
    using Unit = U;

    // Scans at most 17 content units after the 0x01 at `at`; `end` is only
    // compared for equality.
    static Recognised<U> recognise(const U* at, const U* end) noexcept {
        const U* scan = at + 1;
        for (int n = 0; scan != end && n < kMaxContent && isContent(static_cast<u32>(*scan)); ++n) ++scan;
        return {scan != end && static_cast<u32>(*scan) == kEnd, scan};
    }

    // Reads one character of a recognised sequence.
    static u32 read(const U*& p) noexcept { return static_cast<u32>(*p++); }

    // Spells a value in this form: one unit holding its low bits.
    static int encode(u32 v, u32 (&units)[2]) noexcept {
        units[0] = static_cast<u32>(static_cast<U>(v));
        return 1;
    }

    template <class O>
    static O* close(O* seqStart, O* pos, const O* /*bufEnd*/, bool fullLength) noexcept {
        return closeFixed(seqStart, pos, fullLength);
    }
};

// Rules for a two-byte lead byte that is followed directly by 0x02 inside a
// standard-form sequence.
enum class LeadBeforeEnd {
    EndsSequence,  // the scan stops on the 0x02: the sequence counts as valid
    NoSequence,    // the scan ends without a sequence (errno-style family)
};

template <LeadBeforeEnd Q = LeadBeforeEnd::EndsSequence>
struct Utf8Form {
    using Unit = u8;

    static Recognised<u8> recognise(const u8* at, const u8* end) noexcept {
        const u8* scan = at + 1;
        for (int n = 0; scan != end && n < kMaxContent; ++n) {
            const u32 b = *scan;
            if (b < 0x20u) break;
            if (b <= 0x7Fu) {
                ++scan;
                continue;
            }
            if (b < 0xC2u || b >= 0xE0u) break;
            if (scan + 1 == end) return {false, end};  // lead byte is the last of the input
            const u32 next = scan[1];
            if (Q == LeadBeforeEnd::NoSequence && next == kEnd) return {false, scan + 1};
            // Intended: any other byte that cannot complete the two-byte form,
            // 0x02 included, stops the scan on it; so a lead byte right before
            // 0x02 leaves a valid sequence whose last content byte is that
            // lone lead byte.
            if ((next & 0xC0u) != 0x80u || (((b & 0x1Fu) << 6) | (next & 0x3Fu)) >= 0xA0u) {
                ++scan;
                break;
            }
            scan += 2;
        }
        return {scan != end && *scan == kEnd, scan};
    }

    // A byte from 0x80 and the byte after it are one character: the lead's
    // low five bits, then the second byte XOR 0x80 (0x02 gives 0x82).
    static u32 read(const u8*& p) noexcept {
        const u32 b = *p++;
        if (b < 0x80u) return b;
        const u32 t = *p++;
        return ((b & 0x1Fu) << 6) | (t ^ 0x80u);
    }

    static int encode(u32 v, u32 (&units)[2]) noexcept {
        if (v < 0x80u) {
            units[0] = v;
            return 1;
        }
        units[0] = 0xC0u | (v >> 6);
        units[1] = 0x80u | (v & 0x3Fu);
        return 2;
    }

    // Closes or drops a cut sequence in standard UTF-8 output: fewer than 4
    // bytes written (a lone lead byte counted) drops it; otherwise a lone lead
    // byte is removed, then whole characters until at least two bytes of the
    // buffer are free, and 0x02 is written after what is left, unless only the
    // start unit is left, which drops the sequence.
    template <class O>
    static O* close(O* seqStart, O* pos, const O* bufEnd, bool fullLength) noexcept {
        if (fullLength || pos - seqStart < 4) return seqStart;
        if (static_cast<u8>(pos[-1]) >= 0xC0u) --pos;  // lone lead byte
        while (bufEnd - pos < 2) pos -= (static_cast<u8>(pos[-1]) & 0xC0u) == 0x80u ? 2 : 1;
        if (pos - seqStart <= 1) return seqStart;
        *pos = static_cast<O>(kEnd);
        return pos + 1;
    }
};

using Utf16Form = FixedForm<u16>;
using Utf32Form = FixedForm<u32>;
using RawUtf8Form = FixedForm<u8>;
using StdUtf8Form = Utf8Form<LeadBeforeEnd::EndsSequence>;

}  // namespace seq
}  // namespace qel
