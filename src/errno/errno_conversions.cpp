// SPDX-License-Identifier: MIT
// The twelve errno-style conversions: thin entry points over the walkers of
// errno_converter.h.
#include "errno/errno_converter.h"
#include "qel/qelchars.h"

using namespace qel;
using namespace qel::errnostyle;

extern "C" {

QEL_API size_t qel_u16stou8s(char* dst, const char16_t* src, size_t n) {
    return convertBounded<pairs::Utf16ToUtf8>(dst, src, n);
}
QEL_API size_t qel_u16stou32s(unsigned int* dst, const char16_t* src, size_t n) {
    return convertBounded<pairs::Utf16ToUtf32>(dst, src, n);
}
QEL_API size_t qel_u32stou8s(char* dst, const unsigned int* src, size_t n) {
    return convertBounded<pairs::Utf32ToUtf8>(dst, src, n);
}
QEL_API size_t qel_u32stou16s(char16_t* dst, const unsigned int* src, size_t n) {
    return convertBounded<pairs::Utf32ToUtf16>(dst, src, n);
}
QEL_API size_t qel_u8stou16s(char16_t* dst, const char* src, size_t n) {
    return convertBounded<pairs::ErrnoUtf8ToUtf16>(dst, utf8Units(src), n);
}
QEL_API size_t qel_u8stou32s(unsigned int* dst, const char* src, size_t n) {
    return convertBounded<pairs::ErrnoUtf8ToUtf32>(dst, utf8Units(src), n);
}

QEL_API char* qel_u16stou8s_alloc(const char16_t* src) {
    return convertAlloc<pairs::Utf16ToUtf8>(src);
}
QEL_API unsigned int* qel_u16stou32s_alloc(const char16_t* src) {
    return convertAlloc<pairs::Utf16ToUtf32>(src);
}
QEL_API char* qel_u32stou8s_alloc(const unsigned int* src) {
    return convertAlloc<pairs::Utf32ToUtf8>(src);
}
QEL_API char16_t* qel_u32stou16s_alloc(const unsigned int* src) {
    return convertAlloc<pairs::Utf32ToUtf16>(src);
}
QEL_API char16_t* qel_u8stou16s_alloc(const char* src) {
    return convertAlloc<pairs::ErrnoUtf8ToUtf16>(utf8Units(src));
}
QEL_API unsigned int* qel_u8stou32s_alloc(const char* src) {
    return convertAlloc<pairs::ErrnoUtf8ToUtf32>(utf8Units(src));
}

}  // extern "C"
