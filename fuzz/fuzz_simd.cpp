// Fuzz target: the vector kernels against the per-character code. The fuzz
// data choose a pair and a text in its source encoding; every kind of core
// of that pair then runs with the kernels of each instruction set this CPU
// has and with the per-character code alone, the bounded kinds at every
// output size and the allocating one from every offset near the end of its
// first chunk, and the two must agree on the result, both cursors, the count
// and every unit of the output block. The walker kernels run on the same
// text and must agree with their one-unit-at-a-time definitions, and the
// one-pass text kernel with the fill converter.
//
// Data: pair, text mode, then the text (see makeText).
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "core/engine.h"
#include "simd/simd.h"
#include "harness.h"
#include "kernel_runs.h"
#include "qel/qelcore.h"

using namespace qelfuzz;
using namespace qelkernels;
namespace core = qel::core;
namespace simd = qel::simd;
namespace policy = qel::core;

namespace {

template <class P>
void compare(Kind kind, const std::vector<core::SrcOf<P>>& text, std::size_t room,
             const std::vector<const simd::Kernels*>& sets) {
    const auto expected = run<P>(kind, text, room, core::NoBulk<P>());
    for (const simd::Kernels* k : sets) {
        if (!(run<P>(kind, text, room, core::Bulk<P>(*k)) == expected)) {
            std::fprintf(stderr, "kernels of set %d differ: kind %d, room %zu, %zu units\n",
                         static_cast<int>(k->isa), static_cast<int>(kind), room, text.size());
            QF_CHECK(false);
        }
    }
}

template <class P, bool kHasFill = true>
void checkCores(const qelref::Units& units, const std::vector<const simd::Kernels*>& sets) {
    using S = core::SrcOf<P>;
    std::vector<S> text;
    for (std::uint32_t u : units) text.push_back(static_cast<S>(u));
    compare<P>(Kind::Measure, text, 0, sets);
    unsigned int need = 0;
    const S* cursor = text.data();
    core::measureRun<P>(&need, &cursor, text.data() + text.size(), core::NoBulk<P>());
    for (std::size_t room = 0; room <= need + 2; ++room) {
        if (room > 0) compare<P>(Kind::Safe, text, room, sets);
        if constexpr (kHasFill) compare<P>(Kind::Fill, text, room, sets);
        if (room > 0 && room <= 40) compare<P>(Kind::Alloc, text, room, sets);
    }
}

// The walker kernels of source U and target D from every start position,
// with the text's own end and as a zero-terminated string.
template <class U, class D>
void checkWalkers(const qelref::Units& units, const std::vector<const simd::Kernels*>& sets) {
    std::vector<U> text;
    for (std::uint32_t u : units) text.push_back(static_cast<U>(u));
    text.push_back(0);
    const auto b = heapCopy(text);
    const U* const begin = b.get();
    const std::size_t n = text.size() - 1;
    std::vector<D> out(n + 1);
    for (const simd::Kernels* k : sets) {
        const auto scan = simd::scanKernels<U>(*k);
        const auto copy = simd::copyPlain<U, D>(*k);
        for (std::size_t from = 0; from <= n; from += 1 + from / 16) {
            for (const U* end : {begin + n, static_cast<const U*>(nullptr)}) {
                const U* stop = begin + from;
                while (stop != end && static_cast<std::uint32_t>(*stop) > 1) ++stop;
                QF_CHECK(scan.findStop(begin + from, end) == stop);
                const U* special = begin + from;
                while (special != end && static_cast<std::uint32_t>(*special) - 2 < 0x7E) ++special;
                QF_CHECK(scan.findSpecial(begin + from, end) == special);
                const std::size_t plain = static_cast<std::size_t>(special - (begin + from));
                for (std::size_t room : {std::size_t{0}, plain / 2, plain, plain + 1}) {
                    const U* p = begin + from;
                    D* o = out.data();
                    copy(&p, end, &o, out.data() + room);
                    const std::size_t copied = plain < room ? plain : room;
                    QF_CHECK(p == begin + from + copied && o == out.data() + copied);
                    for (std::size_t i = 0; i < copied; ++i) QF_CHECK(out[i] == static_cast<D>(begin[from + i]));
                }
            }
        }
    }
}

// convertText from the start of the text (the pair P's cores as the
// reference): it takes a prefix of whole, well-formed characters before any
// zero unit or 0x01 and `end`, writes exactly what the fill converter writes
// for them and nothing more, keeps within the room and reports where its last
// unit from 0x80 ends.
template <class P>
void checkText(const qelref::Units& units, const std::vector<const simd::Kernels*>& sets) {
    using S = core::SrcOf<P>;
    using D = core::DstOf<P>;
    std::vector<S> text;
    for (std::uint32_t u : units) text.push_back(static_cast<S>(u));
    text.push_back(0);
    const auto b = heapCopy(text);
    const S* const begin = b.get();
    const std::size_t n = text.size() - 1;
    std::size_t stop = 0;
    while (stop < n && static_cast<std::uint32_t>(begin[stop]) > 1) ++stop;
    // What the text before the stop makes, up to its first fault: rooms
    // around it cut the kernel's last step.
    std::vector<D> all(4 * n + 4);
    const S* f = begin;
    D* fo = all.data();
    core::convertFill<P>(&fo, all.data() + all.size(), &f, begin + stop, core::NoBulk<P>());
    const std::size_t made = static_cast<std::size_t>(fo - all.data());
    for (const simd::Kernels* k : sets) {
        const auto kernel = simd::convertText<S, D>(*k);
        if (kernel == nullptr) continue;
        for (const S* end : {static_cast<const S*>(nullptr), begin + n / 2, begin + n}) {
            for (std::size_t room : {n / 3, made > 0 ? made - 1 : 0, made, 4 * n + 4}) {
                std::vector<D> out(room + 1, static_cast<D>(0x5A));
                const S* p = begin;
                D* o = out.data();
                const S* lastOther = nullptr;
                kernel(&p, end, &o, out.data() + room, &lastOther);
                const std::size_t taken = static_cast<std::size_t>(p - begin);
                const std::size_t written = static_cast<std::size_t>(o - out.data());
                QF_CHECK(taken <= stop && (end == nullptr || p <= end) && written <= room);
                const S* expectOther = nullptr;
                for (const S* u = begin; u != p; ++u)
                    if (static_cast<std::uint32_t>(*u) >= 0x80) expectOther = u + 1;
                QF_CHECK(lastOther == expectOther);
                std::vector<D> expect(written + 8, static_cast<D>(0x5A));
                const S* q = begin;
                D* w = expect.data();
                QF_CHECK(core::convertFill<P>(&w, expect.data() + expect.size(), &q, p, core::NoBulk<P>()) >= 0);
                QF_CHECK(q == p && static_cast<std::size_t>(w - expect.data()) == written);
                for (std::size_t i = 0; i < written; ++i) QF_CHECK(out[i] == expect[i]);
                for (std::size_t i = written; i <= room; ++i) QF_CHECK(out[i] == static_cast<D>(0x5A));
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<const simd::Kernels*> sets = vectorSets();
    if (sets.empty()) return 0;
    Reader r(data, size);
    const int pair = r.byte() % 6;
    const bool structured = (r.byte() & 1) != 0;
    using qelref::Enc;
    switch (pair) {
    case 0: {
        const qelref::Units t = makeText(r, Enc::Utf8, structured, false);
        checkCores<policy::Utf8ToUtf16>(t, sets);
        checkWalkers<qel::u8, qel::u16>(t, sets);
        checkText<policy::Utf8ToUtf16>(t, sets);
        break;
    }
    case 1: {
        const qelref::Units t = makeText(r, Enc::Utf8, structured, false);
        checkCores<policy::Utf8ToUtf32>(t, sets);
        checkWalkers<qel::u8, qel::u32>(t, sets);
        checkText<policy::Utf8ToUtf32>(t, sets);
        break;
    }
    case 2: {
        const qelref::Units t = makeText(r, Enc::Utf16, structured, false);
        checkCores<policy::Utf16ToUtf8>(t, sets);
        checkWalkers<qel::u16, char>(t, sets);
        checkText<policy::Utf16ToUtf8>(t, sets);
        break;
    }
    case 3: {
        const qelref::Units t = makeText(r, Enc::Utf16, structured, false);
        checkCores<policy::Utf16ToUtf32, false>(t, sets);
        checkWalkers<qel::u16, qel::u32>(t, sets);
        checkText<policy::Utf16ToUtf32>(t, sets);
        break;
    }
    case 4: {
        const qelref::Units t = makeText(r, Enc::Utf32, structured, false);
        checkCores<policy::Utf32ToUtf8>(t, sets);
        checkWalkers<qel::u32, char>(t, sets);
        checkText<policy::Utf32ToUtf8>(t, sets);
        break;
    }
    default: {
        const qelref::Units t = makeText(r, Enc::Utf32, structured, false);
        checkCores<policy::Utf32ToUtf16>(t, sets);
        checkWalkers<qel::u32, qel::u16>(t, sets);
        checkText<policy::Utf32ToUtf16>(t, sets);
        break;
    }
    }
    return 0;
}
