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

/* @per-character@ */

/* @utf8-strings@ */

/* @utf16-strings@ */

/* @utf32-strings@ */

QEL_END_C

#endif /* QEL_QELCHARS_H */
