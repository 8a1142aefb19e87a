#include <gtest/gtest.h>

#include <vector>

#include "chars/codec.h"

namespace {

using qel::kIllFormed;
using qel::chars::kUnbounded;

// The strict and the lenient UTF-8 decoders share one decoder and differ only
// on the three-byte surrogate forms; both check in the same order.
TEST(Codec, StrictAndLenientUtf8DecodersDifferOnlyOnSurrogates) {
    struct Case {
        std::vector<unsigned char> in;
        std::size_t avail;
        int strict, lenient;  // lengths or kIllFormed
        unsigned int unit;    // the one UTF-16 unit of a lenient 2- or 3-byte result
    };
    const Case cases[] = {
        {{0x41, 0}, kUnbounded, kIllFormed, kIllFormed, 0},  // ASCII is the caller's
        {{0xC1, 0xBF}, kUnbounded, kIllFormed, kIllFormed, 0},
        {{0xC3, 0xA9}, 1, kIllFormed, kIllFormed, 0},  // length before continuation bytes
        {{0xC3, 0x00}, kUnbounded, kIllFormed, kIllFormed, 0},
        {{0xE0, 0x9F, 0x80}, 3, kIllFormed, kIllFormed, 0},
        {{0xED, 0x9F, 0xBF}, 3, 3, 3, 0xD7FF},
        {{0xED, 0xA0, 0x80}, 3, kIllFormed, 3, 0xD800},
        {{0xED, 0xBF, 0xBF}, 3, kIllFormed, 3, 0xDFFF},
        {{0xED, 0xA0, 0x00}, kUnbounded, kIllFormed, kIllFormed, 0},
        {{0xF0, 0x8F, 0xBF, 0xBF}, 4, kIllFormed, kIllFormed, 0},
        {{0xF4, 0x90, 0x80, 0x80}, 4, kIllFormed, kIllFormed, 0},
        {{0xF5, 0x80, 0x80, 0x80}, 4, kIllFormed, kIllFormed, 0},
        {{0xF4, 0x8F, 0xBF, 0xBF}, 4, 4, 4, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.in));
        unsigned int cp = 0xAAAAAAAAu;
        EXPECT_EQ(qel::chars::u8ctou32Low(&cp, c.in.data(), c.avail), c.strict);
        char16_t units[2] = {0xAAAA, 0xAAAA};
        EXPECT_EQ(qel::chars::u8ctou16LenientLow(units, 2, c.in.data(), c.avail), c.lenient);
        if (c.strict < 0) {
            EXPECT_EQ(cp, 0xAAAAAAAAu);
        }
        if (c.lenient < 0) {
            EXPECT_EQ(units[0], 0xAAAA);
        } else if (c.lenient < 4) {
            EXPECT_EQ(units[0], c.unit);
            EXPECT_EQ(units[1], 0xAAAA);
        }
    }
    // A four-byte form needs room for the pair, in the lenient decoder too.
    const unsigned char pair[] = {0xF0, 0x9F, 0x98, 0x80};
    char16_t units[2] = {0xAAAA, 0xAAAA};
    EXPECT_EQ(qel::chars::u8ctou16LenientLow(units, 1, pair, 4), qel::kNoRoom);
    EXPECT_EQ(units[0], 0xAAAA);
}

}  // namespace
