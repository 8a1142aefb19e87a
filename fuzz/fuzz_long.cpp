// SPDX-License-Identifier: MIT
// Fuzz target: long texts (to 64 KiB units) with faults and control units
// next to vector block edges, through a random entry point with every
// output size that matters. Data: entry, then the longText recipe.
#include "check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qelfuzz::Reader r(data, size);
    qelfuzz::provider::reset();
    const auto& all = qelent::entries();
    const qelent::Entry& e = all[r.byte() % all.size()];
    qelfuzz::checkEntry(e, qelfuzz::longText(r, static_cast<qelref::Enc>(e.from)), true);
    return 0;
}
