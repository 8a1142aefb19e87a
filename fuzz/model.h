// SPDX-License-Identifier: MIT
// The one oracle: what any entry point of the table must give, worked out
// from the rules of reference.h one piece of text at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "entries.h"
#include "reference.h"

namespace qelfuzz {

// Marks a unit of an expected buffer whose value is not documented.
constexpr std::uint32_t kAny = 0xFFFFFFFE;

// What calling `e` with `a` must give, provided the string memory provider
// refuses nothing. Units of `out` that are kAny match anything.
qelent::Result expect(const qelent::Entry& e, const qelent::Args& a);
bool matches(const qelent::Result& expected, const qelent::Result& got);

// The provider requests of an allocating qelStr conversion whose result has
// `n` units: sizes of the qelStrAlloc and qelStrReAlloc calls, and the
// number of qelStrFree calls (the caller's own free of the result included).
struct Requests {
    std::vector<unsigned int> allocs, reallocs;
    unsigned int frees;
    bool operator==(const Requests& o) const { return allocs == o.allocs && reallocs == o.reallocs && frees == o.frees; }
};
Requests allocRequests(std::size_t n, unsigned int unitBytes);

}  // namespace qelfuzz
