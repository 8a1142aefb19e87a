// SPDX-License-Identifier: MIT
/**
 * @file qelcore.h
 * @brief The exported conversion cores and the growing character buffer
 * qelChrXBuf. C++ only.
 *
 * A core measures or converts one run of text, from the input cursor *in to
 * inEnd, for modules that walk text themselves. Cores know nothing of
 * terminators, embedded control sequences or byte-order marks: a zero unit
 * is an ordinary character to them, and a character cut by inEnd is
 * ill-formed even when the rest of it lies beyond. They read their cursors
 * on entry and write them back on every return, success or failure.
 *
 * @par Results
 * Zero or more is success; its value is a leftover of the core's bookkeeping
 * and callers test only the sign. Negative results are negated errno values:
 * - -EILSEQ: ill-formed input. The input cursor is on the first unit of the
 *   offending character (the lead byte of a bad UTF-8 sequence, the high
 *   surrogate of a broken pair, a lone low surrogate, the bad UTF-32 unit);
 *   the output cursor or count covers exactly the characters before it.
 *   Validity is judged before room, so this comes first when both apply.
 * - -E2BIG: bounded converters only, no room for the next character; the
 *   input cursor is on the first character not converted.
 * - -ENOMEM: allocating cores only, no chunk could be had.
 * .
 * Cores keep no state and allocate nothing but the allocating cores' chunks;
 * calls on different data may run on any number of threads.
 */
#ifndef QEL_QELCORE_H
#define QEL_QELCORE_H

#ifndef __cplusplus
#error "qelcore.h is a C++ header"
#endif

#include <string.h>

#include "qelstr.h"

/**
 * @brief Growing output buffer of the allocating conversions and cores: a
 * chain of chunks of 512, 1024, 2048, ... units of T.
 *
 * The first chunk lives inside the object, so outputs of up to 512 units
 * allocate nothing until the result; each further chunk is twice as large
 * and comes from qelStrAlloc. Nothing written is moved while the buffer
 * grows; detach joins the chunks into one exactly sized block at the end.
 * The field layout is part of the binary interface: a caller of
 * u16stou8sAllocLow or u16stou32sAllocLow sets the buffer up itself, and
 * constructing it does exactly that.
 *
 * The buffer does not record how much of its current chunk is used: a
 * writer keeps its own write position `out` and chunk end `outEnd`, starting
 * with out = chunks[0] and outEnd = out + 512, and passes them on. Use:
 * construct, write (through the allocating cores, or directly, calling
 * nextChunk when out reaches outEnd), detach once, release once, discard.
 * A buffer holds at most 16,776,704 units (slots 0 to 14); a step beyond
 * fails like an allocation.
 *
 * @tparam T The output unit: char, char16_t or unsigned int.
 */
template <class T>
struct qelChrXBuf {
    /** The first chunk, 512 units inside the object; slot 0 always points here. */
    T firstChunk[512];
    /** Chunk table: slot k (1..15) holds a chunk of 512 * 2^k units from the
     * provider, or null. The slot after lastSlot holds null; a null current
     * slot means memory ran out. */
    T* chunks[16];
    /** The slot of the chunk being filled; every chunk below it is full. */
    T** curSlot;
    /** The highest slot given a chunk (or a null from a failed allocation). */
    T** lastSlot;
    /** Capacity in units of the chunk in curSlot. */
    unsigned int curCapacity;

    /** @brief The empty buffer: the first chunk current, nothing allocated. */
    qelChrXBuf() noexcept;
    /**
     * @brief Moves to the next chunk, taking it from qelStrAlloc unless the
     * slot already holds one.
     * @return Its first unit; the writer sets out to it and outEnd to out +
     *         curCapacity. Null when memory ran out: the buffer then stays on
     *         the empty slot, which is how detach learns of the failure.
     */
    T* nextChunk() noexcept;
    /**
     * @brief Joins what was written into one zero-terminated block from the
     * provider, exactly length + reserve + 1 units, owned by the caller.
     *
     * When memory ran out, while filling or now, the answer is an empty
     * one-unit string (null if even that cannot be had) and what was written
     * is dropped.
     * @param[out] outLen  Receives the result's length in units, terminator
     *                     not counted (0 for the empty answer).
     * @param      out     The writer's write position in the current chunk.
     * @param      outEnd  The writer's end of the current chunk.
     * @param[out] failed  Set to true when memory ran out; otherwise left as it
     *                     was, so the caller clears it beforehand.
     * @param      reserve Units left unwritten at the front of the result.
     * @return The result, to be released with qelStrFree.
     */
    T* detach(unsigned int* outLen, const T* out, const T* outEnd, bool* failed, unsigned int reserve) noexcept;
    /**
     * @brief Frees the provider chunks that detach did not take; runs once,
     * after detach. The buffer is not used again afterwards.
     */
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

/**
 * @brief Measures a run of UTF-16 in UTF-8 bytes.
 *
 * Adds to *count 1 byte for each unit below 0x80, 2 below 0x800, 4 for a
 * surrogate pair and 3 for any other unit; it adds, never resets, so several
 * runs sum into one counter.
 * @param[in,out] count  Running count of UTF-8 bytes.
 * @param[in,out] in     Input cursor; left at inEnd, or on the first unit of
 *                       the first broken surrogate.
 * @param         inEnd  End of the run.
 * @return 0, or -EILSEQ (count then covers the characters before it).
 */
QEL_API int u16stou8sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd);
/**
 * @brief Converts a run of UTF-16 into UTF-8, always leaving the last byte
 * before outEnd free for a terminator.
 *
 * The caller gives at least one byte of room. A character that would fill
 * the output exactly is withdrawn (its bytes stay beyond the returned
 * cursor but do not count), even the last of the run: with one byte of room
 * nothing is converted.
 * @param[in,out] out     Output cursor; never left on outEnd.
 * @param         outEnd  End of the output.
 * @param[in,out] in      Input cursor; at inEnd on success, else on the
 *                        character not converted.
 * @param         inEnd   End of the run.
 * @return On success the byte length (1..4) of the last character
 *         converted, 0 for an empty run; -E2BIG when the next character does
 *         not fit with a byte to spare (nothing of it written); -EILSEQ.
 */
QEL_API int u16stou8sConvertSafeLow(char** out, const char* outEnd, const char16_t** in,
                                    const char16_t* inEnd);
/**
 * @brief Converts a whole run of UTF-16 into UTF-8 in the chunks of @p buf.
 *
 * Chunks are filled to their last byte; a character that does not fit at a
 * chunk's end is split between that chunk and the next. No terminator is
 * written (detach adds it).
 * @param[in,out] buf     The buffer.
 * @param[in,out] out     The writer's position in the current chunk.
 * @param[in,out] outEnd  The end of the current chunk; both move on to a new chunk.
 * @param[in,out] in      Input cursor.
 * @param         inEnd   End of the run.
 * @return On success 1 when no multi-byte character was written, else the
 *         length (2..4) of the last one; -EILSEQ; -ENOMEM when no chunk could
 *         be had (the cursors as before the step, the buffer's current slot
 *         null).
 */
QEL_API int u16stou8sAllocLow(qelChrXBuf<char>* buf, char** out, const char** outEnd,
                              const char16_t** in, const char16_t* inEnd);

/**
 * @brief Counts the code points of a run of UTF-16 (a surrogate pair counts once).
 * @param[in,out] count  Running count, added to, never reset.
 * @param[in,out] in     Input cursor; left at inEnd, or on the first broken surrogate.
 * @param         inEnd  End of the run.
 * @return 0, or -EILSEQ (count then covers the code points before it).
 */
QEL_API int u16stou32sPreflightLow(unsigned int* count, const char16_t** in, const char16_t* inEnd);
/**
 * @brief Converts a run of UTF-16 into UTF-32, always leaving the last unit
 * before outEnd free.
 *
 * The caller gives at least one unit of room; the character that would fill
 * the output exactly is withdrawn, so with one unit of room nothing is
 * converted.
 * @param[in,out] out     Output cursor.
 * @param         outEnd  End of the output.
 * @param[in,out] in      Input cursor; on the first character not converted.
 * @param         inEnd   End of the run.
 * @return 0 when the whole run fits with a unit to spare; -E2BIG; -EILSEQ.
 */
QEL_API int u16stou32sConvertSafeLow(unsigned int** out, const unsigned int* outEnd,
                                     const char16_t** in, const char16_t* inEnd);
/**
 * @brief Converts a whole run of UTF-16 into UTF-32 in the chunks of @p buf.
 *
 * Chunks are filled to their last unit; no terminator is written.
 * @param[in,out] buf     The buffer.
 * @param[in,out] out     The writer's position in the current chunk.
 * @param[in,out] outEnd  The end of the current chunk.
 * @param[in,out] in      Input cursor.
 * @param         inEnd   End of the run.
 * @return 0; -EILSEQ; -ENOMEM (the cursors as before the step).
 */
QEL_API int u16stou32sAllocLow(qelChrXBuf<unsigned int>* buf, unsigned int** out,
                               const unsigned int** outEnd, const char16_t** in,
                               const char16_t* inEnd);

/**
 * @brief Converts a run of UTF-8 into UTF-16, filling the output up to outEnd.
 *
 * With no room on entry it returns 0 and changes nothing. When the output
 * becomes exactly full it stops with success even if input remains: the
 * caller compares *in with inEnd to learn whether the run was converted
 * whole.
 * @param[in,out] out     Output cursor.
 * @param         outEnd  End of the output.
 * @param[in,out] in      Input cursor (bytes, read unsigned).
 * @param         inEnd   End of the run.
 * @return On success the byte length (2..4) of the last multi-byte sequence
 *         converted in this call, or 0 when there was none; -E2BIG when a
 *         four-byte sequence finds fewer than two units of room (cursors
 *         before it); -EILSEQ (the cursor on the lead byte).
 */
QEL_API int u8stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned char** in,
                                const unsigned char* inEnd);

/**
 * @brief Converts a run of UTF-32 into UTF-16, filling the output up to outEnd.
 *
 * With no room on entry it returns 0 and changes nothing. When the output
 * becomes exactly full it stops with success even if input remains: the
 * caller compares *in with inEnd.
 * @param[in,out] out     Output cursor.
 * @param         outEnd  End of the output.
 * @param[in,out] in      Input cursor.
 * @param         inEnd   End of the run.
 * @return On success the units (1 or 2) of the last unit at or above 0xE000
 *         converted in this call, or 0 when there was none; -E2BIG when a
 *         supplementary code point finds fewer than two units of room
 *         (cursors before it); -EILSEQ for a surrogate value or a value of
 *         0x110000 or more.
 */
QEL_API int u32stou16sConvertLow(char16_t** out, const char16_t* outEnd, const unsigned int** in,
                                 const unsigned int* inEnd);

#endif /* QEL_QELCORE_H */
