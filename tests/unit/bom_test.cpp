// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <vector>

#include "qel/qelutftype.h"

namespace {

struct FromCase {
    std::vector<unsigned char> bytes;
    size_t len;
    unsigned int result;
    qelUtfType type;  // expected type; qelUtfTypeNone with result 0 means untouched
};

TEST(ByteOrderMark, RecognisesMarksInDecisionOrder) {
    const FromCase cases[] = {
        {{0xFF, 0xFE, 0x00, 0x00}, 4, 4, qelUtfTypeUtf32LE},
        {{0xFF, 0xFE, 0x00, 0x00}, 3, 2, qelUtfTypeUtf16LE},  // too short for UTF-32
        {{0xFF, 0xFE, 0x41, 0x00}, 4, 2, qelUtfTypeUtf16LE},
        {{0xFF, 0xFE, 0x00, 0x41}, 4, 2, qelUtfTypeUtf16LE},  // only two zero bytes make UTF-32
        {{0xFF, 0xFE}, 2, 2, qelUtfTypeUtf16LE},
        {{0xFE, 0xFF}, 2, 2, qelUtfTypeUtf16BE},
        {{0xEF, 0xBB, 0xBF}, 3, 3, qelUtfTypeUtf8},
        {{0xEF, 0xBB, 0xBF}, 2, 0, qelUtfTypeNone},
        {{0x00, 0x00, 0xFE, 0xFF}, 4, 4, qelUtfTypeUtf32BE},
        {{0x00, 0x00, 0xFE, 0xFF}, 3, 0, qelUtfTypeNone},
        {{0x00, 0x41}, 2, 0, qelUtfTypeNone},
        {{0xFF}, 1, 0, qelUtfTypeNone},
        {{0xFE, 0xFE}, 2, 0, qelUtfTypeNone},
        {{0xFF, 0xFF, 0x00, 0x00}, 4, 0, qelUtfTypeNone},
        {{0xEF, 0xBB, 0xBE}, 3, 0, qelUtfTypeNone},
        {{0x41, 0x42, 0x43}, 3, 0, qelUtfTypeNone},
    };
    for (const FromCase& c : cases) {
        qelUtfType type = -77;  // sentinel: must survive when no mark is found
        unsigned int r = qelUtfTypeFromBOM(&type, c.bytes.data(), c.len);
        EXPECT_EQ(r, c.result) << "case of length " << c.len << " starting " << int(c.bytes[0]);
        EXPECT_EQ(type, c.result ? c.type : -77);
    }
}

TEST(ByteOrderMark, WritesMarksWhenThereIsRoom) {
    struct Case {
        qelUtfType type;
        size_t size;
        std::vector<unsigned char> expected;  // empty: nothing written
    };
    const Case cases[] = {
        {qelUtfTypeUtf8, 3, {0xEF, 0xBB, 0xBF}},
        {qelUtfTypeUtf8, 2, {}},
        {qelUtfTypeUtf16LE, 4, {0xFF, 0xFE}},
        {qelUtfTypeUtf16BE, 2, {0xFE, 0xFF}},
        {qelUtfTypeUtf16BE, 1, {}},
        {qelUtfTypeUtf32LE, 4, {0xFF, 0xFE, 0x00, 0x00}},
        {qelUtfTypeUtf32BE, 4, {0x00, 0x00, 0xFE, 0xFF}},
        {qelUtfTypeUtf32BE, 3, {}},
        {qelUtfTypeNone, 8, {}},
        {6, 8, {}},
        {-1, 8, {}},
    };
    for (const Case& c : cases) {
        unsigned char buf[8] = {0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
        unsigned int r = qelUtfTypeToBOM(buf, c.size, c.type);
        ASSERT_EQ(r, c.expected.size()) << "type " << c.type << " size " << c.size;
        for (size_t i = 0; i < 8; ++i)
            EXPECT_EQ(buf[i], i < c.expected.size() ? c.expected[i] : 0xAA) << "byte " << i;
    }
    EXPECT_EQ(qelUtfTypeToBOM(nullptr, 8, qelUtfTypeUtf8), 0u);
}

TEST(ByteOrderMark, WideStringsAreUtf16LittleEndian) { EXPECT_EQ(qelUtfTypeUsedAsWide(), 2u); }

}  // namespace
