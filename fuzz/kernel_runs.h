// Runs of the cores with and without the vector kernels, shared by the
// differential unit test and the differential fuzz target: one kind of core
// of a pair over a text, with the kernels of one instruction set or with the
// per-character code alone, and everything it leaves behind.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include "core/engine.h"
#include "simd/simd.h"
#include "qel/qelcore.h"

namespace qelkernels {

namespace core = qel::core;
namespace simd = qel::simd;

// The instruction sets this build and CPU have kernels for.
inline std::vector<const simd::Kernels*> vectorSets() {
    std::vector<const simd::Kernels*> sets;
    for (simd::Isa isa : {simd::Isa::Sse2, simd::Isa::Avx2, simd::Isa::Avx512})
        if (const simd::Kernels* k = simd::forIsa(isa)) sets.push_back(k);
    return sets;
}

// An exactly sized heap copy, so that AddressSanitizer sees any access past it.
template <class T>
std::unique_ptr<T[]> heapCopy(const std::vector<T>& v) {
    std::unique_ptr<T[]> block(new T[v.size() + (v.empty() ? 1 : 0)]);
    if (!v.empty()) std::memcpy(block.get(), v.data(), v.size() * sizeof(T));
    return block;
}

enum class Kind { Measure, Safe, Fill, Alloc };

template <class D>
struct Outcome {
    int result = 0;
    std::ptrdiff_t consumed = 0;
    std::ptrdiff_t written = 0;  // output cursor (or count, or detached length)
    std::vector<D> buffer;       // the whole output block

    bool operator==(const Outcome& o) const {
        return result == o.result && consumed == o.consumed && written == o.written && buffer == o.buffer;
    }
};

// Runs one kind of P's cores over `input`: the safe and fill converters
// into `room` units, the allocating core from `room` units before the end of
// the first chunk, the measuring core adding to a count that is not zero.
template <class P, class B>
Outcome<core::DstOf<P>> run(Kind kind, const std::vector<core::SrcOf<P>>& input, std::size_t room, const B& bulk) {
    using S = core::SrcOf<P>;
    using D = core::DstOf<P>;
    const auto in = heapCopy(input);
    const S* cursor = in.get();
    const S* const end = in.get() + input.size();
    Outcome<D> out;
    if (kind == Kind::Measure) {
        unsigned int count = 7;
        out.result = core::measureRun<P>(&count, &cursor, end, bulk);
        out.written = count;
    } else if (kind == Kind::Alloc) {
        qelChrXBuf<D> buf;
        std::memset(buf.firstChunk, 0x5A, sizeof buf.firstChunk);
        D* o = buf.firstChunk + 512 - room;
        const D* oe = buf.firstChunk + 512;
        out.result = core::convertAlloc<P>(&buf, &o, &oe, &cursor, end, bulk);
        unsigned int len = 0;
        bool failed = false;
        D* joined = buf.detach(&len, o, oe, &failed, 0);
        out.written = len;
        if (joined != nullptr) out.buffer.assign(joined, joined + len);
        qelStrFree(joined);
        buf.release();
    } else {
        const auto block = heapCopy(std::vector<D>(room, static_cast<D>(0x5A)));
        D* o = block.get();
        if (kind == Kind::Safe) {
            out.result = core::convertSafe<P>(&o, block.get() + room, &cursor, end, bulk);
        } else {
            out.result = core::convertFill<P>(&o, block.get() + room, &cursor, end, bulk);
        }
        out.written = o - block.get();
        out.buffer.assign(block.get(), block.get() + room);
    }
    out.consumed = cursor - in.get();
    return out;
}

}  // namespace qelkernels
