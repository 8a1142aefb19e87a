// The code-point rules: strict decoding of each encoding, encoding and sizes.
#include <gtest/gtest.h>

#include "core/rules.h"
#include "core_test_harness.h"

namespace {

using namespace qel;
using coretest::Block;
using coretest::Units;

struct Decoded {
    Units units;  // the whole run: nothing after it may be read
    int length;   // or kIllFormed
    u32 cp;
};

TEST(CodePointRules, DecodesUtf8Strictly) {
    const Decoded cases[] = {
        {{0x00}, 1, 0},
        {{0x7F}, 1, 0x7F},
        {{0xC2, 0x80}, 2, 0x80},
        {{0xDF, 0xBF}, 2, 0x7FF},
        {{0xC0, 0x80}, kIllFormed, 0},
        {{0xC1, 0xBF}, kIllFormed, 0},
        {{0x80}, kIllFormed, 0},
        {{0xBF, 0x80}, kIllFormed, 0},
        {{0xE0, 0xA0, 0x80}, 3, 0x800},
        {{0xE0, 0x9F, 0x80}, kIllFormed, 0},
        {{0xE2, 0x82, 0xAC}, 3, 0x20AC},
        {{0xE2, 0x82}, kIllFormed, 0},  // cut by the end of the run
        {{0xE2, 0x41, 0xAC}, kIllFormed, 0},
        {{0xE2, 0x82, 0x41}, kIllFormed, 0},
        {{0xED, 0x9F, 0xBF}, 3, 0xD7FF},
        {{0xED, 0xA0, 0x80}, kIllFormed, 0},
        {{0xEE, 0x80, 0x80}, 3, 0xE000},
        {{0xEF, 0xBF, 0xBF}, 3, 0xFFFF},
        {{0xF0, 0x90, 0x80, 0x80}, 4, 0x10000},
        {{0xF0, 0x8F, 0xBF, 0xBF}, kIllFormed, 0},
        {{0xF0, 0x9F, 0x98, 0x80}, 4, 0x1F600},
        {{0xF0, 0x9F, 0x98}, kIllFormed, 0},
        {{0xF3, 0xBF, 0xBF, 0xBF}, 4, 0xFFFFF},
        {{0xF4, 0x8F, 0xBF, 0xBF}, 4, 0x10FFFF},
        {{0xF4, 0x90, 0x80, 0x80}, kIllFormed, 0},
        {{0xF5, 0x80, 0x80, 0x80}, kIllFormed, 0},
        {{0xF7, 0xBF, 0xBF, 0xBF}, kIllFormed, 0},
        {{0xF8, 0x88, 0x80, 0x80, 0x80}, kIllFormed, 0},
        {{0xFF}, kIllFormed, 0},
        {{0xF4}, kIllFormed, 0},
    };
    for (const Decoded& c : cases) {
        Block<u8> run(c.units);
        u32 cp = 0xDEADu;
        const int r = rules::decodeUtf8(run.begin(), run.end(), cp);
        EXPECT_EQ(r, c.length) << "lead " << c.units[0] << " length " << c.units.size();
        if (r > 0) {
            EXPECT_EQ(cp, c.cp);
        }
    }
}

TEST(CodePointRules, DecodesUtf16AndUtf32Strictly) {
    const Decoded utf16[] = {
        {{0x41}, 1, 0x41},          {{0xFFFF}, 1, 0xFFFF},          {{0xD83D, 0xDE00}, 2, 0x1F600},
        {{0xDBFF, 0xDFFF}, 2, 0x10FFFF}, {{0xD800, 0xDC00}, 2, 0x10000}, {{0xDE00}, kIllFormed, 0},
        {{0xD83D}, kIllFormed, 0},  {{0xD83D, 0x41}, kIllFormed, 0}, {{0xD83D, 0xD83D}, kIllFormed, 0},
        {{0xD83D, 0}, kIllFormed, 0},
    };
    for (const Decoded& c : utf16) {
        Block<u16> run(c.units);
        u32 cp = 0;
        const int r = rules::decodeUtf16(run.begin(), run.end(), cp);
        EXPECT_EQ(r, c.length) << std::hex << c.units[0];
        if (r > 0) {
            EXPECT_EQ(cp, c.cp);
        }
    }
    const Decoded utf32[] = {{{0}, 1, 0},          {{0xD7FF}, 1, 0xD7FF},   {{0xD800}, kIllFormed, 0},
                             {{0xDFFF}, kIllFormed, 0}, {{0xFFFE}, 1, 0xFFFE}, {{0x10FFFF}, 1, 0x10FFFF},
                             {{0x110000}, kIllFormed, 0}, {{0xFFFFFFFF}, kIllFormed, 0}};
    for (const Decoded& c : utf32) {
        Block<u32> run(c.units);
        u32 cp = 0;
        EXPECT_EQ(rules::decodeUtf32(run.begin(), run.end(), cp), c.length) << std::hex << c.units[0];
    }
}

// Every code point encodes to the size the rules announce and decodes back.
TEST(CodePointRules, EveryCodePointRoundTrips) {
    for (u32 c = 0; c < 0x110000u; ++c) {
        if (rules::isSurrogate(c)) continue;
        u8 bytes[4] = {};
        u16 units[2] = {};
        ASSERT_EQ(rules::encodeUtf8(c, bytes), rules::utf8Size(c));
        ASSERT_EQ(rules::encodeUtf16(c, units), rules::utf16Size(c));
        u32 back8 = ~0u, back16 = ~0u;
        ASSERT_EQ(rules::decodeUtf8(bytes, bytes + rules::utf8Size(c), back8), rules::utf8Size(c)) << std::hex << c;
        ASSERT_EQ(rules::decodeUtf16(units, units + rules::utf16Size(c), back16), rules::utf16Size(c));
        ASSERT_EQ(back8, c);
        ASSERT_EQ(back16, c);
    }
}

}  // namespace
