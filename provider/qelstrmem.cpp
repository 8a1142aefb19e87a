// Default string memory provider: the C heap. Thread-safe because malloc,
// realloc and free are. A resize that cannot be done ends the process, since
// the library has no way to hear of that failure.
#include <cstdio>
#include <cstdlib>

#include "qel/qelstr.h"

extern "C" {

QEL_API void* qelStrAlloc(unsigned int size) { return std::malloc(size == 0 ? 1 : size); }

QEL_API void* qelStrReAlloc(void* p, unsigned int size) {
    void* q = std::realloc(p, size == 0 ? 1 : size);
    if (q == nullptr) {
        std::fprintf(stderr, "qelstrmem: cannot resize a string block to %u bytes\n", size);
        std::abort();
    }
    return q;
}

QEL_API void qelStrFree(void* p) { std::free(p); }

}  // extern "C"
