// SPDX-License-Identifier: MIT
// What the library is measured against, each as one call that converts a
// whole input of n units into an output of at most `cap` units and returns
// the units written, or -1 when it fails:
//   loop   a plain strict converter, one character at a time (the floor)
//   icu    ICU's u_strFromUTF8, u_strToUTF8, u_strFromUTF32, u_strToUTF32;
//          the pairs UTF-8 <-> UTF-32 go through UTF-16 in a scratch buffer,
//          as ICU has no direct function for them
//   iconv  glibc iconv, one converter per pair opened once
#pragma once

#include <cstddef>

namespace bench {

enum class Enc { U8, U16, U32 };

// The units of each encoding as the benchmark stores them.
template <Enc E>
struct UnitOf;
template <>
struct UnitOf<Enc::U8> {
    using type = char;
};
template <>
struct UnitOf<Enc::U16> {
    using type = char16_t;
};
template <>
struct UnitOf<Enc::U32> {
    using type = char32_t;
};

template <Enc From, Enc To>
long loopConvert(typename UnitOf<To>::type* out, std::size_t cap, const typename UnitOf<From>::type* in,
                 std::size_t n);

template <Enc From, Enc To>
long icuConvert(typename UnitOf<To>::type* out, std::size_t cap, const typename UnitOf<From>::type* in,
                std::size_t n);

template <Enc From, Enc To>
long iconvConvert(typename UnitOf<To>::type* out, std::size_t cap, const typename UnitOf<From>::type* in,
                  std::size_t n);

}  // namespace bench
