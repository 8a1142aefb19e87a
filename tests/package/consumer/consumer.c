/* SPDX-License-Identifier: MIT */
/* A program that uses an installed qelutf: one call from each family it
 * links against, checked, then "consumer: ok". */
#include <qel/qelchars.h>
#include <qel/qelstr.h>
#include <qel/qelutftype.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    const char text[] = "h\xC3\xA9 \xF0\x9F\x98\x80";
    char16_t wide[16];
    unsigned int len = 0;
    if (qelStrUtf8ToUtf16(wide, 16, &len, text, 0xFFFFFFFFu) != qelStrOk || len != 5 || wide[1] != 0xE9 ||
        wide[3] != 0xD83D)
        return 1;

    char* back = NULL;  /* from the default provider, libqelstrmem */
    if (qelStrUtf16ToUtf8Alloc(&back, &len, wide, len) != qelStrOk || strcmp(back, text) != 0) return 2;
    qelStrFree(back);

    unsigned char mark[4];
    if (qelUtfTypeToBOM(mark, sizeof mark, qelUtfTypeUtf16BE) != 2 || mark[0] != 0xFE || mark[1] != 0xFF) return 3;

    if (qel_u8clen(text + 1, 2) != 2) return 4;

    puts("consumer: ok");
    return 0;
}
