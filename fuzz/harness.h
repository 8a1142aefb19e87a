// Shared pieces of the fuzz targets: reading the fuzz data, turning it into
// text, a checking macro that stops the run with a message, and the counting
// string memory provider that every target links (provider.cpp).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "reference.h"

namespace qelfuzz {

// Fails the run with a message; libFuzzer then keeps the input as a crash.
[[noreturn]] void fail(const char* file, int line, const char* what);

// What fail() prints about the call under test before it stops the run.
void setContext(std::function<void()> f);
void dumpUnits(const char* label, const qelref::Units& u);

#define QF_CHECK(cond)                                         \
    do {                                                       \
        if (!(cond)) ::qelfuzz::fail(__FILE__, __LINE__, #cond); \
    } while (0)

// Reads the fuzz data front to back; past the end every read gives 0.
class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : p_(data), end_(data + size) {}
    std::uint8_t byte() { return p_ != end_ ? *p_++ : 0; }
    std::uint16_t u16() {
        std::uint16_t lo = byte();
        return static_cast<std::uint16_t>(lo | (byte() << 8));
    }
    std::uint32_t u32() {
        std::uint32_t lo = u16();
        return lo | (static_cast<std::uint32_t>(u16()) << 16);
    }
    bool empty() const { return p_ == end_; }
    std::size_t left() const { return static_cast<std::size_t>(end_ - p_); }

private:
    const std::uint8_t* p_;
    const std::uint8_t* end_;
};

// Builds text in one encoding from the rest of the fuzz data.
//
// In raw mode the data are the units themselves (bytes, or little-endian
// pairs for UTF-16; UTF-32 units take three bytes and keep 24 bits, so that
// invalid values stay common but not overwhelming). In structured mode each
// byte picks a piece: letters, control sequences of both UTF-8 forms,
// characters of every length, zero units, and each ill-formed class, so that
// the interesting cases come up often.
qelref::Units makeText(Reader& r, qelref::Enc enc, bool structured, bool rawSequences);

// ---------------------------------------------------------------------------
// Counting string memory provider
// ---------------------------------------------------------------------------

namespace provider {
// Starts a fresh accounting for one fuzz input: no live blocks, no failures.
void reset();
// Refuses the n-th qelStrAlloc call from now (1-based; 0: none).
void failAllocNumber(unsigned int n);
// Refuses every qelStrAlloc of more than `bytes` bytes (0: none).
void failAllocAbove(unsigned int bytes);
unsigned int allocCalls();
unsigned int refused();
std::size_t liveBlocks();
bool isLive(const void* p);
// Size in bytes of a live block.
std::size_t blockSize(const void* p);
}  // namespace provider

}  // namespace qelfuzz
