// The allocating cores of every pair: success values, chunk moves, characters
// split across chunks, and running out of memory.
#include <gtest/gtest.h>

#include "common/common.h"
#include "core_test_harness.h"
#include "support/test_provider.h"

namespace {

using namespace coretest;
using qel::kIllFormed;
using qel::kNoMemory;

struct AllocOutcome {
    int result;
    std::size_t consumed;
    Units tail;           // the result of detach from the first unit this call wrote
    unsigned int chunks;  // chunk allocations during the call
    bool cursorsInPlace;  // *out and *outEnd still in the first chunk, past the consumed units
    bool failed;          // detach saw that memory ran out
};

// Converts `input` into a fresh buffer whose first chunk has `left` units of
// room, then detaches and releases it. With no memory every request fails.
template <class Pr>
AllocOutcome runAlloc(const Units& input, unsigned int left, bool noMemory) {
    using S = typename Pr::Src;
    using D = typename Pr::Dst;
    qeltest::ProviderScope provider;
    if (noMemory) provider.failAllocNumber(1);
    Block<S> in(input);
    const S* cursor = in.begin();
    qelChrXBuf<D> buf;
    for (D& unit : buf.firstChunk) unit = 0;
    D* const start = buf.firstChunk + 512 - left;
    D* out = start;
    const D* outEnd = buf.firstChunk + 512;
    const int r = qel::core::convertAlloc<Pr>(&buf, &out, &outEnd, &cursor, in.end());
    const std::size_t consumed = static_cast<std::size_t>(cursor - in.begin());
    // Here each consumed unit before the failure is one output unit.
    const bool inPlace = out == start + consumed && outEnd == buf.firstChunk + 512;
    const unsigned int chunks = provider.allocs();
    unsigned int len = 0;
    bool failed = false;
    D* result = buf.detach(&len, out, outEnd, &failed, 0);
    buf.release();
    const std::size_t from = failed ? 0 : 512 - left;
    Units tail = result != nullptr ? unitsOf(result + from, result + len) : Units{};
    if (result != nullptr) qelStrFree(result);
    return {r, consumed, tail, chunks, inPlace, failed};
}

AllocOutcome runAlloc(PairId id, const Units& input, unsigned int left, bool noMemory = false) {
    AllocOutcome o{};
    withPair(id, [&](auto pair) { o = runAlloc<decltype(pair)>(input, left, noMemory); });
    return o;
}

struct Case {
    PairId pair;
    Units in;
    unsigned int left;  // room left in the first chunk
    int result;
    std::size_t consumed;
    Units tail;
    unsigned int chunks;
    bool noMemory;
};

const Case kCases[] = {
    // Success values: 1 or 0 on an empty run, then the pair's rule.
    {PairId::U16U8, {}, 512, 1, 0, {}, 0, false},
    {PairId::U16U32, {}, 512, 0, 0, {}, 0, false},
    {PairId::U8U16, {}, 512, 1, 0, {}, 0, false},
    {PairId::U8U32, {}, 512, 0, 0, {}, 0, false},
    {PairId::U32U16, {}, 512, 1, 0, {}, 0, false},
    {PairId::U32U8, {}, 512, 1, 0, {}, 0, false},
    {PairId::U16U8, {0xE9, 'a'}, 512, 2, 2, {0xC3, 0xA9, 'a'}, 0, false},
    {PairId::U16U32, {0xD83D, 0xDE00}, 512, 0, 2, {0x1F600}, 0, false},
    {PairId::U8U16, {0xC3, 0xA9, 'a'}, 512, 2, 3, {0xE9, 'a'}, 0, false},
    {PairId::U8U32, {0xF0, 0x9F, 0x98, 0x80, 'a'}, 512, 4, 5, {0x1F600, 'a'}, 0, false},
    {PairId::U32U16, {0xE000, 0x41}, 512, 1, 2, {0xE000, 0x41}, 0, false},
    {PairId::U32U16, {0x1F600}, 512, 2, 1, {0xD83D, 0xDE00}, 0, false},
    // A character that does not fit is split across two chunks.
    {PairId::U16U8, {0xD83D, 0xDE00}, 2, 4, 2, {0xF0, 0x9F, 0x98, 0x80}, 1, false},
    {PairId::U16U8, {0x20AC}, 1, 3, 1, {0xE2, 0x82, 0xAC}, 1, false},
    {PairId::U32U8, {0x1F600}, 1, 4, 1, {0xF0, 0x9F, 0x98, 0x80}, 1, false},
    {PairId::U8U16, {0xF0, 0x9F, 0x98, 0x80}, 1, 4, 4, {0xD83D, 0xDE00}, 1, false},
    {PairId::U32U16, {0x1F600}, 1, 2, 1, {0xD83D, 0xDE00}, 1, false},
    // A chunk filled exactly moves on only when input remains.
    {PairId::U16U32, {'a', 'b'}, 1, 0, 2, {'a', 'b'}, 1, false},
    {PairId::U8U32, {'a'}, 1, 0, 1, {'a'}, 0, false},
    {PairId::U16U8, {0xE9}, 2, 2, 1, {0xC3, 0xA9}, 0, false},
    // Validity before room: a bad character at a chunk's end takes no chunk.
    {PairId::U8U16, {0xF0, 0x9F, 0x98}, 1, kIllFormed, 0, {}, 0, false},
    {PairId::U32U8, {0x110000}, 1, kIllFormed, 0, {}, 0, false},
    // No chunk to be had, for a full chunk or a split: cursors as before the move.
    {PairId::U16U8, {'a', 'b'}, 1, kNoMemory, 1, {}, 1, true},
    {PairId::U16U8, {0xD83D, 0xDE00}, 3, kNoMemory, 0, {}, 1, true},
    {PairId::U8U16, {'a', 0xF0, 0x9F, 0x98, 0x80}, 2, kNoMemory, 1, {}, 1, true},
    {PairId::U32U16, {0x1F600}, 1, kNoMemory, 0, {}, 1, true},
    {PairId::U8U32, {'a', 'b'}, 1, kNoMemory, 1, {}, 1, true},
};

TEST(AllocCores, ResultsChunkMovesSplitsAndFailures) {
    for (std::size_t i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        const Case& k = kCases[i];
        const AllocOutcome o = runAlloc(k.pair, k.in, k.left, k.noMemory);
        EXPECT_EQ(o.result, k.result) << "case " << i;
        EXPECT_EQ(o.consumed, k.consumed) << "case " << i;
        EXPECT_EQ(o.tail, k.tail) << "case " << i;
        EXPECT_EQ(o.chunks, k.chunks) << "case " << i;
        EXPECT_EQ(o.failed, k.noMemory) << "case " << i;
        if (k.noMemory) {
            EXPECT_TRUE(o.cursorsInPlace) << "case " << i;
        }
    }
}

// 1,000 one-unit characters fill the first chunk and go on in a chunk of 1,024.
TEST(AllocCores, LongRunContinuesInADoubledChunk) {
    Units in(1000);
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = 0x20 + i % 90;
    for (PairId pair : {PairId::U16U8, PairId::U16U32, PairId::U8U16, PairId::U8U32, PairId::U32U16, PairId::U32U8}) {
        const AllocOutcome o = runAlloc(pair, in, 512);
        EXPECT_GE(o.result, 0);
        EXPECT_EQ(o.tail, in);
        EXPECT_EQ(o.chunks, 1u);
    }
}

}  // namespace
