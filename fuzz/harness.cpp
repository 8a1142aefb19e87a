// Shared pieces of the fuzz targets: see harness.h.
#include "harness.h"

#include <unordered_map>

#include "qel/qelstr.h"

namespace qelfuzz {

namespace {
std::function<void()>& context() {
    static std::function<void()> f;
    return f;
}
}  // namespace

void setContext(std::function<void()> f) { context() = std::move(f); }

void dumpUnits(const char* label, const qelref::Units& u) {
    std::fprintf(stderr, "  %s (%zu units):", label, u.size());
    for (std::size_t i = 0; i < u.size() && i < 400; ++i) std::fprintf(stderr, " %X", u[i]);
    std::fprintf(stderr, u.size() > 400 ? " ...\n" : "\n");
}

void fail(const char* file, int line, const char* what) {
    std::fprintf(stderr, "\nqelutf fuzz check failed: %s:%d: %s\n", file, line, what);
    if (context()) context()();
    std::fflush(stderr);
    std::abort();
}

namespace {

using qelref::Enc;
using qelref::Units;

void put(Enc enc, std::uint32_t cp, Units& out) { qelref::encodeAs(enc, cp, out); }

// One ill-formed spelling per class, chosen by k.
void putIllFormed(Enc enc, unsigned k, Units& out) {
    switch (enc) {
    case Enc::Utf8: {
        static const std::vector<std::vector<std::uint32_t>> bad = {
            {0x80},                   // continuation as lead
            {0xBF},
            {0xC0, 0x80},             // overlong two-byte
            {0xC1, 0xBF},
            {0xE0, 0x80, 0x80},       // overlong three-byte
            {0xE0, 0x9F, 0xBF},
            {0xED, 0xA0, 0x80},       // surrogate
            {0xED, 0xBF, 0xBF},
            {0xF0, 0x80, 0x80, 0x80}, // overlong four-byte
            {0xF4, 0x90, 0x80, 0x80}, // above U+10FFFF
            {0xF5, 0x80, 0x80, 0x80},
            {0xF8, 0x88, 0x80, 0x80, 0x80},
            {0xFF},
            {0xE2, 0x82},             // cut short
            {0xF0, 0x9F, 0x98},
            {0xC3},
        };
        const auto& b = bad[k % bad.size()];
        out.insert(out.end(), b.begin(), b.end());
        return;
    }
    case Enc::Utf16: {
        static const std::vector<std::vector<std::uint32_t>> bad = {
            {0xDC00}, {0xDFFF}, {0xD800}, {0xDBFF}, {0xD83D, 0x0041}, {0xDE00, 0xD83D},
            {0xD83D, 0xD83D},
        };
        const auto& b = bad[k % bad.size()];
        out.insert(out.end(), b.begin(), b.end());
        return;
    }
    case Enc::Utf32: {
        static const std::uint32_t bad[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0x110000,
                                            0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        out.push_back(bad[k % (sizeof bad / sizeof bad[0])]);
        return;
    }
    }
}

void putSequenceContent(Enc enc, bool raw, std::uint32_t v, Units& out) {
    if (enc == Enc::Utf8 && !raw && v >= 0x80) {
        out.push_back(0xC2);
        out.push_back(v);
    } else {
        out.push_back(v);
    }
}

}  // namespace

Units makeText(Reader& r, Enc enc, bool structured, bool rawSequences) {
    Units out;
    if (!structured) {
        while (!r.empty()) {
            switch (enc) {
            case Enc::Utf8: out.push_back(r.byte()); break;
            case Enc::Utf16: out.push_back(r.u16()); break;
            case Enc::Utf32: {
                std::uint32_t lo = r.u16();
                out.push_back(lo | (static_cast<std::uint32_t>(r.byte()) << 16));
                break;
            }
            }
        }
        return out;
    }
    while (!r.empty()) {
        std::uint8_t b = r.byte();
        unsigned low = b & 0x0F;
        switch (b >> 4) {
        case 0: out.push_back('a' + low); break;
        case 1: out.push_back(0x20 + r.byte() % 0x60); break;
        case 2: out.push_back(0x01); break;
        case 3: out.push_back(0x02); break;
        case 4: putSequenceContent(enc, rawSequences, 0x80 + (r.byte() % 0x20), out); break;
        case 5: put(enc, 0x80 + (r.u16() % 0x780), out); break;
        case 6: {
            std::uint32_t cp = 0x800 + (r.u16() % 0xF800);
            if (cp >= 0xD800 && cp <= 0xDFFF) cp += 0x800;
            put(enc, cp, out);
            break;
        }
        case 7: put(enc, 0x10000 + (r.u32() % 0x100000), out); break;
        case 8: out.push_back(0); break;
        case 9: out.push_back(0x03 + low); break;
        case 10: putIllFormed(enc, low, out); break;
        case 11: out.push_back('A' + low); break;
        case 12:
            switch (enc) {
            case Enc::Utf8: out.push_back(r.byte()); break;
            case Enc::Utf16: out.push_back(r.u16()); break;
            case Enc::Utf32: out.push_back(r.u32()); break;
            }
            break;
        case 13: {
            static const std::uint32_t special[] = {0xFEFF, 0xFFFD, 0xFFFE, 0xFFFF, 0x10FFFF,
                                                    0xD7FF, 0xE000, 0x7FF,  0x800,  0x10000};
            put(enc, special[low % 10], out);
            break;
        }
        case 14:
            // A supplementary character spelled as its two surrogate halves
            // (UTF-8 three-byte forms, or a reversed UTF-16 pair).
            if (enc == Enc::Utf8) {
                std::uint32_t cp = 0x10000 + (r.u16() % 0x10000) * 16 + low;
                std::uint32_t hi = 0xD800 + ((cp - 0x10000) >> 10), lo = 0xDC00 + (cp & 0x3FF);
                for (std::uint32_t s : {hi, lo}) {
                    out.push_back(0xE0 | (s >> 12));
                    out.push_back(0x80 | ((s >> 6) & 0x3F));
                    out.push_back(0x80 | (s & 0x3F));
                }
            } else if (enc == Enc::Utf16) {
                out.push_back(0xDC00 + low);
                out.push_back(0xD800 + low);
            } else {
                out.push_back(0xD800 + low * 64);
            }
            break;
        default: {
            // A whole control sequence with up to 17 content characters
            // (sometimes 18, which is one too many).
            unsigned n = r.byte() % 19;
            out.push_back(0x01);
            for (unsigned i = 0; i < n; ++i) {
                std::uint8_t c = r.byte();
                putSequenceContent(enc, rawSequences, 0x20 + c % 0x80, out);
            }
            if (low != 15) out.push_back(0x02);
            break;
        }
        }
    }
    return out;
}

// ---------------------------------------------------------------------------
// Counting string memory provider
// ---------------------------------------------------------------------------

namespace {
struct ProviderState {
    std::unordered_map<const void*, std::size_t> live;
    unsigned int calls = 0;
    unsigned int refusedCalls = 0;
    unsigned int failNumber = 0;
    unsigned int failAbove = 0;
};
ProviderState& state() {
    static ProviderState s;
    return s;
}
}  // namespace

namespace provider {
void reset() {
    ProviderState& s = state();
    // Blocks still live here were leaked by the previous input; the target
    // has already failed on them, so just forget them.
    for (auto& b : s.live) std::free(const_cast<void*>(b.first));
    s.live.clear();
    s.calls = s.refusedCalls = s.failNumber = s.failAbove = 0;
}
void failAllocNumber(unsigned int n) { state().failNumber = n == 0 ? 0 : state().calls + n; }
void failAllocAbove(unsigned int bytes) { state().failAbove = bytes; }
unsigned int allocCalls() { return state().calls; }
unsigned int refused() { return state().refusedCalls; }
std::size_t liveBlocks() { return state().live.size(); }
bool isLive(const void* p) { return state().live.count(p) != 0; }
std::size_t blockSize(const void* p) {
    auto it = state().live.find(p);
    return it == state().live.end() ? 0 : it->second;
}
}  // namespace provider

}  // namespace qelfuzz

using qelfuzz::state;

extern "C" void* qelStrAlloc(unsigned int size) {
    auto& s = state();
    ++s.calls;
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
    auto it = s.live.find(p);
    if (it == s.live.end()) qelfuzz::fail(__FILE__, __LINE__, "qelStrFree of a block the provider does not own");
    s.live.erase(it);
    std::free(p);
}
