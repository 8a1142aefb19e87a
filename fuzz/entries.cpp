// SPDX-License-Identifier: MIT
// The entry-point table and its calling adapters: see entries.h.
#include "entries.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

// Size in bytes of a live provider block, 0 when the provider cannot tell
// (the counting provider of the tests overrides this).
__attribute__((weak)) std::size_t qelentBlockBytes(const void*) { return 0; }

namespace qelent {
void* out0();

namespace {

// The input ends its heap block exactly: a zero-ended one at its zero unit,
// one given by length at its last unit (cores keep a zero unit after their
// run). An odd output size moves the start by one unit. So a memory checker
// sees any read outside the text.
template <class T>
std::vector<T> typed(const Args& a, bool ended, std::size_t pad) {
    const bool zero = ended && (a.in.empty() || a.in.back() != 0);
    std::vector<T> v(std::max<std::size_t>(pad + a.in.size() + zero, 1), T(0));
    for (std::size_t i = 0; i < a.in.size(); ++i) v[pad + i] = static_cast<T>(a.in[i]);
    return v;
}

template <class T>
void append(Units& u, const T* p, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) u.push_back(unitValue(p[i]));
}

// Reads an allocated block up to its terminator, then releases it.
template <class T>
void takeBlock(Result& r, T* block, std::size_t known = SIZE_MAX) {
    r.nullBlock = block == nullptr;
    if (block == nullptr) return;
    std::size_t n = known;
    if (n == SIZE_MAX) for (n = 0; block[n] != 0;) ++n;
    append(r.out, block, n + 1);
    const std::size_t bytes = qelentBlockBytes(block);
    if (bytes != 0 && bytes != (n + 1) * sizeof(T)) r.out.push_back(kGuard);  // not exactly sized
    qelStrFree(block);
}

template <Family F, class I, class O, auto Fn>
Result call(const Args& a) {
    Result r;
    constexpr bool core = F >= Family::Preflight;
    const std::size_t pad = core ? 0 : a.outSize & 1;
    std::vector<I> block = typed<I>(a, core || F == Family::Errno || F == Family::ErrnoAlloc || a.inLen == ~0u, pad);
    I* const in = block.data() + pad;
    const I* src = a.nullIn ? nullptr : in;
    errno = kErrnoUnset;
    if constexpr (F == Family::Bounded || F == Family::BoundedEx || F == Family::Copy) {
        std::vector<O> out(a.outSize + kGuardUnits, static_cast<O>(kGuard));
        O* dst = a.nullOut ? nullptr : out.data();
        unsigned int* len = a.nullOutLen ? nullptr : &r.outLen;
        if constexpr (F == Family::BoundedEx) r.ret = Fn(dst, a.outSize, len, src, a.inLen, a.flags);
        else r.ret = Fn(dst, a.outSize, len, src, a.inLen);
        append(r.out, out.data(), out.size());
    } else if constexpr (F == Family::Alloc || F == Family::AllocEx || F == Family::CopyAlloc) {
        O* const untouched = reinterpret_cast<O*>(out0());
        O* block = untouched;
        unsigned int* len = a.nullOutLen ? nullptr : &r.outLen;
        if constexpr (F == Family::AllocEx) r.ret = Fn(a.nullOut ? nullptr : &block, len, src, a.inLen, a.flags);
        else r.ret = Fn(a.nullOut ? nullptr : &block, len, src, a.inLen);
        if (block != untouched) takeBlock(r, block);
    } else if constexpr (F == Family::Errno) {
        std::vector<O> out(a.outSize + kGuardUnits, static_cast<O>(kGuard));
        const std::size_t res = Fn(a.nullOut ? nullptr : out.data(), src, a.outSize);
        r.ret = res == static_cast<std::size_t>(-1) ? -1 : static_cast<long long>(res);
        append(r.out, out.data(), out.size());
    } else if constexpr (F == Family::ErrnoAlloc) {
        takeBlock(r, Fn(src));
    } else {
        const I* p = in + a.begin;
        const I* const inEnd = in + a.end;
        if constexpr (F == Family::Preflight) {
            r.outLen = a.count;
            r.ret = Fn(&r.outLen, &p, inEnd);
        } else if constexpr (F == Family::AllocCore) {
            qelChrXBuf<O> buf;
            O* q = buf.chunks[0];
            const O* qEnd = q + 512;
            for (std::size_t i = 0; i < a.prefill; ++i) *q++ = static_cast<O>('0' + i % 10);
            r.ret = Fn(&buf, &q, &qEnd, &p, inEnd);
            bool failed = false;
            O* block = buf.detach(&r.outLen, q, const_cast<O*>(qEnd), &failed, 0);
            buf.release();
            takeBlock(r, block, r.outLen);
            r.err = failed;
        } else {
            std::vector<O> out(a.outSize + kGuardUnits, static_cast<O>(kGuard));
            O* q = out.data();
            r.ret = Fn(&q, out.data() + a.outSize, &p, inEnd);
            append(r.out, out.data(), static_cast<std::size_t>(q - out.data()));
            for (std::size_t i = a.outSize; i < out.size(); ++i)
                if (unitValue(out[i]) != unitValue(static_cast<O>(kGuard))) r.out.push_back(kGuard);  // overrun
        }
        r.inPos = static_cast<std::size_t>(p - in);
        return r;
    }
    if (F != Family::AllocCore) r.err = errno;
    return r;
}

template <class T>
constexpr Enc encOf() {
    return sizeof(T) == 1 ? Enc::Utf8 : sizeof(T) == 2 ? Enc::Utf16 : Enc::Utf32;
}

}  // namespace

// A pointer value that no allocation returns: tells an untouched result apart.
void* out0() { return reinterpret_cast<void*>(std::uintptr_t{0x10}); }

bool Result::operator==(const Result& o) const {
    return ret == o.ret && outLen == o.outLen && out == o.out && nullBlock == o.nullBlock && err == o.err &&
           inPos == o.inPos;
}

bool Entry::allocates() const {
    return family == Family::Alloc || family == Family::AllocEx || family == Family::CopyAlloc ||
           family == Family::ErrnoAlloc || family == Family::AllocCore;
}

const std::vector<Entry>& entries() {
#define QEL_ROW(fn, fam, I, O)                                                                \
    Entry{#fn, Family::fam, encOf<I>(), encOf<O>(), &call<Family::fam, I, O, &fn>,            \
          reinterpret_cast<void (*)()>(&fn)},
    static const std::vector<Entry> table = {QEL_ENTRY_POINTS(QEL_ROW)};
#undef QEL_ROW
    return table;
}

const Entry& entry(const char* name) {
    for (const Entry& e : entries())
        if (std::strcmp(e.name, name) == 0) return e;
    std::abort();
}

std::size_t unitBytes(Enc e) { return e == Enc::Utf8 ? 1 : e == Enc::Utf16 ? 2 : 4; }

}  // namespace qelent
