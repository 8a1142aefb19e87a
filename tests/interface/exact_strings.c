/* Heap strings of exactly their size, ended by a zero unit, through every
 * entry point that reads up to the terminator. The results are checked
 * against the test's own encoder; scripts/test also runs this program under
 * valgrind, which is what catches a read past the zero unit. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qel/qelchars.h"
#include "qel/qelstr.h"

enum { U8, U16, U32 };
static const size_t kWidth[] = {1, 2, 4};
#define ALL 0xFFFFFFFFu

/* Long ASCII stretches (several vectors) between short multi-byte ones, and a
 * control sequence, which every form carries over as it is. */
static const uint32_t kText[] = {
    'T', 'h', 'e', ' ', 'q', 'u', 'i', 'c', 'k', ' ', 'b', 'r', 'o', 'w', 'n', ' ', 'f', 'o', 'x', ' ', 'j',
    'u', 'm', 'p', 's', ' ', 'o', 'v', 'e', 'r', ' ', 't', 'h', 'e', ' ', 'l', 'a', 'z', 'y', ' ', 'd', 'o',
    'g', ' ', 'a', 'n', 'd', ' ', 'r', 'u', 'n', 's', ' ', 'o', 'n', '.', 0xE9, 0x3B1, 0x416, ' ', 0x4F60,
    0x597D, 0x1F600, 'x', 0x10FFFF, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x01, 'A', 'B', 0x02, 'e', 'n', 'd', ' ',
    'o', 'f', ' ', 't', 'h', 'e', ' ', 'l', 'i', 'n', 'e', ',', ' ', 'a', 'n', 'd', ' ', 'm', 'o', 'r', 'e',
    ' ', 'p', 'l', 'a', 'i', 'n', ' ', 't', 'e', 'x', 't', ' ', 't', 'o', ' ', 'f', 'o', 'l', 'l', 'o', 'w',
    0xC4, 0xD6, 0xDC, 0x2603};
#define TEXT_LEN (sizeof kText / sizeof kText[0])

static int failures;

static void fail(const char* what, int from, int to, size_t n, size_t pad) {
    if (++failures <= 20) fprintf(stderr, "%s: %d -> %d, %zu code points, pad %zu\n", what, from, to, n, pad);
}

static size_t encode(const uint32_t* cp, size_t n, int form, void* out) {
    unsigned char* b = out;
    uint16_t* h = out;
    uint32_t* w = out;
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint32_t c = cp[i];
        if (form == U32) {
            w[k++] = c;
        } else if (form == U16) {
            if (c >= 0x10000) {
                h[k++] = (uint16_t)(0xD800 + ((c - 0x10000) >> 10));
                h[k++] = (uint16_t)(0xDC00 + (c & 0x3FF));
            } else {
                h[k++] = (uint16_t)c;
            }
        } else if (c < 0x80) {
            b[k++] = (unsigned char)c;
        } else if (c < 0x800) {
            b[k++] = (unsigned char)(0xC0 | c >> 6);
            b[k++] = (unsigned char)(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            b[k++] = (unsigned char)(0xE0 | c >> 12);
            b[k++] = (unsigned char)(0x80 | (c >> 6 & 0x3F));
            b[k++] = (unsigned char)(0x80 | (c & 0x3F));
        } else {
            b[k++] = (unsigned char)(0xF0 | c >> 18);
            b[k++] = (unsigned char)(0x80 | (c >> 12 & 0x3F));
            b[k++] = (unsigned char)(0x80 | (c >> 6 & 0x3F));
            b[k++] = (unsigned char)(0x80 | (c & 0x3F));
        }
    }
    return k;
}

#define PAIR(from, to) ((from) * 3 + (to))

static qelStrStatus bounded(int from, int to, void* out, unsigned size, unsigned* len, const void* in) {
    switch (PAIR(from, to)) {
    case PAIR(U8, U16): return qelStrUtf8ToUtf16(out, size, len, in, ALL);
    case PAIR(U8, U32): return qelStrUtf8ToUtf32(out, size, len, in, ALL);
    case PAIR(U16, U8): return qelStrUtf16ToUtf8(out, size, len, in, ALL);
    case PAIR(U16, U16): return qelStrUtf16Copy(out, size, len, in, ALL);
    case PAIR(U16, U32): return qelStrUtf16ToUtf32(out, size, len, in, ALL);
    case PAIR(U32, U8): return qelStrUtf32ToUtf8(out, size, len, in, ALL);
    default: return qelStrUtf32ToUtf16(out, size, len, in, ALL);
    }
}

static qelStrStatus allocating(int from, int to, void** out, unsigned* len, const void* in) {
    char* b = NULL;
    char16_t* h = NULL;
    unsigned int* w = NULL;
    qelStrStatus st;
    switch (PAIR(from, to)) {
    case PAIR(U8, U16): st = qelStrUtf8ToUtf16Alloc(&h, len, in, ALL); break;
    case PAIR(U8, U32): st = qelStrUtf8ToUtf32Alloc(&w, len, in, ALL); break;
    case PAIR(U16, U8): st = qelStrUtf16ToUtf8Alloc(&b, len, in, ALL); break;
    case PAIR(U16, U16): st = qelStrUtf16CopyAlloc(&h, len, in, ALL); break;
    case PAIR(U16, U32): st = qelStrUtf16ToUtf32Alloc(&w, len, in, ALL); break;
    case PAIR(U32, U8): st = qelStrUtf32ToUtf8Alloc(&b, len, in, ALL); break;
    default: st = qelStrUtf32ToUtf16Alloc(&h, len, in, ALL); break;
    }
    *out = b != NULL ? (void*)b : h != NULL ? (void*)h : (void*)w;
    return st;
}

/* The qel_ functions; to == from has none (returns -2). */
static size_t chars(int from, int to, void* dst, const void* src, size_t n) {
    switch (PAIR(from, to)) {
    case PAIR(U8, U16): return qel_u8stou16s(dst, src, n);
    case PAIR(U8, U32): return qel_u8stou32s(dst, src, n);
    case PAIR(U16, U8): return qel_u16stou8s(dst, src, n);
    case PAIR(U16, U32): return qel_u16stou32s(dst, src, n);
    case PAIR(U32, U8): return qel_u32stou8s(dst, src, n);
    case PAIR(U32, U16): return qel_u32stou16s(dst, src, n);
    default: return (size_t)-2;
    }
}

static void* charsAlloc(int from, int to, const void* src) {
    switch (PAIR(from, to)) {
    case PAIR(U8, U16): return qel_u8stou16s_alloc(src);
    case PAIR(U8, U32): return qel_u8stou32s_alloc(src);
    case PAIR(U16, U8): return qel_u16stou8s_alloc(src);
    case PAIR(U16, U32): return qel_u16stou32s_alloc(src);
    case PAIR(U32, U8): return qel_u32stou8s_alloc(src);
    default: return qel_u32stou16s_alloc(src);
    }
}

/* Every entry point of one pair on one string `in` (zero-terminated), whose
 * conversion is `want` (wantLen units, then a zero unit). */
static void check(int from, int to, const void* in, const void* want, size_t wantLen, size_t n, size_t pad) {
    const size_t w = kWidth[to];
    unsigned len = 12345;
    if (bounded(from, to, NULL, 0, &len, in) != qelStrOk || len != wantLen) fail("length query", from, to, n, pad);
    void* out = malloc((wantLen + 1) * w);
    len = 12345;
    if (bounded(from, to, out, (unsigned)wantLen + 1, &len, in) != qelStrOk || len != wantLen ||
        memcmp(out, want, (wantLen + 1) * w) != 0)
        fail("bounded", from, to, n, pad);
    void* got = NULL;
    len = 12345;
    if (allocating(from, to, &got, &len, in) != qelStrOk || len != wantLen || got == NULL ||
        memcmp(got, want, (wantLen + 1) * w) != 0)
        fail("allocating", from, to, n, pad);
    qelStrFree(got);
    if (from != to) {
        memset(out, 0x55, (wantLen + 1) * w);
        if (chars(from, to, NULL, in, 0) != wantLen || chars(from, to, out, in, wantLen + 1) != wantLen ||
            memcmp(out, want, (wantLen + 1) * w) != 0)
            fail("qel_ bounded", from, to, n, pad);
        got = charsAlloc(from, to, in);
        if (got == NULL || memcmp(got, want, (wantLen + 1) * w) != 0) fail("qel_ allocating", from, to, n, pad);
        qelStrFree(got);
    }
    free(out);
}

int main(void) {
    static unsigned char forms[3][TEXT_LEN * 4 + 4];
    size_t lens[3];
    for (size_t n = 0; n <= TEXT_LEN; ++n) {
        for (int f = U8; f <= U32; ++f) {
            lens[f] = encode(kText, n, f, forms[f]);
            memset(forms[f] + lens[f] * kWidth[f], 0, kWidth[f]);
        }
        /* The string ends at the end of its heap block; the pad before it
         * moves its start against the vectors' alignment. */
        for (size_t pad = 0; pad < 2; ++pad) {
            for (int from = U8; from <= U32; ++from) {
                const size_t bytes = (lens[from] + 1) * kWidth[from];
                unsigned char* block = malloc(pad * kWidth[from] + bytes);
                unsigned char* in = block + pad * kWidth[from];
                memcpy(in, forms[from], bytes);
                for (int to = U8; to <= U32; ++to)
                    if (to != from || from == U16) check(from, to, in, forms[to], lens[to], n, pad);
                free(block);
            }
        }
    }
    if (failures != 0) fprintf(stderr, "%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}
