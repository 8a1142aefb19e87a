/*
 * qelcore.h - the exported conversion cores and the growing character buffer
 * qelChrXBuf<T>. C++ only.
 *
 * A core converts or measures one run of text from *in to inEnd. It writes
 * its cursors back on every return. Results: zero or more is success (callers
 * test the sign only), -E2BIG no room for the next character, -EILSEQ
 * ill-formed input (cursor on the first unit of the offending character),
 * -ENOMEM no chunk could be had (allocating cores).
 */
#ifndef QEL_QELCORE_H
#define QEL_QELCORE_H

#ifndef __cplusplus
#error "qelcore.h is a C++ header"
#endif

#include "qelstr.h"

/*
 * Growing output buffer of the allocating conversions: a chain of chunks of
 * 512, 1024, 2048, ... units. The first chunk lives inside the object. The
 * field layout is part of the interface; callers of the exported allocating
 * cores set the buffer up themselves (constructing it does exactly that).
 *
 * A writer keeps its own write position `out` and chunk end `outEnd`; it
 * starts with out = chunks[0], outEnd = out + 512.
 */
template <class T>
struct qelChrXBuf {
    T firstChunk[512];
    T* chunks[16];
    T** curSlot;
    T** lastSlot;
    unsigned int curCapacity;

    qelChrXBuf() noexcept;
    /* Moves to the next chunk; returns its first unit, or null when memory ran out. */
    T* nextChunk() noexcept;
    /* Joins what was written into one zero-terminated block from the provider. */
    T* detach(unsigned int* outLen, T* out, T* outEnd, bool* failed, unsigned int reserve) noexcept;
    /* Frees the remaining provider chunks; runs once, after detach. */
    void release() noexcept;
};

/* UTF-16 -> UTF-8 */
QEL_API int u16stou8sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd);
QEL_API int u16stou8sConvertSafeLow(char** out, const char* outEnd, const char16_t** in,
                                    const char16_t* inEnd);
QEL_API int u16stou8sAllocLow(qelChrXBuf<char>* buf, char** out, const char** outEnd,
                              const char16_t** in, const char16_t* inEnd);

/* UTF-16 -> UTF-32 */
QEL_API int u16stou32sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd);
QEL_API int u16stou32sConvertSafeLow(unsigned int** out, const unsigned int* outEnd,
                                     const char16_t** in, const char16_t* inEnd);
QEL_API int u16stou32sAllocLow(qelChrXBuf<unsigned int>* buf, unsigned int** out,
                               const unsigned int** outEnd, const char16_t** in,
                               const char16_t* inEnd);

/* UTF-8 -> UTF-16 (fill converter) */
QEL_API int u8stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned char** in,
                                const unsigned char* inEnd);

/* UTF-32 -> UTF-16 (fill converter) */
QEL_API int u32stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned int** in,
                                 const unsigned int* inEnd);

#endif /* QEL_QELCORE_H */
