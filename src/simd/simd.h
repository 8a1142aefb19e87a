// SPDX-License-Identifier: MIT
// Vectorised building blocks of the cores and the walkers, chosen when the
// library is loaded, for the CPU it runs on: AVX-512 (BW, VBMI, VBMI2), AVX2
// or SSE2 on x86-64, none elsewhere or in a QELUTF_SCALAR build. A kernel that is not
// there is a null pointer and its caller runs its own per-unit code, which is
// what every kernel must agree with exactly.
//
// Core kernels (one pair each) take whole, well-formed characters from *p
// while they can, the way the per-character code of the cores would, and
// stop before anything else. They always leave at least one input unit and at
// least one unit of output room, so that the per-character code makes the
// last step of a run and every decision at its edges; the room is judged by
// the output of the characters themselves, not by the most a unit can make.
//
//   convert(p, end, o, outEnd)  writes the characters taken at *o
//   measure(p, end, n)          adds their output units to *n
//
// Every kernel answers with positions and a reason only: it moves *p past
// what it read and *o (or *n) past what it wrote, and returns why it stopped
// (Stop). It knows no family and works out no result of the library's:
// success values, withdrawn characters and statuses are the engine's, judged
// from the positions.
//
// Walker kernels look at a string whose end `end` is only compared for
// equality (it may lie before p or be null: only a zero unit ends such a
// string). They read whole blocks only where a block cannot cross into
// another memory page than a unit the string is known to have, and decide
// only on units up to the first zero unit:
//
//   findStop(p, end)     the first position from p that is end, a zero unit
//                        or 0x01
//   findSpecial(p, end)  the first position from p that is end or holds a
//                        unit other than a plain one (0x02..0x7F)
//   copyPlain(p, end, o, oEnd)  copies plain units from *p to *o, one target
//                        unit each, until a unit that is not plain, `end`, or
//                        *o reaching oEnd (written up to, never at oEnd)
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "common/common.h"
#include "simd/sets.h"

// Marks a function that calls kernels through their pointers. Clang's
// check of the callee's type on such calls (-fsanitize=function) is C++ only
// and would tie every program that links the library, C programs included, to
// the C++ sanitizer runtime; the pointers come from the tables below and
// always have their declared types.
#if defined(__clang__)
#define QEL_CALLS_KERNELS __attribute__((no_sanitize("function")))
#else
#define QEL_CALLS_KERNELS
#endif

namespace qel {
namespace simd {

// Why a kernel stopped where it did.
enum class Stop : unsigned char {
    End,    // at the end of what it may read
    Other,  // before a unit it leaves to the per-character code: a zero unit,
            // 0x01, a character it does not take (an ill-formed one above all)
    Room,   // before a character whose output would not fit
};

// Why a kernel stopped at p with its output at o: the end of what it may
// read (`last`), the room's end, or neither.
template <class S, class D>
inline Stop stopAt(const S* p, const S* last, const D* o, const D* outEnd) noexcept {
    return p == last ? Stop::End : o == outEnd ? Stop::Room : Stop::Other;
}

template <class S, class D>
struct CoreKernels {
    Stop (*convert)(const S** p, const S* end, D** o, const D* outEnd) noexcept = nullptr;
    Stop (*measure)(const S** p, const S* end, unsigned int* n) noexcept = nullptr;
};

template <class U>
struct ScanKernels {
    const U* (*findStop)(const U* p, const U* end) noexcept = nullptr;
    const U* (*findSpecial)(const U* p, const U* end) noexcept = nullptr;
};

template <class S, class D>
using CopyPlain = void (*)(const S** p, const S* end, D** o, const D* oEnd) noexcept;

// convertText(p, end, o, oEnd): a walker kernel that converts whole,
// well-formed characters from *p to *o, stopping before a zero unit, 0x01, a
// character it does not convert (an ill-formed one above all), `end`, or the
// first character whose output would pass oEnd: every character before it
// whose output fits is taken, so that an output of exactly the text's size
// is filled.
template <class S, class D>
using ConvertText = Stop (*)(const S** p, const S* end, D** o, const D* oEnd) noexcept;

// What a walker leaves free behind convertText's output: a text that the
// kernel converts is converted the same way by the walk's fast path and the
// cores, as long as none of them comes near the end of the output, where
// their rules on room and on the terminator differ.
constexpr std::ptrdiff_t kTextMargin = 1;

struct Kernels {
    CoreKernels<u8, u16> u8u16;
    CoreKernels<u8, u32> u8u32;
    CoreKernels<u16, char> u16u8;
    CoreKernels<u16, u32> u16u32;
    CoreKernels<u32, char> u32u8;
    CoreKernels<u32, u16> u32u16;
    ScanKernels<u8> scan8;
    ScanKernels<u16> scan16;
    ScanKernels<u32> scan32;
    CopyPlain<u8, u16> plain8to16 = nullptr;
    CopyPlain<u8, u32> plain8to32 = nullptr;
    CopyPlain<u16, char> plain16to8 = nullptr;
    CopyPlain<u16, u32> plain16to32 = nullptr;
    CopyPlain<u32, char> plain32to8 = nullptr;
    CopyPlain<u32, u16> plain32to16 = nullptr;
    ConvertText<u8, u16> text8to16 = nullptr;
    ConvertText<u8, u32> text8to32 = nullptr;
    ConvertText<u16, char> text16to8 = nullptr;
    ConvertText<u16, u32> text16to32 = nullptr;
    ConvertText<u32, char> text32to8 = nullptr;
    ConvertText<u32, u16> text32to16 = nullptr;
};

// The kernels this process uses: the widest set that both the build and the
// CPU have. On x86-64 the dynamic loader makes the choice once, while it
// loads the library (an indirect function whose resolver reads the CPU's
// features), so nothing is decided or stored at run time.
const Kernels& active() noexcept;

// What the folder src/simd/<folder>/ of each set the build has defines: its
// table, and whether this CPU runs it. <folder>Usable runs inside the
// loader's resolver of active() and so may call nothing instrumented.
#define QEL_SIMD_DECLARE(Name, folder)         \
    const Kernels* folder##Kernels() noexcept; \
    bool folder##Usable() noexcept;
QEL_SIMD_BUILT(QEL_SIMD_DECLARE)
#undef QEL_SIMD_DECLARE

#define QEL_RESOLVER __attribute__((no_sanitize("address", "thread", "undefined")))
// A CPU feature test for <folder>Usable (x86: __builtin_cpu_init first).
#define QEL_CPU_HAS(feature) (__builtin_cpu_supports(feature) != 0)

// ---- constants of the kernels ---------------------------------------------------------

// Every value that a kernel broadcasts into all lanes of a vector, as the
// 32-bit pattern of one lane group. The kernels read them from kPatternPool,
// defined in another translation unit, so that the compiler loads each with
// one broadcasting load instead of building it in a general register at every
// use (which is what GCC makes of an immediate constant).
#define QEL_SIMD_PATTERNS \
    0x00000001u, 0x00000002u, 0x0000003Fu, 0x0000007Du, 0x0000007Eu, 0x0000007Fu, 0x00000080u, 0x000000C0u, \
        0x000000E0u, 0x000000F0u, 0x000003FFu, 0x000007FFu, 0x00000800u, 0x00008000u, 0x0000D7FFu, 0x0000D800u, \
        0x0000DC00u, 0x0000E000u, 0x0000FFFFu, 0x00010000u, 0x00010001u, 0x00020002u, 0x00030003u, 0x00070007u, \
        0x000F000Fu, 0x00102000u, 0x001FFFFFu, 0x003F003Fu, 0x00400040u, 0x007D007Du, 0x007E007Eu, 0x007F007Fu, \
        0x00800080u, 0x00C000C0u, 0x00E000E0u, 0x00F000F0u, 0x01010101u, 0x02020202u, 0x035FDC00u, 0x03FF03FFu, \
        0x07FF07FFu, 0x08000800u, 0x7D7D7D7Du, 0x7E7E7E7Eu, 0x80000000u, 0x80008000u, 0x80808080u, 0x90909090u, \
        0xA0A0A0A0u, 0xC0C0C0C0u, 0xD7C0D7C0u, 0xD800D800u, 0xDC00DC00u, 0xE0E0E0E0u, 0xEDEDEDEDu, 0xF0F0F0F0u, \
        0xF4F4F4F4u, 0xF5F5F5F5u, 0xF800F800u, 0xFC00FC00u, 0xFFFFFFFFu

inline constexpr std::uint32_t kPatternValues[] = {QEL_SIMD_PATTERNS};
extern const std::uint32_t kPatternPool[sizeof kPatternValues / sizeof kPatternValues[0]];

// Where a pattern stands in the pool, or -1.
constexpr int patternIndex(std::uint32_t pattern) noexcept {
    for (std::size_t i = 0; i < sizeof kPatternValues / sizeof kPatternValues[0]; ++i)
        if (kPatternValues[i] == pattern) return static_cast<int>(i);
    return -1;
}

// ---- access by unit types ----------------------------------------------------------

template <class S, class D>
inline CoreKernels<S, D> coreKernels(const Kernels& k) noexcept {
    if constexpr (std::is_same_v<S, u8> && std::is_same_v<D, u16>) return k.u8u16;
    else if constexpr (std::is_same_v<S, u8> && std::is_same_v<D, u32>) return k.u8u32;
    else if constexpr (std::is_same_v<S, u16> && std::is_same_v<D, char>) return k.u16u8;
    else if constexpr (std::is_same_v<S, u16> && std::is_same_v<D, u32>) return k.u16u32;
    else if constexpr (std::is_same_v<S, u32> && std::is_same_v<D, char>) return k.u32u8;
    else if constexpr (std::is_same_v<S, u32> && std::is_same_v<D, u16>) return k.u32u16;
    else return CoreKernels<S, D>{};
}

template <class U>
inline ScanKernels<U> scanKernels(const Kernels& k) noexcept {
    if constexpr (std::is_same_v<U, u8>) return k.scan8;
    else if constexpr (std::is_same_v<U, u16>) return k.scan16;
    else return k.scan32;
}

template <class S, class D>
inline CopyPlain<S, D> copyPlain(const Kernels& k) noexcept {
    if constexpr (std::is_same_v<S, u8> && std::is_same_v<D, u16>) return k.plain8to16;
    else if constexpr (std::is_same_v<S, u8> && std::is_same_v<D, u32>) return k.plain8to32;
    else if constexpr (std::is_same_v<S, u16> && std::is_same_v<D, char>) return k.plain16to8;
    else if constexpr (std::is_same_v<S, u16> && std::is_same_v<D, u32>) return k.plain16to32;
    else if constexpr (std::is_same_v<S, u32> && std::is_same_v<D, char>) return k.plain32to8;
    else if constexpr (std::is_same_v<S, u32> && std::is_same_v<D, u16>) return k.plain32to16;
    else return nullptr;
}

template <class S, class D>
inline ConvertText<S, D> convertText(const Kernels& k) noexcept {
    if constexpr (std::is_same_v<S, u8> && std::is_same_v<D, u16>) return k.text8to16;
    else if constexpr (std::is_same_v<S, u8> && std::is_same_v<D, u32>) return k.text8to32;
    else if constexpr (std::is_same_v<S, u16> && std::is_same_v<D, char>) return k.text16to8;
    else if constexpr (std::is_same_v<S, u16> && std::is_same_v<D, u32>) return k.text16to32;
    else if constexpr (std::is_same_v<S, u32> && std::is_same_v<D, char>) return k.text32to8;
    else if constexpr (std::is_same_v<S, u32> && std::is_same_v<D, u16>) return k.text32to16;
    else return nullptr;
}

}  // namespace simd
}  // namespace qel
