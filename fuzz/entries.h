// SPDX-License-Identifier: MIT
// The one table of the library's public conversion entry points: each listed
// once with its pair and family, and one way to call any of them on text held
// as model units. The unit tests, the fuzz targets, the concurrency and
// out-of-memory tests and the bench all walk this table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qel/qelchars.h"
#include "qel/qelcore.h"
#include "qel/qelstr.h"

namespace qelent {

enum class Enc { Utf8, Utf16, Utf32 };
using Units = std::vector<std::uint32_t>;

enum class Family {
    Bounded,     // qelStr<A>To<B>: status, outSize, outLen
    BoundedEx,   // the same with a flags word
    Copy,        // qelStrUtf16Copy
    Alloc,       // qelStr<A>To<B>Alloc
    AllocEx,     // the same with a flags word
    CopyAlloc,   // qelStrUtf16CopyAlloc
    Errno,       // qel_<a>sto<b>s
    ErrnoAlloc,  // qel_<a>sto<b>s_alloc
    Preflight,   // measuring cores
    Safe,        // converting cores that keep the last unit free
    Fill,        // converting cores that may fill the output
    AllocCore,   // cores writing into a qelChrXBuf
};

// X(function, family, input unit, output unit): every entry point, once.
#define QEL_ENTRY_POINTS(X)                                                  \
    X(qelStrUtf16ToUtf8, Bounded, char16_t, char)                            \
    X(qelStrUtf16ToUtf8Ex, BoundedEx, char16_t, char)                        \
    X(qelStrUtf32ToUtf8, Bounded, unsigned int, char)                        \
    X(qelStrUtf32ToUtf8Ex, BoundedEx, unsigned int, char)                    \
    X(qelStrUtf8ToUtf16, Bounded, char, char16_t)                            \
    X(qelStrUtf8ToUtf16Ex, BoundedEx, char, char16_t)                        \
    X(qelStrUtf8ToUtf32, Bounded, char, unsigned int)                        \
    X(qelStrUtf8ToUtf32Ex, BoundedEx, char, unsigned int)                    \
    X(qelStrUtf16ToUtf32, Bounded, char16_t, unsigned int)                   \
    X(qelStrUtf32ToUtf16, Bounded, unsigned int, char16_t)                   \
    X(qelStrUtf16Copy, Copy, char16_t, char16_t)                             \
    X(qelStrUtf16ToUtf8Alloc, Alloc, char16_t, char)                         \
    X(qelStrUtf16ToUtf8AllocEx, AllocEx, char16_t, char)                     \
    X(qelStrUtf16ToUtf32Alloc, Alloc, char16_t, unsigned int)                \
    X(qelStrUtf32ToUtf16Alloc, Alloc, unsigned int, char16_t)                \
    X(qelStrUtf32ToUtf8Alloc, Alloc, unsigned int, char)                     \
    X(qelStrUtf32ToUtf8AllocEx, AllocEx, unsigned int, char)                 \
    X(qelStrUtf8ToUtf16Alloc, Alloc, char, char16_t)                         \
    X(qelStrUtf8ToUtf16AllocEx, AllocEx, char, char16_t)                     \
    X(qelStrUtf8ToUtf32Alloc, Alloc, char, unsigned int)                     \
    X(qelStrUtf8ToUtf32AllocEx, AllocEx, char, unsigned int)                 \
    X(qelStrUtf16CopyAlloc, CopyAlloc, char16_t, char16_t)                   \
    X(qel_u16stou8s, Errno, char16_t, char)                                  \
    X(qel_u16stou32s, Errno, char16_t, unsigned int)                         \
    X(qel_u32stou8s, Errno, unsigned int, char)                              \
    X(qel_u32stou16s, Errno, unsigned int, char16_t)                         \
    X(qel_u8stou16s, Errno, char, char16_t)                                  \
    X(qel_u8stou32s, Errno, char, unsigned int)                              \
    X(qel_u16stou8s_alloc, ErrnoAlloc, char16_t, char)                       \
    X(qel_u16stou32s_alloc, ErrnoAlloc, char16_t, unsigned int)              \
    X(qel_u32stou8s_alloc, ErrnoAlloc, unsigned int, char)                   \
    X(qel_u32stou16s_alloc, ErrnoAlloc, unsigned int, char16_t)              \
    X(qel_u8stou16s_alloc, ErrnoAlloc, char, char16_t)                       \
    X(qel_u8stou32s_alloc, ErrnoAlloc, char, unsigned int)                   \
    X(u16stou8sPreflightLow, Preflight, char16_t, char)                      \
    X(u16stou8sConvertSafeLow, Safe, char16_t, char)                         \
    X(u16stou8sAllocLow, AllocCore, char16_t, char)                          \
    X(u16stou32sPreflightLow, Preflight, char16_t, unsigned int)             \
    X(u16stou32sConvertSafeLow, Safe, char16_t, unsigned int)                \
    X(u16stou32sAllocLow, AllocCore, char16_t, unsigned int)                 \
    X(u8stou16sConvertLow, Fill, unsigned char, char16_t)                    \
    X(u32stou16sConvertLow, Fill, unsigned int, char16_t)

// The entry point of a family for a pair of unit types, known at compile
// time (nullptr where there is none): for callers that time them.
template <Family F, class I, class O>
struct Fn {
    static constexpr std::nullptr_t value = nullptr;
};
#define QEL_FN(fn, fam, I, O)                \
    template <>                              \
    struct Fn<Family::fam, I, O> {           \
        static constexpr auto value = &fn;   \
    };
QEL_ENTRY_POINTS(QEL_FN)
#undef QEL_FN

// One call. Text is given as model units; the callee sees typed copies with a
// zero unit after them, and outputs followed by guard units.
struct Args {
    Units in;
    std::uint32_t inLen = 0;        // qelStr: the inLen argument
    std::size_t begin = 0, end = 0; // cores: the run [begin, end) of `in`
    bool nullIn = false, nullOut = false, nullOutLen = false;
    std::uint32_t outSize = 0;      // bounded and errno: units; cores: room
    std::uint32_t flags = 0;        // Ex entry points only
    std::uint32_t count = 0;        // measuring cores: the count before
    std::size_t prefill = 0;        // allocating cores: units already written
};

constexpr std::uint32_t kNoLength = 0xDEADBEEF;
constexpr std::uint32_t kGuard = 0xA5A5A5A5;
constexpr std::size_t kGuardUnits = 8;
constexpr int kErrnoUnset = 0x7777;

struct Result {
    long long ret = 0;                 // status, core result, or errno-style result ((size_t)-1 as -1)
    std::uint32_t outLen = kNoLength;  // qelStr length, or the core's count
    Units out;                         // buffer and guards, allocated block, or units before the cursor
    bool nullBlock = false;            // allocating: the result pointer was null
    int err = kErrnoUnset;             // errno after the call
    std::size_t inPos = 0;             // cores: where the input cursor ends
    bool operator==(const Result& o) const;
};

struct Entry {
    const char* name;
    Family family;
    Enc from, to;
    Result (*call)(const Args&);
    void (*fn)();  // the function itself; cast back with as<>()
    template <class F>
    F* as() const { return reinterpret_cast<F*>(fn); }
    bool flagged() const { return family == Family::BoundedEx || family == Family::AllocEx; }
    bool core() const { return family >= Family::Preflight; }
    bool allocates() const;
};

const std::vector<Entry>& entries();
// The value of a unit of any unit type (char read as unsigned).
template <class T>
std::uint32_t unitValue(T u) {
    if constexpr (sizeof(T) == 1) return static_cast<unsigned char>(u);
    else return static_cast<std::uint32_t>(u);
}
const Entry& entry(const char* name);
std::size_t unitBytes(Enc e);

}  // namespace qelent
