// SPDX-License-Identifier: MIT
// The oracle: see model.h.
//
// A bounded qelStr conversion is walked piece by piece. With a terminator
// wanted, every unit of text must leave one unit free behind it. Without
// one, ASCII copied directly and the characters of a run may use the buffer
// to its end, a run that fills the buffer exactly stops there with success,
// and a control sequence never ends on the last unit.
#include "model.h"

#include <algorithm>
#include <cerrno>

namespace qelfuzz {

using qelent::Args;
using qelent::Family;
using qelent::Result;
using qelref::Conversion;
using qelref::Enc;
using qelref::Piece;
using qelref::SeqForm;
using qelref::Units;

namespace {

enum Outcome { kOk, kNoRoom, kBad };
int statusFor(Outcome o) { return o == kOk ? qelStrOk : o == kNoRoom ? qelStrTruncated : qelStrBadInput; }

// Whether a control sequence starts at some unit from `pos` on. Units that a
// failed recognition passes over are content, never 0x01, so each is tried.
bool sequenceFollows(SeqForm form, const Units& in, std::size_t pos, std::size_t end) {
    for (std::size_t i = pos; i < end && in[i] != 0; ++i)
        if (qelref::sequenceAt(form, in, i, end) > 0) return true;
    return false;
}

// Closes or drops a sequence that a bounded output cut after `k` of its
// units; `text` holds everything written before it. Fewer than four units
// drop it. Otherwise one unit per character makes room for 0x02 in place;
// standard UTF-8 drops a lone lead byte, then whole characters until two
// units of the buffer are free, and drops the sequence if only 0x01 is left.
void closeCut(bool std8, bool fullLength, Units& text, const Units& seq, std::size_t k, std::size_t outSize) {
    if (fullLength || k < 4) return;
    if (!std8) {
        text.insert(text.end(), seq.begin(), seq.begin() + static_cast<std::ptrdiff_t>(k - 2));
        text.push_back(0x02);
        return;
    }
    std::vector<std::size_t> lengths;
    for (std::size_t i = 0; i < seq.size(); i += lengths.back()) lengths.push_back(seq[i] >= 0x80 ? 2 : 1);
    std::size_t kept = 0, count = 0;
    while (count < lengths.size() && kept + lengths[count] <= k) kept += lengths[count++];
    while (count > 0 && outSize - (text.size() + kept) < 2) kept -= lengths[--count];
    if (kept <= 1) return;
    text.insert(text.end(), seq.begin(), seq.begin() + static_cast<std::ptrdiff_t>(kept));
    text.push_back(0x02);
}

struct Bounded {
    Enc from, to;
    bool std8, terminator, fullLength;
    SeqForm form;
    const Units& in;
    std::size_t end, outSize;
    Units text;
    Outcome result = kOk;
    std::size_t restAt = 0;  // input unit where the unconverted rest begins

    std::size_t room() const { return outSize - text.size(); }
    Outcome stop(Outcome o, std::size_t at) {
        restAt = at;
        return result = o;
    }

    // A run of characters between sequences. Returns kNoRoom or kBad to
    // stop; `lost` receives where a fill converter stopped early on a full
    // buffer (SIZE_MAX: it did not).
    Outcome run(const std::vector<Piece>& ps, std::size_t i, std::size_t j, std::size_t& lost) {
        lost = SIZE_MAX;
        if (terminator) {
            // The safe converter keeps the last unit free and withdraws the
            // character that would fill the output. Its UTF-8 -> UTF-32
            // version steps back by the length of the last multi-byte
            // sequence it converted, not of the character it withdrew.
            std::size_t lastMulti = 0;
            for (std::size_t k = i; k < j; ++k) {
                if (ps[k].kind == Piece::Bad) return kBad;
                if (ps[k].len > 1) lastMulti = ps[k].len;
                if (text.size() + ps[k].out.size() > outSize - 1)
                    return stop(kNoRoom, from == Enc::Utf8 && to == Enc::Utf32 ? ps[k].pos + ps[k].len - lastMulti : ps[k].pos);
                text.insert(text.end(), ps[k].out.begin(), ps[k].out.end());
            }
            return kOk;
        }
        // The fill converter: does nothing without room, stops with success
        // as soon as the output is exactly full.
        if (room() == 0) return lost = ps[i].pos, kOk;
        for (std::size_t k = i; k < j; ++k) {
            if (ps[k].kind == Piece::Bad) return kBad;
            if (ps[k].out.size() > room()) return stop(kNoRoom, ps[k].pos);
            text.insert(text.end(), ps[k].out.begin(), ps[k].out.end());
            if (room() == 0 && k + 1 < j) return lost = ps[k + 1].pos, kOk;
        }
        return kOk;
    }

    // Carries a sequence over whole, or cuts it; false when cut.
    bool carry(const Piece& p) {
        if (text.size() + p.out.size() < outSize) {
            text.insert(text.end(), p.out.begin(), p.out.end());
            return true;
        }
        closeCut(std8, fullLength, text, p.out, std::min(p.out.size(), room()), outSize);
        return false;
    }

    void walk(const Conversion& c) {
        const auto& ps = c.pieces;
        for (std::size_t i = 0; i < ps.size();) {
            const Piece& p = ps[i];
            if (p.kind == Piece::Char && p.fast) {  // ASCII copied directly
                if (terminator ? room() <= 1 : room() == 0) return void(stop(kNoRoom, p.pos));
                text.push_back(p.out[0]);
                ++i;
            } else if (p.kind == Piece::Sequence) {
                if (!carry(p)) return void(stop(kNoRoom, p.pos));
                ++i;
            } else {
                std::size_t j = i, lost = 0;
                while (j < ps.size() && ps[j].kind != Piece::Sequence) ++j;
                const Outcome o = run(ps, i, j, lost);
                if (o != kOk) return void(result = o);
                if (j < ps.size()) {
                    if (!carry(ps[j])) return void(stop(kNoRoom, lost != SIZE_MAX ? lost : ps[j].pos));
                    i = j + 1;
                    continue;
                }
                // A lost rest with a fault in it, and a sequence after it that finds the buffer full.
                if (lost != SIZE_MAX && c.bad && sequenceFollows(form, in, ps.back().pos, end)) stop(kNoRoom, lost);
                return;
            }
        }
    }

    // The counting rest of qelStrFlagFullLength: measures from restAt with the
    // result still "no room", which only a measured run replaces.
    std::uint32_t countRest() {
        const Conversion rest = qelref::convert(from, to, form, std8, in, restAt, end);
        std::size_t count = text.size(), pendingCount = 0;
        bool pending = false, pendingBad = false;
        for (const Piece& p : rest.pieces) {
            if (p.kind == Piece::Char && p.fast && !pending) {
                count += 1;
            } else if (p.kind == Piece::Sequence) {
                if (pending) result = kOk, count += pendingCount, pending = false, pendingCount = 0;
                count += p.out.size();
            } else {
                pending = true;
                pendingBad |= p.kind == Piece::Bad;
                pendingCount += p.out.size();
            }
        }
        if (pendingBad) {
            if (sequenceFollows(form, in, rest.pieces.back().pos, end) || result != kNoRoom) result = kBad, count += pendingCount;
        } else if (result != kNoRoom && pending) {
            count += pendingCount;
        }
        return static_cast<std::uint32_t>(count);
    }
};

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

bool emptyInput(const Args& a) { return a.nullIn || a.inLen == 0 || a.in.empty() || a.in[0] == 0; }

// The bounded qelStr conversions.
void bounded(Enc from, Enc to, const Args& a, std::uint32_t flags, Result& r) {
    const bool raw = (flags & qelStrFlagRawSequences) != 0, terminator = (flags & qelStrFlagNoTerminator) == 0;
    const bool empty = emptyInput(a);
    r.ret = empty ? qelStrOk : qelStrEmptyBuffer;
    r.outLen = 0;
    if (empty || (!a.nullOut && a.outSize == 0)) {
        r.out = buffer(static_cast<qelent::Enc>(to), {}, terminator && empty, a.outSize, a.nullOut || !terminator || !empty);
        return;
    }
    const std::size_t end = std::min<std::size_t>(a.inLen, a.in.size());
    Bounded w{from, to, to == Enc::Utf8 && !raw, terminator, (flags & qelStrFlagFullLength) != 0,
              from == Enc::Utf8 && !raw ? SeqForm::Utf8 : SeqForm::Unit, a.in, end, a.outSize, {}};
    const Conversion c = qelref::convert(from, to, w.form, w.std8, a.in, 0, end);
    if (a.nullOut) {
        r.ret = c.bad ? qelStrBadInput : qelStrOk;
        r.outLen = static_cast<std::uint32_t>(c.goodSize);
        r.out = buffer(static_cast<qelent::Enc>(to), {}, false, a.outSize, true);
        return;
    }
    w.walk(c);
    r.out = buffer(static_cast<qelent::Enc>(to), w.text, terminator, a.outSize, false);
    r.outLen = w.result == kNoRoom && w.fullLength ? w.countRest() : static_cast<std::uint32_t>(w.text.size());
    r.ret = statusFor(w.result);
}

// The bounded UTF-16 copy: every unit, sequences never split.
void copy(const Args& a, Result& r) {
    const bool empty = emptyInput(a);
    r.ret = empty ? qelStrOk : qelStrEmptyBuffer;
    r.outLen = 0;
    const std::size_t end = std::min<std::size_t>(a.inLen, a.in.size()), len = qelref::textLength(a.in, end);
    if (a.nullOut && !empty) r.ret = qelStrOk, r.outLen = static_cast<std::uint32_t>(len);
    if (empty || a.nullOut || a.outSize == 0) {
        r.out = buffer(qelent::Enc::Utf16, {}, empty, a.outSize, a.nullOut || !empty);
        return;
    }
    Units text;
    r.ret = qelStrOk;
    for (std::size_t pos = 0; pos < len;) {
        const std::size_t seq = qelref::sequenceAt(SeqForm::Unit, a.in, pos, end), room = a.outSize - text.size();
        if (seq > 0 && seq < room) {
            text.insert(text.end(), a.in.begin() + static_cast<std::ptrdiff_t>(pos), a.in.begin() + static_cast<std::ptrdiff_t>(pos + seq));
            pos += seq;
            continue;
        }
        if (seq > 0) {
            const Units units(a.in.begin() + static_cast<std::ptrdiff_t>(pos), a.in.begin() + static_cast<std::ptrdiff_t>(pos + seq));
            closeCut(false, false, text, units, std::min(seq, room), a.outSize);
        }
        if (seq > 0 || room < 2) {
            r.ret = qelStrTruncated;
            break;
        }
        text.push_back(a.in[pos++]);
    }
    r.outLen = static_cast<std::uint32_t>(text.size());
    r.out = buffer(qelent::Enc::Utf16, text, true, a.outSize, false);
}

// The bounded errno-style conversions: runs before a sequence go to the
// safe converter, the last run to the fill converter, which may use the
// last unit; a full output is answered with n.
void errnoStyle(Enc from, Enc to, const Args& a, Result& r) {
    const std::size_t n = a.outSize;
    r.ret = 0;
    if (a.nullIn || a.in.empty() || a.in[0] == 0 || (!a.nullOut && n == 0)) {
        r.out = buffer(static_cast<qelent::Enc>(to), {}, true, n, a.nullOut || n == 0);
        return;
    }
    const SeqForm form = from == Enc::Utf8 ? SeqForm::Utf8Strict : SeqForm::Unit;
    const bool std8 = to == Enc::Utf8;
    const std::size_t len = qelref::textLength(a.in, a.in.size());
    const Conversion c = qelref::convert(from, to, form, std8, a.in, 0, len);
    if (a.nullOut) {
        r.ret = c.bad ? -1 : static_cast<long long>(c.goodSize);
        if (c.bad) r.err = EILSEQ;
        r.out = buffer(static_cast<qelent::Enc>(to), {}, false, n, true);
        return;
    }
    const auto& ps = c.pieces;
    Outcome result = kOk;
    Units text;
    for (std::size_t i = 0; i < ps.size();) {
        std::size_t j = i;
        while (j < ps.size() && ps[j].kind != Piece::Sequence) ++j;
        if (j == ps.size() && !(c.bad && sequenceFollows(form, a.in, ps.back().pos, len))) {
            for (std::size_t k = i; k < j && text.size() < n; ++k) {  // the last run: the fill converter
                if (ps[k].kind == Piece::Bad || ps[k].out.size() > n - text.size()) {
                    result = ps[k].kind == Piece::Bad ? kBad : kNoRoom;
                    break;
                }
                text.insert(text.end(), ps[k].out.begin(), ps[k].out.end());
            }
            break;
        }
        for (std::size_t k = i; k < j && result == kOk; ++k) {  // a run before a sequence: the safe converter
            if (ps[k].kind == Piece::Bad) result = kBad;
            else if (text.size() + ps[k].out.size() <= n - 1) text.insert(text.end(), ps[k].out.begin(), ps[k].out.end());
            else result = kNoRoom;
        }
        if (result != kOk || j == ps.size()) break;
        const Piece& sq = ps[j];
        const std::size_t after = text.size() + sq.out.size();
        if (after < n || (after == n && sq.pos + sq.len == len)) {
            text.insert(text.end(), sq.out.begin(), sq.out.end());
            i = j + 1;
            continue;
        }
        closeCut(std8, false, text, sq.out, std::min(sq.out.size(), n - text.size()), n);
        result = kNoRoom;
        break;
    }
    if (result == kNoRoom || text.size() == n) r.ret = static_cast<long long>(n);
    else if (result == kOk) r.ret = static_cast<long long>(text.size());
    else r.ret = -1, r.err = EILSEQ;
    r.out = buffer(static_cast<qelent::Enc>(to), text, text.size() != n, n, false);
}

// The exported cores on the run [begin, end): each keeps its own success value.
void core(const qelent::Entry& e, const Args& a, Result& r) {
    const Enc from = static_cast<Enc>(e.from), to = static_cast<Enc>(e.to);
    const bool measure = e.family == Family::Preflight, safe = e.family == Family::Safe;
    const bool fill = e.family == Family::Fill, alloc = e.family == Family::AllocCore, to8 = to == Enc::Utf8;
    r.outLen = measure ? a.count : qelent::kNoLength;
    r.ret = alloc && to8 ? 1 : 0;
    std::size_t pos = a.begin;
    Units out;
    while (pos < a.end && !(fill && a.outSize == 0)) {
        const qelref::Decoded d = qelref::decodeAt(from, a.in, pos, a.end);
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
        if (!alloc && u.size() > a.outSize - out.size()) {
            r.ret = -E2BIG;
            break;
        }
        out.insert(out.end(), u.begin(), u.end());
        pos += d.len;
        if ((safe && to8) || (alloc && to8 && u.size() > 1) || (fill && from == Enc::Utf32 && d.cp >= 0xE000))
            r.ret = static_cast<int>(u.size());
        if (fill && from == Enc::Utf8 && d.len > 1) r.ret = static_cast<int>(d.len);
        if (!alloc && out.size() == a.outSize) {
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
        for (std::size_t i = 0; i < a.prefill; ++i) r.out.push_back('0' + i % 10);
        r.out.insert(r.out.end(), out.begin(), out.end());
        r.outLen = static_cast<std::uint32_t>(r.out.size());
        r.out.push_back(0);
        r.err = 0;
    } else {
        r.out = out;
    }
}

}  // namespace

Result expect(const qelent::Entry& e, const Args& a) {
    Result r;
    const Enc from = static_cast<Enc>(e.from), to = static_cast<Enc>(e.to);
    const std::uint32_t flags = e.flagged() ? a.flags : 0;
    const bool raw = (flags & qelStrFlagRawSequences) != 0;
    switch (e.family) {
    case Family::Bounded:
    case Family::BoundedEx: bounded(from, to, a, flags, r); break;
    case Family::Copy: copy(a, r); break;
    case Family::Errno: errnoStyle(from, to, a, r); break;
    case Family::Alloc:
    case Family::AllocEx:
    case Family::CopyAlloc:
        if (a.nullOut) {  // a length query: the bounded one's answer
            Result q;
            Args query = a;
            query.outSize = 0;
            e.family == Family::CopyAlloc ? copy(query, q) : bounded(from, to, query, flags & qelStrFlagRawSequences, q);
            r.ret = q.ret;
            if (!a.nullOutLen) r.outLen = q.outLen;
        } else if (a.nullIn) {
            r.nullBlock = true;
            if (!a.nullOutLen) r.outLen = 0;
        } else {
            const std::size_t end = std::min<std::size_t>(a.inLen, a.in.size());
            if (e.family == Family::CopyAlloc) {
                r.out.assign(a.in.begin(), a.in.begin() + static_cast<std::ptrdiff_t>(qelref::textLength(a.in, end)));
            } else {
                const Conversion c = qelref::convert(from, to, from == Enc::Utf8 && !raw ? SeqForm::Utf8 : SeqForm::Unit,
                                                     to == Enc::Utf8 && !raw, a.in, 0, end);
                r.out = qelref::joined(c);
                r.ret = c.bad ? qelStrBadInput : qelStrOk;
            }
            if (!a.nullOutLen) r.outLen = static_cast<std::uint32_t>(r.out.size());
            r.out.push_back(0);
        }
        break;
    case Family::ErrnoAlloc:
        if (a.nullIn) {
            r.nullBlock = true;
        } else {
            const std::size_t len = qelref::textLength(a.in, a.in.size());
            const Conversion c = qelref::convert(from, to, from == Enc::Utf8 ? SeqForm::Utf8Strict : SeqForm::Unit,
                                                 to == Enc::Utf8, a.in, 0, len);
            r.out = qelref::joined(c);
            r.out.push_back(0);
            if (len > 0) r.err = c.bad ? EILSEQ : 0;  // an empty source leaves errno alone
        }
        break;
    default: core(e, a, r); break;
    }
    if (a.nullOutLen && (e.family == Family::Bounded || e.family == Family::BoundedEx || e.family == Family::Copy))
        r.outLen = qelent::kNoLength;
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
    // Up to 512 units the result is made in the first chunk inside the
    // buffer; beyond, chunks of 1024, 2048, ... units are taken as needed,
    // and the last is resized into the result when less than 512 units of it
    // are used, else a fresh block is taken and it is freed.
    Requests q{{}, {}, 1};
    const unsigned int whole = static_cast<unsigned int>(n + 1) * unit;
    if (n <= 512) return q.allocs.push_back(whole), q;
    std::size_t before = 512, cap = 1024;
    for (q.allocs.push_back(1024 * unit); n - before > cap; q.allocs.push_back(static_cast<unsigned int>(cap) * unit))
        before += cap, cap *= 2, ++q.frees;
    if (n - before < 512) q.reallocs.push_back(whole);
    else q.allocs.push_back(whole), ++q.frees;
    return q;
}

}  // namespace qelfuzz
