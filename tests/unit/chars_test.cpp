// SPDX-License-Identifier: MIT
// The per-character functions over every code point, every UTF-16 unit with
// each class of unit after it, and every UTF-8 lead byte with each class of
// continuation; the surrogate repair and the string functions on seeded
// random inputs. All through the checks of fuzz/chars.cpp and strings.cpp.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "check.h"

namespace {

using qelfuzz::Units;
using Bytes = std::vector<std::uint8_t>;

bool small() { return std::getenv("QELUTF_TEST_SMALL") != nullptr; }

// Function numbers of checkChars, by the source they read.
const int kByValue[] = {0, 1, 6, 7, 8};                 // a code point or unit argument
const int kFrom16[] = {2, 3, 4, 5, 17, 18};
const int kFrom8[] = {10, 11, 12, 13, 14, 15, 16, 21};
const int kFrom32[] = {9, 19, 20};

void chars(int fn, std::uint32_t value, unsigned room, unsigned avail, const Units& src, unsigned unitBytes) {
    Bytes d = {static_cast<std::uint8_t>(fn)};
    for (int i = 0; i < 4; ++i) d.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    d.insert(d.end(), {3, static_cast<std::uint8_t>(room), static_cast<std::uint8_t>(avail), 1});
    for (std::uint32_t u : src)
        for (unsigned i = 0; i < unitBytes; ++i) d.push_back(static_cast<std::uint8_t>(u >> (8 * i)));
    qelfuzz::checkChars(d.data(), d.size());
}

void everyForm(std::uint32_t cp, bool allRooms) {
    const unsigned rooms[] = {4, 0, 1, 2, 3};
    const std::size_t nRooms = allRooms ? 5 : 1;
    for (std::size_t k = 0; k < nRooms; ++k) {
        for (int fn : kByValue) chars(fn, cp, rooms[k], 0, {}, 1);
        for (int fn : kFrom32) chars(fn, 0, rooms[k], 1, {cp}, 4);
        if (!qelref::isScalar(cp)) continue;
        Units u8, u16;
        qelref::encodeUtf8(cp, u8);
        qelref::encodeUtf16(cp, u16);
        for (int fn : kFrom8) chars(fn, 0, rooms[k], static_cast<unsigned>(u8.size() - (k == 1 ? 1 : 0)), u8, 1);
        for (int fn : kFrom16) chars(fn, 0, rooms[k], static_cast<unsigned>(u16.size() - (k == 1 ? 1 : 0)), u16, 2);
    }
}

TEST(PerCharacter, EveryCodePoint) {
    qelfuzz::throwOnFailure = true;
    const std::uint32_t step = small() ? 251 : 1;
    ASSERT_NO_THROW({
        for (std::uint32_t cp = 0; cp <= 0x10FFFF; cp += step) everyForm(cp, cp % 61 == 0 || (cp & 0xFFFF) < 2);
        for (std::uint32_t cp : {0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xD7FFu, 0xD800u, 0xDFFFu, 0xE000u, 0xFFFFu,
                                 0x10000u, 0x10FFFFu, 0x110000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
            everyForm(cp, true);
    });
}

TEST(PerCharacter, EveryUtf16UnitWithEachClassAfterIt) {
    qelfuzz::throwOnFailure = true;
    const std::uint32_t step = small() ? 97 : 1;
    ASSERT_NO_THROW({
        for (std::uint32_t u = 0; u <= 0xFFFF; u += step)
            for (std::uint32_t next : {0x0u, 0x41u, 0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0xE000u})
                for (int fn : kFrom16)
                    for (unsigned avail : {1u, 2u}) chars(fn, 0, u % 5, avail, {u, next}, 2);
    });
}

TEST(PerCharacter, EveryUtf8LeadWithEachContinuationClass) {
    qelfuzz::throwOnFailure = true;
    ASSERT_NO_THROW({
        for (std::uint32_t lead = 0; lead < 0x100; ++lead)
            for (std::uint32_t b1 : {0x00u, 0x41u, 0x80u, 0x8Fu, 0x90u, 0x9Fu, 0xA0u, 0xBFu, 0xC0u, 0xFFu})
                for (std::uint32_t rest : {0x80u, 0xBFu, 0x41u, 0x00u})
                    for (int fn : kFrom8)
                        for (unsigned avail : {2u, 3u, 4u}) chars(fn, 0, avail - 1, avail, {lead, b1, rest, rest}, 1);
    });
}

// Seeded random inputs of a check function: the structured text generator
// behind a random header.
void seeded(int (*check)(const std::uint8_t*, std::size_t), std::uint8_t fnFirst, unsigned runs) {
    qelfuzz::throwOnFailure = true;
    std::mt19937 rng(17);
    ASSERT_NO_THROW({
        for (unsigned i = 0; i < (small() ? runs / 10 : runs); ++i) {
            Bytes d(8 + rng() % 40);
            for (auto& b : d) b = static_cast<std::uint8_t>(rng());
            if (fnFirst) d[0] = fnFirst;
            check(d.data(), d.size());
        }
    });
}

TEST(PerCharacter, SurrogateRepairSeeded) { seeded(qelfuzz::checkChars, 22, 20000); }
TEST(PerCharacter, NullAndShortArgumentsSeeded) { seeded(qelfuzz::checkChars, 0, 40000); }
TEST(Strings, Utf8AndUtf16Seeded) { seeded(qelfuzz::checkStrings, 0, 60000); }

}  // namespace
