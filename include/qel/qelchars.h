// SPDX-License-Identifier: MIT
/**
 * @file qelchars.h
 * @brief The qel_ functions: errno-style conversions of zero-terminated
 * strings, per-character conversions and lengths, and string functions for
 * UTF-8 (char), UTF-16 (char16_t) and UTF-32 (unsigned int).
 *
 * Compiles as C11 and as C++. Failures return -1, (size_t)-1 or null and set
 * errno to EILSEQ (ill-formed input, or a value that is no code point), E2BIG
 * (no room) or ENOMEM (no memory); no function clears errno except the
 * allocating errno-style conversions, which set it on every non-trivial call.
 * Sizes and counts are size_t, in units of the string they describe. UTF-8
 * bytes are read as unsigned. Pointers are not tested for null except where
 * a function's documentation says so. The functions keep no state; errno is
 * per thread.
 */
#ifndef QEL_QELCHARS_H
#define QEL_QELCHARS_H

#include <stddef.h>
#include "qelstr.h"

QEL_BEGIN_C

/* @errno-conversions@ */
/** @defgroup qelutf_errno Errno-style conversions
 * @brief Conversions of zero-terminated strings that report failure through errno.
 *
 * The source ends at its first zero unit; there is no length and no flags
 * word. Embedded control sequences (see qelstr.h) are carried whole, in the
 * standard form on the UTF-8 side.
 *
 * The bounded functions write into @p dst of @p n target units, terminator
 * included. Every stretch of text before the last is converted leaving a
 * unit free; the last may fill the buffer to its end. So a conversion that
 * fits with room to spare is terminated and returns its length; one that
 * fills the buffer exactly returns @p n without a terminator; one that is cut
 * returns @p n, terminated after the last whole character (or after the
 * closed sequence). A sequence that ends exactly at the end of the output is
 * whole when the source ends right after it, and cut otherwise. ENOMEM never
 * occurs and errno is set only for ill-formed input.
 *
 * The allocating functions return a block from qelStrAlloc, released with
 * qelStrFree, and set errno on every call with a non-empty source: 0 on
 * success, EILSEQ with the conversion of what came before the bad character,
 * ENOMEM with an empty string (or null). For a null source (null result) or
 * an empty one (an empty one-unit block) errno is left untouched.
 * @{
 */
/**
 * @brief Converts a zero-terminated UTF-16 string into a UTF-8 buffer of @p n units; errno-style.
 *
 * Embedded control sequences are carried whole; see @ref qelutf_errno for the
 * rules of the family.
 * @param[out] dst  Output buffer, or null to ask for the units needed.
 * @param[in]  src  Zero-terminated UTF-16 source; null counts as empty.
 * @param      n    Size of @p dst in UTF-8 units (bytes), terminator included;
 *                  ignored when @p dst is null.
 * @return The units written before the terminator when all fits with room for
 *         it; @p n when the output was filled exactly (no terminator) or cut
 *         (terminated after the cut); with a null @p dst the units needed,
 *         terminator not counted; 0 for an empty or null source, and for a
 *         non-null @p dst with @p n 0 (nothing written); (size_t)-1 with errno
 *         EILSEQ for ill-formed input, after writing and terminating what came
 *         before it. errno is not touched otherwise.
 */
QEL_API size_t qel_u16stou8s(char* dst, const char16_t* src, size_t n);
/**
 * @brief Converts a zero-terminated UTF-16 string into a UTF-32 buffer of @p n units; errno-style.
 *
 * Embedded control sequences are carried whole; see @ref qelutf_errno for the
 * rules of the family.
 * @param[out] dst  Output buffer, or null to ask for the units needed.
 * @param[in]  src  Zero-terminated UTF-16 source; null counts as empty.
 * @param      n    Size of @p dst in UTF-32 units (32-bit units), terminator included;
 *                  ignored when @p dst is null.
 * @return The units written before the terminator when all fits with room for
 *         it; @p n when the output was filled exactly (no terminator) or cut
 *         (terminated after the cut); with a null @p dst the units needed,
 *         terminator not counted; 0 for an empty or null source, and for a
 *         non-null @p dst with @p n 0 (nothing written); (size_t)-1 with errno
 *         EILSEQ for ill-formed input, after writing and terminating what came
 *         before it. errno is not touched otherwise.
 */
QEL_API size_t qel_u16stou32s(unsigned int* dst, const char16_t* src, size_t n);
/**
 * @brief Converts a zero-terminated UTF-32 string into a UTF-8 buffer of @p n units; errno-style.
 *
 * Embedded control sequences are carried whole; see @ref qelutf_errno for the
 * rules of the family.
 * @param[out] dst  Output buffer, or null to ask for the units needed.
 * @param[in]  src  Zero-terminated UTF-32 source; null counts as empty.
 * @param      n    Size of @p dst in UTF-8 units (bytes), terminator included;
 *                  ignored when @p dst is null.
 * @return The units written before the terminator when all fits with room for
 *         it; @p n when the output was filled exactly (no terminator) or cut
 *         (terminated after the cut); with a null @p dst the units needed,
 *         terminator not counted; 0 for an empty or null source, and for a
 *         non-null @p dst with @p n 0 (nothing written); (size_t)-1 with errno
 *         EILSEQ for ill-formed input, after writing and terminating what came
 *         before it. errno is not touched otherwise.
 */
QEL_API size_t qel_u32stou8s(char* dst, const unsigned int* src, size_t n);
/**
 * @brief Converts a zero-terminated UTF-32 string into a UTF-16 buffer of @p n units; errno-style.
 *
 * Embedded control sequences are carried whole; see @ref qelutf_errno for the
 * rules of the family.
 * @param[out] dst  Output buffer, or null to ask for the units needed.
 * @param[in]  src  Zero-terminated UTF-32 source; null counts as empty.
 * @param      n    Size of @p dst in UTF-16 units (16-bit units), terminator included;
 *                  ignored when @p dst is null.
 * @return The units written before the terminator when all fits with room for
 *         it; @p n when the output was filled exactly (no terminator) or cut
 *         (terminated after the cut); with a null @p dst the units needed,
 *         terminator not counted; 0 for an empty or null source, and for a
 *         non-null @p dst with @p n 0 (nothing written); (size_t)-1 with errno
 *         EILSEQ for ill-formed input, after writing and terminating what came
 *         before it. errno is not touched otherwise.
 */
QEL_API size_t qel_u32stou16s(char16_t* dst, const unsigned int* src, size_t n);
/**
 * @brief Converts a zero-terminated UTF-8 string into a UTF-16 buffer of @p n units; errno-style.
 *
 * Embedded control sequences are carried whole; see @ref qelutf_errno for the
 * rules of the family.
 * A lead byte C2..DF directly followed by 0x02 ends no sequence here (unlike
 * the qelStr family): the bytes go to the converter, which rejects them.
 * @param[out] dst  Output buffer, or null to ask for the units needed.
 * @param[in]  src  Zero-terminated UTF-8 source; null counts as empty.
 * @param      n    Size of @p dst in UTF-16 units (16-bit units), terminator included;
 *                  ignored when @p dst is null.
 * @return The units written before the terminator when all fits with room for
 *         it; @p n when the output was filled exactly (no terminator) or cut
 *         (terminated after the cut); with a null @p dst the units needed,
 *         terminator not counted; 0 for an empty or null source, and for a
 *         non-null @p dst with @p n 0 (nothing written); (size_t)-1 with errno
 *         EILSEQ for ill-formed input, after writing and terminating what came
 *         before it. errno is not touched otherwise.
 */
QEL_API size_t qel_u8stou16s(char16_t* dst, const char* src, size_t n);
/**
 * @brief Converts a zero-terminated UTF-8 string into a UTF-32 buffer of @p n units; errno-style.
 *
 * Embedded control sequences are carried whole; see @ref qelutf_errno for the
 * rules of the family.
 * A lead byte C2..DF directly followed by 0x02 ends no sequence here (unlike
 * the qelStr family): the bytes go to the converter, which rejects them.
 * @param[out] dst  Output buffer, or null to ask for the units needed.
 * @param[in]  src  Zero-terminated UTF-8 source; null counts as empty.
 * @param      n    Size of @p dst in UTF-32 units (32-bit units), terminator included;
 *                  ignored when @p dst is null.
 * @return The units written before the terminator when all fits with room for
 *         it; @p n when the output was filled exactly (no terminator) or cut
 *         (terminated after the cut); with a null @p dst the units needed,
 *         terminator not counted; 0 for an empty or null source, and for a
 *         non-null @p dst with @p n 0 (nothing written); (size_t)-1 with errno
 *         EILSEQ for ill-formed input, after writing and terminating what came
 *         before it. errno is not touched otherwise.
 */
QEL_API size_t qel_u8stou32s(unsigned int* dst, const char* src, size_t n);
/**
 * @brief Converts a zero-terminated UTF-16 string into a newly allocated UTF-8 string; errno-style.
 *
 * See @ref qelutf_errno for the rules of the family.
 * @param[in] src  Zero-terminated UTF-16 source.
 * @return A zero-terminated block from qelStrAlloc, released with qelStrFree:
 *         the whole conversion with errno 0; the conversion of what precedes the
 *         first ill-formed character with errno EILSEQ; an empty string (or null)
 *         with errno ENOMEM when memory ran out. For an empty source, a one-unit
 *         empty string (null if it could not be had) with errno left untouched;
 *         for a null source, null with errno left untouched.
 */
QEL_API char* qel_u16stou8s_alloc(const char16_t* src);
/**
 * @brief Converts a zero-terminated UTF-16 string into a newly allocated UTF-32 string; errno-style.
 *
 * See @ref qelutf_errno for the rules of the family.
 * @param[in] src  Zero-terminated UTF-16 source.
 * @return A zero-terminated block from qelStrAlloc, released with qelStrFree:
 *         the whole conversion with errno 0; the conversion of what precedes the
 *         first ill-formed character with errno EILSEQ; an empty string (or null)
 *         with errno ENOMEM when memory ran out. For an empty source, a one-unit
 *         empty string (null if it could not be had) with errno left untouched;
 *         for a null source, null with errno left untouched.
 */
QEL_API unsigned int* qel_u16stou32s_alloc(const char16_t* src);
/**
 * @brief Converts a zero-terminated UTF-32 string into a newly allocated UTF-8 string; errno-style.
 *
 * See @ref qelutf_errno for the rules of the family.
 * @param[in] src  Zero-terminated UTF-32 source.
 * @return A zero-terminated block from qelStrAlloc, released with qelStrFree:
 *         the whole conversion with errno 0; the conversion of what precedes the
 *         first ill-formed character with errno EILSEQ; an empty string (or null)
 *         with errno ENOMEM when memory ran out. For an empty source, a one-unit
 *         empty string (null if it could not be had) with errno left untouched;
 *         for a null source, null with errno left untouched.
 */
QEL_API char* qel_u32stou8s_alloc(const unsigned int* src);
/**
 * @brief Converts a zero-terminated UTF-32 string into a newly allocated UTF-16 string; errno-style.
 *
 * See @ref qelutf_errno for the rules of the family.
 * @param[in] src  Zero-terminated UTF-32 source.
 * @return A zero-terminated block from qelStrAlloc, released with qelStrFree:
 *         the whole conversion with errno 0; the conversion of what precedes the
 *         first ill-formed character with errno EILSEQ; an empty string (or null)
 *         with errno ENOMEM when memory ran out. For an empty source, a one-unit
 *         empty string (null if it could not be had) with errno left untouched;
 *         for a null source, null with errno left untouched.
 */
QEL_API char16_t* qel_u32stou16s_alloc(const unsigned int* src);
/**
 * @brief Converts a zero-terminated UTF-8 string into a newly allocated UTF-16 string; errno-style.
 *
 * See @ref qelutf_errno for the rules of the family.
 * @param[in] src  Zero-terminated UTF-8 source.
 * @return A zero-terminated block from qelStrAlloc, released with qelStrFree:
 *         the whole conversion with errno 0; the conversion of what precedes the
 *         first ill-formed character with errno EILSEQ; an empty string (or null)
 *         with errno ENOMEM when memory ran out. For an empty source, a one-unit
 *         empty string (null if it could not be had) with errno left untouched;
 *         for a null source, null with errno left untouched.
 */
QEL_API char16_t* qel_u8stou16s_alloc(const char* src);
/**
 * @brief Converts a zero-terminated UTF-8 string into a newly allocated UTF-32 string; errno-style.
 *
 * See @ref qelutf_errno for the rules of the family.
 * @param[in] src  Zero-terminated UTF-8 source.
 * @return A zero-terminated block from qelStrAlloc, released with qelStrFree:
 *         the whole conversion with errno 0; the conversion of what precedes the
 *         first ill-formed character with errno EILSEQ; an empty string (or null)
 *         with errno ENOMEM when memory ran out. For an empty source, a one-unit
 *         empty string (null if it could not be had) with errno left untouched;
 *         for a null source, null with errno left untouched.
 */
QEL_API unsigned int* qel_u8stou32s_alloc(const char* src);

/** @} */

/* @per-character@ */
/** @defgroup qelutf_chars Per-character conversions and lengths
 * @brief One character per call, in the manner of the standard multibyte character functions.
 *
 * The result counts units of the UTF-8 side for pairs with UTF-8 (bytes
 * written or consumed), and UTF-16 units for the UTF-16 and UTF-32 pairs.
 * No terminator is written and nothing is written on failure (-1 with errno
 * EILSEQ or E2BIG). Embedded control sequences get no special treatment. A
 * null destination, where a function allows it, makes the call a length
 * query; elsewhere a null destination returns 0 or must not be passed, as
 * each function states. Where a zero first unit is
 * read from a string source the result is 0 and nothing is written, except
 * as stated for qel_u16tou8n_s and qel_u32sctou32; the functions taking a
 * value treat a zero value like any ASCII value and return 1.
 * @{
 */
/**
 * @brief Encodes one UTF-16 unit (not a surrogate) as UTF-8.
 * @param[out] dst  Room for 3 bytes; null returns 0 and writes nothing.
 * @param      c    The unit; a zero unit is written as the byte 0.
 * @return Bytes written, 1..3; -1 with errno EILSEQ for a surrogate unit.
 */
QEL_API int qel_u16tou8(char* dst, char16_t c);
/**
 * @brief Encodes one UTF-16 unit (not a surrogate) as UTF-8 into @p n bytes of room.
 * @param[out] dst  Output; null returns 0 and writes nothing.
 * @param      c    The unit; a surrogate cannot form a pair here and fails.
 * @param      n    Room in bytes.
 * @return Bytes written, 1..3; -1 with errno E2BIG when the room is too small
 *         (also for ASCII with @p n 0), EILSEQ for a surrogate.
 */
QEL_API int qel_u16tou8n(char* dst, char16_t c, size_t n);
/**
 * @brief Encodes the UTF-16 character at @p src (one unit or a surrogate pair) as UTF-8.
 * @param[out] dst   Output; null returns 0.
 * @param      n     Room in bytes.
 * @param[in]  src   Source units; null returns 0.
 * @param      srcn  Source units available; 0 returns 0. A zero first unit
 *                   is written as the byte 0 and gives 1.
 * @return Bytes written, 1..4; 4 means a pair (two units read), anything else
 *         one unit. -1 with errno EILSEQ for a lone or cut surrogate, E2BIG
 *         when the room is too small.
 */
QEL_API int qel_u16tou8n_s(char* dst, size_t n, const char16_t* src, size_t srcn);
/**
 * @brief Writes the low 8 bits of the first unit of a zero-terminated UTF-16 string as one byte.
 *
 * With room, every unit gives its low byte and 1, also units of 0x80 and
 * above: no multi-byte sequence is ever produced. With room 0 the unit is
 * judged as a character: E2BIG for every valid unit or pair, EILSEQ for a bad
 * surrogate.
 * @param[out] dst  Output; null returns 0.
 * @param      n    Room in bytes.
 * @param[in]  src  Zero-terminated source; null or empty returns 0.
 * @return 1; -1 with errno E2BIG or EILSEQ when @p n is 0.
 */
QEL_API int qel_u16sctou8(char* dst, size_t n, const char16_t* src);
/**
 * @brief Decodes the UTF-16 character at @p src into a code point.
 * @param[out] dst  Receives the code point; null makes the call a length query.
 * @param[in]  src  Source units; null or a zero first unit returns 0.
 * @param      n    Units available; a unit that is no surrogate is decoded
 *                  without looking at it (even with @p n 0).
 * @return Units consumed, 1 or 2; -1 with errno EILSEQ for a lone low
 *         surrogate, or a high surrogate without a low one within @p n units.
 */
QEL_API int qel_u16tou32(unsigned int* dst, const char16_t* src, size_t n);
/**
 * @brief Decodes the first character of a zero-terminated UTF-16 string into a code point.
 * @param[out] dst  Receives the code point; must not be null.
 * @param[in]  src  Zero-terminated source; null or empty returns 0, dst untouched.
 * @return Units consumed, 1 or 2; -1 with errno EILSEQ for a lone or reversed surrogate.
 */
QEL_API int qel_u16sctou32(unsigned int* dst, const char16_t* src);
/**
 * @brief Encodes a code point as UTF-16 into @p n units of room.
 *
 * For values below 0x10000 the room is judged before the value: a surrogate
 * value with room 0 gives E2BIG, with room 1 EILSEQ.
 * @param[out] dst  Output; null returns 0 and writes nothing.
 * @param      c    The code point.
 * @param      n    Room in units.
 * @return Units written, 1 or 2; -1 with errno E2BIG (room too small) or
 *         EILSEQ (a surrogate value, or 0x110000 or more).
 */
QEL_API int qel_u32tou16(char16_t* dst, unsigned int c, size_t n);
/**
 * @brief Encodes a code point as UTF-8.
 * @param[out] dst  Room for 4 bytes; null returns 0 and writes nothing.
 * @param      c    The code point; 0 is written as the byte 0.
 * @return Bytes written, 1..4; -1 with errno EILSEQ for a surrogate value or a
 *         value of 0x110000 or more.
 */
QEL_API int qel_u32tou8(char* dst, unsigned int c);
/**
 * @brief Encodes a code point as UTF-8 into @p n bytes of room.
 * @param[out] dst  Output; null returns 0 and writes nothing.
 * @param      c    The code point.
 * @param      n    Room in bytes.
 * @return Bytes written, 1..4; -1 with errno EILSEQ for a surrogate value or a
 *         value of 0x110000 or more (judged before the room), E2BIG when the
 *         room is too small.
 */
QEL_API int qel_u32tou8n(char* dst, unsigned int c, size_t n);
/**
 * @brief Reads the first unit of a UTF-32 string as a code point.
 * @param[out] dst  Receives the unit, the zero unit too; must not be null.
 * @param[in]  src  Source; null returns 0.
 * @return 1; 0 for a zero unit (stored); -1 with errno EILSEQ for a surrogate
 *         value or a value of 0x110000 or more.
 */
QEL_API int qel_u32sctou32(unsigned int* dst, const unsigned int* src);
/**
 * @brief Decodes the UTF-8 character at @p src into a code point.
 * @param[out] dst  Receives the code point; null makes the call a length query.
 * @param[in]  src  Source bytes; null or a zero first byte returns 0.
 * @param      n    Bytes available; an ASCII byte is decoded without looking at it.
 * @return Bytes consumed, 1..4; -1 with errno EILSEQ for an ill-formed
 *         sequence, including one longer than @p n (there is no separate
 *         result for an incomplete sequence).
 */
QEL_API int qel_u8tou32(unsigned int* dst, const char* src, size_t n);
/**
 * @brief Decodes the first character of a zero-terminated UTF-8 string into a code point.
 * @param[out] dst  Receives the code point; null makes the call a length query.
 * @param[in]  src  Zero-terminated source; null or empty returns 0.
 * @return Bytes consumed, 1..4; -1 with errno EILSEQ for an ill-formed
 *         sequence, including one cut by the terminator.
 */
QEL_API int qel_u8sctou32(unsigned int* dst, const char* src);
/**
 * @brief Decodes the UTF-8 character at @p src into one UTF-16 unit.
 *
 * Equals qel_u8tou16_s with a room of 1 unit: with a destination, a valid
 * four-byte sequence fails with E2BIG; with a null destination it returns 4.
 * @param[out] dst  Receives the unit; null makes the call a length query.
 * @param[in]  src  Source bytes; null or a zero first byte returns 0.
 * @param      n    Bytes available.
 * @return Bytes consumed, 1..4; -1 with errno EILSEQ (ill-formed) or E2BIG.
 */
QEL_API int qel_u8tou16(char16_t* dst, const char* src, size_t n);
/**
 * @brief Decodes the UTF-8 character at @p src into UTF-16 (one unit or a surrogate pair).
 *
 * ASCII and two- or three-byte characters are stored without looking at the
 * room, so a room of 0 still receives one unit; only a surrogate pair is
 * checked against it.
 * @param[out] dst   Output; null makes the call a length query (room 2).
 * @param      dstn  Room in units.
 * @param[in]  src   Source bytes; null or a zero first byte returns 0.
 * @param      n     Bytes available.
 * @return Bytes consumed, 1..4; -1 with errno EILSEQ (ill-formed, or longer
 *         than @p n) or E2BIG (a pair with @p dstn below 2).
 */
QEL_API int qel_u8tou16_s(char16_t* dst, size_t dstn, const char* src, size_t n);
/**
 * @brief Decodes the first character of a zero-terminated UTF-8 string into UTF-16.
 *
 * As qel_u8tou16_s, with the terminator as the only limit: ASCII and two- or
 * three-byte characters are stored even with room 0.
 * @param[out] dst   Output; null makes the call a length query (room 2).
 * @param      dstn  Room in units.
 * @param[in]  src   Zero-terminated source; null or empty returns 0.
 * @return Bytes consumed, 1..4; -1 with errno EILSEQ or E2BIG.
 */
QEL_API int qel_u8sctou16_s(char16_t* dst, size_t dstn, const char* src);
/**
 * @brief The length in bytes of the UTF-8 character at @p s, by the strict rules.
 * @param[in] s  Source; null returns 0.
 * @param     n  Bytes available; 0 returns 0.
 * @return 1..4; 0 for a zero byte; -1 with errno EILSEQ for an ill-formed
 *         sequence or one longer than @p n.
 */
QEL_API int qel_u8clen(const char* s, size_t n);
/**
 * @brief The length in bytes of the first character of a zero-terminated UTF-8 string.
 * @param[in] s  Zero-terminated source; null returns 0.
 * @return 1..4; 0 for the empty string; -1 with errno EILSEQ for an ill-formed
 *         sequence (a zero byte inside one included).
 */
QEL_API int qel_u8sclen(const char* s);
/**
 * @brief A tolerant step length for UTF-8: never fails, never reads past a byte below 0x80.
 *
 * Bytes are classed by their top bits only, with no range, overlong or
 * surrogate checks: a byte below 0x80 (the zero byte too) or a following byte
 * below 0x80 gives 1; a lead byte C0..DF gives 2, E0..EF 2 or 3, F0..FF 2 to 4
 * as far as continuation bytes follow; a stray continuation byte steps over
 * up to three bytes (80 80 80 gives 3, 80 C3 gives 1, F8 80 80 80 gives 4).
 * @param[in] s  Source; must not be null.
 * @return 1..4.
 */
QEL_API int qel_u8mbclen(const char* s);
/**
 * @brief The length in units of the UTF-16 character at @p s.
 * @param[in] s  Source; null returns 0.
 * @param     n  Units available; 0 returns 0.
 * @return 1 or 2; 0 for a zero unit; -1 with errno EILSEQ for a lone low
 *         surrogate or a high surrogate without a low one within @p n units.
 */
QEL_API int qel_u16clen(const char16_t* s, size_t n);
/**
 * @brief The length in units of the first character of a zero-terminated UTF-16 string.
 * @param[in] s  Zero-terminated source; null returns 0.
 * @return 1 or 2; 0 for the empty string; -1 with errno EILSEQ for a lone or reversed surrogate.
 */
QEL_API int qel_u16sclen(const char16_t* s);
/**
 * @brief The length in units of the UTF-32 character at @p s: 1 for a valid unit.
 * @param[in] s  Source; null returns 0.
 * @param     n  Units available; 0 returns 0.
 * @return 1; 0 for a zero unit; -1 with errno EILSEQ for a surrogate value or a
 *         value of 0x110000 or more.
 */
QEL_API int qel_u32clen(const unsigned int* s, size_t n);
/**
 * @brief The length in units of the first character of a zero-terminated UTF-32 string.
 * @param[in] s  Zero-terminated source; null returns 0.
 * @return 1; 0 for the empty string; -1 with errno EILSEQ for an invalid unit.
 */
QEL_API int qel_u32sclen(const unsigned int* s);

/** @} */

/* @utf8-strings@ */
/** @defgroup qelutf_u8str UTF-8 string functions
 * @brief Search, span, break, tokenise and affix tests on zero-terminated UTF-8 strings.
 *
 * Offsets and lengths are in bytes. A character to search for is a code
 * point, searched as its UTF-8 bytes; sets are read as UTF-8 characters.
 * Ill-formed text sets errno EILSEQ with the defined results given per
 * function. Bytes 0x01 and 0x02 are ordinary characters. Nothing allocates.
 * @{
 */
/**
 * @brief Finds the first occurrence of a code point in a zero-terminated UTF-8 string.
 *
 * Below 0x80 a plain byte search (0 finds the terminator). Otherwise the
 * character's UTF-8 bytes are searched at every byte offset: on well-formed
 * text a match can only start at a character boundary.
 * @param[in] s  Zero-terminated string; must not be null.
 * @param     c  The code point.
 * @return Pointer into @p s, or null. An empty @p s gives null for any
 *         c >= 0x80 without judging it; otherwise a surrogate value or a value
 *         of 0x110000 or more gives null with errno EILSEQ.
 */
QEL_API char* qel_u8schr(const char* s, unsigned int c);
/**
 * @brief Finds the last occurrence of a code point in a zero-terminated UTF-8 string.
 *
 * As qel_u8schr, keeping the last match (0 finds the terminator).
 * @param[in] s  Zero-terminated string; must not be null.
 * @param     c  The code point.
 * @return Pointer into @p s, or null; null with errno EILSEQ for an invalid
 *         @p c when @p s is not empty.
 */
QEL_API char* qel_u8srchr(const char* s, unsigned int c);
/**
 * @brief Finds the first occurrence of a byte string in a zero-terminated UTF-8 string.
 *
 * A byte-wise search without validation. A one-byte needle is searched with
 * qel_u8schr after widening the byte as a signed char, so a lone byte 80..FF
 * is never found: null with errno EILSEQ (without errno when @p s is empty).
 * @param[in] s       Zero-terminated string; must not be null.
 * @param[in] needle  Zero-terminated needle; null or empty returns @p s.
 * @return Pointer into @p s, or null.
 */
QEL_API char* qel_u8sstr(const char* s, const char* needle);
/**
 * @brief The length in bytes of the head of @p s made only of characters of @p set.
 *
 * The set is read as UTF-8 characters; a character of @p s is in it when its
 * bytes occur in the set. A set of one character is matched byte for byte
 * without decoding @p s. Otherwise @p s is decoded character by character: an
 * ill-formed sequence sets errno EILSEQ and ends the call as stated below. An
 * ill-formed first character of the set sets errno EILSEQ and the call goes on
 * with the set read as several characters.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set; null or empty gives 0.
 * @return Bytes; the whole byte length of @p s when ill-formed text is met.
 */
QEL_API size_t qel_u8sspn(const char* s, const char* set);
/**
 * @brief The length in bytes of the head of @p s made only of characters not in @p set.
 *
 * The set is read as UTF-8 characters; a character of @p s is in it when its
 * bytes occur in the set. A set of one character is matched byte for byte
 * without decoding @p s. Otherwise @p s is decoded character by character: an
 * ill-formed sequence sets errno EILSEQ and ends the call as stated below. An
 * ill-formed first character of the set sets errno EILSEQ and the call goes on
 * with the set read as several characters.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set; null or empty gives the byte length of @p s.
 * @return Bytes; the whole byte length of @p s when ill-formed text is met.
 */
QEL_API size_t qel_u8scspn(const char* s, const char* set);
/**
 * @brief Finds the first character of @p s that is in @p set.
 *
 * The set is read as UTF-8 characters; a character of @p s is in it when its
 * bytes occur in the set. A set of one character is matched byte for byte
 * without decoding @p s. Otherwise @p s is decoded character by character: an
 * ill-formed sequence sets errno EILSEQ and ends the call as stated below. An
 * ill-formed first character of the set sets errno EILSEQ and the call goes on
 * with the set read as several characters.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set; null or empty gives null.
 * @return Pointer into @p s, or null (also when ill-formed text is met).
 */
QEL_API char* qel_u8spbrk(const char* s, const char* set);
/**
 * @brief Splits a UTF-8 string into tokens at delimiter characters; reentrant.
 *
 * Skips leading delimiters, then ends the token at the next delimiter by
 * writing 0 over its first byte; the other bytes of a multi-byte delimiter stay
 * behind the new terminator and are skipped by the next call. With one
 * delimiter character the text is never decoded, so ill-formed text is split
 * by bytes without error. With several, ill-formed text met while skipping
 * delimiters ends the tokenizing (null, errno EILSEQ), and ill-formed text in a
 * token makes it run to the end of the string (errno EILSEQ).
 * @param[in,out] s        The string to split, modified in place; null continues
 *                         from @p context.
 * @param[in]     delim    Zero-terminated set of delimiter characters.
 * @param[in,out] context  The caller's position; set to null when no tokens are left.
 * @return The next token, or null when there is none.
 */
QEL_API char* qel_u8stok(char* s, const char* delim, char** context);
/**
 * @brief Tests whether @p s begins with the bytes of @p prefix.
 * @param[in] s       Zero-terminated string; must not be null.
 * @param[in] prefix  Zero-terminated prefix; must not be null. Empty gives 1.
 * @return 1 or 0. Bytes are compared, nothing is decoded.
 */
QEL_API int qel_u8sBeginsWith(const char* s, const char* prefix);
/**
 * @brief Tests whether @p s ends with the bytes of @p suffix.
 *
 * Bytes are compared without decoding, so a suffix may match the tail of a
 * multi-byte character (C3 A9 ends with A9).
 * @param[in] s       Zero-terminated string; must not be null.
 * @param[in] suffix  Zero-terminated suffix; must not be null. Empty gives 1.
 * @return 1 or 0; 0 when @p suffix is longer than @p s.
 */
QEL_API int qel_u8sEndsWith(const char* s, const char* suffix);

/** @} */

/* @utf16-strings@ */
/** @defgroup qelutf_u16str UTF-16 string functions
 * @brief Search, span, break, tokenise, compare and fill functions on UTF-16 text.
 *
 * Counts are in units. A code point above U+FFFF is searched as its surrogate
 * pair; a code point of 0x110000 or more is never found and sets no errno
 * (unlike the UTF-8 functions). Sets are read as whole characters.
 * Comparisons order by code point: a surrogate unit sorts after every other
 * unit. Malformed text met while decoding sets errno EILSEQ. Nothing allocates.
 * @{
 */
/**
 * @brief Finds the first occurrence of a code point in a block of @p n UTF-16 units.
 *
 * Above U+FFFF the surrogate pair is searched at positions 0 to n - 2. A value
 * below 0x10000, a surrogate included, is searched as a plain unit.
 * @param[in] s  The block; must not be null.
 * @param     c  The code point.
 * @param     n  Units in the block.
 * @return Pointer into @p s, or null (also for c >= 0x110000 or a pair with
 *         @p n below 2); errno is never set.
 */
QEL_API char16_t* qel_u16mchr(const char16_t* s, unsigned int c, size_t n);
/**
 * @brief Compares two blocks of @p n UTF-16 units in code-point order.
 * @param[in] a  First block.
 * @param[in] b  Second block.
 * @param     n  Units to compare; 0 gives 0.
 * @return 0 when equal; at the first differing units x and y: +1 when only x is
 *         a surrogate, -1 when only y is one, else x - y. So a character above
 *         U+FFFF sorts after U+E000..U+FFFF. Not limited to -1, 0, +1.
 */
QEL_API int qel_u16mcmp(const char16_t* a, const char16_t* b, size_t n);
/**
 * @brief Fills @p n UTF-16 units with one code point of the basic plane.
 * @param[out] dst  The block.
 * @param      c    The value; must be below 0xD800 or in 0xE000..0xFFFF. A code
 *                  point above U+FFFF is never written as repeated pairs.
 * @param      n    Units to fill; 0 returns @p dst without looking at @p c.
 * @return @p dst; null with errno EILSEQ and nothing written for any other @p c.
 */
QEL_API char16_t* qel_u16mset(char16_t* dst, unsigned int c, size_t n);
/**
 * @brief Finds the first occurrence of a code point in a zero-terminated UTF-16 string.
 *
 * Below 0x10000 a plain unit search (0 finds the terminator; a surrogate value
 * is searched as a unit, not an error). Above, the surrogate pair is searched.
 * @param[in] s  Zero-terminated string; null gives null.
 * @param     c  The code point.
 * @return Pointer into @p s, or null; null without errno for c >= 0x110000.
 */
QEL_API char16_t* qel_u16schr(const char16_t* s, unsigned int c);
/**
 * @brief Finds the last occurrence of a code point in a zero-terminated UTF-16 string.
 * @param[in] s  Zero-terminated string; null gives null.
 * @param     c  The code point; as for qel_u16schr.
 * @return Pointer into @p s, or null; null without errno for c >= 0x110000.
 */
QEL_API char16_t* qel_u16srchr(const char16_t* s, unsigned int c);
/**
 * @brief Finds the first occurrence of a unit string in a zero-terminated UTF-16 string.
 *
 * A unit-wise search without validation; a one-unit needle is searched with
 * qel_u16schr, so a lone surrogate unit is found as a plain unit.
 * @param[in] s       Zero-terminated string.
 * @param[in] needle  Zero-terminated needle; null or empty returns @p s.
 * @return Pointer into @p s, or null.
 */
QEL_API char16_t* qel_u16sstr(const char16_t* s, const char16_t* needle);
/**
 * @brief The length in units of the head of @p s made only of characters of @p set.
 *
 * The set is read as whole characters (one unit or a surrogate pair). A set of
 * one character is matched unit for unit without decoding @p s; otherwise
 * @p s is decoded, and a lone or reversed surrogate sets errno EILSEQ and ends
 * the call as stated below. A malformed first character of the set sets errno
 * EILSEQ and the call goes on with the set read as several characters.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set; null or empty gives 0.
 * @return Units; the whole unit length of @p s when a malformed character is met.
 */
QEL_API size_t qel_u16sspn(const char16_t* s, const char16_t* set);
/**
 * @brief The length in units of the head of @p s made only of characters not in @p set.
 *
 * The set is read as whole characters (one unit or a surrogate pair). A set of
 * one character is matched unit for unit without decoding @p s; otherwise
 * @p s is decoded, and a lone or reversed surrogate sets errno EILSEQ and ends
 * the call as stated below. A malformed first character of the set sets errno
 * EILSEQ and the call goes on with the set read as several characters.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set; null or empty gives the unit length of @p s.
 * @return Units; the whole unit length of @p s when a malformed character is met.
 */
QEL_API size_t qel_u16scspn(const char16_t* s, const char16_t* set);
/**
 * @brief Finds the first character of @p s that is in @p set.
 *
 * The set is read as whole characters (one unit or a surrogate pair). A set of
 * one character is matched unit for unit without decoding @p s; otherwise
 * @p s is decoded, and a lone or reversed surrogate sets errno EILSEQ and ends
 * the call as stated below. A malformed first character of the set sets errno
 * EILSEQ and the call goes on with the set read as several characters.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set; null or empty gives null.
 * @return Pointer into @p s, or null (also when a malformed character is met).
 */
QEL_API char16_t* qel_u16spbrk(const char16_t* s, const char16_t* set);
/**
 * @brief Splits a UTF-16 string into tokens at delimiter characters; reentrant.
 *
 * Skips leading delimiters, then ends the token by writing 0 over the first
 * unit of the next delimiter (only the high unit of a pair). With one delimiter
 * character the text is never decoded. With several, a malformed character met
 * while skipping delimiters ends the tokenizing (null, errno EILSEQ), and one
 * in a token makes it run to the end of the string.
 * @param[in,out] s        The string to split, modified in place; null continues
 *                         from @p context.
 * @param[in]     delim    Zero-terminated set of delimiter characters.
 * @param[in,out] context  The caller's position; set to null when no tokens are left.
 * @return The next token, or null when there is none.
 */
QEL_API char16_t* qel_u16stok(char16_t* s, const char16_t* delim, char16_t** context);
/**
 * @brief Compares two zero-terminated UTF-16 strings in code-point order.
 * @param[in] a  First string.
 * @param[in] b  Second string.
 * @return 0 when equal; at the first differing units x and y: +1 when only x is
 *         a surrogate, -1 when only y is one, else x - y (U+FFFD against U+1F600
 *         gives -1; "ab" against "a" gives 0x62). Not limited to -1, 0, +1.
 */
QEL_API int qel_u16scmp(const char16_t* a, const char16_t* b);
/**
 * @brief Compares at most @p n units of two zero-terminated UTF-16 strings in code-point order.
 *
 * Stops at the first differing units, at the terminator of @p a, or after
 * @p n units; a surrogate pair cut by @p n is compared by its first unit.
 * @param[in] a  First string.
 * @param[in] b  Second string.
 * @param     n  Most units to compare; 0 gives 0 whatever the strings.
 * @return As qel_u16scmp.
 */
QEL_API int qel_u16sncmp(const char16_t* a, const char16_t* b, size_t n);
/**
 * @brief Tests whether @p s begins with the units of @p prefix.
 * @param[in] s       Zero-terminated string.
 * @param[in] prefix  Zero-terminated prefix; empty gives 1.
 * @return 1 or 0. Units are compared without validation; no null test.
 */
QEL_API int qel_u16sBeginsWith(const char16_t* s, const char16_t* prefix);
/**
 * @brief Tests whether @p s ends with the units of @p suffix.
 *
 * Units are compared without validation, so a lone low surrogate matches the
 * second half of a pair.
 * @param[in] s       Zero-terminated string.
 * @param[in] suffix  Zero-terminated suffix; empty gives 1.
 * @return 1 or 0; 0 when @p suffix is longer than @p s.
 */
QEL_API int qel_u16sEndsWith(const char16_t* s, const char16_t* suffix);

/** @} */

/* @utf32-strings@ */
/** @defgroup qelutf_u32str UTF-32 string and memory functions
 * @brief Unit-wise twins of the standard string and memory functions for UTF-32.
 *
 * Every unit is a whole character, so nothing is decoded or validated except
 * by qel_u32mset: surrogate values and values of 0x110000 or more are
 * searched, copied and compared like any other. Counts are in units. The two
 * duplicating functions allocate from different places: qel_u32sdup from
 * malloc (released with free), qel_u32sndup from qelStrAlloc (released with
 * qelStrFree).
 * @{
 */
/**
 * @brief The units before the terminator of a UTF-32 string.
 * @param[in] s  Zero-terminated string.
 * @return Units.
 */
QEL_API size_t qel_u32slen(const unsigned int* s);
/**
 * @brief The units before the terminator of a UTF-32 string, at most @p n.
 * @param[in] s  String; read at most @p n units.
 * @param     n  Most units to count.
 * @return Units.
 */
QEL_API size_t qel_u32snlen(const unsigned int* s, size_t n);
/**
 * @brief Copies a UTF-32 string with its terminator.
 * @param[out] dst  Destination, large enough.
 * @param[in]  src  Zero-terminated source.
 * @return @p dst.
 */
QEL_API unsigned int* qel_u32scpy(unsigned int* dst, const unsigned int* src);
/**
 * @brief Copies a UTF-32 string with its terminator.
 * @param[out] dst  Destination, large enough.
 * @param[in]  src  Zero-terminated source.
 * @return Pointer to the terminator written in @p dst.
 */
QEL_API unsigned int* qel_u32spcpy(unsigned int* dst, const unsigned int* src);
/**
 * @brief Copies at most @p n units of a UTF-32 string, padding with zeros.
 *
 * When @p src ends first the rest of the @p n units is filled with zeros; when
 * it has @p n units or more no terminator is written.
 * @param[out] dst  Destination of @p n units.
 * @param[in]  src  Zero-terminated source.
 * @param      n    Units to write.
 * @return @p dst.
 */
QEL_API unsigned int* qel_u32sncpy(unsigned int* dst, const unsigned int* src, size_t n);
/**
 * @brief Copies at most @p n units of a UTF-32 string, padding with zeros.
 * @param[out] dst  Destination of @p n units.
 * @param[in]  src  Zero-terminated source.
 * @param      n    Units to write; 0 returns @p dst.
 * @return Pointer to the first zero unit written, or dst + n when @p src filled all @p n units.
 */
QEL_API unsigned int* qel_u32spncpy(unsigned int* dst, const unsigned int* src, size_t n);
/**
 * @brief Appends a UTF-32 string to another.
 * @param[in,out] dst  Zero-terminated destination with room for both.
 * @param[in]     src  Zero-terminated source.
 * @return @p dst.
 */
QEL_API unsigned int* qel_u32scat(unsigned int* dst, const unsigned int* src);
/**
 * @brief Appends at most @p n units of a UTF-32 string, always terminating.
 * @param[in,out] dst  Zero-terminated destination with room for the result.
 * @param[in]     src  Zero-terminated source.
 * @param         n    Most units to append; 0 leaves @p dst unchanged.
 * @return @p dst.
 */
QEL_API unsigned int* qel_u32sncat(unsigned int* dst, const unsigned int* src, size_t n);
/**
 * @brief Duplicates a UTF-32 string into memory from malloc.
 *
 * The one result of the library that is released with free, not qelStrFree.
 * @param[in] s  Zero-terminated string.
 * @return The copy, or null when malloc fails (errno as malloc leaves it).
 */
QEL_API unsigned int* qel_u32sdup(const unsigned int* s);
/**
 * @brief Duplicates at most @p n units of a UTF-32 string into a block from qelStrAlloc.
 *
 * The block always holds n + 1 units, whatever the length of @p s: the units
 * up to the terminator or @p n, zeros after them, and a zero at unit @p n. It
 * is released with qelStrFree.
 * @param[in] s  String; read up to its terminator or @p n units.
 * @param     n  Units to keep; 0 gives a one-unit empty string.
 * @return The block, or null when the provider fails.
 */
QEL_API unsigned int* qel_u32sndup(const unsigned int* s, size_t n);
/**
 * @brief Compares two UTF-32 strings unit by unit.
 * @param[in] a  First string.
 * @param[in] b  Second string.
 * @return a[i] - b[i] at the first differing unit or at the terminator of @p a,
 *         a 32-bit wrap-around difference read as int (0x10FFFF against 0x41
 *         gives 0x10FFBE).
 */
QEL_API int qel_u32scmp(const unsigned int* a, const unsigned int* b);
/**
 * @brief Compares at most @p n units of two UTF-32 strings.
 * @param[in] a  First string.
 * @param[in] b  Second string.
 * @param     n  Most units to compare; 0 gives 0.
 * @return As qel_u32scmp.
 */
QEL_API int qel_u32sncmp(const unsigned int* a, const unsigned int* b, size_t n);
/**
 * @brief Finds the first occurrence of a unit in a UTF-32 string; any value, nothing validated.
 * @param[in] s  Zero-terminated string; null gives null.
 * @param     c  The unit; 0 finds the terminator.
 * @return Pointer into @p s, or null.
 */
QEL_API unsigned int* qel_u32schr(const unsigned int* s, unsigned int c);
/**
 * @brief Finds the last occurrence of a unit in a UTF-32 string.
 * @param[in] s  Zero-terminated string; null gives null.
 * @param     c  The unit; 0 finds the terminator.
 * @return Pointer into @p s, or null.
 */
QEL_API unsigned int* qel_u32srchr(const unsigned int* s, unsigned int c);
/**
 * @brief Finds the first occurrence of a unit string in a UTF-32 string.
 * @param[in] s       Zero-terminated string.
 * @param[in] needle  Zero-terminated needle; null or empty returns @p s.
 * @return Pointer into @p s, or null.
 */
QEL_API unsigned int* qel_u32sstr(const unsigned int* s, const unsigned int* needle);
/**
 * @brief The length of the head of @p s made only of units of @p set.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set of units; null or empty gives 0.
 * @return Units.
 */
QEL_API size_t qel_u32sspn(const unsigned int* s, const unsigned int* set);
/**
 * @brief The length of the head of @p s made only of units not in @p set.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set of units; null or empty gives the length of @p s.
 * @return Units.
 */
QEL_API size_t qel_u32scspn(const unsigned int* s, const unsigned int* set);
/**
 * @brief Finds the first unit of @p s that is in @p set.
 * @param[in] s    Zero-terminated string.
 * @param[in] set  Zero-terminated set of units; null or empty gives null.
 * @return Pointer into @p s, or null.
 */
QEL_API unsigned int* qel_u32spbrk(const unsigned int* s, const unsigned int* set);
/**
 * @brief Splits a UTF-32 string into tokens at delimiter units; reentrant.
 * @param[in,out] s        The string to split, modified in place; null continues
 *                         from @p context.
 * @param[in]     delim    Zero-terminated set of delimiter units.
 * @param[in,out] context  The caller's position; set to null when no tokens are
 *                         left (left as it is when both @p s and it are null).
 * @return The next token, or null when there is none.
 */
QEL_API unsigned int* qel_u32stok(unsigned int* s, const unsigned int* delim, unsigned int** context);
/**
 * @brief Tests whether @p s begins with the units of @p prefix.
 * @param[in] s       Zero-terminated string.
 * @param[in] prefix  Zero-terminated prefix; empty gives 1.
 * @return 1 or 0.
 */
QEL_API int qel_u32sBeginsWith(const unsigned int* s, const unsigned int* prefix);
/**
 * @brief Tests whether @p s ends with the units of @p suffix.
 * @param[in] s       Zero-terminated string.
 * @param[in] suffix  Zero-terminated suffix; empty gives 1.
 * @return 1 or 0; 0 when @p suffix is longer than @p s.
 */
QEL_API int qel_u32sEndsWith(const unsigned int* s, const unsigned int* suffix);
/**
 * @brief Finds the first occurrence of a unit in a block of @p n UTF-32 units.
 * @param[in] s  The block.
 * @param     c  The unit.
 * @param     n  Units in the block; 0 gives null.
 * @return Pointer into @p s, or null.
 */
QEL_API unsigned int* qel_u32mchr(const unsigned int* s, unsigned int c, size_t n);
/**
 * @brief Compares two blocks of @p n UTF-32 units.
 * @param[in] a  First block.
 * @param[in] b  Second block.
 * @param     n  Units to compare; 0 gives 0.
 * @return a[i] - b[i] at the first differing unit, read as int; 0 when equal.
 */
QEL_API int qel_u32mcmp(const unsigned int* a, const unsigned int* b, size_t n);
/**
 * @brief Copies @p n UTF-32 units between blocks that do not overlap.
 * @param[out] dst  Destination.
 * @param[in]  src  Source.
 * @param      n    Units.
 * @return @p dst.
 */
QEL_API unsigned int* qel_u32mcpy(unsigned int* dst, const unsigned int* src, size_t n);
/**
 * @brief Copies @p n UTF-32 units between blocks that may overlap.
 * @param[out] dst  Destination.
 * @param[in]  src  Source.
 * @param      n    Units.
 * @return @p dst.
 */
QEL_API unsigned int* qel_u32mmove(unsigned int* dst, const unsigned int* src, size_t n);
/**
 * @brief Fills @p n UTF-32 units with one code point; the one UTF-32 function that validates.
 * @param[out] dst  The block.
 * @param      c    The code point.
 * @param      n    Units to fill; 0 returns @p dst without looking at @p c.
 * @return @p dst; null with errno EILSEQ and nothing written for a surrogate
 *         value or a value of 0x110000 or more.
 */
QEL_API unsigned int* qel_u32mset(unsigned int* dst, unsigned int c, size_t n);

/** @} */

QEL_END_C

#endif 