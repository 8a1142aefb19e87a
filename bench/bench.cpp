// qelutf benchmark: every conversion pair on every corpus and size, through
// each family of entry points and the exported cores, next to memcpy of the
// input bytes (the ceiling), a plain strict loop (the floor), ICU and glibc
// iconv, all in one run. Prints one markdown table on stdout: GB/s of input
// (ns per call for the 16 B and 64 B inputs) and the speed ratios of the
// bounded and the allocating entry points to memcpy, ICU and the loop.
//
//   qelutf_bench [--time-scale=X] [--sizes=16,64,4096,1048576] [Google Benchmark flags]
//
// --time-scale multiplies the minimum time each cell is measured for.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
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
    std::size_t size;  // bytes of UTF-8
    Text text;
};

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

const char* const kMethods[] = {"memcpy", "loop", "ICU", "iconv", "bounded", "alloc", "errno", "core", "length"};

std::string cellName(const std::string& pair, const Input& in, const char* method) {
    return pair + "/" + in.corpus + "/" + std::to_string(in.size) + "/" + method;
}

double minTimeFor(std::size_t size, double scale) {
    return scale * (size >= (1u << 20) ? 0.08 : size >= 4096 ? 0.03 : 0.015);
}

// Runs `call` (which returns the units written, or -1) in the timing loop
// after checking once that it writes the expected number of units.
template <class Call>
void timed(benchmark::State& state, std::size_t inBytes, long expected, Call call) {
    const long got = call();
    if (got != expected) {
        state.SkipWithError(("wrong output length " + std::to_string(got) + ", expected " +
                             std::to_string(expected)).c_str());
        return;
    }
    for (auto _ : state) {
        long n = call();
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * inBytes));
}

template <Enc F, Enc T>
void registerPair(const std::string& pair, const Input& in, double scale) {
    using S = typename UnitOf<F>::type;
    using D = typename UnitOf<T>::type;
    using L = Lib<F, T>;
    const S* src = unitsOf<F>(in.text);
    const std::size_t n = countOf<F>(in.text);
    const long expected = static_cast<long>(countOf<T>(in.text));
    const std::size_t inBytes = n * sizeof(S);
    const std::size_t cap = n * L::kGrowth + 1;
    auto out = std::make_shared<std::vector<D>>(cap);
    const double minTime = minTimeFor(in.size, scale);
    const unsigned inLen = static_cast<unsigned>(n);

    auto add = [&](const char* method, auto call) {
        benchmark::RegisterBenchmark(cellName(pair, in, method).c_str(),
                                     [=](benchmark::State& st) { timed(st, inBytes, expected, call); })
            ->MinTime(minTime);
    };
    add("loop", [=] { return loopConvert<F, T>(out->data(), cap, src, n); });
    add("ICU", [=] { return icuConvert<F, T>(out->data(), cap, src, n); });
    add("iconv", [=] { return iconvConvert<F, T>(out->data(), cap, src, n); });
    add("bounded", [=] {
        unsigned len = 0;
        return L::bounded(out->data(), static_cast<unsigned>(cap), &len, src, inLen) == qelStrOk ? long(len) : -1L;
    });
    add("alloc", [=] {
        D* result = nullptr;
        unsigned len = 0;
        const qelStrStatus st = L::alloc(&result, &len, src, inLen);
        qelStrFree(result);
        return st == qelStrOk ? long(len) : -1L;
    });
    add("errno", [=] {
        const std::size_t r = L::errnoStyle(out->data(), src, cap);
        return r == static_cast<std::size_t>(-1) ? -1L : long(r);
    });
    if constexpr (L::kHasCore) add("core", [=] { return L::core(out->data(), cap, src, n); });
    add("length", [=] {
        unsigned len = 0;
        return L::bounded(nullptr, 0, &len, src, inLen) == qelStrOk ? long(len) : -1L;
    });
}

template <Enc F>
void registerMemcpy(const Input& in, double scale) {
    using S = typename UnitOf<F>::type;
    const S* src = unitsOf<F>(in.text);
    const std::size_t bytes = countOf<F>(in.text) * sizeof(S);
    auto out = std::make_shared<std::vector<char>>(bytes + 1);
    benchmark::RegisterBenchmark(cellName(encName<F>(), in, "memcpy").c_str(),
                                 [=](benchmark::State& st) {
                                     timed(st, bytes, long(bytes), [=] {
                                         std::memcpy(out->data(), src, bytes);
                                         return long(bytes);
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
                "length | bounded ÷ memcpy | bounded ÷ ICU | bounded ÷ loop | alloc ÷ memcpy | alloc ÷ ICU | "
                "alloc ÷ loop |\n");
    std::printf("|---|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
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
            std::printf("\n");
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
        for (std::size_t size : sizes) inputs().push_back(std::make_unique<Input>(Input{c.name, size, makeText(c.id, size)}));

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
