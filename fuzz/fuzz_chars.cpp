// SPDX-License-Identifier: MIT
// Fuzz target: the chars checks of checkChars (chars.cpp).
#include "check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return qelfuzz::checkChars(data, size);
}
