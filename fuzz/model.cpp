// Outcomes of the whole-string conversion calls: see model.h.
//
// The bounded qelStr conversions are walked piece by piece. With a
// terminator wanted, every unit of text must leave one unit free behind it,
// so a piece fits when the text after it is at most outSize - 1 units long.
// Without one, ASCII copied directly and the characters of a run may use the
// buffer to its end, a run that fills the buffer exactly stops there with
// success, and a control sequence never ends on the last unit.
#include "model.h"

#include <algorithm>
#include <cerrno>

namespace qelfuzz {

using qelref::Conversion;
using qelref::Enc;
using qelref::Piece;
using qelref::SeqForm;
using qelref::Units;

namespace {

constexpr int kOk = 0;
constexpr int kNoRoom = -1;   // the model's own markers, not errno values
constexpr int kBad = -2;

constexpr std::uint32_t kFullLength = 0x1;
constexpr std::uint32_t kNoTerminator = 0x2;

// Whether a control sequence starts at some unit from `pos` on, before the
// end of the text. Every unit is looked at: the units that a failed
// recognition passes over are content units, never 0x01.
bool sequenceFollows(SeqForm form, const Units& in, std::size_t pos, std::size_t end) {
    for (std::size_t i = pos; i < end && in[i] != 0; ++i) {
        if (qelref::sequenceAt(form, in, i, end) > 0) return true;
    }
    return false;
}

// Closes or drops a sequence that a bounded output cut after `k` of its
// units; `text` holds everything written before the sequence.
void closeCut(bool standardUtf8, bool fullLength, Units& text, const Units& seqOut, std::size_t k,
              std::size_t outSize) {
    if (fullLength || k < 4) return;  // dropped
    const std::size_t seqStart = text.size();
    if (!standardUtf8) {
        text.insert(text.end(), seqOut.begin(), seqOut.begin() + static_cast<std::ptrdiff_t>(k - 2));
        text.push_back(0x02);
        return;
    }
    // Character lengths of the UTF-8 sequence: one byte, or a lead byte and
    // its continuation.
    std::vector<std::size_t> lengths;
    for (std::size_t i = 0; i < seqOut.size();) {
        std::size_t len = seqOut[i] >= 0x80 ? 2 : 1;
        lengths.push_back(len);
        i += len;
    }
    // Whole characters among the k bytes written (a lone lead byte is not one).
    std::size_t kept = 0, count = 0;
    while (count < lengths.size() && kept + lengths[count] <= k) kept += lengths[count++];
    while (count > 0 && outSize - (seqStart + kept) < 2) kept -= lengths[--count];
    if (kept <= 1) return;  // only the start unit would be left
    text.insert(text.end(), seqOut.begin(), seqOut.begin() + static_cast<std::ptrdiff_t>(kept));
    text.push_back(0x02);
}

int statusFor(int result) { return result == kOk ? 0 : (result == kNoRoom ? 68 : 368); }

struct BoundedWalk {
    BoundedWalk(const Pair& p, const Units& input, std::size_t inputEnd, bool term, bool full, std::size_t size)
        : pair(p), in(input), end(inputEnd), terminator(term), fullLength(full), outSize(size),
          form(inputForm(p)), std8(standardUtf8Output(p)) {}

    const Pair& pair;
    const Units& in;
    std::size_t end;
    bool terminator;
    bool fullLength;
    std::size_t outSize;
    SeqForm form;
    bool std8;

    Units text;
    int result = kOk;
    std::size_t runStart = 0;  // input unit where the unconverted rest begins

    enum RunEnd { RunWhole, RunLost, RunBad, RunNoRoom };
    std::size_t lostAt = 0;

    std::size_t room() const { return outSize - text.size(); }

    RunEnd convertRun(const std::vector<Piece>& pieces, std::size_t i, std::size_t j) {
        if (terminator) {
            // The safe converter keeps the last unit free; when the output
            // would become exactly full it withdraws the character.
            std::size_t lastMulti = 0;
            for (std::size_t k = i; k < j; ++k) {
                const Piece& pc = pieces[k];
                if (pc.kind == Piece::Bad) return RunBad;
                if (pc.len > 1) lastMulti = pc.len;
                if (text.size() + pc.out.size() <= outSize - 1) {
                    text.insert(text.end(), pc.out.begin(), pc.out.end());
                    continue;
                }
                if (pair.from == Enc::Utf8 && pair.to == Enc::Utf32) {
                    // This safe converter steps its input cursor back by the
                    // length of the last multi-byte sequence it converted,
                    // not by the length of the character it withdrew.
                    runStart = pc.pos + pc.len - lastMulti;
                } else {
                    runStart = pc.pos;
                }
                return RunNoRoom;
            }
            return RunWhole;
        }
        // The fill converter: nothing to do without room; stops with success
        // as soon as the output is exactly full.
        if (room() == 0) {
            lostAt = pieces[i].pos;
            return RunLost;
        }
        for (std::size_t k = i; k < j; ++k) {
            const Piece& pc = pieces[k];
            if (pc.kind == Piece::Bad) return RunBad;
            if (pc.out.size() > room()) {
                runStart = pc.pos;
                return RunNoRoom;
            }
            text.insert(text.end(), pc.out.begin(), pc.out.end());
            if (room() == 0 && k + 1 < j) {
                lostAt = pieces[k + 1].pos;
                return RunLost;
            }
        }
        return RunWhole;
    }

    // Carries a sequence over; false when it was cut.
    bool carry(const Piece& pc) {
        if (text.size() + pc.out.size() < outSize) {
            text.insert(text.end(), pc.out.begin(), pc.out.end());
            return true;
        }
        std::size_t k = std::min(pc.out.size(), room());
        closeCut(std8, fullLength, text, pc.out, k, outSize);
        return false;
    }

    void run(const Conversion& conv) {
        const auto& pieces = conv.pieces;
        const std::size_t n = pieces.size();
        std::size_t i = 0;
        while (i < n) {
            const Piece& pc = pieces[i];
            if (pc.kind == Piece::Char && pc.fast) {
                if (terminator ? room() <= 1 : room() == 0) {
                    runStart = pc.pos;
                    result = kNoRoom;
                    return;
                }
                text.push_back(pc.out[0]);
                ++i;
                continue;
            }
            if (pc.kind == Piece::Sequence) {
                if (!carry(pc)) {
                    runStart = pc.pos;
                    result = kNoRoom;
                    return;
                }
                ++i;
                continue;
            }
            // A pending run: up to the next sequence or the end.
            std::size_t j = i;
            while (j < n && pieces[j].kind != Piece::Sequence) ++j;
            RunEnd e = convertRun(pieces, i, j);
            if (e == RunBad) {
                result = kBad;
                return;
            }
            if (e == RunNoRoom) {
                result = kNoRoom;
                return;
            }
            if (j < n) {
                if (!carry(pieces[j])) {
                    runStart = e == RunLost ? lostAt : pieces[j].pos;
                    result = kNoRoom;
                    return;
                }
                i = j + 1;
                continue;
            }
            if (e == RunLost && conv.bad && sequenceFollows(form, in, pieces.back().pos, end)) {
                // The lost rest of the run holds ill-formed text, and a
                // sequence follows it, which finds the buffer full.
                runStart = lostAt;
                result = kNoRoom;
                return;
            }
            return;  // end of the input; a lost rest goes unreported
        }
    }

    // The counting rest of the full-length flag: measures from runStart with
    // the result still at "no room", which only a measured run replaces.
    std::uint32_t countRest() {
        Conversion rest = qelref::convert(pair.from, pair.to, form, std8, in, runStart, end);
        std::size_t count = text.size();
        bool pending = false, pendingBad = false;
        std::size_t pendingCount = 0;
        for (const Piece& pc : rest.pieces) {
            if (pc.kind == Piece::Char && pc.fast && !pending) {
                count += pc.out.size();
            } else if (pc.kind == Piece::Sequence) {
                if (pending) {
                    result = kOk;
                    count += pendingCount;
                    pending = false;
                    pendingCount = 0;
                }
                count += pc.out.size();
            } else {
                pending = true;
                if (pc.kind == Piece::Bad) {
                    pendingBad = true;
                } else {
                    pendingCount += pc.out.size();
                }
            }
        }
        if (pendingBad) {
            if (sequenceFollows(form, in, rest.pieces.back().pos, end) || result != kNoRoom) {
                result = kBad;
                count += pendingCount;
            }
        } else if (result != kNoRoom && pending) {
            count += pendingCount;
        }
        return static_cast<std::uint32_t>(count);
    }
};

}  // namespace

SeqForm inputForm(const Pair& p) {
    return p.from == Enc::Utf8 && !p.raw ? SeqForm::Utf8 : SeqForm::Unit;
}

bool standardUtf8Output(const Pair& p) { return p.to == Enc::Utf8 && !p.raw; }

static std::size_t inputEnd(const Units& in, std::uint32_t inLen) {
    return std::min<std::size_t>(inLen, in.size());
}

Conversion wholeConversion(const Pair& p, const Units& in, std::uint32_t inLen) {
    return qelref::convert(p.from, p.to, inputForm(p), standardUtf8Output(p), in, 0, inputEnd(in, inLen));
}

BoundedOutcome boundedCall(const Pair& p, const Units& in, bool nullIn, std::uint32_t inLen,
                           bool nullOut, std::uint32_t outSize, std::uint32_t flags) {
    const bool terminator = (flags & kNoTerminator) == 0;
    BoundedOutcome o{};
    o.lengthKnown = true;
    if (nullIn || inLen == 0 || in.empty() || in[0] == 0) {
        o.status = 0;
        o.outLen = 0;
        o.terminator = terminator && !nullOut && outSize > 0;
        o.writesNothing = !o.terminator;
        return o;
    }
    if (!nullOut && outSize == 0) {
        o.status = 35;
        o.outLen = 0;
        o.writesNothing = true;
        return o;
    }
    Conversion conv = wholeConversion(p, in, inLen);
    if (nullOut) {
        o.status = conv.bad ? 368 : 0;
        o.outLen = static_cast<std::uint32_t>(conv.goodSize);
        o.writesNothing = true;
        return o;
    }
    BoundedWalk w(p, in, inputEnd(in, inLen), terminator, (flags & kFullLength) != 0, outSize);
    w.run(conv);
    o.text = w.text;
    o.terminator = terminator;
    o.outLen = static_cast<std::uint32_t>(w.text.size());
    if (w.result == kNoRoom && w.fullLength) o.outLen = w.countRest();
    o.status = statusFor(w.result);
    return o;
}

BoundedOutcome boundedCopy(const Units& in, bool nullIn, std::uint32_t inLen, bool nullOut,
                           std::uint32_t outSize) {
    BoundedOutcome o{};
    o.lengthKnown = true;
    if (nullIn || inLen == 0 || in.empty() || in[0] == 0) {
        o.terminator = !nullOut && outSize > 0;
        o.writesNothing = !o.terminator;
        return o;
    }
    if (!nullOut && outSize == 0) {
        o.status = 35;
        o.writesNothing = true;
        return o;
    }
    const std::size_t end = inputEnd(in, inLen);
    const std::size_t len = qelref::textLength(in, end);
    if (nullOut) {
        o.outLen = static_cast<std::uint32_t>(len);
        o.writesNothing = true;
        return o;
    }
    o.terminator = true;
    std::size_t pos = 0;
    while (pos < len) {
        if (in[pos] == 0x01) {
            std::size_t seq = qelref::sequenceAt(SeqForm::Unit, in, pos, end);
            if (seq > 0) {
                std::size_t room = outSize - o.text.size();
                if (seq < room) {
                    o.text.insert(o.text.end(), in.begin() + static_cast<std::ptrdiff_t>(pos),
                                  in.begin() + static_cast<std::ptrdiff_t>(pos + seq));
                    pos += seq;
                    continue;
                }
                Units seqUnits(in.begin() + static_cast<std::ptrdiff_t>(pos),
                               in.begin() + static_cast<std::ptrdiff_t>(pos + seq));
                closeCut(false, false, o.text, seqUnits, std::min(seq, room), outSize);
                o.status = 68;
                break;
            }
        }
        if (outSize - o.text.size() < 2) {
            o.status = 68;
            break;
        }
        o.text.push_back(in[pos]);
        ++pos;
    }
    o.outLen = static_cast<std::uint32_t>(o.text.size());
    return o;
}

ErrnoOutcome errnoCall(Enc from, Enc to, const Units& src, bool nullSrc, bool nullDst, std::size_t n) {
    ErrnoOutcome o{};
    if (nullSrc || src.empty() || src[0] == 0) {
        o.terminator = !nullDst && n > 0;
        return o;
    }
    if (!nullDst && n == 0) return o;
    const SeqForm form = from == Enc::Utf8 ? SeqForm::Utf8Strict : SeqForm::Unit;
    const bool std8 = to == Enc::Utf8;
    const std::size_t len = qelref::textLength(src, src.size());
    Conversion conv = qelref::convert(from, to, form, std8, src, 0, len);
    if (nullDst) {
        if (conv.bad) {
            o.result = static_cast<std::size_t>(-1);
            o.setsEilseq = true;
        } else {
            o.result = conv.goodSize;
        }
        return o;
    }
    const auto& pieces = conv.pieces;
    const std::size_t np = pieces.size();
    int result = kOk;
    Units& text = o.text;
    std::size_t i = 0;
    while (i < np) {
        std::size_t j = i;
        while (j < np && pieces[j].kind != Piece::Sequence) ++j;
        bool last = j == np && !(conv.bad && sequenceFollows(form, src, pieces.back().pos, len));
        if (!last) {
            // A run before a sequence: the safe converter.
            for (std::size_t k = i; k < j && result == kOk; ++k) {
                const Piece& pc = pieces[k];
                if (pc.kind == Piece::Bad) {
                    result = kBad;
                } else if (text.size() + pc.out.size() <= n - 1) {
                    text.insert(text.end(), pc.out.begin(), pc.out.end());
                } else {
                    result = kNoRoom;
                }
            }
            if (result != kOk || j == np) break;
            const Piece& sq = pieces[j];
            const bool lastInSource = sq.pos + sq.len == len;
            if (text.size() + sq.out.size() < n ||
                (text.size() + sq.out.size() == n && lastInSource)) {
                text.insert(text.end(), sq.out.begin(), sq.out.end());
                i = j + 1;
                continue;
            }
            closeCut(std8, false, text, sq.out, std::min(sq.out.size(), n - text.size()), n);
            result = kNoRoom;
            break;
        }
        // The last run: the fill converter, which may use the last unit.
        if (text.size() == n) break;
        for (std::size_t k = i; k < j; ++k) {
            const Piece& pc = pieces[k];
            if (pc.kind == Piece::Bad) {
                result = kBad;
                break;
            }
            if (pc.out.size() > n - text.size()) {
                result = kNoRoom;
                break;
            }
            text.insert(text.end(), pc.out.begin(), pc.out.end());
            if (text.size() == n) break;
        }
        break;
    }
    o.terminator = text.size() != n;
    if (result == kNoRoom || text.size() == n) {
        o.result = n;
    } else if (result == kOk) {
        o.result = text.size();
    } else {
        o.result = static_cast<std::size_t>(-1);
        o.setsEilseq = true;
    }
    return o;
}

}  // namespace qelfuzz

// ---------------------------------------------------------------------------
// Any entry point of the table
// ---------------------------------------------------------------------------

namespace qelfuzz {

using qelent::Args;
using qelent::Family;
using qelent::Result;

namespace {

Enc enc(qelent::Enc e) { return static_cast<Enc>(e); }

// A buffer of outSize units and its guards: `text`, the terminator if any,
// undocumented units up to outSize, then the untouched guards.
Units buffer(qelent::Enc to, const Units& text, bool terminator, std::size_t outSize, bool untouched) {
    const std::uint32_t guard = qelent::kGuard >> (32 - 8 * qelent::unitBytes(to));
    Units b;
    if (!untouched) {
        b = text;
        if (terminator) b.push_back(0);
    }
    b.resize(outSize, untouched ? guard : kAny);
    b.resize(outSize + qelent::kGuardUnits, guard);
    return b;
}

// The exported cores on the run [a, b): each keeps its own success value.
Result core(const qelent::Entry& e, const Args& args) {
    const Enc from = enc(e.from), to = enc(e.to);
    const bool measure = e.family == Family::Preflight, safe = e.family == Family::Safe;
    const bool fill = e.family == Family::Fill, alloc = e.family == Family::AllocCore;
    const bool to8 = to == Enc::Utf8;
    Result r;
    r.outLen = measure ? args.count : qelent::kNoLength;
    r.ret = alloc && to8 ? 1 : 0;
    std::size_t pos = args.begin;
    const std::size_t room = args.outSize;
    Units out;
    while (pos < args.end && !(fill && room == 0)) {
        qelref::Decoded d = qelref::decodeAt(from, args.in, pos, args.end);
        if (!d.ok) {
            r.ret = -EILSEQ;
            break;
        }
        Units u;
        qelref::encodeAs(to, d.cp, u);
        if (measure) {
            r.outLen += static_cast<std::uint32_t>(u.size());
            pos += d.len;
            continue;
        }
        if (!alloc && u.size() > room - out.size()) {
            r.ret = -E2BIG;
            break;
        }
        out.insert(out.end(), u.begin(), u.end());
        pos += d.len;
        if (safe && to8) r.ret = static_cast<int>(u.size());
        if (alloc && to8 && u.size() > 1) r.ret = static_cast<int>(u.size());
        if (fill && from == Enc::Utf8 && d.len > 1) r.ret = static_cast<int>(d.len);
        if (fill && from == Enc::Utf32 && d.cp >= 0xE000) r.ret = static_cast<int>(u.size());
        if (!alloc && out.size() == room) {
            if (safe) {  // withdraws the character that filled the output
                out.resize(out.size() - u.size());
                pos -= d.len;
                r.ret = -E2BIG;
            }
            break;
        }
    }
    r.inPos = pos;
    if (alloc) {
        for (std::size_t i = 0; i < args.prefill; ++i) r.out.push_back('0' + i % 10);
        r.out.insert(r.out.end(), out.begin(), out.end());
        r.outLen = static_cast<std::uint32_t>(r.out.size());
        r.out.push_back(0);
        r.err = 0;
    } else {
        r.out = out;
    }
    return r;
}

}  // namespace

Result expect(const qelent::Entry& e, const Args& a) {
    if (e.core()) return core(e, a);
    Result r;
    const Pair pair{enc(e.from), enc(e.to), (a.flags & 0x40000000u) != 0 && e.flagged()};
    const std::uint32_t flags = e.flagged() ? a.flags : 0;
    switch (e.family) {
    case Family::Bounded:
    case Family::BoundedEx:
    case Family::Copy: {
        BoundedOutcome m = e.family == Family::Copy ? boundedCopy(a.in, a.nullIn, a.inLen, a.nullOut, a.outSize)
                                                    : boundedCall(pair, a.in, a.nullIn, a.inLen, a.nullOut, a.outSize, flags);
        r.ret = m.status;
        if (!a.nullOutLen) r.outLen = m.outLen;
        r.out = buffer(e.to, m.text, m.terminator, a.outSize, a.nullOut || m.writesNothing);
        break;
    }
    case Family::Alloc:
    case Family::AllocEx:
    case Family::CopyAlloc: {
        const bool copy = e.family == Family::CopyAlloc;
        if (a.nullOut) {
            BoundedOutcome q = copy ? boundedCopy(a.in, a.nullIn, a.inLen, true, 0)
                                    : boundedCall(pair, a.in, a.nullIn, a.inLen, true, 0, 0);
            r.ret = q.status;
            if (!a.nullOutLen) r.outLen = q.outLen;
            break;
        }
        if (a.nullIn) {
            r.nullBlock = true;
            if (!a.nullOutLen) r.outLen = 0;
            break;
        }
        const std::size_t end = std::min<std::size_t>(a.inLen, a.in.size());
        if (copy) {
            r.out.assign(a.in.begin(), a.in.begin() + static_cast<std::ptrdiff_t>(qelref::textLength(a.in, end)));
        } else {
            Conversion c = wholeConversion(pair, a.in, a.inLen);
            r.out = qelref::joined(c);
            r.ret = c.bad ? 368 : 0;
        }
        if (!a.nullOutLen) r.outLen = static_cast<std::uint32_t>(r.out.size());
        r.out.push_back(0);
        break;
    }
    case Family::Errno: {
        ErrnoOutcome m = errnoCall(enc(e.from), enc(e.to), a.in, a.nullIn, a.nullOut, a.outSize);
        r.ret = m.result == static_cast<std::size_t>(-1) ? -1 : static_cast<long long>(m.result);
        r.err = m.setsEilseq ? EILSEQ : qelent::kErrnoUnset;
        r.out = buffer(e.to, m.text, m.terminator, a.outSize, a.nullOut || (a.outSize == 0));
        break;
    }
    default: {  // ErrnoAlloc
        if (a.nullIn) {
            r.nullBlock = true;
            break;
        }
        const std::size_t len = qelref::textLength(a.in, a.in.size());
        Conversion c = qelref::convert(enc(e.from), enc(e.to), e.from == qelent::Enc::Utf8 ? SeqForm::Utf8Strict : SeqForm::Unit,
                                       e.to == qelent::Enc::Utf8, a.in, 0, len);
        r.out = qelref::joined(c);
        r.out.push_back(0);
        if (len > 0) r.err = c.bad ? EILSEQ : 0;
        break;
    }
    }
    if (e.family != Family::Errno && e.family != Family::ErrnoAlloc) r.err = qelent::kErrnoUnset;
    return r;
}

bool matches(const Result& x, const Result& g) {
    if (x.ret != g.ret || x.outLen != g.outLen || x.nullBlock != g.nullBlock || x.err != g.err || x.inPos != g.inPos ||
        x.out.size() != g.out.size())
        return false;
    for (std::size_t i = 0; i < x.out.size(); ++i)
        if (x.out[i] != kAny && x.out[i] != g.out[i]) return false;
    return true;
}

Requests allocRequests(std::size_t n, unsigned int unit) {
    Requests q{{}, {}, 1};
    const unsigned int whole = static_cast<unsigned int>(n + 1) * unit;
    if (n <= 512) {
        q.allocs.push_back(whole);
        return q;
    }
    std::size_t before = 512, cap = 1024;
    unsigned int slot = 1;
    q.allocs.push_back(static_cast<unsigned int>(cap) * unit);
    while (n - before > cap) {
        before += cap;
        cap *= 2;
        ++slot;
        q.allocs.push_back(static_cast<unsigned int>(cap) * unit);
    }
    if (n - before < 512) {
        q.reallocs.push_back(whole);
    } else {
        q.allocs.push_back(whole);
        ++q.frees;
    }
    q.frees += slot - 1;
    return q;
}

}  // namespace qelfuzz
