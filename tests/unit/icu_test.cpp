// SPDX-License-Identifier: MIT
// The model's first ill-formed position agrees with ICU (fuzz/icu.cpp), on
// seeded text in each encoding.
#include <gtest/gtest.h>

#include <random>

#include "check.h"

namespace qelfuzz { int checkIcu(const std::uint8_t* data, std::size_t size); }

TEST(Model, AgreesWithIcuOnWellFormedness) {
    qelfuzz::throwOnFailure = true;
    std::mt19937 rng(72);
    EXPECT_NO_THROW({
        for (unsigned i = 0; i < 30000; ++i) {
            std::vector<std::uint8_t> d(2 + rng() % 24);
            for (auto& b : d) b = static_cast<std::uint8_t>(rng());
            qelfuzz::checkIcu(d.data(), d.size());
        }
    });
}
