// Differential tests of the vector kernels. Every kind of core of every pair
// runs once with the kernels of each instruction set this CPU has and once
// with the per-character code alone, on the same generated inputs and at
// every output size, and the two must agree on every result, cursor, count
// and output unit, the whole output block included (nothing may be written
// beyond what the per-character code writes). The walker kernels are
// compared with their one-unit-at-a-time definitions, also on strings that
// end at the last byte before an inaccessible memory page.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/engine.h"
#include "simd/simd.h"
#include "kernel_runs.h"
#include "qel/qelcore.h"

namespace {

using namespace qel;
using namespace qelkernels;
namespace policy = qel::core;

const char* isaName(simd::Isa isa) {
    switch (isa) {
    case simd::Isa::Scalar: return "scalar";
    case simd::Isa::Sse2: return "SSE2";
    case simd::Isa::Avx2: return "AVX2";
    case simd::Isa::Avx512: return "AVX-512";
    }
    return "?";
}

// The process uses the widest set that the CPU has; on x86-64 every set
// whose features the CPU reports is there (a build without vector kernels
// has none).
TEST(SimdDispatch, ChoosesTheWidestSetTheCpuHas) {
#if defined(__x86_64__) && !defined(QELUTF_SCALAR)
    auto has = [](int answer) { return answer != 0; };
    __builtin_cpu_init();
    const bool avx2 = has(__builtin_cpu_supports("avx2")) && has(__builtin_cpu_supports("bmi2"));
    [[maybe_unused]] const bool avx512 = has(__builtin_cpu_supports("avx512f")) && has(__builtin_cpu_supports("avx512bw")) &&
                        has(__builtin_cpu_supports("avx512vl")) && has(__builtin_cpu_supports("avx512vbmi")) &&
                        has(__builtin_cpu_supports("avx512vbmi2")) && has(__builtin_cpu_supports("bmi2"));
    EXPECT_NE(simd::forIsa(simd::Isa::Sse2), nullptr);
    // A build may cap the sets it has (QELUTF_WIDEST_ISA) to measure a narrower one.
#if defined(QELUTF_WIDEST_ISA_SSE2)
    EXPECT_EQ(simd::forIsa(simd::Isa::Avx2), nullptr);
    EXPECT_EQ(simd::active().isa, simd::Isa::Sse2);
#elif defined(QELUTF_WIDEST_ISA_AVX2)
    EXPECT_EQ(simd::forIsa(simd::Isa::Avx2) != nullptr, avx2);
    EXPECT_EQ(simd::forIsa(simd::Isa::Avx512), nullptr);
    EXPECT_EQ(simd::active().isa, avx2 ? simd::Isa::Avx2 : simd::Isa::Sse2);
#else
    EXPECT_EQ(simd::forIsa(simd::Isa::Avx2) != nullptr, avx2);
    EXPECT_EQ(simd::forIsa(simd::Isa::Avx512) != nullptr, avx512);
    EXPECT_EQ(simd::active().isa, avx512 ? simd::Isa::Avx512 : avx2 ? simd::Isa::Avx2 : simd::Isa::Sse2);
#endif
#else
    EXPECT_EQ(simd::active().isa, simd::Isa::Scalar);
    EXPECT_EQ(simd::forIsa(simd::Isa::Avx2), nullptr);
#endif
}

// ---- generated text --------------------------------------------------------------

// Text flavours: how often each size of character comes up.
enum Flavour { MostlyAscii, Latin, Bmp, Mixed, Astral, kFlavours };

class TextGen {
public:
    explicit TextGen(unsigned seed) : rng_(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(rng_() % n); }

    u32 codePoint(Flavour f) {
        static const unsigned weights[kFlavours][4] = {
            {95, 3, 1, 1}, {85, 15, 0, 0}, {30, 35, 35, 0}, {40, 25, 20, 15}, {20, 5, 5, 70}};
        unsigned r = below(100), cls = 0;
        while (r >= weights[f][cls]) r -= weights[f][cls++];
        switch (cls) {
        case 0: return below(10) == 0 ? below(4) : 0x20 + below(0x60);  // now and then 0x00..0x03
        case 1: return 0x80 + below(0x780);
        case 2: {
            const u32 c = 0x800 + below(0xF800);
            return (c >= 0xD800 && c < 0xE000) ? c + 0x800 : c;
        }
        default: return 0x10000 + below(0x100000);
        }
    }

    // A text of up to `chars` characters in encoding S, with `faults`
    // ill-formed pieces at random places (one may end the text).
    template <class S>
    std::vector<S> text(Flavour f, std::size_t chars, unsigned faults) {
        std::vector<std::vector<S>> pieces;
        for (std::size_t i = 0; i < chars; ++i) pieces.push_back(encode<S>(codePoint(f)));
        for (unsigned i = 0; i < faults; ++i)
            pieces.insert(pieces.begin() + below(static_cast<unsigned>(pieces.size()) + 1), fault<S>());
        std::vector<S> out;
        for (const auto& p : pieces) out.insert(out.end(), p.begin(), p.end());
        return out;
    }

private:
    template <class S>
    static std::vector<S> encode(u32 c) {
        if constexpr (sizeof(S) == 1) {
            if (c < 0x80) return {static_cast<S>(c)};
            if (c < 0x800) return {static_cast<S>(0xC0 | c >> 6), static_cast<S>(0x80 | (c & 0x3F))};
            if (c < 0x10000)
                return {static_cast<S>(0xE0 | c >> 12), static_cast<S>(0x80 | ((c >> 6) & 0x3F)),
                        static_cast<S>(0x80 | (c & 0x3F))};
            return {static_cast<S>(0xF0 | c >> 18), static_cast<S>(0x80 | ((c >> 12) & 0x3F)),
                    static_cast<S>(0x80 | ((c >> 6) & 0x3F)), static_cast<S>(0x80 | (c & 0x3F))};
        } else if constexpr (sizeof(S) == 2) {
            if (c < 0x10000) return {static_cast<S>(c)};
            return {static_cast<S>(0xD800 + ((c - 0x10000) >> 10)), static_cast<S>(0xDC00 + (c & 0x3FF))};
        } else {
            return {static_cast<S>(c)};
        }
    }

    // Every class of ill-formed input the decoders tell apart.
    template <class S>
    std::vector<S> fault() {
        if constexpr (sizeof(S) == 1) {
            static const std::vector<std::vector<S>> all = {
                {0x80},       {0xBF},       {0xC0, 0x80},       {0xC1, 0xBF},       {0xE0, 0x9F, 0x80},
                {0xED, 0xA0, 0x80}, {0xF0, 0x8F, 0x80, 0x80}, {0xF4, 0x90, 0x80, 0x80}, {0xF5, 0x80, 0x80, 0x80},
                {0xFF},       {0xE2, 0x82}, {0xF0, 0x9F, 0x98}, {0xC3},             {0xC3, 0xC3},
                {0xE2, 0x41}, {0xF0, 0x9F, 0x41}};
            return all[below(static_cast<unsigned>(all.size()))];
        } else if constexpr (sizeof(S) == 2) {
            static const std::vector<std::vector<S>> all = {{0xD800}, {0xDC00}, {0xDBFF, 0x41}, {0xDFFF, 0xD800}};
            return all[below(static_cast<unsigned>(all.size()))];
        } else {
            static const std::vector<std::vector<S>> all = {{0xD800}, {0xDFFF}, {0x110000}, {0xFFFFFFFF}, {0x80000000}};
            return all[below(static_cast<unsigned>(all.size()))];
        }
    }

    std::mt19937 rng_;
};

// ---- the cores -------------------------------------------------------------------

template <class D>
std::string describe(const Outcome<D>& o) {
    std::string s = "result " + std::to_string(o.result) + ", consumed " + std::to_string(o.consumed) +
                    ", written " + std::to_string(o.written) + ", buffer";
    for (D u : o.buffer) s += " " + std::to_string(static_cast<u32>(static_cast<std::make_unsigned_t<D>>(u)));
    return s;
}

template <class P>
void compareKind(Kind kind, const std::vector<core::SrcOf<P>>& input, std::size_t room,
                 const std::vector<const simd::Kernels*>& sets, const char* pair) {
    const auto expected = run<P>(kind, input, room, core::NoBulk<P>());
    for (const simd::Kernels* k : sets) {
        const auto got = run<P>(kind, input, room, core::Bulk<P>(*k));
        ASSERT_TRUE(got == expected) << pair << " " << isaName(k->isa) << " kind " << static_cast<int>(kind)
                                     << " input of " << input.size() << " units, room " << room
                                     << "\n  per character: " << describe(expected) << "\n  with kernels:  "
                                     << describe(got);
    }
}

// Every kind of P's cores on generated texts of every flavour and length,
// each at every output size up to two units beyond what it needs.
template <class P, bool kHasFill = true>
void compareCores(const char* pair, unsigned seed) {
    const auto sets = vectorSets();
    if (sets.empty()) GTEST_SKIP() << "no vector kernels in this build or on this CPU";
    using S = core::SrcOf<P>;
    TextGen gen(seed);
    for (int f = 0; f < kFlavours; ++f) {
        for (unsigned i = 0; i < 24; ++i) {
            const std::size_t chars = i < 8 ? i * 3 : gen.below(i < 20 ? 90 : 400);
            const std::vector<S> input = gen.text<S>(static_cast<Flavour>(f), chars, i % 3 == 0 ? 0 : gen.below(3));
            compareKind<P>(Kind::Measure, input, 0, sets, pair);
            unsigned int need = 0;
            const S* cursor = input.data();
            core::measureRun<P>(&need, &cursor, input.data() + input.size(), core::NoBulk<P>());
            // With a fault the run stops early; the sizes past it still count.
            const std::size_t largest = need + 2 + (cursor != input.data() + input.size() ? 8 : 0);
            for (std::size_t room = 0; room <= largest; ++room) {
                if (room > 0) compareKind<P>(Kind::Safe, input, room, sets, pair);
                if constexpr (kHasFill) compareKind<P>(Kind::Fill, input, room, sets, pair);
                if (room > 0 && room <= 64) compareKind<P>(Kind::Alloc, input, room, sets, pair);
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

TEST(SimdCores, Utf8ToUtf16) { compareCores<policy::Utf8ToUtf16>("UTF-8 -> UTF-16", 1); }
TEST(SimdCores, Utf8ToUtf32) { compareCores<policy::Utf8ToUtf32>("UTF-8 -> UTF-32", 2); }
TEST(SimdCores, Utf16ToUtf8) { compareCores<policy::Utf16ToUtf8>("UTF-16 -> UTF-8", 3); }
TEST(SimdCores, Utf16ToUtf32) { compareCores<policy::Utf16ToUtf32, false>("UTF-16 -> UTF-32", 4); }
TEST(SimdCores, Utf32ToUtf8) { compareCores<policy::Utf32ToUtf8>("UTF-32 -> UTF-8", 5); }
TEST(SimdCores, Utf32ToUtf16) { compareCores<policy::Utf32ToUtf16>("UTF-32 -> UTF-16", 6); }

// Surrogate pairs at the edges of the kernels' 32-unit steps (the pair's
// high half in a step's last lane, its low half the first unit of the next
// step or of what the kernel leaves), followed by what may end the kernel
// there: the text's end, ill-formed units, more text. From leads of 13 and
// 29 the units after the pair put a high surrogate, lone or not, in the last
// lane of a 16-unit block.
template <class P, bool kHasFill>
void comparePairsAtStepEdges(const char* pair) {
    const auto sets = vectorSets();
    if (sets.empty()) GTEST_SKIP() << "no vector kernels in this build or on this CPU";
    const std::vector<u16> tails[] = {{},       {0xD800},         {0xDC00}, {0xD83D, 0x41},
                                      {0xD83D, 0xDE00}, std::vector<u16>(40, 0x62)};
    for (std::size_t lead : {13, 29, 30, 31, 32, 33, 62, 63, 64, 95}) {
        for (const auto& tail : tails) {
            std::vector<u16> input(lead, 0x61);
            input.insert(input.end(), {0xD83D, 0xDE00});
            input.insert(input.end(), tail.begin(), tail.end());
            compareKind<P>(Kind::Measure, input, 0, sets, pair);
            for (std::size_t room = 1; room <= 4 * input.size() + 2; ++room) {
                compareKind<P>(Kind::Safe, input, room, sets, pair);
                if constexpr (kHasFill) compareKind<P>(Kind::Fill, input, room, sets, pair);
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

TEST(SimdCores, SurrogatePairsAtStepEdges) {
    comparePairsAtStepEdges<policy::Utf16ToUtf8, true>("UTF-16 -> UTF-8");
    comparePairsAtStepEdges<policy::Utf16ToUtf32, false>("UTF-16 -> UTF-32");
}

// ---- the walker kernels ---------------------------------------------------------

template <class U>
bool isPlain(U u) {
    const u32 v = static_cast<u32>(u);
    return v >= 2 && v <= 0x7F;
}

// The one-unit-at-a-time definitions. `end` may be null: then a zero unit ends.
template <class U>
const U* stopOf(const U* p, const U* end) {
    while (p != end && static_cast<u32>(*p) > 1) ++p;
    return p;
}
template <class U>
const U* specialOf(const U* p, const U* end) {
    while (p != end && isPlain(*p)) ++p;
    return p;
}

// Units of a walker test string: mostly plain, with the units at the edges
// of plain (0x02, 0x7F) now and then, and every kind of unit the walkers stop
// at, the values next to those edges first among them.
template <class U>
std::vector<U> walkerText(TextGen& gen, std::size_t n, unsigned stopEvery) {
    static const u32 edges[] = {0x02, 0x7F, 0x01, 0x80, 0x81, 0xFF, 0x100, 0xFFFF, 0x10000, 0xFFFFFFFF};
    std::vector<U> v(n);
    for (U& u : v) {
        const unsigned r = gen.below(stopEvery);
        if (r < 2) {
            u = static_cast<U>(edges[gen.below(sizeof edges / sizeof edges[0])]);
            if (u == 0) u = 1;  // a truncated edge value; zero units end the text elsewhere
        } else {
            u = static_cast<U>(2 + gen.below(0x7E));
        }
    }
    return v;
}

template <class S, class D>
void compareWalkerKernels(unsigned seed) {
    const auto sets = vectorSets();
    if (sets.empty()) GTEST_SKIP() << "no vector kernels in this build or on this CPU";
    TextGen gen(seed);
    for (unsigned i = 0; i < 300; ++i) {
        const std::size_t n = 1 + gen.below(i < 100 ? 40 : i < 250 ? 300 : 1500);
        std::vector<S> text = walkerText<S>(gen, n, i % 3 == 0 ? 40 : i % 3 == 1 ? 400 : 100000);
        text.back() = 0;  // a terminated string: walks with a null end stop here
        const auto block = heapCopy(text);
        const S* const begin = block.get();
        const std::size_t from = gen.below(static_cast<unsigned>(n));
        const S* const ends[] = {nullptr, begin + from + gen.below(static_cast<unsigned>(n - from)), begin + n - 1};
        for (const S* end : ends) {
            for (const simd::Kernels* k : sets) {
                const auto scan = simd::scanKernels<S>(*k);
                ASSERT_EQ(scan.findStop(begin + from, end), stopOf(begin + from, end)) << isaName(k->isa) << " " << i;
                ASSERT_EQ(scan.findSpecial(begin + from, end), specialOf(begin + from, end))
                    << isaName(k->isa) << " " << i;
                const std::size_t plain = static_cast<std::size_t>(specialOf(begin + from, end) - (begin + from));
                for (std::size_t room = 0; room <= plain + 1; room += (room < 70 ? 1 : 13)) {
                    std::vector<D> expect(room + 1, static_cast<D>(0x5A)), got = expect;
                    const std::size_t copied = plain < room ? plain : room;
                    for (std::size_t j = 0; j < copied; ++j) expect[j] = static_cast<D>(begin[from + j]);
                    const S* p = begin + from;
                    D* o = got.data();
                    simd::copyPlain<S, D>(*k)(&p, end, &o, got.data() + room);
                    ASSERT_EQ(p - (begin + from), static_cast<std::ptrdiff_t>(copied)) << isaName(k->isa) << " " << i;
                    ASSERT_EQ(o - got.data(), static_cast<std::ptrdiff_t>(copied));
                    ASSERT_EQ(got, expect) << isaName(k->isa) << " " << i << " room " << room;
                }
            }
        }
    }
}

TEST(SimdWalkers, Utf8ToUtf16) { compareWalkerKernels<u8, u16>(11); }
TEST(SimdWalkers, Utf8ToUtf32) { compareWalkerKernels<u8, u32>(12); }
TEST(SimdWalkers, Utf16ToUtf8) { compareWalkerKernels<u16, char>(13); }
TEST(SimdWalkers, Utf16ToUtf32) { compareWalkerKernels<u16, u32>(14); }
TEST(SimdWalkers, Utf32ToUtf8) { compareWalkerKernels<u32, char>(15); }
TEST(SimdWalkers, Utf32ToUtf16) { compareWalkerKernels<u32, u16>(16); }

// convertText against the per-character code: what it takes is a prefix of
// whole characters that the fill converter converts to exactly the units
// written, with nothing written beyond them, no zero unit or 0x01 and nothing
// past `end` taken, and the output end respected; it reports where the last
// unit from 0x80 that it took ends; on well-formed text it takes every
// character up to the first zero unit or 0x01 (or `end`) whose output fits.
template <class P>
void compareTextKernel(unsigned seed) {
    using S = core::SrcOf<P>;
    using D = core::DstOf<P>;
    const auto sets = vectorSets();
    TextGen gen(seed);
    std::size_t checked = 0;
    for (int f = 0; f < kFlavours; ++f) {
        for (unsigned i = 0; i < 30; ++i) {
            const bool faults = i % 3 == 2;
            std::vector<S> text = gen.text<S>(static_cast<Flavour>(f), gen.below(i < 10 ? 40 : 500), faults ? 1 : 0);
            // Now and then a unit becomes 0x01, which may cut a character.
            const bool cut = i % 4 == 1 && !text.empty();
            if (cut) text[gen.below(static_cast<unsigned>(text.size()))] = static_cast<S>(1);
            const bool wellFormed = !faults && !cut;
            text.push_back(0);
            const auto block = heapCopy(text);
            const S* const begin = block.get();
            const std::size_t n = text.size() - 1;
            // The reference: what the fill converter makes of the text before
            // the first zero unit or 0x01.
            std::size_t stop = 0;
            while (stop < n && static_cast<u32>(begin[stop]) > 1) ++stop;
            for (const simd::Kernels* k : sets) {
                const auto kernel = simd::convertText<S, D>(*k);
                if (kernel == nullptr) continue;
                for (const S* end : {static_cast<const S*>(nullptr), begin + n, begin + gen.below(static_cast<unsigned>(n + 1))}) {
                    for (std::size_t room : {std::size_t{0}, std::size_t{3}, std::size_t{gen.below(200)}, 4 * n + 8}) {
                        std::vector<D> out(room + 1, static_cast<D>(0x5A));
                        const S* p = begin;
                        D* o = out.data();
                        const S* lastOther = nullptr;
                        kernel(&p, end, &o, out.data() + room, &lastOther);
                        const std::size_t taken = static_cast<std::size_t>(p - begin);
                        const S* expectOther = nullptr;
                        for (const S* u = begin; u != p; ++u)
                            if (static_cast<u32>(*u) >= 0x80) expectOther = u + 1;
                        ASSERT_EQ(lastOther, expectOther) << isaName(k->isa) << ": where the last non-ASCII unit ends";
                        const std::size_t written = static_cast<std::size_t>(o - out.data());
                        const std::size_t limit = end == nullptr ? stop : std::min(stop, static_cast<std::size_t>(end - begin));
                        ASSERT_LE(taken, limit) << isaName(k->isa);
                        ASSERT_LE(written, room);
                        std::vector<D> expect(written + 8, static_cast<D>(0x5A));
                        const S* q = begin;
                        D* w = expect.data();
                        const int r = core::convertFill<P>(&w, expect.data() + expect.size(), &q, begin + taken,
                                                           core::NoBulk<P>());
                        ASSERT_GE(r, 0) << isaName(k->isa) << ": took an ill-formed character";
                        ASSERT_EQ(q, begin + taken) << isaName(k->isa) << ": stopped inside a character";
                        ASSERT_EQ(static_cast<std::size_t>(w - expect.data()), written) << isaName(k->isa);
                        for (std::size_t j = 0; j < written; ++j) ASSERT_EQ(out[j], expect[j]) << isaName(k->isa);
                        for (std::size_t j = written; j <= room; ++j) ASSERT_EQ(out[j], static_cast<D>(0x5A));
                        if (wellFormed) {
                            // Every character that fits, however little room is left.
                            std::vector<D> fitted(room + 1);
                            const S* f = begin;
                            D* fo = fitted.data();
                            core::convertFill<P>(&fo, fitted.data() + room, &f, begin + limit, core::NoBulk<P>());
                            ASSERT_EQ(p, f) << isaName(k->isa) << ": stopped early in well-formed text, room " << room;
                        }
                        ++checked;
                    }
                }
            }
        }
    }
    if (checked == 0) GTEST_SKIP() << "no text kernels in this build or on this CPU";
}

TEST(SimdText, Utf8ToUtf16) { compareTextKernel<policy::Utf8ToUtf16>(21); }
TEST(SimdText, Utf8ToUtf32) { compareTextKernel<policy::Utf8ToUtf32>(22); }
TEST(SimdText, Utf16ToUtf8) { compareTextKernel<policy::Utf16ToUtf8>(23); }
TEST(SimdText, Utf16ToUtf32) { compareTextKernel<policy::Utf16ToUtf32>(24); }
TEST(SimdText, Utf32ToUtf8) { compareTextKernel<policy::Utf32ToUtf8>(25); }
TEST(SimdText, Utf32ToUtf16) { compareTextKernel<policy::Utf32ToUtf16>(26); }

// Zero-terminated strings (null end) that end on the last unit before an
// inaccessible page: the walker kernels must find the zero without touching
// that page, from every start position near it.
template <class S, class D>
void walkToPageEnd() {
    const auto sets = vectorSets();
    if (sets.empty()) GTEST_SKIP() << "no vector kernels in this build or on this CPU";
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* map = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(map, MAP_FAILED);
    ASSERT_EQ(mprotect(static_cast<char*>(map) + page, page, PROT_NONE), 0);
    S* const pageEnd = reinterpret_cast<S*>(static_cast<char*>(map) + page);
    const std::size_t n = 1000;  // several whole vectors before the page end
    S* const begin = pageEnd - n;
    for (std::size_t i = 0; i < n; ++i) begin[i] = static_cast<S>('a' + i % 26);
    pageEnd[-1] = 0;
    std::vector<D> out(n);
    for (const simd::Kernels* k : sets) {
        for (std::size_t from = 0; from < n; ++from) {
            ASSERT_EQ(simd::scanKernels<S>(*k).findStop(begin + from, nullptr), pageEnd - 1);
            ASSERT_EQ(simd::scanKernels<S>(*k).findSpecial(begin + from, nullptr), pageEnd - 1);
            const S* p = begin + from;
            D* o = out.data();
            simd::copyPlain<S, D>(*k)(&p, nullptr, &o, out.data() + n);
            ASSERT_EQ(p, pageEnd - 1) << isaName(k->isa);
            if (const auto text = simd::convertText<S, D>(*k)) {
                std::vector<D> wide(4 * n);  // room for the worst case
                p = begin + from;
                o = wide.data();
                const S* lastOther = nullptr;
                text(&p, nullptr, &o, wide.data() + wide.size(), &lastOther);
                ASSERT_EQ(p, pageEnd - 1) << isaName(k->isa);
            }
        }
    }
    munmap(map, 2 * page);
}

TEST(SimdWalkers, StopAtTheLastUnitBeforeAnInaccessiblePage) {
    walkToPageEnd<u8, u16>();
    walkToPageEnd<u16, char>();
    walkToPageEnd<u32, u16>();
}

}  // namespace
