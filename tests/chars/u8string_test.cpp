#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "qel/qelchars.h"

namespace {

long at(const char* s, const char* p) { return p == nullptr ? -1 : long(p - s); }

constexpr int kKept = -5;  // errno value that a call must leave alone

TEST(Utf8Strings, CodePointSearchesAndTheirErrors) {
    struct Case { const char* s; unsigned int c; long first, last; int err; };
    const Case cases[] = {
        {"a\xC3\xA9", 0xE9, 1, 1, kKept},       {"a\xC3\xA9", 0, 3, 3, kKept},
        {"\xC3\xA9" "a\xC3\xA9", 0xE9, 0, 3, kKept}, {"bab", 'a', 1, 1, kKept},
        {"\xF0\x9F\x98", 0x1F600, -1, -1, kKept},  // shorter than the pattern
        {"\xA9\xC3\xA9", 0xE9, 1, 1, kKept},    {"a\xC3\xA9", 0xD800, -1, -1, EILSEQ},
        {"a\xC3\xA9", 0x110000, -1, -1, EILSEQ}, {"", 0xD800, -1, -1, kKept},  // empty s answered first
    };
    for (const Case& c : cases) {
        errno = kKept;
        EXPECT_EQ(at(c.s, qel_u8schr(c.s, c.c)), c.first) << c.s << " " << std::hex << c.c;
        EXPECT_EQ(at(c.s, qel_u8srchr(c.s, c.c)), c.last) << c.s << " " << std::hex << c.c;
        EXPECT_EQ(errno, c.err);
    }
}

TEST(Utf8Strings, OneByteNeedleIsSignExtended) {
    struct Case { const char* s; const char* needle; long found; int err; };
    const Case cases[] = {
        {"\xC3\xA9", "\xC3", -1, EILSEQ},  // 0xFFFFFFC3 is no code point
        {"x\xC3\xA9", "\xA9", -1, EILSEQ}, {"", "\xC3", -1, kKept}, {"\xC3\xA9", "\xC3\xA9", 0, kKept},
        {"abcbc", "c", 2, kKept},          {"abcbc", "cb", 2, kKept}, {"abcbc", "", 0, kKept},
    };
    for (const Case& c : cases) {
        errno = kKept;
        EXPECT_EQ(at(c.s, qel_u8sstr(c.s, c.needle)), c.found) << c.needle;
        EXPECT_EQ(errno, c.err);
    }
}

TEST(Utf8Strings, SpanAndBreakWithMalformedTextAndSets) {
    // qel_u8spbrk stops where qel_u8scspn does and reports the same errno
    struct Case { const char* s; const char* set; size_t spn; int spnErr; size_t cspn; long pbrk; int cspnErr; };
    const Case cases[] = {
        // one-character sets: the text is not decoded
        {"\xC3\xA9\xC3\xA9x", "\xC3\xA9", 4, kKept, 0, 0, kKept},
        {"\xFF" "a\xFF", "a", 0, kKept, 1, 1, kKept},
        // general sets: malformed text answers the whole length
        {"ab\xFF" "c", "ab", 4, EILSEQ, 0, 0, kKept},
        {"ab\xFF", "xy", 0, kKept, 3, -1, EILSEQ},
        {"\xC3\xA9" "bz", "b\xC3\xA9", 3, kKept, 0, 0, kKept},
        {"a\xC3\xA9" "b", "b\xC3\xA9", 0, kKept, 1, 1, kKept},
        // a malformed first set character: errno, then the set is searched bytewise
        {"ba", "\xFF" "a", 0, EILSEQ, 1, 1, EILSEQ},
        {"abc", "", 0, kKept, 3, -1, kKept},
    };
    for (const Case& c : cases) {
        errno = kKept;
        EXPECT_EQ(qel_u8sspn(c.s, c.set), c.spn) << c.s << " / " << c.set;
        EXPECT_EQ(errno, c.spnErr);
        errno = kKept;
        EXPECT_EQ(qel_u8scspn(c.s, c.set), c.cspn) << c.s << " / " << c.set;
        EXPECT_EQ(at(c.s, qel_u8spbrk(c.s, c.set)), c.pbrk) << c.s << " / " << c.set;
        EXPECT_EQ(errno, c.cspnErr);
    }
}

// The tokens of buf, each followed by '|', and '#' where the context was cleared.
std::string tokens(std::string buf, const char* delim) {
    std::string out;
    char* ctx = nullptr;
    for (char* s = &buf[0]; const char* t = qel_u8stok(s, delim, &ctx); s = nullptr)
        out += std::string(t) + (ctx == nullptr ? "|#" : "|");
    return out;
}

TEST(Utf8Strings, TokenizerRemovesWholeDelimiters) {
    std::string buf = "a\xC3\xA9" "b";
    char* ctx = nullptr;
    EXPECT_EQ(qel_u8stok(&buf[0], "\xC3\xA9", &ctx), &buf[0]);
    EXPECT_EQ(buf, std::string("a\0\xA9" "b", 4));
    EXPECT_EQ(ctx, &buf[3]);

    struct Case { std::string text; const char* delim; std::string tokens; int err; };
    const Case cases[] = {
        {"a\xC3\xA9" "b\xC3\xA9\xC3\xA9" "c", "\xC3\xA9", "a|b|c|#", kKept},
        {"x\xF0\x9F\x98\x80y", "\xF0\x9F\x98\x80;", "x|y|#", kKept},
        {"\xFF" ",\xFE,,x", ",", "\xFF|\xFE|x|#", kKept},  // one-character set: split by bytes
        {",;\xFF" "a;b", ",;", "", EILSEQ},                 // malformed while skipping delimiters
        {"a;b\xFF;c", ",;", "a|b\xFF;c|#", EILSEQ},         // malformed inside a token
    };
    for (const Case& c : cases) {
        errno = kKept;
        EXPECT_EQ(tokens(c.text, c.delim), c.tokens) << c.text;
        EXPECT_EQ(errno, c.err) << c.text;
    }
}

TEST(Utf8Strings, PrefixAndSuffixCompareBytes) {
    EXPECT_EQ(qel_u8sEndsWith("\xC3\xA9", "\xA9"), 1);  // may end inside a character
    EXPECT_EQ(qel_u8sEndsWith("ab", "xab"), 0);
    EXPECT_EQ(qel_u8sEndsWith("ab", ""), 1);
    EXPECT_EQ(qel_u8sBeginsWith("\xC3\xA9", "\xC3"), 1);
    EXPECT_EQ(qel_u8sBeginsWith("ab", "abc"), 0);
    EXPECT_EQ(qel_u8sBeginsWith("ab", ""), 1);
}

}  // namespace
