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
/* UTF-8 string functions. A character to search for is a code point, searched
 * as its UTF-8 bytes (null with errno EILSEQ for a surrogate or a value of
 * 0x110000 or more). Sets are read as UTF-8 characters; ill-formed text met
 * while decoding sets errno EILSEQ and makes the span functions return the
 * whole length (the break function null). The tokenizer removes whole
 * multi-byte delimiters. Offsets and lengths are in bytes. */
QEL_API char* qel_u8schr(const char* s, unsigned int c);
QEL_API char* qel_u8srchr(const char* s, unsigned int c);
QEL_API char* qel_u8sstr(const char* s, const char* needle);
QEL_API size_t qel_u8sspn(const char* s, const char* set);
QEL_API size_t qel_u8scspn(const char* s, const char* set);
QEL_API char* qel_u8spbrk(const char* s, const char* set);
QEL_API char* qel_u8stok(char* s, const char* delim, char** context);
QEL_API int qel_u8sBeginsWith(const char* s, const char* prefix);
QEL_API int qel_u8sEndsWith(const char* s, const char* suffix);

/* @utf16-strings@ */
/* UTF-16 string functions. A code point above U+FFFF is searched as its
 * surrogate pair; searching for one of 0x110000 or more gives null without
 * errno. Sets are read as whole characters; ill-formed text met while decoding
 * sets errno EILSEQ and makes the span functions return the whole length (the
 * break function null). Comparisons order strings by code point (a surrogate
 * unit sorts after every other unit); qel_u16mset refuses surrogates and
 * values above U+FFFF (null, EILSEQ). Counts are in units. */
QEL_API char16_t* qel_u16mchr(const char16_t* s, unsigned int c, size_t n);
QEL_API int qel_u16mcmp(const char16_t* a, const char16_t* b, size_t n);
QEL_API char16_t* qel_u16mset(char16_t* dst, unsigned int c, size_t n);
QEL_API char16_t* qel_u16schr(const char16_t* s, unsigned int c);
QEL_API char16_t* qel_u16srchr(const char16_t* s, unsigned int c);
QEL_API char16_t* qel_u16sstr(const char16_t* s, const char16_t* needle);
QEL_API size_t qel_u16sspn(const char16_t* s, const char16_t* set);
QEL_API size_t qel_u16scspn(const char16_t* s, const char16_t* set);
QEL_API char16_t* qel_u16spbrk(const char16_t* s, const char16_t* set);
QEL_API char16_t* qel_u16stok(char16_t* s, const char16_t* delim, char16_t** context);
QEL_API int qel_u16scmp(const char16_t* a, const char16_t* b);
QEL_API int qel_u16sncmp(const char16_t* a, const char16_t* b, size_t n);
QEL_API int qel_u16sBeginsWith(const char16_t* s, const char16_t* prefix);
QEL_API int qel_u16sEndsWith(const char16_t* s, const char16_t* suffix);

/* @utf32-strings@ */
/* UTF-32 string and memory functions: unit-wise twins of the standard
 * library's byte-string and memory functions. Only qel_u32mset validates (null
 * with errno EILSEQ for a value that is no code point). Counts are in units.
 * qel_u32sdup's copy comes from malloc and is released with free;
 * qel_u32sndup's block of n + 1 units comes from qelStrAlloc and is released
 * with qelStrFree. */
QEL_API size_t qel_u32slen(const unsigned int* s);
QEL_API size_t qel_u32snlen(const unsigned int* s, size_t n);
QEL_API unsigned int* qel_u32scpy(unsigned int* dst, const unsigned int* src);
QEL_API unsigned int* qel_u32spcpy(unsigned int* dst, const unsigned int* src);
QEL_API unsigned int* qel_u32sncpy(unsigned int* dst, const unsigned int* src, size_t n);
QEL_API unsigned int* qel_u32spncpy(unsigned int* dst, const unsigned int* src, size_t n);
QEL_API unsigned int* qel_u32scat(unsigned int* dst, const unsigned int* src);
QEL_API unsigned int* qel_u32sncat(unsigned int* dst, const unsigned int* src, size_t n);
QEL_API unsigned int* qel_u32sdup(const unsigned int* s);
QEL_API unsigned int* qel_u32sndup(const unsigned int* s, size_t n);
QEL_API int qel_u32scmp(const unsigned int* a, const unsigned int* b);
QEL_API int qel_u32sncmp(const unsigned int* a, const unsigned int* b, size_t n);
QEL_API unsigned int* qel_u32schr(const unsigned int* s, unsigned int c);
QEL_API unsigned int* qel_u32srchr(const unsigned int* s, unsigned int c);
QEL_API unsigned int* qel_u32sstr(const unsigned int* s, const unsigned int* needle);
QEL_API size_t qel_u32sspn(const unsigned int* s, const unsigned int* set);
QEL_API size_t qel_u32scspn(const unsigned int* s, const unsigned int* set);
QEL_API unsigned int* qel_u32spbrk(const unsigned int* s, const unsigned int* set);
QEL_API unsigned int* qel_u32stok(unsigned int* s, const unsigned int* delim, unsigned int** context);
QEL_API int qel_u32sBeginsWith(const unsigned int* s, const unsigned int* prefix);
QEL_API int qel_u32sEndsWith(const unsigned int* s, const unsigned int* suffix);
QEL_API unsigned int* qel_u32mchr(const unsigned int* s, unsigned int c, size_t n);
QEL_API int qel_u32mcmp(const unsigned int* a, const unsigned int* b, size_t n);
QEL_API unsigned int* qel_u32mcpy(unsigned int* dst, const unsigned int* src, size_t n);
QEL_API unsigned int* qel_u32mmove(unsigned int* dst, const unsigned int* src, size_t n);
QEL_API unsigned int* qel_u32mset(unsigned int* dst, unsigned int c, size_t n);

QEL_END_C

#endif /* QEL_QELCHARS_H */
