// SPDX-License-Identifier: MIT
// The rules, written plainly one character at a time from their
// definitions, sharing no code with the library: strict decoders and
// encoders, and the embedded control sequences. The model builds on them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qelref {

enum class Enc { Utf8, Utf16, Utf32 };

// All text is kept as 32-bit unit values, its encoding known beside it.
using Units = std::vector<std::uint32_t>;

// U+0000..U+D7FF and U+E000..U+10FFFF.
bool isScalar(std::uint32_t cp);

// One strictly decoded character: its code point and length in units, or
// not ok (ill-formed, len 0). Nothing is read at or past `end`.
struct Decoded {
    bool ok;
    std::uint32_t cp;
    std::size_t len;
};
Decoded decodeAt(Enc enc, const Units& s, std::size_t pos, std::size_t end);

// Appends the spelling of a scalar value.
void encodeAs(Enc enc, std::uint32_t cp, Units& out);
inline void encodeUtf8(std::uint32_t cp, Units& out) { encodeAs(Enc::Utf8, cp, out); }
inline void encodeUtf16(std::uint32_t cp, Units& out) { encodeAs(Enc::Utf16, cp, out); }
inline Units encoded(Enc enc, std::uint32_t cp) {
    Units u;
    encodeAs(enc, cp, u);
    return u;
}

// How a control sequence (0x01, up to 17 characters 0x20..0x9F, 0x02) is
// spelled on the input side.
enum class SeqForm {
    Unit,        // UTF-16, UTF-32, raw UTF-8: one unit per character
    Utf8,        // standard UTF-8: 0x20..0x7F, or C2 80..C2 9F
    Utf8Strict,  // standard UTF-8 as the errno-style family reads it: a
                 // lead byte right before 0x02 ends the scan without one
};

// Units of the sequence that starts at s[pos], or 0 when none starts there.
std::size_t sequenceAt(SeqForm form, const Units& s, std::size_t pos, std::size_t end);

// One piece of a text as the whole-string conversions see it.
struct Piece {
    enum Kind { Char, Bad, Sequence } kind;
    std::size_t pos;   // first input unit
    std::size_t len;   // input units (0 for Bad)
    Units out;         // output units in the target (empty for Bad)
    bool fast;         // Char: a unit 0x00..0x7F other than 0x01
};

// A text cut into pieces from `begin`: characters decoded strictly,
// sequences recognised at each 0x01 by `inForm` and written in the target
// (standard UTF-8 when `outUtf8Standard`, else one unit per character). The
// walk stops after a Bad piece, at a zero unit or at `end`.
struct Conversion {
    std::vector<Piece> pieces;
    bool bad = false;          // ends with a Bad piece
    std::size_t goodSize = 0;  // output units before any Bad piece
};
Conversion convert(Enc from, Enc to, SeqForm inForm, bool outUtf8Standard, const Units& in, std::size_t begin,
                   std::size_t end);

// The output units of all good pieces, end to end.
Units joined(const Conversion& c);

// Units before the first zero unit or `limit`.
std::size_t textLength(const Units& s, std::size_t limit);

}  // namespace qelref
