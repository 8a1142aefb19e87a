// Every input of up to three units (four bytes of UTF-8) over an alphabet
// that holds each class of unit, through every conversion entry point,
// against the model. QELUTF_TEST_SMALL=1 (slow runners) shrinks the alphabets.
#include <gtest/gtest.h>

#include <cstdlib>

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
