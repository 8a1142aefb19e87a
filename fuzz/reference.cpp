// SPDX-License-Identifier: MIT
// The rules: see reference.h. Each is spelled out as its table gives it.
#include "reference.h"

namespace qelref {

bool isScalar(std::uint32_t cp) { return cp <= 0xD7FF || (cp >= 0xE000 && cp <= 0x10FFFF); }

static bool inRange(std::uint32_t v, std::uint32_t lo, std::uint32_t hi) { return v >= lo && v <= hi; }

Decoded decodeAt(Enc enc, const Units& s, std::size_t pos, std::size_t end) {
    const Decoded bad = {false, 0, 0};
    if (pos >= end) return bad;
    const std::uint32_t u = s[pos];
    const std::size_t avail = end - pos;
    if (enc == Enc::Utf32) return isScalar(u) ? Decoded{true, u, 1} : bad;
    if (enc == Enc::Utf16) {
        if (!inRange(u, 0xD800, 0xDFFF)) return {true, u, 1};
        if (u > 0xDBFF || avail < 2 || !inRange(s[pos + 1], 0xDC00, 0xDFFF)) return bad;
        return {true, 0x10000 + ((u - 0xD800) << 10) + (s[pos + 1] - 0xDC00), 2};
    }
    if (u <= 0x7F) return {true, u, 1};
    // The lead byte fixes the length and the range of the second byte.
    std::size_t len = 0;
    std::uint32_t lo = 0x80, hi = 0xBF;
    if (inRange(u, 0xC2, 0xDF)) len = 2;
    else if (u == 0xE0) len = 3, lo = 0xA0;
    else if (u == 0xED) len = 3, hi = 0x9F;
    else if (inRange(u, 0xE1, 0xEF)) len = 3;
    else if (u == 0xF0) len = 4, lo = 0x90;
    else if (u == 0xF4) len = 4, hi = 0x8F;
    else if (inRange(u, 0xF1, 0xF3)) len = 4;
    else return bad;  // 0x80..0xC1, 0xF5..0xFF
    if (avail < len || !inRange(s[pos + 1], lo, hi)) return bad;
    std::uint32_t cp = u & (0x7F >> len);
    for (std::size_t i = 1; i < len; ++i) {
        if (!inRange(s[pos + i], 0x80, 0xBF)) return bad;
        cp = (cp << 6) | (s[pos + i] & 0x3F);
    }
    return {true, cp, len};
}

void encodeAs(Enc enc, std::uint32_t cp, Units& out) {
    if (enc == Enc::Utf32 || (enc == Enc::Utf16 && cp < 0x10000) || cp < 0x80) {
        out.push_back(cp);
    } else if (enc == Enc::Utf16) {
        out.push_back(0xD800 + ((cp - 0x10000) >> 10));
        out.push_back(0xDC00 + (cp & 0x3FF));
    } else {
        const std::size_t len = cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
        out.push_back(((0xF00 >> len) & 0xFF) | (cp >> (6 * (len - 1))));
        for (std::size_t i = len - 1; i-- > 0;) out.push_back(0x80 | ((cp >> (6 * i)) & 0x3F));
    }
}

std::size_t sequenceAt(SeqForm form, const Units& s, std::size_t pos, std::size_t end) {
    if (pos >= end || s[pos] != 0x01) return 0;
    std::size_t i = pos + 1;
    for (int characters = 0; i < end && characters < 17; ++characters) {
        const std::uint32_t u = s[i];
        if (form == SeqForm::Unit) {
            if (!inRange(u, 0x20, 0x9F)) break;
            ++i;
        } else if (inRange(u, 0x20, 0x7F)) {
            ++i;
        } else if (inRange(u, 0xC2, 0xDF)) {
            if (i + 1 == end) return 0;  // a lead byte at the end: no sequence
            const std::uint32_t t = s[i + 1];
            if (!inRange(t, 0x80, 0xBF)) {
                // The scan stops on the byte after the lead. Standard reading:
                // if that is 0x02 the lone lead is the last content byte;
                // the errno-style reading then finds no sequence.
                if (t == 0x02 && form == SeqForm::Utf8Strict) return 0;
                ++i;
                break;
            }
            if ((((u & 0x1F) << 6) | (t & 0x3F)) >= 0xA0) {
                ++i;
                break;
            }
            i += 2;
        } else {
            break;
        }
    }
    return i < end && s[i] == 0x02 ? i + 1 - pos : 0;
}

std::size_t textLength(const Units& s, std::size_t limit) {
    std::size_t n = 0;
    while (n < limit && n < s.size() && s[n] != 0) ++n;
    return n;
}

Conversion convert(Enc from, Enc to, SeqForm inForm, bool outUtf8Standard, const Units& in, std::size_t begin,
                   std::size_t end) {
    Conversion c;
    for (std::size_t pos = begin; pos < end && in[pos] != 0;) {
        Piece p{Piece::Char, pos, sequenceAt(inForm, in, pos, end), {}, false};
        if (p.len > 0) {
            // The characters of a sequence: in standard UTF-8 a byte from 0x80
            // and the byte after it make one value (a lone lead takes 0x02 as
            // its second byte: 0x82).
            p.kind = Piece::Sequence;
            for (std::size_t i = pos; i < pos + p.len;) {
                std::uint32_t v = in[i++];
                if (inForm != SeqForm::Unit && v >= 0x80) v = ((v & 0x1F) << 6) | (in[i++] ^ 0x80);
                if (to == Enc::Utf8 && outUtf8Standard && v >= 0x80) p.out.push_back(0xC0 | (v >> 6)), v = 0x80 | (v & 0x3F);
                p.out.push_back(v);
            }
        } else {
            const Decoded d = decodeAt(from, in, pos, end);
            if (!d.ok) {
                p.kind = Piece::Bad;
                c.pieces.push_back(p);
                c.bad = true;
                return c;
            }
            p.len = d.len;
            p.fast = d.len == 1 && in[pos] <= 0x7F && in[pos] != 0x01;
            encodeAs(to, d.cp, p.out);
        }
        c.goodSize += p.out.size();
        pos += p.len;
        c.pieces.push_back(std::move(p));
    }
    return c;
}

Units joined(const Conversion& c) {
    Units out;
    for (const Piece& p : c.pieces) out.insert(out.end(), p.out.begin(), p.out.end());
    return out;
}

}  // namespace qelref
