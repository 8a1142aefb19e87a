// Bounded conversions of all six pairs, through their exported entry points:
// argument checks, length queries, room rules, truncation, flags, control
// sequences carried, closed and dropped. Every output buffer is followed by
// guard units that must survive the call.
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "qel/qelstr.h"

namespace {

using Units = std::vector<unsigned int>;  // unit values of any encoding
constexpr unsigned int kGuard = 0xA5;
constexpr unsigned int kGuards = 4;
constexpr long kQuery = -1;                         // outSize meaning a null out
constexpr unsigned int kUnknownBits = ~0x40000003u;  // every undefined flag bit
constexpr unsigned int F = qelStrFlagFullLength, N = qelStrFlagNoTerminator, R = qelStrFlagRawSequences;

struct Outcome {
    qelStrStatus status;
    unsigned int len;
    Units buf;  // the outSize units of the buffer, then the guards
    bool operator==(const Outcome& o) const { return status == o.status && len == o.len && buf == o.buf; }
};

template <class T>
T unit(unsigned int v) { return static_cast<T>(static_cast<std::make_unsigned_t<T>>(v)); }

// Calls entry point Fn with `in` (null for a null input, stored with a zero
// unit after it) and a guarded buffer of outSize units (none for kQuery).
template <class D, class S, auto Fn>
Outcome call(const Units* in, unsigned int inLen, long outSize, unsigned int flags, bool reportLen) {
    std::vector<S> src;
    if (in != nullptr)
        for (unsigned int v : *in) src.push_back(unit<S>(v));
    src.push_back(0);
    const unsigned int size = outSize == kQuery ? 0xDEADu : static_cast<unsigned int>(outSize);
    std::vector<D> buf(outSize == kQuery ? 0 : size + kGuards, unit<D>(kGuard));
    D* const out = outSize == kQuery ? nullptr : buf.data();
    unsigned int len = 12345;
    unsigned int* const lenp = reportLen ? &len : nullptr;
    const S* const inp = in != nullptr ? src.data() : nullptr;
    Outcome o{};
    if constexpr (std::is_invocable_v<decltype(Fn), D*, unsigned, unsigned*, const S*, unsigned, unsigned>)
        o.status = Fn(out, size, lenp, inp, inLen, flags);
    else
        o.status = Fn(out, size, lenp, inp, inLen);
    o.len = len;
    for (D d : buf) o.buf.push_back(static_cast<std::make_unsigned_t<D>>(d));
    return o;
}

using Runner = Outcome (*)(const Units*, unsigned int, long, unsigned int, bool);
struct Api {
    const char* name;
    Runner run;    // the Ex entry point where there is one
    Runner plain;  // its plain twin; null for the pairs without UTF-8
};
const Api U16U8{"Utf16ToUtf8", call<char, char16_t, qelStrUtf16ToUtf8Ex>, call<char, char16_t, qelStrUtf16ToUtf8>};
const Api U32U8{"Utf32ToUtf8", call<char, unsigned, qelStrUtf32ToUtf8Ex>, call<char, unsigned, qelStrUtf32ToUtf8>};
const Api U8U16{"Utf8ToUtf16", call<char16_t, char, qelStrUtf8ToUtf16Ex>, call<char16_t, char, qelStrUtf8ToUtf16>};
const Api U8U32{"Utf8ToUtf32", call<unsigned, char, qelStrUtf8ToUtf32Ex>, call<unsigned, char, qelStrUtf8ToUtf32>};
const Api U16U32{"Utf16ToUtf32", call<unsigned, char16_t, qelStrUtf16ToUtf32>, nullptr};
const Api U32U16{"Utf32ToUtf16", call<char16_t, unsigned, qelStrUtf32ToUtf16>, nullptr};
const Api* const kAll[] = {&U16U8, &U32U8, &U8U16, &U8U32, &U16U32, &U32U16};

struct Case {
    const char* what;
    const Api& api;
    Units in;
    long outSize;
    unsigned int flags;
    qelStrStatus status;
    Units out;      // text before the terminator
    long len = -1;  // output length when it is not out.size()
};

void check(const Case& c) {
    SCOPED_TRACE(std::string(c.api.name) + ": " + c.what);
    const auto inLen = static_cast<unsigned int>(c.in.size());
    const Outcome o = c.api.run(&c.in, inLen, c.outSize, c.flags, true);
    EXPECT_EQ(o.status, c.status);
    EXPECT_EQ(o.len, c.len < 0 ? c.out.size() : static_cast<unsigned long>(c.len));
    if (c.outSize != kQuery) {
        ASSERT_GT(o.buf.size(), c.out.size());
        EXPECT_EQ(Units(o.buf.begin(), o.buf.begin() + static_cast<long>(c.out.size())), c.out);
        if (!(c.flags & N)) {
            EXPECT_EQ(o.buf[c.out.size()], 0u) << "terminator";
        }
        for (size_t i = static_cast<size_t>(c.outSize); i < o.buf.size(); ++i)
            EXPECT_EQ(o.buf[i], kGuard) << "unit " << i << " past outSize written";
    }
    if (c.api.plain != nullptr) {
        EXPECT_EQ(c.api.run(&c.in, inLen, c.outSize, c.flags | kUnknownBits, true), o) << "unknown bits";
        if (c.flags == 0) {
            EXPECT_EQ(c.api.plain(&c.in, inLen, c.outSize, 0, true), o) << "plain twin";
        }
    }
}

TEST(BoundedConversions, ArgumentChecksInOrder) {
    const Units ab{'a', 'b'}, empty{};
    for (const Api* api : kAll) {
        SCOPED_TRACE(api->name);
        const Outcome none = api->run(nullptr, 5, 10, 0, true);  // null input
        EXPECT_EQ(none.status, qelStrOk);
        EXPECT_EQ(none.len, 0u);
        EXPECT_EQ(none.buf[0], 0u);
        EXPECT_EQ(api->run(&ab, 0, 10, 0, true).buf[0], 0u);     // zero length
        EXPECT_EQ(api->run(&empty, 3, 10, 0, true).buf[0], 0u);  // zero first unit
        const Outcome emptyIntoNothing = api->run(&ab, 0, 0, 0, true);
        EXPECT_EQ(emptyIntoNothing.status, qelStrOk);  // empty input is answered before a size of 0
        EXPECT_EQ(emptyIntoNothing.buf[0], kGuard);
        const Outcome nothing = api->run(&ab, 2, 0, 0, true);
        EXPECT_EQ(nothing.status, qelStrEmptyBuffer);
        EXPECT_EQ(nothing.len, 0u);
        EXPECT_EQ(nothing.buf[0], kGuard);
        const Outcome query = api->run(&ab, 2, kQuery, 0, true);  // outSize not looked at
        EXPECT_EQ(query.status, qelStrOk);
        EXPECT_EQ(query.len, 2u);
        const Outcome unreported = api->run(&ab, 2, 1, 0, false);
        EXPECT_EQ(unreported.status, qelStrTruncated);
        EXPECT_EQ(unreported.len, 12345u);
        const Units abc0{'a', 'b', 'c', 0, 'd'};
        EXPECT_EQ(api->run(&abc0, 2, 10, 0, true).len, 2u);            // inLen ends the input
        EXPECT_EQ(api->run(&abc0, 5, 10, 0, true).len, 3u);            // so does a zero unit
        EXPECT_EQ(api->run(&abc0, 0xFFFFFFFFu, 10, 0, true).len, 3u);  // all-ones length
        if (api->plain != nullptr) {
            EXPECT_EQ(api->run(nullptr, 5, 10, N, true).buf[0], kGuard);  // no terminator, even for empty input
        }
    }
}

TEST(BoundedConversions, ConvertMeasureAndTruncate) {
    const Units a6{'a', 'b', 'c', 'd', 'e', 'f'};
    const Case cases[] = {
        {"fits", U16U8, {0x61, 0xE9, 0x62}, 10, 0, qelStrOk, {0x61, 0xC3, 0xA9, 0x62}},
        {"safe converter withdraws the last byte", U16U8, {0x61, 0xE9, 0x62}, 4, 0, qelStrTruncated, {0x61, 0xC3, 0xA9}},
        {"character does not fit", U16U8, {0x61, 0xE9, 0x62}, 3, 0, qelStrTruncated, {0x61}},
        {"last run cut by the fill converter is success", U16U8, {0x61, 0xE9, 0x62}, 3, N, qelStrOk, {0x61, 0xC3, 0xA9}},
        {"last run cut, UTF-32", U8U32, {0xC3, 0xA9, 0xC3, 0xA9, 0xC3, 0xA9}, 2, N, qelStrOk, {0xE9, 0xE9}},
        {"fast path keeps two units", U16U8, {'a', 'b', 'c'}, 3, 0, qelStrTruncated, {'a', 'b'}},
        {"fast path to the last unit", U8U16, {'a', 'b', 'c'}, 3, N, qelStrOk, {'a', 'b', 'c'}},
        {"fast path full without terminator", U8U16, {'a', 'b', 'c', 'd'}, 3, N, qelStrTruncated, {'a', 'b', 'c'}},
        {"pair withdrawn", U8U16, {0xF0, 0x9F, 0x98, 0x80}, 2, 0, qelStrTruncated, {}},
        {"pair filling the buffer", U8U16, {0xF0, 0x9F, 0x98, 0x80}, 2, N, qelStrOk, {0xD83D, 0xDE00}},
        {"pair into one unit", U8U16, {0xF0, 0x9F, 0x98, 0x80}, 1, N, qelStrTruncated, {}},
        {"withdrawal", U8U32, {0xE2, 0x82, 0xAC, 0xC3, 0xA9}, 2, 0, qelStrTruncated, {0x20AC}},
        {"withdrawal", U16U32, {0xE9, 0xF6}, 2, 0, qelStrTruncated, {0xE9}},
        {"surrogate pair withdrawn", U16U32, {'a', 0xD83D, 0xDE00}, 2, 0, qelStrTruncated, {'a'}},
        {"withdrawal", U32U16, {0x41, 0x1F600}, 3, 0, qelStrTruncated, {0x41}},
        {"fits", U32U8, {0x41, 0x1F600}, 10, 0, qelStrOk, {0x41, 0xF0, 0x9F, 0x98, 0x80}},
        {"query", U16U8, {0x61, 0xE9, 0xD83D, 0xDE00}, kQuery, 0, qelStrOk, {}, 7},
        {"query stops at ill-formed input", U8U16, {0x61, 0xC3, 0xA9, 0xFF, 0x62}, kQuery, 0, qelStrBadInput, {}, 2},
        {"lone low surrogate", U16U8, {0x61, 0xDC00, 0x62}, 10, 0, qelStrBadInput, {0x61}},
        {"beyond U+10FFFF", U32U8, {0x41, 0x110000}, 10, 0, qelStrBadInput, {0x41}},
        {"beyond U+10FFFF", U32U16, {0x110000}, 10, 0, qelStrBadInput, {}},
        {"ill-formed before the truncation", U32U8, {0x61, 0xD800, 0x62, 0x63, 0x64}, 3, 0, qelStrBadInput, {0x61}},
        {"ill-formed after the truncation", U32U8, {0x61, 0x62, 0x63, 0xD800}, 3, F, qelStrTruncated, {0x61, 0x62}, 3},
        {"rest before a sequence is ill-formed", U32U8, {0x61, 0x62, 0x63, 0xD800, 1, 0x41, 2}, 3, F,
         qelStrBadInput, {0x61, 0x62}, 3},
        {"full length: plain units counted", U16U8, a6, 3, F, qelStrTruncated, {'a', 'b'}, 6},
        {"full length: last run not counted", U16U8, {0xE9, 0xE9}, 3, F, qelStrTruncated, {0xC3, 0xA9}, 2},
        {"full length: run before a sequence measured", U16U8, {0x61, 0xE9, 1, 0x41, 2, 0xE9}, 2, F, qelStrOk,
         {0x61}, 8},
        {"full length after a fill", U16U8, {0xE9, 0xE9, 0xE9, 1, 0x41, 2}, 4, F | N, qelStrOk,
         {0xC3, 0xA9, 0xC3, 0xA9}, 9},
        {"rest starts where the safe converter left its cursor", U8U32, {0xC3, 0xA9, 0x61, 1, 0x41, 2}, 2, F,
         qelStrBadInput, {0xE9}},
    };
    for (const Case& c : cases) check(c);
}

TEST(BoundedConversions, ControlSequences) {
    const Units seq5{1, 'A', 'B', 'C', 'D', 'E', 2};
    const Case cases[] = {
        {"standard form", U16U8, {1, 0x41, 0x85, 2}, 10, 0, qelStrOk, {1, 0x41, 0xC2, 0x85, 2}},
        {"raw form", U16U8, {1, 0x41, 0x85, 2}, 10, R, qelStrOk, {1, 0x41, 0x85, 2}},
        {"standard size", U16U8, {1, 0x41, 0x85, 2}, kQuery, 0, qelStrOk, {}, 5},
        {"raw size", U16U8, {1, 0x41, 0x85, 2}, kQuery, R, qelStrOk, {}, 4},
        {"standard size", U32U8, {1, 0x85, 2}, kQuery, 0, qelStrOk, {}, 4},
        {"raw size", U32U8, {1, 0x85, 2}, kQuery, R, qelStrOk, {}, 3},
        {"standard size", U8U32, {1, 0xC2, 0x85, 2, 0xC3, 0xA9}, kQuery, 0, qelStrOk, {}, 4},
        {"raw size", U8U16, {1, 0x85, 2}, kQuery, R, qelStrOk, {}, 3},
        {"empty sequence between runs", U16U8, {0xE9, 1, 2, 0xE9}, 10, 0, qelStrOk, {0xC3, 0xA9, 1, 2, 0xC3, 0xA9}},
        {"raw bytes are no standard sequence", U8U16, {1, 0x41, 0x85, 2}, 10, 0, qelStrBadInput, {1, 0x41}},
        {"raw sequence", U8U16, {1, 0x41, 0x85, 2}, 10, R, qelStrOk, {1, 0x41, 0x85, 2}},
        {"lone lead byte before the end unit", U8U16, {1, 0x41, 0xC2, 2}, 10, 0, qelStrOk, {1, 0x41, 0x82}},
        {"lone lead byte, size", U8U32, {1, 0x41, 0xC2, 2}, kQuery, 0, qelStrOk, {}, 3},
        {"fills the buffer: closed", U8U16, {0x41, 1, 0x42, 0x43, 0x44, 2}, 6, 0, qelStrTruncated,
         {0x41, 1, 0x42, 0x43, 2}},
        {"full length drops and counts it", U8U16, {0x41, 1, 0x42, 0x43, 0x44, 2}, 6, F, qelStrTruncated, {0x41},
         6},
        {"closed early", U16U32, seq5, 5, 0, qelStrTruncated, {1, 'A', 'B', 2}},
        {"dropped", U16U32, seq5, 3, 0, qelStrTruncated, {}},
        {"ends on the last unit", U32U16, {1, 'A', 2}, 3, 0, qelStrTruncated, {}},
        {"ends on the last unit without terminator", U8U32, {1, 'A', 'B', 'C', 2}, 5, N, qelStrTruncated,
         {1, 'A', 'B', 2}},
        {"raw UTF-8 closed", U32U8, {1, 'A', 'B', 'C', 'D', 2}, 5, R, qelStrTruncated, {1, 'A', 'B', 2}},
        {"standard UTF-8 closed", U16U8, {1, 0x85, 0x85, 2}, 5, 0, qelStrTruncated, {1, 0xC2, 0x85, 2}},
        {"standard UTF-8 dropped after a lone lead byte", U16U8, {1, 0x85, 0x85, 2}, 4, 0, qelStrTruncated, {}},
        {"cut after a run that filled the buffer", U16U8, {0xE9, 0xE9, 0xE9, 1, 0x41, 2}, 4, N, qelStrTruncated,
         {0xC3, 0xA9, 0xC3, 0xA9}},
    };
    for (const Case& c : cases) check(c);
}

}  // namespace
