// SPDX-License-Identifier: MIT
// UTF-8 string functions. A character to search for is a code point, searched
// as its UTF-8 bytes; sets are read as UTF-8 characters; the tokenizer
// removes whole multi-byte delimiters.
#include <cerrno>
#include <cstring>

#include "chars/codec.h"
#include "chars/spans.h"
#include "chars/units.h"
#include "qel/qelchars.h"

namespace {

using qel::u32;
using qel::u8;

// UTF-8 text for the span, break and tokenise algorithm.
struct Utf8Text {
    using Unit = char;
    static int decode(const char* p, u32& cp) noexcept { return qel_u8sctou32(&cp, p); }
    static char* find(const char* s, u32 cp) noexcept { return qel_u8schr(s, cp); }
    static std::size_t length(const char* s) noexcept { return std::strlen(s); }
    static int delimiterLength(const char* p) noexcept { return qel_u8sclen(p); }
};

// First (or last) occurrence of c's UTF-8 bytes in s. The search goes byte by
// byte, so in ill-formed text a match may start inside a character.
char* findCodePoint(const char* s, u32 c, bool last) noexcept {
    if (c < 0x80u) {
        const char* found = last ? std::strrchr(s, static_cast<int>(c)) : std::strchr(s, static_cast<int>(c));
        return const_cast<char*>(found);
    }
    // An empty s is answered before c is looked at, so errno stays untouched (intended).
    if (s[0] == 0) return nullptr;
    u8 bytes[6];
    const int k = qel::chars::u32ctou8Low(bytes, c, sizeof bytes);
    if (k < 0) {
        errno = EILSEQ;
        return nullptr;
    }
    const u8* text = reinterpret_cast<const u8*>(s);
    return reinterpret_cast<char*>(qel::chars::findSequence(text, bytes, static_cast<std::size_t>(k), last));
}

}  // namespace

extern "C" {

QEL_API char* qel_u8schr(const char* s, unsigned int c) { return findCodePoint(s, c, false); }

QEL_API char* qel_u8srchr(const char* s, unsigned int c) { return findCodePoint(s, c, true); }

QEL_API char* qel_u8sstr(const char* s, const char* needle) {
    if (needle == nullptr || needle[0] == 0) return const_cast<char*>(s);
    if (needle[1] == 0) {
        u32 c = static_cast<u8>(needle[0]);
        // Widened as a signed char: a lone byte 0x80..0xFF becomes no code point and is never found (intended).
        if (c >= 0x80u) c |= 0xFFFFFF00u;
        return qel_u8schr(s, c);
    }
    return const_cast<char*>(std::strstr(s, needle));
}

QEL_API size_t qel_u8sspn(const char* s, const char* set) { return qel::chars::spanLength<Utf8Text>(s, set); }

QEL_API size_t qel_u8scspn(const char* s, const char* set) { return qel::chars::breakLength<Utf8Text>(s, set); }

QEL_API char* qel_u8spbrk(const char* s, const char* set) { return qel::chars::breakPointer<Utf8Text>(s, set); }

QEL_API char* qel_u8stok(char* s, const char* delim, char** context) {
    return qel::chars::tokenise<Utf8Text>(s, delim, context);
}

QEL_API int qel_u8sBeginsWith(const char* s, const char* prefix) { return qel::chars::beginsWith(s, prefix); }

QEL_API int qel_u8sEndsWith(const char* s, const char* suffix) { return qel::chars::endsWith(s, suffix); }

}  // extern "C"
