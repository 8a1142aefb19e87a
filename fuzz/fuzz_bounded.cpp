// Fuzz target: every bounded conversion entry point and the bounded UTF-16
// copy. The fuzz data choose the entry point, the flags, the buffer size,
// the input length and the text; the call must match the model's outcome
// exactly (status, output length, the units before the end of the output,
// the terminator) and leave the guard units behind the buffer alone.
// Well-formed text must also survive a round trip through the opposite
// entry point whenever the reference's own round trip gives it back.
//
// Data: entry, flag bits, outSize (2 bytes), input-length mode, length
// argument, then the text (see makeText).
#include <cstdint>
#include <cstdio>

#include "calls.h"

using namespace qelfuzz;
using qelref::Units;

namespace {

void checkOutcome(const BoundedOutcome& m, const BoundedResult& r, const BoundedArgs& a) {
    QF_CHECK(r.status == m.status);
    if (a.nullOutLen) {
        QF_CHECK(r.outLen == kNoLength);
    } else {
        QF_CHECK(r.outLen == m.outLen);
    }
    if (a.nullOut) return;
    for (std::size_t i = a.outSize; i < r.buffer.size(); ++i) QF_CHECK(r.buffer[i] == r.guard);
    if (m.writesNothing) {
        for (std::uint32_t u : r.buffer) QF_CHECK(u == r.guard);
        return;
    }
    QF_CHECK(m.text.size() + (m.terminator ? 1 : 0) <= a.outSize);
    for (std::size_t i = 0; i < m.text.size(); ++i) QF_CHECK(r.buffer[i] == m.text[i]);
    if (m.terminator) QF_CHECK(r.buffer[m.text.size()] == 0);
}

// Converts the whole text into a buffer with room to spare.
BoundedResult convertWhole(int entry, std::uint32_t flags, const Units& text) {
    BoundedArgs a{&text, false, static_cast<std::uint32_t>(text.size()), false,
                  static_cast<std::uint32_t>(text.size() * 4 + 4), false};
    return callBounded(entry, flags, a);
}

Units written(const BoundedResult& r) {
    return Units(r.buffer.begin(), r.buffer.begin() + r.outLen);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const int entry = r.byte() % kBoundedEntries;
    const std::uint8_t bits = r.byte();
    const std::uint16_t sizeArg = r.u16();
    const std::uint8_t lenMode = r.byte() % 8;
    const std::uint8_t lenArg = r.byte();

    EntryInfo info = boundedEntry(entry);
    std::uint32_t flags = 0;
    if (info.ex) {
        if (bits & 0x01) flags |= qelStrFlagFullLength;
        if (bits & 0x02) flags |= qelStrFlagNoTerminator;
        if (bits & 0x04) flags |= qelStrFlagRawSequences;
        if (bits & 0x08) flags |= 0x80000104u;  // bits that mean nothing
    }
    info.pair.raw = (flags & qelStrFlagRawSequences) != 0;
    const bool utf8In = info.pair.from == qelref::Enc::Utf8;

    Units text = makeText(r, info.pair.from, (bits & 0x40) == 0, info.pair.raw && utf8In);
    BoundedArgs a{};
    a.in = &text;
    a.nullOut = (bits & 0x10) != 0 && (sizeArg & 0x100) != 0;
    a.nullOutLen = (bits & 0x20) != 0;
    a.outSize = (bits & 0x80) ? sizeArg % 2100 : sizeArg % 70;
    switch (lenMode) {
    case 4:
        text.push_back(0);
        a.inLen = 0xFFFFFFFFu;
        break;
    case 5: a.inLen = static_cast<std::uint32_t>(text.size() == 0 ? 0 : lenArg % (text.size() + 1)); break;
    case 6: a.nullIn = true; a.inLen = static_cast<std::uint32_t>(text.size()); break;
    case 7: a.inLen = 0; break;
    default: a.inLen = static_cast<std::uint32_t>(text.size()); break;
    }

    BoundedOutcome m = entry == kU16Copy
                           ? boundedCopy(text, a.nullIn, a.inLen, a.nullOut, a.outSize)
                           : boundedCall(info.pair, text, a.nullIn, a.inLen, a.nullOut, a.outSize, flags);
    BoundedResult got = callBounded(entry, flags, a);
    setContext([&] {
        std::fprintf(stderr, "  %s flags 0x%X outSize %u%s inLen %u%s%s\n", info.name, flags, a.outSize,
                     a.nullOut ? " (null out)" : "", a.inLen, a.nullIn ? " (null in)" : "",
                     a.nullOutLen ? " (null outLen)" : "");
        dumpUnits("input", text);
        std::fprintf(stderr, "  expected status %d length %u; got status %d length %u\n", m.status, m.outLen,
                     got.status, got.outLen);
        dumpUnits("expected text", m.text);
        Units head(got.buffer.begin(), got.buffer.begin() + std::min<std::size_t>(got.buffer.size(), m.text.size() + 2));
        dumpUnits("buffer head", head);
    });
    checkOutcome(m, got, a);

    // Round trip of well-formed text through the opposite entry point.
    if (info.reverse >= 0 && !a.nullIn) {
        const std::uint32_t rawOnly = flags & qelStrFlagRawSequences;
        qelref::Conversion fwd = wholeConversion(info.pair, text, a.inLen);
        if (!fwd.bad) {
            Units original(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(
                                                           qelref::textLength(text, a.inLen)));
            Units there = qelref::joined(fwd);
            Pair back{info.pair.to, info.pair.from, info.pair.raw};
            qelref::Conversion bwd = wholeConversion(back, there, static_cast<std::uint32_t>(there.size()));
            if (!bwd.bad && qelref::joined(bwd) == original) {
                BoundedResult r1 = convertWhole(entry, rawOnly, original);
                QF_CHECK(r1.status == 0);
                Units mid = written(r1);
                QF_CHECK(mid == there);
                BoundedResult r2 = convertWhole(info.reverse, rawOnly, mid);
                QF_CHECK(r2.status == 0);
                QF_CHECK(written(r2) == original);
            }
        }
    }
    return 0;
}
