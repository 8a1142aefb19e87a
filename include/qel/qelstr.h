/*
 * qelstr.h - the qelStr family: status codes, flags, bounded and allocating
 * string conversions, and the string memory provider that the library imports.
 *
 * Compiles as C11 and as C++. UTF-8 text is char (read as unsigned bytes),
 * UTF-16 text is char16_t, UTF-32 text is unsigned int, all in machine order.
 */
#ifndef QEL_QELSTR_H
#define QEL_QELSTR_H

#include <stddef.h>

#ifdef __cplusplus
#define QEL_EXTERN_C extern "C"
#define QEL_BEGIN_C extern "C" {
#define QEL_END_C }
#else
#include <uchar.h>
#define QEL_EXTERN_C
#define QEL_BEGIN_C
#define QEL_END_C
#endif

#if defined(__GNUC__) || defined(__clang__)
#define QEL_API __attribute__((visibility("default")))
#else
#define QEL_API
#endif

QEL_BEGIN_C

/* Status of every qelStr entry point. */
typedef int qelStrStatus;
enum {
    qelStrOk = 0,            /* whole input converted, measured or empty */
    qelStrEmptyBuffer = 35,  /* non-empty input, output buffer of size 0 */
    qelStrTruncated = 68,    /* output too small: a terminated prefix */
    qelStrNoMemory = 112,    /* allocating entry points: provider failed */
    qelStrBadInput = 368     /* ill-formed input: prefix before the fault */
};

/* Flags word of the Ex and AllocEx entry points; other bits are ignored. */
typedef unsigned int qelStrFlags;
enum {
    qelStrFlagFullLength = 0x1,          /* count the unconverted rest on truncation */
    qelStrFlagNoTerminator = 0x2,        /* write no terminator; fill to the last unit */
    qelStrFlagRawSequences = 0x40000000  /* raw one-byte form of control sequences in UTF-8 */
};

/* String memory provider, imported by name and resolved at load time.
 * libqelstrmem is the default implementation. */
void* qelStrAlloc(unsigned int size);
void* qelStrReAlloc(void* p, unsigned int size);
void qelStrFree(void* p);

/* Bounded UTF-16 copy. */
QEL_API qelStrStatus qelStrUtf16Copy(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                     const char16_t* in, unsigned int inLen);

/* @bounded-conversions@ */
/* Bounded conversions into a caller's buffer of outSize units (terminator
 * included). A null out asks for the length; a null outLen reports none.
 * The Ex variants take qelStrFlags; the plain ones behave as with flags 0. */
QEL_API qelStrStatus qelStrUtf16ToUtf8(char* out, unsigned int outSize, unsigned int* outLen,
                                       const char16_t* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf16ToUtf8Ex(char* out, unsigned int outSize, unsigned int* outLen,
                                         const char16_t* in, unsigned int inLen, qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf32ToUtf8(char* out, unsigned int outSize, unsigned int* outLen,
                                       const unsigned int* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf32ToUtf8Ex(char* out, unsigned int outSize, unsigned int* outLen,
                                         const unsigned int* in, unsigned int inLen, qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf8ToUtf16(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                       const char* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf8ToUtf16Ex(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                         const char* in, unsigned int inLen, qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf8ToUtf32(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                       const char* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf8ToUtf32Ex(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                         const char* in, unsigned int inLen, qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf16ToUtf32(unsigned int* out, unsigned int outSize, unsigned int* outLen,
                                        const char16_t* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf32ToUtf16(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                        const unsigned int* in, unsigned int inLen);

/* @surrogate-repair@ */
/* Repairs zero-terminated UTF-8 in place: each pair of three-byte surrogate
 * sequences (high then low) becomes the four-byte form of its character.
 * Returns s, or null on ill-formed text or an unpaired half; the text is then
 * cut before the offending sequence. s must not be null. */
QEL_API char* qelStrUtf8FixSurrogatePairs(char* s);

/* @allocating-conversions@ */
/* Allocating conversions: *out receives a new zero-terminated block from the
 * string memory provider, which the caller releases with qelStrFree whatever
 * the status (also with qelStrBadInput, and when it holds only the zero unit).
 * A null out makes the call a length query that allocates nothing; a null in
 * gives qelStrOk and a null result. qelStrNoMemory comes with an empty
 * one-unit result, or null when even that could not be had. Of the flags word
 * of the AllocEx variants only qelStrFlagRawSequences is looked at. */
QEL_API qelStrStatus qelStrUtf16ToUtf8Alloc(char** out, unsigned int* outLen, const char16_t* in,
                                            unsigned int inLen);
QEL_API qelStrStatus qelStrUtf16ToUtf8AllocEx(char** out, unsigned int* outLen, const char16_t* in,
                                              unsigned int inLen, qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf16ToUtf32Alloc(unsigned int** out, unsigned int* outLen,
                                             const char16_t* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf32ToUtf16Alloc(char16_t** out, unsigned int* outLen,
                                             const unsigned int* in, unsigned int inLen);
QEL_API qelStrStatus qelStrUtf32ToUtf8Alloc(char** out, unsigned int* outLen, const unsigned int* in,
                                            unsigned int inLen);
QEL_API qelStrStatus qelStrUtf32ToUtf8AllocEx(char** out, unsigned int* outLen,
                                              const unsigned int* in, unsigned int inLen,
                                              qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf8ToUtf16Alloc(char16_t** out, unsigned int* outLen, const char* in,
                                            unsigned int inLen);
QEL_API qelStrStatus qelStrUtf8ToUtf16AllocEx(char16_t** out, unsigned int* outLen, const char* in,
                                              unsigned int inLen, qelStrFlags flags);
QEL_API qelStrStatus qelStrUtf8ToUtf32Alloc(unsigned int** out, unsigned int* outLen, const char* in,
                                            unsigned int inLen);
QEL_API qelStrStatus qelStrUtf8ToUtf32AllocEx(unsigned int** out, unsigned int* outLen,
                                              const char* in, unsigned int inLen, qelStrFlags flags);

/* Allocating UTF-16 copy: the units up to the first zero unit (at most inLen)
 * copied as they are into a new block. Status qelStrOk or qelStrNoMemory. */
QEL_API qelStrStatus qelStrUtf16CopyAlloc(char16_t** out, unsigned int* outLen, const char16_t* in,
                                          unsigned int inLen);

QEL_END_C

#endif /* QEL_QELSTR_H */
