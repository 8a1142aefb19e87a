// The bounded entry points behind one calling convention: see calls.h.
#include "calls.h"

namespace qelfuzz {

using qelref::Enc;

const EntryInfo& boundedEntry(int e) {
    static const EntryInfo entries[kBoundedEntries] = {
        {"qelStrUtf16ToUtf8", {Enc::Utf16, Enc::Utf8, false}, false, kU8U16},
        {"qelStrUtf16ToUtf8Ex", {Enc::Utf16, Enc::Utf8, false}, true, kU8U16Ex},
        {"qelStrUtf32ToUtf8", {Enc::Utf32, Enc::Utf8, false}, false, kU8U32},
        {"qelStrUtf32ToUtf8Ex", {Enc::Utf32, Enc::Utf8, false}, true, kU8U32Ex},
        {"qelStrUtf8ToUtf16", {Enc::Utf8, Enc::Utf16, false}, false, kU16U8},
        {"qelStrUtf8ToUtf16Ex", {Enc::Utf8, Enc::Utf16, false}, true, kU16U8Ex},
        {"qelStrUtf8ToUtf32", {Enc::Utf8, Enc::Utf32, false}, false, kU32U8},
        {"qelStrUtf8ToUtf32Ex", {Enc::Utf8, Enc::Utf32, false}, true, kU32U8Ex},
        {"qelStrUtf16ToUtf32", {Enc::Utf16, Enc::Utf32, false}, false, kU32U16},
        {"qelStrUtf32ToUtf16", {Enc::Utf32, Enc::Utf16, false}, false, kU16U32},
        {"qelStrUtf16Copy", {Enc::Utf16, Enc::Utf16, false}, false, -1},
    };
    return entries[e];
}

BoundedResult callBounded(int e, std::uint32_t flags, const BoundedArgs& a) {
    using u32 = unsigned int;
    switch (e) {
    case kU16U8:
        return invokeBounded<char, char16_t>(
            [](char* o, u32 s, u32* l, const char16_t* i, u32 n) { return qelStrUtf16ToUtf8(o, s, l, i, n); }, a);
    case kU16U8Ex:
        return invokeBounded<char, char16_t>(
            [flags](char* o, u32 s, u32* l, const char16_t* i, u32 n) {
                return qelStrUtf16ToUtf8Ex(o, s, l, i, n, flags);
            },
            a);
    case kU32U8:
        return invokeBounded<char, u32>(
            [](char* o, u32 s, u32* l, const u32* i, u32 n) { return qelStrUtf32ToUtf8(o, s, l, i, n); }, a);
    case kU32U8Ex:
        return invokeBounded<char, u32>(
            [flags](char* o, u32 s, u32* l, const u32* i, u32 n) {
                return qelStrUtf32ToUtf8Ex(o, s, l, i, n, flags);
            },
            a);
    case kU8U16:
        return invokeBounded<char16_t, char>(
            [](char16_t* o, u32 s, u32* l, const char* i, u32 n) { return qelStrUtf8ToUtf16(o, s, l, i, n); }, a);
    case kU8U16Ex:
        return invokeBounded<char16_t, char>(
            [flags](char16_t* o, u32 s, u32* l, const char* i, u32 n) {
                return qelStrUtf8ToUtf16Ex(o, s, l, i, n, flags);
            },
            a);
    case kU8U32:
        return invokeBounded<u32, char>(
            [](u32* o, u32 s, u32* l, const char* i, u32 n) { return qelStrUtf8ToUtf32(o, s, l, i, n); }, a);
    case kU8U32Ex:
        return invokeBounded<u32, char>(
            [flags](u32* o, u32 s, u32* l, const char* i, u32 n) {
                return qelStrUtf8ToUtf32Ex(o, s, l, i, n, flags);
            },
            a);
    case kU16U32:
        return invokeBounded<u32, char16_t>(
            [](u32* o, u32 s, u32* l, const char16_t* i, u32 n) { return qelStrUtf16ToUtf32(o, s, l, i, n); }, a);
    case kU32U16:
        return invokeBounded<char16_t, u32>(
            [](char16_t* o, u32 s, u32* l, const u32* i, u32 n) { return qelStrUtf32ToUtf16(o, s, l, i, n); }, a);
    default:
        return invokeBounded<char16_t, char16_t>(
            [](char16_t* o, u32 s, u32* l, const char16_t* i, u32 n) { return qelStrUtf16Copy(o, s, l, i, n); }, a);
    }
}

}  // namespace qelfuzz
