// The measuring cores, safe converters and fill converters of every pair.
#include <gtest/gtest.h>

#include "common/common.h"
#include "core_test_harness.h"

namespace {

using namespace coretest;
using qel::kIllFormed;
using qel::kNoRoom;

constexpr unsigned int a = 'a', b = 'b', c = 'c';

struct Case {
    PairId pair;
    Kind kind;
    Units in;
    std::size_t room;  // output units given (ignored when measuring)
    int result;
    std::size_t consumed;
    Units out;  // when measuring, only its size (the count) is compared
};

const Case kCases[] = {
    // UTF-16 -> UTF-8: the measuring core answers 0; the safe converter reports
    // every character, the fill converter only multi-byte ones.
    {PairId::U16U8, Kind::Measure, {}, 0, 0, 0, {}},
    {PairId::U16U8, Kind::Measure, {a, 0xE9, 0x7FF, 0x800, 0xD83D, 0xDE00}, 0, 0, 6, Units(12)},
    {PairId::U16U8, Kind::Safe, {}, 4, 0, 0, {}},
    {PairId::U16U8, Kind::Safe, {a, b}, 3, 1, 2, {a, b}},
    {PairId::U16U8, Kind::Safe, {a, b}, 2, kNoRoom, 1, {a}},
    {PairId::U16U8, Kind::Safe, {a}, 1, kNoRoom, 0, {}},
    {PairId::U16U8, Kind::Safe, {0x20AC}, 3, kNoRoom, 0, {}},
    {PairId::U16U8, Kind::Safe, {0x20AC}, 4, 3, 1, {0xE2, 0x82, 0xAC}},
    {PairId::U16U8, Kind::Safe, {0xD83D, 0xDE00}, 3, kNoRoom, 0, {}},
    {PairId::U16U8, Kind::Safe, {0xD83D, 0xDE00}, 4, kNoRoom, 0, {}},
    {PairId::U16U8, Kind::Safe, {0xD83D, 0xDE00, a}, 6, 1, 3, {0xF0, 0x9F, 0x98, 0x80, a}},
    {PairId::U16U8, Kind::Safe, {a, 0xE9}, 4, 2, 2, {a, 0xC3, 0xA9}},
    {PairId::U16U8, Kind::Fill, {}, 4, 0, 0, {}},
    {PairId::U16U8, Kind::Fill, {a}, 0, 0, 0, {}},
    {PairId::U16U8, Kind::Fill, {a, b}, 2, 0, 2, {a, b}},
    {PairId::U16U8, Kind::Fill, {a, b, c}, 2, 0, 2, {a, b}},
    {PairId::U16U8, Kind::Fill, {0x20AC}, 3, 3, 1, {0xE2, 0x82, 0xAC}},
    {PairId::U16U8, Kind::Fill, {0xD83D, 0xDE00}, 3, kNoRoom, 0, {}},
    {PairId::U16U8, Kind::Fill, {a, 0x20AC}, 3, kNoRoom, 1, {a}},
    {PairId::U16U8, Kind::Fill, {0xE9, a}, 8, 2, 2, {0xC3, 0xA9, a}},

    // UTF-16 -> UTF-32: every success is 0; a withdrawn pair steps back two units.
    {PairId::U16U32, Kind::Measure, {a, 0xD83D, 0xDE00, 0xFFFF}, 0, 0, 4, Units(3)},
    {PairId::U16U32, Kind::Safe, {a, b, 0xD83D, 0xDE00}, 4, 0, 4, {a, b, 0x1F600}},
    {PairId::U16U32, Kind::Safe, {a, b, 0xD83D, 0xDE00}, 3, kNoRoom, 2, {a, b}},
    {PairId::U16U32, Kind::Safe, {a}, 1, kNoRoom, 0, {}},
    {PairId::U16U32, Kind::Safe, {0xE000, 0xFFFD}, 3, 0, 2, {0xE000, 0xFFFD}},

    // UTF-8 -> UTF-16: success values are input lengths.
    {PairId::U8U16, Kind::Measure, {a, 0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80}, 0, 4, 7, Units(4)},
    {PairId::U8U16, Kind::Measure, {0xC3, 0xA9, a}, 0, 2, 3, Units(2)},
    {PairId::U8U16, Kind::Measure, {a, b}, 0, 0, 2, Units(2)},
    {PairId::U8U16, Kind::Safe, {a, b, c}, 4, 1, 3, {a, b, c}},
    {PairId::U8U16, Kind::Safe, {a, b, c}, 3, kNoRoom, 2, {a, b}},
    {PairId::U8U16, Kind::Safe, {0xF0, 0x9F, 0x98, 0x80}, 1, kNoRoom, 0, {}},
    {PairId::U8U16, Kind::Safe, {0xF0, 0x9F, 0x98, 0x80}, 2, kNoRoom, 0, {}},
    {PairId::U8U16, Kind::Safe, {0xF0, 0x9F, 0x98, 0x80}, 3, 4, 4, {0xD83D, 0xDE00}},
    {PairId::U8U16, Kind::Safe, {0xE2, 0x82, 0xAC}, 2, 3, 3, {0x20AC}},
    {PairId::U8U16, Kind::Fill, {0xF0, 0x9F, 0x98, 0x80}, 2, 4, 4, {0xD83D, 0xDE00}},
    {PairId::U8U16, Kind::Fill, {0xF0, 0x9F, 0x98, 0x80}, 1, kNoRoom, 0, {}},
    {PairId::U8U16, Kind::Fill, {0xC3, 0xA9, a, b}, 2, 2, 3, {0xE9, a}},

    // UTF-8 -> UTF-32: the safe converter keeps the fill converter's value and
    // steps its input back by that value when it withdraws.
    {PairId::U8U32, Kind::Measure, {a, 0xC3, 0xA9, b}, 0, 2, 4, Units(3)},
    {PairId::U8U32, Kind::Safe, {0xE2, 0x82, 0xAC, 0xC3, 0xA9}, 2, kNoRoom, 3, {0x20AC}},
    {PairId::U8U32, Kind::Safe, {a, b}, 2, kNoRoom, 2, {a}},
    {PairId::U8U32, Kind::Safe, {a}, 1, kNoRoom, 1, {}},
    {PairId::U8U32, Kind::Safe, {0xC3, 0xA9, a}, 3, 2, 3, {0xE9, a}},
    {PairId::U8U32, Kind::Safe, {0xC3, 0xA9, a}, 2, kNoRoom, 1, {0xE9}},
    {PairId::U8U32, Kind::Safe, {0xF0, 0x9F, 0x98, 0x80}, 1, kNoRoom, 0, {}},
    {PairId::U8U32, Kind::Safe, {a, b}, 3, 0, 2, {a, b}},
    {PairId::U8U32, Kind::Fill, {a, b, c}, 2, 0, 2, {a, b}},
    {PairId::U8U32, Kind::Fill, {0xF0, 0x9F, 0x98, 0x80, a}, 8, 4, 5, {0x1F600, a}},

    // UTF-32 -> UTF-16: units below 0xD800 leave the measuring and fill values.
    {PairId::U32U16, Kind::Measure, {0x41, 0x1F600}, 0, 2, 2, Units(3)},
    {PairId::U32U16, Kind::Measure, {0x41, 0xD7FF}, 0, 0, 2, Units(2)},
    {PairId::U32U16, Kind::Measure, {0xE000, 0x41}, 0, 1, 2, Units(2)},
    {PairId::U32U16, Kind::Safe, {0x41, 0x42}, 2, kNoRoom, 1, {0x41}},
    {PairId::U32U16, Kind::Safe, {0x41, 0x1F600}, 4, 2, 2, {0x41, 0xD83D, 0xDE00}},
    {PairId::U32U16, Kind::Safe, {0x1F600, 0x41}, 4, 1, 2, {0xD83D, 0xDE00, 0x41}},
    {PairId::U32U16, Kind::Safe, {0x10FFFF}, 2, kNoRoom, 0, {}},
    {PairId::U32U16, Kind::Fill, {0x41, 0x1F600}, 2, kNoRoom, 1, {0x41}},
    {PairId::U32U16, Kind::Fill, {0x41, 0x10FFFF}, 3, 2, 2, {0x41, 0xDBFF, 0xDFFF}},
    {PairId::U32U16, Kind::Fill, {0xE000, 0x41}, 8, 1, 2, {0xE000, 0x41}},

    // UTF-32 -> UTF-8: success values are output sizes.
    {PairId::U32U8, Kind::Measure, {0x41, 0x20AC, 0x42}, 0, 3, 3, Units(5)},
    {PairId::U32U8, Kind::Safe, {0x20AC}, 3, kNoRoom, 0, {}},
    {PairId::U32U8, Kind::Safe, {0x20AC, 0x41}, 5, 1, 2, {0xE2, 0x82, 0xAC, 0x41}},
    {PairId::U32U8, Kind::Safe, {0x10FFFF}, 5, 4, 1, {0xF4, 0x8F, 0xBF, 0xBF}},
    {PairId::U32U8, Kind::Fill, {0x20AC}, 3, 3, 1, {0xE2, 0x82, 0xAC}},
    {PairId::U32U8, Kind::Fill, {0x1F600, 0x41}, 5, 4, 2, {0xF0, 0x9F, 0x98, 0x80, 0x41}},
};

TEST(BoundedCores, ResultsCursorsAndOutput) {
    for (std::size_t i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        const Case& k = kCases[i];
        const Outcome o = run(k.pair, k.kind, k.in, k.room);
        EXPECT_EQ(o.result, k.result) << "case " << i;
        EXPECT_EQ(o.consumed, k.consumed) << "case " << i;
        if (k.kind == Kind::Measure) {
            EXPECT_EQ(o.out.size(), k.out.size()) << "case " << i;
        } else {
            EXPECT_EQ(o.out, k.out) << "case " << i;
        }
    }
}

TEST(BoundedCores, WithdrawnCharacterStaysBeyondTheCursor) {
    const Outcome o = run(PairId::U16U8, Kind::Safe, {0x20AC}, 3);
    EXPECT_EQ(o.result, kNoRoom);
    EXPECT_TRUE(o.out.empty());
    EXPECT_EQ(o.buffer, (Units{0xE2, 0x82, 0xAC}));
}

// Ill-formed characters of each source encoding, checked once followed by
// 'z' and once cut by the end of the run (in an exactly sized block, so a look
// past the run is caught).
const Units kBadUtf16[] = {{0xDC00}, {0xD83D}, {0xD83D, 0x41}, {0xD83D, 0xD83D, 0xDE00}, {0xD83D, 0}};
const Units kBadUtf8[] = {
    {0x80},       {0xC0, 0x80},       {0xC1, 0xBF},             {0xF5, 0x80, 0x80, 0x80}, {0xF8, 0x88, 0x80, 0x80},
    {0xFF},       {0xC3, 0x41},       {0xE2, 0x82, 0x41},       {0xF0, 0x9F, 0x98, 0x00}, {0xE0, 0x9F, 0x80},
    {0xE2, 0x82}, {0xF0, 0x9F, 0x98}, {0xF0, 0x8F, 0xBF, 0xBF}, {0xED, 0xA0, 0x80},       {0xF4, 0x90, 0x80, 0x80},
    {0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80},
};
const Units kBadUtf32[] = {{0xD800}, {0xDFFF}, {0x110000}, {0xFFFFFFFF}};

struct Source {
    const Units* begin;
    const Units* end;
    PairId pairs[2];
};
const Source kSources[] = {
    {std::begin(kBadUtf16), std::end(kBadUtf16), {PairId::U16U8, PairId::U16U32}},
    {std::begin(kBadUtf8), std::end(kBadUtf8), {PairId::U8U16, PairId::U8U32}},
    {std::begin(kBadUtf32), std::end(kBadUtf32), {PairId::U32U16, PairId::U32U8}},
};

TEST(BoundedCores, IllFormedStopsEveryCoreOnItsFirstUnit) {
    for (const Source& s : kSources) {
        for (const Units* bad = s.begin; bad != s.end; ++bad) {
            Units in{'a'};
            in.insert(in.end(), bad->begin(), bad->end());
            const Units cut = in;
            in.push_back('z');
            for (PairId pair : s.pairs) {
                for (Kind kind : {Kind::Measure, Kind::Safe, Kind::Fill}) {
                    if (pair == PairId::U16U32 && kind == Kind::Fill) continue;
                    for (const Units& input : {in, cut}) {
                        const Outcome o = run(pair, kind, input, 16);
                        EXPECT_EQ(o.result, kIllFormed) << "pair " << int(pair) << " first unit " << (*bad)[0];
                        EXPECT_EQ(o.consumed, 1u);
                        EXPECT_EQ(o.out.size(), 1u);
                    }
                    // Validity before room: ill-formed even where nothing would fit.
                    if (kind != Kind::Measure) {
                        EXPECT_EQ(run(pair, kind, Units(in.begin() + 1, in.end()), 1).result, kIllFormed);
                    }
                }
            }
        }
    }
}

}  // namespace
