#include "support/test_provider.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <mutex>

#include "qel/qelstr.h"

namespace qeltest {
namespace {

struct ProviderState {
    std::mutex lock;
    bool active = false;
    unsigned int allocCount = 0;
    unsigned int failNumber = 0;        // 0: none
    unsigned int failAbove = ~0u;
    std::map<const void*, unsigned int> live;
    std::vector<ProviderCall> calls;
    std::vector<std::string> faults;
};

ProviderState& state() {
    static ProviderState s;
    return s;
}

}  // namespace

ProviderScope::ProviderScope() {
    ProviderState& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.active = true;
    s.allocCount = 0;
    s.failNumber = 0;
    s.failAbove = ~0u;
    s.live.clear();
    s.calls.clear();
    s.faults.clear();
}

ProviderScope::~ProviderScope() {
    ProviderState& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    for (const std::string& f : s.faults) ADD_FAILURE() << f;
    if (!s.live.empty()) ADD_FAILURE() << s.live.size() << " provider block(s) still live";
    for (auto& kv : s.live) std::free(const_cast<void*>(kv.first));
    s.live.clear();
    s.active = false;
}

void ProviderScope::failAllocNumber(unsigned int n) {
    std::lock_guard<std::mutex> g(state().lock);
    state().failNumber = n;
}
void ProviderScope::failAllocAbove(unsigned int bytes) {
    std::lock_guard<std::mutex> g(state().lock);
    state().failAbove = bytes;
}
void ProviderScope::failAll() { failAllocAbove(0); }

static unsigned int countKind(ProviderCall::Kind k) {
    std::lock_guard<std::mutex> g(state().lock);
    unsigned int n = 0;
    for (const ProviderCall& c : state().calls) n += c.kind == k;
    return n;
}
unsigned int ProviderScope::allocs() const { return countKind(ProviderCall::Alloc); }
unsigned int ProviderScope::reallocs() const { return countKind(ProviderCall::ReAlloc); }
unsigned int ProviderScope::frees() const { return countKind(ProviderCall::Free); }

std::size_t ProviderScope::liveBlocks() const {
    std::lock_guard<std::mutex> g(state().lock);
    return state().live.size();
}
std::vector<ProviderCall> ProviderScope::calls() const {
    std::lock_guard<std::mutex> g(state().lock);
    return state().calls;
}
static std::vector<unsigned int> sizesOf(ProviderCall::Kind k) {
    std::lock_guard<std::mutex> g(state().lock);
    std::vector<unsigned int> v;
    for (const ProviderCall& c : state().calls)
        if (c.kind == k) v.push_back(c.size);
    return v;
}
std::vector<unsigned int> ProviderScope::allocSizes() const { return sizesOf(ProviderCall::Alloc); }
std::vector<unsigned int> ProviderScope::reallocSizes() const { return sizesOf(ProviderCall::ReAlloc); }
bool ProviderScope::isLive(const void* p) const {
    std::lock_guard<std::mutex> g(state().lock);
    return state().live.count(p) != 0;
}

}  // namespace qeltest

using qeltest::ProviderCall;
using qeltest::state;

extern "C" {

// Outside a ProviderScope the provider serves from the C heap untracked, so
// that tests which do not care about memory need no scope.
void* qelStrAlloc(unsigned int size) {
    auto& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (!s.active) return std::malloc(size);
    if (size == 0) s.faults.push_back("qelStrAlloc asked for 0 bytes");
    ++s.allocCount;
    bool refuse = s.allocCount == s.failNumber || size > s.failAbove;
    s.calls.push_back({ProviderCall::Alloc, size, refuse});
    if (refuse) return nullptr;
    void* p = std::malloc(size);
    s.live[p] = size;
    return p;
}

void* qelStrReAlloc(void* p, unsigned int size) {
    auto& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (!s.active) return std::realloc(p, size);
    if (size == 0) s.faults.push_back("qelStrReAlloc asked for 0 bytes");
    s.calls.push_back({ProviderCall::ReAlloc, size, false});
    auto it = s.live.find(p);
    if (it == s.live.end()) {
        s.faults.push_back("qelStrReAlloc of a block that is not live");
        return std::realloc(p, size);
    }
    s.live.erase(it);
    void* q = std::realloc(p, size);
    s.live[q] = size;
    return q;
}

void qelStrFree(void* p) {
    auto& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (!s.active) {
        std::free(p);
        return;
    }
    s.calls.push_back({ProviderCall::Free, 0, false});
    if (p == nullptr) return;
    auto it = s.live.find(p);
    if (it == s.live.end()) {
        s.faults.push_back("qelStrFree of a block that is not live (double free?)");
        return;
    }
    s.live.erase(it);
    std::free(p);
}

}  // extern "C"
