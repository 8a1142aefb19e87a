// Out of memory everywhere: every allocating function, on inputs of several
// sizes, with the first, the second, ... provider request refused in turn
// until the call no longer needs the refused one. Each refusal must give the
// out-of-memory answer (an empty one-unit result), and no block may stay live
// once the caller has freed the result.
#include <gtest/gtest.h>

#include <cerrno>

#include "alloc/entry_points.h"
#include "support/test_provider.h"

namespace {

using qeltest::AllocEntry;
using qeltest::Outcome;
using qeltest::ProviderCall;
using qeltest::ProviderScope;
using qeltest::Units;

// Text that every source encoding spells the same way and every target keeps
// unit for unit: ASCII, sequences, and a 0x01 that starts none, so that runs
// reach the cores as well as the fast path.
Units text(std::size_t n) {
    static const Units pattern = {0x61, 0x62, 1, 0x41, 0x7E, 2, 0x63, 1, 3, 0x64, 0x65};
    Units u;
    for (std::size_t i = 0; i < n; ++i) u.push_back(pattern[i % pattern.size()]);
    return u;
}

bool anyRefused(const ProviderScope& provider) {
    for (const ProviderCall& c : provider.calls())
        if (c.failed) return true;
    return false;
}

// ok, noMemory: the status (or errno) of success and of a refusal; untouched:
// what empty input leaves there.
void sweep(const AllocEntry& e, int ok, int noMemory, int untouched) {
    for (std::size_t n : {0u, 300u, 513u, 3000u}) {
        const Units in = text(n);
        const unsigned int inLen = n == 0 ? 1 : static_cast<unsigned int>(n);  // empty by its zero unit
        for (unsigned int k = 1;; ++k) {
            ProviderScope provider;
            provider.failAllocNumber(k);
            const Outcome got = e.call(&in, inLen, false);
            EXPECT_EQ(provider.liveBlocks(), 0u) << e.name << " n=" << n << " k=" << k;
            if (!anyRefused(provider)) {
                const int status = n == 0 ? untouched : ok;  // an empty input writes no errno
                EXPECT_TRUE(got == (Outcome{status, false, in, static_cast<unsigned int>(n)}))
                    << e.name << " n=" << n << ": status " << got.status << " len " << got.len;
                EXPECT_GT(k, 1u) << e.name << " n=" << n;
                break;
            }
            const Outcome want = n == 0 ? Outcome{untouched, true, {}, 0} : Outcome{noMemory, false, {}, 0};
            EXPECT_EQ(got, want) << e.name << " n=" << n << " k=" << k;
            ASSERT_LT(k, 10u) << e.name << " n=" << n;
        }
    }
}

TEST(OutOfMemory, EveryAllocatingConversionAndCopy) {
    for (const AllocEntry& e : qeltest::allocEntries()) sweep(e, qelStrOk, qelStrNoMemory, qelStrOk);
}

TEST(OutOfMemory, EveryErrnoStyleAllocation) {
    for (const AllocEntry& e : qeltest::errnoAllocEntries()) sweep(e, 0, ENOMEM, -1);
}

}  // namespace
