// Errno-style conversions of every pair: bounded (measuring, exact fill, cut,
// safe runs before a sequence, ill-formed input, errno left alone) and
// allocating (errno always written).
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <type_traits>

#include "alloc/entry_points.h"
#include "support/test_provider.h"

namespace {

using qeltest::AllocEntry;
using qeltest::Outcome;
using qeltest::ProviderScope;
using qeltest::Units;

constexpr int kUntouched = -1;       // errno is set to this before each call
constexpr long kMeasure = -1;        // n meaning a null dst
constexpr unsigned int kGuard = 0xA5;
constexpr std::size_t kFail = static_cast<std::size_t>(-1);

struct Result {
    std::size_t ret;
    int err;
    Units buf;  // the n units of dst, then two guards
    bool operator==(const Result& o) const { return ret == o.ret && err == o.err && buf == o.buf; }
};

std::ostream& operator<<(std::ostream& os, const Result& r) {
    using qeltest::operator<<;
    return os << "ret " << static_cast<long>(r.ret) << " errno " << r.err << " dst " << r.buf;
}

using BoundedCall = std::function<Result(const Units* src, long n)>;

template <class S, class D>
BoundedCall bounded(std::size_t (*fn)(D*, const S*, std::size_t)) {
    return [fn](const Units* src, long n) {
        std::vector<S> s = src ? qeltest::sourceOf<S>(*src) : std::vector<S>();
        std::vector<D> buf(n == kMeasure ? 0 : static_cast<std::size_t>(n) + 2, static_cast<D>(kGuard));
        errno = kUntouched;
        const std::size_t ret = fn(n == kMeasure ? nullptr : buf.data(), src ? s.data() : nullptr,
                                   n == kMeasure ? 3 : static_cast<std::size_t>(n));
        Result r{ret, errno, {}};
        for (D u : buf) r.buf.push_back(static_cast<std::make_unsigned_t<D>>(u));
        return r;
    };
}

const std::map<std::string, BoundedCall>& boundedCalls() {
    static const std::map<std::string, BoundedCall> calls = {
        {"u16stou8s", bounded(qel_u16stou8s)},   {"u16stou32s", bounded(qel_u16stou32s)},
        {"u32stou8s", bounded(qel_u32stou8s)},   {"u32stou16s", bounded(qel_u32stou16s)},
        {"u8stou16s", bounded(qel_u8stou16s)},   {"u8stou32s", bounded(qel_u8stou32s)},
    };
    return calls;
}

// The expected dst: the units written, guards after them up to n + 2.
Units written(Units prefix, long n) {
    prefix.resize(n == kMeasure ? 0 : static_cast<std::size_t>(n) + 2, kGuard);
    return prefix;
}

struct BoundedCase {
    const char* fn;
    Units src;
    long n;
    std::size_t ret;
    int err;
    Units buf;
};

TEST(ErrnoBounded, EveryPair) {
    const int ILS = EILSEQ, U = kUntouched;
    const std::vector<BoundedCase> cases = {
        // fits with room for the terminator; fills exactly (no terminator); cut (terminated)
        {"u16stou8s", {0x61, 0x62}, 3, 2, U, {0x61, 0x62, 0}},
        {"u16stou8s", {0x61, 0x62}, 2, 2, U, {0x61, 0x62}},
        {"u16stou8s", {0x61, 0x62}, 1, 1, U, {0x61}},
        {"u16stou8s", {0x20AC}, 3, 3, U, {0xE2, 0x82, 0xAC}},
        {"u16stou8s", {0x20AC}, 2, 2, U, {0}},
        {"u16stou8s", {0x61, 0xE9, 0xD83D, 0xDE00}, kMeasure, 7, U, {}},
        {"u16stou8s", {1, 0x85, 2, 0x61}, kMeasure, 5, U, {}},
        {"u16stou8s", {0x61, 0xD800}, kMeasure, kFail, ILS, {}},
        {"u16stou8s", {0x61, 0xDC00, 0x62}, 10, kFail, ILS, {0x61, 0}},
        // a sequence ending on the last unit is whole only when the source ends there
        {"u16stou8s", {1, 0x41, 0x42, 0x43, 2}, 5, 5, U, {1, 0x41, 0x42, 0x43, 2}},
        {"u16stou8s", {1, 0x41, 0x42, 0x43, 2, 0x78}, 5, 5, U, {1, 0x41, 0x42, 2, 0}},
        {"u16stou8s", {0xE9, 1, 0x41, 2}, 3, 3, U, {0xC3, 0xA9, 0}},  // cut sequence dropped
        // a run before a sequence leaves room (withdrawn bytes stay behind the terminator)
        {"u16stou8s", {0xE9, 1, 0x41, 2}, 2, 2, U, {0, 0xA9}},
        {"u16stou8s", {0xE9}, 2, 2, U, {0xC3, 0xA9}},
        {"u16stou32s", {0x61, 0xD83D, 0xDE00}, 3, 2, U, {0x61, 0x1F600, 0}},
        {"u16stou32s", {0x61, 0xD83D, 0xDE00}, 2, 2, U, {0x61, 0x1F600}},
        {"u16stou32s", {0x61, 0x62, 0x63}, 2, 2, U, {0x61, 0x62}},
        {"u16stou32s", {0x61, 0xDC00}, 5, kFail, ILS, {0x61, 0}},
        {"u16stou32s", {0x61, 0xD83D}, 5, kFail, ILS, {0x61, 0}},
        {"u16stou32s", {0xD83D, 0xDE00, 1, 0x41, 2}, kMeasure, 4, U, {}},
        {"u16stou32s", {1, 0x41, 0x42, 0x43, 2, 0x78}, 5, 5, U, {1, 0x41, 0x42, 2, 0}},
        {"u16stou32s", {0x100, 1, 0x41, 2}, 1, 1, U, {0}},
        {"u32stou8s", {0x20AC}, 3, 3, U, {0xE2, 0x82, 0xAC}},
        {"u32stou8s", {0x20AC}, 2, 2, U, {0}},
        {"u32stou8s", {0x61, 0x110000}, 5, kFail, ILS, {0x61, 0}},
        {"u32stou8s", {0x1F600, 1, 0x85, 2}, kMeasure, 8, U, {}},
        {"u32stou8s", {1, 0x85, 0x85, 2, 0x61}, 5, 5, U, {1, 0xC2, 0x85, 2, 0}},
        {"u32stou16s", {0x1F600}, 2, 2, U, {0xD83D, 0xDE00}},
        {"u32stou16s", {0x1F600}, 1, 1, U, {0}},
        {"u32stou16s", {0xD800}, 3, kFail, ILS, {0}},
        {"u32stou16s", {1, 0x85, 2}, 3, 3, U, {1, 0x85, 2}},
        {"u32stou16s", {0x1F600, 0x61}, kMeasure, 3, U, {}},
        {"u8stou16s", {0xF0, 0x9F, 0x98, 0x80}, kMeasure, 2, U, {}},
        // a lead byte right before 0x02 starts no sequence here; the core rejects it
        {"u8stou16s", {1, 0x41, 0xC2, 2}, 10, kFail, ILS, {1, 0x41, 0}},
        {"u8stou16s", {1, 0x41, 0xC2, 2}, kMeasure, kFail, ILS, {}},
        {"u8stou16s", {0xC3, 0xA9, 1, 0xC2, 0x85, 2}, 10, 4, U, {0xE9, 1, 0x85, 2, 0}},
        {"u8stou16s", {0xC3, 0xA9, 1, 0xC2, 0x85, 2}, kMeasure, 4, U, {}},
        {"u8stou16s", {0xF0, 0x9F, 0x98, 0x80}, 1, 1, U, {0}},
        {"u8stou32s", {0xF0, 0x9F, 0x98, 0x80, 0x61}, 2, 2, U, {0x1F600, 0x61}},
        {"u8stou32s", {0x61, 0xE2, 0x82}, 5, kFail, ILS, {0x61, 0}},
        {"u8stou32s", {1, 0xC2, 0x85, 2}, 3, 3, U, {1, 0x85, 2}},
        {"u8stou32s", {1, 0x41, 0x85, 2}, kMeasure, kFail, ILS, {}},
    };
    for (const BoundedCase& c : cases) {
        const Result want{c.ret, c.err, written(c.buf, c.n)};
        EXPECT_EQ(boundedCalls().at(c.fn)(&c.src, c.n), want) << c.fn << " n=" << c.n;
    }
}

// Null and empty sources and a zero-sized dst answer 0 and leave errno alone.
TEST(ErrnoBounded, EdgeAnswersOfEveryPair) {
    const Units empty, a = {0x61};
    for (const auto& [name, call] : boundedCalls()) {
        EXPECT_EQ(call(nullptr, 3), (Result{0, kUntouched, written({0}, 3)})) << name;
        EXPECT_EQ(call(nullptr, kMeasure), (Result{0, kUntouched, {}})) << name;
        EXPECT_EQ(call(&empty, 3), (Result{0, kUntouched, written({0}, 3)})) << name;
        EXPECT_EQ(call(&empty, 0), (Result{0, kUntouched, written({}, 0)})) << name;
        EXPECT_EQ(call(&a, 0), (Result{0, kUntouched, written({}, 0)})) << name;
        EXPECT_EQ(call(&a, 2), (Result{1, kUntouched, written({0x61, 0}, 2)})) << name;
    }
}

// A caller may pass "enough" as n; no position may wrap.
TEST(ErrnoBounded, SizeBeyondTheAddressSpace) {
    const char16_t src[] = {0x61, 0xE9, 0};
    char dst[8] = {};
    EXPECT_EQ(qel_u16stou8s(dst, src, static_cast<std::size_t>(-1)), 3u);
    EXPECT_STREQ(dst, "a\xC3\xA9");
}

TEST(ErrnoAlloc, EveryPair) {
    struct Row {
        std::size_t fn;  // index into errnoAllocEntries()
        Units src;
        int err;
        Units out;
    };
    const std::vector<Row> rows = {
        {0, {0x61, 0x62, 0xD800}, EILSEQ, {0x61, 0x62}},
        {0, {0x61, 1, 0x85, 2}, 0, {0x61, 1, 0xC2, 0x85, 2}},
        {1, {0xD83D, 0xDE00, 1, 0x41, 2}, 0, {0x1F600, 1, 0x41, 2}},
        {1, {0xDC00}, EILSEQ, {}},
        {2, {0x20AC, 1, 0x85, 2}, 0, {0xE2, 0x82, 0xAC, 1, 0xC2, 0x85, 2}},
        {2, {0x61, 0x110000, 1, 0x41, 2}, EILSEQ, {0x61}},
        {3, {0x1F600, 1, 0x9F, 2}, 0, {0xD83D, 0xDE00, 1, 0x9F, 2}},
        {4, {1, 0x41, 0xC2, 2}, EILSEQ, {1, 0x41}},
        {4, {1, 0xC2, 0x85, 2, 0xF0, 0x9F, 0x98, 0x80}, 0, {1, 0x85, 2, 0xD83D, 0xDE00}},
        {5, {1, 0x41, 0x85, 2}, EILSEQ, {1, 0x41}},
        {5, {0xC3, 0xA9, 1, 0x41, 2}, 0, {0xE9, 1, 0x41, 2}},
    };
    const std::vector<AllocEntry> entries = qeltest::errnoAllocEntries();
    for (const Row& r : rows) {
        ProviderScope provider;
        EXPECT_EQ(entries[r.fn].call(&r.src, 0, false),
                  (Outcome{r.err, false, r.out, static_cast<unsigned int>(r.out.size())}))
            << entries[r.fn].name;
        EXPECT_EQ(provider.allocs(), 1u) << entries[r.fn].name;  // the result alone
    }
}

TEST(ErrnoAlloc, EdgeAnswersOfEveryPair) {
    const Units empty, a = {0x61};
    for (const AllocEntry& e : qeltest::errnoAllocEntries()) {
        ProviderScope provider;
        EXPECT_EQ(e.call(nullptr, 0, false), (Outcome{kUntouched, true, {}, 0})) << e.name;
        EXPECT_TRUE(provider.calls().empty()) << e.name;
        EXPECT_EQ(e.call(&empty, 0, false), (Outcome{kUntouched, false, {}, 0})) << e.name;
        EXPECT_EQ(provider.allocSizes(), std::vector<unsigned int>{e.unitSize}) << e.name;
        EXPECT_EQ(e.call(&a, 0, false), (Outcome{0, false, {0x61}, 1})) << e.name;  // errno cleared
        provider.failAll();
        EXPECT_EQ(e.call(&a, 0, false), (Outcome{ENOMEM, true, {}, 0})) << e.name;
        EXPECT_EQ(e.call(&empty, 0, false), (Outcome{kUntouched, true, {}, 0})) << e.name;
    }
}

}  // namespace
