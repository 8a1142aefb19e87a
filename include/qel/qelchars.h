/*
 * qelchars.h - per-character conversions, errno-style string conversions and
 * string functions for UTF-8 (char), UTF-16 (char16_t) and UTF-32 (unsigned int).
 * Failures return -1 (or (size_t)-1, or null) and set errno.
 * Compiles as C11 and as C++.
 */
#ifndef QEL_QELCHARS_H
#define QEL_QELCHARS_H

#include <stddef.h>
#include "qelstr.h"

QEL_BEGIN_C

/* @errno-conversions@ */
/* Errno-style conversions of zero-terminated strings. The bounded ones write
 * into dst of n target units (terminator included) and return the units
 * written; a null dst asks for the units needed. They return n when the output
 * is full or was cut (terminated only if it was cut), and (size_t)-1 with
 * errno EILSEQ for ill-formed input; errno is left alone otherwise. The
 * allocating ones return a block that the caller releases with qelStrFree, or
 * null for a null src; they always set errno: 0, EILSEQ (with the conversion
 * of what came before the bad character) or ENOMEM (with an empty string, or
 * null). Control sequences use the standard UTF-8 form. */
QEL_API size_t qel_u16stou8s(char* dst, const char16_t* src, size_t n);
QEL_API size_t qel_u16stou32s(unsigned int* dst, const char16_t* src, size_t n);
QEL_API size_t qel_u32stou8s(char* dst, const unsigned int* src, size_t n);
QEL_API size_t qel_u32stou16s(char16_t* dst, const unsigned int* src, size_t n);
QEL_API size_t qel_u8stou16s(char16_t* dst, const char* src, size_t n);
QEL_API size_t qel_u8stou32s(unsigned int* dst, const char* src, size_t n);
QEL_API char* qel_u16stou8s_alloc(const char16_t* src);
QEL_API unsigned int* qel_u16stou32s_alloc(const char16_t* src);
QEL_API char* qel_u32stou8s_alloc(const unsigned int* src);
QEL_API char16_t* qel_u32stou16s_alloc(const unsigned int* src);
QEL_API char16_t* qel_u8stou16s_alloc(const char* src);
QEL_API unsigned int* qel_u8stou32s_alloc(const char* src);

/* @per-character@ */

/* @utf8-strings@ */

/* @utf16-strings@ */

/* @utf32-strings@ */

QEL_END_C

#endif /* QEL_QELCHARS_H */
