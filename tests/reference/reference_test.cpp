// The reference model that the fuzz targets trust must itself be right: its
// decoders, encoders, sequence recognisers and whole-text walk are checked
// here on the boundary cases of each rule.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "reference.h"

using qelref::Enc;
using qelref::SeqForm;
using qelref::Units;

namespace {

Units units(std::initializer_list<std::uint32_t> l) { return Units(l); }

struct Utf8Case {
    Units bytes;
    bool ok;
    std::uint32_t cp;
    std::size_t len;
};

TEST(ReferenceUtf8, DecodesExactlyTheWellFormedSequences) {
    const Utf8Case cases[] = {
        {{0x00}, true, 0x0, 1},
        {{0x7F}, true, 0x7F, 1},
        {{0x80}, false, 0, 0},                      // continuation as lead
        {{0xBF, 0x80}, false, 0, 0},
        {{0xC0, 0x80}, false, 0, 0},                // overlong U+0000
        {{0xC1, 0xBF}, false, 0, 0},
        {{0xC2, 0x80}, true, 0x80, 2},
        {{0xDF, 0xBF}, true, 0x7FF, 2},
        {{0xC2, 0x7F}, false, 0, 0},                // no continuation
        {{0xC2, 0xC0}, false, 0, 0},
        {{0xE0, 0x9F, 0xBF}, false, 0, 0},          // overlong
        {{0xE0, 0xA0, 0x80}, true, 0x800, 3},
        {{0xE1, 0x80, 0x80}, true, 0x1000, 3},
        {{0xEC, 0xBF, 0xBF}, true, 0xCFFF, 3},
        {{0xED, 0x80, 0x80}, true, 0xD000, 3},
        {{0xED, 0x9F, 0xBF}, true, 0xD7FF, 3},
        {{0xED, 0xA0, 0x80}, false, 0, 0},          // surrogate
        {{0xED, 0xBF, 0xBF}, false, 0, 0},
        {{0xEE, 0x80, 0x80}, true, 0xE000, 3},
        {{0xEF, 0xBF, 0xBF}, true, 0xFFFF, 3},
        {{0xE2, 0x82, 0x41}, false, 0, 0},
        {{0xF0, 0x8F, 0xBF, 0xBF}, false, 0, 0},    // overlong
        {{0xF0, 0x90, 0x80, 0x80}, true, 0x10000, 4},
        {{0xF0, 0x9F, 0x98, 0x80}, true, 0x1F600, 4},
        {{0xF3, 0xBF, 0xBF, 0xBF}, true, 0xFFFFF, 4},
        {{0xF4, 0x8F, 0xBF, 0xBF}, true, 0x10FFFF, 4},
        {{0xF4, 0x90, 0x80, 0x80}, false, 0, 0},    // above U+10FFFF
        {{0xF5, 0x80, 0x80, 0x80}, false, 0, 0},
        {{0xF8, 0x88, 0x80, 0x80}, false, 0, 0},
        {{0xFF, 0x80, 0x80, 0x80}, false, 0, 0},
        {{0xF0, 0x9F, 0x98, 0x00}, false, 0, 0},    // zero where a continuation is due
    };
    for (const auto& c : cases) {
        std::vector<unsigned char> b(c.bytes.begin(), c.bytes.end());
        auto d = qelref::decodeUtf8(b.data(), b.size());
        SCOPED_TRACE(testing::Message() << "lead 0x" << std::hex << c.bytes[0]);
        EXPECT_EQ(d.ok, c.ok);
        if (c.ok) {
            EXPECT_EQ(d.cp, c.cp);
            EXPECT_EQ(d.len, c.len);
        }
    }
}

TEST(ReferenceUtf8, ASequenceCutByTheEndOfTheRunIsIllFormed) {
    const unsigned char euro[] = {0xE2, 0x82, 0xAC};
    EXPECT_FALSE(qelref::decodeUtf8(euro, 2).ok);
    EXPECT_TRUE(qelref::decodeUtf8(euro, 3).ok);
    const unsigned char smile[] = {0xF0, 0x9F, 0x98, 0x80};
    EXPECT_FALSE(qelref::decodeUtf8(smile, 3).ok);
}

TEST(ReferenceUtf16, PairsSurrogatesAndRejectsBrokenOnes) {
    struct Case {
        std::u16string s;
        std::size_t avail;
        bool ok;
        std::uint32_t cp;
        std::size_t len;
    };
    const Case cases[] = {
        {u"\u0041", 1, true, 0x41, 1},
        {u"\uD7FF", 1, true, 0xD7FF, 1},
        {u"\uE000", 1, true, 0xE000, 1},
        {{char16_t(0xD83D), char16_t(0xDE00)}, 2, true, 0x1F600, 2},
        {{char16_t(0xD800), char16_t(0xDC00)}, 2, true, 0x10000, 2},
        {{char16_t(0xDBFF), char16_t(0xDFFF)}, 2, true, 0x10FFFF, 2},
        {{char16_t(0xD83D), char16_t(0xDE00)}, 1, false, 0, 0},   // high at the end of the run
        {{char16_t(0xDE00)}, 1, false, 0, 0},                     // lone low
        {{char16_t(0xD83D), char16_t(0x0041)}, 2, false, 0, 0},
        {{char16_t(0xD83D), char16_t(0xD83D)}, 2, false, 0, 0},
        {{char16_t(0xD83D), char16_t(0x0000)}, 2, false, 0, 0},
    };
    for (const auto& c : cases) {
        auto d = qelref::decodeUtf16(c.s.data(), c.avail);
        EXPECT_EQ(d.ok, c.ok) << std::hex << unsigned(c.s[0]);
        if (c.ok) {
            EXPECT_EQ(d.cp, c.cp);
            EXPECT_EQ(d.len, c.len);
        }
    }
}

TEST(ReferenceUtf32, AcceptsScalarValuesOnly) {
    const std::pair<std::uint32_t, bool> cases[] = {
        {0, true},          {0xD7FF, true},     {0xD800, false}, {0xDFFF, false},
        {0xE000, true},     {0xFFFE, true},     {0xFFFF, true},  {0x10FFFF, true},
        {0x110000, false},  {0xFFFFFFFF, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qelref::decodeUtf32(&c.first, 1).ok, c.second) << std::hex << c.first;
    }
}

TEST(ReferenceEncode, EveryEncodingRoundTripsAtTheBoundaries) {
    const std::uint32_t cps[] = {0x0,    0x7F,   0x80,    0x7FF,   0x800,    0xD7FF,
                                 0xE000, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF};
    const std::pair<std::size_t, std::size_t> sizes[] = {
        {1, 1}, {1, 1}, {2, 1}, {2, 1}, {3, 1}, {3, 1}, {3, 1}, {3, 1}, {4, 2}, {4, 2}, {4, 2}};
    for (std::size_t i = 0; i < sizeof cps / sizeof cps[0]; ++i) {
        const std::uint32_t cp = cps[i];
        for (Enc enc : {Enc::Utf8, Enc::Utf16, Enc::Utf32}) {
            Units u;
            qelref::encodeAs(enc, cp, u);
            ASSERT_EQ(u.size(), qelref::sizeIn(enc, cp));
            auto d = qelref::decodeAt(enc, u, 0, u.size());
            EXPECT_TRUE(d.ok);
            EXPECT_EQ(d.cp, cp);
            EXPECT_EQ(d.len, u.size());
        }
        EXPECT_EQ(qelref::utf8Size(cp), sizes[i].first);
        EXPECT_EQ(qelref::utf16Size(cp), sizes[i].second);
    }
    Units u8;
    qelref::encodeUtf8(0x1F600, u8);
    EXPECT_EQ(u8, units({0xF0, 0x9F, 0x98, 0x80}));
    Units u16;
    qelref::encodeUtf16(0x10FFFF, u16);
    EXPECT_EQ(u16, units({0xDBFF, 0xDFFF}));
}

struct SeqCase {
    const char* what;
    SeqForm form;
    Units text;
    std::size_t expected;  // sequence length at position 0, 0 for none
};

TEST(ReferenceSequence, RecognisesByTheRulesOfEachForm) {
    Units seventeen{0x01};
    for (int i = 0; i < 17; ++i) seventeen.push_back(0x41);
    seventeen.push_back(0x02);
    Units eighteen{0x01};
    for (int i = 0; i < 18; ++i) eighteen.push_back(0x41);
    eighteen.push_back(0x02);
    Units seventeenTwoByte{0x01};
    for (int i = 0; i < 17; ++i) {
        seventeenTwoByte.push_back(0xC2);
        seventeenTwoByte.push_back(0x85);
    }
    seventeenTwoByte.push_back(0x02);

    const SeqCase cases[] = {
        {"empty sequence", SeqForm::Unit, {0x01, 0x02}, 2},
        {"plain content", SeqForm::Unit, {0x01, 0x41, 0x42, 0x43, 0x02}, 5},
        {"content 0x9F", SeqForm::Unit, {0x01, 0x9F, 0x02}, 3},
        {"content 0xA0 stops", SeqForm::Unit, {0x01, 0xA0, 0x02}, 0},
        {"content 0x1F stops", SeqForm::Unit, {0x01, 0x1F, 0x02}, 0},
        {"zero stops", SeqForm::Unit, {0x01, 0x41, 0x00, 0x02}, 0},
        {"second 0x01 stops", SeqForm::Unit, {0x01, 0x01, 0x41, 0x02}, 0},
        {"seventeen", SeqForm::Unit, seventeen, 19},
        {"eighteen", SeqForm::Unit, eighteen, 0},
        {"end of input", SeqForm::Unit, {0x01, 0x41}, 0},
        {"raw bytes 0x85", SeqForm::Unit, {0x01, 0x41, 0x85, 0x02}, 4},
        {"raw: C2 is no content", SeqForm::Unit, {0x01, 0x41, 0xC2, 0x80, 0x02}, 0},
        {"standard two-byte", SeqForm::Utf8, {0x01, 0x41, 0xC2, 0x85, 0x02}, 5},
        {"standard lone 0x85", SeqForm::Utf8, {0x01, 0x41, 0x85, 0x02}, 0},
        {"standard C2 A0 is no content", SeqForm::Utf8, {0x01, 0xC2, 0xA0, 0x02}, 0},
        {"standard C3 80 is no content", SeqForm::Utf8, {0x01, 0xC3, 0x80, 0x02}, 0},
        {"standard E2 stops", SeqForm::Utf8, {0x01, 0xE2, 0x82, 0xAC, 0x02}, 0},
        {"standard lead before 0x02", SeqForm::Utf8, {0x01, 0x41, 0xC2, 0x02}, 4},
        {"strict lead before 0x02", SeqForm::Utf8Strict, {0x01, 0x41, 0xC2, 0x02}, 0},
        {"strict two-byte", SeqForm::Utf8Strict, {0x01, 0xC2, 0x9F, 0x02}, 4},
        {"standard lead at the end", SeqForm::Utf8, {0x01, 0x41, 0xC2}, 0},
        {"standard seventeen two-byte", SeqForm::Utf8, seventeenTwoByte, 36},
        {"no 0x01", SeqForm::Unit, {0x41, 0x02}, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qelref::sequenceAt(c.form, c.text, 0, c.text.size()), c.expected) << c.what;
    }
}

TEST(ReferenceSequence, CarriesValuesBetweenForms) {
    Units std8{0x01, 0x41, 0xC2, 0x85, 0x02};
    auto values = qelref::sequenceValues(SeqForm::Utf8, std8, 0, std8.size());
    EXPECT_EQ(values, units({0x01, 0x41, 0x85, 0x02}));
    Units out;
    qelref::writeSequence(true, values, out);
    EXPECT_EQ(out, std8);
    out.clear();
    qelref::writeSequence(false, values, out);
    EXPECT_EQ(out, units({0x01, 0x41, 0x85, 0x02}));

    // The lone lead byte before 0x02 and the 0x02 make one value.
    Units quirk{0x01, 0x41, 0xC2, 0x02};
    EXPECT_EQ(qelref::sequenceValues(SeqForm::Utf8, quirk, 0, 4), units({0x01, 0x41, 0x82}));
}

TEST(ReferenceConvert, WalksCharactersAndSequences) {
    // UTF-16 a, U+00E9, 0x01 'AB' 0x02, 'c' into standard UTF-8.
    Units in{0x61, 0xE9, 0x01, 0x41, 0x42, 0x02, 0x63};
    auto c = qelref::convert(Enc::Utf16, Enc::Utf8, SeqForm::Unit, true, in, 0, in.size());
    EXPECT_FALSE(c.bad);
    EXPECT_EQ(qelref::joined(c), units({0x61, 0xC3, 0xA9, 0x01, 0x41, 0x42, 0x02, 0x63}));
    EXPECT_EQ(c.goodSize, 8u);
    ASSERT_EQ(c.pieces.size(), 4u);
    EXPECT_TRUE(c.pieces[0].fast);
    EXPECT_FALSE(c.pieces[1].fast);
    EXPECT_EQ(c.pieces[2].kind, qelref::Piece::Sequence);
}

TEST(ReferenceConvert, StopsAtTheFirstIllFormedCharacterAndAtZero) {
    Units in{0x61, 0xDC00, 0x62};
    auto c = qelref::convert(Enc::Utf16, Enc::Utf8, SeqForm::Unit, true, in, 0, in.size());
    EXPECT_TRUE(c.bad);
    EXPECT_EQ(c.goodSize, 1u);
    EXPECT_EQ(c.pieces.back().kind, qelref::Piece::Bad);
    EXPECT_EQ(c.pieces.back().pos, 1u);

    Units z{0x61, 0x62, 0x00, 0x63};
    auto d = qelref::convert(Enc::Utf32, Enc::Utf16, SeqForm::Unit, false, z, 0, z.size());
    EXPECT_EQ(qelref::joined(d), units({0x61, 0x62}));

    // A standard-form sequence that hides 0x85 is not one: the text is ill-formed.
    Units s{0x01, 0x41, 0x85, 0x02};
    auto e = qelref::convert(Enc::Utf8, Enc::Utf16, SeqForm::Utf8, false, s, 0, s.size());
    EXPECT_TRUE(e.bad);
    EXPECT_EQ(qelref::joined(e), units({0x01, 0x41}));
    auto f = qelref::convert(Enc::Utf8, Enc::Utf16, SeqForm::Unit, false, s, 0, s.size());
    EXPECT_FALSE(f.bad);
    EXPECT_EQ(qelref::joined(f), units({0x01, 0x41, 0x85, 0x02}));
}

TEST(ReferenceConvert, RawOutputKeepsOneBytePerUnit) {
    Units in{0x01, 0x41, 0x85, 0x02};
    auto std8 = qelref::convert(Enc::Utf16, Enc::Utf8, SeqForm::Unit, true, in, 0, in.size());
    auto raw8 = qelref::convert(Enc::Utf16, Enc::Utf8, SeqForm::Unit, false, in, 0, in.size());
    EXPECT_EQ(qelref::joined(std8), units({0x01, 0x41, 0xC2, 0x85, 0x02}));
    EXPECT_EQ(qelref::joined(raw8), units({0x01, 0x41, 0x85, 0x02}));
}

}  // namespace
