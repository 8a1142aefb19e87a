#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "qel/qelchars.h"
#include "support/test_provider.h"

namespace {

using Units = std::vector<unsigned int>;

// A zero-terminated copy of the units.
Units z(Units u) {
    u.push_back(0);
    return u;
}

constexpr unsigned int kPoison = 0xAAAAAAAAu;

TEST(Utf32Strings, FillRefusesValuesThatAreNoCodePoint) {
    struct Case {
        unsigned int c;
        size_t n;
        bool fills;
    };
    const Case cases[] = {
        {0xD800, 0, true},  // n 0: the value is not looked at
        {0x110000, 0, true},
        {0xD800, 1, false},
        {0xDFFF, 2, false},
        {0x110000, 1, false},
        {0xFFFFFFFF, 1, false},
        {0x10FFFF, 3, true},
        {0xE000, 2, true},
        {0x0, 2, true},
    };
    for (const Case& c : cases) {
        Units dst(4, kPoison);
        errno = 0;
        unsigned int* r = qel_u32mset(dst.data(), c.c, c.n);
        if (c.fills) {
            EXPECT_EQ(r, dst.data()) << std::hex << c.c;
            EXPECT_EQ(errno, 0);
            for (size_t i = 0; i < 4; ++i) EXPECT_EQ(dst[i], i < c.n ? c.c : kPoison);
        } else {
            EXPECT_EQ(r, nullptr) << std::hex << c.c;
            EXPECT_EQ(errno, EILSEQ);
            EXPECT_EQ(dst, Units(4, kPoison));
        }
    }
}

TEST(Utf32Strings, BoundedCopiesPadWithZerosOrLeaveNoTerminator) {
    struct Case {
        Units src;
        size_t n;
        Units written;  // the first n units of dst afterwards
        size_t pEnd;    // offset returned by qel_u32spncpy
    };
    const Case cases[] = {
        {{0x41, 0x1F600}, 5, {0x41, 0x1F600, 0, 0, 0}, 2},
        {{1, 2, 3, 4, 5}, 3, {1, 2, 3}, 3},
        {{1, 2, 3}, 3, {1, 2, 3}, 3},
        {{}, 2, {0, 0}, 0},
        {{1, 2}, 0, {}, 0},
    };
    for (const Case& c : cases) {
        const Units src = z(c.src);
        Units a(8, kPoison), b(8, kPoison);
        EXPECT_EQ(qel_u32sncpy(a.data(), src.data(), c.n), a.data());
        EXPECT_EQ(qel_u32spncpy(b.data(), src.data(), c.n), b.data() + c.pEnd);
        Units expected = c.written;
        expected.resize(8, kPoison);  // nothing written past n units
        EXPECT_EQ(a, expected) << "n " << c.n;
        EXPECT_EQ(b, expected) << "n " << c.n;
    }
}

TEST(Utf32Strings, CopyAndConcatenateKeepTheTerminator) {
    const Units src = z({0xD800, 0x110000, 0x41});  // nothing is validated
    Units dst(8, kPoison);
    EXPECT_EQ(qel_u32spcpy(dst.data(), src.data()), dst.data() + 3);
    EXPECT_EQ(qel_u32scpy(dst.data(), src.data()), dst.data());
    EXPECT_EQ(Units(dst.begin(), dst.begin() + 4), src);
    EXPECT_EQ(dst[4], kPoison);

    Units cat = z({1, 2});
    cat.resize(10, kPoison);
    EXPECT_EQ(qel_u32scat(cat.data(), src.data()), cat.data());
    EXPECT_EQ(Units(cat.begin(), cat.begin() + 6), z({1, 2, 0xD800, 0x110000, 0x41}));
    EXPECT_EQ(cat[6], kPoison);
}

TEST(Utf32Strings, BoundedConcatenationAlwaysTerminates) {
    struct Case {
        size_t n;
        Units result;  // dst afterwards, up to its terminator
    };
    const Case cases[] = {
        {0, {7}},
        {1, {7, 1}},
        {2, {7, 1, 2}},
        {3, {7, 1, 2, 3}},
        {9, {7, 1, 2, 3}},
    };
    const Units src = z({1, 2, 3});
    for (const Case& c : cases) {
        Units dst = z({7});
        dst.resize(8, kPoison);
        EXPECT_EQ(qel_u32sncat(dst.data(), src.data(), c.n), dst.data());
        const Units expected = z(c.result);
        EXPECT_EQ(Units(dst.begin(), dst.begin() + expected.size()), expected) << "n " << c.n;
        EXPECT_EQ(dst[expected.size()], kPoison);
    }
}

TEST(Utf32Strings, LengthsAndComparisons) {
    const Units s = z({5, 6, 7});
    EXPECT_EQ(qel_u32slen(s.data()), 3u);
    EXPECT_EQ(qel_u32snlen(s.data(), 2), 2u);
    EXPECT_EQ(qel_u32snlen(s.data(), 9), 3u);

    struct Case {
        Units a, b;
        size_t n;
        int cmp, ncmp, mcmp;  // qel_u32scmp, qel_u32sncmp(n), qel_u32mcmp(n)
    };
    const Case cases[] = {
        // wrap-around difference of unsigned units
        {{0x10FFFF}, {0x41}, 1, 0x10FFBE, 0x10FFBE, 0x10FFBE},
        {{0x41}, {0x10FFFF}, 1, -0x10FFBE, -0x10FFBE, -0x10FFBE},
        {{0xFFFFFFFF}, {0}, 1, -1, -1, -1},
        {{1, 2}, {1, 3}, 1, -1, 0, 0},
        {{1, 2}, {1}, 2, 2, 2, 2},
        {{1}, {1, 2}, 5, -2, -2, -2},
        {{4, 4}, {4, 4}, 3, 0, 0, 0},
        {{9}, {1}, 0, 8, 0, 0},
    };
    for (const Case& c : cases) {
        const Units a = z(c.a), b = z(c.b);
        EXPECT_EQ(qel_u32scmp(a.data(), b.data()), c.cmp);
        EXPECT_EQ(qel_u32sncmp(a.data(), b.data(), c.n), c.ncmp);
        EXPECT_EQ(qel_u32mcmp(a.data(), b.data(), c.n), c.mcmp);
    }
}

TEST(Utf32Strings, SearchesTakeAnyUnitWithoutError) {
    const Units s = z({0x41, 0xD800, 0x42, 0xD800, 0x110000});
    struct Case {
        unsigned int c;
        long first, last;  // offsets, -1 for null
    };
    const Case cases[] = {
        {0x41, 0, 0}, {0xD800, 1, 3}, {0x110000, 4, 4}, {0, 5, 5}, {0x43, -1, -1},
    };
    auto at = [&](const unsigned int* p) { return p == nullptr ? -1 : long(p - s.data()); };
    for (const Case& c : cases) {
        errno = 0;
        EXPECT_EQ(at(qel_u32schr(s.data(), c.c)), c.first) << std::hex << c.c;
        EXPECT_EQ(at(qel_u32srchr(s.data(), c.c)), c.last) << std::hex << c.c;
        EXPECT_EQ(errno, 0);
    }
    EXPECT_EQ(qel_u32schr(nullptr, 0x41), nullptr);
    EXPECT_EQ(qel_u32srchr(nullptr, 0x41), nullptr);

    // Counted search looks at the zero units too.
    EXPECT_EQ(at(qel_u32mchr(s.data(), 0, 6)), 5);
    EXPECT_EQ(at(qel_u32mchr(s.data(), 0xD800, 1)), -1);
    EXPECT_EQ(at(qel_u32mchr(s.data(), 0x41, 0)), -1);

    const Units none = z({}), one = z({0xD800}), two = z({0x42, 0xD800}), far = z({0x42, 0x43});
    EXPECT_EQ(at(qel_u32sstr(s.data(), none.data())), 0);
    EXPECT_EQ(at(qel_u32sstr(s.data(), nullptr)), 0);
    EXPECT_EQ(at(qel_u32sstr(s.data(), one.data())), 1);
    EXPECT_EQ(at(qel_u32sstr(s.data(), two.data())), 2);
    EXPECT_EQ(at(qel_u32sstr(s.data(), far.data())), -1);
}

TEST(Utf32Strings, PrefixAndSuffixTests) {
    const Units s = z({1, 2, 3});
    struct Case {
        Units affix;
        int begins, ends;
    };
    const Case cases[] = {
        {{}, 1, 1}, {{1}, 1, 0}, {{3}, 0, 1}, {{1, 2, 3}, 1, 1}, {{1, 2, 3, 4}, 0, 0}, {{0x10001}, 0, 0},
    };
    for (const Case& c : cases) {
        const Units a = z(c.affix);
        EXPECT_EQ(qel_u32sBeginsWith(s.data(), a.data()), c.begins);
        EXPECT_EQ(qel_u32sEndsWith(s.data(), a.data()), c.ends);
    }
}

TEST(Utf32Strings, SpanAndBreakOnSingleUnitAndGeneralSets) {
    struct Case {
        Units s, set;
        size_t spn, cspn;
        long pbrk;  // -1 for null
    };
    const Case cases[] = {
        {{7, 7, 8}, {7}, 2, 0, 0},
        {{8, 7}, {7}, 0, 1, 1},
        {{8, 9}, {7}, 0, 2, -1},
        {{}, {7}, 0, 0, -1},
        {{1, 2, 3, 4}, {2, 1}, 2, 0, 0},
        {{4, 3, 1}, {2, 1}, 0, 2, 2},
        {{0xD800, 0x110000, 5}, {0x110000, 0xD800}, 2, 0, 0},  // any unit is a character
        {{1, 2}, {}, 0, 2, -1},
    };
    for (const Case& c : cases) {
        const Units s = z(c.s), set = z(c.set);
        EXPECT_EQ(qel_u32sspn(s.data(), set.data()), c.spn);
        EXPECT_EQ(qel_u32scspn(s.data(), set.data()), c.cspn);
        const unsigned int* p = qel_u32spbrk(s.data(), set.data());
        EXPECT_EQ(p == nullptr ? -1 : long(p - s.data()), c.pbrk);
    }
    const Units s = z({1, 2});
    EXPECT_EQ(qel_u32sspn(s.data(), nullptr), 0u);
    EXPECT_EQ(qel_u32scspn(s.data(), nullptr), 2u);
    EXPECT_EQ(qel_u32spbrk(s.data(), nullptr), nullptr);
}

TEST(Utf32Strings, TokenizerSplitsAtEachDelimiterUnit) {
    Units buf = z({0x2C, 0x41, 0x2C, 0x2C, 0x42});
    const Units delim = z({0x2C});
    unsigned int* ctx = nullptr;

    EXPECT_EQ(qel_u32stok(buf.data(), delim.data(), &ctx), buf.data() + 1);
    EXPECT_EQ(buf[2], 0u);
    EXPECT_EQ(ctx, buf.data() + 3);
    EXPECT_EQ(qel_u32stok(nullptr, delim.data(), &ctx), buf.data() + 4);
    EXPECT_EQ(ctx, nullptr);
    EXPECT_EQ(qel_u32stok(nullptr, delim.data(), &ctx), nullptr);
    EXPECT_EQ(ctx, nullptr);

    // Only delimiters: no token, context null; a general set splits at either unit.
    Units only = z({0x2C, 0x2C});
    ctx = buf.data();
    EXPECT_EQ(qel_u32stok(only.data(), delim.data(), &ctx), nullptr);
    EXPECT_EQ(ctx, nullptr);
    Units mixed = z({1, 9, 2, 8, 3});
    const Units set = z({8, 9});
    EXPECT_EQ(qel_u32stok(mixed.data(), set.data(), &ctx), mixed.data());
    EXPECT_EQ(qel_u32stok(nullptr, set.data(), &ctx), mixed.data() + 2);
    EXPECT_EQ(qel_u32stok(nullptr, set.data(), &ctx), mixed.data() + 4);
    EXPECT_EQ(mixed, z({1, 0, 2, 0, 3}));
}

TEST(Utf32Strings, BlockCopyAndMoveHandleOverlap) {
    Units buf = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(qel_u32mmove(buf.data() + 1, buf.data(), 4), buf.data() + 1);
    EXPECT_EQ(buf, Units({1, 1, 2, 3, 4, 6}));
    EXPECT_EQ(qel_u32mmove(buf.data(), buf.data() + 2, 3), buf.data());
    EXPECT_EQ(buf, Units({2, 3, 4, 3, 4, 6}));
    Units dst(3, kPoison);
    EXPECT_EQ(qel_u32mcpy(dst.data(), buf.data(), 2), dst.data());
    EXPECT_EQ(dst, Units({2, 3, kPoison}));
    EXPECT_EQ(qel_u32mcpy(nullptr, nullptr, 0), nullptr);
}

TEST(Utf32Strings, DuplicateComesFromMalloc) {
    qeltest::ProviderScope provider;  // must see no request
    const Units s = z({0x1F600, 0xD800});
    unsigned int* copy = qel_u32sdup(s.data());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Units(copy, copy + 3), s);
    EXPECT_FALSE(provider.isLive(copy));
    std::free(copy);
    EXPECT_EQ(provider.allocs(), 0u);
}

TEST(Utf32Strings, BoundedDuplicateComesFromTheProviderPadded) {
    struct Case {
        Units s;
        size_t n;
        Units block;  // all n + 1 units
    };
    const Case cases[] = {
        {{0x41, 0x42}, 5, {0x41, 0x42, 0, 0, 0, 0}},
        {{0x41, 0x42}, 1, {0x41, 0}},
        {{0x41, 0x42}, 0, {0}},
        {{}, 2, {0, 0, 0}},
    };
    for (const Case& c : cases) {
        qeltest::ProviderScope provider;
        const Units s = z(c.s);
        unsigned int* copy = qel_u32sndup(s.data(), c.n);
        ASSERT_NE(copy, nullptr);
        EXPECT_TRUE(provider.isLive(copy));
        EXPECT_EQ(provider.allocSizes(), std::vector<unsigned int>{unsigned(4 * c.n + 4)});
        EXPECT_EQ(Units(copy, copy + c.n + 1), c.block);
        qelStrFree(copy);
    }
    qeltest::ProviderScope provider;
    provider.failAll();
    const Units s = z({1});
    EXPECT_EQ(qel_u32sndup(s.data(), 1), nullptr);
    // A count whose block no 32-bit request can describe is refused up front.
    EXPECT_EQ(qel_u32sndup(s.data(), 0x3FFFFFFFu), nullptr);
    EXPECT_EQ(provider.allocs(), 1u);
}

}  // namespace
