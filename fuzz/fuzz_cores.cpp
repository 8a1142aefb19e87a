// Fuzz target: the eight exported conversion cores, called on a run that
// starts and ends anywhere in the text, with any output room and any
// starting count. The result (exact value on success, sign and kind on
// failure), both cursors, the count and the units written must match the
// reference, and nothing may be written past the output end. The allocating
// cores are given a buffer whose first chunk already holds some units and a
// provider that may refuse a chunk.
//
// Data: core, run start, run end, room, count (2 bytes), failure mode and
// argument, bits, then the text.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "calls.h"
#include "qel/qelcore.h"

using namespace qelfuzz;
using qelref::Enc;
using qelref::Units;

namespace {

enum Core {
    kPre16_8, kSafe16_8, kAlloc16_8, kPre16_32, kSafe16_32, kAlloc16_32, kFill8_16, kFill32_16, kCores
};

const char* const kNames[kCores] = {"u16stou8sPreflightLow",  "u16stou8sConvertSafeLow", "u16stou8sAllocLow",
                                    "u16stou32sPreflightLow", "u16stou32sConvertSafeLow", "u16stou32sAllocLow",
                                    "u8stou16sConvertLow",    "u32stou16sConvertLow"};

// What the reference says a core does with the run [a, b).
struct Expect {
    int result;
    std::size_t inPos;     // where the input cursor ends
    Units out;             // units written before the output cursor
    std::uint32_t count;   // measuring cores: the count afterwards
};

constexpr int kE2BIG = -E2BIG;
constexpr int kEILSEQ = -EILSEQ;

Expect model(Core c, const Units& text, std::size_t a, std::size_t b, std::size_t room, std::uint32_t count0) {
    const Enc from = (c == kFill8_16) ? Enc::Utf8 : (c == kFill32_16 ? Enc::Utf32 : Enc::Utf16);
    const Enc to = (c == kPre16_8 || c == kSafe16_8 || c == kAlloc16_8) ? Enc::Utf8
                   : (c == kFill8_16 || c == kFill32_16)               ? Enc::Utf16
                                                                        : Enc::Utf32;
    const bool measure = c == kPre16_8 || c == kPre16_32;
    const bool safe = c == kSafe16_8 || c == kSafe16_32;
    const bool fill = c == kFill8_16 || c == kFill32_16;
    const bool alloc = c == kAlloc16_8 || c == kAlloc16_32;

    Expect e{0, a, {}, count0};
    if (alloc && c == kAlloc16_8) e.result = 1;
    if (fill && room == 0) return e;
    std::size_t pos = a;
    while (pos < b) {
        qelref::Decoded d = qelref::decodeAt(from, text, pos, b);
        if (!d.ok) {
            e.result = kEILSEQ;
            break;
        }
        Units enc;
        qelref::encodeAs(to, d.cp, enc);
        if (measure) {
            e.count += static_cast<std::uint32_t>(enc.size());
            pos += d.len;
            continue;
        }
        if (!alloc && enc.size() > room - e.out.size()) {
            e.result = kE2BIG;
            break;
        }
        e.out.insert(e.out.end(), enc.begin(), enc.end());
        pos += d.len;
        // Success values: each core keeps its own bookkeeping.
        switch (c) {
        case kSafe16_8: e.result = static_cast<int>(enc.size()); break;
        case kAlloc16_8:
        case kFill8_16:
            if (c == kAlloc16_8 ? enc.size() > 1 : d.len > 1) e.result = static_cast<int>(c == kAlloc16_8 ? enc.size() : d.len);
            break;
        case kFill32_16:
            if (d.cp >= 0xE000) e.result = static_cast<int>(enc.size());
            break;
        default: break;
        }
        if (!alloc && e.out.size() == room) {
            if (safe) {
                // Withdraw the character that filled the output.
                e.out.resize(e.out.size() - enc.size());
                pos -= d.len;
                e.result = kE2BIG;
            }
            break;
        }
    }
    e.inPos = pos;
    return e;
}

template <class O, class I>
struct Bufs {
    std::vector<I> in;
    std::vector<O> out;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const Core core = static_cast<Core>(r.byte() % kCores);
    const std::uint8_t startArg = r.byte();
    const std::uint8_t endArg = r.byte();
    const std::uint8_t roomArg = r.byte();
    const std::uint16_t count0 = r.u16();
    const std::uint8_t failMode = r.byte() % 4;
    const std::uint8_t failArg = r.byte();
    const std::uint8_t bits = r.byte();

    const Enc from = core == kFill8_16 ? Enc::Utf8 : (core == kFill32_16 ? Enc::Utf32 : Enc::Utf16);
    Units piece = makeText(r, from, (bits & 0x40) == 0, false);
    Units text;
    const unsigned repeat = (core == kAlloc16_8 || core == kAlloc16_32) ? 1 + (bits & 0x0F) * 3 : 1;
    for (unsigned i = 0; i < repeat; ++i) text.insert(text.end(), piece.begin(), piece.end());
    const std::size_t a = text.empty() ? 0 : startArg % (text.size() + 1) % 24;
    const std::size_t left = text.size() - std::min(a, text.size());
    const std::size_t b = (bits & 0x80) ? text.size() : a + (left == 0 ? 0 : endArg % (left + 1));
    const bool safe = core == kSafe16_8 || core == kSafe16_32;
    std::size_t room = (bits & 0x20) ? roomArg * 4u : roomArg % 24u;
    if (safe && room == 0) room = 1;  // the safe converters are always given room

    Expect m{};
    int result = 0;
    std::size_t inPos = 0;
    Units out;
    std::uint32_t count = count0;
    bool guardsIntact = true;
    unsigned refused = 0;

    auto check = [&] {
        setContext([&] {
            std::fprintf(stderr, "  %s run [%zu, %zu) of %zu units, room %zu, count %u\n", kNames[core], a, b,
                         text.size(), room, count0);
            dumpUnits("text", text);
            std::fprintf(stderr, "  expected result %d cursor %zu count %u; got %d cursor %zu count %u\n",
                         m.result, m.inPos, m.count, result, inPos, count);
            dumpUnits("expected output", m.out);
            dumpUnits("output", out);
        });
        QF_CHECK(guardsIntact);
        QF_CHECK(result == m.result);
        QF_CHECK(inPos == m.inPos);
        QF_CHECK(count == m.count);
        QF_CHECK(out == m.out);
    };

    m = model(core, text, a, b, room, count0);
    switch (core) {
    case kPre16_8:
    case kPre16_32: {
        std::vector<char16_t> in = typed<char16_t>(text);
        in.push_back(0);
        const char16_t* p = in.data() + a;
        result = core == kPre16_8 ? u16stou8sPreflightLow(&count, &p, in.data() + b)
                                  : u16stou32sPreflightLow(&count, &p, in.data() + b);
        inPos = static_cast<std::size_t>(p - in.data());
        check();
        break;
    }
    case kSafe16_8: {
        std::vector<char16_t> in = typed<char16_t>(text);
        in.push_back(0);
        std::vector<char> o(room + kGuardUnits, guardValue<char>());
        const char16_t* p = in.data() + a;
        char* q = o.data();
        result = u16stou8sConvertSafeLow(&q, o.data() + room, &p, in.data() + b);
        inPos = static_cast<std::size_t>(p - in.data());
        out = untyped(o.data(), static_cast<std::size_t>(q - o.data()));
        for (std::size_t i = room; i < o.size(); ++i) guardsIntact &= o[i] == guardValue<char>();
        check();
        break;
    }
    case kSafe16_32: {
        std::vector<char16_t> in = typed<char16_t>(text);
        in.push_back(0);
        std::vector<unsigned int> o(room + kGuardUnits, guardValue<unsigned int>());
        const char16_t* p = in.data() + a;
        unsigned int* q = o.data();
        result = u16stou32sConvertSafeLow(&q, o.data() + room, &p, in.data() + b);
        inPos = static_cast<std::size_t>(p - in.data());
        out = untyped(o.data(), static_cast<std::size_t>(q - o.data()));
        for (std::size_t i = room; i < o.size(); ++i) guardsIntact &= o[i] == guardValue<unsigned int>();
        check();
        break;
    }
    case kFill8_16: {
        std::vector<unsigned char> in = typed<unsigned char>(text);
        in.push_back(0);
        std::vector<char16_t> o(room + kGuardUnits, guardValue<char16_t>());
        const unsigned char* p = in.data() + a;
        char16_t* q = o.data();
        result = u8stou16sConvertLow(&q, o.data() + room, &p, in.data() + b);
        inPos = static_cast<std::size_t>(p - in.data());
        out = untyped(o.data(), static_cast<std::size_t>(q - o.data()));
        for (std::size_t i = room; i < o.size(); ++i) guardsIntact &= o[i] == guardValue<char16_t>();
        check();
        break;
    }
    case kFill32_16: {
        std::vector<unsigned int> in = typed<unsigned int>(text);
        in.push_back(0);
        std::vector<char16_t> o(room + kGuardUnits, guardValue<char16_t>());
        const unsigned int* p = in.data() + a;
        char16_t* q = o.data();
        result = u32stou16sConvertLow(&q, o.data() + room, &p, in.data() + b);
        inPos = static_cast<std::size_t>(p - in.data());
        out = untyped(o.data(), static_cast<std::size_t>(q - o.data()));
        for (std::size_t i = room; i < o.size(); ++i) guardsIntact &= o[i] == guardValue<char16_t>();
        check();
        break;
    }
    case kAlloc16_8:
    case kAlloc16_32: {
        // Some units already stand in the first chunk.
        const std::size_t prefill = roomArg * 2u;
        provider::reset();
        if (failMode == 1) provider::failAllocNumber(1 + failArg % 4);
        if (failMode == 2) provider::failAllocAbove(failArg * 16u);
        std::vector<char16_t> in = typed<char16_t>(text);
        in.push_back(0);
        const char16_t* p = in.data() + a;
        unsigned int len = 0;
        bool failed = false;
        Units block;
        bool nullBlock = false;
        auto finish = [&](auto& buf, auto* q, auto* qEnd) {
            using T = std::remove_reference_t<decltype(buf.firstChunk[0])>;
            T* res = buf.detach(&len, q, const_cast<T*>(qEnd), &failed, 0);
            nullBlock = res == nullptr;
            if (res != nullptr) {
                QF_CHECK(provider::isLive(res));
                block = untyped(res, provider::blockSize(res) / sizeof(T));
                qelStrFree(res);
            }
            buf.release();
        };
        if (core == kAlloc16_8) {
            qelChrXBuf<char> buf;
            char* q = buf.chunks[0];
            const char* qEnd = q + 512;
            for (std::size_t i = 0; i < prefill; ++i) *q++ = static_cast<char>('0' + i % 10);
            result = u16stou8sAllocLow(&buf, &q, &qEnd, &p, in.data() + b);
            inPos = static_cast<std::size_t>(p - in.data());
            finish(buf, q, qEnd);
        } else {
            qelChrXBuf<unsigned int> buf;
            unsigned int* q = buf.chunks[0];
            const unsigned int* qEnd = q + 512;
            for (std::size_t i = 0; i < prefill; ++i) *q++ = static_cast<unsigned int>('0' + i % 10);
            result = u16stou32sAllocLow(&buf, &q, &qEnd, &p, in.data() + b);
            inPos = static_cast<std::size_t>(p - in.data());
            finish(buf, q, qEnd);
        }
        refused = provider::refused();
        QF_CHECK(provider::liveBlocks() == 0);
        provider::reset();
        setContext([&] {
            std::fprintf(stderr, "  %s run [%zu, %zu) of %zu units, %zu units before, %u refused\n", kNames[core], a,
                         b, text.size(), prefill, refused);
            std::fprintf(stderr, "  expected result %d cursor %zu; got %d cursor %zu, detach length %u%s\n",
                         m.result, m.inPos, result, inPos, len, failed ? " (failed)" : "");
            dumpUnits("text", text);
        });
        if (result == -ENOMEM) {
            QF_CHECK(refused > 0 && failed && len == 0);
            QF_CHECK(nullBlock || (block.size() == 1 && block[0] == 0));
            QF_CHECK(inPos >= a && inPos <= m.inPos);
            break;
        }
        if (refused > 0) {
            // Only the result block itself was refused.
            QF_CHECK(failed && len == 0);
            QF_CHECK(result == m.result && inPos == m.inPos);
            break;
        }
        QF_CHECK(!failed && !nullBlock);
        QF_CHECK(result == m.result);
        QF_CHECK(inPos == m.inPos);
        Units expected;
        for (std::size_t i = 0; i < prefill; ++i) expected.push_back('0' + i % 10);
        expected.insert(expected.end(), m.out.begin(), m.out.end());
        QF_CHECK(len == expected.size());
        QF_CHECK(block.size() == expected.size() + 1 && block.back() == 0);
        QF_CHECK(Units(block.begin(), block.end() - 1) == expected);
        break;
    }
    default: break;
    }
    return 0;
}
