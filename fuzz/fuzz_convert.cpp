// SPDX-License-Identifier: MIT
// Fuzz target: any entry point of the table on any text, with every output
// size that matters, against the model; or one call with a provider that
// refuses a request. Data: entry, mode bits, failure argument, then the text.
#include "check.h"

using namespace qelfuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    provider::reset();
    const auto& all = qelent::entries();
    const qelent::Entry& e = all[r.byte() % all.size()];
    const std::uint8_t bits = r.byte();
    const std::uint8_t failArg = r.byte();
    const auto from = static_cast<qelref::Enc>(e.from);
    const Units text = makeText(r, from, (bits & 1) == 0, (bits & 2) != 0 && from == qelref::Enc::Utf8);
    if ((bits & 0x0C) == 0 || !e.allocates()) {
        checkEntry(e, text);
        return 0;
    }
    // One call with a refused request: the failure answer, nothing leaked.
    qelent::Args a;
    a.in = text;
    a.inLen = static_cast<std::uint32_t>(text.size());
    a.end = text.size();
    a.prefill = (bits >> 4) * 34u;  // within the first chunk
    a.flags = bits & 0x80 ? qelStrFlagRawSequences : 0;
    provider::reset();
    if (bits & 4) provider::failAllocNumber(1 + failArg % 6);
    else provider::failAllocAbove(failArg * 8u);
    checkCall(e, a);
    return 0;
}
