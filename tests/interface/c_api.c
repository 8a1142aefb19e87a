/* SPDX-License-Identifier: MIT */
/* Uses the C headers from a C11 program. */
#include <stdio.h>

#include "qel/qelchars.h"
#include "qel/qelstr.h"
#include "qel/qelutftype.h"

static int failures;

#define CHECK(cond)                                            \
    do {                                                       \
        if (!(cond)) {                                         \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond); \
            ++failures;                                        \
        }                                                      \
    } while (0)

int main(void) {
    const unsigned char mark[] = {0xFF, 0xFE, 0x41, 0x00};
    qelUtfType type = qelUtfTypeNone;
    CHECK(qelUtfTypeFromBOM(&type, mark, sizeof mark) == 2);
    CHECK(type == qelUtfTypeUtf16LE);

    const char16_t in[] = {0x41, 0x01, 0x42, 0x02, 0x43, 0};
    char16_t out[8];
    unsigned int len = 99;
    CHECK(qelStrUtf16Copy(out, 8, &len, in, 0xFFFFFFFFu) == qelStrOk);
    CHECK(len == 5);
    CHECK(out[4] == 0x43 && out[5] == 0);

    return failures == 0 ? 0 : 1;
}
