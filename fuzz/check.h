// SPDX-License-Identifier: MIT
// The one harness: calls any entry point of the table with every output size
// that matters and holds status, length, cursors, output units, errno and
// provider requests to the model. Also the fuzz data reader, the text
// generator and the counting string memory provider that every test links.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "entries.h"
#include "model.h"

namespace qelfuzz {

using qelref::Units;

// Reports a failed check: aborts (fuzz targets), or throws (unit tests set
// throwOnFailure so that a test can report and go on).
[[noreturn]] void fail(const char* file, int line, const std::string& what);
extern bool throwOnFailure;
void setContext(std::function<void()> f);
void dumpUnits(const char* label, const Units& u);

#define QF_CHECK(cond) \
    do { if (!(cond)) ::qelfuzz::fail(__FILE__, __LINE__, #cond); } while (0)

// Reads the fuzz data front to back; past the end every read gives 0.
class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : p_(data), end_(data + size) {}
    std::uint8_t byte() { return p_ != end_ ? *p_++ : 0; }
    std::uint16_t u16() { std::uint16_t lo = byte(); return static_cast<std::uint16_t>(lo | (byte() << 8)); }
    std::uint32_t u32() { std::uint32_t lo = u16(); return lo | (static_cast<std::uint32_t>(u16()) << 16); }
    bool empty() const { return p_ == end_; }

private:
    const std::uint8_t* p_;
    const std::uint8_t* end_;
};

// Text in one encoding from the rest of the data: raw units, or (structured)
// one piece per byte: letters, control sequences in both UTF-8 forms,
// characters of every length, zero units and each ill-formed class.
Units makeText(Reader& r, qelref::Enc enc, bool structured, bool rawSequences);

// A long text (to 64 KiB units): a structured piece repeated, then units
// replaced next to the edges of 16-, 32- and 64-unit vector blocks.
Units longText(Reader& r, qelref::Enc enc);

// Checks one call against the model, provider requests included.
void checkCall(const qelent::Entry& e, const qelent::Args& a);
// Checks e on `in` with every output size that matters, each flag
// combination, null arguments, and (qelStr families) the input given by
// length and ended by a zero unit; cores on runs from 0 and 1. `light`
// (long texts) keeps to exact - 1, exact and ample output, all flags at once.
void checkEntry(const qelent::Entry& e, const Units& in, bool light = false);
// checkEntry over every entry point whose input is in `enc`.
void checkAllFrom(qelref::Enc enc, const Units& in);

// The per-character functions and the surrogate repair (chars.cpp), and the
// UTF-8 and UTF-16 string functions (strings.cpp), on one input of fuzz data
// each, against versions written from their rules.
int checkChars(const std::uint8_t* data, std::size_t size);
int checkStrings(const std::uint8_t* data, std::size_t size);

// Typed copies of model units and back, and the guard value of a unit type.
using qelent::unitValue;
template <class T>
std::vector<T> typed(const Units& u) {
    return std::vector<T>(u.begin(), u.end());
}
template <class T>
Units untyped(const T* p, std::size_t n) {
    Units u(n);
    for (std::size_t i = 0; i < n; ++i) u[i] = unitValue(p[i]);
    return u;
}
template <class T>
constexpr T guardValue() { return static_cast<T>(qelent::kGuard); }
using qelent::kGuardUnits;

// The counting string memory provider.
namespace provider {
void reset();                          // forget everything; no failures
void startCall();                      // a fresh trace; the failures set stay
void failAllocNumber(unsigned int n);  // refuse the n-th qelStrAlloc of each call (0: none)
void failAllocAbove(unsigned int bytes);
unsigned int allocCalls();
unsigned int refused();
std::size_t liveBlocks();
Requests requests();                   // sizes and frees since reset
}  // namespace provider

}  // namespace qelfuzz

// Size in bytes of a live block of the counting provider (0: none).
std::size_t qelentBlockBytes(const void* p);
