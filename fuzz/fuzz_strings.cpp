// SPDX-License-Identifier: MIT
// Fuzz target: the strings checks of checkStrings (strings.cpp).
#include "check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return qelfuzz::checkStrings(data, size);
}
