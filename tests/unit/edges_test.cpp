// SPDX-License-Identifier: MIT
// The documented edges that the model alone would not make obvious, one row
// each, grouped by what they protect; the out-of-memory sweep; long texts
// and the independent check of the model against ICU, seeded.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <random>

#include "check.h"

namespace {

using qelent::Args;
using qelent::entry;
using qelfuzz::Units;

Args args(const Units& in, std::uint32_t outSize, std::uint32_t flags = 0) {
    Args a;
    a.in = in;
    a.inLen = static_cast<std::uint32_t>(in.size());
    a.end = in.size();
    a.outSize = outSize;
    a.flags = flags;
    return a;
}

// Behaviours other modules rely on: each row is the whole documented result.
struct Quirk {
    const char* entry;
    Units in;
    std::uint32_t outSize, flags;
    long long ret;
    Units out;  // units before the terminator / cursor
};

// 0x01, n units `content` (each spelled as `spelling`), 0x02.
Units sequence(std::size_t n, const Units& spelling) {
    Units u = {1};
    for (std::size_t i = 0; i < n; ++i) u.insert(u.end(), spelling.begin(), spelling.end());
    u.push_back(2);
    return u;
}

TEST(Edges, IntendedQuirks) {
    const std::vector<Quirk> rows = {
        // at most 17 content characters: the raw form keeps them as single bytes
        {"qelStrUtf16ToUtf8Ex", sequence(17, {0x85}), 40, qelStrFlagRawSequences, qelStrOk, sequence(17, {0x85})},
        {"qelStrUtf16ToUtf8Ex", sequence(18, {0x85}), 40, qelStrFlagRawSequences, qelStrOk, sequence(18, {0xC2, 0x85})},
        // a two-byte lead right before 0x02 ends a standard sequence, as its last content byte
        {"qelStrUtf8ToUtf16", {1, 0x41, 0xC2, 2}, 8, 0, qelStrOk, {1, 0x41, 0x82}},
        // ...but the errno-style reading finds no sequence there
        {"qel_u8stou16s", {1, 0x41, 0xC2, 2}, 8, 0, -1, {1, 0x41}},
        // standard UTF-8 input: a lone 0x85 is ill-formed; raw: it is content
        {"qelStrUtf8ToUtf16", {1, 0x41, 0x85, 2}, 8, 0, qelStrBadInput, {1, 0x41}},
        {"qelStrUtf8ToUtf16Ex", {1, 0x41, 0x85, 2}, 8, qelStrFlagRawSequences, qelStrOk, {1, 0x41, 0x85, 2}},
        // a cut sequence of four units or more is closed with 0x02, a shorter one dropped
        {"qelStrUtf16ToUtf8", {1, 0x41, 0x42, 0x43, 0x44, 2}, 6, 0, qelStrTruncated, {1, 0x41, 0x42, 0x43, 2}},
        {"qelStrUtf16ToUtf8", {0x61, 1, 0x41, 0x42, 2}, 4, 0, qelStrTruncated, {0x61}},
        // no terminator: a run may fill the buffer to its last unit
        {"qelStrUtf16ToUtf8Ex", {0x61, 0xE9}, 3, qelStrFlagNoTerminator, qelStrOk, {0x61, 0xC3, 0xA9}},
        // the UTF-8 -> UTF-32 safe converter steps back by its last multi-byte length
        {"qelStrUtf8ToUtf32", {0xC3, 0xA9, 0x61, 0x62, 1, 0x41, 2}, 3, 0, qelStrTruncated, {0xE9, 0x61}},
        // errno-style: a full output is answered with n and no terminator
        {"qel_u16stou8s", {0x61, 0x62}, 2, 0, 2, {0x61, 0x62}},
        // each core keeps its own success value
        {"u16stou8sConvertSafeLow", {0x61, 0xE9, 0x62}, 8, 0, 1, {0x61, 0xC3, 0xA9, 0x62}},
        {"u16stou8sAllocLow", {0x61, 0xE9, 0x62}, 0, 0, 2, {0x61, 0xC3, 0xA9, 0x62}},
        {"u8stou16sConvertLow", {0xC3, 0xA9, 0x61}, 8, 0, 2, {0xE9, 0x61}},
        {"u32stou16sConvertLow", {0xE000, 0x61}, 8, 0, 1, {0xE000, 0x61}},
        {"u16stou8sConvertSafeLow", {0x61, 0x62}, 2, 0, -E2BIG, {0x61}},
    };
    for (const Quirk& q : rows) {
        const qelent::Entry& e = entry(q.entry);
        const qelent::Result r = e.call(args(q.in, q.outSize, q.flags));
        EXPECT_EQ(r.ret, q.ret) << q.entry;
        Units out = r.out;
        if (e.family == qelent::Family::AllocCore) out.pop_back();  // the terminator
        else if (!e.core()) out.resize(q.out.size());
        EXPECT_EQ(out, q.out) << q.entry;
    }
}

// Provider requests of the allocating conversions around the chunk sizes of
// the growing buffer (result units), through ASCII and through the cores.
TEST(Edges, GrowingBufferChunkBoundaries) {
    struct Row {
        unsigned n;
        std::vector<unsigned> allocs, reallocs;
        unsigned frees;
    };
    const std::vector<Row> rows = {{1, {2}, {}, 1},
                                   {512, {513}, {}, 1},
                                   {513, {1024}, {514}, 1},
                                   {1000, {1024}, {1001}, 1},
                                   {1536, {1024, 1537}, {}, 2},
                                   {2136, {1024, 2048, 2137}, {}, 3}};
    for (const char* name : {"qelStrUtf16ToUtf8Alloc", "qelStrUtf8ToUtf16AllocEx", "qelStrUtf16ToUtf32Alloc"}) {
        const qelent::Entry& e = entry(name);
        const unsigned unit = static_cast<unsigned>(qelent::unitBytes(e.to));
        for (const Row& row : rows) {
            Units in(row.n, 0x61);
            if (e.from == qelent::Enc::Utf16 && e.to == qelent::Enc::Utf32) in[0] = 0x100;
            qelfuzz::provider::reset();
            const qelent::Result r = e.call(args(in, 0));
            EXPECT_EQ(r.outLen, row.n) << name;
            const qelfuzz::Requests got = qelfuzz::provider::requests();
            std::vector<unsigned> allocs = row.allocs, reallocs = row.reallocs;
            for (unsigned& x : allocs) x *= unit;
            for (unsigned& x : reallocs) x *= unit;
            EXPECT_EQ(got.allocs, allocs) << name << " " << row.n;
            EXPECT_EQ(got.reallocs, reallocs) << name << " " << row.n;
            EXPECT_EQ(got.frees, row.frees) << name << " " << row.n;
        }
    }
    // a sequence split by the end of the first chunk: C2 ends it, 85 begins the next
    Units in(510, 0x61);
    in.insert(in.end(), {1, 0x85, 2, 0x62});
    const qelent::Result r = entry("qelStrUtf16ToUtf8Alloc").call(args(in, 0));
    EXPECT_EQ(r.outLen, 515u);
    EXPECT_EQ(Units(r.out.begin() + 510, r.out.end()), (Units{1, 0xC2, 0x85, 2, 0x62, 0}));
}

// Control sequences and multi-unit characters across the end of the first
// chunk, through every allocating entry point.
TEST(Edges, SequencesAcrossTheFirstChunkEnd) {
    qelfuzz::throwOnFailure = true;
    for (const qelent::Entry& e : qelent::entries()) {
        if (!e.allocates() || e.core()) continue;
        for (std::size_t lead = 490; lead <= 512; ++lead) {
            Units in(lead, 0x61);
            if (e.from == qelent::Enc::Utf8) in.insert(in.end(), {1, 0x41, 0xC2, 0x85, 0x20, 2, 0x62});
            else in.insert(in.end(), {1, 0x41, 0x85, 0x9F, 0x20, 2, 0x62});
            qelref::encodeAs(static_cast<qelref::Enc>(e.from), 0x1F600, in);
            for (std::uint32_t flags : {0u, unsigned{qelStrFlagRawSequences}}) {
                Args a = args(in, 0, flags);
                EXPECT_NO_THROW(qelfuzz::checkCall(e, a)) << e.name << " " << lead;
            }
        }
    }
}

// Every allocating entry point with each provider request refused in turn:
// the failure answer, and no block left behind.
TEST(Edges, OutOfMemorySweep) {
    qelfuzz::throwOnFailure = true;
    Units text;
    for (unsigned i = 0; i < 3000; ++i) text.push_back(i % 7 == 0 ? 0xE9 : 0x61 + i % 26);
    for (const qelent::Entry& e : qelent::entries()) {
        if (!e.allocates()) continue;
        Units in = text;
        if (e.from == qelent::Enc::Utf8) {
            in.clear();
            for (std::uint32_t c : text) c < 0x80 ? in.push_back(c) : (void)in.insert(in.end(), {0xC3, 0xA9});
        }
        for (unsigned n = 1; n <= 6; ++n) {
            qelfuzz::provider::reset();
            qelfuzz::provider::failAllocNumber(n);
            Args a = args(in, 0);
            a.prefill = 100;
            EXPECT_NO_THROW(qelfuzz::checkCall(e, a)) << e.name << " refusing request " << n;
        }
        qelfuzz::provider::reset();
    }
}

TEST(Edges, LongTextsSeeded) {
    qelfuzz::throwOnFailure = true;
    std::mt19937 rng(64);
    const unsigned runs = std::getenv("QELUTF_TEST_SMALL") ? 4 : 40;
    for (unsigned i = 0; i < runs; ++i) {
        std::vector<std::uint8_t> d(64);
        for (auto& b : d) b = static_cast<std::uint8_t>(rng());
        d[1] = static_cast<std::uint8_t>(d[1] % 0x20);  // at most 8 KiB units here; the fuzz target goes to 64 KiB
        qelfuzz::Reader r(d.data() + 1, d.size() - 1);
        const auto& all = qelent::entries();
        const qelent::Entry& e = all[d[0] % all.size()];
        EXPECT_NO_THROW(qelfuzz::checkEntry(e, qelfuzz::longText(r, static_cast<qelref::Enc>(e.from)), i % 4 != 0)) << e.name;
    }
}

}  // namespace
