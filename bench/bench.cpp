// SPDX-License-Identifier: MIT
// qelutf benchmark: every conversion pair on every corpus and size, through
// each family of entry points and the exported cores, next to memcpy of the
// input bytes (the ceiling), a plain strict loop (the floor), ICU and glibc
// iconv, all in one run. Prints one markdown table on stdout: GB/s of input
// (ns per call for the 16 B and 64 B inputs) and the speed ratios of the
// bounded and the allocating entry points to memcpy, ICU and the loop.
//
// Inputs below 4 KiB are pools of different texts of that size, one per call
// in turn, so that no branch predictor learns one string; they are also
// measured into outputs of exactly the converted length plus the terminator
// ("exact", the size a length query gives), next to ICU with the same room.
//
//   qelutf_bench [--time-scale=X] [--sizes=16,64,4096,1048576] [Google Benchmark flags]
//
// --time-scale multiplies the minimum time each cell is measured for.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <numeric>
#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "corpora.h"
#include "entries.h"
#include "qel/qelchars.h"
#include "qel/qelcore.h"
#include "qel/qelstr.h"
#include "references.h"

namespace bench {
namespace {

// ---- the library's entry points per pair --------------------------------------

using U8 = char;
using U16 = char16_t;
using U32 = char32_t;

// The library's own pointer type for a pointer the bench holds: its UTF-32
// units are unsigned int, and the UTF-8 core reads unsigned char.
template <class To, class From>
To* as(From* p) {
    return reinterpret_cast<To*>(p);
}
template <class T>
auto lib(T* p) {
    if constexpr (std::is_same_v<std::remove_cv_t<T>, U32>) {
        return as<std::conditional_t<std::is_const_v<T>, const unsigned int, unsigned int>>(p);
    } else {
        return p;
    }
}
inline unsigned int** lib(U32** p) { return as<unsigned int*>(p); }

// Runs an exported core over the whole input; the units written, or -1.
template <class S, class D, class LS, class LD>
long runCore(int (*core)(LD**, const LD*, const LS**, const LS*), D* o, std::size_t cap, const S* in,
             std::size_t n) {
    LD* const base = as<LD>(o);
    LD* w = base;
    const LS* r = as<const LS>(in);
    return core(&w, base + cap, &r, r + n) < 0 ? -1 : w - base;
}

// One pair's entry points: bounded, allocating, errno-style and, where the
// pair has one, its exported core (kCore nullptr otherwise). kGrowth is the
// most output units per input unit.
template <class S, class D, std::size_t kGrow, auto kBounded, auto kAlloc, auto kErrno, auto kCore>
struct Binding {
    static constexpr std::size_t kGrowth = kGrow;
    static constexpr bool kHasCore = !std::is_same_v<decltype(kCore), std::nullptr_t>;
    static qelStrStatus bounded(D* o, unsigned n, unsigned* len, const S* in, unsigned inLen) {
        return kBounded(lib(o), n, len, lib(in), inLen);
    }
    static qelStrStatus alloc(D** o, unsigned* len, const S* in, unsigned inLen) {
        return kAlloc(lib(o), len, lib(in), inLen);
    }
    static std::size_t errnoStyle(D* d, const S* s, std::size_t n) { return kErrno(lib(d), lib(s), n); }
    static long core(D* o, std::size_t cap, const S* in, std::size_t n) {
        if constexpr (kHasCore) {
            return runCore(kCore, o, cap, in, n);
        } else {
            return -1;
        }
    }
};

// The entry points come from the one table of fuzz/entries.h.
template <qelent::Family Fam, class I, class O>
constexpr auto Table = qelent::Fn<Fam, I, O>::value;
constexpr qelent::Family B = qelent::Family::Bounded, A = qelent::Family::Alloc, E = qelent::Family::Errno,
                         S = qelent::Family::Safe;

template <Enc From, Enc To>
struct Lib;
template <>
struct Lib<Enc::U8, Enc::U16> : Binding<U8, U16, 1, Table<B, char, char16_t>, Table<A, char, char16_t>, Table<E, char, char16_t>,
                                        Table<qelent::Family::Fill, unsigned char, char16_t>> {
    static constexpr const char* kName = "UTF-8 → UTF-16";
};
template <>
struct Lib<Enc::U16, Enc::U8> : Binding<U16, U8, 3, Table<B, char16_t, char>, Table<A, char16_t, char>, Table<E, char16_t, char>,
                                        Table<S, char16_t, char>> {
    static constexpr const char* kName = "UTF-16 → UTF-8";
};
template <>
struct Lib<Enc::U8, Enc::U32>
    : Binding<U8, U32, 1, Table<B, char, unsigned>, Table<A, char, unsigned>, Table<E, char, unsigned>, nullptr> {
    static constexpr const char* kName = "UTF-8 → UTF-32";
};
template <>
struct Lib<Enc::U32, Enc::U8>
    : Binding<U32, U8, 4, Table<B, unsigned, char>, Table<A, unsigned, char>, Table<E, unsigned, char>, nullptr> {
    static constexpr const char* kName = "UTF-32 → UTF-8";
};
template <>
struct Lib<Enc::U16, Enc::U32> : Binding<U16, U32, 1, Table<B, char16_t, unsigned>, Table<A, char16_t, unsigned>, Table<E, char16_t, unsigned>,
                                         Table<S, char16_t, unsigned>> {
    static constexpr const char* kName = "UTF-16 → UTF-32";
};
template <>
struct Lib<Enc::U32, Enc::U16> : Binding<U32, U16, 2, Table<B, unsigned, char16_t>, Table<A, unsigned, char16_t>, Table<E, unsigned, char16_t>,
                                         Table<qelent::Family::Fill, unsigned, char16_t>> {
    static constexpr const char* kName = "UTF-32 → UTF-16";
};

// ---- inputs ---------------------------------------------------------------------

struct Input {
    std::string corpus;
    std::size_t size;         // bytes of UTF-8
    std::vector<Text> texts;  // one, or a pool for the short sizes
};

constexpr std::size_t kPool = 64;

// The code points of well-formed UTF-8.
std::u32string decode(const std::string& s) {
    std::u32string out;
    for (std::size_t i = 0; i < s.size();) {
        const unsigned char b = static_cast<unsigned char>(s[i]);
        const int len = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
        char32_t c = len == 1 ? b : len == 2 ? b & 0x1F : len == 3 ? b & 0x0F : b & 0x07;
        for (int k = 1; k < len; ++k) c = (c << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
        out.push_back(c);
        i += static_cast<std::size_t>(len);
    }
    return out;
}

// The texts of a cell: the corpus text itself, or kPool cuts of `size` bytes
// at character boundaries from different places of a longer text.
std::vector<Text> textsOf(Corpus corpus, std::size_t size) {
    if (size >= 4096) return {makeText(corpus, size)};
    const Text big = makeText(corpus, 1u << 16);
    std::vector<Text> pool;
    const auto boundary = [&](std::size_t i) { return i >= big.utf8.size() || (big.utf8[i] & 0xC0) != 0x80; };
    for (std::size_t k = 0, from = 0; k < kPool; ++k, from += size * 3 + 5) {
        if (from + size >= big.utf8.size()) from = k;
        std::size_t a = from, b = from + size;
        while (!boundary(a)) ++a;
        while (!boundary(b)) --b;
        Text t;
        t.utf8 = big.utf8.substr(a, b - a);
        t.utf32 = decode(t.utf8);
        for (char32_t c : t.utf32) {
            if (c >= 0x10000) {
                t.utf16.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
                t.utf16.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
            } else {
                t.utf16.push_back(static_cast<char16_t>(c));
            }
        }
        pool.push_back(std::move(t));
    }
    return pool;
}

std::vector<std::unique_ptr<Input>>& inputs() {
    static std::vector<std::unique_ptr<Input>> all;
    return all;
}

template <Enc E>
const typename UnitOf<E>::type* unitsOf(const Text& t) {
    if constexpr (E == Enc::U8) {
        return t.utf8.c_str();
    } else if constexpr (E == Enc::U16) {
        return t.utf16.c_str();
    } else {
        return t.utf32.c_str();
    }
}
template <Enc E>
std::size_t countOf(const Text& t) {
    if constexpr (E == Enc::U8) {
        return t.utf8.size();
    } else if constexpr (E == Enc::U16) {
        return t.utf16.size();
    } else {
        return t.utf32.size();
    }
}
template <Enc E>
const char* encName() {
    return E == Enc::U8 ? "utf8" : E == Enc::U16 ? "utf16" : "utf32";
}

// ---- the cells ------------------------------------------------------------------

const char* const kMethods[] = {"memcpy", "loop",  "ICU",  "iconv",       "bounded",
                                "alloc",  "errno", "core", "length", "ICU exact", "bounded exact"};

std::string cellName(const std::string& pair, const Input& in, const char* method) {
    return pair + "/" + in.corpus + "/" + std::to_string(in.size) + "/" + method;
}

double minTimeFor(std::size_t size, double scale) {
    return scale * (size >= (1u << 20) ? 0.08 : size >= 4096 ? 0.03 : 0.015);
}

// Runs `call(i)` on text i of the pool in turn (it returns the units
// written, or -1) in the timing loop, after checking once that it writes the
// expected number of units for every text.
template <class Call>
void timed(benchmark::State& state, std::size_t inBytes, const std::vector<long>& expected, Call call) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const long got = call(i);
        if (got != expected[i]) {
            state.SkipWithError(("wrong output length " + std::to_string(got) + ", expected " +
                                 std::to_string(expected[i])).c_str());
            return;
        }
    }
    std::size_t i = 0;
    for (auto _ : state) {
        long n = call(i);
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
        if (++i == expected.size()) i = 0;
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * inBytes));
}

template <Enc F, Enc T>
void registerPair(const std::string& pair, const Input& in, double scale) {
    using S = typename UnitOf<F>::type;
    using D = typename UnitOf<T>::type;
    using L = Lib<F, T>;
    std::vector<const S*> src;
    std::vector<std::size_t> n;
    std::vector<unsigned> exact;  // the converted length and the terminator
    std::vector<long> expected;
    std::size_t most = 0, inBytes = 0;
    for (const Text& t : in.texts) {
        src.push_back(unitsOf<F>(t));
        n.push_back(countOf<F>(t));
        expected.push_back(static_cast<long>(countOf<T>(t)));
        exact.push_back(static_cast<unsigned>(countOf<T>(t) + 1));
        most = std::max(most, countOf<F>(t));
        inBytes += countOf<F>(t) * sizeof(S);
    }
    inBytes /= in.texts.size();  // the mean of a call
    const std::size_t cap = most * L::kGrowth + 1;
    auto out = std::make_shared<std::vector<D>>(cap);
    const double minTime = minTimeFor(in.size, scale);

    auto add = [&](const char* method, auto call) {
        benchmark::RegisterBenchmark(cellName(pair, in, method).c_str(),
                                     [=](benchmark::State& st) { timed(st, inBytes, expected, call); })
            ->MinTime(minTime);
    };
    add("loop", [=](std::size_t i) { return loopConvert<F, T>(out->data(), cap, src[i], n[i]); });
    add("ICU", [=](std::size_t i) { return icuConvert<F, T>(out->data(), cap, src[i], n[i]); });
    add("iconv", [=](std::size_t i) { return iconvConvert<F, T>(out->data(), cap, src[i], n[i]); });
    add("bounded", [=](std::size_t i) {
        unsigned len = 0;
        return L::bounded(out->data(), static_cast<unsigned>(cap), &len, src[i], static_cast<unsigned>(n[i])) == qelStrOk
                   ? long(len)
                   : -1L;
    });
    if (in.size < 4096) {
        add("ICU exact", [=](std::size_t i) { return icuConvert<F, T>(out->data(), exact[i], src[i], n[i]); });
        add("bounded exact", [=](std::size_t i) {
            unsigned len = 0;
            return L::bounded(out->data(), exact[i], &len, src[i], static_cast<unsigned>(n[i])) == qelStrOk ? long(len)
                                                                                                           : -1L;
        });
    }
    add("alloc", [=](std::size_t i) {
        D* result = nullptr;
        unsigned len = 0;
        const qelStrStatus st = L::alloc(&result, &len, src[i], static_cast<unsigned>(n[i]));
        qelStrFree(result);
        return st == qelStrOk ? long(len) : -1L;
    });
    add("errno", [=](std::size_t i) {
        const std::size_t r = L::errnoStyle(out->data(), src[i], cap);
        return r == static_cast<std::size_t>(-1) ? -1L : long(r);
    });
    if constexpr (L::kHasCore) add("core", [=](std::size_t i) { return L::core(out->data(), cap, src[i], n[i]); });
    add("length", [=](std::size_t i) {
        unsigned len = 0;
        return L::bounded(nullptr, 0, &len, src[i], static_cast<unsigned>(n[i])) == qelStrOk ? long(len) : -1L;
    });
}

template <Enc F>
void registerMemcpy(const Input& in, double scale) {
    using S = typename UnitOf<F>::type;
    std::vector<const S*> src;
    std::vector<long> bytes;
    std::size_t most = 0;
    for (const Text& t : in.texts) {
        src.push_back(unitsOf<F>(t));
        bytes.push_back(static_cast<long>(countOf<F>(t) * sizeof(S)));
        most = std::max(most, countOf<F>(t) * sizeof(S));
    }
    const std::size_t mean = static_cast<std::size_t>(std::accumulate(bytes.begin(), bytes.end(), 0L)) / bytes.size();
    auto out = std::make_shared<std::vector<char>>(most + 1);
    benchmark::RegisterBenchmark(cellName(encName<F>(), in, "memcpy").c_str(),
                                 [=](benchmark::State& st) {
                                     timed(st, mean, bytes, [=](std::size_t i) {
                                         std::memcpy(out->data(), src[i], static_cast<std::size_t>(bytes[i]));
                                         return bytes[i];
                                     });
                                 })
        ->MinTime(minTimeFor(in.size, scale));
}

struct PairInfo {
    std::string key;
    std::string name;
    std::string source;  // encName of the source, for its memcpy cell
};
std::vector<PairInfo> gPairs;

template <Enc F, Enc T>
void addPair(const char* key, double scale) {
    gPairs.push_back({key, Lib<F, T>::kName, encName<F>()});
    for (const auto& in : inputs()) registerPair<F, T>(key, *in, scale);
}

// ---- the table ------------------------------------------------------------------

struct Cell {
    double bytesPerSecond = 0;
    double nsPerCall = 0;
    bool ok = false;
};

class TableReporter : public benchmark::BenchmarkReporter {
public:
    std::map<std::string, Cell> cells;
    std::size_t done = 0;

    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            Cell c;
            c.ok = !r.error_occurred;
            if (c.ok) {
                auto it = r.counters.find("bytes_per_second");
                c.bytesPerSecond = it == r.counters.end() ? 0 : double(it->second);
                c.nsPerCall = r.GetAdjustedCPUTime();
            } else {
                std::fprintf(stderr, "\n%s: %s\n", r.benchmark_name().c_str(), r.error_message.c_str());
            }
            cells[r.run_name.function_name] = c;
            if (++done % 50 == 0) std::fprintf(stderr, ".");
        }
    }
    void Finalize() override { std::fprintf(stderr, "\n"); }
};

std::string sizeName(std::size_t size) {
    if (size >= (1u << 20)) return std::to_string(size >> 20) + " MiB";
    if (size >= 1024) return std::to_string(size >> 10) + " KiB";
    return std::to_string(size) + " B";
}

// One value: GB/s for the large inputs, ns per call for the small ones.
std::string value(const Cell* c, bool perCall) {
    if (c == nullptr) return "—";
    if (!c->ok) return "fail";
    char buf[32];
    if (perCall) {
        std::snprintf(buf, sizeof buf, "%.0f ns", c->nsPerCall);
    } else {
        std::snprintf(buf, sizeof buf, "%.2f", c->bytesPerSecond / 1e9);
    }
    return buf;
}

std::string ratio(const Cell* ours, const Cell* ref) {
    if (ours == nullptr || ref == nullptr || !ours->ok || !ref->ok || ref->bytesPerSecond <= 0) return "—";
    char buf[32];
    const double r = ours->bytesPerSecond / ref->bytesPerSecond;
    std::snprintf(buf, sizeof buf, r < 0.1 ? "%.3f" : "%.2f", r);
    return buf;
}

void printTable(const TableReporter& rep) {
    auto find = [&](const std::string& name) -> const Cell* {
        auto it = rep.cells.find(name);
        return it == rep.cells.end() ? nullptr : &it->second;
    };
    std::printf("| conversion | corpus | input | memcpy | loop | ICU | iconv | bounded | alloc | errno | core | "
                "length | ICU exact | bounded exact | bounded ÷ memcpy | bounded ÷ ICU | bounded ÷ loop | "
                "alloc ÷ memcpy | alloc ÷ ICU | alloc ÷ loop | exact ÷ ICU exact |\n");
    std::printf("|---|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const PairInfo& pair : gPairs) {
        for (const auto& in : inputs()) {
            const bool perCall = in->size < 4096;
            std::vector<const Cell*> c;
            for (const char* m : kMethods) {
                const std::string owner = std::strcmp(m, "memcpy") == 0 ? pair.source : pair.key;
                c.push_back(find(cellName(owner, *in, m)));
            }
            std::printf("| %s | %s | %s |", pair.name.c_str(), in->corpus.c_str(), sizeName(in->size).c_str());
            for (const Cell* cell : c) std::printf(" %s |", value(cell, perCall).c_str());
            const Cell* memcpyCell = c[0];
            const Cell* loopCell = c[1];
            const Cell* icuCell = c[2];
            for (const Cell* ours : {c[4], c[5]})
                std::printf(" %s | %s | %s |", ratio(ours, memcpyCell).c_str(), ratio(ours, icuCell).c_str(),
                            ratio(ours, loopCell).c_str());
            std::printf(" %s |\n", ratio(c[10], c[9]).c_str());
        }
    }
}

std::vector<std::size_t> parseSizes(const char* list) {
    std::vector<std::size_t> sizes;
    for (const char* p = list; *p != 0;) {
        char* end = nullptr;
        sizes.push_back(std::strtoul(p, &end, 10));
        p = *end == ',' ? end + 1 : end;
        if (end == p && *p != 0) break;
    }
    return sizes;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    double scale = 1.0;
    std::vector<std::size_t> sizes = {16, 64, 4096, 1u << 20};
    std::vector<char*> rest;
    for (int i = 0; i < argc; ++i) {
        if (std::strncmp(argv[i], "--time-scale=", 13) == 0) {
            scale = std::atof(argv[i] + 13);
        } else if (std::strncmp(argv[i], "--sizes=", 8) == 0) {
            sizes = parseSizes(argv[i] + 8);
        } else {
            rest.push_back(argv[i]);
        }
    }
    int restCount = static_cast<int>(rest.size());
    benchmark::Initialize(&restCount, rest.data());

    for (const CorpusInfo& c : corpora())
        for (std::size_t size : sizes) inputs().push_back(std::make_unique<Input>(Input{c.name, size, textsOf(c.id, size)}));

    for (const auto& in : inputs()) {
        registerMemcpy<Enc::U8>(*in, scale);
        registerMemcpy<Enc::U16>(*in, scale);
        registerMemcpy<Enc::U32>(*in, scale);
    }
    addPair<Enc::U8, Enc::U16>("u8-u16", scale);
    addPair<Enc::U16, Enc::U8>("u16-u8", scale);
    addPair<Enc::U8, Enc::U32>("u8-u32", scale);
    addPair<Enc::U32, Enc::U8>("u32-u8", scale);
    addPair<Enc::U16, Enc::U32>("u16-u32", scale);
    addPair<Enc::U32, Enc::U16>("u32-u16", scale);

    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printTable(reporter);
    benchmark::Shutdown();
    return 0;
}
