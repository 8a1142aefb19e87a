// SPDX-License-Identifier: MIT
// Checks of the per-character conversions and length functions, and of the
// in-place repair of surrogate halves in UTF-8 (qelStrUtf8FixSurrogatePairs),
// against expectations worked out from the rules: the result, errno (set
// only on failure), the units written (nothing on failure, nothing past the
// room given).
//
// Data: function, a value (4 bytes), value mode, room, source count, bits,
// then the source as raw units (or, for the repair, structured text).
#include <cerrno>
#include <cstdio>

#include "check.h"

namespace qelfuzz {

namespace {

constexpr int kUntouched = 4242;  // errno before each call

struct Expect {
    int result;
    int err;
    Units written;  // units at the start of the destination
};
Expect ok(int r, Units w = {}) { return {r, kUntouched, std::move(w)}; }
Expect bad(int e) { return {-1, e, {}}; }

bool isSurrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDFFF; }
bool isCont(std::uint32_t b) { return b >= 0x80 && b <= 0xBF; }
using qelref::encoded;

// A UTF-16 unit or pair to UTF-8 with `room` bytes (ASCII is the caller's).
Expect u16ToUtf8(const Units& src, std::size_t avail, std::size_t room) {
    const qelref::Decoded d = qelref::decodeAt(qelref::Enc::Utf16, src, 0, std::min(avail, src.size()));
    if (!d.ok) return bad(EILSEQ);
    const Units u = encoded(qelref::Enc::Utf8, d.cp);
    return room < u.size() ? bad(E2BIG) : ok(static_cast<int>(u.size()), u);
}

// A code point to UTF-8: validity first, then room.
Expect u32ToUtf8(std::uint32_t c, std::size_t room) {
    if (!qelref::isScalar(c)) return bad(EILSEQ);
    const Units u = encoded(qelref::Enc::Utf8, c);
    return room < u.size() ? bad(E2BIG) : ok(static_cast<int>(u.size()), u);
}

// UTF-8 to UTF-16 with `room` units, or to UTF-32.
Expect fromUtf8(const Units& src, std::size_t avail, std::size_t room, qelref::Enc to) {
    if (src[0] < 0x80) return ok(1, {src[0]});
    const qelref::Decoded d = qelref::decodeAt(qelref::Enc::Utf8, src, 0, std::min(avail, src.size()));
    if (!d.ok) return bad(EILSEQ);
    const Units u = encoded(to, d.cp);  // only a pair needs the room
    return u.size() > 1 && room < 2 ? bad(E2BIG) : ok(static_cast<int>(d.len), u);
}

// Character length: 0 for a zero unit, -1 (EILSEQ) if ill-formed.
Expect length(qelref::Enc enc, const Units& src, std::size_t avail) {
    if (avail == 0) return ok(0);
    const qelref::Decoded d = qelref::decodeAt(enc, src, 0, std::min(avail, src.size()));
    return !d.ok ? bad(EILSEQ) : ok(d.cp == 0 ? 0 : static_cast<int>(d.len));
}

// The tolerant step length: a lead with its continuations, never more.
int mbclen(const Units& s) {
    if (s[0] < 0x80 || s[1] < 0x80) return 1;
    if (isCont(s[0])) return s[1] >= 0xC0 ? 1 : isCont(s[2]) ? 3 : 2;
    if (s[0] <= 0xDF) return 2;
    if (s[0] <= 0xEF || !isCont(s[2])) return isCont(s[2]) ? 3 : 2;
    return isCont(s[3]) ? 4 : 3;
}

// The repair: the strict decoder plus one extra form, a surrogate half
// spelled ED A0..BF xx; a high half must be followed by a low one.
bool repair(const Units& s, Units& text) {
    const std::size_t len = qelref::textLength(s, s.size());
    auto half = [&](std::size_t at, std::uint32_t& value) {
        if (at + 3 > len || s[at] != 0xED || !(s[at + 1] >= 0xA0 && s[at + 1] <= 0xBF) || !isCont(s[at + 2])) return false;
        value = ((s[at + 1] & 0x3F) << 6) | (s[at + 2] & 0x3F) | 0xD000;
        return true;
    };
    for (std::size_t i = 0; i < len;) {
        const qelref::Decoded d = qelref::decodeAt(qelref::Enc::Utf8, s, i, len);
        std::uint32_t hi = 0, lo = 0;
        if (d.ok) {
            text.insert(text.end(), s.begin() + static_cast<std::ptrdiff_t>(i), s.begin() + static_cast<std::ptrdiff_t>(i + d.len));
            i += d.len;
        } else if (half(i, hi) && hi < 0xDC00 && half(i + 3, lo) && lo >= 0xDC00) {
            qelref::encodeAs(qelref::Enc::Utf8, 0x10000 + ((hi - 0xD800) << 10) + (lo - 0xDC00), text);
            i += 6;
        } else {
            return false;
        }
    }
    return true;
}

const char* const kNames[] = {
    "qel_u16tou8",  "qel_u16tou8n",   "qel_u16tou8n_s", "qel_u16sctou8", "qel_u16tou32",    "qel_u16sctou32",
    "qel_u32tou16", "qel_u32tou8",    "qel_u32tou8n",   "qel_u32sctou32", "qel_u8tou32",    "qel_u8sctou32",
    "qel_u8tou16",  "qel_u8tou16_s",  "qel_u8sctou16_s", "qel_u8clen",   "qel_u8sclen",     "qel_u16clen",
    "qel_u16sclen", "qel_u32clen",    "qel_u32sclen",   "qel_u8mbclen"};

}  // namespace

int checkChars(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const unsigned fn = r.byte() % 23;
    std::uint32_t value = r.u32();
    const std::uint8_t valueMode = r.byte() % 4;
    const std::size_t room = r.byte() % 7, avail = r.byte() % 6;
    const std::uint8_t bits = r.byte();
    if (valueMode == 0) value &= 0xFFFF;
    if (valueMode == 1) value %= 0x110001;
    if (valueMode == 2) value &= 0xFF;

    if (fn == 22) {
        Units text = makeText(r, qelref::Enc::Utf8, (bits & 0x40) == 0, false), want;
        text.push_back(0);
        std::vector<char> buf = typed<char>(text);
        const bool fixed = repair(text, want);
        char* res = qelStrUtf8FixSurrogatePairs(buf.data());
        setContext([&] {
            std::fprintf(stderr, "  qelStrUtf8FixSurrogatePairs: expected %s, got %s\n", fixed ? "s" : "null", res ? "s" : "null");
            dumpUnits("input", text);
            dumpUnits("expected", want);
            dumpUnits("buffer", untyped(buf.data(), buf.size()));
        });
        QF_CHECK(res == (fixed ? buf.data() : nullptr));
        want.push_back(0);
        QF_CHECK(untyped(buf.data(), want.size()) == want);
        return 0;
    }

    // A short source: the raw units of the rest, then a terminator.
    const bool from16 = fn <= 5 || fn == 17 || fn == 18, from32 = fn == 9 || fn == 19 || fn == 20;
    Units src;
    while (!r.empty() && src.size() < 6) {
        const std::uint32_t u = from32 ? r.u32() : from16 ? r.u16() : r.byte();
        src.push_back(from32 && !(bits & 1) ? u % 0x110100 : u);
    }
    src.push_back(0);
    const bool nullDst = (bits & 0x30) == 0x30, nullSrc = nullDst && (bits & 0x80) != 0;
    std::vector<char> d8(8, guardValue<char>()), s8 = typed<char>(src);
    std::vector<char16_t> d16(8, guardValue<char16_t>()), s16 = typed<char16_t>(src);
    std::vector<unsigned int> d32(8, guardValue<unsigned int>()), s32 = typed<unsigned int>(src);
    char* o8 = nullDst ? nullptr : d8.data();
    char16_t* o16 = nullDst ? nullptr : d16.data();
    unsigned int* o32 = nullDst ? nullptr : d32.data();
    const char* p8 = nullSrc ? nullptr : s8.data();
    const char16_t* p16 = nullSrc ? nullptr : s16.data();
    const unsigned int* p32 = nullSrc ? nullptr : s32.data();
    const char16_t c16 = static_cast<char16_t>(value);
    const bool noSrc = nullSrc || src[0] == 0;
    using qelref::Enc;

    Expect m = ok(0);
    int got = 0;
    int dst = 8;  // the destination's unit bits
    errno = kUntouched;
    switch (fn) {
    case 0:
        got = qel_u16tou8(o8, c16);
        if (!nullDst) m = c16 < 0x80 ? ok(1, {c16}) : u16ToUtf8({c16}, 1, 3);
        break;
    case 1:
        got = qel_u16tou8n(o8, c16, room);
        if (!nullDst) m = c16 < 0x80 && room >= 1 ? ok(1, {c16}) : u16ToUtf8({c16}, 1, room);
        break;
    case 2:
        got = qel_u16tou8n_s(o8, room, p16, avail);
        if (!nullDst && !nullSrc && avail != 0) m = src[0] < 0x80 && room >= 1 ? ok(1, {src[0]}) : u16ToUtf8(src, avail, room);
        break;
    case 3:  // a unit is stored whenever there is room, without a look at it
        got = qel_u16sctou8(o8, room, p16);
        if (!nullDst && !noSrc) m = src[0] < 0x80 || room >= 1 ? ok(1, {src[0] & 0xFF}) : u16ToUtf8(src, 2, 0);
        break;
    case 4:
    case 5:
        got = fn == 4 ? qel_u16tou32(o32, p16, avail) : qel_u16sctou32(d32.data(), p16);
        dst = 32;
        if (!noSrc) {
            // a unit outside the surrogates is taken whatever the count says
            const qelref::Decoded d = qelref::decodeAt(Enc::Utf16, src, 0, fn == 4 ? std::max<std::size_t>(1, std::min(avail, src.size())) : 2);
            m = d.ok ? ok(static_cast<int>(d.len), fn == 4 && nullDst ? Units{} : Units{d.cp}) : bad(EILSEQ);
        }
        break;
    case 6:  // room is looked at before validity for the BMP
        got = qel_u32tou16(o16, value, room);
        dst = 16;
        if (nullDst) break;
        if (value < 0xD800 && room >= 1) m = ok(1, {value});
        else if (value >= 0x110000) m = bad(EILSEQ);
        else if (room < (value >= 0x10000 ? 2u : 1u)) m = bad(E2BIG);
        else m = isSurrogate(value) ? bad(EILSEQ) : ok(static_cast<int>(encoded(Enc::Utf16, value).size()), encoded(Enc::Utf16, value));
        break;
    case 7:
    case 8:
        got = fn == 7 ? qel_u32tou8(o8, value) : qel_u32tou8n(o8, value, room);
        if (!nullDst) m = value < 0x80 && (fn == 7 || room >= 1) ? ok(1, {value}) : u32ToUtf8(value, fn == 7 ? 4 : room);
        break;
    case 9:
        got = qel_u32sctou32(d32.data(), p32);
        dst = 32;
        if (!nullSrc) m = qelref::isScalar(src[0]) ? ok(src[0] == 0 ? 0 : 1, {src[0]}) : bad(EILSEQ);
        break;
    case 10:
    case 11:
        got = fn == 10 ? qel_u8tou32(o32, p8, avail) : qel_u8sctou32(o32, p8);
        dst = 32;
        if (!noSrc) m = fromUtf8(src, fn == 10 ? avail : src.size(), 1, Enc::Utf32);
        if (nullDst && m.result > 0) m.written.clear();
        break;
    case 12:
    case 13:
    case 14:
        got = fn == 12 ? qel_u8tou16(o16, p8, avail) : fn == 13 ? qel_u8tou16_s(o16, room, p8, avail) : qel_u8sctou16_s(o16, room, p8);
        dst = 16;
        if (!noSrc) m = fromUtf8(src, fn == 14 ? src.size() : avail, nullDst ? 2 : fn == 12 ? 1 : room, Enc::Utf16);
        if (nullDst && m.result > 0) m.written.clear();
        break;
    case 15: got = qel_u8clen(p8, avail); if (!nullSrc) m = length(Enc::Utf8, src, avail); break;
    case 16: got = qel_u8sclen(p8); if (!nullSrc) m = length(Enc::Utf8, src, src.size()); break;
    case 17: got = qel_u16clen(p16, avail); if (!nullSrc) m = length(Enc::Utf16, src, avail); break;
    case 18: got = qel_u16sclen(p16); if (!nullSrc) m = length(Enc::Utf16, src, 2); break;
    case 19: got = qel_u32clen(p32, avail); if (!nullSrc) m = length(Enc::Utf32, src, avail); break;
    case 20: got = qel_u32sclen(p32); if (!nullSrc) m = length(Enc::Utf32, src, 1); break;
    default: {  // a four-byte window, so that the function may look that far
        Units w = src;
        w.resize(std::max<std::size_t>(w.size(), 4), 0);
        got = qel_u8mbclen(typed<char>(w).data());
        m = ok(mbclen(w));
        break;
    }
    }
    const int err = errno;
    const Units after = dst == 8 ? untyped(d8.data(), 8) : dst == 16 ? untyped(d16.data(), 8) : untyped(d32.data(), 8);
    Units want = m.written;
    want.resize(8, dst == 8 ? 0xA5 : dst == 16 ? 0xA5A5 : 0xA5A5A5A5);
    setContext([&] {
        std::fprintf(stderr, "  %s value 0x%X room %zu count %zu%s%s\n", fn < 22 ? kNames[fn] : "", value, room, avail,
                     nullDst ? " (null dst)" : "", nullSrc ? " (null src)" : "");
        dumpUnits("source", src);
        std::fprintf(stderr, "  expected %d errno %d; got %d errno %d\n", m.result, m.err, got, err);
        dumpUnits("expected destination", want);
        dumpUnits("destination", after);
    });
    QF_CHECK(got == m.result);
    QF_CHECK(err == m.err);
    QF_CHECK(after == want);
    return 0;
}

}  // namespace qelfuzz
