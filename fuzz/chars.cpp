// Checks of the per-character conversions and length functions, and the
// in-place repair of surrogate halves in UTF-8 (qelStrUtf8FixSurrogatePairs).
// Each call is compared with an expectation worked out from the reference
// decoders and encoders: the result, errno (set only on failure), the units
// written (nothing on failure, nothing past the room given).
//
// Data: function, a value (4 bytes), a room, a source count, bits, then the
// source text as raw units.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "check.h"

using namespace qelfuzz;
using qelref::Units;

namespace {

constexpr int kSentinel = 4242;
constexpr std::size_t kDst = 8;  // destination units, more than any call writes

struct Expect {
    int result;
    int err;          // errno afterwards (kSentinel: untouched)
    Units written;    // units at the start of the destination
};

Expect ok(int r, Units w = {}) { return {r, kSentinel, std::move(w)}; }
Expect bad(int e) { return {-1, e, {}}; }

bool isSurrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDFFF; }

Units utf8Of(std::uint32_t cp) {
    Units u;
    qelref::encodeUtf8(cp, u);
    return u;
}
Units utf16Of(std::uint32_t cp) {
    Units u;
    qelref::encodeUtf16(cp, u);
    return u;
}

// Strict UTF-8 decoding of src[0..] with `avail` bytes readable, for a first
// byte from 0x80 (the entry points store ASCII themselves).
qelref::Decoded strict8(const Units& src, std::size_t avail) {
    std::size_t n = std::min<std::size_t>(avail, src.size());
    return qelref::decodeAt(qelref::Enc::Utf8, src, 0, n);
}

// One UTF-16 unit or pair to UTF-8 with `room` bytes: the rule shared by the
// bounded per-character functions.
Expect u16ToUtf8(const Units& src, std::size_t avail, std::size_t room) {
    std::uint32_t u = src[0];
    if (isSurrogate(u)) {
        if (u >= 0xDC00 || avail < 2 || !(src[1] >= 0xDC00 && src[1] <= 0xDFFF)) return bad(EILSEQ);
        if (room < 4) return bad(E2BIG);
        std::uint32_t cp = 0x10000 + ((u - 0xD800) << 10) + (src[1] - 0xDC00);
        return ok(4, utf8Of(cp));
    }
    std::size_t need = u < 0x800 ? 2 : 3;
    if (room < need) return bad(E2BIG);
    return ok(static_cast<int>(need), utf8Of(u));
}

// A code point to UTF-8 with `room` bytes, for values the entry points do not
// store themselves: validity first, then room.
Expect u32ToUtf8(std::uint32_t c, std::size_t room) {
    if (!qelref::isScalar(c)) return bad(EILSEQ);
    std::size_t need = c < 0x800 ? 2 : (c < 0x10000 ? 3 : 4);
    if (room < need) return bad(E2BIG);
    return ok(static_cast<int>(need), utf8Of(c));
}

// A UTF-8 sequence to UTF-16 with `room` units; a null destination stands
// for a scratch of two units and gets nothing written.
Expect utf8ToUtf16(const Units& src, std::size_t avail, std::size_t room) {
    if (src[0] < 0x80) return ok(1, {src[0]});
    qelref::Decoded d = strict8(src, avail);
    if (!d.ok) return bad(EILSEQ);
    if (d.cp >= 0x10000 && room < 2) return bad(E2BIG);
    return ok(static_cast<int>(d.len), utf16Of(d.cp));
}

Expect utf8Length(const Units& src, std::size_t avail) {
    if (src[0] < 0x80) return ok(src[0] == 0 ? 0 : 1);
    qelref::Decoded d = strict8(src, avail);
    if (!d.ok) return bad(EILSEQ);
    return ok(static_cast<int>(d.len));
}

bool isCont(std::uint32_t b) { return b >= 0x80 && b <= 0xBF; }

int mbclen(const Units& s) {
    std::uint32_t b0 = s[0];
    if (b0 < 0x80) return 1;
    std::uint32_t b1 = s[1];
    if (b1 < 0x80) return 1;
    if (isCont(b0)) {
        if (b1 >= 0xC0) return 1;
        return isCont(s[2]) ? 3 : 2;
    }
    if (b0 <= 0xDF) return 2;
    if (b0 <= 0xEF) return isCont(s[2]) ? 3 : 2;
    if (!isCont(s[2])) return 2;
    return isCont(s[3]) ? 4 : 3;
}

// The repair, worked out with the strict reference decoder plus the one
// extra form it accepts: a surrogate half spelled as ED A0..BF xx.
struct Repair {
    bool ok;
    Units text;  // the string afterwards, up to its terminator
};

Repair repairModel(const Units& s) {
    const std::size_t len = qelref::textLength(s, s.size());
    Repair r{true, {}};
    std::size_t i = 0;
    auto half = [&](std::size_t at, std::uint32_t& value) {
        if (at + 3 > len || s[at] != 0xED || !(s[at + 1] >= 0xA0 && s[at + 1] <= 0xBF) || !isCont(s[at + 2]))
            return false;
        value = ((s[at + 1] & 0x3F) << 6) | (s[at + 2] & 0x3F) | 0xD000;
        return true;
    };
    while (i < len) {
        if (s[i] < 0x80) {
            r.text.push_back(s[i++]);
            continue;
        }
        qelref::Decoded d = qelref::decodeAt(qelref::Enc::Utf8, s, i, len);
        if (d.ok) {
            r.text.insert(r.text.end(), s.begin() + static_cast<std::ptrdiff_t>(i),
                          s.begin() + static_cast<std::ptrdiff_t>(i + d.len));
            i += d.len;
            continue;
        }
        std::uint32_t hi = 0, lo = 0;
        if (!half(i, hi) || hi >= 0xDC00 || !half(i + 3, lo) || lo < 0xDC00) {
            r.ok = false;
            return r;
        }
        Units four = utf8Of(0x10000 + ((hi - 0xD800) << 10) + (lo - 0xDC00));
        r.text.insert(r.text.end(), four.begin(), four.end());
        i += 6;
    }
    return r;
}

}  // namespace

namespace qelfuzz {

int checkChars(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const unsigned fn = r.byte() % 23;
    std::uint32_t value = r.u32();
    const std::uint8_t valueMode = r.byte() % 4;
    const std::size_t room = r.byte() % 7;
    const std::size_t avail = r.byte() % 6;
    const std::uint8_t bits = r.byte();
    if (valueMode == 0) value &= 0xFFFF;
    if (valueMode == 1) value %= 0x110001;
    if (valueMode == 2) value &= 0xFF;

    if (fn == 22) {
        // The repair, on text with surrogate halves spelled in UTF-8.
        Units text = makeText(r, qelref::Enc::Utf8, (bits & 0x40) == 0, false);
        text.push_back(0);
        std::vector<char> buf = typed<char>(text);
        Repair m = repairModel(text);
        char* res = qelStrUtf8FixSurrogatePairs(buf.data());
        setContext([&] {
            std::fprintf(stderr, "  qelStrUtf8FixSurrogatePairs: expected %s, got %s\n", m.ok ? "s" : "null",
                         res ? "s" : "null");
            dumpUnits("input", text);
            dumpUnits("expected", m.text);
            dumpUnits("buffer", untyped(buf.data(), buf.size()));
        });
        QF_CHECK(res == (m.ok ? buf.data() : nullptr));
        for (std::size_t i = 0; i < m.text.size(); ++i) QF_CHECK(unitValue(buf[i]) == m.text[i]);
        QF_CHECK(buf[m.text.size()] == 0);
        return 0;
    }

    // A short source: the raw units of the rest, padded with a terminator.
    Units src;
    const bool wide = fn <= 7 || (fn >= 17 && fn <= 18);  // UTF-16 sources
    const bool u32src = fn == 9 || fn == 19 || fn == 20;
    while (!r.empty() && src.size() < 6) {
        if (u32src) {
            std::uint32_t u = r.u32();
            src.push_back((bits & 1) ? u : u % 0x110100);
        } else {
            src.push_back(wide ? r.u16() : r.byte());
        }
    }
    src.push_back(0);
    const bool nullDst = (bits & 0x10) != 0 && (bits & 0x20) != 0;
    const bool nullSrc = (bits & 0x30) == 0x30 && (bits & 0x80) != 0;

    Expect m{0, kSentinel, {}};
    int got = 0;
    Units dstAfter;
    std::uint32_t guard = 0;
    errno = kSentinel;

    auto run8 = [&](auto call) {  // UTF-8 destination
        std::vector<char> d(kDst, guardValue<char>());
        got = call(nullDst ? nullptr : d.data());
        dstAfter = untyped(d.data(), d.size());
        guard = unitValue(guardValue<char>());
    };
    auto run16 = [&](auto call) {
        std::vector<char16_t> d(kDst, guardValue<char16_t>());
        got = call(nullDst ? nullptr : d.data());
        dstAfter = untyped(d.data(), d.size());
        guard = unitValue(guardValue<char16_t>());
    };
    std::vector<char16_t> s16 = typed<char16_t>(src);
    std::vector<char> s8 = typed<char>(src);
    std::vector<unsigned int> s32 = typed<unsigned int>(src);
    const char16_t* p16 = nullSrc ? nullptr : s16.data();
    const char* p8 = nullSrc ? nullptr : s8.data();
    const unsigned int* p32 = nullSrc ? nullptr : s32.data();
    const char16_t c16 = static_cast<char16_t>(value);
    const std::size_t srcn = avail;
    const char* name = "";

    switch (fn) {
    case 0:
        name = "qel_u16tou8";
        run8([&](char* d) { return qel_u16tou8(d, c16); });
        if (nullDst) m = ok(0);
        else if (c16 < 0x80) m = ok(1, {c16});
        else if (isSurrogate(c16)) m = bad(EILSEQ);
        else m = ok(c16 < 0x800 ? 2 : 3, utf8Of(c16));
        break;
    case 1:
        name = "qel_u16tou8n";
        run8([&](char* d) { return qel_u16tou8n(d, c16, room); });
        if (nullDst) m = ok(0);
        else if (c16 < 0x80 && room >= 1) m = ok(1, {c16});
        else m = u16ToUtf8({c16, 0}, 1, room);
        break;
    case 2:
        name = "qel_u16tou8n_s";
        run8([&](char* d) { return qel_u16tou8n_s(d, room, p16, srcn); });
        if (nullDst || nullSrc || srcn == 0) m = ok(0);
        else if (src[0] < 0x80 && room >= 1) m = ok(1, {src[0]});
        else m = u16ToUtf8(src, srcn, room);
        break;
    case 3:
        name = "qel_u16sctou8";
        run8([&](char* d) { return qel_u16sctou8(d, room, p16); });
        if (nullDst || nullSrc || src[0] == 0) m = ok(0);
        else if (src[0] < 0x80 || room >= 1) m = ok(1, {src[0] & 0xFF});
        else m = u16ToUtf8(src, 2, 0);
        break;
    case 4:
    case 5: {
        const bool counted = fn == 4;
        name = counted ? "qel_u16tou32" : "qel_u16sctou32";
        const bool dstNull = counted && nullDst;
        std::vector<unsigned int> d(kDst, guardValue<unsigned int>());
        got = counted ? qel_u16tou32(dstNull ? nullptr : d.data(), p16, srcn) : qel_u16sctou32(d.data(), p16);
        dstAfter = untyped(d.data(), d.size());
        guard = unitValue(guardValue<unsigned int>());
        const std::size_t n = counted ? srcn : 2;
        if (nullSrc || src[0] == 0) m = ok(0);
        else if (!isSurrogate(src[0])) m = ok(1, {src[0]});
        else if (src[0] < 0xDC00 && n >= 2 && src[1] >= 0xDC00 && src[1] <= 0xDFFF)
            m = ok(2, {0x10000 + ((src[0] - 0xD800) << 10) + (src[1] - 0xDC00)});
        else m = bad(EILSEQ);
        if (dstNull && m.result > 0) m.written.clear();
        break;
    }
    case 6:
        name = "qel_u32tou16";
        run16([&](char16_t* d) { return qel_u32tou16(d, value, room); });
        if (nullDst) m = ok(0);
        else if (value < 0xD800 && room >= 1) m = ok(1, {value});
        else if (value >= 0x10000) m = value >= 0x110000 ? bad(EILSEQ) : (room < 2 ? bad(E2BIG) : ok(2, utf16Of(value)));
        else if (room == 0) m = bad(E2BIG);
        else if (value < 0xE000) m = bad(EILSEQ);
        else m = ok(1, {value});
        break;
    case 7:
    case 8:
        name = fn == 7 ? "qel_u32tou8" : "qel_u32tou8n";
        if (fn == 7) run8([&](char* d) { return qel_u32tou8(d, value); });
        else run8([&](char* d) { return qel_u32tou8n(d, value, room); });
        if (nullDst) m = ok(0);
        else if (value < 0x80 && (fn == 7 || room >= 1)) m = ok(1, {value});
        else m = u32ToUtf8(value, fn == 7 ? 4 : room);
        break;
    case 9: {
        name = "qel_u32sctou32";
        std::vector<unsigned int> d(kDst, guardValue<unsigned int>());
        got = qel_u32sctou32(d.data(), p32);
        dstAfter = untyped(d.data(), d.size());
        guard = unitValue(guardValue<unsigned int>());
        if (nullSrc) m = ok(0);
        else if (qelref::isScalar(src[0])) m = ok(src[0] == 0 ? 0 : 1, {src[0]});
        else m = bad(EILSEQ);
        break;
    }
    case 10:
    case 11: {
        const bool counted = fn == 10;
        name = counted ? "qel_u8tou32" : "qel_u8sctou32";
        std::vector<unsigned int> d(kDst, guardValue<unsigned int>());
        unsigned int* dp = nullDst ? nullptr : d.data();
        got = counted ? qel_u8tou32(dp, p8, srcn) : qel_u8sctou32(dp, p8);
        dstAfter = untyped(d.data(), d.size());
        guard = unitValue(guardValue<unsigned int>());
        if (nullSrc || src[0] == 0) m = ok(0);
        else if (src[0] < 0x80) m = ok(1, {src[0]});
        else {
            qelref::Decoded dd = strict8(src, counted ? srcn : src.size());
            m = dd.ok ? ok(static_cast<int>(dd.len), {dd.cp}) : bad(EILSEQ);
        }
        if (nullDst && m.result > 0) m.written.clear();
        break;
    }
    case 12:
    case 13:
    case 14: {
        name = fn == 12 ? "qel_u8tou16" : (fn == 13 ? "qel_u8tou16_s" : "qel_u8sctou16_s");
        std::vector<char16_t> d(kDst, guardValue<char16_t>());
        char16_t* dp = nullDst ? nullptr : d.data();
        if (fn == 12) got = qel_u8tou16(dp, p8, srcn);
        else if (fn == 13) got = qel_u8tou16_s(dp, room, p8, srcn);
        else got = qel_u8sctou16_s(dp, room, p8);
        dstAfter = untyped(d.data(), d.size());
        guard = unitValue(guardValue<char16_t>());
        const std::size_t rm = nullDst ? 2 : (fn == 12 ? 1 : room);
        if (nullSrc || src[0] == 0) m = ok(0);
        else m = utf8ToUtf16(src, fn == 14 ? src.size() : srcn, rm);
        if (nullDst && m.result > 0) m.written.clear();
        break;
    }
    case 15:
        name = "qel_u8clen";
        got = qel_u8clen(p8, srcn);
        m = (nullSrc || srcn == 0) ? ok(0) : utf8Length(src, srcn);
        break;
    case 16:
        name = "qel_u8sclen";
        got = qel_u8sclen(p8);
        m = nullSrc ? ok(0) : utf8Length(src, src.size());
        break;
    case 17:
    case 18: {
        const bool counted = fn == 17;
        name = counted ? "qel_u16clen" : "qel_u16sclen";
        got = counted ? qel_u16clen(p16, srcn) : qel_u16sclen(p16);
        const std::size_t n = counted ? srcn : 2;
        if (nullSrc || n == 0) m = ok(0);
        else if (!isSurrogate(src[0])) m = ok(src[0] == 0 ? 0 : 1);
        else if (src[0] < 0xDC00 && n >= 2 && src[1] >= 0xDC00 && src[1] <= 0xDFFF) m = ok(2);
        else m = bad(EILSEQ);
        break;
    }
    case 19:
    case 20: {
        const bool counted = fn == 19;
        name = counted ? "qel_u32clen" : "qel_u32sclen";
        got = counted ? qel_u32clen(p32, srcn) : qel_u32sclen(p32);
        if (nullSrc || (counted && srcn == 0)) m = ok(0);
        else if (qelref::isScalar(src[0])) m = ok(src[0] == 0 ? 0 : 1);
        else m = bad(EILSEQ);
        break;
    }
    default: {
        name = "qel_u8mbclen";
        // A four-byte window, so that the function may look that far.
        Units w = src;
        while (w.size() < 4) w.push_back(0);
        std::vector<char> b = typed<char>(w);
        got = qel_u8mbclen(b.data());
        m = ok(mbclen(w));
        break;
    }
    }
    const int err = errno;
    setContext([&] {
        std::fprintf(stderr, "  %s value 0x%X room %zu count %zu%s%s\n", name, value, room, srcn,
                     nullDst ? " (null dst)" : "", nullSrc ? " (null src)" : "");
        dumpUnits("source", src);
        std::fprintf(stderr, "  expected %d errno %d; got %d errno %d\n", m.result, m.err, got, err);
        dumpUnits("expected written", m.written);
        dumpUnits("destination", dstAfter);
    });
    QF_CHECK(got == m.result);
    QF_CHECK(err == m.err);
    if (!dstAfter.empty()) {
        for (std::size_t i = 0; i < m.written.size(); ++i) QF_CHECK(dstAfter[i] == m.written[i]);
        for (std::size_t i = m.written.size(); i < dstAfter.size(); ++i) QF_CHECK(dstAfter[i] == guard);
    }
    return 0;
}

}  // namespace qelfuzz
