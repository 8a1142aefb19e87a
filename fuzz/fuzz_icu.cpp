// SPDX-License-Identifier: MIT
// Fuzz target: the model against ICU (icu.cpp).
#include "check.h"

namespace qelfuzz { int checkIcu(const std::uint8_t* data, std::size_t size); }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return qelfuzz::checkIcu(data, size);
}
