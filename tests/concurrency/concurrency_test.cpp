// SPDX-License-Identifier: MIT
// Every conversion entry point of the table from eight threads at once, on
// the shared library with the default string memory provider: each result
// must equal the one computed on a single thread beforehand.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "entries.h"
#include "reference.h"

namespace {

using qelent::Args;
using qelent::Entry;
using qelent::Units;

// Short and long text with control sequences, and text with a fault inside,
// spelled in `enc` by the model's encoder.
Units text(qelent::Enc enc, int kind) {
    const Units cycle = {0x61, 0xE9, 0x20AC, 0x1F600, 1, 0x41, 0x85, 2, 0x62, 1, 3};
    Units out;
    for (unsigned i = 0; i < (kind == 0 ? 11u : 3000u); ++i)
        qelref::encodeAs(static_cast<qelref::Enc>(enc), kind == 2 && i == 1500 ? 0xDC00 : cycle[i % cycle.size()], out);
    return out;
}

struct Job {
    const Entry* entry;
    Args args;
    qelent::Result expected;
};

TEST(Concurrency, EveryEntryPointFromEightThreads) {
    std::vector<Job> jobs;
    for (const Entry& e : qelent::entries()) {
        for (int kind = 0; kind < 3; ++kind) {
            Args a;
            a.in = text(e.from, kind);
            a.inLen = static_cast<std::uint32_t>(a.in.size());
            a.end = a.in.size();
            for (std::uint32_t size : {7u, 64u, 20000u}) {
                a.outSize = size;
                a.flags = size == 64 ? qelStrFlagRawSequences | qelStrFlagFullLength : 0;
                jobs.push_back({&e, a, e.call(a)});
            }
        }
    }
    std::atomic<unsigned> mismatches{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (unsigned round = 0; round < 6; ++round)
                for (std::size_t i = 0; i < jobs.size(); ++i) {
                    const Job& j = jobs[(i + t * 37 + round * 11) % jobs.size()];
                    if (!(j.entry->call(j.args) == j.expected)) ++mismatches;
                }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(mismatches.load(), 0u);
    EXPECT_GT(jobs.size(), 300u);
}

}  // namespace
