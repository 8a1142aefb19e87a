// Fuzz target: the errno-style conversions of zero-terminated strings. The
// bounded ones must match the model's outcome (result, errno, the units
// written, the terminator, nothing past n); on text without control
// sequences their measuring answer must equal the bounded qelStr length
// query. The allocating ones must return the whole conversion up to the
// first ill-formed character with errno 0 or EILSEQ, and, with a provider
// failure injected, an empty result or null with errno ENOMEM.
//
// Data: function, bits, n (2 bytes), failure mode and argument, then the text.
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "calls.h"

using namespace qelfuzz;
using qelref::Enc;
using qelref::Units;

namespace {

constexpr int kErrnoSentinel = 12345;

struct Fn {
    const char* name;
    Enc from, to;
    int bounded;  // the qelStr bounded twin
};

const Fn kFns[6] = {
    {"u16stou8s", Enc::Utf16, Enc::Utf8, kU16U8},  {"u16stou32s", Enc::Utf16, Enc::Utf32, kU16U32},
    {"u32stou8s", Enc::Utf32, Enc::Utf8, kU32U8},  {"u32stou16s", Enc::Utf32, Enc::Utf16, kU32U16},
    {"u8stou16s", Enc::Utf8, Enc::Utf16, kU8U16},  {"u8stou32s", Enc::Utf8, Enc::Utf32, kU8U32},
};

struct Result {
    std::size_t value;
    int err;
    Units buffer;      // n units, then the guard units
    std::uint32_t guard;
};

template <class O, class I, class F>
Result invokeErrno(F call, const Units& src, bool nullSrc, bool nullDst, std::size_t n) {
    std::vector<I> in = typed<I>(src);
    std::vector<O> out(nullDst ? 0 : n + kGuardUnits, guardValue<O>());
    errno = kErrnoSentinel;
    std::size_t v = call(nullDst ? nullptr : out.data(), nullSrc ? nullptr : in.data(), n);
    int err = errno;
    return {v, err, untyped(out.data(), out.size()), unitValue(guardValue<O>())};
}

Result callBounded6(int f, const Units& src, bool nullSrc, bool nullDst, std::size_t n) {
    using u32 = unsigned int;
    switch (f) {
    case 0: return invokeErrno<char, char16_t>(qel_u16stou8s, src, nullSrc, nullDst, n);
    case 1: return invokeErrno<u32, char16_t>(qel_u16stou32s, src, nullSrc, nullDst, n);
    case 2: return invokeErrno<char, u32>(qel_u32stou8s, src, nullSrc, nullDst, n);
    case 3: return invokeErrno<char16_t, u32>(qel_u32stou16s, src, nullSrc, nullDst, n);
    case 4: return invokeErrno<char16_t, char>(qel_u8stou16s, src, nullSrc, nullDst, n);
    default: return invokeErrno<u32, char>(qel_u8stou32s, src, nullSrc, nullDst, n);
    }
}

struct AllocResult {
    bool isNull;
    int err;
    Units block;
    std::size_t bytes;
};

template <class O, class I, class F>
AllocResult invokeAlloc(F call, const Units& src, bool nullSrc) {
    std::vector<I> in = typed<I>(src);
    errno = kErrnoSentinel;
    O* p = call(nullSrc ? nullptr : in.data());
    AllocResult r{p == nullptr, errno, {}, 0};
    if (p != nullptr) {
        QF_CHECK(provider::isLive(p));
        r.bytes = provider::blockSize(p);
        QF_CHECK(r.bytes % sizeof(O) == 0 && r.bytes >= sizeof(O));
        r.block = untyped(p, r.bytes / sizeof(O));
        qelStrFree(p);
    }
    return r;
}

AllocResult callAlloc6(int f, const Units& src, bool nullSrc) {
    using u32 = unsigned int;
    switch (f) {
    case 0: return invokeAlloc<char, char16_t>(qel_u16stou8s_alloc, src, nullSrc);
    case 1: return invokeAlloc<u32, char16_t>(qel_u16stou32s_alloc, src, nullSrc);
    case 2: return invokeAlloc<char, u32>(qel_u32stou8s_alloc, src, nullSrc);
    case 3: return invokeAlloc<char16_t, u32>(qel_u32stou16s_alloc, src, nullSrc);
    case 4: return invokeAlloc<char16_t, char>(qel_u8stou16s_alloc, src, nullSrc);
    default: return invokeAlloc<u32, char>(qel_u8stou32s_alloc, src, nullSrc);
    }
}

std::size_t unitSize(Enc e) { return e == Enc::Utf8 ? 1 : (e == Enc::Utf16 ? 2 : 4); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const int sel = r.byte() % 12;
    const std::uint8_t bits = r.byte();
    const std::uint16_t nArg = r.u16();
    const std::uint8_t failMode = r.byte() % 4;
    const std::uint16_t failArg = r.u16();
    const Fn& fn = kFns[sel % 6];

    Units src = makeText(r, fn.from, (bits & 0x40) == 0, false);
    src.push_back(0);
    const bool nullSrc = (bits & 0x03) == 0x03 && (bits & 0x80) != 0;
    const qelref::SeqForm form = fn.from == Enc::Utf8 ? qelref::SeqForm::Utf8Strict : qelref::SeqForm::Unit;

    if (sel < 6) {
        const bool nullDst = (bits & 0x10) != 0;
        const std::size_t n = (bits & 0x20) ? nArg % 2100 : nArg % 70;
        ErrnoOutcome m = errnoCall(fn.from, fn.to, src, nullSrc, nullDst, n);
        Result got = callBounded6(sel, src, nullSrc, nullDst, n);
        setContext([&] {
            std::fprintf(stderr, "  qel_%s n %zu%s%s\n", fn.name, n, nullDst ? " (null dst)" : "",
                         nullSrc ? " (null src)" : "");
            dumpUnits("source", src);
            std::fprintf(stderr, "  expected %zu%s; got %zu errno %d\n", m.result, m.setsEilseq ? " EILSEQ" : "",
                         got.value, got.err);
            dumpUnits("expected text", m.text);
            Units head(got.buffer.begin(),
                       got.buffer.begin() + std::min<std::size_t>(got.buffer.size(), m.text.size() + 2));
            dumpUnits("buffer head", head);
        });
        QF_CHECK(got.value == m.result);
        QF_CHECK(got.err == (m.setsEilseq ? EILSEQ : kErrnoSentinel));
        if (!nullDst) {
            for (std::size_t i = n; i < got.buffer.size(); ++i) QF_CHECK(got.buffer[i] == got.guard);
            for (std::size_t i = 0; i < m.text.size(); ++i) QF_CHECK(got.buffer[i] == m.text[i]);
            if (m.terminator) {
                QF_CHECK(got.buffer[m.text.size()] == 0);
            } else if (m.text.empty()) {
                for (std::uint32_t u : got.buffer) QF_CHECK(u == got.guard);
            }
        } else if (!nullSrc) {
            // The measuring answer agrees with the bounded qelStr length query
            // wherever the two families read the text alike: without 0x01.
            bool hasStart = false;
            for (std::size_t i = 0; i < qelref::textLength(src, src.size()); ++i) hasStart |= src[i] == 0x01;
            if (!hasStart) {
                BoundedArgs a{&src, false, static_cast<std::uint32_t>(src.size()), true, 0, false};
                BoundedResult q = callBounded(fn.bounded, 0, a);
                if (q.status == 0) {
                    QF_CHECK(got.value == q.outLen);
                } else {
                    QF_CHECK(q.status == 368 && got.value == static_cast<std::size_t>(-1));
                }
            }
        }
        return 0;
    }

    provider::reset();
    if (failMode == 1) provider::failAllocNumber(1 + failArg % 8);
    if (failMode == 2) provider::failAllocAbove(failArg % 20000);
    AllocResult got = callAlloc6(sel - 6, src, nullSrc);
    const unsigned refused = provider::refused();
    const unsigned calls = provider::allocCalls();
    QF_CHECK(provider::liveBlocks() == 0);
    provider::reset();

    qelref::Conversion conv = qelref::convert(fn.from, fn.to, form, fn.to == Enc::Utf8, src, 0, src.size());
    Units expected = qelref::joined(conv);
    const std::size_t unit = unitSize(fn.to);
    setContext([&] {
        std::fprintf(stderr, "  qel_%s_alloc%s, failure mode %u arg %u, %u refused of %u\n", fn.name,
                     nullSrc ? " (null src)" : "", failMode, failArg, refused, calls);
        dumpUnits("source", src);
        std::fprintf(stderr, "  got %s errno %d\n", got.isNull ? "null" : "a block", got.err);
        dumpUnits("expected", expected);
        dumpUnits("block", got.block);
    });
    if (nullSrc) {
        QF_CHECK(got.isNull && got.err == kErrnoSentinel && calls == 0);
        return 0;
    }
    if (src[0] == 0) {
        QF_CHECK(got.err == kErrnoSentinel && calls == 1);
        if (refused) {
            QF_CHECK(got.isNull);
        } else {
            QF_CHECK(!got.isNull && got.bytes == unit && got.block[0] == 0);
        }
        return 0;
    }
    if (refused) {
        QF_CHECK(got.err == ENOMEM);
        if (!got.isNull) QF_CHECK(got.bytes == unit && got.block[0] == 0);
        return 0;
    }
    QF_CHECK(!got.isNull);
    QF_CHECK(got.err == (conv.bad ? EILSEQ : 0));
    QF_CHECK(got.bytes == (expected.size() + 1) * unit);
    QF_CHECK(got.block.back() == 0);
    QF_CHECK(Units(got.block.begin(), got.block.end() - 1) == expected);
    return 0;
}
