// SPDX-License-Identifier: MIT
// UTF-16 string functions. A code point above U+FFFF is searched as its
// surrogate pair, sets are read as whole characters, and strings compare in
// code-point order.
#include <cerrno>

#include "chars/spans.h"
#include "chars/units.h"
#include "core/rules.h"
#include "qel/qelchars.h"

namespace {

using qel::u16;
using qel::u32;

// UTF-16 text for the span, break and tokenise algorithm.
struct Utf16Text {
    using Unit = u16;
    static int decode(const u16* p, u32& cp) noexcept { return qel_u16sctou32(&cp, p); }
    static u16* find(const u16* s, u32 cp) noexcept { return qel_u16schr(s, cp); }
    static std::size_t length(const u16* s) noexcept { return qel::chars::unitLength(s); }
    static int delimiterLength(const u16* p) noexcept { return qel_u16sclen(p); }
};

// Order of the units where two strings first differ. A surrogate belongs to
// a character above U+FFFF and so sorts after every other unit, U+E000..U+FFFF
// included; otherwise the result is the plain difference of the units.
int codePointOrder(u16 x, u16 y) noexcept {
    const bool xSurrogate = qel::rules::isSurrogate(x);
    const bool ySurrogate = qel::rules::isSurrogate(y);
    if (xSurrogate != ySurrogate) return xSurrogate ? 1 : -1;
    return static_cast<int>(x) - static_cast<int>(y);
}

// Comparison result when the strings were found equal up to index i of n.
int orderAt(const u16* a, const u16* b, std::size_t i, std::size_t n) noexcept {
    return i == n ? 0 : codePointOrder(a[i], b[i]);
}

// First (or last) occurrence of c in s: a unit search below U+10000 (any
// surrogate value included), the surrogate pair above.
u16* findCodePoint(const u16* s, u32 c, bool last) noexcept {
    if (s == nullptr) return nullptr;
    if (c < 0x10000u) return qel::chars::findUnit(s, static_cast<u16>(c), last);
    // A value beyond U+10FFFF is simply not found: no errno here, unlike the UTF-8 search (intended).
    if (s[0] == 0 || c >= 0x110000u) return nullptr;
    const u16 pair[2] = {qel::rules::highSurrogateOf(c), qel::rules::lowSurrogateOf(c)};
    return qel::chars::findSequence(s, pair, 2, last);
}

}  // namespace

extern "C" {

QEL_API char16_t* qel_u16mchr(const char16_t* s, unsigned int c, size_t n) {
    if (c < 0x10000u) return qel::chars::findUnitIn(s, static_cast<u16>(c), n);
    if (c >= 0x110000u) return nullptr;
    const u16 pair[2] = {qel::rules::highSurrogateOf(c), qel::rules::lowSurrogateOf(c)};
    return qel::chars::findSequenceIn(s, n, pair, 2);
}

QEL_API int qel_u16mcmp(const char16_t* a, const char16_t* b, size_t n) {
    return orderAt(a, b, qel::chars::firstDifference(a, b, n), n);
}

// Fills with one unit only: a surrogate, or a code point above U+FFFF (which
// is never written as a repeated pair), is refused. With n 0 the value is not
// looked at.
QEL_API char16_t* qel_u16mset(char16_t* dst, unsigned int c, size_t n) {
    if (n == 0) return dst;
    if (c >= 0x10000u || qel::rules::isSurrogate(c)) {
        errno = EILSEQ;
        return nullptr;
    }
    qel::chars::fillUnits(dst, static_cast<u16>(c), n);
    return dst;
}

QEL_API char16_t* qel_u16schr(const char16_t* s, unsigned int c) { return findCodePoint(s, c, false); }

QEL_API char16_t* qel_u16srchr(const char16_t* s, unsigned int c) { return findCodePoint(s, c, true); }

QEL_API char16_t* qel_u16sstr(const char16_t* s, const char16_t* needle) {
    if (needle == nullptr || needle[0] == 0) return const_cast<u16*>(s);
    if (needle[1] == 0) return qel_u16schr(s, needle[0]);
    return qel::chars::findSequence(s, needle, qel::chars::unitLength(needle), false);
}

QEL_API size_t qel_u16sspn(const char16_t* s, const char16_t* set) {
    return qel::chars::spanLength<Utf16Text>(s, set);
}

QEL_API size_t qel_u16scspn(const char16_t* s, const char16_t* set) {
    return qel::chars::breakLength<Utf16Text>(s, set);
}

QEL_API char16_t* qel_u16spbrk(const char16_t* s, const char16_t* set) {
    return qel::chars::breakPointer<Utf16Text>(s, set);
}

QEL_API char16_t* qel_u16stok(char16_t* s, const char16_t* delim, char16_t** context) {
    return qel::chars::tokenise<Utf16Text>(s, delim, context);
}

QEL_API int qel_u16scmp(const char16_t* a, const char16_t* b) {
    const std::size_t all = static_cast<std::size_t>(-1);
    return orderAt(a, b, qel::chars::firstStringDifference(a, b, all), all);
}

QEL_API int qel_u16sncmp(const char16_t* a, const char16_t* b, size_t n) {
    return orderAt(a, b, qel::chars::firstStringDifference(a, b, n), n);
}

QEL_API int qel_u16sBeginsWith(const char16_t* s, const char16_t* prefix) {
    return qel::chars::beginsWith(s, prefix);
}

QEL_API int qel_u16sEndsWith(const char16_t* s, const char16_t* suffix) {
    return qel::chars::endsWith(s, suffix);
}

}  // extern "C"
