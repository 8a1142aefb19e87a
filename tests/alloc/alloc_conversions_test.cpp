// Allocating conversions and the allocating UTF-16 copy: the result table,
// length queries, and the provider requests that fixed output lengths make.
#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "alloc/entry_points.h"
#include "support/test_provider.h"

namespace {

using qeltest::AllocEntry;
using qeltest::Outcome;
using qeltest::ProviderScope;
using qeltest::Units;

const AllocEntry& entry(const std::string& name) {
    static const std::vector<AllocEntry> all = qeltest::allocEntries();
    for (const AllocEntry& e : all)
        if (e.name == name) return e;
    throw std::invalid_argument(name);
}

constexpr unsigned int kWhole = 0;  // inLen: the input's own size

struct Case {
    const char* entry;
    Units in;
    unsigned int inLen;
    int status;
    Units out;
};

TEST(AllocConversions, ResultTable) {
    const Units seq16 = {0x61, 0x62, 1, 0x41, 0x85, 2, 0x63, 0x64};
    const std::vector<Case> cases = {
        {"Utf16ToUtf8", seq16, kWhole, qelStrOk, {0x61, 0x62, 1, 0x41, 0xC2, 0x85, 2, 0x63, 0x64}},
        {"Utf16ToUtf8Ex3", seq16, kWhole, qelStrOk, {0x61, 0x62, 1, 0x41, 0xC2, 0x85, 2, 0x63, 0x64}},
        {"Utf16ToUtf8ExRaw", seq16, kWhole, qelStrOk, {0x61, 0x62, 1, 0x41, 0x85, 2, 0x63, 0x64}},
        {"Utf16ToUtf8", {0x61, 0xE9, 0xD83D, 0xDE00}, kWhole, qelStrOk, {0x61, 0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80}},
        {"Utf16ToUtf8", {1, 0x41, 3}, kWhole, qelStrOk, {1, 0x41, 3}},  // no sequence: ordinary text
        {"Utf16ToUtf8", {0x61, 0xD800, 0x62}, kWhole, qelStrBadInput, {0x61}},
        {"Utf16ToUtf8", {0x61, 1, 0x41, 2, 0xDC00, 0x62}, kWhole, qelStrBadInput, {0x61, 1, 0x41, 2}},
        {"Utf16ToUtf8", {0xD800, 1, 0x41, 2}, kWhole, qelStrBadInput, {}},  // nothing after the fault
        {"Utf16ToUtf8", {0x61, 0x62, 0, 0x63, 0x64}, 5, qelStrOk, {0x61, 0x62}},
        {"Utf16ToUtf8", {0x61, 0x62, 0x63}, 2, qelStrOk, {0x61, 0x62}},
        {"Utf16ToUtf8", {0x61, 0xE9}, 0xFFFFFFFFu, qelStrOk, {0x61, 0xC3, 0xA9}},
        {"Utf16ToUtf32", {0xD83D, 0xDE00, 1, 0x41, 0x9F, 2}, kWhole, qelStrOk, {0x1F600, 1, 0x41, 0x9F, 2}},
        {"Utf16ToUtf32", {0xDC00}, kWhole, qelStrBadInput, {}},
        {"Utf32ToUtf16", {0x1F600, 1, 0x85, 2, 0x62}, kWhole, qelStrOk, {0xD83D, 0xDE00, 1, 0x85, 2, 0x62}},
        {"Utf32ToUtf16", {0x61, 0x110000}, kWhole, qelStrBadInput, {0x61}},
        {"Utf32ToUtf8", {0x20AC, 1, 0x85, 2}, kWhole, qelStrOk, {0xE2, 0x82, 0xAC, 1, 0xC2, 0x85, 2}},
        {"Utf32ToUtf8ExRaw", {0x20AC, 1, 0x85, 2}, kWhole, qelStrOk, {0xE2, 0x82, 0xAC, 1, 0x85, 2}},
        {"Utf8ToUtf16", {1, 0x41, 0x85, 2}, kWhole, qelStrBadInput, {1, 0x41}},
        {"Utf8ToUtf16ExRaw", {1, 0x41, 0x85, 2}, kWhole, qelStrOk, {1, 0x41, 0x85, 2}},
        {"Utf8ToUtf16", {1, 0x41, 0xC2, 2}, kWhole, qelStrOk, {1, 0x41, 0x82}},  // lead byte before 0x02
        {"Utf8ToUtf16ExRaw", {1, 0x41, 0xC2, 0x80, 2}, kWhole, qelStrOk, {1, 0x41, 0x80, 2}},
        {"Utf8ToUtf16", {0xF0, 0x9F, 0x98, 0x80, 0x61}, kWhole, qelStrOk, {0xD83D, 0xDE00, 0x61}},
        {"Utf8ToUtf32", {0x61, 0xC3, 0xA9, 1, 0xC2, 0x85, 2}, kWhole, qelStrOk, {0x61, 0xE9, 1, 0x85, 2}},
        {"Utf8ToUtf32ExRaw", {1, 0x85, 2, 0xC3, 0xA9}, kWhole, qelStrOk, {1, 0x85, 2, 0xE9}},
        {"Utf8ToUtf32", {0x61, 0xE2, 0x82}, kWhole, qelStrBadInput, {0x61}},
        {"Utf16CopyAlloc", {0xD800, 1, 0x41, 2, 0x62}, kWhole, qelStrOk, {0xD800, 1, 0x41, 2, 0x62}},
        {"Utf16CopyAlloc", {0x61, 0x62, 0, 0x63, 0x64}, 5, qelStrOk, {0x61, 0x62}},
        {"Utf16CopyAlloc", {0x61, 0x62, 0x63}, 2, qelStrOk, {0x61, 0x62}},
        {"Utf16CopyAlloc", {0x61, 0x62}, 0xFFFFFFFFu, qelStrOk, {0x61, 0x62}},
    };
    for (const Case& c : cases) {
        ProviderScope provider;
        const unsigned int inLen = c.inLen == kWhole ? static_cast<unsigned int>(c.in.size()) : c.inLen;
        const Outcome got = entry(c.entry).call(&c.in, inLen, false);
        EXPECT_EQ(got, (Outcome{c.status, false, c.out, static_cast<unsigned int>(c.out.size())})) << c.entry;
    }
}

TEST(AllocConversions, LengthQueryAllocatesNothing) {
    const std::vector<Case> cases = {
        {"Utf16ToUtf8", {0xE9}, kWhole, qelStrOk, {2}},
        {"Utf16ToUtf8", {1, 0x41, 0x85, 2}, kWhole, qelStrOk, {5}},
        {"Utf16ToUtf8ExRaw", {1, 0x41, 0x85, 2}, kWhole, qelStrOk, {4}},
        {"Utf8ToUtf16", {1, 0x41, 0x85, 2}, kWhole, qelStrBadInput, {2}},
        {"Utf8ToUtf16ExRaw", {1, 0x41, 0x85, 2}, kWhole, qelStrOk, {4}},
        {"Utf16CopyAlloc", {0x61, 0xD800, 0x62}, kWhole, qelStrOk, {3}},
        {"Utf16CopyAlloc", {0x61, 0x62, 0, 0x63}, 4, qelStrOk, {2}},
    };
    for (const Case& c : cases) {
        ProviderScope provider;
        const unsigned int inLen = c.inLen == kWhole ? static_cast<unsigned int>(c.in.size()) : c.inLen;
        EXPECT_EQ(entry(c.entry).call(&c.in, inLen, true), (Outcome{c.status, true, {}, c.out[0]})) << c.entry;
        EXPECT_TRUE(provider.calls().empty()) << c.entry;
    }
}

// Null, empty and memory-less answers are the same for every entry point.
TEST(AllocConversions, EdgeAnswersOfEveryEntryPoint) {
    const Units a = {0x61}, zeroFirst = {0, 0x61};
    for (const AllocEntry& e : qeltest::allocEntries()) {
        {
            ProviderScope provider;
            EXPECT_EQ(e.call(nullptr, 5, false), (Outcome{qelStrOk, true, {}, 0})) << e.name;
            EXPECT_EQ(e.call(nullptr, 5, true), (Outcome{qelStrOk, true, {}, 0})) << e.name;
            EXPECT_TRUE(provider.calls().empty()) << e.name;
        }
        for (const auto& [in, inLen] : {std::make_pair(a, 0u), std::make_pair(zeroFirst, 2u)}) {
            ProviderScope provider;
            EXPECT_EQ(e.call(&in, inLen, false), (Outcome{qelStrOk, false, {}, 0})) << e.name;
            EXPECT_EQ(provider.allocSizes(), std::vector<unsigned int>{e.unitSize}) << e.name;
        }
        {
            ProviderScope provider;
            provider.failAll();
            EXPECT_EQ(e.call(&a, 1, false), (Outcome{qelStrNoMemory, true, {}, 0})) << e.name;
            EXPECT_EQ(e.call(&a, 0, false), (Outcome{qelStrOk, true, {}, 0})) << e.name;
        }
    }
}

TEST(AllocConversions, NullOutLenIsNotReported) {
    const char16_t in[] = {0x61, 0xE9, 0};
    char* out = nullptr;
    EXPECT_EQ(qelStrUtf16ToUtf8Alloc(&out, nullptr, in, 2), qelStrOk);
    ASSERT_NE(out, nullptr);
    EXPECT_STREQ(out, "a\xC3\xA9");
    qelStrFree(out);
    EXPECT_EQ(qelStrUtf16ToUtf8Alloc(nullptr, nullptr, in, 2), qelStrOk);
    char16_t* copy = nullptr;
    EXPECT_EQ(qelStrUtf16CopyAlloc(&copy, nullptr, in, 2), qelStrOk);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy[1], 0xE9);
    EXPECT_EQ(copy[2], 0);
    qelStrFree(copy);
}

// Output lengths around the chunk sizes, through the fast path (ASCII into
// UTF-8) and through the cores (runs into UTF-16 and UTF-32). Sizes are in
// result units; the caller's own free is counted in `frees`.
TEST(AllocConversions, ProviderRequestsByOutputLength) {
    struct Row {
        unsigned int n;
        std::vector<unsigned int> allocs, reallocs;
        unsigned int frees;
    };
    const std::vector<Row> rows = {
        {1, {2}, {}, 1},
        {512, {513}, {}, 1},
        {513, {1024}, {514}, 1},
        {1000, {1024}, {1001}, 1},
        {2136, {1024, 2048, 2137}, {}, 3},  // the third chunk freed by detach, the second by release
    };
    const std::map<std::string, unsigned int> firstUnit = {
        {"Utf16ToUtf8", 0x61}, {"Utf8ToUtf16ExRaw", 0xE9}, {"Utf16ToUtf32", 0x100}};
    for (const auto& [name, first] : firstUnit) {
        const AllocEntry& e = entry(name);
        for (const Row& r : rows) {
            Units in, want;
            for (unsigned int i = 0; i < r.n; ++i) want.push_back(i == 0 ? first : 0x61 + i % 26);
            in = want;
            if (first == 0xE9) in = Units{0xC3, 0xA9}, in.insert(in.end(), want.begin() + 1, want.end());
            ProviderScope provider;
            EXPECT_EQ(e.call(&in, static_cast<unsigned int>(in.size()), false), (Outcome{qelStrOk, false, want, r.n}))
                << name << " " << r.n;
            auto scaled = [&](std::vector<unsigned int> v) {
                for (unsigned int& x : v) x *= e.unitSize;
                return v;
            };
            EXPECT_EQ(provider.allocSizes(), scaled(r.allocs)) << name << " " << r.n;
            EXPECT_EQ(provider.reallocSizes(), scaled(r.reallocs)) << name << " " << r.n;
            EXPECT_EQ(provider.frees(), r.frees) << name << " " << r.n;
        }
    }
}

TEST(AllocConversions, SequenceSplitAcrossChunks) {
    Units in(510, 0x61), want(510, 0x61);
    in.insert(in.end(), {1, 0x85, 2, 0x62});
    want.insert(want.end(), {1, 0xC2, 0x85, 2, 0x62});  // C2 ends the first chunk, 85 begins the next
    ProviderScope provider;
    EXPECT_EQ(entry("Utf16ToUtf8").call(&in, 514, false), (Outcome{qelStrOk, false, want, 515}));
}

TEST(AllocConversions, MemoryRunsOut) {
    const Units longIn(2000, 0x61), shortIn(512, 0x61);
    const AllocEntry& e = entry("Utf16ToUtf8");
    {   // the second provider chunk is refused: the first is freed before the call returns
        ProviderScope provider;
        provider.failAllocNumber(2);
        EXPECT_EQ(e.call(&longIn, 2000, false), (Outcome{qelStrNoMemory, false, {}, 0}));
        EXPECT_EQ(provider.allocSizes(), (std::vector<unsigned int>{1024, 2048, 1}));
        EXPECT_EQ(provider.frees(), 2u);
    }
    {   // nothing above 513 units: outputs within the first chunk still succeed
        ProviderScope provider;
        provider.failAllocAbove(513);
        EXPECT_EQ(e.call(&shortIn, 512, false).status, qelStrOk);
        EXPECT_EQ(e.call(&longIn, 513, false), (Outcome{qelStrNoMemory, false, {}, 0}));
    }
    {   // the copy: no room for 2n + 2 bytes, but for the one-unit answer
        ProviderScope provider;
        provider.failAllocAbove(2);
        EXPECT_EQ(entry("Utf16CopyAlloc").call(&shortIn, 512, false), (Outcome{qelStrNoMemory, false, {}, 0}));
        EXPECT_EQ(provider.allocSizes(), (std::vector<unsigned int>{1026, 2}));
    }
}

}  // namespace
