// SPDX-License-Identifier: MIT
// The one harness: see check.h.
#include "check.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <unordered_map>

namespace qelfuzz {

using qelent::Args;
using qelent::Entry;
using qelent::Family;
using qelent::Result;
using qelref::Enc;

bool throwOnFailure = false;

namespace {
std::function<void()>& context() {
    static std::function<void()> f;
    return f;
}
}  // namespace

void setContext(std::function<void()> f) { context() = std::move(f); }

void dumpUnits(const char* label, const Units& u) {
    std::fprintf(stderr, "  %s (%zu units):", label, u.size());
    for (std::size_t i = 0; i < u.size() && i < 200; ++i) std::fprintf(stderr, " %X", u[i]);
    std::fprintf(stderr, u.size() > 200 ? " ...\n" : "\n");
}

void fail(const char* file, int line, const std::string& what) {
    std::fprintf(stderr, "\nqelutf check failed: %s:%d: %s\n", file, line, what.c_str());
    if (context()) context()();
    std::fflush(stderr);
    if (throwOnFailure) throw std::runtime_error(what);
    std::abort();
}

// ---------------------------------------------------------------------------
// Text
// ---------------------------------------------------------------------------

namespace {
const std::vector<Units> kBad8 = {{0x80}, {0xBF}, {0xC0, 0x80}, {0xC1, 0xBF}, {0xE0, 0x80, 0x80}, {0xE0, 0x9F, 0xBF},
                                  {0xED, 0xA0, 0x80}, {0xED, 0xBF, 0xBF}, {0xF0, 0x80, 0x80, 0x80},
                                  {0xF4, 0x90, 0x80, 0x80}, {0xF5, 0x80, 0x80, 0x80}, {0xFF}, {0xE2, 0x82},
                                  {0xF0, 0x9F, 0x98}, {0xC3}};
const std::vector<Units> kBad16 = {{0xDC00}, {0xDFFF}, {0xD800}, {0xDBFF}, {0xD83D, 0x41}, {0xDE00, 0xD83D}, {0xD83D, 0xD83D}};
const std::vector<Units> kBad32 = {{0xD800}, {0xDFFF}, {0x110000}, {0x7FFFFFFF}, {0x80000000}, {0xFFFFFFFF}};

void putContent(Enc enc, bool raw, std::uint32_t v, Units& out) {
    if (enc == Enc::Utf8 && !raw && v >= 0x80) out.push_back(0xC2);
    out.push_back(v);
}

std::uint32_t rawUnit(Reader& r, Enc enc) {
    return enc == Enc::Utf8 ? r.byte() : enc == Enc::Utf16 ? r.u16() : r.u16() | (std::uint32_t{r.byte()} << 16);
}
}  // namespace

Units makeText(Reader& r, Enc enc, bool structured, bool raw) {
    Units out;
    while (!r.empty() && !structured) out.push_back(rawUnit(r, enc));
    while (!r.empty()) {
        const std::uint8_t b = r.byte();
        const unsigned low = b & 0x0F;
        switch (b >> 4) {
        case 0: out.push_back('a' + low); break;
        case 1: out.push_back(0x20 + r.byte() % 0x60); break;
        case 2: out.push_back(0x01); break;
        case 3: out.push_back(0x02); break;
        case 4: putContent(enc, raw, 0x80 + r.byte() % 0x20, out); break;
        case 5: qelref::encodeAs(enc, 0x80 + r.u16() % 0x780, out); break;
        case 6: {
            std::uint32_t cp = 0x800 + r.u16() % 0xF800;
            qelref::encodeAs(enc, cp >= 0xD800 && cp <= 0xDFFF ? cp + 0x800 : cp, out);
            break;
        }
        case 7: qelref::encodeAs(enc, 0x10000 + r.u32() % 0x100000, out); break;
        case 8: out.push_back(0); break;
        case 9: out.push_back(0x03 + low); break;
        case 10: {
            const auto& bad = enc == Enc::Utf8 ? kBad8 : enc == Enc::Utf16 ? kBad16 : kBad32;
            out.insert(out.end(), bad[low % bad.size()].begin(), bad[low % bad.size()].end());
            break;
        }
        case 11: out.push_back(enc == Enc::Utf32 ? r.u32() : rawUnit(r, enc)); break;
        case 12: {
            static const std::uint32_t special[] = {0xFEFF, 0xFFFD, 0xFFFE, 0xFFFF, 0x10FFFF, 0xD7FF, 0xE000, 0x7FF, 0x800, 0x10000};
            qelref::encodeAs(enc, special[low % 10], out);
            break;
        }
        case 13: {  // a supplementary character spelled as two surrogate halves
            const std::uint32_t cp = 0x10000 + (r.u16() % 0x10000) * 16 + low;
            for (std::uint32_t s : {0xD800 + ((cp - 0x10000) >> 10), 0xDC00 + (cp & 0x3FF)}) {
                if (enc == Enc::Utf8) out.insert(out.end(), {0xE0 | (s >> 12), 0x80 | ((s >> 6) & 0x3F), 0x80 | (s & 0x3F)});
                else out.push_back(s ^ (enc == Enc::Utf16 ? 0x400 : 0));  // reversed pair in UTF-16
            }
            break;
        }
        default: {  // a whole control sequence, sometimes one character too long or unclosed
            const unsigned n = r.byte() % 19;
            out.push_back(0x01);
            for (unsigned i = 0; i < n; ++i) putContent(enc, raw, 0x20 + r.byte() % 0x80, out);
            if (low != 15) out.push_back(0x02);
            break;
        }
        }
    }
    return out;
}

Units longText(Reader& r, Enc enc) {
    const std::size_t target = 1 + (r.u16() % 0x10000);
    const unsigned mutations = r.byte() % 16;
    std::vector<std::pair<std::uint32_t, std::uint8_t>> edits;
    for (unsigned i = 0; i < mutations; ++i) edits.push_back({r.u16(), r.byte()});
    // The piece is cut before its first zero unit or fault: the faults come from the edits.
    Units piece = makeText(r, enc, true, false);
    const auto pieces = qelref::convert(enc, enc, qelref::SeqForm::Unit, false, piece, 0, piece.size()).pieces;
    std::size_t good = 0;
    for (const qelref::Piece& p : pieces)
        if (p.kind != qelref::Piece::Bad) good = p.pos + p.len;
    piece.resize(good);
    if (piece.empty()) piece = {'a'};
    Units out;
    while (out.size() < target) out.insert(out.end(), piece.begin(), piece.end());
    out.resize(target);
    for (const auto& [where, what] : edits) {
        const std::size_t block = std::size_t{16} << (what % 3);
        const std::size_t at = ((where * block) % out.size() + out.size() + (what >> 4) % 3 - 1) % out.size();
        const Units choices = {0x80, 0xC3, 0xE2, 0xF0, 0xD800, 0xDC00, 0x01, 0x02, 0x00, 0x110000, 0x85};
        const std::uint32_t c = choices[(what >> 2) % choices.size()];
        out[at] = enc == Enc::Utf8 ? c & 0xFF : enc == Enc::Utf16 ? c & 0xFFFF : c;
    }
    return out;
}

// ---------------------------------------------------------------------------
// Checks
// ---------------------------------------------------------------------------

namespace {
void describe(const Entry& e, const Args& a, const Result& x, const Result& g) {
    std::fprintf(stderr, "  %s flags 0x%X inLen %u run [%zu,%zu) outSize %u%s%s%s count %u prefill %zu\n", e.name,
                 a.flags, a.inLen, a.begin, a.end, a.outSize, a.nullIn ? " null-in" : "", a.nullOut ? " null-out" : "",
                 a.nullOutLen ? " null-outLen" : "", a.count, a.prefill);
    dumpUnits("input", a.in);
    std::fprintf(stderr, "  expected ret %lld len %u errno %d cursor %zu%s\n", x.ret, x.outLen, x.err, x.inPos,
                 x.nullBlock ? " null" : "");
    std::fprintf(stderr, "  got      ret %lld len %u errno %d cursor %zu%s\n", g.ret, g.outLen, g.err, g.inPos,
                 g.nullBlock ? " null" : "");
    dumpUnits("expected out", x.out);
    dumpUnits("got out", g.out);
}
}  // namespace

void checkCall(const Entry& e, const Args& a) {
    provider::startCall();
    const Result got = e.call(a);
    const unsigned refused = provider::refused();
    const Requests req = provider::requests();
    const std::size_t leaked = provider::liveBlocks();
    Result want = expect(e, a);
    setContext([&] { describe(e, a, want, got); });
    QF_CHECK(leaked == 0);
    if (refused > 0) {  // what memory running out gives
        if (e.family == Family::AllocCore) {
            if (got.ret == -ENOMEM) QF_CHECK(got.inPos >= a.begin && got.inPos <= want.inPos);
            else QF_CHECK(got.ret == want.ret && got.inPos == want.inPos);
            want.ret = got.ret;
            want.inPos = got.inPos;
            want.err = 1;
            want.outLen = 0;
        } else if (e.family == Family::ErrnoAlloc) {
            if (!a.in.empty() && a.in[0] != 0) want.err = ENOMEM;
        } else if (a.inLen != 0 && !a.in.empty() && a.in[0] != 0) {
            want.ret = qelStrNoMemory;
            if (!a.nullOutLen) want.outLen = 0;
        }
        want.nullBlock = got.nullBlock;
        want.out = got.nullBlock ? Units{} : Units{0};
    }
    QF_CHECK(matches(want, got));
    if (a.nullOut || a.nullIn) QF_CHECK(req.allocs.empty() || e.family == Family::ErrnoAlloc || e.core());
    // (a fault after a full chunk may find the next chunk already taken)
    if (refused == 0 && !a.nullOut && !a.nullIn && want.ret == qelStrOk && (e.family == Family::Alloc || e.family == Family::AllocEx))
        QF_CHECK(req == allocRequests(want.out.size() - 1, static_cast<unsigned>(qelent::unitBytes(e.to))));
}

void checkEntry(const Entry& e, const Units& in, bool light) {
    Args a;
    a.in = in;
    if (e.core()) {
        a.end = in.size();
        Args big = a;
        big.outSize = static_cast<std::uint32_t>(in.size() * 4 + 8);
        const std::uint32_t exact = static_cast<std::uint32_t>(expect(e, big).out.size());
        for (std::size_t begin : {std::size_t{0}, std::size_t{1}}) {
            if (begin > in.size() || (light && begin > 0)) break;
            a.begin = begin;
            if (e.family == Family::Preflight) {
                for (std::uint32_t count : {0u, 7u}) a.count = count, checkCall(e, a);
                continue;
            }
            if (e.family == Family::AllocCore) {
                for (std::size_t prefill : {std::size_t{0}, std::size_t{509}, std::size_t{512}}) a.prefill = prefill, checkCall(e, a);
                continue;
            }
            int i = 0;
            for (std::uint32_t room : {exact - 1, exact, big.outSize, 0u, 1u, exact + 1}) {
                if (light && i++ == 3) break;
                if (room > big.outSize || (room == 0 && e.family == Family::Safe)) continue;  // safe cores are given room
                a.outSize = room;
                checkCall(e, a);
            }
        }
        return;
    }
    const bool errnoStyle = e.family == Family::Errno || e.family == Family::ErrnoAlloc;
    std::vector<std::uint32_t> flagSets = {0};
    if (e.flagged()) flagSets = {qelStrFlagFullLength | qelStrFlagNoTerminator | qelStrFlagRawSequences | 0x104,
                                 qelStrFlagFullLength, qelStrFlagNoTerminator, qelStrFlagRawSequences};
    if (light) flagSets.resize(1);
    const bool allocating = e.allocates();
    for (int ended = 0; ended < 2; ++ended) {
        if ((errnoStyle && !ended) || (light && !errnoStyle && ended)) continue;  // zero-terminated only
        a.in = in;
        a.inLen = static_cast<std::uint32_t>(in.size());
        if (ended) a.in.push_back(0), a.inLen = 0xFFFFFFFFu;
        for (std::uint32_t flags : flagSets) {
            a.flags = flags;
            a.nullIn = a.nullOut = a.nullOutLen = false;
            Args query = a;
            query.nullOut = true;
            const Result q = expect(e, query);
            const std::uint32_t need = static_cast<std::uint32_t>(
                (errnoStyle ? (q.ret < 0 ? 0 : q.ret) : q.outLen) + 1);
            if (allocating) {
                checkCall(e, a);
                if (e.family != Family::ErrnoAlloc) checkCall(e, query);
                continue;
            }
            int i = 0;
            for (std::uint32_t size : {need - 1, need, need * 4 + 16, 0u, 1u, need + 1}) {
                if (light && i == 3) break;
                a.outSize = size;
                a.nullOutLen = (i++ & 1) != 0;
                checkCall(e, a);
            }
            a.nullOutLen = false;
            checkCall(e, query);
        }
    }
    a.nullIn = true;
    a.outSize = 4;
    checkCall(e, a);
}

void checkAllFrom(Enc enc, const Units& in) {
    for (const Entry& e : qelent::entries())
        if (static_cast<Enc>(e.from) == enc) checkEntry(e, in);
}

// ---------------------------------------------------------------------------
// Counting string memory provider
// ---------------------------------------------------------------------------

namespace {
struct ProviderState {
    std::unordered_map<const void*, std::size_t> live;
    unsigned int calls = 0, refusedCalls = 0, failNumber = 0, failAbove = 0;
    Requests requests{{}, {}, 0};
};
ProviderState& state() {
    static ProviderState s;
    return s;
}
}  // namespace

namespace provider {
void reset() {
    ProviderState& s = state();
    for (auto& b : s.live) std::free(const_cast<void*>(b.first));  // leaks already reported
    s = ProviderState{};
}
void startCall() {
    ProviderState& s = state();
    const unsigned int number = s.failNumber, above = s.failAbove;
    reset();
    s.failNumber = number;
    s.failAbove = above;
}
void failAllocNumber(unsigned int n) { state().failNumber = n; }
void failAllocAbove(unsigned int bytes) { state().failAbove = bytes; }
unsigned int allocCalls() { return state().calls; }
unsigned int refused() { return state().refusedCalls; }
std::size_t liveBlocks() { return state().live.size(); }
Requests requests() { return state().requests; }
}  // namespace provider

}  // namespace qelfuzz

using qelfuzz::state;

std::size_t qelentBlockBytes(const void* p) {
    auto it = state().live.find(p);
    return it == state().live.end() ? 0 : it->second;
}

extern "C" void* qelStrAlloc(unsigned int size) {
    auto& s = state();
    ++s.calls;
    s.requests.allocs.push_back(size);
    if ((s.failNumber != 0 && s.calls == s.failNumber) || (s.failAbove != 0 && size > s.failAbove)) {
        ++s.refusedCalls;
        return nullptr;
    }
    void* p = std::malloc(size == 0 ? 1 : size);
    if (p == nullptr) std::abort();
    s.live[p] = size;
    return p;
}

extern "C" void* qelStrReAlloc(void* p, unsigned int size) {
    auto& s = state();
    if (p == nullptr) return qelStrAlloc(size);
    s.requests.reallocs.push_back(size);
    auto it = s.live.find(p);
    if (it == s.live.end()) qelfuzz::fail(__FILE__, __LINE__, "qelStrReAlloc of a block the provider does not own");
    s.live.erase(it);
    void* q = std::realloc(p, size == 0 ? 1 : size);
    if (q == nullptr) std::abort();
    s.live[q] = size;
    return q;
}

extern "C" void qelStrFree(void* p) {
    if (p == nullptr) return;
    auto& s = state();
    ++s.requests.frees;
    auto it = s.live.find(p);
    if (it == s.live.end()) qelfuzz::fail(__FILE__, __LINE__, "qelStrFree of a block the provider does not own");
    s.live.erase(it);
    std::free(p);
}
