// SPDX-License-Identifier: MIT
// Unit-wise operations on zero-terminated strings and counted blocks of any
// unit type. Units are compared as the unsigned values they hold and nothing
// is validated; the string functions of the three encodings are built on
// these wherever the standard library has no routine for their unit type.
#pragma once

#include <cstddef>

namespace qel {
namespace chars {

// Units before the terminator.
template <class T>
inline std::size_t unitLength(const T* s) noexcept {
    const T* p = s;
    while (*p != 0) ++p;
    return static_cast<std::size_t>(p - s);
}

// Units before the terminator, looking at no more than n of them.
template <class T>
inline std::size_t unitLengthUpTo(const T* s, std::size_t n) noexcept {
    std::size_t i = 0;
    while (i < n && s[i] != 0) ++i;
    return i;
}

// First (or, with `last`, last) unit of s equal to u; a zero u finds the
// terminator.
template <class T>
inline T* findUnit(const T* s, T u, bool last) noexcept {
    const T* found = nullptr;
    for (;; ++s) {
        if (*s == u) {
            if (!last) return const_cast<T*>(s);
            found = s;
        }
        if (*s == 0) return const_cast<T*>(found);
    }
}

// First unit equal to u among the first n units of a block.
template <class T>
inline T* findUnitIn(const T* s, T u, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        if (s[i] == u) return const_cast<T*>(s + i);
    }
    return nullptr;
}

// First (or, with `last`, last) place where the k units of seq (k >= 1, none
// of them zero) follow each other in s. Every unit offset is tried while the
// k units there lie before the terminator, so in text that is not well formed
// a match may start inside a character.
template <class T>
inline T* findSequence(const T* s, const T* seq, std::size_t k, bool last) noexcept {
    const T* found = nullptr;
    for (const T* p = s;; ++p) {
        // seq holds no zero, so a match never reads past the terminator.
        std::size_t j = 0;
        while (j < k && p[j] == seq[j]) ++j;
        if (j == k) {
            if (!last) return const_cast<T*>(p);
            found = p;
        } else if (p[j] == 0) {
            // This window reaches the terminator, and so does every later one.
            return const_cast<T*>(found);
        }
    }
}

// Whether the first n units of a and b are equal.
template <class T>
inline bool equalUnits(const T* a, const T* b, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        if (a[i] != b[i]) return false;
    }
    return true;
}

// First place among positions 0..n-k of a block where the k units of seq
// follow each other.
template <class T>
inline T* findSequenceIn(const T* s, std::size_t n, const T* seq, std::size_t k) noexcept {
    if (n < k) return nullptr;
    for (std::size_t i = 0; i <= n - k; ++i) {
        if (equalUnits(s + i, seq, k)) return const_cast<T*>(s + i);
    }
    return nullptr;
}

// Index of the first unequal pair among the first n units, or n.
template <class T>
inline std::size_t firstDifference(const T* a, const T* b, std::size_t n) noexcept {
    std::size_t i = 0;
    while (i < n && a[i] == b[i]) ++i;
    return i;
}

// Index of the first unequal pair or of a's terminator, looking at no more
// than n units; n when all n are equal and none ends a.
template <class T>
inline std::size_t firstStringDifference(const T* a, const T* b, std::size_t n) noexcept {
    std::size_t i = 0;
    while (i < n && a[i] == b[i] && a[i] != 0) ++i;
    return i;
}

// 1 when every unit of prefix starts s (an empty prefix too), else 0.
template <class T>
inline int beginsWith(const T* s, const T* prefix) noexcept {
    // s's terminator differs from every unit of prefix, so s is never overrun.
    for (std::size_t i = 0; prefix[i] != 0; ++i) {
        if (s[i] != prefix[i]) return 0;
    }
    return 1;
}

// 1 when every unit of suffix ends s (an empty suffix too), else 0.
template <class T>
inline int endsWith(const T* s, const T* suffix) noexcept {
    const std::size_t sLen = unitLength(s);
    const std::size_t suffixLen = unitLength(suffix);
    if (suffixLen > sLen) return 0;
    return equalUnits(s + (sLen - suffixLen), suffix, suffixLen) ? 1 : 0;
}

// Stores u in the first n units of dst.
template <class T>
inline void fillUnits(T* dst, T u, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = u;
}

}  // namespace chars
}  // namespace qel
