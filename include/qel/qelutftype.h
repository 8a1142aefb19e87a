// SPDX-License-Identifier: MIT
/**
 * @file qelutftype.h
 * @brief Encoding types and byte-order marks.
 *
 * Compiles as C11 and as C++. The functions look at raw bytes only: they
 * neither convert nor validate the text behind a mark, set no errno and keep
 * no state. Lengths are in bytes.
 */
#ifndef QEL_QELUTFTYPE_H
#define QEL_QELUTFTYPE_H

#include <stddef.h>
#include "qelstr.h"

QEL_BEGIN_C

/** @defgroup qelutf_bom Encoding types and byte-order marks
 * @brief Recognising and writing the mark at the head of a text buffer.
 * @{
 */

/** Encoding of a text buffer: one of the qelUtfType... values. */
typedef int qelUtfType;
/** The values of qelUtfType; the numbers are part of the interface. */
enum {
    qelUtfTypeNone = 0,     /**< No mark recognised; unknown encoding. */
    qelUtfTypeUtf8 = 1,     /**< UTF-8, mark EF BB BF. */
    qelUtfTypeUtf16LE = 2,  /**< UTF-16 little-endian, mark FF FE. */
    qelUtfTypeUtf16BE = 3,  /**< UTF-16 big-endian, mark FE FF. */
    qelUtfTypeUtf32LE = 4,  /**< UTF-32 little-endian, mark FF FE 00 00. */
    qelUtfTypeUtf32BE = 5   /**< UTF-32 big-endian, mark 00 00 FE FF. */
};

/**
 * @brief Recognises the byte-order mark at the head of @p buf.
 *
 * FF FE 00 00 is UTF-32 little-endian whenever four bytes are available,
 * although it could also be a UTF-16 little-endian mark before U+0000; with
 * two or three bytes available FF FE is UTF-16 little-endian. A typical
 * caller presets the type to qelUtfTypeNone, skips the returned number of
 * bytes and converts the rest.
 * @param[out] type  Receives the type when a mark is found; left as it was
 *                   otherwise. Must not be null.
 * @param[in]  buf   The head of the buffer; must not be null.
 * @param      len   Bytes available in @p buf; below 2 there is no mark.
 * @return The mark's length in bytes (2, 3 or 4), or 0 when there is none.
 */
QEL_API unsigned int qelUtfTypeFromBOM(qelUtfType* type, const unsigned char* buf, size_t len);

/**
 * @brief Writes the byte-order mark of @p type into @p buf, without a terminator.
 * @param[out] buf   Destination; null writes nothing and returns 0.
 * @param      size  Room in bytes; a room smaller than the mark writes nothing.
 * @param      type  qelUtfTypeUtf8 .. qelUtfTypeUtf32BE; any other value
 *                   (qelUtfTypeNone and negative values too) writes nothing.
 * @return The bytes written (2, 3 or 4), or 0.
 */
QEL_API unsigned int qelUtfTypeToBOM(void* buf, size_t size, qelUtfType type);

/**
 * @brief The encoding of the library's wide (UTF-16) strings.
 * @return Always qelUtfTypeUtf16LE (2).
 */
QEL_API unsigned int qelUtfTypeUsedAsWide(void);

/** @} */

QEL_END_C

#endif /* QEL_QELUTFTYPE_H */
