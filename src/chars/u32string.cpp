// SPDX-License-Identifier: MIT
// UTF-32 string and memory functions. Every unit is a whole character, so
// these work unit by unit and validate nothing, except qel_u32mset, which
// refuses to fill with a value that is no code point.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "chars/spans.h"
#include "chars/units.h"
#include "core/rules.h"
#include "qel/qelchars.h"

namespace {

using qel::u32;

// UTF-32 text for the span, break and tokenise algorithm: a set's units are
// its characters and nothing is decoded.
struct Utf32Text {
    using Unit = u32;
    static int decode(const u32* p, u32& cp) noexcept {
        cp = *p;
        return cp == 0 ? 0 : 1;
    }
    static u32* find(const u32* s, u32 cp) noexcept { return qel_u32schr(s, cp); }
    static std::size_t length(const u32* s) noexcept { return qel::chars::unitLength(s); }
    static int delimiterLength(const u32*) noexcept { return 1; }
};

// Difference of two units as a 32-bit wrap-around value read as int.
int unitDifference(u32 a, u32 b) noexcept { return static_cast<int>(a - b); }

// Copies src with its terminator; returns the terminator written.
u32* copyString(u32* dst, const u32* src) noexcept {
    const std::size_t len = qel::chars::unitLength(src);
    std::memcpy(dst, src, (len + 1) * sizeof(u32));
    return dst + len;
}

// Copies at most n units of src; when src ends first the rest of the n units
// is zero. Returns the first zero written, or dst + n when src filled them.
u32* copyPadded(u32* dst, const u32* src, std::size_t n) noexcept {
    const std::size_t len = qel::chars::unitLengthUpTo(src, n);
    if (len != 0) std::memcpy(dst, src, len * sizeof(u32));
    qel::chars::fillUnits(dst + len, 0u, n - len);
    return dst + len;
}

// Largest count whose (count + 1) * 4 bytes still fit a provider request.
constexpr std::size_t kMaxProviderUnits = 0xFFFFFFFFu / sizeof(u32) - 1;

}  // namespace

extern "C" {

QEL_API size_t qel_u32slen(const unsigned int* s) { return qel::chars::unitLength(s); }

QEL_API size_t qel_u32snlen(const unsigned int* s, size_t n) { return qel::chars::unitLengthUpTo(s, n); }

QEL_API unsigned int* qel_u32scpy(unsigned int* dst, const unsigned int* src) {
    copyString(dst, src);
    return dst;
}

QEL_API unsigned int* qel_u32spcpy(unsigned int* dst, const unsigned int* src) { return copyString(dst, src); }

QEL_API unsigned int* qel_u32sncpy(unsigned int* dst, const unsigned int* src, size_t n) {
    copyPadded(dst, src, n);
    return dst;
}

QEL_API unsigned int* qel_u32spncpy(unsigned int* dst, const unsigned int* src, size_t n) {
    return copyPadded(dst, src, n);
}

QEL_API unsigned int* qel_u32scat(unsigned int* dst, const unsigned int* src) {
    copyString(dst + qel::chars::unitLength(dst), src);
    return dst;
}

QEL_API unsigned int* qel_u32sncat(unsigned int* dst, const unsigned int* src, size_t n) {
    u32* end = dst + qel::chars::unitLength(dst);
    const std::size_t len = qel::chars::unitLengthUpTo(src, n);
    if (len != 0) std::memcpy(end, src, len * sizeof(u32));
    end[len] = 0;
    return dst;
}

// The copy comes from malloc and is released with free, unlike every other
// block the library hands out; callers rely on that.
QEL_API unsigned int* qel_u32sdup(const unsigned int* s) {
    const std::size_t len = qel::chars::unitLength(s);
    auto* copy = static_cast<u32*>(std::malloc((len + 1) * sizeof(u32)));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, s, (len + 1) * sizeof(u32));
    return copy;
}

// Always a block of n + 1 units from the string memory provider, whatever
// the length of s, with every unit after the copied text set to zero.
QEL_API unsigned int* qel_u32sndup(const unsigned int* s, size_t n) {
    if (n > kMaxProviderUnits) return nullptr;  // no provider request can be that large
    auto* copy = static_cast<u32*>(qelStrAlloc(static_cast<unsigned int>((n + 1) * sizeof(u32))));
    if (copy == nullptr) return nullptr;
    copyPadded(copy, s, n);
    copy[n] = 0;
    return copy;
}

QEL_API int qel_u32scmp(const unsigned int* a, const unsigned int* b) {
    const std::size_t i = qel::chars::firstStringDifference(a, b, static_cast<std::size_t>(-1));
    return unitDifference(a[i], b[i]);
}

QEL_API int qel_u32sncmp(const unsigned int* a, const unsigned int* b, size_t n) {
    const std::size_t i = qel::chars::firstStringDifference(a, b, n);
    return i == n ? 0 : unitDifference(a[i], b[i]);
}

QEL_API int qel_u32mcmp(const unsigned int* a, const unsigned int* b, size_t n) {
    const std::size_t i = qel::chars::firstDifference(a, b, n);
    return i == n ? 0 : unitDifference(a[i], b[i]);
}

QEL_API unsigned int* qel_u32schr(const unsigned int* s, unsigned int c) {
    return s == nullptr ? nullptr : qel::chars::findUnit(s, c, false);
}

QEL_API unsigned int* qel_u32srchr(const unsigned int* s, unsigned int c) {
    return s == nullptr ? nullptr : qel::chars::findUnit(s, c, true);
}

QEL_API unsigned int* qel_u32mchr(const unsigned int* s, unsigned int c, size_t n) {
    return qel::chars::findUnitIn(s, c, n);
}

QEL_API unsigned int* qel_u32sstr(const unsigned int* s, const unsigned int* needle) {
    if (needle == nullptr || needle[0] == 0) return const_cast<u32*>(s);
    if (needle[1] == 0) return qel_u32schr(s, needle[0]);
    return qel::chars::findSequence(s, needle, qel::chars::unitLength(needle), false);
}

QEL_API size_t qel_u32sspn(const unsigned int* s, const unsigned int* set) {
    return qel::chars::spanLength<Utf32Text>(s, set);
}

QEL_API size_t qel_u32scspn(const unsigned int* s, const unsigned int* set) {
    return qel::chars::breakLength<Utf32Text>(s, set);
}

QEL_API unsigned int* qel_u32spbrk(const unsigned int* s, const unsigned int* set) {
    return qel::chars::breakPointer<Utf32Text>(s, set);
}

QEL_API unsigned int* qel_u32stok(unsigned int* s, const unsigned int* delim, unsigned int** context) {
    return qel::chars::tokenise<Utf32Text>(s, delim, context);
}

QEL_API int qel_u32sBeginsWith(const unsigned int* s, const unsigned int* prefix) {
    return qel::chars::beginsWith(s, prefix);
}

QEL_API int qel_u32sEndsWith(const unsigned int* s, const unsigned int* suffix) {
    return qel::chars::endsWith(s, suffix);
}

QEL_API unsigned int* qel_u32mcpy(unsigned int* dst, const unsigned int* src, size_t n) {
    if (n != 0) std::memcpy(dst, src, n * sizeof(u32));
    return dst;
}

QEL_API unsigned int* qel_u32mmove(unsigned int* dst, const unsigned int* src, size_t n) {
    if (n != 0) std::memmove(dst, src, n * sizeof(u32));
    return dst;
}

// The one function of the family that refuses a unit: only a code point may
// fill a block. With n 0 the value is not looked at.
QEL_API unsigned int* qel_u32mset(unsigned int* dst, unsigned int c, size_t n) {
    if (n == 0) return dst;
    if (!qel::rules::isCodePoint(c)) {
        errno = EILSEQ;
        return nullptr;
    }
    qel::chars::fillUnits(dst, c, n);
    return dst;
}

}  // extern "C"
