// The allocating entry points seen through unit values, so that one table of
// cases can drive every pair: the source is given as unit values of its
// width, the result is read back as unit values and released.
#pragma once

#include <cerrno>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "qel/qelchars.h"
#include "qel/qelstr.h"

namespace qeltest {

using Units = std::vector<unsigned int>;

struct Outcome {
    int status;          // qelStrStatus, or errno for the qel_ functions
    bool null;           // the result pointer was null
    Units units;         // the result without its terminator
    unsigned int len;    // reported length
    bool operator==(const Outcome& o) const {
        return status == o.status && null == o.null && units == o.units && len == o.len;
    }
};

inline std::ostream& operator<<(std::ostream& os, const Units& u) {
    os << std::hex << "{";
    for (unsigned int v : u) os << " " << v;
    return os << " }" << std::dec;
}

inline std::ostream& operator<<(std::ostream& os, const Outcome& o) {
    return os << "status " << o.status << (o.null ? " null" : " ") << o.units << " len " << o.len;
}

template <class D>
Units readAndFree(D* p, unsigned int len) {
    Units u;
    if (p == nullptr) return u;
    for (unsigned int i = 0; i < len; ++i) u.push_back(static_cast<std::make_unsigned_t<D>>(p[i]));
    if (p[len] != 0) u.push_back(0xDEADu);  // not terminated: no case expects this
    qelStrFree(p);
    return u;
}

template <class S>
std::vector<S> sourceOf(const Units& in) {
    std::vector<S> s;
    for (unsigned int v : in) s.push_back(static_cast<S>(v));
    s.push_back(0);  // never part of the input unless inLen reaches it
    return s;
}

// qelStr...Alloc(Ex) and qelStrUtf16CopyAlloc. `in` null passes a null input;
// `query` passes a null result pointer.
struct AllocEntry {
    std::string name;
    unsigned int unitSize;    // of the result
    unsigned int sourceSize;  // of the input
    std::function<Outcome(const Units* in, unsigned int inLen, bool query)> call;
};

template <class S, class D, class F>
AllocEntry allocEntry(std::string name, F fn) {
    return {name, sizeof(D), sizeof(S), [fn](const Units* in, unsigned int inLen, bool query) {
                std::vector<S> src = in ? sourceOf<S>(*in) : std::vector<S>();
                D* out = nullptr;
                unsigned int len = 0xBADu;
                const int st = fn(query ? nullptr : &out, &len, in ? src.data() : nullptr, inLen);
                return Outcome{st, out == nullptr, readAndFree(out, len), len};
            }};
}

inline std::vector<AllocEntry> allocEntries() {
    return {
        allocEntry<char16_t, char>("Utf16ToUtf8", qelStrUtf16ToUtf8Alloc),
        // Bits other than qelStrFlagRawSequences mean nothing here.
        allocEntry<char16_t, char>("Utf16ToUtf8Ex3", [](char** o, unsigned int* l, const char16_t* i, unsigned int n) {
            return qelStrUtf16ToUtf8AllocEx(o, l, i, n, qelStrFlagFullLength | qelStrFlagNoTerminator); }),
        allocEntry<char16_t, char>("Utf16ToUtf8ExRaw", [](char** o, unsigned int* l, const char16_t* i, unsigned int n) {
            return qelStrUtf16ToUtf8AllocEx(o, l, i, n, qelStrFlagRawSequences); }),
        allocEntry<char16_t, unsigned int>("Utf16ToUtf32", qelStrUtf16ToUtf32Alloc),
        allocEntry<unsigned int, char16_t>("Utf32ToUtf16", qelStrUtf32ToUtf16Alloc),
        allocEntry<unsigned int, char>("Utf32ToUtf8", qelStrUtf32ToUtf8Alloc),
        allocEntry<unsigned int, char>("Utf32ToUtf8ExRaw", [](char** o, unsigned int* l, const unsigned int* i, unsigned int n) {
            return qelStrUtf32ToUtf8AllocEx(o, l, i, n, qelStrFlagRawSequences); }),
        allocEntry<char, char16_t>("Utf8ToUtf16", qelStrUtf8ToUtf16Alloc),
        allocEntry<char, char16_t>("Utf8ToUtf16ExRaw", [](char16_t** o, unsigned int* l, const char* i, unsigned int n) {
            return qelStrUtf8ToUtf16AllocEx(o, l, i, n, qelStrFlagRawSequences); }),
        allocEntry<char, unsigned int>("Utf8ToUtf32", qelStrUtf8ToUtf32Alloc),
        allocEntry<char, unsigned int>("Utf8ToUtf32ExRaw", [](unsigned int** o, unsigned int* l, const char* i, unsigned int n) {
            return qelStrUtf8ToUtf32AllocEx(o, l, i, n, qelStrFlagRawSequences); }),
        allocEntry<char16_t, char16_t>("Utf16CopyAlloc", qelStrUtf16CopyAlloc),
    };
}

// qel_<a>sto<b>s_alloc: the source is zero-terminated; status is errno after
// the call (set to -1 before it), len the result's length.
template <class S, class D>
AllocEntry errnoAllocEntry(std::string name, D* (*fn)(const S*)) {
    return {name, sizeof(D), sizeof(S), [fn](const Units* in, unsigned int, bool) {
                std::vector<S> src = in ? sourceOf<S>(*in) : std::vector<S>();
                errno = -1;
                D* out = fn(in ? src.data() : nullptr);
                const int e = errno;
                unsigned int len = 0;
                while (out != nullptr && out[len] != 0) ++len;
                return Outcome{e, out == nullptr, readAndFree(out, len), len};
            }};
}

inline std::vector<AllocEntry> errnoAllocEntries() {
    return {
        errnoAllocEntry<char16_t, char>("u16stou8s_alloc", qel_u16stou8s_alloc),
        errnoAllocEntry<char16_t, unsigned int>("u16stou32s_alloc", qel_u16stou32s_alloc),
        errnoAllocEntry<unsigned int, char>("u32stou8s_alloc", qel_u32stou8s_alloc),
        errnoAllocEntry<unsigned int, char16_t>("u32stou16s_alloc", qel_u32stou16s_alloc),
        errnoAllocEntry<char, char16_t>("u8stou16s_alloc", qel_u8stou16s_alloc),
        errnoAllocEntry<char, unsigned int>("u8stou32s_alloc", qel_u8stou32s_alloc),
    };
}

}  // namespace qeltest
