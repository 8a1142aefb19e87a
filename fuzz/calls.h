// Calling the library's whole-string conversions with text held as model
// units: typed input and output buffers, guard units behind the output, and
// the results turned back into model units for comparison.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "harness.h"
#include "model.h"
#include "qel/qelchars.h"
#include "qel/qelstr.h"

namespace qelfuzz {

constexpr std::uint32_t kGuardUnits = 8;
constexpr std::uint32_t kNoLength = 0xDEADBEEF;

template <class T>
constexpr T guardValue() {
    return static_cast<T>(0xA5A5A5A5u);
}

template <class T>
std::uint32_t unitValue(T u) {
    if constexpr (sizeof(T) == 1) {
        return static_cast<unsigned char>(u);
    } else {
        return static_cast<std::uint32_t>(u);
    }
}

template <class T>
std::vector<T> typed(const qelref::Units& u) {
    std::vector<T> v(u.size());
    for (std::size_t i = 0; i < u.size(); ++i) v[i] = static_cast<T>(u[i]);
    return v;
}

template <class T>
qelref::Units untyped(const T* p, std::size_t n) {
    qelref::Units u(n);
    for (std::size_t i = 0; i < n; ++i) u[i] = unitValue(p[i]);
    return u;
}

// What a bounded call returned and left in its buffer.
struct BoundedResult {
    int status;
    std::uint32_t outLen;    // kNoLength when no length pointer was passed
    qelref::Units buffer;    // outSize units followed by the guard units
    std::uint32_t guard;     // the value the buffer was filled with
};

struct BoundedArgs {
    const qelref::Units* in;
    bool nullIn;
    std::uint32_t inLen;
    bool nullOut;
    std::uint32_t outSize;
    bool nullOutLen;
};

template <class O, class I, class F>
BoundedResult invokeBounded(F call, const BoundedArgs& a) {
    std::vector<I> in = typed<I>(*a.in);
    if (in.empty()) in.push_back(static_cast<I>('A'));  // a real pointer; inLen is 0 then
    std::vector<O> out(a.nullOut ? 0 : a.outSize + kGuardUnits, guardValue<O>());
    std::uint32_t len = kNoLength;
    int st = call(a.nullOut ? nullptr : out.data(), a.outSize, a.nullOutLen ? nullptr : &len,
                  a.nullIn ? nullptr : in.data(), a.inLen);
    return {st, len, untyped(out.data(), out.size()), unitValue(guardValue<O>())};
}

// The bounded entry points, by number.
enum BoundedEntry {
    kU16U8, kU16U8Ex, kU32U8, kU32U8Ex, kU8U16, kU8U16Ex, kU8U32, kU8U32Ex, kU16U32, kU32U16,
    kU16Copy, kBoundedEntries
};

struct EntryInfo {
    const char* name;
    Pair pair;        // raw is filled in from the flags
    bool ex;
    int reverse;      // the entry point of the opposite direction, or -1
};

const EntryInfo& boundedEntry(int e);

// Calls entry point e with the flags word (ignored by the plain ones).
BoundedResult callBounded(int e, std::uint32_t flags, const BoundedArgs& a);

}  // namespace qelfuzz
