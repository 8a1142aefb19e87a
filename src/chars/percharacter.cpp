// SPDX-License-Identifier: MIT
// Per-character conversions and length functions. Each converts or measures
// the one character at the head of its source and reports failure as -1 with
// errno set (EILSEQ for malformed input or an unencodable value, E2BIG for too
// little room); on failure nothing is written. A null destination, where one
// is allowed, makes the call a length query into a scratch value.
#include <cerrno>

#include "chars/codec.h"
#include "core/rules.h"
#include "qel/qelchars.h"

using namespace qel;
using chars::kUnbounded;

namespace {

// A routine's result as the entry points report it.
int reported(int r) noexcept {
    if (r >= 0) return r;
    errno = -r;
    return -1;
}

// qel_u16tou32 and qel_u16sctou32: the character at src, `avail` units readable.
int u16ToU32(u32* dst, const u16* src, std::size_t avail) noexcept {
    if (src == nullptr || src[0] == 0) return 0;
    u32 scratch;
    u32 cp;
    const int len = rules::decodeUtf16(src, avail, cp);
    if (len < 0) return reported(len);
    *(dst != nullptr ? dst : &scratch) = cp;
    return len;
}

// qel_u8tou32 and qel_u8sctou32.
int u8ToU32(u32* dst, const char* src, std::size_t avail) noexcept {
    if (src == nullptr || src[0] == 0) return 0;
    u32 scratch;
    u32* const out = dst != nullptr ? dst : &scratch;
    const u8* const s = utf8Units(src);
    if (s[0] < 0x80u) {  // the count is not consulted for ASCII
        *out = s[0];
        return 1;
    }
    return reported(chars::u8ctou32Low(out, s, avail));
}

// qel_u8tou16_s, qel_u8sctou16_s and qel_u8tou16.
int u8ToU16(u16* dst, std::size_t room, const char* src, std::size_t avail) noexcept {
    if (src == nullptr || src[0] == 0) return 0;
    u16 scratch[2];
    if (dst == nullptr) {
        dst = scratch;
        room = 2;
    }
    const u8* const s = utf8Units(src);
    if (s[0] < 0x80u) {  // one unit, stored without consulting the room
        dst[0] = s[0];
        return 1;
    }
    return reported(chars::u8ctou16Low(dst, room, s, avail));
}

// qel_u8clen and qel_u8sclen, past their argument checks.
int u8Length(const char* s, std::size_t avail) noexcept {
    const u8* const b = utf8Units(s);
    if (b[0] < 0x80u) return b[0] != 0 ? 1 : 0;
    u32 cp;
    return reported(rules::decodeUtf8(b, avail, cp));
}

// qel_u16clen and qel_u16sclen, past their argument checks.
int u16Length(const u16* s, std::size_t avail) noexcept {
    if (s[0] == 0) return 0;
    u32 cp;
    return reported(rules::decodeUtf16(s, avail, cp));
}

// qel_u32clen and qel_u32sclen, past their argument checks.
int u32Length(const u32* s) noexcept {
    if (!rules::isCodePoint(s[0])) return reported(kIllFormed);
    return s[0] != 0 ? 1 : 0;
}

}  // namespace

// ---- into UTF-8 --------------------------------------------------------------

extern "C" QEL_API int qel_u16tou8(char* dst, char16_t c) {
    if (dst == nullptr) return 0;
    if (c < 0x80u) {
        dst[0] = static_cast<char>(c);
        return 1;
    }
    return reported(chars::u16ctou8Low(utf8Units(dst), 3, &c, 1));
}

extern "C" QEL_API int qel_u16tou8n(char* dst, char16_t c, size_t n) {
    if (dst == nullptr) return 0;
    if (c < 0x80u && n >= 1) {
        dst[0] = static_cast<char>(c);
        return 1;
    }
    // One unit available: a surrogate can never form a pair here.
    return reported(chars::u16ctou8Low(utf8Units(dst), n, &c, 1));
}

extern "C" QEL_API int qel_u16tou8n_s(char* dst, size_t n, const char16_t* src, size_t srcn) {
    if (dst == nullptr || src == nullptr || srcn == 0) return 0;
    if (src[0] < 0x80u && n >= 1) {  // a zero unit too: it is written and counted
        dst[0] = static_cast<char>(src[0]);
        return 1;
    }
    return reported(chars::u16ctou8Low(utf8Units(dst), n, src, srcn));
}

extern "C" QEL_API int qel_u16sctou8(char* dst, size_t n, const char16_t* src) {
    if (dst == nullptr || src == nullptr || src[0] == 0) return 0;
    // Intended: any room at all (or an ASCII unit) stores the unit's low 8 bits
    // as one byte; only a room of 0 lets the encoder judge the character.
    if (src[0] < 0x80u || n >= 1) {
        dst[0] = static_cast<char>(src[0] & 0xFFu);
        return 1;
    }
    return reported(chars::u16ctou8Low(utf8Units(dst), 0, src, kUnbounded));
}

extern "C" QEL_API int qel_u32tou8(char* dst, unsigned int c) {
    if (dst == nullptr) return 0;
    if (c < 0x80u) {
        dst[0] = static_cast<char>(c);
        return 1;
    }
    return reported(chars::u32ctou8Low(utf8Units(dst), c, 4));
}

extern "C" QEL_API int qel_u32tou8n(char* dst, unsigned int c, size_t n) {
    if (dst == nullptr) return 0;
    if (c < 0x80u && n >= 1) {
        dst[0] = static_cast<char>(c);
        return 1;
    }
    return reported(chars::u32ctou8Low(utf8Units(dst), c, n));
}

// ---- into UTF-16 -------------------------------------------------------------

extern "C" QEL_API int qel_u32tou16(char16_t* dst, unsigned int c, size_t n) {
    if (dst == nullptr) return 0;
    if (c < 0xD800u && n >= 1) {
        dst[0] = static_cast<char16_t>(c);
        return 1;
    }
    return reported(chars::u32ctou16Low(dst, c, n));
}

extern "C" QEL_API int qel_u8tou16_s(char16_t* dst, size_t dstn, const char* src, size_t n) {
    return u8ToU16(dst, dstn, src, n);
}

extern "C" QEL_API int qel_u8sctou16_s(char16_t* dst, size_t dstn, const char* src) {
    return u8ToU16(dst, dstn, src, kUnbounded);
}

extern "C" QEL_API int qel_u8tou16(char16_t* dst, const char* src, size_t n) {
    // Intended: the roomless form has room for one unit only, so a character
    // above U+FFFF fails with E2BIG unless dst is null (scratch room 2).
    return u8ToU16(dst, 1, src, n);
}

// ---- into UTF-32 -------------------------------------------------------------

extern "C" QEL_API int qel_u16tou32(unsigned int* dst, const char16_t* src, size_t n) {
    return u16ToU32(dst, src, n);
}

extern "C" QEL_API int qel_u16sctou32(unsigned int* dst, const char16_t* src) {
    return u16ToU32(dst, src, kUnbounded);
}

extern "C" QEL_API int qel_u8tou32(unsigned int* dst, const char* src, size_t n) {
    return u8ToU32(dst, src, n);
}

extern "C" QEL_API int qel_u8sctou32(unsigned int* dst, const char* src) {
    return u8ToU32(dst, src, kUnbounded);
}

extern "C" QEL_API int qel_u32sctou32(unsigned int* dst, const unsigned int* src) {
    if (src == nullptr) return 0;
    if (!rules::isCodePoint(src[0])) return reported(kIllFormed);
    dst[0] = src[0];  // a zero unit is stored too
    return src[0] != 0 ? 1 : 0;
}

// ---- lengths -----------------------------------------------------------------

extern "C" QEL_API int qel_u8clen(const char* s, size_t n) {
    if (s == nullptr || n == 0) return 0;
    return u8Length(s, n);
}

extern "C" QEL_API int qel_u8sclen(const char* s) {
    if (s == nullptr) return 0;
    return u8Length(s, kUnbounded);
}

extern "C" QEL_API int qel_u16clen(const char16_t* s, size_t n) {
    if (s == nullptr || n == 0) return 0;
    return u16Length(s, n);
}

extern "C" QEL_API int qel_u16sclen(const char16_t* s) {
    if (s == nullptr) return 0;
    return u16Length(s, kUnbounded);
}

extern "C" QEL_API int qel_u32clen(const unsigned int* s, size_t n) {
    if (s == nullptr || n == 0) return 0;
    return u32Length(s);
}

extern "C" QEL_API int qel_u32sclen(const unsigned int* s) {
    if (s == nullptr) return 0;
    return u32Length(s);
}

// Intended: a tolerant step length that never fails. Bytes are classed by
// their top bits only, with no range, overlong or surrogate tests, and no
// byte after one below 0x80 is read.
extern "C" QEL_API int qel_u8mbclen(const char* s) {
    const u8* const b = utf8Units(s);
    if (b[0] < 0x80u || b[1] < 0x80u) return 1;
    if (b[0] < 0xC0u) {  // a stray continuation byte: step over up to three
        if (b[1] >= 0xC0u) return 1;
        return rules::isContinuation(b[2]) ? 3 : 2;
    }
    if (b[0] < 0xE0u) return 2;
    if (!rules::isContinuation(b[2])) return 2;
    if (b[0] < 0xF0u) return 3;
    return rules::isContinuation(b[3]) ? 4 : 3;
}
