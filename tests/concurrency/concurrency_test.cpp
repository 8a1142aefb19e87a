// Conversions of every pair and family from eight threads at once, on the
// shared library with the default string memory provider: every result must
// equal the one computed on a single thread beforehand.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <sstream>
#include <thread>

#include "alloc/entry_points.h"

namespace {

using qeltest::Units;
using Job = std::function<std::string()>;

constexpr long kNullOut = -1;

template <class T>
Units unitsOf(const T* p, unsigned int len) {
    Units u;
    for (unsigned int i = 0; i < len; ++i) u.push_back(static_cast<std::make_unsigned_t<T>>(p[i]));
    qelStrFree(const_cast<T*>(p));
    return u;
}

// The texts in each source width (1, 2 or 4 bytes a unit): short and long
// well-formed text with control sequences, and text with a fault in the middle.
std::map<unsigned int, std::vector<Units>> makeTexts() {
    const Units cycle = {0x61, 0xE9, 0x20AC, 0x1F600, 1, 0x41, 0x85, 2, 0x62, 1, 3};
    Units shortText = {0x68, 0xE9, 1, 0x41, 0x42, 2, 0x1F600, 0x7A}, longText;
    for (unsigned int i = 0; i < 3000; ++i) longText.push_back(cycle[i % cycle.size()]);
    std::map<unsigned int, std::vector<Units>> texts;
    for (const Units& t : {shortText, longText}) {
        std::vector<unsigned int> src(t.begin(), t.end());
        const unsigned int n = static_cast<unsigned int>(src.size());
        char* u8 = nullptr;
        char16_t* u16 = nullptr;
        unsigned int len8 = 0, len16 = 0;
        qelStrUtf32ToUtf8Alloc(&u8, &len8, src.data(), n);
        qelStrUtf32ToUtf16Alloc(&u16, &len16, src.data(), n);
        texts[1].push_back(unitsOf(u8, len8));
        texts[2].push_back(unitsOf(u16, len16));
        texts[4].push_back(t);
    }
    texts[1].push_back({0x61, 0xC3, 0xA9, 0x80, 0x62});
    texts[2].push_back({0x61, 0xE9, 0xDC00, 0x62});
    texts[4].push_back({0x61, 0xE9, 0x110000, 0x62});
    return texts;
}

const std::map<unsigned int, std::vector<Units>>& texts() {
    static const std::map<unsigned int, std::vector<Units>> t = makeTexts();
    return t;
}

template <class D>
std::string show(long status, unsigned int len, const std::vector<D>& buf) {
    std::ostringstream os;
    os << status << " " << len << ":";
    for (D u : buf) os << " " << static_cast<unsigned long>(static_cast<std::make_unsigned_t<D>>(u));
    return os.str();
}

// A bounded qelStr conversion (Fn with the flags already bound).
template <class S, class D, class Fn>
void addBounded(std::vector<Job>& jobs, Fn fn) {
    for (const Units& text : texts().at(sizeof(S)))
        for (long size : {kNullOut, 7L, 64L, 5000L})
            jobs.push_back([fn, &text, size] {
                const std::vector<S> src = qeltest::sourceOf<S>(text);
                std::vector<D> buf(size == kNullOut ? 0 : static_cast<std::size_t>(size));
                unsigned int len = 0;
                const int st = fn(size == kNullOut ? nullptr : buf.data(), static_cast<unsigned int>(buf.size()), &len,
                                  src.data(), static_cast<unsigned int>(text.size()));
                return show(st, len, buf);
            });
}

template <class S, class D>
void addErrnoBounded(std::vector<Job>& jobs, std::size_t (*fn)(D*, const S*, std::size_t)) {
    for (const Units& text : texts().at(sizeof(S)))
        for (long size : {kNullOut, 7L, 5000L})
            jobs.push_back([fn, &text, size] {
                const std::vector<S> src = qeltest::sourceOf<S>(text);
                std::vector<D> buf(size == kNullOut ? 0 : static_cast<std::size_t>(size));
                errno = 0;
                const std::size_t r = fn(size == kNullOut ? nullptr : buf.data(), src.data(), buf.size());
                return show(static_cast<long>(r), static_cast<unsigned int>(errno), buf);
            });
}

std::vector<Job> allJobs() {
    // The jobs refer to the entries and texts, which live as long as the test.
    std::vector<Job> jobs;
    static const std::vector<qeltest::AllocEntry> allocs = qeltest::allocEntries();
    for (const qeltest::AllocEntry& e : allocs)
        for (const Units& text : texts().at(e.sourceSize))
            for (bool query : {false, true})
                jobs.push_back([&e, &text, query] {
                    std::ostringstream os;
                    os << e.call(&text, static_cast<unsigned int>(text.size()), query);
                    return os.str();
                });
    static const std::vector<qeltest::AllocEntry> errnoAllocs = qeltest::errnoAllocEntries();
    for (const qeltest::AllocEntry& e : errnoAllocs)
        for (const Units& text : texts().at(e.sourceSize))
            jobs.push_back([&e, &text] {
                std::ostringstream os;
                os << e.call(&text, 0, false);
                return os.str();
            });

    addBounded<char16_t, char>(jobs, qelStrUtf16ToUtf8);
    addBounded<unsigned int, char>(jobs, qelStrUtf32ToUtf8);
    addBounded<char, char16_t>(jobs, qelStrUtf8ToUtf16);
    addBounded<char, unsigned int>(jobs, qelStrUtf8ToUtf32);
    addBounded<char16_t, unsigned int>(jobs, qelStrUtf16ToUtf32);
    addBounded<unsigned int, char16_t>(jobs, qelStrUtf32ToUtf16);
    const unsigned int F = qelStrFlagFullLength, N = qelStrFlagNoTerminator, R = qelStrFlagRawSequences;
    for (unsigned int flags : {F, N, R, F | N | R}) {
        addBounded<char16_t, char>(jobs, [flags](char* o, unsigned int s, unsigned int* l, const char16_t* i,
                                                 unsigned int n) { return qelStrUtf16ToUtf8Ex(o, s, l, i, n, flags); });
        addBounded<unsigned int, char>(jobs, [flags](char* o, unsigned int s, unsigned int* l, const unsigned int* i,
                                                     unsigned int n) { return qelStrUtf32ToUtf8Ex(o, s, l, i, n, flags); });
        addBounded<char, char16_t>(jobs, [flags](char16_t* o, unsigned int s, unsigned int* l, const char* i,
                                                 unsigned int n) { return qelStrUtf8ToUtf16Ex(o, s, l, i, n, flags); });
        addBounded<char, unsigned int>(jobs, [flags](unsigned int* o, unsigned int s, unsigned int* l, const char* i,
                                                     unsigned int n) { return qelStrUtf8ToUtf32Ex(o, s, l, i, n, flags); });
    }

    addErrnoBounded(jobs, qel_u16stou8s);
    addErrnoBounded(jobs, qel_u16stou32s);
    addErrnoBounded(jobs, qel_u32stou8s);
    addErrnoBounded(jobs, qel_u32stou16s);
    addErrnoBounded(jobs, qel_u8stou16s);
    addErrnoBounded(jobs, qel_u8stou32s);
    return jobs;
}

TEST(Concurrency, EveryFamilyFromEightThreads) {
    const std::vector<Job> jobs = allJobs();
    std::vector<std::string> expected;
    for (const Job& j : jobs) expected.push_back(j());

    constexpr unsigned int kThreads = 8, kRounds = 3;
    std::atomic<unsigned int> mismatches{0}, calls{0};
    std::vector<std::thread> threads;
    for (unsigned int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (unsigned int r = 0; r < kRounds; ++r)
                for (std::size_t i = 0; i < jobs.size(); ++i) {
                    const std::size_t k = (i + t * jobs.size() / kThreads) % jobs.size();  // threads start apart
                    if (jobs[k]() != expected[k]) ++mismatches;
                    ++calls;
                }
        });
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(mismatches.load(), 0u);
    EXPECT_EQ(calls.load(), kThreads * kRounds * jobs.size());
}

}  // namespace
