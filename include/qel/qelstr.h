// SPDX-License-Identifier: MIT
/**
 * @mainpage qelutf
 *
 * A strict Unicode text library with a C interface: conversions between
 * UTF-8, UTF-16 and UTF-32, string functions for each encoding and
 * byte-order marks. Only well-formed text is accepted; the first ill-formed
 * character ends a conversion, and what came before it is delivered.
 *
 * - qelstr.h: @ref qelutf_status, @ref qelutf_bounded, @ref qelutf_alloc,
 *   @ref qelutf_repair, @ref qelutf_provider; embedded control sequences.
 * - qelchars.h: @ref qelutf_errno, @ref qelutf_chars, @ref qelutf_u8str,
 *   @ref qelutf_u16str, @ref qelutf_u32str.
 * - qelutftype.h: @ref qelutf_bom.
 * - qelcore.h (C++): the exported conversion cores and qelChrXBuf.
 * - qelutf.hpp (C++17): conversions between the standard string types.
 * - qelversion.h: the version.
 *
 * Link with -lqelutf -lqelstrmem (pkg-config qelutf, or find_package(qelutf)
 * with the targets qelutf::qelutf and qelutf::qelstrmem).
 */
/**
 * @file qelstr.h
 * @brief The qelStr family: status codes, flags, bounded and allocating
 * conversions between UTF-8, UTF-16 and UTF-32, the UTF-16 copies, the UTF-8
 * surrogate repair, and the string memory provider that the library imports.
 *
 * Compiles as C11 and as C++. UTF-8 text is char (every byte read as
 * unsigned), UTF-16 text is char16_t, UTF-32 text is unsigned int, all in
 * machine byte order. Sizes, lengths and counts are in units of the string
 * they describe: bytes for UTF-8, 16-bit units for UTF-16, 32-bit units for
 * UTF-32. A zero unit ends a string in every encoding.
 *
 * Validation is strict: only well-formed UTF-8, UTF-16 and UTF-32 and the
 * code points U+0000..U+D7FF and U+E000..U+10FFFF are accepted (no overlong
 * or surrogate UTF-8, no lone surrogate, nothing above U+10FFFF). Nothing is
 * replaced or skipped; the first ill-formed character ends a conversion.
 * Noncharacters, U+FEFF and U+FFFD are ordinary characters.
 *
 * @par Embedded control sequences
 * A unit 0x01, then 0 to 17 content characters with values 0x20..0x9F, then a
 * unit 0x02 form one embedded control sequence. Every whole-string copy and
 * conversion carries it over as one indivisible piece: it is never split,
 * only written whole, closed early with its 0x02, or dropped. In UTF-16 and
 * UTF-32 a content character is one unit. On the UTF-8 side the standard
 * form writes content 0x80..0x9F as the two bytes C2 80..C2 9F; the raw form
 * (qelStrFlagRawSequences) writes each as one raw byte 0x80..0x9F, which is
 * not valid UTF-8. A 0x01 that starts no valid sequence is an ordinary
 * character, as is every 0x02 outside one.
 * - In standard-form UTF-8 input to the qelStr functions, a lead byte C2..DF
 *   directly followed by 0x02 still closes a sequence, and the two bytes
 *   become one unit ((lead & 0x1F) << 6 | 0x82): 01 41 C2 02 converts to
 *   UTF-16 as 0001 0041 0082, without an end unit.
 * - In standard-form UTF-8 input, bytes 80..9F that are not part of a C2 form
 *   end the scan: 01 41 85 02 is no sequence, and the 0x85 makes the
 *   conversion fail with qelStrBadInput.
 *
 * @par Cut sequences
 * A sequence counts as cut when the output fills before it is complete, and
 * also when its last unit lands on the buffer's last unit, with or without a
 * terminator. A cut sequence ends the call with qelStrTruncated: with
 * qelStrFlagFullLength it is dropped whole; otherwise, when at least 4 of its
 * units were written it is closed by writing 0x02 two places before the
 * write position (keeping all but its last two units), else dropped. In
 * standard UTF-8 output bytes are counted, a lone lead byte is removed, and
 * whole characters are removed until two or three bytes are free; a sequence
 * left with its 0x01 alone is dropped. A closed sequence keeps at least one
 * content character.
 */
#ifndef QEL_QELSTR_H
#define QEL_QELSTR_H

#include <stddef.h>

#ifdef __cplusplus
/** Declares one name with C linkage (empty in C). */
#define QEL_EXTERN_C extern "C"
/** Opens a block of C-linkage declarations (empty in C). */
#define QEL_BEGIN_C extern "C" {
/** Closes a block opened by QEL_BEGIN_C (empty in C). */
#define QEL_END_C }
#else
#include <uchar.h>
#define QEL_EXTERN_C
#define QEL_BEGIN_C
#define QEL_END_C
#endif

#if defined(__GNUC__) || defined(__clang__)
/** Marks a function that libqelutf exports. */
#define QEL_API __attribute__((visibility("default")))
#else
#define QEL_API
#endif

QEL_BEGIN_C

/** @defgroup qelutf_status Status codes and flags
 * @brief Results and options of every qelStr entry point.
 *
 * Every qelStr entry point returns one of the five qelStrStatus values and no
 * other. Statuses qelStrTruncated and qelStrBadInput still deliver usable
 * output: a prefix of whole characters and its length, terminated unless
 * qelStrFlagNoTerminator is set. No entry point throws, aborts or logs.
 * @{
 */

/** Status of every qelStr entry point: one of the qelStrOk... values. */
typedef int qelStrStatus;
/** The values of qelStrStatus; the numbers are part of the interface. */
enum {
    /** Success: the whole input was converted, or measured by a length query;
     * also for empty input. Also given by two kept rules of the bounded
     * conversions with a UTF-8 side: a conversion under qelStrFlagNoTerminator
     * whose last stretch of text filled the buffer exactly (the rest of that
     * stretch is not converted), and a qelStrFlagFullLength count that
     * measured text before an embedded control sequence. */
    qelStrOk = 0,
    /** A non-null output buffer of size 0 with non-empty input: nothing
     * written, length 0. */
    qelStrEmptyBuffer = 35,
    /** The output buffer was too small: it holds a prefix of whole characters
     * (whole units for the UTF-16 copy), terminated unless
     * qelStrFlagNoTerminator is set, with a cut embedded control sequence
     * closed or dropped. */
    qelStrTruncated = 68,
    /** Allocating entry points only: the string memory provider failed. The
     * result is an empty one-unit string, or null; what was converted is
     * dropped. Replaces any other status. */
    qelStrNoMemory = 112,
    /** Ill-formed input: the output holds the conversion of everything before
     * the first ill-formed character, terminated as usual, and the length
     * counts it. */
    qelStrBadInput = 368
};

/** Flags word of the Ex and AllocEx entry points; bits not named here are ignored. */
typedef unsigned int qelStrFlags;
/** The bits of qelStrFlags. */
enum {
    /** Bounded Ex entry points: on truncation, drop a cut embedded control
     * sequence whole, and go on counting the unconverted rest of the input
     * into the reported length: its embedded control sequences and the ASCII
     * units outside stretches of other text one by one, and each stretch of
     * other text (from a non-ASCII unit up to the next embedded control
     * sequence, ASCII included) by measuring it. The last stretch, which runs
     * to the end of the input, is measured only when an earlier stretch was;
     * such a measurement also turns the status into qelStrOk (qelStrBadInput
     * for ill-formed text), and the length is then the full length.
     * Otherwise the status stays qelStrTruncated and the length is a lower
     * bound: UTF-8 to UTF-16 of three U+00E9 into 2 units reports 1. */
    qelStrFlagFullLength = 0x1,
    /** Bounded Ex entry points: write no terminator, ever (not even for
     * empty input), and let the text use the buffer to its last unit. When
     * the text from the first non-ASCII unit after the last embedded control
     * sequence to the end of the input fills the buffer exactly without
     * fitting whole, the call returns qelStrOk with a length of outSize, and
     * the rest of that text is neither converted nor reported, even when it
     * is ill-formed: UTF-8 C3 A9 C3 A9 into 1 unit gives qelStrOk, length 1.
     * A cut anywhere else gives qelStrTruncated. */
    qelStrFlagNoTerminator = 0x2,
    /** Ex and AllocEx entry points: the raw form of embedded control
     * sequences on the UTF-8 side (input or output), one byte 0x20..0x9F per
     * content character. All other text converts the same. */
    qelStrFlagRawSequences = 0x40000000
};

/** @} */

/** @defgroup qelutf_provider String memory provider
 * @brief The three allocation functions the library imports by name.
 *
 * The library defines none of them: they are resolved when the program is
 * loaded. libqelstrmem is the default provider (malloc, realloc and free;
 * safe from any thread; qelStrFree accepts null; a resize that cannot be
 * done prints one line to standard error and aborts). A program links it
 * unless it brings its own functions with these names. Sizes are in bytes.
 * Every block the library hands out comes from here and is released with
 * qelStrFree, except the copy of qel_u32sdup, which comes from malloc. The
 * allocating functions need a provider that is safe from several threads to
 * be called from several threads.
 * @{
 */

/**
 * @brief Allocates a block of at least @p size bytes, aligned for a 32-bit unit.
 * @param size Bytes wanted; the library never asks for 0.
 * @return The block, or null when no memory can be had.
 */
void* qelStrAlloc(unsigned int size);
/**
 * @brief Resizes a block from qelStrAlloc, keeping its leading bytes.
 *
 * The library uses the result at once and never tests it: a provider must
 * succeed here or end the process.
 * @param p    A block from qelStrAlloc or qelStrReAlloc.
 * @param size New size in bytes.
 * @return The resized block, possibly moved.
 */
void* qelStrReAlloc(void* p, unsigned int size);
/**
 * @brief Releases a block from qelStrAlloc or qelStrReAlloc.
 * @param p The block. The library itself never passes null; the default
 *          provider accepts it.
 */
void qelStrFree(void* p);

/** @} */

/** @defgroup qelutf_bounded Bounded conversions and copy
 * @brief Conversions and a UTF-16 copy into a buffer that the caller supplies.
 *
 * @par Arguments
 * out (the buffer, or null for a length query), outSize (its size in target
 * units, the terminator included), outLen (receives the length in target
 * units, terminator not counted; may be null), in (may be null) and inLen (in
 * source units); the Ex variants add a qelStrFlags word. The input ends at its
 * first zero unit or after inLen units, whichever comes first; with inLen
 * 0xFFFFFFFF only the zero unit ends it.
 *
 * @par Order of the checks
 * -# Empty input (null in, inLen 0, or a zero first unit): status qelStrOk,
 *    length 0, and a zero unit at out[0] when a terminator is wanted, out is
 *    not null and outSize is not 0. So empty input into a buffer of size 0
 *    gives qelStrOk, not qelStrEmptyBuffer.
 * -# A non-null out with outSize 0: qelStrEmptyBuffer, length 0, nothing written.
 * -# A null out: a length query. Nothing is written; the length is the
 *    number of units a large enough buffer would receive, embedded control
 *    sequences counted at their converted size. qelStrOk, or qelStrBadInput
 *    with the count of what precedes the first ill-formed character.
 * -# Otherwise the conversion.
 *
 * @par Terminator and truncation
 * Without qelStrFlagNoTerminator the output always ends with one zero unit,
 * whatever the status, so at most outSize - 1 units of text are written: a
 * buffer of one unit receives only the terminator (qelStrTruncated, length 0
 * for non-empty input). Only whole characters are written: truncated UTF-8
 * never ends inside a multi-byte sequence and truncated UTF-16 never ends in
 * a high surrogate.
 *
 * @par Ill-formed input
 * An ill-formed character is found only when the stretch of non-ASCII text
 * holding it is converted, so a truncation earlier in the input is reported
 * as qelStrTruncated even when ill-formed text follows (except when the
 * qelStrFlagFullLength count reaches it). Output and input must not overlap.
 * The functions allocate nothing, keep no state and may run on any number of
 * threads that do not share an output buffer or length variable.
 * @{
 */

/**
 * @brief Copies UTF-16 into a caller's buffer, unit for unit.
 *
 * The units are copied as they are, lone surrogates included: nothing is
 * checked, so qelStrBadInput never occurs. A truncated copy may end in the
 * first half of a surrogate pair. Embedded control sequences are never split
 * (closed or dropped as described in qelstr.h); a 0x01 that starts no
 * sequence is copied as an ordinary unit. At most outSize - 1 units are
 * copied; the copy is always terminated.
 *
 * @param[out] out      Output buffer, or null for a length query (the units up
 *                      to the first zero unit, at most inLen).
 * @param      outSize  Size of @p out in units, terminator included.
 * @param[out] outLen   Receives the units copied, terminator not counted; may be null.
 * @param[in]  in       UTF-16 input; may be null (empty input).
 * @param      inLen    Input length in units; the input also ends at its first zero unit.
 * @retval qelStrOk           copied, measured or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a terminated prefix.
 */
QEL_API qelStrStatus qelStrUtf16Copy(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                     const char16_t* in, unsigned int inLen);

/**
 * @brief Converts UTF-16 into a caller's UTF-8 buffer.
 *
 * Equals qelStrUtf16ToUtf8Ex with flags 0: terminated, standard form of the embedded
 * control sequences. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-8 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-8 units (bytes), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-8 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-16 input (16-bit units); may be null (empty input).
 * @param      inLen    Input length in UTF-16 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @retval qelStrOk           converted, measured, or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf16ToUtf8(char* out, unsigned int outSize, unsigned int* outLen,
                                       const char16_t* in, unsigned int inLen);

/**
 * @brief Converts UTF-16 into a caller's UTF-8 buffer, with flags.
 *
 * As qelStrUtf16ToUtf8, with the flags word: qelStrFlagNoTerminator,
 * qelStrFlagFullLength and qelStrFlagRawSequences (the raw form on the UTF-8
 * side). Other bits are ignored. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-8 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-8 units (bytes), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-8 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-16 input (16-bit units); may be null (empty input).
 * @param      inLen    Input length in UTF-16 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @param      flags    A qelStrFlags word.
 * @retval qelStrOk           converted, measured, or empty input; also the two
 *                           kept cases of qelStrFlagNoTerminator and
 *                           qelStrFlagFullLength described in @ref qelutf_bounded.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf16ToUtf8Ex(char* out, unsigned int outSize, unsigned int* outLen,
                                         const char16_t* in, unsigned int inLen, qelStrFlags flags);

/**
 * @brief Converts UTF-32 into a caller's UTF-8 buffer.
 *
 * Equals qelStrUtf32ToUtf8Ex with flags 0: terminated, standard form of the embedded
 * control sequences. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-8 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-8 units (bytes), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-8 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-32 input (32-bit units); may be null (empty input).
 * @param      inLen    Input length in UTF-32 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @retval qelStrOk           converted, measured, or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf32ToUtf8(char* out, unsigned int outSize, unsigned int* outLen,
                                       const unsigned int* in, unsigned int inLen);

/**
 * @brief Converts UTF-32 into a caller's UTF-8 buffer, with flags.
 *
 * As qelStrUtf32ToUtf8, with the flags word: qelStrFlagNoTerminator,
 * qelStrFlagFullLength and qelStrFlagRawSequences (the raw form on the UTF-8
 * side). Other bits are ignored. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-8 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-8 units (bytes), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-8 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-32 input (32-bit units); may be null (empty input).
 * @param      inLen    Input length in UTF-32 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @param      flags    A qelStrFlags word.
 * @retval qelStrOk           converted, measured, or empty input; also the two
 *                           kept cases of qelStrFlagNoTerminator and
 *                           qelStrFlagFullLength described in @ref qelutf_bounded.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf32ToUtf8Ex(char* out, unsigned int outSize, unsigned int* outLen,
                                         const unsigned int* in, unsigned int inLen, qelStrFlags flags);

/**
 * @brief Converts UTF-8 into a caller's UTF-16 buffer.
 *
 * Equals qelStrUtf8ToUtf16Ex with flags 0: terminated, standard form of the embedded
 * control sequences. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-16 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-16 units (16-bit units), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-16 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-8 input (bytes); may be null (empty input).
 * @param      inLen    Input length in UTF-8 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @retval qelStrOk           converted, measured, or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf16(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                       const char* in, unsigned int inLen);

/**
 * @brief Converts UTF-8 into a caller's UTF-16 buffer, with flags.
 *
 * As qelStrUtf8ToUtf16, with the flags word: qelStrFlagNoTerminator,
 * qelStrFlagFullLength and qelStrFlagRawSequences (the raw form on the UTF-8
 * side). Other bits are ignored. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-16 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-16 units (16-bit units), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-16 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-8 input (bytes); may be null (empty input).
 * @param      inLen    Input length in UTF-8 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @param      flags    A qelStrFlags word.
 * @retval qelStrOk           converted, measured, or empty input; also the two
 *                           kept cases of qelStrFlagNoTerminator and
 *                           qelStrFlagFullLength described in @ref qelutf_bounded.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf16Ex(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                         const char* in, unsigned int inLen, qelStrFlags flags);

/**
 * @brief Converts UTF-8 into a caller's UTF-32 buffer.
 *
 * Equals qelStrUtf8ToUtf32Ex with flags 0: terminated, standard form of the embedded
 * control sequences. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-32 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-32 units (32-bit units), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-32 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-8 input (bytes); may be null (empty input).
 * @param      inLen    Input length in UTF-8 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @retval qelStrOk           converted, measured, or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf32(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                       const char* in, unsigned int inLen);

/**
 * @brief Converts UTF-8 into a caller's UTF-32 buffer, with flags.
 *
 * As qelStrUtf8ToUtf32, with the flags word: qelStrFlagNoTerminator,
 * qelStrFlagFullLength and qelStrFlagRawSequences (the raw form on the UTF-8
 * side). Other bits are ignored. See @ref qelutf_bounded for every rule.
 *
 * With qelStrFlagFullLength the rest is counted from where this pair's
 * converter left its input cursor, which can stand before units already
 * written: U+00E9 "abc" into 3 units writes U+00E9 'a', then counts 'a',
 * 'b', 'c' and reports 5 with qelStrTruncated.
 *
 * @param[out] out      Output buffer of UTF-32 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-32 units (32-bit units), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-32 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-8 input (bytes); may be null (empty input).
 * @param      inLen    Input length in UTF-8 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @param      flags    A qelStrFlags word.
 * @retval qelStrOk           converted, measured, or empty input; also the two
 *                           kept cases of qelStrFlagNoTerminator and
 *                           qelStrFlagFullLength described in @ref qelutf_bounded.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf32Ex(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                         const char* in, unsigned int inLen, qelStrFlags flags);

/**
 * @brief Converts UTF-16 into a caller's UTF-32 buffer.
 *
 * There is no Ex variant: the output is always terminated and the last unit
 * of the buffer is never used for text. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-32 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-32 units (32-bit units), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-32 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-16 input (16-bit units); may be null (empty input).
 * @param      inLen    Input length in UTF-16 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @retval qelStrOk           converted, measured, or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf16ToUtf32(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                        const char16_t* in, unsigned int inLen);

/**
 * @brief Converts UTF-32 into a caller's UTF-16 buffer.
 *
 * There is no Ex variant: the output is always terminated and the last unit
 * of the buffer is never used for text. See @ref qelutf_bounded for every rule.
 *
 * @param[out] out      Output buffer of UTF-16 units, or null for a length query.
 * @param      outSize  Size of @p out in UTF-16 units (16-bit units), room for the terminator
 *                      included; not looked at in a length query.
 * @param[out] outLen   Receives the output length in UTF-16 units, terminator not
 *                      counted; may be null.
 * @param[in]  in       UTF-32 input (32-bit units); may be null (empty input).
 * @param      inLen    Input length in UTF-32 units; the input also ends at its first
 *                      zero unit. 0xFFFFFFFF: up to the zero unit only.
 * @retval qelStrOk           converted, measured, or empty input.
 * @retval qelStrEmptyBuffer  non-empty input and a non-null @p out of size 0.
 * @retval qelStrTruncated    the buffer was too small: a prefix of whole characters.
 * @retval qelStrBadInput     ill-formed input: the conversion of what precedes it.
 */
QEL_API qelStrStatus qelStrUtf32ToUtf16(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                        const unsigned int* in, unsigned int inLen);

/** @} */

/** @defgroup qelutf_repair Surrogate-pair repair
 * @brief Rewrites UTF-8 that spells supplementary characters as surrogate halves.
 * @{
 */

/**
 * @brief Repairs zero-terminated UTF-8 in place: each three-byte high-surrogate
 * sequence followed directly by a three-byte low-surrogate sequence becomes the
 * four-byte form of its character.
 *
 * ED A0 BD ED B8 80 becomes F0 9F 98 80, and the string is compacted. All
 * other text must already be well-formed UTF-8 and passes unchanged,
 * including correct four-byte sequences and standard-form embedded control
 * sequences. On failure the string is cut before the offending sequence
 * (everything before it is already repaired), so it changes whether or not
 * the call succeeds. Raw-form sequences (bytes 80..9F) make it fail.
 *
 * @param[in,out] s Zero-terminated UTF-8 string; must not be null (not checked).
 * @return @p s on success (also for the empty string); null on ill-formed UTF-8
 *         (a stray continuation byte, C0, C1, F5..FF, an overlong form, a
 *         sequence cut by the terminator), a low half first, or a high half not
 *         followed at once by a low half.
 */
QEL_API char* qelStrUtf8FixSurrogatePairs(char* s);

/** @} */

/** @defgroup qelutf_alloc Allocating conversions and copy
 * @brief Conversions and a UTF-16 copy into a newly allocated block.
 *
 * @par Arguments
 * out (receives the result; null makes the call a length query that
 * allocates nothing and reports what the result's length would be, with the
 * statuses of a bounded length query), outLen (may be null), in and inLen as
 * for the bounded conversions; the AllocEx variants add a qelStrFlags word of
 * which only qelStrFlagRawSequences counts (the result is always terminated).
 *
 * @par Results
 * - Whole input converted: qelStrOk, the text and one zero unit, exactly
 *   length + 1 units.
 * - Null in: qelStrOk, *out null, length 0, nothing allocated.
 * - Empty input (inLen 0 or a zero first unit): qelStrOk, a one-unit block
 *   holding the zero unit (null if even that could not be had), length 0.
 * - Ill-formed input: qelStrBadInput, a result holding the conversion of
 *   everything before the first ill-formed character, terminated. Nothing
 *   after it is converted, embedded control sequences neither.
 * - The provider failed: qelStrNoMemory, a one-unit empty result (null if
 *   even that could not be had), length 0; the partial output is dropped.
 * .
 * Every non-null result belongs to the caller, who releases it with
 * qelStrFree whatever the status. Embedded control sequences are always
 * carried over whole; qelStrTruncated and qelStrEmptyBuffer never occur.
 * Memory comes from qelStrAlloc and qelStrReAlloc only; outputs of up to 512
 * units cost one allocation. A result is limited to 16,776,704 units; a
 * longer one gives qelStrNoMemory.
 * @{
 */

/**
 * @brief Converts UTF-16 into a newly allocated, zero-terminated UTF-8 string.
 *
 * Embedded control sequences use the standard form on the UTF-8 side.
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-8 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-16 input (16-bit units); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-16 units; the input also ends at its first
 *                     zero unit.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf16ToUtf8Alloc(char** out, unsigned int* outLen, const char16_t* in,
                                            unsigned int inLen);

/**
 * @brief Converts UTF-16 into a newly allocated, zero-terminated UTF-8 string, with flags.
 *
 * As qelStrUtf16ToUtf8Alloc; of the flags word only qelStrFlagRawSequences is looked at
 * (the raw form of embedded control sequences on the UTF-8 side).
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-8 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-16 input (16-bit units); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-16 units; the input also ends at its first
 *                     zero unit.
 * @param      flags   A qelStrFlags word; only qelStrFlagRawSequences counts.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf16ToUtf8AllocEx(char** out, unsigned int* outLen, const char16_t* in,
                                              unsigned int inLen, qelStrFlags flags);

/**
 * @brief Converts UTF-16 into a newly allocated, zero-terminated UTF-32 string.
 *
 * Embedded control sequences use the standard form on the UTF-8 side.
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-32 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-16 input (16-bit units); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-16 units; the input also ends at its first
 *                     zero unit.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf16ToUtf32Alloc(unsigned int** out, unsigned int* outLen,
                                             const char16_t* in, unsigned int inLen);

/**
 * @brief Converts UTF-32 into a newly allocated, zero-terminated UTF-16 string.
 *
 * Embedded control sequences use the standard form on the UTF-8 side.
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-16 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-32 input (32-bit units); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-32 units; the input also ends at its first
 *                     zero unit.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf32ToUtf16Alloc(char16_t** out, unsigned int* outLen,
                                             const unsigned int* in, unsigned int inLen);

/**
 * @brief Converts UTF-32 into a newly allocated, zero-terminated UTF-8 string.
 *
 * Embedded control sequences use the standard form on the UTF-8 side.
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-8 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-32 input (32-bit units); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-32 units; the input also ends at its first
 *                     zero unit.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf32ToUtf8Alloc(char** out, unsigned int* outLen, const unsigned int* in,
                                            unsigned int inLen);

/**
 * @brief Converts UTF-32 into a newly allocated, zero-terminated UTF-8 string, with flags.
 *
 * As qelStrUtf32ToUtf8Alloc; of the flags word only qelStrFlagRawSequences is looked at
 * (the raw form of embedded control sequences on the UTF-8 side).
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-8 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-32 input (32-bit units); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-32 units; the input also ends at its first
 *                     zero unit.
 * @param      flags   A qelStrFlags word; only qelStrFlagRawSequences counts.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf32ToUtf8AllocEx(char** out, unsigned int* outLen,
                                              const unsigned int* in, unsigned int inLen,
                                              qelStrFlags flags);

/**
 * @brief Converts UTF-8 into a newly allocated, zero-terminated UTF-16 string.
 *
 * Embedded control sequences use the standard form on the UTF-8 side.
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-16 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-8 input (bytes); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-8 units; the input also ends at its first
 *                     zero unit.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf16Alloc(char16_t** out, unsigned int* outLen, const char* in,
                                            unsigned int inLen);

/**
 * @brief Converts UTF-8 into a newly allocated, zero-terminated UTF-16 string, with flags.
 *
 * As qelStrUtf8ToUtf16Alloc; of the flags word only qelStrFlagRawSequences is looked at
 * (the raw form of embedded control sequences on the UTF-8 side).
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-16 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-8 input (bytes); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-8 units; the input also ends at its first
 *                     zero unit.
 * @param      flags   A qelStrFlags word; only qelStrFlagRawSequences counts.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf16AllocEx(char16_t** out, unsigned int* outLen, const char* in,
                                              unsigned int inLen, qelStrFlags flags);

/**
 * @brief Converts UTF-8 into a newly allocated, zero-terminated UTF-32 string.
 *
 * Embedded control sequences use the standard form on the UTF-8 side.
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-32 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-8 input (bytes); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-8 units; the input also ends at its first
 *                     zero unit.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf32Alloc(unsigned int** out, unsigned int* outLen, const char* in,
                                            unsigned int inLen);

/**
 * @brief Converts UTF-8 into a newly allocated, zero-terminated UTF-32 string, with flags.
 *
 * As qelStrUtf8ToUtf32Alloc; of the flags word only qelStrFlagRawSequences is looked at
 * (the raw form of embedded control sequences on the UTF-8 side).
 * See @ref qelutf_alloc for every rule.
 *
 * @param[out] out     Receives the result, a block from qelStrAlloc that the caller
 *                     releases with qelStrFree whatever the status; null makes the
 *                     call a length query that allocates nothing.
 * @param[out] outLen  Receives the result's length in UTF-32 units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-8 input (bytes); null gives qelStrOk and a null result.
 * @param      inLen   Input length in UTF-8 units; the input also ends at its first
 *                     zero unit.
 * @param      flags   A qelStrFlags word; only qelStrFlagRawSequences counts.
 * @retval qelStrOk        converted (or measured), empty or null input.
 * @retval qelStrBadInput  ill-formed input: the result holds what precedes it.
 * @retval qelStrNoMemory  the provider failed: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf8ToUtf32AllocEx(unsigned int** out, unsigned int* outLen,
                                              const char* in, unsigned int inLen, qelStrFlags flags);

/**
 * @brief Copies UTF-16 into a newly allocated block, unit for unit.
 *
 * The units up to the first zero unit, at most inLen, are copied as they
 * are: nothing is checked and embedded control sequences need no care, since
 * nothing is ever cut.
 *
 * @param[out] out     Receives the copy (from qelStrAlloc, released with
 *                     qelStrFree); null makes the call a length query.
 * @param[out] outLen  Receives the copy's length in units, terminator not
 *                     counted; may be null.
 * @param[in]  in      UTF-16 input; null gives qelStrOk and a null result.
 * @param      inLen   Input length in units; the input also ends at its first zero unit.
 * @retval qelStrOk        copied, measured, empty input (a one-unit empty
 *                         block, or null if even that could not be had) or
 *                         null input.
 * @retval qelStrNoMemory  no memory for the copy: an empty one-unit result, or null.
 */
QEL_API qelStrStatus qelStrUtf16CopyAlloc(char16_t** out, unsigned int* outLen, const char16_t* in,
                                          unsigned int inLen);

/** @} */

QEL_END_C

#endif /* QEL_QELSTR_H */
