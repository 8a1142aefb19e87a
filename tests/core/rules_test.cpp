// The code-point rules: encoding, sizes and decoding of every code point. The
// ill-formed classes are checked through every core (bounded_cores_test).
#include <gtest/gtest.h>

#include <algorithm>

#include "core/rules.h"

namespace {

using namespace qel;

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

// Over every lead and second byte (the later bytes continuation bytes), the
// decoder accepts exactly the shortest forms of code points: whatever it
// accepts is a code point that encodes back to the same bytes.
TEST(CodePointRules, AcceptsOnlyShortestFormsOfCodePoints) {
    unsigned int accepted = 0;
    for (u32 lead = 0x80; lead <= 0xFF; ++lead) {
        for (u32 second = 0; second <= 0xFF; ++second) {
            const u8 bytes[4] = {static_cast<u8>(lead), static_cast<u8>(second), 0x80, 0xBF};
            u32 cp = 0;
            const int len = rules::decodeUtf8(bytes, bytes + 4, cp);
            if (len < 0) continue;
            ++accepted;
            u8 again[4] = {};
            ASSERT_TRUE(rules::isCodePoint(cp)) << std::hex << lead << " " << second;
            ASSERT_EQ(rules::encodeUtf8(cp, again), len);
            ASSERT_TRUE(std::equal(again, again + len, bytes)) << std::hex << lead << " " << second;
        }
    }
    // 2-byte: 30 leads; 3-byte: 16 leads less the halves cut from E0 and ED;
    // 4-byte: F0 and F4 with part of their range, F1..F3 with all of it.
    EXPECT_EQ(accepted, 30u * 64 + (16 * 64 - 32 - 32) + (48 + 3 * 64 + 16));
}

}  // namespace
