// A string memory provider for the tests: counts calls, records sizes, tracks
// live blocks, and can fail the n-th request or every request above a size.
// A test installs a ProviderScope; when the scope ends it fails the test if
// a block is still live or a block was freed twice or never allocated.
#pragma once

#include <cstddef>
#include <vector>

namespace qeltest {

struct ProviderCall {
    enum Kind { Alloc, ReAlloc, Free } kind;
    unsigned int size;  // bytes asked for (0 for Free)
    bool failed;        // the request was refused
};

class ProviderScope {
public:
    ProviderScope();
    ~ProviderScope();
    ProviderScope(const ProviderScope&) = delete;
    ProviderScope& operator=(const ProviderScope&) = delete;

    // Refuse the n-th request (1-based, counting qelStrAlloc calls only).
    void failAllocNumber(unsigned int n);
    // Refuse every qelStrAlloc request of more than `bytes` bytes.
    void failAllocAbove(unsigned int bytes);
    // Refuse every qelStrAlloc request.
    void failAll();

    unsigned int allocs() const;
    unsigned int reallocs() const;
    unsigned int frees() const;
    std::size_t liveBlocks() const;
    std::vector<ProviderCall> calls() const;
    // Sizes of the qelStrAlloc (or qelStrReAlloc) requests, in order.
    std::vector<unsigned int> allocSizes() const;
    std::vector<unsigned int> reallocSizes() const;
    // Whether p is a live block that the provider handed out.
    bool isLive(const void* p) const;
};

}  // namespace qeltest
