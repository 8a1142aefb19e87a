// SPDX-License-Identifier: MIT
#include "references.h"

#include <iconv.h>
#include <unicode/ustring.h>
#include <unicode/utypes.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace bench {
namespace {

// ---- the plain loop: decode one character strictly, encode it -------------

// Each decoder returns the units read (the code point in c), or 0 when the
// character at p is ill-formed or cut by the end.
int decode(const char* s, const char* end, char32_t& c) {
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    const std::size_t avail = static_cast<std::size_t>(end - s);
    const unsigned b0 = p[0];
    if (b0 < 0x80) {
        c = b0;
        return 1;
    }
    if (b0 < 0xC2 || b0 > 0xF4) return 0;
    if (b0 < 0xE0) {
        if (avail < 2 || (p[1] & 0xC0) != 0x80) return 0;
        c = (char32_t(b0 & 0x1F) << 6) | (p[1] & 0x3F);
        return 2;
    }
    if (b0 < 0xF0) {
        if (avail < 3 || (p[1] & 0xC0) != 0x80 || (p[2] & 0xC0) != 0x80) return 0;
        c = (char32_t(b0 & 0x0F) << 12) | (char32_t(p[1] & 0x3F) << 6) | (p[2] & 0x3F);
        if (c < 0x800 || (c >= 0xD800 && c < 0xE000)) return 0;
        return 3;
    }
    if (avail < 4 || (p[1] & 0xC0) != 0x80 || (p[2] & 0xC0) != 0x80 || (p[3] & 0xC0) != 0x80) return 0;
    c = (char32_t(b0 & 0x07) << 18) | (char32_t(p[1] & 0x3F) << 12) | (char32_t(p[2] & 0x3F) << 6) | (p[3] & 0x3F);
    if (c < 0x10000 || c > 0x10FFFF) return 0;
    return 4;
}

int decode(const char16_t* p, const char16_t* end, char32_t& c) {
    const char32_t u = p[0];
    if (u < 0xD800 || u >= 0xE000) {
        c = u;
        return 1;
    }
    if (u >= 0xDC00 || end - p < 2 || p[1] < 0xDC00 || p[1] >= 0xE000) return 0;
    c = 0x10000 + ((u - 0xD800) << 10) + (p[1] - 0xDC00);
    return 2;
}

int decode(const char32_t* p, const char32_t* /*end*/, char32_t& c) {
    c = p[0];
    return (c < 0xD800 || (c >= 0xE000 && c <= 0x10FFFF)) ? 1 : 0;
}

// Each encoder returns the units written, or 0 when they do not fit.
int encode(char32_t c, char* o, std::size_t room) {
    if (c < 0x80) {
        if (room < 1) return 0;
        o[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        if (room < 2) return 0;
        o[0] = static_cast<char>(0xC0 | (c >> 6));
        o[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        if (room < 3) return 0;
        o[0] = static_cast<char>(0xE0 | (c >> 12));
        o[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        o[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    if (room < 4) return 0;
    o[0] = static_cast<char>(0xF0 | (c >> 18));
    o[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    o[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    o[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

int encode(char32_t c, char16_t* o, std::size_t room) {
    if (c < 0x10000) {
        if (room < 1) return 0;
        o[0] = static_cast<char16_t>(c);
        return 1;
    }
    if (room < 2) return 0;
    o[0] = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    o[1] = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    return 2;
}

int encode(char32_t c, char32_t* o, std::size_t room) {
    if (room < 1) return 0;
    o[0] = c;
    return 1;
}

// ---- ICU ----------------------------------------------------------------------

long icuToU16(char16_t* out, std::size_t cap, const char* in, std::size_t n) {
    int32_t len = 0;
    UErrorCode err = U_ZERO_ERROR;
    u_strFromUTF8(out, static_cast<int32_t>(cap), &len, in, static_cast<int32_t>(n), &err);
    return U_FAILURE(err) ? -1 : len;
}
long icuToU16(char16_t* out, std::size_t cap, const char32_t* in, std::size_t n) {
    int32_t len = 0;
    UErrorCode err = U_ZERO_ERROR;
    u_strFromUTF32(out, static_cast<int32_t>(cap), &len, reinterpret_cast<const UChar32*>(in),
                   static_cast<int32_t>(n), &err);
    return U_FAILURE(err) ? -1 : len;
}
long icuFromU16(char* out, std::size_t cap, const char16_t* in, std::size_t n) {
    int32_t len = 0;
    UErrorCode err = U_ZERO_ERROR;
    u_strToUTF8(out, static_cast<int32_t>(cap), &len, in, static_cast<int32_t>(n), &err);
    return U_FAILURE(err) ? -1 : len;
}
long icuFromU16(char32_t* out, std::size_t cap, const char16_t* in, std::size_t n) {
    int32_t len = 0;
    UErrorCode err = U_ZERO_ERROR;
    u_strToUTF32(reinterpret_cast<UChar32*>(out), static_cast<int32_t>(cap), &len, in, static_cast<int32_t>(n),
                 &err);
    return U_FAILURE(err) ? -1 : len;
}

// Scratch UTF-16 for the two-step pairs, one per thread, grown as needed.
std::vector<char16_t>& scratch(std::size_t units) {
    thread_local std::vector<char16_t> buf;
    if (buf.size() < units) buf.resize(units);
    return buf;
}

// ---- iconv --------------------------------------------------------------------

template <Enc E>
const char* iconvName() {
    if constexpr (E == Enc::U8) {
        return "UTF-8";
    } else if constexpr (E == Enc::U16) {
        return (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) ? "UTF-16LE" : "UTF-16BE";
    } else {
        return (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) ? "UTF-32LE" : "UTF-32BE";
    }
}

template <Enc From, Enc To>
iconv_t iconvHandle() {
    thread_local iconv_t cd = iconv_open(iconvName<To>(), iconvName<From>());
    return cd;
}

}  // namespace

template <Enc From, Enc To>
long loopConvert(typename UnitOf<To>::type* out, std::size_t cap, const typename UnitOf<From>::type* in,
                 std::size_t n) {
    const auto* p = in;
    const auto* const end = in + n;
    std::size_t w = 0;
    while (p != end) {
        char32_t c;
        const int len = decode(p, end, c);
        if (len == 0) return -1;
        const int size = encode(c, out + w, cap - w);
        if (size == 0) return -1;
        p += len;
        w += static_cast<std::size_t>(size);
    }
    return static_cast<long>(w);
}

template <Enc From, Enc To>
long icuConvert(typename UnitOf<To>::type* out, std::size_t cap, const typename UnitOf<From>::type* in,
                std::size_t n) {
    if constexpr (From == Enc::U16 || To == Enc::U16) {
        if constexpr (From == Enc::U16) {
            return icuFromU16(out, cap, in, n);
        } else {
            return icuToU16(out, cap, in, n);
        }
    } else {
        std::vector<char16_t>& mid = scratch(2 * n + 1);
        const long m = icuToU16(mid.data(), mid.size(), in, n);
        if (m < 0) return -1;
        return icuFromU16(out, cap, mid.data(), static_cast<std::size_t>(m));
    }
}

template <Enc From, Enc To>
long iconvConvert(typename UnitOf<To>::type* out, std::size_t cap, const typename UnitOf<From>::type* in,
                  std::size_t n) {
    iconv_t cd = iconvHandle<From, To>();
    if (cd == reinterpret_cast<iconv_t>(-1)) return -1;
    char* src = const_cast<char*>(reinterpret_cast<const char*>(in));
    std::size_t srcLeft = n * sizeof *in;
    char* dst = reinterpret_cast<char*>(out);
    std::size_t dstLeft = cap * sizeof *out;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) == static_cast<std::size_t>(-1)) return -1;
    return static_cast<long>((cap * sizeof *out - dstLeft) / sizeof *out);
}

#define BENCH_REFERENCE_PAIR(F, T)                                                                         \
    template long loopConvert<F, T>(UnitOf<T>::type*, std::size_t, const UnitOf<F>::type*, std::size_t);  \
    template long icuConvert<F, T>(UnitOf<T>::type*, std::size_t, const UnitOf<F>::type*, std::size_t);   \
    template long iconvConvert<F, T>(UnitOf<T>::type*, std::size_t, const UnitOf<F>::type*, std::size_t);
BENCH_REFERENCE_PAIR(Enc::U8, Enc::U16)
BENCH_REFERENCE_PAIR(Enc::U16, Enc::U8)
BENCH_REFERENCE_PAIR(Enc::U8, Enc::U32)
BENCH_REFERENCE_PAIR(Enc::U32, Enc::U8)
BENCH_REFERENCE_PAIR(Enc::U16, Enc::U32)
BENCH_REFERENCE_PAIR(Enc::U32, Enc::U16)
#undef BENCH_REFERENCE_PAIR

}  // namespace bench
