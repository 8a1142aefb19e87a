// Fuzz target: the allocating conversions and the allocating UTF-16 copy.
// Without a provider failure the result must be the whole conversion (up to
// the first ill-formed character) in an exactly sized, zero-terminated block,
// equal to what the bounded twin writes into a buffer with room to spare; a
// null out must answer like the bounded length query and allocate nothing.
// Provider failures are injected from the fuzz data (the n-th request, or
// every request above a size): the call must then answer qelStrNoMemory with
// an empty one-unit result or null. Every block must be accounted for.
//
// Data: entry, bits, failure mode, failure argument, repeat count, then the text.
#include <cstdint>
#include <cstdio>

#include "calls.h"
#include "qel/qelstr.h"

using namespace qelfuzz;
using qelref::Enc;
using qelref::Units;

namespace {

enum AllocEntry {
    kA16_8, kA16_8Ex, kA16_32, kA32_16, kA32_8, kA32_8Ex, kA8_16, kA8_16Ex, kA8_32, kA8_32Ex, kACopy,
    kAllocEntries
};

struct AllocInfo {
    const char* name;
    Pair pair;
    bool ex;
    int bounded;  // the bounded twin
};

const AllocInfo kInfo[kAllocEntries] = {
    {"qelStrUtf16ToUtf8Alloc", {Enc::Utf16, Enc::Utf8, false}, false, kU16U8Ex},
    {"qelStrUtf16ToUtf8AllocEx", {Enc::Utf16, Enc::Utf8, false}, true, kU16U8Ex},
    {"qelStrUtf16ToUtf32Alloc", {Enc::Utf16, Enc::Utf32, false}, false, kU16U32},
    {"qelStrUtf32ToUtf16Alloc", {Enc::Utf32, Enc::Utf16, false}, false, kU32U16},
    {"qelStrUtf32ToUtf8Alloc", {Enc::Utf32, Enc::Utf8, false}, false, kU32U8Ex},
    {"qelStrUtf32ToUtf8AllocEx", {Enc::Utf32, Enc::Utf8, false}, true, kU32U8Ex},
    {"qelStrUtf8ToUtf16Alloc", {Enc::Utf8, Enc::Utf16, false}, false, kU8U16Ex},
    {"qelStrUtf8ToUtf16AllocEx", {Enc::Utf8, Enc::Utf16, false}, true, kU8U16Ex},
    {"qelStrUtf8ToUtf32Alloc", {Enc::Utf8, Enc::Utf32, false}, false, kU8U32Ex},
    {"qelStrUtf8ToUtf32AllocEx", {Enc::Utf8, Enc::Utf32, false}, true, kU8U32Ex},
    {"qelStrUtf16CopyAlloc", {Enc::Utf16, Enc::Utf16, false}, false, kU16Copy},
};

struct AllocResult {
    int status;
    std::uint32_t outLen;
    bool isNull;
    Units block;          // the result's units, terminator included
    std::size_t bytes;    // the block's size as the provider handed it out
};

template <class O, class I, class F>
AllocResult invokeAlloc(F call, const Units& text, bool nullIn, std::uint32_t inLen, bool nullOut,
                        bool nullOutLen) {
    std::vector<I> in = typed<I>(text);
    if (in.empty()) in.push_back(static_cast<I>('A'));  // a real pointer; inLen is 0 then
    O* out = reinterpret_cast<O*>(static_cast<std::uintptr_t>(0x1));  // must be replaced or kept
    std::uint32_t len = kNoLength;
    int st = call(nullOut ? nullptr : &out, nullOutLen ? nullptr : &len,
                  nullIn ? nullptr : in.data(), inLen);
    AllocResult r{st, len, false, {}, 0};
    if (nullOut) {
        QF_CHECK(out == reinterpret_cast<O*>(static_cast<std::uintptr_t>(0x1)));
        return r;
    }
    r.isNull = out == nullptr;
    if (!r.isNull) {
        QF_CHECK(provider::isLive(out));
        r.bytes = provider::blockSize(out);
        QF_CHECK(r.bytes % sizeof(O) == 0 && r.bytes >= sizeof(O));
        r.block = untyped(out, r.bytes / sizeof(O));
        qelStrFree(out);
    }
    return r;
}

AllocResult callAlloc(int e, std::uint32_t flags, const Units& text, bool nullIn, std::uint32_t inLen,
                      bool nullOut, bool nullOutLen) {
    using u32 = unsigned int;
    switch (e) {
    case kA16_8:
        return invokeAlloc<char, char16_t>(
            [](char** o, u32* l, const char16_t* i, u32 n) { return qelStrUtf16ToUtf8Alloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA16_8Ex:
        return invokeAlloc<char, char16_t>(
            [flags](char** o, u32* l, const char16_t* i, u32 n) { return qelStrUtf16ToUtf8AllocEx(o, l, i, n, flags); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA16_32:
        return invokeAlloc<u32, char16_t>(
            [](u32** o, u32* l, const char16_t* i, u32 n) { return qelStrUtf16ToUtf32Alloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA32_16:
        return invokeAlloc<char16_t, u32>(
            [](char16_t** o, u32* l, const u32* i, u32 n) { return qelStrUtf32ToUtf16Alloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA32_8:
        return invokeAlloc<char, u32>(
            [](char** o, u32* l, const u32* i, u32 n) { return qelStrUtf32ToUtf8Alloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA32_8Ex:
        return invokeAlloc<char, u32>(
            [flags](char** o, u32* l, const u32* i, u32 n) { return qelStrUtf32ToUtf8AllocEx(o, l, i, n, flags); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA8_16:
        return invokeAlloc<char16_t, char>(
            [](char16_t** o, u32* l, const char* i, u32 n) { return qelStrUtf8ToUtf16Alloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA8_16Ex:
        return invokeAlloc<char16_t, char>(
            [flags](char16_t** o, u32* l, const char* i, u32 n) { return qelStrUtf8ToUtf16AllocEx(o, l, i, n, flags); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA8_32:
        return invokeAlloc<u32, char>(
            [](u32** o, u32* l, const char* i, u32 n) { return qelStrUtf8ToUtf32Alloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    case kA8_32Ex:
        return invokeAlloc<u32, char>(
            [flags](u32** o, u32* l, const char* i, u32 n) { return qelStrUtf8ToUtf32AllocEx(o, l, i, n, flags); },
            text, nullIn, inLen, nullOut, nullOutLen);
    default:
        return invokeAlloc<char16_t, char16_t>(
            [](char16_t** o, u32* l, const char16_t* i, u32 n) { return qelStrUtf16CopyAlloc(o, l, i, n); },
            text, nullIn, inLen, nullOut, nullOutLen);
    }
}

std::size_t unitSize(Enc e) { return e == Enc::Utf8 ? 1 : (e == Enc::Utf16 ? 2 : 4); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const int entry = r.byte() % kAllocEntries;
    const std::uint8_t bits = r.byte();
    const std::uint8_t failMode = r.byte() % 4;
    const std::uint16_t failArg = r.u16();
    const unsigned repeat = 1 + r.byte() % 24;

    AllocInfo info = kInfo[entry];
    std::uint32_t flags = 0;
    if (info.ex) {
        if (bits & 0x04) flags |= qelStrFlagRawSequences;
        if (bits & 0x08) flags |= qelStrFlagFullLength | qelStrFlagNoTerminator | 0x100u;
    }
    info.pair.raw = (flags & qelStrFlagRawSequences) != 0;
    const std::uint32_t rawOnly = flags & qelStrFlagRawSequences;

    Units piece = makeText(r, info.pair.from, (bits & 0x40) == 0, info.pair.raw && info.pair.from == Enc::Utf8);
    Units text;
    for (unsigned i = 0; i < repeat && text.size() < 40000; ++i) text.insert(text.end(), piece.begin(), piece.end());
    const bool nullOut = (bits & 0x10) != 0 && (bits & 0x01) != 0;
    const bool nullOutLen = (bits & 0x20) != 0;
    const bool nullIn = (bits & 0x03) == 0x02 && (bits & 0x80) != 0;
    std::uint32_t inLen = static_cast<std::uint32_t>(text.size());
    if ((bits & 0x80) != 0 && !nullIn) {
        text.push_back(0);
        inLen = 0xFFFFFFFFu;
    }

    provider::reset();
    if (failMode == 1) provider::failAllocNumber(1 + failArg % 8);
    if (failMode == 2) provider::failAllocAbove(failArg % 20000);

    AllocResult got = callAlloc(entry, flags, text, nullIn, inLen, nullOut, nullOutLen);
    const unsigned refused = provider::refused();
    const unsigned calls = provider::allocCalls();
    QF_CHECK(provider::liveBlocks() == 0);
    provider::reset();

    const bool isCopy = entry == kACopy;
    const std::size_t unit = unitSize(info.pair.to);
    const std::uint32_t end = inLen;
    const bool empty = nullIn || inLen == 0 || text.empty() || text[0] == 0;

    Units expected;
    int expectedStatus = 0;
    if (isCopy) {
        expected.assign(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(qelref::textLength(text, end)));
    } else {
        qelref::Conversion conv = wholeConversion(info.pair, text, end);
        expected = qelref::joined(conv);
        expectedStatus = conv.bad ? 368 : 0;
    }
    setContext([&] {
        std::fprintf(stderr, "  %s flags 0x%X inLen %u%s%s%s, failure mode %u arg %u, %u refused of %u\n",
                     info.name, flags, inLen, nullIn ? " (null in)" : "", nullOut ? " (null out)" : "",
                     nullOutLen ? " (null outLen)" : "", failMode, failArg, refused, calls);
        dumpUnits("input", text);
        std::fprintf(stderr, "  got status %d length %u%s\n", got.status, got.outLen, got.isNull ? " null" : "");
        dumpUnits("expected", expected);
        dumpUnits("block", got.block);
    });

    if (nullOut) {
        // A length query: the bounded length query's answer, nothing allocated.
        QF_CHECK(calls == 0);
        if (isCopy) {
            QF_CHECK(got.status == 0);
            if (!nullOutLen) QF_CHECK(got.outLen == (empty ? 0 : expected.size()));
        } else {
            BoundedOutcome q = boundedCall(info.pair, text, nullIn, inLen, true, 0, 0);
            QF_CHECK(got.status == q.status);
            if (!nullOutLen) QF_CHECK(got.outLen == q.outLen);
        }
        return 0;
    }
    if (!nullOutLen) QF_CHECK(got.outLen != kNoLength);
    const std::uint32_t len = nullOutLen ? 0 : got.outLen;
    if (nullIn) {
        QF_CHECK(got.status == 0 && got.isNull && calls == 0);
        if (!nullOutLen) QF_CHECK(len == 0);
        return 0;
    }
    if (empty) {
        QF_CHECK(got.status == 0);
        if (!nullOutLen) QF_CHECK(len == 0);
        QF_CHECK(calls == 1);
        if (refused) {
            QF_CHECK(got.isNull);
        } else {
            QF_CHECK(!got.isNull && got.bytes == unit && got.block[0] == 0);
        }
        return 0;
    }
    if (refused > 0) {
        QF_CHECK(got.status == 112);
        if (!nullOutLen) QF_CHECK(len == 0);
        if (!got.isNull) QF_CHECK(got.bytes == unit && got.block[0] == 0);
        return 0;
    }
    QF_CHECK(got.status == expectedStatus);
    QF_CHECK(!got.isNull);
    QF_CHECK(got.bytes == (expected.size() + 1) * unit);
    if (!nullOutLen) QF_CHECK(len == expected.size());
    QF_CHECK(got.block.back() == 0);
    QF_CHECK(Units(got.block.begin(), got.block.end() - 1) == expected);

    // The bounded twin writes the same into a buffer with room to spare.
    if (text.size() < 20000) {
        BoundedArgs a{&text, false, inLen, false, static_cast<std::uint32_t>(text.size() * 4 + 4), false};
        BoundedResult b = callBounded(info.bounded, rawOnly, a);
        QF_CHECK(b.status == got.status);
        QF_CHECK(b.outLen == expected.size());
        QF_CHECK(Units(b.buffer.begin(), b.buffer.begin() + b.outLen) == expected);
    }
    return 0;
}
