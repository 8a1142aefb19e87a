// Reference model for the fuzz targets: a deliberately plain implementation
// of the strict code-point rules and of the embedded control sequence rules,
// written one character at a time from the rules themselves and sharing no
// code with the library. The targets check the library's decisions against
// it, so it favours being obviously right over being fast.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qelref {

// ---------------------------------------------------------------------------
// Code points
// ---------------------------------------------------------------------------

// A scalar value: U+0000..U+D7FF or U+E000..U+10FFFF.
bool isScalar(std::uint32_t cp);
bool isHighSurrogate(std::uint32_t u);
bool isLowSurrogate(std::uint32_t u);

// One decoded character: ok with its code point and the number of input
// units it spans, or not ok (ill-formed; len is then 0).
struct Decoded {
    bool ok;
    std::uint32_t cp;
    std::size_t len;
};

// Strict decoders. `avail` is the number of units readable at `s`; a
// character that would need more is ill-formed. avail must be at least 1.
Decoded decodeUtf8(const unsigned char* s, std::size_t avail);
Decoded decodeUtf16(const char16_t* s, std::size_t avail);
Decoded decodeUtf32(const std::uint32_t* s, std::size_t avail);

// Encoded sizes of a scalar value.
std::size_t utf8Size(std::uint32_t cp);
std::size_t utf16Size(std::uint32_t cp);

// Encoders; cp must be a scalar value. They append to `out`.
void encodeUtf8(std::uint32_t cp, std::vector<std::uint32_t>& out);
void encodeUtf16(std::uint32_t cp, std::vector<std::uint32_t>& out);
void encodeUtf32(std::uint32_t cp, std::vector<std::uint32_t>& out);

// ---------------------------------------------------------------------------
// Text as a list of units of one encoding
// ---------------------------------------------------------------------------

enum class Enc { Utf8, Utf16, Utf32 };

// Every unit of any encoding fits in 32 bits, so the model keeps all text as
// 32-bit unit values and knows its encoding beside it.
using Units = std::vector<std::uint32_t>;

// Decodes the character at s[pos], reading at most up to `end`; nothing
// readable (pos at or past end) is ill-formed.
Decoded decodeAt(Enc enc, const Units& s, std::size_t pos, std::size_t end);
void encodeAs(Enc enc, std::uint32_t cp, Units& out);
std::size_t sizeIn(Enc enc, std::uint32_t cp);

// ---------------------------------------------------------------------------
// Embedded control sequences
// ---------------------------------------------------------------------------

// How a sequence is spelled on one side of a conversion.
enum class SeqForm {
    Unit,         // UTF-16, UTF-32, raw UTF-8: one unit 0x20..0x9F per character
    Utf8,         // standard UTF-8: 0x20..0x7F, or C2 80..C2 9F
    Utf8Strict,   // standard UTF-8 as the errno-style family reads it: a lead
                  // byte right before 0x02 ends the scan without a sequence
};

// Length in units of the sequence that starts at s[pos] (a 0x01), or 0 when
// none starts there. The input ends at `end`.
std::size_t sequenceAt(SeqForm form, const Units& s, std::size_t pos, std::size_t end);

// The character values of a recognised sequence of `len` units at s[pos],
// start and end units included, read in the given source form (for the
// standard UTF-8 form a byte from 0x80 and the byte after it make one value).
std::vector<std::uint32_t> sequenceValues(SeqForm form, const Units& s, std::size_t pos,
                                          std::size_t len);

// Writes sequence values into a target: standard UTF-8 (values from 0x80 as
// two bytes), or one unit per value (UTF-16, UTF-32, raw UTF-8).
void writeSequence(bool utf8Standard, const std::vector<std::uint32_t>& values, Units& out);

// ---------------------------------------------------------------------------
// Whole texts
// ---------------------------------------------------------------------------

// One piece of a text as the whole-string conversions see it.
struct Piece {
    enum Kind { Char, Bad, Sequence } kind;
    std::size_t pos;  // first input unit
    std::size_t len;  // input units (0 for Bad)
    std::uint32_t cp; // Char: the code point
    Units out;        // the piece's output units in the target (empty for Bad)
    bool fast;        // Char: a unit 0x00..0x7F other than 0x01 (eligible to be copied directly)
};

// The conversion of a whole text as pieces: characters decoded strictly,
// sequences recognised at each 0x01 by `inForm` and written in the target by
// `outUtf8Standard`. The walk stops after the first Bad piece, at a zero unit
// or at `end`. A 0x01 that starts no sequence is an ordinary character.
struct Conversion {
    std::vector<Piece> pieces;
    bool bad = false;               // ends with a Bad piece
    std::size_t goodSize = 0;       // output units of all pieces before any Bad one
    bool lossySequence = false;     // a standard UTF-8 sequence whose lone lead byte swallowed 0x02
};

Conversion convert(Enc from, Enc to, SeqForm inForm, bool outUtf8Standard, const Units& in,
                   std::size_t begin, std::size_t end);

// The output units of a conversion's good pieces, end to end.
Units joined(const Conversion& c);

// Units before the first zero unit or `limit`, whichever comes first.
std::size_t textLength(const Units& s, std::size_t limit);

}  // namespace qelref
