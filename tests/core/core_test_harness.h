// Runs the cores of one pair on inputs and outputs held in exactly sized heap
// blocks, so that AddressSanitizer reports any read or write past a run.
// Units are given and reported as 32-bit values.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <type_traits>

#include "core/engine.h"
#include "core/pairs.h"

namespace coretest {

using Units = std::vector<unsigned int>;

enum class PairId { U16U8, U16U32, U8U16, U8U32, U32U16, U32U8 };

// Calls f with a value of the pair description of `id`.
template <class F>
void withPair(PairId id, F f) {
    namespace p = qel::pairs;
    switch (id) {
        case PairId::U16U8: return f(p::Utf16ToUtf8{});
        case PairId::U16U32: return f(p::Utf16ToUtf32{});
        case PairId::U8U16: return f(p::Utf8ToUtf16{});
        case PairId::U8U32: return f(p::Utf8ToUtf32{});
        case PairId::U32U16: return f(p::Utf32ToUtf16{});
        case PairId::U32U8: return f(p::Utf32ToUtf8{});
    }
}

template <class T>
unsigned int valueOf(T unit) {
    if constexpr (sizeof(T) == 1) return static_cast<unsigned char>(unit);
    return static_cast<unsigned int>(unit);
}

template <class T>
struct Block {
    std::unique_ptr<T[]> data;
    std::size_t size;
    explicit Block(const Units& v) : data(new T[v.size()]), size(v.size()) {
        for (std::size_t i = 0; i < size; ++i) data[i] = static_cast<T>(v[i]);
    }
    T* begin() { return data.get(); }
    T* end() { return data.get() + size; }
};

template <class T>
Units unitsOf(const T* from, const T* to) {
    Units v;
    for (; from != to; ++from) v.push_back(valueOf(*from));
    return v;
}

struct Outcome {
    int result;
    std::size_t consumed;  // input units behind the returned cursor
    Units out;             // output units before the returned cursor (or counted)
    Units buffer;          // the whole output block
};

enum class Kind { Measure, Safe, Fill };

template <class Pr>
Outcome run(Kind kind, const Units& input, std::size_t room) {
    using S = typename Pr::Src;
    using D = typename Pr::Dst;
    Block<S> in(input);
    const S* cursor = in.begin();
    if (kind == Kind::Measure) {
        unsigned int count = 1000;  // the core adds to what is there
        const int r = qel::core::measureRun<Pr>(&count, &cursor, in.end());
        return {r, static_cast<std::size_t>(cursor - in.begin()), Units(count - 1000, 0), {}};
    }
    Block<D> out(Units(room, 0x5A));
    D* o = out.begin();
    int r = 0;
    if constexpr (!std::is_same_v<typename Pr::Pair, qel::core::Utf16ToUtf32>) {  // the pair has no fill converter
        r = kind == Kind::Fill ? qel::core::convertFill<Pr>(&o, out.end(), &cursor, in.end())
                               : qel::core::convertSafe<Pr>(&o, out.end(), &cursor, in.end());
    } else {
        r = qel::core::convertSafe<Pr>(&o, out.end(), &cursor, in.end());
    }
    return {r, static_cast<std::size_t>(cursor - in.begin()), unitsOf(out.begin(), o), unitsOf(out.begin(), out.end())};
}

inline Outcome run(PairId id, Kind kind, const Units& input, std::size_t room = 0) {
    Outcome o{};
    withPair(id, [&](auto pair) { o = run<decltype(pair)>(kind, input, room); });
    return o;
}

}  // namespace coretest
