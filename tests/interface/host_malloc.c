/* SPDX-License-Identifier: MIT */
/* Loading the default provider leaves the program's malloc and free with the
 * C library, whatever heap the provider itself uses; and its blocks travel
 * through the library like any other. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qel/qelstr.h"

static int fromLibc(void* symbol) {
    Dl_info info;
    return dladdr(symbol, &info) != 0 && info.dli_fname != NULL && strstr(info.dli_fname, "libc.so") != NULL;
}

int main(void) {
    if (!fromLibc((void*)&malloc) || !fromLibc((void*)&free) || !fromLibc(dlsym(RTLD_DEFAULT, "malloc"))) {
        fprintf(stderr, "malloc no longer comes from the C library\n");
        return 1;
    }
    char16_t* wide = NULL;
    unsigned int len = 0;
    if (qelStrUtf8ToUtf16Alloc(&wide, &len, "caf\xC3\xA9", 5) != qelStrOk || len != 4 || wide[3] != 0xE9) return 1;
    qelStrFree(wide);
    void* block = malloc(16); /* the C heap still serves the program */
    free(block);
    return block == NULL;
}
