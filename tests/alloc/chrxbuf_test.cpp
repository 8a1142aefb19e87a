// The growing character buffer qelChrXBuf<T> and appendSequence.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

#include "common/sequence.h"
#include "core/output.h"
#include "qel/qelcore.h"
#include "support/test_provider.h"

// The sequence copiers into a growing buffer, as the engine carries a
// sequence into its chunked output.
namespace qel {
template <class From, class To, class T>
bool appendSequence(qelChrXBuf<T>* buf, T** out, const T** outEnd, const typename From::Unit* begin,
                    const typename From::Unit* end) {
    core::Chunked<T> o{{*out, *outEnd}, buf};
    const bool complete = core::carrySequence<From, To>(begin, end, o);
    *out = o.o;
    *outEnd = o.end;
    return complete;
}
#define QEL_STD_COPIER(T, S, From, To) \
    inline bool appendSequence(qelChrXBuf<T>* b, T** o, const T** e, const S* p, const S* q) { \
        return appendSequence<seq::From, seq::To>(b, o, e, p, q); \
    }
QEL_STD_COPIER(char, u16, Utf16Form, StdUtf8Form)
QEL_STD_COPIER(char, u32, Utf32Form, StdUtf8Form)
QEL_STD_COPIER(u16, u8, StdUtf8Form, Utf16Form)
QEL_STD_COPIER(u32, u8, StdUtf8Form, Utf32Form)
QEL_STD_COPIER(u16, u32, Utf32Form, Utf16Form)
QEL_STD_COPIER(u32, u16, Utf16Form, Utf32Form)
#undef QEL_STD_COPIER
}  // namespace qel

namespace {

using qeltest::ProviderScope;

static_assert(offsetof(qelChrXBuf<char16_t>, chunks) == 512 * sizeof(char16_t), "layout");
static_assert(offsetof(qelChrXBuf<char>, curSlot) == offsetof(qelChrXBuf<char>, chunks) + 16 * sizeof(char*), "layout");
static_assert(offsetof(qelChrXBuf<unsigned int>, curCapacity) ==
                  offsetof(qelChrXBuf<unsigned int>, lastSlot) + sizeof(void*), "layout");

// A writer on a buffer, as the allocating conversions drive it.
template <class T>
struct Writer {
    qelChrXBuf<T> buf;
    T* out = buf.firstChunk;
    const T* outEnd = buf.firstChunk + 512;
    std::vector<T> written;

    // Writes n units, moving on only when a chunk is full and units remain.
    bool write(unsigned int n) {
        for (unsigned int i = 0; i < n; ++i) {
            if (out == outEnd) {
                T* chunk = buf.nextChunk();
                if (chunk == nullptr) return false;
                out = chunk;
                outEnd = chunk + buf.curCapacity;
            }
            written.push_back(static_cast<T>(written.size() % 251 + 1));
            *out++ = written.back();
        }
        return true;
    }
    std::vector<T> detach(unsigned int reserve, bool& failed, unsigned int& len) {
        T* r = buf.detach(&len, out, outEnd, &failed, reserve);
        std::vector<T> v;
        if (r != nullptr) {
            EXPECT_EQ(r[reserve + len], T(0));
            v.assign(r + reserve, r + reserve + len);
            qelStrFree(r);
        }
        return v;
    }
};

struct Path {
    unsigned int units;
    unsigned int reserve;
    int refuse;                          // 0: none; n: the n-th request; -1: every request
    std::vector<unsigned int> allocs;    // requests, in units of T
    std::vector<unsigned int> reallocs;  // in units of T
    unsigned int detachFrees, releaseFrees;
};

// The paths of detach: fresh block, resize of a short provider chunk, fresh
// block for a long tail, reserve; memory running out while filling, for the
// result, and even for the empty answer. Then release.
const Path kPaths[] = {
    {0, 0, 0, {1}, {}, 0, 0},
    {512, 0, 0, {513}, {}, 0, 0},
    {513, 0, 0, {1024}, {514}, 0, 0},
    {1000, 0, 0, {1024}, {1001}, 0, 0},
    {1536, 0, 0, {1024, 1537}, {}, 1, 0},
    {2136, 0, 0, {1024, 2048, 2137}, {}, 1, 1},
    {513, 3, 0, {1024, 517}, {}, 1, 0},
    {2000, 0, 2, {1024, 2048, 1}, {}, 0, 1},
    {2136, 0, 3, {1024, 2048, 2137, 1}, {}, 1, 1},
    {100, 0, -1, {101, 1}, {}, 0, 0},
};

template <class T>
void checkPaths() {
    for (const Path& p : kPaths) {
        ProviderScope provider;
        if (p.refuse > 0) provider.failAllocNumber(static_cast<unsigned int>(p.refuse));
        if (p.refuse < 0) provider.failAll();
        Writer<T> w;
        EXPECT_EQ(w.write(p.units), p.refuse != 2) << p.units;
        bool failed = false;
        unsigned int len = 99;
        EXPECT_EQ(w.detach(p.reserve, failed, len), p.refuse ? std::vector<T>{} : w.written) << p.units;
        EXPECT_EQ(failed, p.refuse != 0);
        EXPECT_EQ(len, p.refuse ? 0 : p.units);
        const unsigned int detachFrees = provider.frees() - (p.refuse < 0 ? 0 : 1);  // less the result
        w.buf.release();
        std::vector<unsigned int> allocs, reallocs;
        for (unsigned int s : provider.allocSizes()) allocs.push_back(s / sizeof(T));
        for (unsigned int s : provider.reallocSizes()) reallocs.push_back(s / sizeof(T));
        EXPECT_EQ(allocs, p.allocs) << p.units;
        EXPECT_EQ(reallocs, p.reallocs) << p.units;
        EXPECT_EQ(detachFrees, p.detachFrees) << p.units;
        EXPECT_EQ(provider.frees() - detachFrees - (p.refuse < 0 ? 0 : 1), p.releaseFrees) << p.units;
        if (p.units > 512 && !p.refuse) {  // a released buffer with a provider chunk current is as constructed
            EXPECT_EQ(w.buf.curSlot, w.buf.chunks);
            EXPECT_EQ(w.buf.lastSlot, w.buf.chunks);
            EXPECT_EQ(w.buf.chunks[1], nullptr);
            EXPECT_EQ(w.buf.curCapacity, 512u);
        }
    }
}

TEST(ChrXBuf, DetachAndReleaseOnEveryPath) {
    checkPaths<char>();
    checkPaths<char16_t>();
    checkPaths<unsigned int>();
}

// A chunk held after the current one is reused by nextChunk, or resized into
// the result by detach.
TEST(ChrXBuf, ChunkHeldAfterTheCurrentOne) {
    ProviderScope provider;
    Writer<char> w;
    char* held = w.buf.nextChunk();
    ASSERT_NE(held, nullptr);
    w.buf.curSlot = w.buf.chunks;  // step back, as a caller may
    w.buf.curCapacity = 512;
    EXPECT_EQ(w.buf.nextChunk(), held);
    EXPECT_EQ(provider.allocs(), 1u);
    w.buf.curSlot = w.buf.chunks;
    w.buf.curCapacity = 512;
    ASSERT_TRUE(w.write(10));
    bool failed = false;
    unsigned int len = 0;
    EXPECT_EQ(w.detach(0, failed, len), w.written);
    EXPECT_EQ(provider.reallocSizes(), std::vector<unsigned int>{11});
    EXPECT_EQ(w.buf.lastSlot, w.buf.chunks);
    EXPECT_EQ(w.buf.chunks[1], nullptr);
    w.buf.release();
    EXPECT_EQ(provider.frees(), 1u);  // the result only
}

// The sixteenth chunk cannot have the sentinel after it: stepping to the last
// slot fails like an allocation, and nothing is written past the table (the
// field after it, curSlot, stays intact).
TEST(ChrXBuf, StepPastTheLastUsableSlotFails) {
    ProviderScope provider;
    qelChrXBuf<char> buf;
    for (int k = 1; k <= 14; ++k) ASSERT_NE(buf.nextChunk(), nullptr) << k;
    EXPECT_EQ(buf.nextChunk(), nullptr);
    EXPECT_EQ(buf.curSlot, buf.chunks + 15);
    EXPECT_EQ(buf.lastSlot, buf.chunks + 15);
    EXPECT_EQ(buf.chunks[15], nullptr);
    EXPECT_EQ(buf.nextChunk(), nullptr);
    EXPECT_EQ(buf.curSlot, buf.chunks + 15);
    EXPECT_EQ(provider.allocs(), 14u);
    unsigned int len = 1;
    bool failed = false;
    char* r = buf.detach(&len, buf.chunks[14], buf.chunks[14], &failed, 0);
    buf.release();
    EXPECT_TRUE(failed);
    qelStrFree(r);
    EXPECT_EQ(provider.frees(), 15u);
}

// Calls the named copier that overload resolution picks for the types.
struct Named {
    template <class T, class S>
    bool operator()(qelChrXBuf<T>* buf, T** out, const T** outEnd, const S* begin, const S* end) const {
        return qel::appendSequence(buf, out, outEnd, begin, end);
    }
};
// Calls the copier over the given forms.
template <class From, class To>
struct Via {
    template <class T, class S>
    bool operator()(qelChrXBuf<T>* buf, T** out, const T** outEnd, const S* begin, const S* end) const {
        return qel::appendSequence<From, To>(buf, out, outEnd, begin, end);
    }
};

// Appends the sequence where `left` units remain in the first chunk; returns
// what the result holds from there.
template <class T, class S, class Append>
std::vector<unsigned int> appendAt(unsigned int left, const std::vector<S>& sequence, Append append) {
    Writer<T> w;
    w.out = w.buf.firstChunk + 512 - left;
    EXPECT_TRUE(append(&w.buf, &w.out, &w.outEnd, sequence.data(), sequence.data() + sequence.size()));
    bool failed = false;
    unsigned int len = 0;
    std::vector<unsigned int> v;
    for (T unit : w.detach(0, failed, len)) v.push_back(static_cast<std::make_unsigned_t<T>>(unit));
    w.buf.release();
    v.erase(v.begin(), v.begin() + (512 - left));
    return v;
}

TEST(AppendSequence, ConvertsEachUnitAndSplitsAtAChunkEnd) {
    using namespace qel::seq;
    using V = std::vector<unsigned int>;
    const std::vector<char16_t> s16 = {0x01, 0x41, 0x85, 0x02};
    const std::vector<unsigned int> s32 = {0x01, 0x9F, 0x10041, 0x02};
    const std::vector<unsigned char> s8 = {0x01, 0x41, 0xC2, 0x85, 0x02};
    const struct {
        V got;
        V expected;
    } cases[] = {
        {appendAt<char>(512, s16, Named{}), V{1, 0x41, 0xC2, 0x85, 2}},
        {appendAt<char>(512, s32, Named{}), V{1, 0xC2, 0x9F, 0xC1, 0x81, 2}},
        {appendAt<char16_t>(512, s8, Named{}), V{1, 0x41, 0x85, 2}},
        {appendAt<unsigned int>(512, s8, Named{}), V{1, 0x41, 0x85, 2}},
        {appendAt<char16_t>(512, s32, Named{}), V{1, 0x9F, 0x0041, 2}},
        {appendAt<unsigned int>(512, s16, Named{}), V{1, 0x41, 0x85, 2}},
        // a raw twin writes one byte per unit
        {appendAt<char>(512, s16, Via<Utf16Form, RawUtf8Form>{}), V{1, 0x41, 0x85, 2}},
        // 0xC2 ends the first chunk and 0x85 begins the next
        {appendAt<char>(3, s16, Named{}), V{1, 0x41, 0xC2, 0x85, 2}},
        {appendAt<char16_t>(1, s8, Named{}), V{1, 0x41, 0x85, 2}},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.expected);
}

TEST(AppendSequence, StopsWhenNoChunkCanBeHad) {
    ProviderScope provider;
    provider.failAll();
    Writer<char> w;
    char* const start = w.buf.firstChunk + 510;
    w.out = start;
    const char16_t sequence[] = {0x01, 0x41, 0x42, 0x02};
    EXPECT_FALSE(qel::appendSequence(&w.buf, &w.out, &w.outEnd, sequence, sequence + 4));
    EXPECT_EQ(w.out, w.outEnd);
    EXPECT_EQ(w.outEnd, w.buf.firstChunk + 512);
    EXPECT_EQ(w.buf.firstChunk[510], 0x01);
    EXPECT_EQ(w.buf.chunks[1], nullptr);
    bool failed = false;
    unsigned int len = 0;
    w.detach(0, failed, len);
    w.buf.release();
    EXPECT_TRUE(failed);
}

}  // namespace
