#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "qel/qelchars.h"

namespace {

using U16 = std::u16string;

long at(const U16& s, const char16_t* p) { return p == nullptr ? -1 : long(p - s.c_str()); }

constexpr int kKept = -5;  // errno value that a call must leave alone

TEST(Utf16Strings, CodePointSearchesNeverSetErrno) {
    struct Case { U16 s; unsigned int c; long first, last; };
    const Case cases[] = {
        {u"A\xD83D\xDE00", 0x1F600, 1, 1}, {u"\xD83D\xDE00\xD83D\xDE00", 0x1F600, 0, 2},
        {u"\xD83D", 0x1F600, -1, -1},  // a one-unit string holds no pair
        {u"A\xD83D\xDE00", 0xDE00, 2, 2},  // a surrogate is searched as a plain unit
        {u"A\xD83D\xDE00", 0, 3, 3},         {u"abab", 'b', 1, 3},
        {u"A\xD83D\xDE00", 0x110000, -1, -1},  // unlike UTF-8: no EILSEQ
    };
    for (const Case& c : cases) {
        errno = kKept;
        EXPECT_EQ(at(c.s, qel_u16schr(c.s.c_str(), c.c)), c.first) << std::hex << c.c;
        EXPECT_EQ(at(c.s, qel_u16srchr(c.s.c_str(), c.c)), c.last) << std::hex << c.c;
        EXPECT_EQ(errno, kKept);
    }
    const U16 s = u"A\xD83D\xDE00";
    EXPECT_EQ(at(s, qel_u16mchr(s.c_str(), 0x1F600, 3)), 1);
    EXPECT_EQ(at(s, qel_u16mchr(s.c_str() + 1, 0x1F600, 1)), -1);  // the pair needs two units
    EXPECT_EQ(qel_u16sEndsWith(s.c_str(), u"\xDE00"), 1);  // units only: half of a pair matches

    // A one-unit needle is a unit search; a longer one a substring search.
    EXPECT_EQ(at(s, qel_u16sstr(s.c_str(), u"\xDE00")), 2);
    EXPECT_EQ(at(s, qel_u16sstr(s.c_str(), u"\xD83D\xDE00")), 1);
    EXPECT_EQ(at(s, qel_u16sstr(s.c_str(), u"AB")), -1);
}

TEST(Utf16Strings, FillTakesOnlyNonSurrogateUnits) {
    struct Case { unsigned int c; size_t n; bool fills; };
    const Case cases[] = {
        {0x20, 3, true}, {0xFFFF, 2, true}, {0x1F600, 0, true}, {0x1F600, 4, false}, {0xD800, 1, false},
    };
    for (const Case& c : cases) {
        U16 dst(4, u'.');
        errno = kKept;
        char16_t* r = qel_u16mset(&dst[0], c.c, c.n);
        EXPECT_EQ(r, c.fills ? &dst[0] : nullptr) << std::hex << c.c;
        EXPECT_EQ(errno, c.fills ? kKept : EILSEQ);
        EXPECT_EQ(dst, c.fills ? U16(c.n, char16_t(c.c)) + U16(4 - c.n, u'.') : U16(4, u'.'));
    }
}

TEST(Utf16Strings, ComparisonsFollowCodePointOrder) {
    // qel_u16scmp and qel_u16sncmp(n); qel_u16mcmp(n) as well when n fits both
    struct Case { U16 a, b; size_t n; int cmp, ncmp; };
    const Case cases[] = {
        {u"\xFFFD", u"\xD83D\xDE00", 1, -1, -1},
        {u"\xD83D\xDE00", u"\xFFFD", 1, 1, 1},
        {u"\xD83D\xDE00", u"\xD83D\xDE01", 2, -1, -1},  // both surrogates: the difference
        {u"a", u"b", 1, -1, -1},
        {u"ab", u"a", 2, 0x62, 0x62},
        {u"a", u"ab", 1, -0x62, 0},
        {u"ab", u"ab", 3, 0, 0},
        {u"x", u"y", 0, -1, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(qel_u16scmp(c.a.c_str(), c.b.c_str()), c.cmp);
        EXPECT_EQ(qel_u16sncmp(c.a.c_str(), c.b.c_str(), c.n), c.ncmp);
        if (c.n <= c.a.size() + 1 && c.n <= c.b.size() + 1) {
            EXPECT_EQ(qel_u16mcmp(c.a.c_str(), c.b.c_str(), c.n), c.ncmp);
        }
    }
}

TEST(Utf16Strings, SpanAndBreakWithMalformedTextAndSets) {
    // qel_u16spbrk stops where qel_u16scspn does and reports the same errno
    struct Case { U16 s, set; size_t spn; int spnErr; size_t cspn; long pbrk; int cspnErr; };
    const Case cases[] = {
        {u"\xD83D\xDE00\xD83D\xDE00" "A", u"\xD83D\xDE00", 4, kKept, 0, 0, kKept},
        {u"\xDC00" "a\xDC00", u"a", 0, kKept, 1, 1, kKept},  // one character: not decoded
        {u"a\xDC00" "b", u"ab", 3, EILSEQ, 0, 0, kKept},
        {u"a\xD800" "b", u"xy", 0, kKept, 3, -1, EILSEQ},
        {u"x\xD83D\xDE00" "b", u"b\xD83D\xDE00", 0, kKept, 1, 1, kKept},
        {u"ba", u"\xD800" "a", 0, EILSEQ, 1, 1, EILSEQ},  // malformed set: general path
        {u"ab", u"", 0, kKept, 2, -1, kKept},
    };
    for (const Case& c : cases) {
        errno = kKept;
        EXPECT_EQ(qel_u16sspn(c.s.c_str(), c.set.c_str()), c.spn);
        EXPECT_EQ(errno, c.spnErr);
        errno = kKept;
        EXPECT_EQ(qel_u16scspn(c.s.c_str(), c.set.c_str()), c.cspn);
        EXPECT_EQ(at(c.s, qel_u16spbrk(c.s.c_str(), c.set.c_str())), c.pbrk);
        EXPECT_EQ(errno, c.cspnErr);
    }
}

TEST(Utf16Strings, TokenizerCutsAtTheHighUnitOfAPairDelimiter) {
    U16 buf = u"a\xD83D\xDE00" "b";
    const char16_t* delim = u"\xD83D\xDE00";
    char16_t* ctx = nullptr;
    EXPECT_EQ(qel_u16stok(&buf[0], delim, &ctx), &buf[0]);
    EXPECT_EQ(buf, U16(u"a\0\xDE00" "b", 4));
    EXPECT_EQ(ctx, &buf[3]);
    EXPECT_EQ(qel_u16stok(nullptr, delim, &ctx), &buf[3]);
    EXPECT_EQ(ctx, nullptr);
    EXPECT_EQ(qel_u16stok(nullptr, delim, &ctx), nullptr);

    U16 bad = u";\xDC00" "a";  // malformed while skipping delimiters of a general set
    errno = kKept;
    ctx = &bad[0];
    EXPECT_EQ(qel_u16stok(&bad[0], u";,", &ctx), nullptr);
    EXPECT_EQ(ctx, nullptr);
    EXPECT_EQ(errno, EILSEQ);
}

}  // namespace
