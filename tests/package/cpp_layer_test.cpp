// SPDX-License-Identifier: MIT
// qelutf.hpp as a C++ caller uses it: every direction on well-formed texts
// (zero units and an embedded control sequence included), the prefix and
// fault position on ill-formed input, and the throwing overloads.
#include <gtest/gtest.h>
#include <qel/qelutf.hpp>

using namespace std::literals;

namespace {

struct Text {
    std::string u8;
    std::u16string u16;
    std::u32string u32;
};

const Text kTexts[] = {
    {"", u"", U""},
    {"caf\xC3\xA9 \xE2\x82\xAC\xF0\x9F\x98\x80", u"caf\u00e9 \u20ac\U0001F600", U"caf\u00e9 \u20ac\U0001F600"},
    {"a\0b\0"s, u"a\0b\0"s, U"a\0b\0"s},
    {"\x01" "A\xC2\x85\x02z", u"\x01" "A\x85\x02z", U"\x01" "A\x85\x02z"},
};

TEST(CppLayer, WellFormedTextsConvertInEveryDirection) {
    for (const Text& t : kTexts) {
        EXPECT_EQ(qel::utf8_to_utf16(t.u8).text, t.u16);
        EXPECT_EQ(qel::utf8_to_utf32(t.u8).text, t.u32);
        EXPECT_EQ(qel::utf16_to_utf8(t.u16).text, t.u8);
        EXPECT_EQ(qel::utf16_to_utf32(t.u16).text, t.u32);
        EXPECT_EQ(qel::utf32_to_utf8(t.u32).text, t.u8);
        auto r = qel::utf32_to_utf16(t.u32);
        EXPECT_TRUE(r.ok() && r.fault == r.npos && r.text == t.u16);
    }
}

template <class R, class S>
void ExpectFault(const R& r, const S& prefix, std::size_t fault) {
    EXPECT_EQ(r.status, qelStrBadInput);
    EXPECT_EQ(r.text, prefix);
    EXPECT_EQ(r.fault, fault);
}

TEST(CppLayer, IllFormedInputGivesPrefixAndFaultInInputUnits) {
    ExpectFault(qel::utf8_to_utf16("\xC3\xA9" "b\xFF"), u"\u00e9b"s, 3);
    ExpectFault(qel::utf8_to_utf32("x\0y\xE2\x82"s), U"x\0y"s, 3);  // cut at the end, after a zero unit
    ExpectFault(qel::utf16_to_utf8(u"\U0001F600a\xD800" "b"), "\xF0\x9F\x98\x80" "a"s, 3);
    ExpectFault(qel::utf16_to_utf32(u"\xDC00"), U""s, 0);
    ExpectFault(qel::utf32_to_utf8(std::u32string{U'a', U'b', char32_t(0x110000)}), "ab"s, 2);
    ExpectFault(qel::utf32_to_utf16(std::u32string{U'\u20ac', char32_t(0xD800)}), u"\u20ac"s, 1);
}

TEST(CppLayer, ThrowingOverloadsReportTheFault) {
    EXPECT_EQ(qel::utf16_to_utf8_or_throw(u"\u00e9"), "\xC3\xA9");
    try {
        qel::utf8_to_utf16_or_throw("ok\xC0\x80");
        ADD_FAILURE() << "no exception";
    } catch (const qel::ill_formed& e) {
        EXPECT_EQ(e.position(), 2u);
    }
}

}  // namespace
