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

#include <string.h>

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
    T* detach(unsigned int* outLen, const T* out, const T* outEnd, bool* failed, unsigned int reserve) noexcept;
    /* Frees the remaining provider chunks; runs once, after detach. */
    void release() noexcept;
};

/*
 * The members are defined here, inline, so that a module that calls the
 * exported allocating cores can construct, detach and release its buffer.
 * Chunks come from the string memory provider of qelstr.h.
 */

/* The empty buffer: the first chunk current, the null sentinel after it,
 * nothing allocated. The other slots are left as they are. */
template <class T>
inline qelChrXBuf<T>::qelChrXBuf() noexcept : curSlot(chunks), lastSlot(chunks), curCapacity(512) {
    chunks[0] = firstChunk;
    chunks[1] = nullptr;
}

/* Steps to the next slot and doubles the capacity; a slot that already holds
 * a chunk is reused, an empty one gets a chunk from the provider, the null
 * sentinel after it, and becomes the last slot. On failure the buffer stays
 * on the null slot, which is how detach learns that memory ran out. */
template <class T>
inline T* qelChrXBuf<T>::nextChunk() noexcept {
    T** const tableEnd = chunks + 16;
    if (curSlot + 1 == tableEnd) return nullptr; /* nothing lies beyond the table */
    ++curSlot;
    curCapacity *= 2;
    if (*curSlot != nullptr) return *curSlot;
    if (curSlot + 1 == tableEnd) {
        /* A chunk in the last slot would leave no room for its sentinel: the
         * step fails as if the provider had no memory. */
        *curSlot = nullptr;
    } else {
        *curSlot = static_cast<T*>(qelStrAlloc(curCapacity * static_cast<unsigned int>(sizeof(T))));
        curSlot[1] = nullptr;
    }
    ++lastSlot;
    return *curSlot;
}

/* Joins the full chunks below the current one and the used part of the
 * current chunk into one zero-terminated block of exactly the result's size
 * (plus `reserve` unwritten units at its front). A short tail in a provider
 * chunk is resized into the result, or else a chunk held after the current
 * one is; otherwise a fresh block is taken and the current provider chunk is
 * freed. When memory ran out, now or while filling, *failed is set and the
 * answer is an empty one-unit string (null if even that cannot be had). */
template <class T>
inline T* qelChrXBuf<T>::detach(unsigned int* outLen, const T* out, const T* outEnd, bool* failed,
                                unsigned int reserve) noexcept {
    const unsigned int unit = static_cast<unsigned int>(sizeof(T));
    const unsigned int used = curCapacity - static_cast<unsigned int>(outEnd - out);
    const unsigned int before = curCapacity - 512u; /* units in the full chunks */
    const unsigned int length = before + used;
    T* const current = *curSlot;
    const bool fromProvider = curSlot != chunks;
    T* result = nullptr;

    if (current == nullptr) {
        *failed = true;
    } else if (reserve == 0 && used < 512u && fromProvider) {
        result = static_cast<T*>(qelStrReAlloc(current, (length + 1u) * unit));
        memmove(result + before, result, used * sizeof(T));
        *curSlot = nullptr;
    } else if (reserve == 0 && lastSlot > curSlot) {
        T** const next = curSlot + 1;
        result = static_cast<T*>(qelStrReAlloc(*next, (length + 1u) * unit));
        *next = nullptr;
        --lastSlot;
        memcpy(result + before, current, used * sizeof(T));
    } else {
        result = static_cast<T*>(qelStrAlloc((length + reserve + 1u) * unit));
        if (result == nullptr) {
            *failed = true;
        } else {
            memcpy(result + reserve + before, current, used * sizeof(T));
        }
        if (fromProvider) {
            qelStrFree(current);
            *curSlot = nullptr;
        }
    }

    if (result == nullptr) { /* the empty answer; whatever was written is dropped */
        result = static_cast<T*>(qelStrAlloc(unit));
        if (result != nullptr) result[0] = 0;
        *outLen = 0;
        return result;
    }
    result[reserve + length] = 0;
    *outLen = length;
    unsigned int capacity = 512u;
    T* to = result + reserve;
    for (T** slot = chunks; slot != curSlot; ++slot) {
        memcpy(to, *slot, capacity * sizeof(T));
        to += capacity;
        capacity *= 2u;
    }
    return result;
}

/* Frees the provider chunks above the current one, highest first, then those
 * below it down to slot 1; the current chunk itself was freed or handed out
 * by detach. A buffer whose current chunk was a provider chunk is left as
 * constructed. */
template <class T>
inline void qelChrXBuf<T>::release() noexcept {
    for (; lastSlot != curSlot; --lastSlot)
        if (*lastSlot != nullptr) qelStrFree(*lastSlot);
    curCapacity = 512u;
    if (curSlot == chunks) {
        /* Intended: with the first chunk current the buffer is left unusable,
         * slot 0 cleared; it is never used again after release. */
        chunks[0] = nullptr;
        return;
    }
    for (--curSlot; curSlot != chunks; --curSlot) qelStrFree(*curSlot);
    lastSlot = curSlot;
    curSlot[1] = nullptr;
}

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
