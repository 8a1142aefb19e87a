// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

#include "qel/qelchars.h"
#include "check.h"

namespace {

using Units = std::vector<unsigned int>;

Units z(Units u) {  // zero-terminated copy
    u.push_back(0);
    return u;
}

constexpr unsigned int kPoison = 0xAAAAAAAAu;

TEST(Utf32Strings, FillRefusesValuesThatAreNoCodePoint) {
    struct Case { unsigned int c; size_t n; bool fills; };
    const Case cases[] = {{0xD800, 0, true}, {0xD800, 1, false}, {0xDFFF, 2, false}, {0x110000, 1, false},
                          {0x10FFFF, 3, true}, {0xE000, 2, true}};
    for (const Case& c : cases) {
        Units dst(4, kPoison);
        errno = 0;
        EXPECT_EQ(qel_u32mset(dst.data(), c.c, c.n), c.fills ? dst.data() : nullptr) << std::hex << c.c;
        EXPECT_EQ(errno, c.fills ? 0 : EILSEQ);
        for (size_t i = 0; i < 4; ++i) EXPECT_EQ(dst[i], c.fills && i < c.n ? c.c : kPoison);
    }
}

TEST(Utf32Strings, BoundedCopyAndConcatenationPadding) {
    struct Case { Units src; size_t n; Units written; size_t pEnd; };  // written: the first n units
    const Case cases[] = {{{0x41, 0x1F600}, 5, {0x41, 0x1F600, 0, 0, 0}, 2}, {{1, 2, 3, 4, 5}, 3, {1, 2, 3}, 3},
                          {{}, 2, {0, 0}, 0}, {{1, 2}, 0, {}, 0}};
    for (const Case& c : cases) {
        const Units src = z(c.src);
        Units a(8, kPoison), b(8, kPoison), expected = c.written;
        expected.resize(8, kPoison);  // nothing past n units, no terminator when src fills them
        EXPECT_EQ(qel_u32sncpy(a.data(), src.data(), c.n), a.data());
        EXPECT_EQ(qel_u32spncpy(b.data(), src.data(), c.n), b.data() + c.pEnd);
        EXPECT_EQ(a, expected);
        EXPECT_EQ(b, expected);
    }
    const Units src = z({1, 2, 3});
    for (size_t n : {0, 2, 3, 9}) {
        Units dst = {7, 0, kPoison, kPoison, kPoison, kPoison};
        EXPECT_EQ(qel_u32sncat(dst.data(), src.data(), n), dst.data());
        Units expected = {7, 1, 2, 3};
        expected.resize(1 + std::min<size_t>(n, 3));
        expected = z(expected);
        expected.resize(6, kPoison);
        EXPECT_EQ(dst, expected) << "n " << n;
    }
    Units dst(8, kPoison);
    EXPECT_EQ(qel_u32spcpy(dst.data(), src.data()), dst.data() + 3);
    EXPECT_EQ(qel_u32scat(dst.data(), src.data()), dst.data());
    EXPECT_EQ(dst, Units({1, 2, 3, 1, 2, 3, 0, kPoison}));
}

TEST(Utf32Strings, ComparisonsAreWrapAroundDifferences) {
    struct Case { Units a, b; size_t n; int cmp, ncmp; };  // qel_u32mcmp(n) == ncmp as well
    const Case cases[] = {{{0x10FFFF}, {0x41}, 1, 0x10FFBE, 0x10FFBE}, {{0xFFFFFFFF}, {0}, 1, -1, -1},
                          {{1, 2}, {1, 3}, 1, -1, 0}, {{1, 2}, {1}, 2, 2, 2}};
    for (const Case& c : cases) {
        const Units a = z(c.a), b = z(c.b);
        EXPECT_EQ(qel_u32scmp(a.data(), b.data()), c.cmp);
        EXPECT_EQ(qel_u32sncmp(a.data(), b.data(), c.n), c.ncmp);
        EXPECT_EQ(qel_u32mcmp(a.data(), b.data(), c.n), c.ncmp);
    }
}

TEST(Utf32Strings, SearchesTakeAnyUnitWithoutError) {
    const Units s = z({0x41, 0xD800, 0x42, 0xD800, 0x110000});
    auto at = [&](const unsigned int* p) { return p == nullptr ? -1 : long(p - s.data()); };
    struct Case { unsigned int c; long first, last; };
    const Case cases[] = {{0x41, 0, 0}, {0xD800, 1, 3}, {0x110000, 4, 4}, {0, 5, 5}, {0x43, -1, -1}};
    errno = 0;
    for (const Case& c : cases) {
        EXPECT_EQ(at(qel_u32schr(s.data(), c.c)), c.first) << std::hex << c.c;
        EXPECT_EQ(at(qel_u32srchr(s.data(), c.c)), c.last) << std::hex << c.c;
    }
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(at(qel_u32mchr(s.data(), 0, 6)), 5);
    EXPECT_EQ(at(qel_u32sstr(s.data(), z({0xD800, 0x110000}).data())), 3);
    EXPECT_EQ(at(qel_u32sstr(s.data(), z({0x42, 0x43}).data())), -1);
}

TEST(Utf32Strings, SpanBreakAndTokenizeOnUnits) {
    struct Case { Units s, set; size_t spn, cspn; long pbrk; };
    const Case cases[] = {{{7, 7, 8}, {7}, 2, 0, 0}, {{8, 9}, {7}, 0, 2, -1}, {{4, 3, 1}, {2, 1}, 0, 2, 2},
                          {{0xD800, 0x110000, 5}, {0x110000, 0xD800}, 2, 0, 0}};
    for (const Case& c : cases) {
        const Units s = z(c.s), set = z(c.set);
        EXPECT_EQ(qel_u32sspn(s.data(), set.data()), c.spn);
        EXPECT_EQ(qel_u32scspn(s.data(), set.data()), c.cspn);
        const unsigned int* p = qel_u32spbrk(s.data(), set.data());
        EXPECT_EQ(p == nullptr ? -1 : long(p - s.data()), c.pbrk);
    }
    Units buf = z({0x2C, 0x41, 0x2C, 0x2C, 0x42});
    const Units delim = z({0x2C});
    unsigned int* ctx = nullptr;
    EXPECT_EQ(qel_u32stok(buf.data(), delim.data(), &ctx), buf.data() + 1);
    EXPECT_EQ(buf[2], 0u);
    EXPECT_EQ(ctx, buf.data() + 3);
    EXPECT_EQ(qel_u32stok(nullptr, delim.data(), &ctx), buf.data() + 4);
    EXPECT_EQ(ctx, nullptr);
    EXPECT_EQ(qel_u32stok(nullptr, delim.data(), &ctx), nullptr);
}

TEST(Utf32Strings, DuplicatesUseTheirOwnAllocators) {
    namespace provider = qelfuzz::provider;
    provider::reset();
    const Units s = z({0x41, 0x42});
    unsigned int* copy = qel_u32sdup(s.data());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Units(copy, copy + 3), s);
    EXPECT_EQ(provider::allocCalls(), 0u);
    std::free(copy);  // from malloc

    for (size_t n : {5, 1, 0}) {
        unsigned int* block = qel_u32sndup(s.data(), n);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(qelentBlockBytes(block), (n + 1) * 4);
        Units expected = {0x41, 0x42, 0, 0, 0, 0};
        expected.resize(n + 1);
        expected[n] = 0;
        EXPECT_EQ(Units(block, block + n + 1), expected);  // n + 1 units, all defined
        qelStrFree(block);
    }
    EXPECT_EQ(provider::requests().allocs, (std::vector<unsigned int>{24, 8, 4}));
    provider::failAllocAbove(1);
    EXPECT_EQ(qel_u32sndup(s.data(), 1), nullptr);
    EXPECT_EQ(qel_u32sndup(s.data(), 0x3FFFFFFFu), nullptr);  // no 32-bit request can hold it
    EXPECT_EQ(provider::allocCalls(), 4u);
    provider::reset();
}

}  // namespace
