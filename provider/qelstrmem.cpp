// SPDX-License-Identifier: MIT
// Default string memory provider. Built on mimalloc's own entry points where
// the build found it: its heaps keep freed memory for reuse, so a program
// that converts large strings again and again does not give every result back
// to the system and fault it in anew. The process's malloc stays the C
// library's: nothing here is named malloc or free, and the allocator is a
// dependency of this library only, found after the C library. Without
// mimalloc the provider is the C heap. Either way it is thread-safe, and a
// resize that cannot be done ends the process, since the library has no way
// to hear of that failure. A call that succeeds leaves errno as it was, as
// the C heap does: mimalloc may touch it while it sets up a thread's heap, and
// the errno-style functions promise to leave it alone in some cases.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "qel/qelstr.h"

#if defined(QELSTRMEM_MIMALLOC)
#include <mimalloc.h>
#define QEL_HEAP_ALLOC mi_malloc
#define QEL_HEAP_REALLOC mi_realloc
#define QEL_HEAP_FREE mi_free
#else
#define QEL_HEAP_ALLOC std::malloc
#define QEL_HEAP_REALLOC std::realloc
#define QEL_HEAP_FREE std::free
#endif

extern "C" {

QEL_API void* qelStrAlloc(unsigned int size) {
    const int saved = errno;
    void* p = QEL_HEAP_ALLOC(size == 0 ? 1 : size);
    if (p != nullptr) errno = saved;
    return p;
}

QEL_API void* qelStrReAlloc(void* p, unsigned int size) {
    const int saved = errno;
    void* q = QEL_HEAP_REALLOC(p, size == 0 ? 1 : size);
    if (q != nullptr) errno = saved;
    if (q == nullptr) {
        std::fprintf(stderr, "qelstrmem: cannot resize a string block to %u bytes\n", size);
        std::abort();
    }
    return q;
}

QEL_API void qelStrFree(void* p) {
    const int saved = errno;
    QEL_HEAP_FREE(p);
    errno = saved;
}

}  // extern "C"
