// The bounded UTF-16 copy: argument checks, terminator and length rules, the
// input extent, and sequences copied whole, closed or dropped.
#include <gtest/gtest.h>

#include <vector>

#include "qel/qelstr.h"

namespace {

constexpr char16_t kGuard = 0xBEEF;

struct CopyCase {
    const char* what;
    std::vector<char16_t> in;
    unsigned int inLen;
    unsigned int outSize;
    qelStrStatus status;
    std::vector<char16_t> out;  // text written, without the terminator
};

TEST(Utf16Copy, CopiesTruncatesAndKeepsSequencesWhole) {
    const unsigned int all = 0xFFFFFFFFu;
    const CopyCase cases[] = {
        {"fits", {'a', 'b', 'c', 0}, 3, 4, qelStrOk, {'a', 'b', 'c'}},
        {"one unit short", {'a', 'b', 'c'}, 3, 3, qelStrTruncated, {'a', 'b'}},
        {"one-unit buffer", {'a'}, 1, 1, qelStrTruncated, {}},
        {"inLen bounds the input", {'a', 'b', 'c'}, 2, 10, qelStrOk, {'a', 'b'}},
        {"zero unit ends the input", {'a', 'b', 0, 'c', 'd'}, 5, 10, qelStrOk, {'a', 'b'}},
        {"all-ones length", {'x', 'y', 'z', 0}, all, 10, qelStrOk, {'x', 'y', 'z'}},
        {"lone surrogate copied", {0xD800, 0x41}, 2, 10, qelStrOk, {0xD800, 0x41}},
        {"pair split by truncation", {'a', 0xD83D, 0xDE00}, 3, 3, qelStrTruncated, {'a', 0xD83D}},
        {"start unit without sequence", {1, 1, 'A', 2}, 4, 10, qelStrOk, {1, 1, 'A', 2}},
        {"sequence fills the buffer exactly",
         {'A', 1, 'B', 'C', 'D', 2}, 6, 6, qelStrTruncated, {'A', 1, 'B', 'C', 2}},
        {"sequence closed early", {1, 'A', 'B', 'C', 'D', 'E', 2}, 7, 5, qelStrTruncated, {1, 'A', 'B', 2}},
        {"sequence closed to one content unit", {1, 'A', 'B', 'C', 'D', 'E', 2}, 7, 4, qelStrTruncated, {1, 'A', 2}},
        {"sequence dropped", {1, 'A', 'B', 'C', 'D', 'E', 2}, 7, 3, qelStrTruncated, {}},
        {"sequence ending on the last unit", {1, 'A', 2}, 3, 3, qelStrTruncated, {}},
        {"sequence then text", {1, 'A', 2, 'b'}, 4, 5, qelStrOk, {1, 'A', 2, 'b'}},
        {"eighteen content units are text",
         {1, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o', 'p', 'q', 'r', 2}, 20, 6,
         qelStrTruncated, {1, 'a', 'b', 'c', 'd'}},
    };
    for (const CopyCase& c : cases) {
        std::vector<char16_t> buf(c.outSize + 2, kGuard);
        unsigned int len = 12345;
        qelStrStatus st = qelStrUtf16Copy(buf.data(), c.outSize, &len, c.in.data(), c.inLen);
        EXPECT_EQ(st, c.status) << c.what;
        ASSERT_EQ(len, c.out.size()) << c.what;
        EXPECT_EQ(std::vector<char16_t>(buf.begin(), buf.begin() + len), c.out) << c.what;
        EXPECT_EQ(buf[len], 0) << c.what << ": terminator";
        EXPECT_EQ(buf[c.outSize], kGuard) << c.what << ": write past outSize";
    }
}

TEST(Utf16Copy, ArgumentChecksInOrder) {
    const char16_t text[] = {'a', 'b', 0};
    char16_t buf[4] = {kGuard, kGuard, kGuard, kGuard};
    unsigned int len = 99;

    // Empty input wins over a zero-sized buffer, and writes a terminator where there is room.
    EXPECT_EQ(qelStrUtf16Copy(buf, 0, &len, nullptr, 5), qelStrOk);
    EXPECT_EQ(len, 0u);
    EXPECT_EQ(buf[0], kGuard);
    len = 99;
    EXPECT_EQ(qelStrUtf16Copy(buf, 4, &len, text, 0), qelStrOk);
    EXPECT_EQ(len, 0u);
    EXPECT_EQ(buf[0], 0);
    buf[0] = kGuard;
    EXPECT_EQ(qelStrUtf16Copy(buf, 4, &len, text + 2, 3), qelStrOk);  // first unit zero
    EXPECT_EQ(buf[0], 0);

    // Non-empty input into a zero-sized buffer.
    buf[0] = kGuard;
    len = 99;
    EXPECT_EQ(qelStrUtf16Copy(buf, 0, &len, text, 2), qelStrEmptyBuffer);
    EXPECT_EQ(len, 0u);
    EXPECT_EQ(buf[0], kGuard);

    // Length query: outSize is not looked at; sequences need no special count.
    const char16_t withSeq[] = {1, 'A', 2, 'B'};
    EXPECT_EQ(qelStrUtf16Copy(nullptr, 0, &len, withSeq, 4), qelStrOk);
    EXPECT_EQ(len, 4u);

    // A null outLen: same behaviour, no length reported.
    EXPECT_EQ(qelStrUtf16Copy(buf, 2, nullptr, text, 2), qelStrTruncated);
    EXPECT_EQ(buf[0], 'a');
    EXPECT_EQ(buf[1], 0);
}

}  // namespace
