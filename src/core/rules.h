// SPDX-License-Identifier: MIT
// The strict code-point rules, in one place: decoding of UTF-8, UTF-16 and
// UTF-32, encoding, and output sizes. Every core and every per-character
// routine uses these; nothing else in the library decodes or encodes.
//
// Only the well-formed forms and the code points U+0000..U+D7FF and
// U+E000..U+10FFFF are accepted. A failing decoder returns kIllFormed and
// writes nothing; callers leave their cursor on the first unit of the
// offending character.
#pragma once

#include <cstddef>

#include "common/common.h"

namespace qel {
namespace rules {

constexpr bool isContinuation(u32 b) noexcept { return (b & 0xC0u) == 0x80u; }
constexpr bool isSurrogate(u32 u) noexcept { return (u & 0xFFFFF800u) == 0xD800u; }
constexpr bool isHighSurrogate(u32 u) noexcept { return (u & 0xFFFFFC00u) == 0xD800u; }
constexpr bool isLowSurrogate(u32 u) noexcept { return (u & 0xFFFFFC00u) == 0xDC00u; }
constexpr bool isCodePoint(u32 c) noexcept { return c < 0xD800u || (c >= 0xE000u && c < 0x110000u); }

constexpr u32 combineSurrogates(u32 high, u32 low) noexcept {
    return 0x10000u + ((high - 0xD800u) << 10) + (low - 0xDC00u);
}
constexpr u16 highSurrogateOf(u32 c) noexcept { return static_cast<u16>(0xD800u + ((c - 0x10000u) >> 10)); }
constexpr u16 lowSurrogateOf(u32 c) noexcept { return static_cast<u16>(0xDC00u + (c & 0x3FFu)); }

// ---- sizes -----------------------------------------------------------------

// UTF-8 bytes of a valid code point.
constexpr int utf8Size(u32 c) noexcept { return c < 0x80u ? 1 : c < 0x800u ? 2 : c < 0x10000u ? 3 : 4; }
// UTF-16 units of a valid code point.
constexpr int utf16Size(u32 c) noexcept { return c < 0x10000u ? 1 : 2; }

// Length announced by a UTF-8 lead byte of a multi-byte form (0xC2..0xF4 and
// the ill-formed 0xF5..0xF7 that share the four-byte class), 0 for a byte that
// cannot lead a multi-byte form.
constexpr int utf8LeadLength(u32 lead) noexcept {
    return lead < 0xC2u ? 0 : lead < 0xE0u ? 2 : lead < 0xF0u ? 3 : lead < 0xF8u ? 4 : 0;
}

// ---- UTF-8 -----------------------------------------------------------------

// What the UTF-8 decoder makes of a three-byte surrogate form (0xED followed by
// 0xA0..0xBF). The strict rules reject it; only the surrogate-pair repair
// accepts it, and then its value is the surrogate itself.
enum class Utf8Surrogates { Reject, Accept };

// Decodes the multi-byte sequence at p, of which `avail` bytes may be read
// (the lead byte included). The checks run in this order and stop at the first
// failure: the lead byte's class; that the run holds all announced bytes,
// before any continuation byte is looked at; that each following byte is a
// continuation byte; the second byte's range. Returns the length 2, 3 or 4
// with the code point in `cp`, or kIllFormed. A lead byte below 0xC2 (ASCII
// included) is ill-formed here: callers handle ASCII themselves.
inline int decodeUtf8(const u8* p, std::size_t avail, u32& cp,
                      Utf8Surrogates surrogates = Utf8Surrogates::Reject) noexcept {
    const u32 lead = p[0];
    const int len = utf8LeadLength(lead);
    if (len == 0) return kIllFormed;
    if (avail < static_cast<std::size_t>(len)) return kIllFormed;
    const u32 b1 = p[1];
    if (!isContinuation(b1)) return kIllFormed;
    if (len == 2) {
        cp = ((lead & 0x1Fu) << 6) | (b1 & 0x3Fu);
        return 2;
    }
    const u32 b2 = p[2];
    if (!isContinuation(b2)) return kIllFormed;
    if (len == 3) {
        if (lead == 0xE0u && b1 < 0xA0u) return kIllFormed;  // overlong
        if (lead == 0xEDu && b1 > 0x9Fu && surrogates == Utf8Surrogates::Reject)
            return kIllFormed;  // surrogate
        cp = ((lead & 0x0Fu) << 12) | ((b1 & 0x3Fu) << 6) | (b2 & 0x3Fu);
        return 3;
    }
    const u32 b3 = p[3];
    if (!isContinuation(b3)) return kIllFormed;
    if (lead == 0xF0u && b1 < 0x90u) return kIllFormed;  // overlong
    if (lead > 0xF4u || (lead == 0xF4u && b1 > 0x8Fu)) return kIllFormed;  // above U+10FFFF
    cp = ((lead & 0x07u) << 18) | ((b1 & 0x3Fu) << 12) | ((b2 & 0x3Fu) << 6) | (b3 & 0x3Fu);
    return 4;
}

// Decodes the character at p in the run that ends at `end` (p != end).
// Returns its length 1..4 with the code point in `cp`, or kIllFormed.
inline int decodeUtf8(const u8* p, const u8* end, u32& cp) noexcept {
    if (p[0] < 0x80u) {
        cp = p[0];
        return 1;
    }
    return decodeUtf8(p, static_cast<std::size_t>(end - p), cp);
}

// Writes a valid code point in its shortest UTF-8 form; returns its length.
template <class Byte>
inline int encodeUtf8(u32 c, Byte* dst) noexcept {
    if (c < 0x80u) {
        dst[0] = static_cast<Byte>(c);
        return 1;
    }
    if (c < 0x800u) {
        dst[0] = static_cast<Byte>(0xC0u | (c >> 6));
        dst[1] = static_cast<Byte>(0x80u | (c & 0x3Fu));
        return 2;
    }
    if (c < 0x10000u) {
        dst[0] = static_cast<Byte>(0xE0u | (c >> 12));
        dst[1] = static_cast<Byte>(0x80u | ((c >> 6) & 0x3Fu));
        dst[2] = static_cast<Byte>(0x80u | (c & 0x3Fu));
        return 3;
    }
    dst[0] = static_cast<Byte>(0xF0u | (c >> 18));
    dst[1] = static_cast<Byte>(0x80u | ((c >> 12) & 0x3Fu));
    dst[2] = static_cast<Byte>(0x80u | ((c >> 6) & 0x3Fu));
    dst[3] = static_cast<Byte>(0x80u | (c & 0x3Fu));
    return 4;
}

// ---- UTF-16 ----------------------------------------------------------------

// Decodes the character at p, of which `avail` units may be read: p[0] is
// always read, `avail` only limits the look-ahead to a low surrogate.
// Returns 1 or 2 units with the code point in `cp`, or kIllFormed for a lone
// low surrogate, a high surrogate that ends the run, or a high surrogate
// followed by anything but a low surrogate.
inline int decodeUtf16(const u16* p, std::size_t avail, u32& cp) noexcept {
    const u32 u = p[0];
    if (!isSurrogate(u)) {
        cp = u;
        return 1;
    }
    if (!isHighSurrogate(u) || avail < 2 || !isLowSurrogate(p[1])) return kIllFormed;
    cp = combineSurrogates(u, p[1]);
    return 2;
}

// Decodes the character at p in the run that ends at `end` (p != end).
inline int decodeUtf16(const u16* p, const u16* end, u32& cp) noexcept {
    return decodeUtf16(p, static_cast<std::size_t>(end - p), cp);
}

// Writes a valid code point as one unit or a surrogate pair; returns the count.
inline int encodeUtf16(u32 c, u16* dst) noexcept {
    if (c < 0x10000u) {
        dst[0] = static_cast<u16>(c);
        return 1;
    }
    dst[0] = highSurrogateOf(c);
    dst[1] = lowSurrogateOf(c);
    return 2;
}

// ---- UTF-32 ----------------------------------------------------------------

// A UTF-32 unit is a character exactly when it is a code point.
inline int decodeUtf32(const u32* p, const u32* /*end*/, u32& cp) noexcept {
    if (!isCodePoint(p[0])) return kIllFormed;
    cp = p[0];
    return 1;
}

inline int encodeUtf32(u32 c, u32* dst) noexcept {
    dst[0] = c;
    return 1;
}

}  // namespace rules
}  // namespace qel
