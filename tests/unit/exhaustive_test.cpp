// SPDX-License-Identifier: MIT
// Every input of up to three units (four bytes of UTF-8) over an alphabet
// that holds each class of unit, through every conversion entry point,
// against the model. QELUTF_TEST_SMALL=1 (slow runners) shrinks the alphabets.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "check.h"

namespace {

using qelfuzz::Units;
using qelref::Enc;

bool small() { return std::getenv("QELUTF_TEST_SMALL") != nullptr; }

// zero, 0x01, 0x02, content, other ASCII, each continuation class, each lead class
const Units kBytes = {0x00, 0x01, 0x02, 0x41, 0x1F, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                      0xC0, 0xC2, 0xDF, 0xE0, 0xE1, 0xED, 0xF0, 0xF1, 0xF4, 0xF5, 0xFF};
const Units kBytes4 = {0x01, 0x02, 0x41, 0x80, 0x90, 0xA0, 0xBF, 0xC2, 0xE0, 0xED, 0xF0, 0xF4};
const Units kBytesSmall = {0x00, 0x01, 0x02, 0x41, 0x85, 0xA0, 0xC2, 0xE0, 0xF0, 0xF4};
const Units kUnits16 = {0x0000, 0x0001, 0x0002, 0x0041, 0x001F, 0x0085, 0x00A0, 0x07FF, 0x0800,
                        0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
const Units kUnits16Small = {0x0000, 0x0001, 0x0002, 0x0085, 0x0800, 0xD800, 0xDC00, 0xFFFF};
const Units kUnits32 = {0x0, 0x1, 0x2, 0x41, 0x1F, 0x85, 0xA0, 0x7FF, 0x800, 0xFFFF, 0xD800,
                        0xDFFF, 0x10000, 0x10FFFF, 0x110000, 0xFFFFFFFF};
const Units kUnits32Small = {0x0, 0x1, 0x2, 0x85, 0x800, 0xDFFF, 0x10FFFF, 0x110000};

// Calls f on every string of 1..maxLen units over the alphabet.
template <class F>
void everyString(const Units& alphabet, std::size_t maxLen, F f) {
    Units s;
    std::vector<std::size_t> digit;
    for (std::size_t len = 1; len <= maxLen; ++len) {
        digit.assign(len, 0);
        while (true) {
            s.clear();
            for (std::size_t d : digit) s.push_back(alphabet[d]);
            f(s);
            std::size_t i = 0;
            while (i < len && ++digit[i] == alphabet.size()) digit[i++] = 0;
            if (i == len) break;
        }
    }
}

void run(Enc enc, const Units& alphabet, std::size_t maxLen) {
    qelfuzz::throwOnFailure = true;
    ASSERT_NO_THROW(qelfuzz::checkAllFrom(enc, {}));
    ASSERT_NO_THROW(everyString(alphabet, maxLen, [&](const Units& s) { qelfuzz::checkAllFrom(enc, s); }));
}

TEST(Exhaustive, Utf8) { run(Enc::Utf8, small() ? kBytesSmall : kBytes, 3); }
TEST(Exhaustive, Utf8FourBytes) {
    if (small()) GTEST_SKIP() << "QELUTF_TEST_SMALL";
    Units s(4);
    ASSERT_NO_THROW(everyString(kBytes4, 4, [&](const Units& t) { if (t.size() == 4) qelfuzz::checkAllFrom(Enc::Utf8, t); }));
}
TEST(Exhaustive, Utf16) { run(Enc::Utf16, small() ? kUnits16Small : kUnits16, 3); }
TEST(Exhaustive, Utf32) { run(Enc::Utf32, small() ? kUnits32Small : kUnits32, 3); }

}  // namespace

namespace {

// Runs of one class of character with a special spelling starting on each
// unit near the edges of 16-, 32- and 64-unit vector blocks, so that every
// kernel meets it in each lane that matters.
TEST(Exhaustive, SpecialUnitsNearVectorBlockEdges) {
    qelfuzz::throwOnFailure = true;
    const std::vector<std::pair<Enc, std::vector<Units>>> specials = {
        {Enc::Utf8, {{0x80}, {0xC2, 0x80}, {0x01, 0x41, 0x02}, {0x7F}, {0xED, 0xA0, 0x80}, {0xF4, 0x90, 0x80, 0x80}, {0xE0, 0x9F, 0xBF}, {0xC3}}},
        {Enc::Utf16, {{0x80}, {0xD800}, {0xDC00}, {0x7F}, {0x800}, {0x01, 0x85, 0x02}, {0xFFFF}, {0xD83D, 0xDE00}}},
        {Enc::Utf32, {{0x80}, {0xD800}, {0xDFFF}, {0x110000}, {0x10000}, {0x01, 0x85, 0x02}, {0x7FF}, {0x800}}},
    };
    const std::size_t edges[] = {0, 1, 14, 15, 16, 17, 30, 31, 32, 33, 47, 48, 62, 63, 64, 65};
    for (const auto& [enc, spellings] : specials) {
        for (std::uint32_t cls : {0x61u, 0xE9u, 0x20ACu, 0x1F600u}) {
            Units one;
            qelref::encodeAs(enc, cls, one);
            for (std::size_t edge : edges) {
                for (const Units& special : spellings) {
                    if (small() && edge % 16 > 1) continue;
                    Units text;
                    while (text.size() < edge) text.insert(text.end(), one.begin(), one.end());
                    text.insert(text.end(), special.begin(), special.end());
                    while (text.size() < 64 + edge) text.insert(text.end(), one.begin(), one.end());
                    ASSERT_NO_THROW(qelfuzz::checkAllFrom(enc, text));
                }
            }
        }
    }
}

// Structured random text (control sequences of every length, each fault
// class, zero units) through a random entry point, seeded.
TEST(Exhaustive, StructuredTextSeeded) {
    qelfuzz::throwOnFailure = true;
    std::mt19937 rng(15);
    const auto& all = qelent::entries();
    for (unsigned i = 0; i < (small() ? 300u : 3000u); ++i) {
        std::vector<std::uint8_t> d(1 + rng() % 48);
        for (auto& b : d) b = static_cast<std::uint8_t>(rng());
        qelfuzz::Reader r(d.data(), d.size());
        const qelent::Entry& e = all[i % all.size()];
        const auto enc = static_cast<Enc>(e.from);
        const Units text = qelfuzz::makeText(r, enc, true, (i & 64) != 0 && enc == Enc::Utf8);
        ASSERT_NO_THROW(qelfuzz::checkEntry(e, text)) << e.name;
    }
}

}  // namespace
