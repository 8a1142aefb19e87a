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
    bool outOfMemory;     // detach saw the failure
};

// Converts `input` into a fresh buffer whose first chunk has `left` units of
// room, then detaches and releases it.
template <class Pr>
AllocOutcome runAlloc(const Units& input, unsigned int left, qeltest::ProviderScope& provider) {
    using S = typename Pr::Src;
    using D = typename Pr::Dst;
    Block<S> in(input);
    const S* cursor = in.begin();
    qelChrXBuf<D> buf;
    for (D& unit : buf.firstChunk) unit = 0;
    D* out = buf.firstChunk + 512 - left;
    const D* outEnd = buf.firstChunk + 512;
    const int r = Pr::alloc(&buf, &out, &outEnd, &cursor, in.end());
    const unsigned int chunks = provider.allocs();
    unsigned int len = 0;
    bool failed = false;
    D* result = buf.detach(&len, out, outEnd, &failed, 0);
    buf.release();
    const std::size_t from = failed ? 0 : 512 - left;
    Units tail = result != nullptr ? unitsOf(result + from, result + len) : Units{};
    if (result != nullptr) qelStrFree(result);
    return {r, static_cast<std::size_t>(cursor - in.begin()), tail, chunks, failed};
}

AllocOutcome runAlloc(PairId id, const Units& input, unsigned int left, qeltest::ProviderScope& provider) {
    AllocOutcome o{};
    withPair(id, [&](auto pair) { o = runAlloc<decltype(pair)>(input, left, provider); });
    return o;
}

struct Case {
    PairId pair;
    Units in;
    unsigned int left;  // room left in the first chunk
    int result;
    Units tail;
    unsigned int chunks;
};

const Case kCases[] = {
    // Success values: 1 or 0 on an empty run, then the pair's rule.
    {PairId::U16U8, {}, 512, 1, {}, 0},
    {PairId::U16U32, {}, 512, 0, {}, 0},
    {PairId::U8U16, {}, 512, 1, {}, 0},
    {PairId::U8U32, {}, 512, 0, {}, 0},
    {PairId::U32U16, {}, 512, 1, {}, 0},
    {PairId::U32U8, {}, 512, 1, {}, 0},
    {PairId::U16U8, {0xE9, 'a'}, 512, 2, {0xC3, 0xA9, 'a'}, 0},
    {PairId::U16U32, {0xD83D, 0xDE00}, 512, 0, {0x1F600}, 0},
    {PairId::U8U16, {0xC3, 0xA9, 'a'}, 512, 2, {0xE9, 'a'}, 0},
    {PairId::U8U32, {'a'}, 512, 0, {'a'}, 0},
    {PairId::U8U32, {0xF0, 0x9F, 0x98, 0x80, 'a'}, 512, 4, {0x1F600, 'a'}, 0},
    {PairId::U32U16, {0xE000, 0x41}, 512, 1, {0xE000, 0x41}, 0},
    {PairId::U32U16, {0x1F600}, 512, 2, {0xD83D, 0xDE00}, 0},
    {PairId::U32U8, {0x41}, 512, 1, {0x41}, 0},
    // A character that does not fit is split across two chunks.
    {PairId::U16U8, {0xD83D, 0xDE00}, 2, 4, {0xF0, 0x9F, 0x98, 0x80}, 1},
    {PairId::U16U8, {0x20AC}, 1, 3, {0xE2, 0x82, 0xAC}, 1},
    {PairId::U32U8, {0x1F600}, 1, 4, {0xF0, 0x9F, 0x98, 0x80}, 1},
    {PairId::U8U16, {0xF0, 0x9F, 0x98, 0x80}, 1, 4, {0xD83D, 0xDE00}, 1},
    {PairId::U32U16, {0x1F600}, 1, 2, {0xD83D, 0xDE00}, 1},
    // A chunk filled exactly moves on only when input remains.
    {PairId::U16U32, {'a', 'b'}, 1, 0, {'a', 'b'}, 1},
    {PairId::U8U32, {'a'}, 1, 0, {'a'}, 0},
    {PairId::U16U8, {0xE9}, 2, 2, {0xC3, 0xA9}, 0},
    // Validity before room: a bad character at a chunk's end takes no chunk.
    {PairId::U8U16, {0xF0, 0x9F, 0x98}, 1, kIllFormed, {}, 0},
    {PairId::U32U8, {0x110000}, 1, kIllFormed, {}, 0},
};

TEST(AllocCores, ResultsChunkMovesAndSplits) {
    for (std::size_t i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        const Case& k = kCases[i];
        qeltest::ProviderScope provider;
        const AllocOutcome o = runAlloc(k.pair, k.in, k.left, provider);
        EXPECT_EQ(o.result, k.result) << "case " << i;
        EXPECT_EQ(o.tail, k.tail) << "case " << i;
        EXPECT_EQ(o.chunks, k.chunks) << "case " << i;
        EXPECT_EQ(o.consumed, k.result == kIllFormed ? 0 : k.in.size()) << "case " << i;
    }
}

// 1,000 one-unit characters fill the first chunk and go on in a chunk of 1,024.
TEST(AllocCores, LongRunContinuesInADoubledChunk) {
    for (PairId pair : {PairId::U16U8, PairId::U16U32, PairId::U8U16, PairId::U8U32, PairId::U32U16, PairId::U32U8}) {
        qeltest::ProviderScope provider;
        Units in(1000);
        for (std::size_t i = 0; i < in.size(); ++i) in[i] = 0x20 + i % 90;
        const AllocOutcome o = runAlloc(pair, in, 512, provider);
        EXPECT_EQ(o.tail, in);
        ASSERT_FALSE(provider.allocSizes().empty());
        unsigned int unitSize = 0;
        withPair(pair, [&](auto p) { unitSize = sizeof(typename decltype(p)::Dst); });
        EXPECT_EQ(provider.allocSizes()[0], 1024 * unitSize);
    }
}

// No chunk to be had: -ENOMEM with the cursors as before the move, and detach
// reports the failure.
TEST(AllocCores, OutOfMemoryKeepsCursorsAsBeforeTheMove) {
    const struct {
        PairId pair;
        Units in;
        unsigned int left;
        std::size_t consumed;
    } cases[] = {
        {PairId::U16U8, {'a', 'b'}, 1, 1},             // full chunk
        {PairId::U16U8, {0xD83D, 0xDE00}, 3, 0},       // split
        {PairId::U8U16, {'a', 0xF0, 0x9F, 0x98, 0x80}, 2, 1},
        {PairId::U32U16, {0x1F600}, 1, 0},
        {PairId::U8U32, {'a', 'b'}, 1, 1},
    };
    for (const auto& k : cases) {
        qeltest::ProviderScope provider;
        provider.failAllocNumber(1);
        withPair(k.pair, [&](auto pair) {
            using Pr = decltype(pair);
            using D = typename Pr::Dst;
            Block<typename Pr::Src> in(k.in);
            const typename Pr::Src* cursor = in.begin();
            qelChrXBuf<D> buf;
            D* const start = buf.firstChunk + 512 - k.left;
            D* out = start;
            const D* outEnd = buf.firstChunk + 512;
            EXPECT_EQ(Pr::alloc(&buf, &out, &outEnd, &cursor, in.end()), kNoMemory);
            EXPECT_EQ(static_cast<std::size_t>(cursor - in.begin()), k.consumed);
            EXPECT_EQ(out, start + k.consumed);  // each consumed unit here is one output unit
            EXPECT_EQ(outEnd, buf.firstChunk + 512);
            EXPECT_EQ(buf.curSlot, buf.chunks + 1);
            EXPECT_EQ(buf.chunks[1], nullptr);
            unsigned int len = 7;
            bool failed = false;
            D* result = buf.detach(&len, out, outEnd, &failed, 0);
            buf.release();
            EXPECT_TRUE(failed);
            EXPECT_EQ(len, 0u);
            ASSERT_NE(result, nullptr);
            EXPECT_EQ(result[0], 0);
            qelStrFree(result);
        });
    }
}

}  // namespace
