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
/* Per-character conversions: one character per call. The result is the count
 * of units on the UTF-8 side (bytes written or consumed), or of UTF-16 units
 * for the UTF-16/UTF-32 pairs; -1 with errno EILSEQ or E2BIG on failure, with
 * nothing written. No terminator is written. A null destination, where
 * allowed, makes the call a length query. */
QEL_API int qel_u16tou8(char* dst, char16_t c);
QEL_API int qel_u16tou8n(char* dst, char16_t c, size_t n);
QEL_API int qel_u16tou8n_s(char* dst, size_t n, const char16_t* src, size_t srcn);
QEL_API int qel_u16sctou8(char* dst, size_t n, const char16_t* src);
QEL_API int qel_u16tou32(unsigned int* dst, const char16_t* src, size_t n);
QEL_API int qel_u16sctou32(unsigned int* dst, const char16_t* src);
QEL_API int qel_u32tou16(char16_t* dst, unsigned int c, size_t n);
QEL_API int qel_u32tou8(char* dst, unsigned int c);
QEL_API int qel_u32tou8n(char* dst, unsigned int c, size_t n);
QEL_API int qel_u32sctou32(unsigned int* dst, const unsigned int* src);
QEL_API int qel_u8tou32(unsigned int* dst, const char* src, size_t n);
QEL_API int qel_u8sctou32(unsigned int* dst, const char* src);
QEL_API int qel_u8tou16(char16_t* dst, const char* src, size_t n);
QEL_API int qel_u8tou16_s(char16_t* dst, size_t dstn, const char* src, size_t n);
QEL_API int qel_u8sctou16_s(char16_t* dst, size_t dstn, const char* src);
/* Length in units of the first character: 0 for a zero unit, -1 (EILSEQ) if
 * malformed. qel_u8mbclen is a tolerant step length that never fails. */
QEL_API int qel_u8clen(const char* s, size_t n);
QEL_API int qel_u8sclen(const char* s);
QEL_API int qel_u8mbclen(const char* s);
QEL_API int qel_u16clen(const char16_t* s, size_t n);
QEL_API int qel_u16sclen(const char16_t* s);
QEL_API int qel_u32clen(const unsigned int* s, size_t n);
QEL_API int qel_u32sclen(const unsigned int* s);

/* @utf8-strings@ */

/* @utf16-strings@ */

/* @utf32-strings@ */

QEL_END_C

#endif /* QEL_QELCHARS_H */
