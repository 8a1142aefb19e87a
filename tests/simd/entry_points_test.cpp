// The bounded and errno-style entry points on texts long enough for the
// vector kernels to take part, at every output size and with every flag that
// changes the rules at the output's end, against the reference model of the
// fuzz targets (fuzz/model.cpp, which shares no code with the library). The
// walkers may take text in one pass where the walk would split it into plain
// units and runs; near the output's end, and for the success values that a
// run leaves, only the walk's own split gives the documented answers.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "model.h"
#include "qel/qelchars.h"
#include "qel/qelstr.h"

namespace {

using qelfuzz::Pair;
using qelref::Enc;
using qelref::Units;

constexpr std::uint32_t kFull = 0x1, kNoTerm = 0x2, kRaw = 0x40000000;

// Texts of 40..200 characters in one encoding: letters with runs of other
// characters of every size, now and then a control sequence, an ill-formed
// unit or a zero unit.
Units makeText(std::mt19937& rng, Enc enc, unsigned mix) {
    auto below = [&](unsigned n) { return static_cast<unsigned>(rng() % n); };
    std::vector<std::uint32_t> cps;
    const unsigned chars = 40 + below(160);
    for (unsigned i = 0; i < chars; ++i) {
        const unsigned r = below(100);
        if (r < 60 - mix * 15) cps.push_back('a' + below(26));
        else if (r < 75) cps.push_back(0xE0 + below(0x100));
        else if (r < 88) cps.push_back(0x4E00 + below(0x1000));
        else cps.push_back(0x1F600 + below(0x40));
        if (below(60) == 0) {  // a control sequence
            cps.push_back(1);
            for (unsigned k = below(5); k > 0; --k) cps.push_back('A' + below(26));
            cps.push_back(2);
        }
    }
    Units u;
    for (std::uint32_t c : cps) qelref::encodeAs(enc, c, u);
    if (below(6) == 0) u[below(static_cast<unsigned>(u.size()))] = enc == Enc::Utf8 ? 0xC3 : 0xDC00;  // ill-formed
    if (below(8) == 0) u[below(static_cast<unsigned>(u.size()))] = 0;                                 // ends early
    return u;
}

template <class T>
std::vector<T> typed(const Units& u) {
    std::vector<T> v;
    for (std::uint32_t x : u) v.push_back(static_cast<T>(x));
    v.push_back(0);
    return v;
}

template <class T>
std::uint32_t value(T u) {
    return sizeof(T) == 1 ? static_cast<unsigned char>(u) : static_cast<std::uint32_t>(u);
}

// Calls one bounded entry point with every output size up to a little past
// what the text needs and compares with the model.
template <class O, class I, class F>
void checkBounded(const char* name, const Pair& pair, F call, std::uint32_t flags, const Units& text) {
    const std::vector<I> in = typed<I>(text);
    const std::uint32_t inLen = static_cast<std::uint32_t>(text.size());
    const qelfuzz::BoundedOutcome need = qelfuzz::boundedCall(pair, text, false, inLen, true, 0, flags);
    for (std::uint32_t size = 1; size <= need.outLen + 3; ++size) {
        const qelfuzz::BoundedOutcome m = qelfuzz::boundedCall(pair, text, false, inLen, false, size, flags);
        std::vector<O> out(size + 4, static_cast<O>(0x5A));
        std::uint32_t len = 0xDEADBEEF;
        const int st = call(out.data(), size, &len, in.data(), inLen, flags);
        ASSERT_EQ(st, m.status) << name << " flags " << flags << " size " << size << " of " << text.size();
        ASSERT_EQ(len, m.outLen) << name << " flags " << flags << " size " << size;
        for (std::size_t i = 0; i < m.text.size(); ++i)
            ASSERT_EQ(value(out[i]), m.text[i]) << name << " flags " << flags << " size " << size << " unit " << i;
        if (m.terminator) {
            ASSERT_EQ(value(out[m.text.size()]), 0u) << name << " size " << size;
        }
        for (std::size_t i = size; i < out.size(); ++i) ASSERT_EQ(value(out[i]), 0x5Au) << name << " wrote past its buffer";
    }
}

template <class O, class I, class F>
void checkErrno(const char* name, Enc from, Enc to, F call, const Units& text) {
    const std::vector<I> in = typed<I>(text);
    const std::size_t need = qelref::textLength(text, text.size()) * 4 + 4;
    for (std::size_t n = 1; n <= need; n += 1 + n / 40) {
        const qelfuzz::ErrnoOutcome m = qelfuzz::errnoCall(from, to, text, false, false, n);
        std::vector<O> out(n + 4, static_cast<O>(0x5A));
        errno = 0;
        const std::size_t r = call(out.data(), in.data(), n);
        ASSERT_EQ(r, m.result) << name << " n " << n;
        if (m.setsEilseq) {
            ASSERT_EQ(errno, EILSEQ) << name;
        }
        for (std::size_t i = 0; i < m.text.size(); ++i) ASSERT_EQ(value(out[i]), m.text[i]) << name << " n " << n;
        if (m.terminator) {
            ASSERT_EQ(value(out[m.text.size()]), 0u) << name << " n " << n;
        }
    }
}

// The six pairs with their Ex entry points (the two without UTF-8 have none,
// and take no flags).
qelStrStatus u16u8(char* o, unsigned n, unsigned* l, const char16_t* i, unsigned il, unsigned f) {
    return qelStrUtf16ToUtf8Ex(o, n, l, i, il, f);
}
qelStrStatus u32u8(char* o, unsigned n, unsigned* l, const unsigned* i, unsigned il, unsigned f) {
    return qelStrUtf32ToUtf8Ex(o, n, l, i, il, f);
}
qelStrStatus u8u16(char16_t* o, unsigned n, unsigned* l, const char* i, unsigned il, unsigned f) {
    return qelStrUtf8ToUtf16Ex(o, n, l, i, il, f);
}
qelStrStatus u8u32(unsigned* o, unsigned n, unsigned* l, const char* i, unsigned il, unsigned f) {
    return qelStrUtf8ToUtf32Ex(o, n, l, i, il, f);
}
qelStrStatus u16u32(unsigned* o, unsigned n, unsigned* l, const char16_t* i, unsigned il, unsigned) {
    return qelStrUtf16ToUtf32(o, n, l, i, il);
}
qelStrStatus u32u16(char16_t* o, unsigned n, unsigned* l, const unsigned* i, unsigned il, unsigned) {
    return qelStrUtf32ToUtf16(o, n, l, i, il);
}

TEST(SimdEntryPoints, BoundedConversionsAtEveryOutputSize) {
    std::mt19937 rng(31);
    const std::uint32_t utf8Flags[] = {0, kNoTerm, kFull, kNoTerm | kFull, kRaw, kRaw | kNoTerm | kFull};
    for (unsigned i = 0; i < 24; ++i) {
        const unsigned mix = i % 4;
        for (std::uint32_t f : utf8Flags) {
            const bool raw = (f & kRaw) != 0;
            checkBounded<char, char16_t>("UTF-16 -> UTF-8", {Enc::Utf16, Enc::Utf8, raw}, u16u8, f,
                                         makeText(rng, Enc::Utf16, mix));
            checkBounded<char, unsigned>("UTF-32 -> UTF-8", {Enc::Utf32, Enc::Utf8, raw}, u32u8, f,
                                         makeText(rng, Enc::Utf32, mix));
            checkBounded<char16_t, char>("UTF-8 -> UTF-16", {Enc::Utf8, Enc::Utf16, raw}, u8u16, f,
                                         makeText(rng, Enc::Utf8, mix));
            checkBounded<unsigned, char>("UTF-8 -> UTF-32", {Enc::Utf8, Enc::Utf32, raw}, u8u32, f,
                                         makeText(rng, Enc::Utf8, mix));
            if (::testing::Test::HasFatalFailure()) return;
        }
        checkBounded<unsigned, char16_t>("UTF-16 -> UTF-32", {Enc::Utf16, Enc::Utf32, false}, u16u32, 0,
                                         makeText(rng, Enc::Utf16, mix));
        checkBounded<char16_t, unsigned>("UTF-32 -> UTF-16", {Enc::Utf32, Enc::Utf16, false}, u32u16, 0,
                                         makeText(rng, Enc::Utf32, mix));
        if (::testing::Test::HasFatalFailure()) return;
    }
}

// Surrogate pairs where the text kernel's 32-unit steps meet, followed by
// what may end a step there.
TEST(SimdEntryPoints, SurrogatePairsAtStepEdges) {
    const Units tails[] = {{}, {0xD800}, {0xDC00}, {0xD83D, 'b'}, {0xD83D, 0xDE00, 'c'}, Units(40, 'd')};
    for (std::size_t lead : {30, 31, 32, 33, 63, 64, 95}) {
        for (const Units& tail : tails) {
            Units text(lead, 'a');
            text.insert(text.end(), {0xD83D, 0xDE00});
            text.insert(text.end(), tail.begin(), tail.end());
            checkBounded<char, char16_t>("UTF-16 -> UTF-8", {Enc::Utf16, Enc::Utf8, false}, u16u8, 0, text);
            checkBounded<unsigned, char16_t>("UTF-16 -> UTF-32", {Enc::Utf16, Enc::Utf32, false}, u16u32, 0, text);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

// An allocating entry point against the model's whole conversion: texts of a
// few thousand units, so that the output crosses the chunks of the growing
// buffer.
template <class O, class I, class F>
void checkAlloc(const char* name, const Pair& pair, F call, std::uint32_t flags, const Units& text) {
    const std::vector<I> in = typed<I>(text);
    const qelref::Conversion c = qelfuzz::wholeConversion(pair, text, static_cast<std::uint32_t>(text.size()));
    const Units expect = qelref::joined(c);
    O* out = nullptr;
    unsigned len = 0;
    const int st = call(&out, &len, in.data(), static_cast<unsigned>(text.size()), flags);
    ASSERT_NE(out, nullptr) << name;
    EXPECT_EQ(st, c.bad ? qelStrBadInput : qelStrOk) << name;
    EXPECT_EQ(len, expect.size()) << name;
    for (std::size_t i = 0; i < expect.size() && i < len; ++i) {
        ASSERT_EQ(value(out[i]), expect[i]) << name << " unit " << i;
    }
    qelStrFree(out);
}

qelStrStatus a16u8(char** o, unsigned* l, const char16_t* i, unsigned il, unsigned f) {
    return qelStrUtf16ToUtf8AllocEx(o, l, i, il, f);
}
qelStrStatus a32u8(char** o, unsigned* l, const unsigned* i, unsigned il, unsigned f) {
    return qelStrUtf32ToUtf8AllocEx(o, l, i, il, f);
}
qelStrStatus a8u16(char16_t** o, unsigned* l, const char* i, unsigned il, unsigned f) {
    return qelStrUtf8ToUtf16AllocEx(o, l, i, il, f);
}
qelStrStatus a8u32(unsigned** o, unsigned* l, const char* i, unsigned il, unsigned f) {
    return qelStrUtf8ToUtf32AllocEx(o, l, i, il, f);
}
qelStrStatus a16u32(unsigned** o, unsigned* l, const char16_t* i, unsigned il, unsigned) {
    return qelStrUtf16ToUtf32Alloc(o, l, i, il);
}
qelStrStatus a32u16(char16_t** o, unsigned* l, const unsigned* i, unsigned il, unsigned) {
    return qelStrUtf32ToUtf16Alloc(o, l, i, il);
}

Units longText(std::mt19937& rng, Enc enc, unsigned mix) {
    Units u;
    while (u.size() < 3000) {
        Units part = makeText(rng, enc, mix);
        for (std::uint32_t& x : part)
            if (x == 0) x = 'z';  // one text, not several
        u.insert(u.end(), part.begin(), part.end());
    }
    return u;
}

TEST(SimdEntryPoints, AllocatingConversionsAcrossChunks) {
    std::mt19937 rng(33);
    for (unsigned i = 0; i < 8; ++i) {
        const unsigned mix = i % 4;
        for (std::uint32_t f : {0u, kRaw}) {
            const bool raw = f != 0;
            checkAlloc<char, char16_t>("UTF-16 -> UTF-8", {Enc::Utf16, Enc::Utf8, raw}, a16u8, f,
                                       longText(rng, Enc::Utf16, mix));
            checkAlloc<char, unsigned>("UTF-32 -> UTF-8", {Enc::Utf32, Enc::Utf8, raw}, a32u8, f,
                                       longText(rng, Enc::Utf32, mix));
            checkAlloc<char16_t, char>("UTF-8 -> UTF-16", {Enc::Utf8, Enc::Utf16, raw}, a8u16, f,
                                       longText(rng, Enc::Utf8, mix));
            checkAlloc<unsigned, char>("UTF-8 -> UTF-32", {Enc::Utf8, Enc::Utf32, raw}, a8u32, f,
                                       longText(rng, Enc::Utf8, mix));
        }
        checkAlloc<unsigned, char16_t>("UTF-16 -> UTF-32", {Enc::Utf16, Enc::Utf32, false}, a16u32, 0,
                                       longText(rng, Enc::Utf16, mix));
        checkAlloc<char16_t, unsigned>("UTF-32 -> UTF-16", {Enc::Utf32, Enc::Utf16, false}, a32u16, 0,
                                       longText(rng, Enc::Utf32, mix));
        if (::testing::Test::HasFatalFailure()) return;
    }
}

TEST(SimdEntryPoints, ErrnoStyleConversionsAtManyOutputSizes) {
    std::mt19937 rng(32);
    for (unsigned i = 0; i < 24; ++i) {
        const unsigned mix = i % 4;
        checkErrno<char, char16_t>("qel_u16stou8s", Enc::Utf16, Enc::Utf8, qel_u16stou8s, makeText(rng, Enc::Utf16, mix));
        checkErrno<char, unsigned>("qel_u32stou8s", Enc::Utf32, Enc::Utf8, qel_u32stou8s, makeText(rng, Enc::Utf32, mix));
        checkErrno<char16_t, char>("qel_u8stou16s", Enc::Utf8, Enc::Utf16, qel_u8stou16s, makeText(rng, Enc::Utf8, mix));
        checkErrno<unsigned, char>("qel_u8stou32s", Enc::Utf8, Enc::Utf32, qel_u8stou32s, makeText(rng, Enc::Utf8, mix));
        checkErrno<unsigned, char16_t>("qel_u16stou32s", Enc::Utf16, Enc::Utf32, qel_u16stou32s,
                                       makeText(rng, Enc::Utf16, mix));
        checkErrno<char16_t, unsigned>("qel_u32stou16s", Enc::Utf32, Enc::Utf16, qel_u32stou16s,
                                       makeText(rng, Enc::Utf32, mix));
        if (::testing::Test::HasFatalFailure()) return;
    }
}

}  // namespace
