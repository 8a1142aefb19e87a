// SPDX-License-Identifier: MIT
// The five per-character encoders and decoders of the character and string
// functions, and the lenient decoder of the surrogate-pair repair. Each
// returns the count it produced or consumed, kIllFormed or kNoRoom, and writes
// nothing unless it succeeds. A source count of kUnbounded means "read until
// the string's terminator stops the sequence".
#pragma once

#include <cstddef>

#include "common/common.h"

namespace qel {
namespace chars {

constexpr std::size_t kUnbounded = 0xFFFFFFFFu;

int u32ctou8Low(u8* dst, u32 c, std::size_t room) noexcept;
int u16ctou8Low(u8* dst, std::size_t room, const u16* src, std::size_t avail) noexcept;
int u32ctou16Low(u16* dst, u32 c, std::size_t room) noexcept;
int u8ctou32Low(u32* out, const u8* src, std::size_t avail) noexcept;
int u8ctou16Low(u16* out, std::size_t room, const u8* src, std::size_t avail) noexcept;
int u8ctou16LenientLow(u16* out, std::size_t room, const u8* src, std::size_t avail) noexcept;

}  // namespace chars
}  // namespace qel
