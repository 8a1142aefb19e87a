// Reference model: see reference.h. Each rule is spelled out as the table
// gives it, with no shortcuts.
#include "reference.h"

namespace qelref {

bool isScalar(std::uint32_t cp) {
    if (cp <= 0xD7FF) return true;
    if (cp >= 0xE000 && cp <= 0x10FFFF) return true;
    return false;
}

bool isHighSurrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLowSurrogate(std::uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

static bool isContinuation(unsigned char b) { return b >= 0x80 && b <= 0xBF; }

static const Decoded kBad = {false, 0, 0};

Decoded decodeUtf8(const unsigned char* s, std::size_t avail) {
    unsigned char b0 = s[0];
    if (b0 <= 0x7F) return {true, b0, 1};

    // The lead byte fixes the length and the range of the second byte.
    std::size_t len;
    unsigned char lo2 = 0x80, hi2 = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        len = 2;
    } else if (b0 == 0xE0) {
        len = 3;
        lo2 = 0xA0;
    } else if ((b0 >= 0xE1 && b0 <= 0xEC) || b0 == 0xEE || b0 == 0xEF) {
        len = 3;
    } else if (b0 == 0xED) {
        len = 3;
        hi2 = 0x9F;
    } else if (b0 == 0xF0) {
        len = 4;
        lo2 = 0x90;
    } else if (b0 >= 0xF1 && b0 <= 0xF3) {
        len = 4;
    } else if (b0 == 0xF4) {
        len = 4;
        hi2 = 0x8F;
    } else {
        return kBad;  // 0x80..0xC1, 0xF5..0xFF
    }
    if (avail < len) return kBad;
    for (std::size_t i = 1; i < len; ++i) {
        if (!isContinuation(s[i])) return kBad;
    }
    if (s[1] < lo2 || s[1] > hi2) return kBad;

    std::uint32_t cp;
    if (len == 2) {
        cp = b0 & 0x1Fu;
    } else if (len == 3) {
        cp = b0 & 0x0Fu;
    } else {
        cp = b0 & 0x07u;
    }
    for (std::size_t i = 1; i < len; ++i) cp = (cp << 6) | (s[i] & 0x3Fu);
    return {true, cp, len};
}

Decoded decodeUtf16(const char16_t* s, std::size_t avail) {
    std::uint32_t u = s[0];
    if (!isHighSurrogate(u) && !isLowSurrogate(u)) return {true, u, 1};
    if (isLowSurrogate(u)) return kBad;
    if (avail < 2) return kBad;
    std::uint32_t v = s[1];
    if (!isLowSurrogate(v)) return kBad;
    return {true, 0x10000u + (u - 0xD800u) * 1024u + (v - 0xDC00u), 2};
}

Decoded decodeUtf32(const std::uint32_t* s, std::size_t /*avail*/) {
    if (isScalar(s[0])) return {true, s[0], 1};
    return kBad;
}

std::size_t utf8Size(std::uint32_t cp) {
    if (cp < 0x80) return 1;
    if (cp < 0x800) return 2;
    if (cp < 0x10000) return 3;
    return 4;
}

std::size_t utf16Size(std::uint32_t cp) { return cp < 0x10000 ? 1 : 2; }

void encodeUtf8(std::uint32_t cp, std::vector<std::uint32_t>& out) {
    if (cp < 0x80) {
        out.push_back(cp);
    } else if (cp < 0x800) {
        out.push_back(0xC0 | (cp >> 6));
        out.push_back(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out.push_back(0xE0 | (cp >> 12));
        out.push_back(0x80 | ((cp >> 6) & 0x3F));
        out.push_back(0x80 | (cp & 0x3F));
    } else {
        out.push_back(0xF0 | (cp >> 18));
        out.push_back(0x80 | ((cp >> 12) & 0x3F));
        out.push_back(0x80 | ((cp >> 6) & 0x3F));
        out.push_back(0x80 | (cp & 0x3F));
    }
}

void encodeUtf16(std::uint32_t cp, std::vector<std::uint32_t>& out) {
    if (cp < 0x10000) {
        out.push_back(cp);
    } else {
        out.push_back(0xD800 + ((cp - 0x10000) >> 10));
        out.push_back(0xDC00 + (cp & 0x3FF));
    }
}

void encodeUtf32(std::uint32_t cp, std::vector<std::uint32_t>& out) { out.push_back(cp); }

Decoded decodeAt(Enc enc, const Units& s, std::size_t pos, std::size_t end) {
    if (pos >= end) return kBad;  // nothing readable
    std::size_t avail = end - pos;
    // Copy at most four units into a typed scratch so that the typed
    // decoders see exactly what is readable.
    std::size_t n = avail < 4 ? avail : 4;
    switch (enc) {
    case Enc::Utf8: {
        unsigned char b[4] = {0, 0, 0, 0};
        for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(s[pos + i]);
        return decodeUtf8(b, avail);
    }
    case Enc::Utf16: {
        char16_t u[4] = {0, 0, 0, 0};
        for (std::size_t i = 0; i < n; ++i) u[i] = static_cast<char16_t>(s[pos + i]);
        return decodeUtf16(u, avail);
    }
    case Enc::Utf32:
        break;
    }
    std::uint32_t u = s[pos];
    return decodeUtf32(&u, avail);
}

void encodeAs(Enc enc, std::uint32_t cp, Units& out) {
    switch (enc) {
    case Enc::Utf8: encodeUtf8(cp, out); return;
    case Enc::Utf16: encodeUtf16(cp, out); return;
    case Enc::Utf32: encodeUtf32(cp, out); return;
    }
}

std::size_t sizeIn(Enc enc, std::uint32_t cp) {
    switch (enc) {
    case Enc::Utf8: return utf8Size(cp);
    case Enc::Utf16: return utf16Size(cp);
    case Enc::Utf32: break;
    }
    return 1;
}

// ---------------------------------------------------------------------------
// Embedded control sequences
// ---------------------------------------------------------------------------

static bool isContentValue(std::uint32_t v) { return v >= 0x20 && v <= 0x9F; }

std::size_t sequenceAt(SeqForm form, const Units& s, std::size_t pos, std::size_t end) {
    if (pos >= end || s[pos] != 0x01) return 0;
    std::size_t i = pos + 1;
    int characters = 0;
    while (i < end && characters < 17) {
        std::uint32_t u = s[i];
        if (form == SeqForm::Unit) {
            if (!isContentValue(u)) break;
            i += 1;
        } else {
            if (u < 0x20) break;
            if (u <= 0x7F) {
                i += 1;
            } else if (u >= 0xC2 && u <= 0xDF) {
                if (i + 1 == end) return 0;  // lead byte at the end: no sequence
                std::uint32_t t = s[i + 1];
                if (t < 0x80 || t > 0xBF) {
                    // The scan stops on the byte after the lead. When that
                    // byte is 0x02 the standard reading takes the sequence as
                    // valid, with the lone lead as its last content byte; the
                    // errno-style reading finds no sequence.
                    if (t == 0x02 && form == SeqForm::Utf8Strict) return 0;
                    i += 1;
                    break;
                }
                std::uint32_t value = ((u & 0x1F) << 6) | (t & 0x3F);
                if (value >= 0xA0) {
                    i += 1;
                    break;
                }
                i += 2;
            } else {
                break;
            }
        }
        ++characters;
    }
    if (i < end && s[i] == 0x02) return i + 1 - pos;
    return 0;
}

std::vector<std::uint32_t> sequenceValues(SeqForm form, const Units& s, std::size_t pos,
                                          std::size_t len) {
    std::vector<std::uint32_t> values;
    std::size_t i = pos;
    while (i < pos + len) {
        std::uint32_t u = s[i];
        if (form != SeqForm::Unit && u >= 0x80) {
            std::uint32_t t = s[i + 1];
            values.push_back(((u & 0x1F) << 6) | (t ^ 0x80));
            i += 2;
        } else {
            values.push_back(u);
            i += 1;
        }
    }
    return values;
}

void writeSequence(bool utf8Standard, const std::vector<std::uint32_t>& values, Units& out) {
    for (std::uint32_t v : values) {
        if (utf8Standard && v >= 0x80) {
            out.push_back(0xC0 | (v >> 6));
            out.push_back(0x80 | (v & 0x3F));
        } else {
            out.push_back(v);
        }
    }
}

// ---------------------------------------------------------------------------
// Whole texts
// ---------------------------------------------------------------------------

std::size_t textLength(const Units& s, std::size_t limit) {
    std::size_t n = 0;
    while (n < limit && n < s.size() && s[n] != 0) ++n;
    return n;
}

Conversion convert(Enc from, Enc to, SeqForm inForm, bool outUtf8Standard, const Units& in,
                   std::size_t begin, std::size_t end) {
    Conversion c;
    std::size_t pos = begin;
    while (pos < end && in[pos] != 0) {
        Piece p;
        p.pos = pos;
        p.cp = 0;
        p.fast = false;
        std::size_t seqLen = sequenceAt(inForm, in, pos, end);
        if (seqLen > 0) {
            p.kind = Piece::Sequence;
            p.len = seqLen;
            std::vector<std::uint32_t> values = sequenceValues(inForm, in, pos, seqLen);
            if (values.back() != 0x02) c.lossySequence = true;
            writeSequence(outUtf8Standard && to == Enc::Utf8, values, p.out);
        } else {
            Decoded d = decodeAt(from, in, pos, end);
            if (!d.ok) {
                p.kind = Piece::Bad;
                p.len = 0;
                c.pieces.push_back(p);
                c.bad = true;
                return c;
            }
            p.kind = Piece::Char;
            p.len = d.len;
            p.cp = d.cp;
            p.fast = d.len == 1 && in[pos] <= 0x7F && in[pos] != 0x01;
            encodeAs(to, d.cp, p.out);
        }
        c.goodSize += p.out.size();
        pos += p.len;
        c.pieces.push_back(p);
    }
    return c;
}

Units joined(const Conversion& c) {
    Units out;
    for (const Piece& p : c.pieces) out.insert(out.end(), p.out.begin(), p.out.end());
    return out;
}

}  // namespace qelref
