// Null pointers, empty sources and zero counts: every per-character function
// answers 0 without writing anything and without touching errno.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

#include "qel/qelchars.h"

namespace {

TEST(PerCharacterAbsentArguments, AnswerZeroAndLeaveEverythingAlone) {
    char bytes[4] = {'x', 'x', 'x', 'x'};
    char16_t units[2] = {0x7777, 0x7777};
    unsigned int cp = 0x7777;
    const char16_t wide[] = {'a', 0};
    const char16_t emptyWide[] = {0};
    const unsigned int wide32[] = {'a', 0};
    const char* const emptyBytes = "";

    const struct {
        const char* call;
        std::function<int()> run;
    } cases[] = {
        {"qel_u16tou8 null dst", [&] { return qel_u16tou8(nullptr, 'a'); }},
        {"qel_u16tou8n null dst", [&] { return qel_u16tou8n(nullptr, 'a', 4); }},
        {"qel_u16tou8n_s null dst", [&] { return qel_u16tou8n_s(nullptr, 4, wide, 1); }},
        {"qel_u16tou8n_s null src", [&] { return qel_u16tou8n_s(bytes, 4, nullptr, 1); }},
        {"qel_u16tou8n_s srcn 0", [&] { return qel_u16tou8n_s(bytes, 4, wide, 0); }},
        {"qel_u16sctou8 null dst", [&] { return qel_u16sctou8(nullptr, 4, wide); }},
        {"qel_u16sctou8 null src", [&] { return qel_u16sctou8(bytes, 4, nullptr); }},
        {"qel_u16sctou8 empty src", [&] { return qel_u16sctou8(bytes, 4, emptyWide); }},
        {"qel_u16tou32 null src", [&] { return qel_u16tou32(&cp, nullptr, 2); }},
        {"qel_u16tou32 empty src", [&] { return qel_u16tou32(&cp, emptyWide, 2); }},
        {"qel_u16sctou32 null src", [&] { return qel_u16sctou32(&cp, nullptr); }},
        {"qel_u32tou16 null dst", [&] { return qel_u32tou16(nullptr, 'a', 2); }},
        {"qel_u32tou8 null dst", [&] { return qel_u32tou8(nullptr, 'a'); }},
        {"qel_u32tou8n null dst", [&] { return qel_u32tou8n(nullptr, 'a', 4); }},
        {"qel_u32sctou32 null src", [&] { return qel_u32sctou32(&cp, nullptr); }},
        {"qel_u8tou32 null src", [&] { return qel_u8tou32(&cp, nullptr, 4); }},
        {"qel_u8tou32 empty src", [&] { return qel_u8tou32(&cp, emptyBytes, 4); }},
        {"qel_u8sctou32 null src", [&] { return qel_u8sctou32(&cp, nullptr); }},
        {"qel_u8tou16_s null src", [&] { return qel_u8tou16_s(units, 2, nullptr, 4); }},
        {"qel_u8sctou16_s null src", [&] { return qel_u8sctou16_s(units, 2, nullptr); }},
        {"qel_u8sctou16_s empty src", [&] { return qel_u8sctou16_s(units, 2, emptyBytes); }},
        {"qel_u8clen null", [&] { return qel_u8clen(nullptr, 4); }},
        {"qel_u8clen n 0", [&] { return qel_u8clen("\xC3\xA9", 0); }},
        {"qel_u8sclen null", [&] { return qel_u8sclen(nullptr); }},
        {"qel_u16clen null", [&] { return qel_u16clen(nullptr, 1); }},
        {"qel_u16clen n 0", [&] { return qel_u16clen(wide, 0); }},
        {"qel_u16sclen null", [&] { return qel_u16sclen(nullptr); }},
        {"qel_u32clen null", [&] { return qel_u32clen(nullptr, 1); }},
        {"qel_u32clen n 0", [&] { return qel_u32clen(wide32, 0); }},
        {"qel_u32sclen null", [&] { return qel_u32sclen(nullptr); }},
    };
    for (const auto& c : cases) {
        errno = 12345;
        EXPECT_EQ(c.run(), 0) << c.call;
        EXPECT_EQ(errno, 12345) << c.call;
    }
    EXPECT_EQ(std::string(bytes, 4), "xxxx");
    EXPECT_EQ(units[0], 0x7777);
    EXPECT_EQ(units[1], 0x7777);
    EXPECT_EQ(cp, 0x7777u);
}

}  // namespace
