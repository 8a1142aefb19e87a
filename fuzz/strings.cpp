// SPDX-License-Identifier: MIT
// Checks of the UTF-8 and UTF-16 string functions against naive
// versions written here from their rules: search for a code point, substring
// search, span and break over a character set, tokenising, comparison in
// code-point order, prefix and suffix tests, and the UTF-16 memory functions.
// Results are compared as offsets, together with errno (set to EILSEQ only
// where the rules say) and, for the tokenisers, the buffer and the context.
//
// Data: function, code point (4 bytes), value mode, split point, count,
// bits, then the text, split into the string and a second argument.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "check.h"

using namespace qelfuzz;
using qelref::Units;

namespace {

constexpr int kSentinel = 4242;
constexpr long kNull = -1;
using qelref::Enc;

struct Out {
    long value;  // an offset, a count, or kNull
    int err;
};

std::size_t len(const Units& s) { return qelref::textLength(s, s.size()); }

// First (or `last`) offset where `pat` occurs before the terminator, or kNull.
long findUnits(const Units& s, const Units& pat, bool last) {
    long found = kNull;
    for (std::size_t i = 0; i + pat.size() <= len(s) && (last || found == kNull); ++i)
        if (std::equal(pat.begin(), pat.end(), s.begin() + static_cast<std::ptrdiff_t>(i))) found = static_cast<long>(i);
    return found;
}

// Search for a code point: zero finds the terminator; UTF-8 refuses a value
// that is no code point (EILSEQ), UTF-16 one of 0x110000 or more (no errno)
// and takes any other unit as it is; nothing is looked for in an empty string.
Out chr(Enc enc, const Units& s, std::uint32_t c, bool last) {
    if (c == 0) return {static_cast<long>(len(s)), kSentinel};
    if (c < (enc == Enc::Utf8 ? 0x80u : 0x10000u)) return {findUnits(s, {c}, last), kSentinel};
    if (len(s) == 0 || (enc == Enc::Utf16 && c >= 0x110000)) return {kNull, kSentinel};
    if (!qelref::isScalar(c)) return {kNull, EILSEQ};
    return {findUnits(s, qelref::encoded(enc, c), last), kSentinel};
}

enum SpanKind { kSpn, kCspn, kPbrk };

// Span, complement span and break over a set of whole characters. A set of
// one character is matched by its units; otherwise each character of s is
// decoded (a fault: EILSEQ, and the whole length, or null for the break).
Out span(Enc enc, const Units& s, const Units& set, SpanKind kind) {
    const long slen = static_cast<long>(len(s));
    const long none = kind == kSpn ? 0 : kind == kCspn ? slen : kNull;
    if (len(set) == 0) return {none, kSentinel};
    const qelref::Decoded first = qelref::decodeAt(enc, set, 0, set.size());
    const int err = first.ok ? kSentinel : EILSEQ;
    if (first.ok && set[first.len] == 0) {
        if (kind == kSpn) {
            const Units one(set.begin(), set.begin() + static_cast<std::ptrdiff_t>(first.len));
            std::size_t p = 0;
            while (p + one.size() <= len(s) && std::equal(one.begin(), one.end(), s.begin() + static_cast<std::ptrdiff_t>(p)))
                p += one.size();
            return {static_cast<long>(p), err};
        }
        const Out f = chr(enc, s, first.cp, false);
        return {kind == kCspn && f.value == kNull ? slen : f.value, f.err == kSentinel ? err : f.err};
    }
    std::size_t p = 0;
    for (; s[p] != 0; p += qelref::decodeAt(enc, s, p, s.size()).len) {
        const qelref::Decoded d = qelref::decodeAt(enc, s, p, s.size());
        if (!d.ok) return {kind == kPbrk ? kNull : slen, EILSEQ};
        if ((findUnits(set, qelref::encoded(enc, d.cp), false) != kNull) != (kind == kSpn)) return {static_cast<long>(p), err};
    }
    return {kind == kPbrk ? kNull : static_cast<long>(p), err};
}

// Substring search; a one-unit needle is a character search (in UTF-8 its
// byte read as a signed char and widened).
Out sstr(Enc enc, const Units& s, const Units& needle) {
    const std::size_t nl = len(needle);
    if (nl == 0) return {0, kSentinel};
    if (nl == 1) return chr(enc, s, enc == Enc::Utf8 && needle[0] >= 0x80 ? 0xFFFFFF00u | needle[0] : needle[0], false);
    return {findUnits(s, Units(needle.begin(), needle.begin() + static_cast<std::ptrdiff_t>(nl)), false), kSentinel};
}

bool beginsWith(const Units& s, const Units& t) {
    return len(t) <= len(s) && std::equal(t.begin(), t.begin() + static_cast<std::ptrdiff_t>(len(t)), s.begin());
}
bool endsWith(const Units& s, const Units& t) {
    return len(t) <= len(s) && std::equal(t.begin(), t.begin() + static_cast<std::ptrdiff_t>(len(t)),
                                          s.begin() + static_cast<std::ptrdiff_t>(len(s) - len(t)));
}

// Code-point order of UTF-16 units: a surrogate sorts after every other
// unit (1 or -1); otherwise the difference of the units.
int u16cmp(const Units& a, const Units& b, std::size_t n, bool strings) {
    auto sur = [](std::uint32_t u) { return u >= 0xD800 && u <= 0xDFFF; };
    for (std::size_t i = 0; i < n; ++i) {
        if (a[i] != b[i]) return sur(a[i]) != sur(b[i]) ? (sur(a[i]) ? 1 : -1) : static_cast<int>(a[i]) - static_cast<int>(b[i]);
        if (strings && a[i] == 0) return 0;
    }
    return 0;
}

// One call of the tokeniser on `buf` (rewritten in place), continuing from
// `context` when `start` is kNull.
struct TokStep {
    long token, context;
    int err;
};
TokStep tok(Enc enc, Units& buf, const Units& delim, long start, long& context) {
    int err = kSentinel;
    const long s = start == kNull ? context : start;
    if (s == kNull) return {kNull, context, err};
    const Out skip = span(enc, Units(buf.begin() + s, buf.end()), delim, kSpn);
    if (skip.err != kSentinel) err = skip.err;
    const long t = s + skip.value;
    if (buf[static_cast<std::size_t>(t)] == 0) return {kNull, context = kNull, err};
    const Out brk = span(enc, Units(buf.begin() + t, buf.end()), delim, kPbrk);
    if (brk.err != kSentinel) err = brk.err;
    if (brk.value == kNull) return {t, context = kNull, err};
    // The whole delimiter character is removed.
    const std::size_t p = static_cast<std::size_t>(t + brk.value);
    const qelref::Decoded d = qelref::decodeAt(enc, buf, p, p + len(Units(buf.begin() + static_cast<std::ptrdiff_t>(p), buf.end())));
    if (!d.ok) return {t, context = kNull, EILSEQ};
    context = static_cast<long>(p + d.len);
    buf[p] = 0;
    return {t, context, err};
}

}  // namespace

namespace qelfuzz {

int checkStrings(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const unsigned fn = r.byte() % 25;
    std::uint32_t c = r.u32();
    const std::uint8_t mode = r.byte() % 4;
    const std::uint8_t split = r.byte();
    const std::size_t n = r.byte() % 12;
    const std::uint8_t bits = r.byte();
    if (mode == 0) c &= 0xFF;
    if (mode == 1) c &= 0xFFFF;
    if (mode == 2) c %= 0x110002;

    const bool utf8 = fn < 10;
    Units text = makeText(r, utf8 ? qelref::Enc::Utf8 : qelref::Enc::Utf16, (bits & 0x40) == 0, false);
    const std::size_t k = text.empty() ? 0 : split % (text.size() + 1);
    Units s(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(k));
    Units t(text.begin() + static_cast<std::ptrdiff_t>(k), text.end());
    if (bits & 0x80) t.resize(std::min<std::size_t>(t.size(), 1 + (bits & 3)));
    s.push_back(0);
    t.push_back(0);

    std::vector<char> s8 = typed<char>(s), t8 = typed<char>(t);
    std::vector<char16_t> s16 = typed<char16_t>(s), t16 = typed<char16_t>(t);
    auto off8 = [&](const char* p) { return p == nullptr ? kNull : static_cast<long>(p - s8.data()); };
    auto off16 = [&](const char16_t* p) { return p == nullptr ? kNull : static_cast<long>(p - s16.data()); };

    long got = 0;
    Out m{0, kSentinel};
    const char* name = "";
    errno = kSentinel;
    switch (fn) {
    case 0: name = "qel_u8schr"; got = off8(qel_u8schr(s8.data(), c)); m = chr(Enc::Utf8, s, c, false); break;
    case 1: name = "qel_u8srchr"; got = off8(qel_u8srchr(s8.data(), c)); m = chr(Enc::Utf8, s, c, true); break;
    case 2: name = "qel_u8sstr"; got = off8(qel_u8sstr(s8.data(), t8.data())); m = sstr(Enc::Utf8, s, t); break;
    case 3: name = "qel_u8sspn"; got = static_cast<long>(qel_u8sspn(s8.data(), t8.data())); m = span(Enc::Utf8, s, t, kSpn); break;
    case 4: name = "qel_u8scspn"; got = static_cast<long>(qel_u8scspn(s8.data(), t8.data())); m = span(Enc::Utf8, s, t, kCspn); break;
    case 5: name = "qel_u8spbrk"; got = off8(qel_u8spbrk(s8.data(), t8.data())); m = span(Enc::Utf8, s, t, kPbrk); break;
    case 6: name = "qel_u8sBeginsWith"; got = qel_u8sBeginsWith(s8.data(), t8.data()); m = {beginsWith(s, t), kSentinel}; break;
    case 7: name = "qel_u8sEndsWith"; got = qel_u8sEndsWith(s8.data(), t8.data()); m = {endsWith(s, t), kSentinel}; break;
    case 8:
    case 9:
    case 20: {
        const bool u8 = fn != 20;
        name = u8 ? "qel_u8stok" : "qel_u16stok";
        Units model = s;
        long ctx = kNull, mctx = kNull;
        char* ctx8 = nullptr;
        char16_t* ctx16 = nullptr;
        for (int call = 0; call < 12; ++call) {
            const bool first = call == 0;
            errno = kSentinel;
            long tokGot;
            if (u8) {
                tokGot = off8(qel_u8stok(first ? s8.data() : nullptr, t8.data(), &ctx8));
                ctx = ctx8 == nullptr ? kNull : static_cast<long>(ctx8 - s8.data());
            } else {
                tokGot = off16(qel_u16stok(first ? s16.data() : nullptr, t16.data(), &ctx16));
                ctx = ctx16 == nullptr ? kNull : static_cast<long>(ctx16 - s16.data());
            }
            const int err = errno;
            TokStep step = tok(u8 ? Enc::Utf8 : Enc::Utf16, model, t, first ? 0 : kNull, mctx);
            Units buf = u8 ? untyped(s8.data(), s8.size()) : untyped(s16.data(), s16.size());
            setContext([&] {
                std::fprintf(stderr, "  %s call %d\n", name, call);
                dumpUnits("string", s);
                dumpUnits("delimiters", t);
                std::fprintf(stderr, "  expected token %ld context %ld errno %d; got %ld %ld %d\n", step.token,
                             step.context, step.err, tokGot, ctx, err);
                dumpUnits("expected buffer", model);
                dumpUnits("buffer", buf);
            });
            QF_CHECK(tokGot == step.token);
            QF_CHECK(ctx == step.context);
            QF_CHECK(err == step.err);
            QF_CHECK(buf == model);
            if (step.token == kNull) break;
        }
        return 0;
    }
    case 10: name = "qel_u16schr"; got = off16(qel_u16schr(s16.data(), c)); m = chr(Enc::Utf16, s, c, false); break;
    case 11: name = "qel_u16srchr"; got = off16(qel_u16srchr(s16.data(), c)); m = chr(Enc::Utf16, s, c, true); break;
    case 12: name = "qel_u16sstr"; got = off16(qel_u16sstr(s16.data(), t16.data())); m = sstr(Enc::Utf16, s, t); break;
    case 13: name = "qel_u16sspn"; got = static_cast<long>(qel_u16sspn(s16.data(), t16.data())); m = span(Enc::Utf16, s, t, kSpn); break;
    case 14: name = "qel_u16scspn"; got = static_cast<long>(qel_u16scspn(s16.data(), t16.data())); m = span(Enc::Utf16, s, t, kCspn); break;
    case 15: name = "qel_u16spbrk"; got = off16(qel_u16spbrk(s16.data(), t16.data())); m = span(Enc::Utf16, s, t, kPbrk); break;
    case 16: name = "qel_u16scmp"; got = qel_u16scmp(s16.data(), t16.data()); m = {u16cmp(s, t, std::max(s.size(), t.size()) + 1, true), kSentinel}; break;
    case 17: {
        name = "qel_u16sncmp";
        got = qel_u16sncmp(s16.data(), t16.data(), n);
        m = {u16cmp(s, t, n, true), kSentinel};
        break;
    }
    case 18: {
        name = "qel_u16mcmp";
        const std::size_t cnt = std::min({n, s.size(), t.size()});
        got = qel_u16mcmp(s16.data(), t16.data(), cnt);
        m = {u16cmp(s, t, cnt, false), kSentinel};
        break;
    }
    case 19: {
        name = "qel_u16mchr";
        const std::size_t cnt = std::min(n, s.size());
        got = off16(qel_u16mchr(s16.data(), c, cnt));
        long found = kNull;
        if (c < 0x10000) {
            for (std::size_t i = 0; i < cnt && found == kNull; ++i)
                if (s[i] == c) found = static_cast<long>(i);
        } else if (c < 0x110000 && cnt >= 2) {
            Units pair;
            qelref::encodeUtf16(c, pair);
            for (std::size_t i = 0; i + 1 < cnt && found == kNull; ++i)
                if (s[i] == pair[0] && s[i + 1] == pair[1]) found = static_cast<long>(i);
        }
        m = {found, kSentinel};
        break;
    }
    case 21: {
        name = "qel_u16mset";
        std::vector<char16_t> d(n + kGuardUnits, guardValue<char16_t>());
        got = qel_u16mset(d.data(), c, n) == d.data() ? 0 : kNull;
        const bool storable = c < 0xD800 || (c >= 0xE000 && c <= 0xFFFF);
        m = {n == 0 || storable ? 0 : kNull, n == 0 || storable ? kSentinel : EILSEQ};
        for (std::size_t i = 0; i < d.size(); ++i) {
            const bool filled = i < n && storable;
            QF_CHECK(d[i] == (filled ? static_cast<char16_t>(c) : guardValue<char16_t>()));
        }
        break;
    }
    case 22: name = "qel_u16sBeginsWith"; got = qel_u16sBeginsWith(s16.data(), t16.data()); m = {beginsWith(s, t), kSentinel}; break;
    default: name = "qel_u16sEndsWith"; got = qel_u16sEndsWith(s16.data(), t16.data()); m = {endsWith(s, t), kSentinel}; break;
    }
    const int err = errno;
    setContext([&] {
        std::fprintf(stderr, "  %s c 0x%X n %zu\n", name, c, n);
        dumpUnits("string", s);
        dumpUnits("second argument", t);
        std::fprintf(stderr, "  expected %ld errno %d; got %ld errno %d\n", m.value, m.err, got, err);
    });
    if (fn == 16 || fn == 17 || fn == 18) {
        // Comparisons: the sign always, the value where the rule fixes it.
        QF_CHECK((got > 0) == (m.value > 0) && (got < 0) == (m.value < 0));
    }
    QF_CHECK(got == m.value);
    QF_CHECK(err == m.err);
    return 0;
}

}  // namespace qelfuzz
