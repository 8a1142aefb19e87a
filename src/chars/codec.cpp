// SPDX-License-Identifier: MIT
// The per-character encoders and decoders, on top of the code-point rules.
// Each validates first, then checks room, then writes; a failing call leaves
// its destination untouched. Two branches differ from the rules on purpose:
// u32ctou16Low asks for room before validity, and u8ctou16LenientLow accepts
// a surrogate written as a three-byte sequence.
#include "chars/codec.h"

#include "core/rules.h"

namespace qel {
namespace chars {

namespace {

// Decodes one multi-byte UTF-8 sequence into one UTF-16 unit, or into a
// surrogate pair when `room` holds two units; the room is asked only of a pair.
int u8ctou16With(u16* out, std::size_t room, const u8* src, std::size_t avail,
                 rules::Utf8Surrogates surrogates) noexcept {
    u32 cp;
    const int len = rules::decodeUtf8(src, avail, cp, surrogates);
    if (len < 0) return len;
    if (rules::utf16Size(cp) > 1 && room < 2) return kNoRoom;
    rules::encodeUtf16(cp, out);
    return len;
}

}  // namespace

int u32ctou8Low(u8* dst, u32 c, std::size_t room) noexcept {
    if (!rules::isCodePoint(c)) return kIllFormed;
    // Callers store values below 0x80 themselves and come here with one only
    // when the room is 0.
    const int len = rules::utf8Size(c);
    if (room < static_cast<std::size_t>(len)) return kNoRoom;
    return rules::encodeUtf8(c, dst);
}

int u16ctou8Low(u8* dst, std::size_t room, const u16* src, std::size_t avail) noexcept {
    u32 cp;
    if (rules::decodeUtf16(src, avail, cp) < 0) return kIllFormed;
    const int len = rules::utf8Size(cp);
    if (room < static_cast<std::size_t>(len)) return kNoRoom;
    return rules::encodeUtf8(cp, dst);
}

int u32ctou16Low(u16* dst, u32 c, std::size_t room) noexcept {
    if (c >= 0x10000u) {
        if (c >= 0x110000u) return kIllFormed;
        if (room < 2) return kNoRoom;
        return rules::encodeUtf16(c, dst);
    }
    // Intended: below 0x10000 the room is judged before validity, so a
    // surrogate value with no room reports kNoRoom.
    if (room == 0) return kNoRoom;
    if (rules::isSurrogate(c)) return kIllFormed;
    return rules::encodeUtf16(c, dst);
}

int u8ctou32Low(u32* out, const u8* src, std::size_t avail) noexcept {
    u32 cp;
    const int len = rules::decodeUtf8(src, avail, cp);
    if (len < 0) return len;
    *out = cp;
    return len;
}

int u8ctou16Low(u16* out, std::size_t room, const u8* src, std::size_t avail) noexcept {
    return u8ctou16With(out, room, src, avail, rules::Utf8Surrogates::Reject);
}

int u8ctou16LenientLow(u16* out, std::size_t room, const u8* src, std::size_t avail) noexcept {
    // Intended: a surrogate half in its three-byte form decodes to that unit,
    // so that the repair can pair two halves.
    return u8ctou16With(out, room, src, avail, rules::Utf8Surrogates::Accept);
}

}  // namespace chars
}  // namespace qel
