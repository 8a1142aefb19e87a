#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "qel/qelchars.h"

namespace {

constexpr int kUntouched = 0x5EED;  // errno before each call; only failures change it
constexpr unsigned kFill = 0x5A;    // destination units before each call

// One call on a prefilled destination: its result, errno on failure, and the
// units it must have written (nothing on failure, nothing past them).
template <class T>
struct Case {
    const char* what;
    std::function<int(T*)> call;
    int result;
    int err;
    std::vector<unsigned> written;
};

template <class T>
void check(const std::vector<Case<T>>& cases) {
    for (const Case<T>& c : cases) {
        SCOPED_TRACE(c.what);
        T dst[6];
        for (T& u : dst) u = static_cast<T>(kFill);
        errno = kUntouched;
        EXPECT_EQ(c.call(dst), c.result);
        EXPECT_EQ(errno, c.result < 0 ? c.err : kUntouched);
        for (std::size_t i = 0; i < 6; ++i) {
            const unsigned want = i < c.written.size() ? c.written[i] : kFill;
            EXPECT_EQ(static_cast<std::make_unsigned_t<T>>(dst[i]), want) << "unit " << i;
        }
    }
}

std::string b(std::initializer_list<int> bytes) {  // UTF-8 text, terminated by c_str()
    std::string s;
    for (int x : bytes) s.push_back(static_cast<char>(x));
    return s;
}

TEST(PerCharacter, IntoUtf8) {
    const std::u16string pair = u"\xD83D\xDE00", eAcute = u"\xE9";
    const std::u16string highAtEnd(1, u'\xD83D'), nul(1, u'\0');
    check<char>({
        {"u16tou8 zero", [](char* d) { return qel_u16tou8(d, 0); }, 1, 0, {0x00}},
        {"u16tou8 E9", [](char* d) { return qel_u16tou8(d, 0xE9); }, 2, 0, {0xC3, 0xA9}},
        {"u16tou8 20AC", [](char* d) { return qel_u16tou8(d, 0x20AC); }, 3, 0, {0xE2, 0x82, 0xAC}},
        {"u16tou8 D800", [](char* d) { return qel_u16tou8(d, 0xD800); }, -1, EILSEQ, {}},
        {"u16tou8 null", [](char*) { return qel_u16tou8(nullptr, 0xE9); }, 0, 0, {}},
        {"u16tou8n A room 0", [](char* d) { return qel_u16tou8n(d, u'A', 0); }, -1, E2BIG, {}},
        {"u16tou8n E9 room 1", [](char* d) { return qel_u16tou8n(d, 0xE9, 1); }, -1, E2BIG, {}},
        {"u16tou8n 7FF room 2", [](char* d) { return qel_u16tou8n(d, 0x7FF, 2); }, 2, 0, {0xDF, 0xBF}},
        {"u16tou8n high room 0", [](char* d) { return qel_u16tou8n(d, 0xD83D, 0); }, -1, EILSEQ, {}},
        {"u16tou8n_s pair", [=](char* d) { return qel_u16tou8n_s(d, 4, pair.c_str(), 2); }, 4, 0,
         {0xF0, 0x9F, 0x98, 0x80}},
        {"u16tou8n_s pair room 3", [=](char* d) { return qel_u16tou8n_s(d, 3, pair.c_str(), 2); }, -1,
         E2BIG, {}},
        {"u16tou8n_s pair srcn 1", [=](char* d) { return qel_u16tou8n_s(d, 4, pair.c_str(), 1); }, -1,
         EILSEQ, {}},
        {"u16tou8n_s zero unit", [=](char* d) { return qel_u16tou8n_s(d, 1, nul.c_str(), 1); }, 1, 0, {0}},
        {"u16tou8n_s zero unit room 0", [=](char* d) { return qel_u16tou8n_s(d, 0, nul.c_str(), 1); }, -1,
         E2BIG, {}},
        {"u16tou8n_s srcn 0", [=](char* d) { return qel_u16tou8n_s(d, 4, pair.c_str(), 0); }, 0, 0, {}},
        // The low 8 bits whenever there is room; the encoder judges only with none.
        {"u16sctou8 E9 room 8", [=](char* d) { return qel_u16sctou8(d, 8, eAcute.c_str()); }, 1, 0, {0xE9}},
        {"u16sctou8 pair room 1", [=](char* d) { return qel_u16sctou8(d, 1, pair.c_str()); }, 1, 0, {0x3D}},
        {"u16sctou8 A room 0", [](char* d) { return qel_u16sctou8(d, 0, u"A"); }, 1, 0, {0x41}},
        {"u16sctou8 E9 room 0", [=](char* d) { return qel_u16sctou8(d, 0, eAcute.c_str()); }, -1, E2BIG, {}},
        {"u16sctou8 pair room 0", [=](char* d) { return qel_u16sctou8(d, 0, pair.c_str()); }, -1, E2BIG, {}},
        {"u16sctou8 high at end", [=](char* d) { return qel_u16sctou8(d, 0, highAtEnd.c_str()); }, -1,
         EILSEQ, {}},
        {"u16sctou8 empty", [](char* d) { return qel_u16sctou8(d, 8, u""); }, 0, 0, {}},
        {"u32tou8 zero", [](char* d) { return qel_u32tou8(d, 0); }, 1, 0, {0}},
        {"u32tou8 10FFFF", [](char* d) { return qel_u32tou8(d, 0x10FFFF); }, 4, 0, {0xF4, 0x8F, 0xBF, 0xBF}},
        {"u32tou8 DFFF", [](char* d) { return qel_u32tou8(d, 0xDFFF); }, -1, EILSEQ, {}},
        {"u32tou8n 110000 room 0", [](char* d) { return qel_u32tou8n(d, 0x110000, 0); }, -1, EILSEQ, {}},
        {"u32tou8n 10FFFF room 3", [](char* d) { return qel_u32tou8n(d, 0x10FFFF, 3); }, -1, E2BIG, {}},
        {"u32tou8n 800 room 3", [](char* d) { return qel_u32tou8n(d, 0x800, 3); }, 3, 0, {0xE0, 0xA0, 0x80}},
        {"u32tou8n A room 0", [](char* d) { return qel_u32tou8n(d, 0x41, 0); }, -1, E2BIG, {}},
    });
}

TEST(PerCharacter, IntoUtf16) {
    const std::string pair = b({0xF0, 0x9F, 0x98, 0x80}), e9 = b({0xC3, 0xA9}), euro = b({0xE2, 0x82, 0xAC});
    check<char16_t>({
        {"u32tou16 1F600 room 1", [](char16_t* d) { return qel_u32tou16(d, 0x1F600, 1); }, -1, E2BIG, {}},
        {"u32tou16 1F600 room 2", [](char16_t* d) { return qel_u32tou16(d, 0x1F600, 2); }, 2, 0,
         {0xD83D, 0xDE00}},
        {"u32tou16 DC00 room 0", [](char16_t* d) { return qel_u32tou16(d, 0xDC00, 0); }, -1, E2BIG, {}},
        {"u32tou16 DC00 room 1", [](char16_t* d) { return qel_u32tou16(d, 0xDC00, 1); }, -1, EILSEQ, {}},
        {"u32tou16 110000 room 0", [](char16_t* d) { return qel_u32tou16(d, 0x110000, 0); }, -1, EILSEQ, {}},
        {"u32tou16 zero", [](char16_t* d) { return qel_u32tou16(d, 0, 1); }, 1, 0, {0}},
        {"u32tou16 null", [](char16_t*) { return qel_u32tou16(nullptr, 0x41, 1); }, 0, 0, {}},
        // Room 1: a pair fails once found valid; a null destination has scratch room 2.
        {"u8tou16 pair", [=](char16_t* d) { return qel_u8tou16(d, pair.c_str(), 4); }, -1, E2BIG, {}},
        {"u8tou16 pair null", [=](char16_t*) { return qel_u8tou16(nullptr, pair.c_str(), 4); }, 4, 0, {}},
        {"u8tou16 E9 n 1", [=](char16_t* d) { return qel_u8tou16(d, e9.c_str(), 1); }, -1, EILSEQ, {}},
        {"u8tou16 E9", [=](char16_t* d) { return qel_u8tou16(d, e9.c_str(), 2); }, 2, 0, {0xE9}},
        // The _s forms store one unit without consulting the room.
        {"u8tou16_s A room 0", [](char16_t* d) { return qel_u8tou16_s(d, 0, "A", 1); }, 1, 0, {0x41}},
        {"u8tou16_s euro room 0", [=](char16_t* d) { return qel_u8tou16_s(d, 0, euro.c_str(), 3); }, 3, 0,
         {0x20AC}},
        {"u8tou16_s pair room 1", [=](char16_t* d) { return qel_u8tou16_s(d, 1, pair.c_str(), 4); }, -1,
         E2BIG, {}},
        {"u8tou16_s pair room 2", [=](char16_t* d) { return qel_u8tou16_s(d, 2, pair.c_str(), 4); }, 4, 0,
         {0xD83D, 0xDE00}},
        {"u8tou16_s pair n 3", [=](char16_t* d) { return qel_u8tou16_s(d, 2, pair.c_str(), 3); }, -1,
         EILSEQ, {}},
        {"u8tou16_s empty", [](char16_t* d) { return qel_u8tou16_s(d, 2, "", 1); }, 0, 0, {}},
        {"u8sctou16_s euro room 0", [=](char16_t* d) { return qel_u8sctou16_s(d, 0, euro.c_str()); }, 3, 0,
         {0x20AC}},
        {"u8sctou16_s cut", [](char16_t* d) { return qel_u8sctou16_s(d, 2, "\xE2\x82"); }, -1, EILSEQ, {}},
    });
}

TEST(PerCharacter, IntoUtf32) {
    const std::u16string pair = u"\xD83D\xDE00", highA = u"\xD83D" u"A", high(1, u'\xD83D');
    const std::string grin = b({0xF0, 0x9F, 0x98, 0x80}), e9 = b({0xC3, 0xA9});
    const unsigned zero[] = {0}, top[] = {0x10FFFF, 0}, sur[] = {0xD800, 0}, big[] = {0x110000, 0};
    check<unsigned int>({
        {"u16tou32 A n 0", [](unsigned* d) { return qel_u16tou32(d, u"A", 0); }, 1, 0, {0x41}},
        {"u16tou32 pair", [=](unsigned* d) { return qel_u16tou32(d, pair.c_str(), 2); }, 2, 0, {0x1F600}},
        {"u16tou32 pair n 1", [=](unsigned* d) { return qel_u16tou32(d, pair.c_str(), 1); }, -1, EILSEQ, {}},
        {"u16tou32 high A", [=](unsigned* d) { return qel_u16tou32(d, highA.c_str(), 2); }, -1, EILSEQ, {}},
        {"u16tou32 null", [=](unsigned*) { return qel_u16tou32(nullptr, pair.c_str(), 2); }, 2, 0, {}},
        {"u16sctou32 pair", [=](unsigned* d) { return qel_u16sctou32(d, pair.c_str()); }, 2, 0, {0x1F600}},
        {"u16sctou32 high", [=](unsigned* d) { return qel_u16sctou32(d, high.c_str()); }, -1, EILSEQ, {}},
        {"u16sctou32 empty", [](unsigned* d) { return qel_u16sctou32(d, u""); }, 0, 0, {}},
        {"u8tou32 overlong", [](unsigned* d) { return qel_u8tou32(d, "\xE0\x9F\x80", 3); }, -1, EILSEQ, {}},
        {"u8tou32 surrogate", [](unsigned* d) { return qel_u8tou32(d, "\xED\xA0\x80", 3); }, -1, EILSEQ, {}},
        {"u8tou32 above", [](unsigned* d) { return qel_u8tou32(d, "\xF4\x90\x80\x80", 4); }, -1, EILSEQ, {}},
        {"u8tou32 E9 n 1", [=](unsigned* d) { return qel_u8tou32(d, e9.c_str(), 1); }, -1, EILSEQ, {}},
        {"u8tou32 A n 0", [](unsigned* d) { return qel_u8tou32(d, "A", 0); }, 1, 0, {0x41}},
        {"u8tou32 null", [=](unsigned*) { return qel_u8tou32(nullptr, grin.c_str(), 4); }, 4, 0, {}},
        {"u8sctou32 grin", [=](unsigned* d) { return qel_u8sctou32(d, grin.c_str()); }, 4, 0, {0x1F600}},
        {"u8sctou32 C0 80", [](unsigned* d) { return qel_u8sctou32(d, "\xC0\x80"); }, -1, EILSEQ, {}},
        {"u32sctou32 zero", [=](unsigned* d) { return qel_u32sctou32(d, zero); }, 0, 0, {0}},
        {"u32sctou32 top", [=](unsigned* d) { return qel_u32sctou32(d, top); }, 1, 0, {0x10FFFF}},
        {"u32sctou32 D800", [=](unsigned* d) { return qel_u32sctou32(d, sur); }, -1, EILSEQ, {}},
        {"u32sctou32 110000", [=](unsigned* d) { return qel_u32sctou32(d, big); }, -1, EILSEQ, {}},
    });
}

TEST(PerCharacter, Lengths) {
    const std::u16string pair = u"\xD83D\xDE00", low(1, u'\xDE00'), high(1, u'\xD83D');
    const unsigned top[] = {0x10FFFF, 0}, sur[] = {0xDFFF, 0}, big[] = {0x110000, 0}, zero[] = {0};
    struct Case {
        const char* what;
        std::function<int()> call;
        int result;
    };
    const Case cases[] = {
        {"u8clen n 0", [] { return qel_u8clen("\xC3\xA9", 0); }, 0},
        {"u8clen zero", [] { return qel_u8clen("", 1); }, 0},
        {"u8clen C2 n 1", [] { return qel_u8clen("\xC2", 1); }, -1},
        {"u8clen E9", [] { return qel_u8clen("\xC3\xA9", 2); }, 2},
        {"u8clen grin", [] { return qel_u8clen("\xF0\x9F\x98\x80", 4); }, 4},
        {"u8clen surrogate", [] { return qel_u8clen("\xED\xA0\x80", 3); }, -1},
        {"u8sclen euro", [] { return qel_u8sclen("\xE2\x82\xAC"); }, 3},
        {"u8sclen cut", [] { return qel_u8sclen("\xE2\x82"); }, -1},
        {"u8sclen 80", [] { return qel_u8sclen("\x80"); }, -1},
        {"u8sclen null", [] { return qel_u8sclen(nullptr); }, 0},
        {"u16clen DC00", [=] { return qel_u16clen(low.c_str(), 1); }, -1},
        {"u16clen pair", [=] { return qel_u16clen(pair.c_str(), 2); }, 2},
        {"u16clen pair n 1", [=] { return qel_u16clen(pair.c_str(), 1); }, -1},
        {"u16sclen pair", [=] { return qel_u16sclen(pair.c_str()); }, 2},
        {"u16sclen high", [=] { return qel_u16sclen(high.c_str()); }, -1},
        {"u32clen top", [=] { return qel_u32clen(top, 1); }, 1},
        {"u32clen n 0", [=] { return qel_u32clen(big, 0); }, 0},
        {"u32clen zero", [=] { return qel_u32clen(zero, 1); }, 0},
        {"u32clen 110000", [=] { return qel_u32clen(big, 1); }, -1},
        {"u32sclen DFFF", [=] { return qel_u32sclen(sur); }, -1},
        // The tolerant step never fails.
        {"u8mbclen 80 80 80", [] { return qel_u8mbclen("\x80\x80\x80"); }, 3},
        {"u8mbclen BF 80 80", [] { return qel_u8mbclen("\xBF\x80\x80"); }, 3},
        {"u8mbclen 80 80 41", [] { return qel_u8mbclen("\x80\x80" "A"); }, 2},
        {"u8mbclen 80 C3", [] { return qel_u8mbclen("\x80\xC3"); }, 1},
        {"u8mbclen F8 80 80 80", [] { return qel_u8mbclen("\xF8\x80\x80\x80"); }, 4},
        {"u8mbclen F0 80 80 41", [] { return qel_u8mbclen("\xF0\x80\x80" "A"); }, 3},
        {"u8mbclen E0 80 41", [] { return qel_u8mbclen("\xE0\x80" "A"); }, 2},
        {"u8mbclen ED A0 80", [] { return qel_u8mbclen("\xED\xA0\x80"); }, 3},
        {"u8mbclen C0 41", [] { return qel_u8mbclen("\xC0" "A"); }, 1},
        {"u8mbclen empty", [] { return qel_u8mbclen(""); }, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        errno = kUntouched;
        EXPECT_EQ(c.call(), c.result);
        EXPECT_EQ(errno, c.result < 0 ? EILSEQ : kUntouched);
    }
}

}  // namespace
