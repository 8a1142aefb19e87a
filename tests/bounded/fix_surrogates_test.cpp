#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qel/qelstr.h"

namespace {

std::string b(std::initializer_list<int> bytes) {
    std::string s;
    for (int x : bytes) s.push_back(static_cast<char>(x));
    return s;
}

TEST(FixSurrogatePairs, RepairsPairsAndCutsAtTheFirstFault) {
    struct Case {
        std::string in;
        bool ok;
        std::string out;  // the text up to its new terminator
    };
    const std::string grin = b({0xF0, 0x9F, 0x98, 0x80});
    const std::string high = b({0xED, 0xA0, 0xBD}), low = b({0xED, 0xB8, 0x80});
    const Case cases[] = {
        {high + low, true, grin},
        {"A" + high + low + "B", true, "A" + grin + "B"},
        {high + low + high + low, true, grin + grin},
        {"A" + b({0xC3, 0xA9, 0xE2, 0x82, 0xAC}) + grin, true, "A" + b({0xC3, 0xA9, 0xE2, 0x82, 0xAC}) + grin},
        {"", true, ""},
        {b({0xED, 0x9F, 0xBF}) + high + low, true, b({0xED, 0x9F, 0xBF}) + grin},  // U+D7FF is no half
        {"\x01" "AB\x02" + high + low, true, "\x01" "AB\x02" + grin},
        {"A" + low, false, "A"},                        // a low half first
        {"A" + low + low, false, "A"},
        {"A" + high + "B", false, "A"},                 // a high half before ASCII
        {"A" + high, false, "A"},                       // a high half at the end
        {"A" + high + high + low, false, "A"},          // two high halves
        {"A" + high + b({0xC3, 0xA9}), false, "A"},     // a high half before a two-byte form
        {"A" + high + grin, false, "A"},                // ... before a four-byte form
        {"A" + high + b({0xE2, 0x82, 0xAC}), false, "A"},  // ... before a plain three-byte form
        {"A" + high + low + b({0xC0, 0x80}), false, "A" + grin},  // the fault comes after a repair
        {"A" + b({0xE2, 0x82}), false, "A"},            // cut by the terminator
        {"AB" + b({0x80}) + "C", false, "AB"},          // a stray continuation byte
        {"A" + b({0xE0, 0x9F, 0x80}), false, "A"},      // overlong
        {"A" + b({0xF4, 0x90, 0x80, 0x80}), false, "A"},  // above U+10FFFF
        {high + low + "\x01" "A" + b({0x85}) + "\x02", false, grin + "\x01" "A"},  // raw sequence byte
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.in));
        std::vector<char> text(c.in.begin(), c.in.end());
        text.push_back(0);
        text.push_back('#');  // nothing past the old terminator is touched
        char* const r = qelStrUtf8FixSurrogatePairs(text.data());
        EXPECT_EQ(r, c.ok ? text.data() : nullptr);
        EXPECT_EQ(std::string(text.data()), c.out);
        EXPECT_EQ(text.back(), '#');
    }
}

}  // namespace
