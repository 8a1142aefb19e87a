#include <gtest/gtest.h>

#include <vector>

#include "chars/codec.h"

namespace {

using qel::kIllFormed;
using qel::kNoRoom;
using qel::chars::kUnbounded;

constexpr unsigned char kFill8 = 0xAA;
constexpr char16_t kFill16 = 0xAAAA;

std::vector<unsigned char> bytes(std::initializer_list<int> l) {
    std::vector<unsigned char> v;
    for (int b : l) v.push_back(static_cast<unsigned char>(b));
    return v;
}

// Both UTF-8 decoders on one table: the strict one and the lenient one differ
// only on the three-byte surrogate forms.
TEST(Codec, Utf8DecodersFollowTheStrictRuleInItsOrder) {
    struct Case {
        std::vector<unsigned char> in;
        std::size_t avail;
        int strict;          // length, kIllFormed
        int lenient;         // length, kIllFormed
        unsigned int value;  // code point, or the surrogate unit that only the lenient decoder gives
    };
    const Case cases[] = {
        {bytes({0x41, 0}), kUnbounded, kIllFormed, kIllFormed, 0},  // ASCII is the caller's
        {bytes({0x80, 0x80}), kUnbounded, kIllFormed, kIllFormed, 0},
        {bytes({0xC1, 0xBF}), kUnbounded, kIllFormed, kIllFormed, 0},
        {bytes({0xC3, 0xA9}), 2, 2, 2, 0xE9},
        {bytes({0xC3, 0xA9}), 1, kIllFormed, kIllFormed, 0},  // cut by the count
        {bytes({0xC3, 0x00}), kUnbounded, kIllFormed, kIllFormed, 0},  // cut by the terminator
        {bytes({0xE0, 0x9F, 0x80}), 3, kIllFormed, kIllFormed, 0},     // overlong
        {bytes({0xE0, 0xA0, 0x80}), 3, 3, 3, 0x800},
        {bytes({0xED, 0x9F, 0xBF}), 3, 3, 3, 0xD7FF},
        {bytes({0xED, 0xA0, 0x80}), 3, kIllFormed, 3, 0xD800},
        {bytes({0xED, 0xBF, 0xBF}), 3, kIllFormed, 3, 0xDFFF},
        {bytes({0xED, 0xA0, 0x00}), kUnbounded, kIllFormed, kIllFormed, 0},
        {bytes({0xEE, 0x80, 0x80}), 3, 3, 3, 0xE000},
        {bytes({0xE2, 0x82, 0xAC}), 2, kIllFormed, kIllFormed, 0},
        {bytes({0xF0, 0x8F, 0xBF, 0xBF}), 4, kIllFormed, kIllFormed, 0},
        {bytes({0xF0, 0x90, 0x80, 0x80}), 4, 4, 4, 0x10000},
        {bytes({0xF4, 0x8F, 0xBF, 0xBF}), 4, 4, 4, 0x10FFFF},
        {bytes({0xF4, 0x90, 0x80, 0x80}), 4, kIllFormed, kIllFormed, 0},
        {bytes({0xF5, 0x80, 0x80, 0x80}), 4, kIllFormed, kIllFormed, 0},
        {bytes({0xF8, 0x80, 0x80, 0x80}), 4, kIllFormed, kIllFormed, 0},
        {bytes({0xF0, 0x9F, 0x98, 0x41}), 4, kIllFormed, kIllFormed, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.in));
        unsigned int cp = 0xAAAAAAAAu;
        ASSERT_EQ(qel::chars::u8ctou32Low(&cp, c.in.data(), c.avail), c.strict);
        EXPECT_EQ(cp, c.strict > 0 ? c.value : 0xAAAAAAAAu);

        char16_t units[2] = {kFill16, kFill16};
        ASSERT_EQ(qel::chars::u8ctou16LenientLow(units, 2, c.in.data(), c.avail), c.lenient);
        if (c.lenient == 2 || c.lenient == 3) {
            EXPECT_EQ(units[0], c.value);
            EXPECT_EQ(units[1], kFill16);
        } else if (c.lenient < 0) {
            EXPECT_EQ(units[0], kFill16);
        }
    }
}

TEST(Codec, Utf8ToUtf16AsksRoomOnlyOfAPair) {
    const auto pair = bytes({0xF0, 0x9F, 0x98, 0x80});
    const auto euro = bytes({0xE2, 0x82, 0xAC});
    char16_t units[2] = {kFill16, kFill16};
    EXPECT_EQ(qel::chars::u8ctou16Low(units, 1, pair.data(), 4), kNoRoom);
    EXPECT_EQ(units[0], kFill16);
    EXPECT_EQ(qel::chars::u8ctou16Low(units, 0, euro.data(), 3), 3);  // one unit, room unasked
    EXPECT_EQ(units[0], 0x20AC);
    EXPECT_EQ(units[1], kFill16);
    EXPECT_EQ(qel::chars::u8ctou16Low(units, 2, pair.data(), 4), 4);
    EXPECT_EQ(units[0], 0xD83D);
    EXPECT_EQ(units[1], 0xDE00);
    // Validity before room: a malformed four-byte form with room 0 is ill-formed.
    const auto high = bytes({0xF4, 0x90, 0x80, 0x80});
    EXPECT_EQ(qel::chars::u8ctou16Low(units, 0, high.data(), 4), kIllFormed);
}

TEST(Codec, EncodersJudgeValidityBeforeRoomExceptUtf16BelowThePlanes) {
    struct Case {
        unsigned int c;
        std::size_t room;
        int toUtf8;
        int toUtf16;
    };
    const Case cases[] = {
        {0xE9, 1, kNoRoom, 1},         {0xE9, 2, 2, 1},
        {0x20AC, 2, kNoRoom, 1},       {0x20AC, 3, 3, 1},
        {0xD800, 0, kIllFormed, kNoRoom},  // room first, only in UTF-16
        {0xDFFF, 1, kIllFormed, kIllFormed},
        {0x1F600, 1, kNoRoom, kNoRoom}, {0x1F600, 3, kNoRoom, 2},
        {0x10FFFF, 4, 4, 2},
        {0x110000, 0, kIllFormed, kIllFormed},
        {0xFFFFFFFFu, 8, kIllFormed, kIllFormed},
        {0x41, 0, kNoRoom, kNoRoom},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.c);
        unsigned char out8[4] = {kFill8, kFill8, kFill8, kFill8};
        const int r8 = qel::chars::u32ctou8Low(out8, c.c, c.room);
        EXPECT_EQ(r8, c.toUtf8);
        for (int i = r8 > 0 ? r8 : 0; i < 4; ++i) EXPECT_EQ(out8[i], kFill8);

        char16_t out16[2] = {kFill16, kFill16};
        const int r16 = qel::chars::u32ctou16Low(out16, c.c, c.room);
        EXPECT_EQ(r16, c.toUtf16);
        for (int i = r16 > 0 ? r16 : 0; i < 2; ++i) EXPECT_EQ(out16[i], kFill16);
    }
    unsigned char out[4];
    ASSERT_EQ(qel::chars::u32ctou8Low(out, 0x10FFFF, 4), 4);
    EXPECT_EQ(std::vector<unsigned char>(out, out + 4), bytes({0xF4, 0x8F, 0xBF, 0xBF}));
}

TEST(Codec, Utf16ToUtf8ChecksThePairBeforeTheRoom) {
    struct Case {
        std::vector<char16_t> in;
        std::size_t avail;
        std::size_t room;
        int result;
    };
    const Case cases[] = {
        {{0xD83D, 0xDE00}, 2, 4, 4},
        {{0xD83D, 0xDE00}, 2, 3, kNoRoom},
        {{0xD83D, 0xDE00}, 1, 0, kIllFormed},          // high half at the end of the run
        {{0xD83D, 0x0000}, kUnbounded, 0, kIllFormed},  // high half before the terminator
        {{0xDE00, 0xD83D}, 2, 4, kIllFormed},           // reversed
        {{0xD83D, 0xD83D}, 2, 4, kIllFormed},
        {{0x07FF}, 1, 2, 2},
        {{0x0800}, 1, 2, kNoRoom},
        {{0xFFFF}, 1, 3, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.in));
        unsigned char out[4] = {kFill8, kFill8, kFill8, kFill8};
        EXPECT_EQ(qel::chars::u16ctou8Low(out, c.room, c.in.data(), c.avail), c.result);
        if (c.result < 0) {
            EXPECT_EQ(out[0], kFill8);
        }
    }
    unsigned char out[4];
    const char16_t pair[] = {0xD83D, 0xDE00};
    ASSERT_EQ(qel::chars::u16ctou8Low(out, 4, pair, 2), 4);
    EXPECT_EQ(std::vector<unsigned char>(out, out + 4), bytes({0xF0, 0x9F, 0x98, 0x80}));
}

}  // namespace
