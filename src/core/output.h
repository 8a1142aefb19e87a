// SPDX-License-Identifier: MIT
// Where converted units go. Every loop, fast path and sequence copy of the
// library writes through one of these, and whether there is room is decided
// here alone:
//   Counter     counts units and never runs out (measuring)
//   Bounded<D>  a buffer [o, end): when it is full the work ends
//   Chunked<D>  the chunks of a qelChrXBuf: when a chunk is full the next one
//               is taken, and only a failed allocation ends the work
// Each offers
//   room()          units that fit before more() is needed
//   put(u)          writes one unit; there must be room
//   encode<T>(cp, n)  writes a character of n units; there must be room
//   more(result)    called when the room is used up: true when there is
//                   room again; false ends the work, with `result` set to
//                   why (left alone where a full output is no failure)
//   split<T>(cp, n) writes a character that is longer than the room left
//                   across the end, or ends the work (false, with the
//                   result it ends with)
#pragma once

#include <cstddef>

#include "common/common.h"
#include "qel/qelcore.h"

namespace qel {
namespace core {

struct Counter {
    unsigned int n;

    static constexpr std::ptrdiff_t room() noexcept { return PTRDIFF_MAX; }
    void put(u32) noexcept { ++n; }
    template <class T>
    void encode(u32, int size) noexcept {
        n += static_cast<unsigned int>(size);
    }
    static bool more(int&) noexcept { return true; }
    template <class T>
    bool split(u32, int size, int&) noexcept {
        n += static_cast<unsigned int>(size);
        return true;
    }
};

// A write position and the end of the room behind it.
template <class D>
struct Span {
    D* o;
    const D* end;

    std::ptrdiff_t room() const noexcept { return end - o; }
    void put(u32 u) noexcept { *o++ = static_cast<D>(u); }
    template <class T>
    void encode(u32 cp, int size) noexcept {
        T::encode(cp, o);
        o += size;
    }
};

template <class D>
struct Bounded : Span<D> {
    static bool more(int&) noexcept { return false; }  // a full buffer is no failure
    template <class T>
    static bool split(u32, int, int& result) noexcept {
        result = kNoRoom;
        return false;
    }
};

template <class D>
struct Chunked : Span<D> {
    qelChrXBuf<D>* buf;

    // When no chunk can be had the cursors stay as they were, while the
    // buffer stands on its empty slot, which is how detach learns of it.
    bool more(int& result) noexcept {
        D* const chunk = take(result);
        if (chunk == nullptr) return false;
        this->o = chunk;
        this->end = chunk + buf->curCapacity;
        return true;
    }
    // The character ends this chunk with its first units and begins the next.
    template <class T>
    bool split(u32 cp, int size, int& result) noexcept {
        D* const chunk = take(result);
        if (chunk == nullptr) return false;
        D scratch[T::kMaxUnits];
        T::encode(cp, scratch);
        int i = 0;
        while (this->o != this->end) *this->o++ = scratch[i++];
        this->o = chunk;
        this->end = chunk + buf->curCapacity;
        while (i < size) *this->o++ = scratch[i++];
        return true;
    }

private:
    D* take(int& result) noexcept {
        D* const chunk = buf->nextChunk();
        if (chunk == nullptr) result = kNoMemory;
        return chunk;
    }
};

// Writes one unit, taking more room first where the output has it; false
// when there is none.
template <class Out>
inline bool putUnit(Out& out, u32 u) noexcept {
    int ignored = 0;
    if (out.room() == 0 && !out.more(ignored)) return false;
    out.put(u);
    return true;
}

// Carries the recognised sequence [begin, end) of form From over into `out`
// in form To, unit by unit; false when the output ran out first (it then
// ends after the units that fitted).
template <class From, class To, class Out>
inline bool carrySequence(const typename From::Unit* begin, const typename From::Unit* end, Out& out) noexcept {
    u32 units[2];
    for (const typename From::Unit* p = begin; p != end;) {
        const int n = To::encode(From::read(p), units);
        for (int i = 0; i < n; ++i)
            if (!putUnit(out, units[i])) return false;
    }
    return true;
}

}  // namespace core
}  // namespace qel
