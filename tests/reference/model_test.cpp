// The fuzz targets hold the library to the outcomes that fuzz/model.cpp works
// out; these cases pin that model to the documented behaviour of the
// whole-string conversions at their edges, so that model and library cannot
// drift apart together.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "model.h"

using qelfuzz::Pair;
using qelref::Enc;
using qelref::Units;

namespace {

constexpr std::uint32_t F = 0x1, NT = 0x2, RAW = 0x40000000;

struct BoundedCase {
    const char* what;
    Pair pair;
    Units in;
    bool nullOut;
    std::uint32_t outSize;
    std::uint32_t flags;
    int status;
    std::uint32_t outLen;
    Units text;
};

TEST(ModelBounded, MatchesTheDocumentedEdges) {
    const Pair u16u8{Enc::Utf16, Enc::Utf8, false}, u16raw8{Enc::Utf16, Enc::Utf8, true};
    const Pair u8u16{Enc::Utf8, Enc::Utf16, false}, raw8u16{Enc::Utf8, Enc::Utf16, true};
    const BoundedCase cases[] = {
        {"fits", u16u8, {0x61, 0xE9, 0x62}, false, 10, 0, 0, 4, {0x61, 0xC3, 0xA9, 0x62}},
        {"safe converter gives back the last byte", u16u8, {0x61, 0xE9, 0x62}, false, 4, 0, 68, 3, {0x61, 0xC3, 0xA9}},
        {"no room for U+00E9 and a terminator", u16u8, {0x61, 0xE9, 0x62}, false, 3, 0, 68, 1, {0x61}},
        {"no terminator: fills to the end", u16u8, {0x61, 0xE9, 0x62}, false, 4, NT, 0, 4, {0x61, 0xC3, 0xA9, 0x62}},
        {"no terminator: last run lost at a full buffer", u16u8, {0x61, 0xE9, 0x62}, false, 3, NT, 0, 3, {0x61, 0xC3, 0xA9}},
        {"fast path keeps two units free", u16u8, {0x61, 0x62, 0x63}, false, 3, 0, 68, 2, {0x61, 0x62}},
        {"fast path without terminator", u16u8, {0x61, 0x62, 0x63}, false, 3, NT, 0, 3, {0x61, 0x62, 0x63}},
        {"length query", u16u8, {0x61, 0xE9, 0xD83D, 0xDE00}, true, 0, 0, 0, 7, {}},
        {"ill-formed", u16u8, {0x61, 0xDC00, 0x62}, false, 10, 0, 368, 1, {0x61}},
        {"full length counts ASCII one by one", u16u8, {0x61, 0x62, 0x63, 0x64, 0x65, 0x66}, false, 3, F, 68, 6, {0x61, 0x62}},
        {"full length leaves the last run uncounted", u16u8, {0xE9, 0xE9}, false, 3, F, 68, 2, {0xC3, 0xA9}},
        {"full length measures a run before a sequence", u16u8, {0x61, 0xE9, 0x01, 0x41, 0x02, 0xE9}, false, 2, F, 0, 8, {0x61}},
        {"standard sequence", u16u8, {0x01, 0x41, 0x85, 0x02}, false, 10, 0, 0, 5, {0x01, 0x41, 0xC2, 0x85, 0x02}},
        {"raw sequence", u16raw8, {0x01, 0x41, 0x85, 0x02}, false, 10, RAW, 0, 4, {0x01, 0x41, 0x85, 0x02}},
        {"standard sequence query", u16u8, {0x01, 0x41, 0x85, 0x02}, true, 0, 0, 0, 5, {}},
        {"raw sequence query", u16raw8, {0x01, 0x41, 0x85, 0x02}, true, 0, RAW, 0, 4, {}},
        {"cut standard sequence closed", u16u8, {0x01, 0x85, 0x85, 0x02}, false, 5, 0, 68, 4, {0x01, 0xC2, 0x85, 0x02}},
        {"cut standard sequence dropped", u16u8, {0x01, 0x85, 0x85, 0x02}, false, 4, 0, 68, 0, {}},
        {"0x85 is no standard content", u8u16, {0x01, 0x41, 0x85, 0x02}, false, 10, 0, 368, 2, {0x01, 0x41}},
        {"0x85 is raw content", raw8u16, {0x01, 0x41, 0x85, 0x02}, false, 10, RAW, 0, 4, {0x01, 0x41, 0x85, 0x02}},
        {"cut fixed sequence closed", u8u16, {0x41, 0x01, 0x42, 0x43, 0x44, 0x02}, false, 6, 0, 68, 5, {0x41, 0x01, 0x42, 0x43, 0x02}},
        {"cut fixed sequence dropped under full length", u8u16, {0x41, 0x01, 0x42, 0x43, 0x44, 0x02}, false, 6, F, 68, 6, {0x41}},
        {"zero-sized buffer", u16u8, {0x61}, false, 0, 0, 35, 0, {}},
        {"one unit of room", u16u8, {0x61}, false, 1, 0, 68, 0, {}},
    };
    for (const auto& c : cases) {
        auto o = qelfuzz::boundedCall(c.pair, c.in, false, static_cast<std::uint32_t>(c.in.size()), c.nullOut,
                                      c.outSize, c.flags);
        EXPECT_EQ(o.status, c.status) << c.what;
        EXPECT_EQ(o.outLen, c.outLen) << c.what;
        if (!c.nullOut) {
            EXPECT_EQ(o.text, c.text) << c.what;
        }
    }
}

TEST(ModelBounded, EmptyInputAndInputLength) {
    const Pair p{Enc::Utf16, Enc::Utf8, false};
    auto empty = qelfuzz::boundedCall(p, {0x61}, false, 0, false, 10, 0);
    EXPECT_EQ(empty.status, 0);
    EXPECT_TRUE(empty.terminator);
    EXPECT_TRUE(empty.text.empty());
    auto noTerm = qelfuzz::boundedCall(p, {0x61}, false, 0, false, 10, NT);
    EXPECT_TRUE(noTerm.writesNothing);
    auto emptyZeroSize = qelfuzz::boundedCall(p, {0x61}, false, 0, false, 0, 0);
    EXPECT_EQ(emptyZeroSize.status, 0);
    auto shortLen = qelfuzz::boundedCall(p, {0x61, 0x62, 0x00, 0x63, 0x64}, false, 5, false, 10, 0);
    EXPECT_EQ(shortLen.outLen, 2u);
    auto allOnes = qelfuzz::boundedCall(p, {0x61, 0x62, 0x00}, false, 0xFFFFFFFFu, false, 10, 0);
    EXPECT_EQ(allOnes.text, (Units{0x61, 0x62}));
}

TEST(ModelCopy, MatchesTheDocumentedEdges) {
    struct Case {
        Units in;
        std::uint32_t outSize;
        int status;
        Units text;
    };
    const Case cases[] = {
        {{0x61, 0x62, 0x63}, 4, 0, {0x61, 0x62, 0x63}},
        {{0x61, 0x62, 0x63}, 3, 68, {0x61, 0x62}},
        {{0x61}, 1, 68, {}},
        {{0xD800, 0x41}, 10, 0, {0xD800, 0x41}},
        {{0x01, 0x01, 0x41, 0x02}, 10, 0, {0x01, 0x01, 0x41, 0x02}},
        {{0x41, 0x01, 0x42, 0x43, 0x44, 0x02}, 6, 68, {0x41, 0x01, 0x42, 0x43, 0x02}},
        {{0x01, 0x41, 0x02}, 3, 68, {}},
        {{0x01, 0x41, 0x42, 0x43, 0x44, 0x45, 0x02}, 5, 68, {0x01, 0x41, 0x42, 0x02}},
        {{0x01, 0x41, 0x42, 0x43, 0x44, 0x45, 0x02}, 4, 68, {0x01, 0x41, 0x02}},
    };
    for (const auto& c : cases) {
        auto o = qelfuzz::boundedCopy(c.in, false, static_cast<std::uint32_t>(c.in.size()), false, c.outSize);
        EXPECT_EQ(o.status, c.status);
        EXPECT_EQ(o.text, c.text);
        EXPECT_EQ(o.outLen, c.text.size());
    }
}

TEST(ModelErrno, MatchesTheDocumentedEdges) {
    struct Case {
        const char* what;
        Enc from, to;
        Units src;  // without its terminator
        bool nullDst;
        std::size_t n;
        std::size_t result;
        bool eilseq;
        Units text;
        bool terminator;
    };
    const std::size_t fail = static_cast<std::size_t>(-1);
    const Case cases[] = {
        {"fits", Enc::Utf16, Enc::Utf8, {0x61, 0x62}, false, 3, 2, false, {0x61, 0x62}, true},
        {"fills exactly", Enc::Utf16, Enc::Utf8, {0x61, 0x62}, false, 2, 2, false, {0x61, 0x62}, false},
        {"cut by the last run", Enc::Utf16, Enc::Utf8, {0x61, 0x62}, false, 1, 1, false, {0x61}, false},
        {"three bytes exactly", Enc::Utf16, Enc::Utf8, {0x20AC}, false, 3, 3, false, {0xE2, 0x82, 0xAC}, false},
        {"no room for U+20AC", Enc::Utf16, Enc::Utf8, {0x20AC}, false, 2, 2, false, {}, true},
        {"measuring", Enc::Utf16, Enc::Utf8, {0x61, 0xE9, 0xD83D, 0xDE00}, true, 0, 7, false, {}, false},
        {"ill-formed", Enc::Utf16, Enc::Utf8, {0x61, 0xDC00, 0x62}, false, 10, fail, true, {0x61}, true},
        {"sequence fills the output at the end", Enc::Utf16, Enc::Utf8, {0x01, 0x41, 0x42, 0x43, 0x02}, false, 5, 5,
         false, {0x01, 0x41, 0x42, 0x43, 0x02}, false},
        {"sequence cut before more text", Enc::Utf16, Enc::Utf8, {0x01, 0x41, 0x42, 0x43, 0x02, 0x78}, false, 5, 5,
         false, {0x01, 0x41, 0x42, 0x02}, true},
        {"pair counts two units", Enc::Utf8, Enc::Utf16, {0xF0, 0x9F, 0x98, 0x80}, true, 0, 2, false, {}, false},
        {"lead before 0x02 is no sequence here", Enc::Utf8, Enc::Utf16, {0x01, 0x41, 0xC2, 0x02}, false, 10, fail,
         true, {0x01, 0x41}, true},
    };
    for (const auto& c : cases) {
        Units src = c.src;
        src.push_back(0);
        auto o = qelfuzz::errnoCall(c.from, c.to, src, false, c.nullDst, c.n);
        EXPECT_EQ(o.result, c.result) << c.what;
        EXPECT_EQ(o.setsEilseq, c.eilseq) << c.what;
        if (!c.nullDst) {
            EXPECT_EQ(o.text, c.text) << c.what;
            EXPECT_EQ(o.terminator, c.terminator) << c.what;
        }
    }
}

}  // namespace
