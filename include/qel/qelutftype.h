/*
 * qelutftype.h - encoding types and byte-order marks.
 * Compiles as C11 and as C++.
 */
#ifndef QEL_QELUTFTYPE_H
#define QEL_QELUTFTYPE_H

#include <stddef.h>
#include "qelstr.h"

QEL_BEGIN_C

/* Encoding of a text buffer; the numbers are part of the interface. */
typedef int qelUtfType;
enum {
    qelUtfTypeNone = 0,     /* no mark recognised / unknown */
    qelUtfTypeUtf8 = 1,     /* EF BB BF */
    qelUtfTypeUtf16LE = 2,  /* FF FE */
    qelUtfTypeUtf16BE = 3,  /* FE FF */
    qelUtfTypeUtf32LE = 4,  /* FF FE 00 00 */
    qelUtfTypeUtf32BE = 5   /* 00 00 FE FF */
};

/* Recognises the byte-order mark at the head of buf (len bytes available).
 * Returns its length in bytes (2, 3 or 4) and sets *type, or returns 0 and
 * leaves *type as it was. */
QEL_API unsigned int qelUtfTypeFromBOM(qelUtfType* type, const unsigned char* buf, size_t len);

/* Writes the mark of type into buf (size bytes of room). Returns the bytes
 * written (2, 3 or 4), or 0 when buf is null, type is unknown or the room is
 * too small. */
QEL_API unsigned int qelUtfTypeToBOM(void* buf, size_t size, qelUtfType type);

/* The type of the library's wide (UTF-16) strings: always qelUtfTypeUtf16LE. */
QEL_API unsigned int qelUtfTypeUsedAsWide(void);

QEL_END_C

#endif /* QEL_QELUTFTYPE_H */
