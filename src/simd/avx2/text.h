// SPDX-License-Identifier: MIT
// The AVX2 core kernels of the pairs whose text is mostly multi-byte
// characters (text.cpp): UTF-8 into UTF-16 and UTF-32, and UTF-16
// and UTF-32 into UTF-8. kernels.cpp puts them in the AVX2 table in place
// of the ASCII-only kernels of generic/vector_kernels.h. Each keeps the contract
// of the core kernels in simd.h.
#pragma once

#include "simd/simd.h"


namespace qel {
namespace simd {
namespace avx2 {

Stop utf8ToUtf16Convert(const u8** p, const u8* end, u16** o, const u16* outEnd) noexcept;
Stop utf8ToUtf16Measure(const u8** p, const u8* end, unsigned int* n) noexcept;
Stop utf8ToUtf32Convert(const u8** p, const u8* end, u32** o, const u32* outEnd) noexcept;
Stop utf8ToUtf32Measure(const u8** p, const u8* end, unsigned int* n) noexcept;
Stop utf16ToUtf8Convert(const u16** p, const u16* end, char** o, const char* outEnd) noexcept;
Stop utf16ToUtf8Measure(const u16** p, const u16* end, unsigned int* n) noexcept;
Stop utf32ToUtf8Convert(const u32** p, const u32* end, char** o, const char* outEnd) noexcept;
Stop utf32ToUtf8Measure(const u32** p, const u32* end, unsigned int* n) noexcept;

}  // namespace avx2
}  // namespace simd
}  // namespace qel
