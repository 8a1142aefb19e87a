// SPDX-License-Identifier: MIT
// qelconv - converts text between UTF-8, UTF-16 and UTF-32, strictly.
//
// The input is read in blocks and each block is converted by the library's
// bounded conversions. Blocks are cut only where a character and any embedded
// control sequence have ended (scan.h), and zero units, which end a string for
// the library, are carried over by the tool itself; so the result equals the
// conversion of the whole input at once, in memory that does not grow with it.
// On ill-formed input everything before the fault is written and the fault is
// located by walking the block again.
#include <qel/qelchars.h>
#include <qel/qelstr.h>
#include <qel/qelutftype.h>
#include <qel/qelversion.h>

#include "scan.h"

#include <fcntl.h>
#include <getopt.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#ifndef QELCONV_BLOCK_BYTES
#define QELCONV_BLOCK_BYTES (1u << 18)
#endif

namespace qelconv {
namespace {

constexpr std::size_t kBlockBytes = QELCONV_BLOCK_BYTES;
static_assert(kBlockBytes % 4 == 0 && kBlockBytes >= 4096, "block size");
constexpr std::int64_t kProgressThreshold = std::int64_t{64} << 20;
constexpr bool kHostBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

enum Exit { kExitOk = 0, kExitIllFormed = 1, kExitUsage = 2, kExitIo = 3 };
enum class Outcome { Ok, IllFormed, IoError };

// ---------------------------------------------------------------------------
// Encodings

enum class Enc { Utf8, Utf16LE, Utf16BE, Utf32LE, Utf32BE };

struct EncInfo {
    const char* name;    // as printed
    const char* option;  // as given on the command line
    unsigned unit;       // bytes per unit
    bool bigEndian;
    qelUtfType type;
};

constexpr EncInfo kEncodings[] = {
    {"UTF-8", "utf8", 1, false, qelUtfTypeUtf8},
    {"UTF-16LE", "utf16le", 2, false, qelUtfTypeUtf16LE},
    {"UTF-16BE", "utf16be", 2, true, qelUtfTypeUtf16BE},
    {"UTF-32LE", "utf32le", 4, false, qelUtfTypeUtf32LE},
    {"UTF-32BE", "utf32be", 4, true, qelUtfTypeUtf32BE},
};

const EncInfo& info(Enc e) { return kEncodings[static_cast<int>(e)]; }

// utf8, UTF-8, utf-16le, UTF16BE ...: case-insensitive, one optional hyphen.
std::optional<Enc> parseEncoding(const char* text) {
    std::string s;
    for (const char* p = text; *p; ++p) s += static_cast<char>(*p >= 'A' && *p <= 'Z' ? *p - 'A' + 'a' : *p);
    if (s.size() > 4 && s.compare(0, 4, "utf-") == 0) s.erase(3, 1);
    for (int i = 0; i < 5; ++i)
        if (s == kEncodings[i].option) return static_cast<Enc>(i);
    return std::nullopt;
}

std::optional<Enc> encodingOfType(qelUtfType type) {
    for (int i = 0; i < 5; ++i)
        if (kEncodings[i].type == type) return static_cast<Enc>(i);
    return std::nullopt;
}

// ---------------------------------------------------------------------------
// Messages, input and output

void complain(const char* format, ...) __attribute__((format(printf, 1, 2)));
void complain(const char* format, ...) {
    std::string line = "qelconv: ";
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    line += text;
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

// The output. post() hands a block to a writer thread and returns at once,
// so that the next block is read and converted while this one is written;
// the block must stay untouched until the next post(), write() or close().
// Only one block is in flight: post() first waits for the one before.
class Sink {
public:
    Sink(int fd, std::string name) : fd_(fd), name_(std::move(name)), writer_([this] { writeLoop(); }) {}
    ~Sink() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        writer_.join();
    }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    bool post(const void* data, std::size_t size) {
        std::unique_lock<std::mutex> lock(mutex_);
        done_.wait(lock, [this] { return pending_ == nullptr; });
        if (failed_) return false;
        pending_ = static_cast<const char*>(data);
        pendingSize_ = size;
        lock.unlock();
        wake_.notify_all();
        return true;
    }
    // Waits until everything posted is written; false after a write error.
    bool flush() {
        std::unique_lock<std::mutex> lock(mutex_);
        done_.wait(lock, [this] { return pending_ == nullptr; });
        return !failed_;
    }
    bool write(const void* data, std::size_t size) { return post(data, size) && flush(); }
    bool close() {
        if (!flush()) return false;
        if (fd_ == STDOUT_FILENO) return true;
        if (::close(fd_) != 0) {
            complain("%s: write error: %s", name_.c_str(), std::strerror(errno));
            return false;
        }
        return true;
    }

private:
    void writeLoop() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            wake_.wait(lock, [this] { return pending_ != nullptr || stop_; });
            if (pending_ == nullptr) return;
            const char* p = pending_;
            std::size_t size = pendingSize_;
            lock.unlock();
            const bool ok = writeAll(p, size);
            lock.lock();
            failed_ |= !ok;
            pending_ = nullptr;
            done_.notify_all();
        }
    }
    bool writeAll(const char* p, std::size_t size) {
        while (size > 0) {
            ssize_t n = ::write(fd_, p, size);
            if (n < 0) {
                if (errno == EINTR) continue;
                complain("%s: write error: %s", name_.c_str(), std::strerror(errno));
                return false;
            }
            p += n;
            size -= static_cast<std::size_t>(n);
        }
        return true;
    }

    int fd_;
    std::string name_;
    std::mutex mutex_;
    std::condition_variable wake_, done_;
    const char* pending_ = nullptr;
    std::size_t pendingSize_ = 0;
    bool failed_ = false, stop_ = false;
    std::thread writer_;  // last: it starts once everything above is set up
};

struct Source {
    int fd = -1;
    std::string name;
    std::int64_t size = -1;  // bytes, when known
};

// Reads until want bytes are in or the input ends. False on a read error.
bool readFully(const Source& src, char* buf, std::size_t want, std::size_t& got, bool& eof) {
    while (got < want && !eof) {
        ssize_t n = ::read(src.fd, buf + got, want - got);
        if (n < 0) {
            if (errno == EINTR) continue;
            complain("%s: read error: %s", src.name.c_str(), std::strerror(errno));
            return false;
        }
        if (n == 0) eof = true;
        got += static_cast<std::size_t>(n);
    }
    return true;
}

// A progress bar on standard error, for large inputs and a terminal only.
class Progress {
public:
    using Clock = std::chrono::steady_clock;
    Progress(std::string name, std::int64_t total)
        : name_(std::move(name)), total_(total),
          active_(total > kProgressThreshold && isatty(STDERR_FILENO)), start_(Clock::now()) {}
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(std::uint64_t done) {
        if (!active_) return;
        const Clock::time_point now = Clock::now();
        if (drawn_ && now - last_ < std::chrono::milliseconds(200)) return;
        last_ = now;
        const double seconds = std::chrono::duration<double>(now - start_).count();
        const unsigned percent = static_cast<unsigned>(done * 100 / static_cast<std::uint64_t>(total_));
        char bar[21];
        for (unsigned i = 0; i < 20; ++i) bar[i] = i < percent / 5 ? '#' : '-';
        bar[20] = 0;
        char line[512];
        int n = std::snprintf(line, sizeof line, "\rqelconv: %s [%s] %3u%%  %s / %s  %s/s", name_.c_str(), bar,
                              percent, size(static_cast<double>(done)).c_str(),
                              size(static_cast<double>(total_)).c_str(),
                              size(seconds > 0 ? static_cast<double>(done) / seconds : 0).c_str());
        if (n < 0) return;
        width_ = std::max(width_, std::min(n, static_cast<int>(sizeof line) - 1));
        std::fprintf(stderr, "%s%*s", line, width_ - n > 0 ? width_ - n : 0, "");
        drawn_ = true;
    }
    void clear() {
        if (!drawn_) return;
        std::fprintf(stderr, "\r%*s\r", width_, "");
        drawn_ = false;
    }

private:
    static std::string size(double bytes) {
        static const char* const units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
        int u = 0;
        while (bytes >= 1024 && u < 4) bytes /= 1024, ++u;
        char text[32];
        std::snprintf(text, sizeof text, u ? "%.1f %s" : "%.0f %s", bytes, units[u]);
        return text;
    }

    std::string name_;
    std::int64_t total_;
    bool active_;
    bool drawn_ = false;
    int width_ = 0;
    Clock::time_point start_, last_;
};

// ---------------------------------------------------------------------------
// The library's conversions, by unit types. Units are in machine order.

qelStrStatus convertUnits(U16* o, unsigned os, unsigned* ol, const U8* i, unsigned il, qelStrFlags f) {
    return qelStrUtf8ToUtf16Ex(o, os, ol, reinterpret_cast<const char*>(i), il, f);
}
qelStrStatus convertUnits(U32* o, unsigned os, unsigned* ol, const U8* i, unsigned il, qelStrFlags f) {
    return qelStrUtf8ToUtf32Ex(o, os, ol, reinterpret_cast<const char*>(i), il, f);
}
qelStrStatus convertUnits(U8* o, unsigned os, unsigned* ol, const U16* i, unsigned il, qelStrFlags f) {
    return qelStrUtf16ToUtf8Ex(reinterpret_cast<char*>(o), os, ol, i, il, f);
}
qelStrStatus convertUnits(U8* o, unsigned os, unsigned* ol, const U32* i, unsigned il, qelStrFlags f) {
    return qelStrUtf32ToUtf8Ex(reinterpret_cast<char*>(o), os, ol, i, il, f);
}
qelStrStatus convertUnits(U32* o, unsigned os, unsigned* ol, const U16* i, unsigned il, qelStrFlags) {
    return qelStrUtf16ToUtf32(o, os, ol, i, il);
}
qelStrStatus convertUnits(U16* o, unsigned os, unsigned* ol, const U32* i, unsigned il, qelStrFlags) {
    return qelStrUtf32ToUtf16(o, os, ol, i, il);
}

// Validation alone: a length query into another encoding.
qelStrStatus measureUnits(const U8* i, unsigned il, qelStrFlags f) {
    unsigned len = 0;
    return qelStrUtf8ToUtf16Ex(nullptr, 0, &len, reinterpret_cast<const char*>(i), il, f);
}
qelStrStatus measureUnits(const U16* i, unsigned il, qelStrFlags) {
    unsigned len = 0;
    return qelStrUtf16ToUtf32(nullptr, 0, &len, i, il);
}
qelStrStatus measureUnits(const U32* i, unsigned il, qelStrFlags) {
    unsigned len = 0;
    return qelStrUtf32ToUtf16(nullptr, 0, &len, i, il);
}

// Output units that one input unit can become at most (sequences included).
template <class In, class Out>
constexpr std::size_t kGrowth = sizeof(Out) == 1 ? (sizeof(In) == 1 ? 1 : sizeof(In) == 2 ? 3 : 4)
                                : sizeof(Out) == 2 && sizeof(In) == 4 ? 2
                                                                      : 1;

template <class U>
U swapUnit(U u) {
    if constexpr (sizeof(U) == 2) return static_cast<U>(__builtin_bswap16(u));
    else if constexpr (sizeof(U) == 4) return __builtin_bswap32(u);
    else return u;
}

template <class U>
void swapUnits(U* p, std::size_t n) {
    if constexpr (sizeof(U) > 1)
        for (std::size_t i = 0; i < n; ++i) p[i] = swapUnit(p[i]);
}

// ---------------------------------------------------------------------------
// One conversion job applied to a file.

struct Job {
    Enc from = Enc::Utf8, to = Enc::Utf8;
    bool raw = false, fix = false, check = false;
};

struct Summary {
    std::uint64_t bytes = 0, lines = 0;
};

template <class In, class Out>
class Engine {
public:
    static constexpr std::size_t kUnits = kBlockBytes / sizeof(In);

    explicit Engine(const Job& job)
        : job_(job),
          form_(sizeof(In) > 1 ? Form::Fixed : job.fix ? Form::Repair : job.raw ? Form::Fixed : Form::Standard),
          flags_(static_cast<qelStrFlags>(qelStrFlagNoTerminator) |
                 (job.raw ? static_cast<qelStrFlags>(qelStrFlagRawSequences) : 0u)),
          swapIn_(sizeof(In) > 1 && info(job.from).bigEndian != kHostBigEndian),
          swapOut_(sizeof(Out) > 1 && info(job.to).bigEndian != kHostBigEndian),
          in_(new In[kUnits]) {
        if (!job.check) {
            outs_[0].reset(new Out[kOutUnits]);
            outs_[1].reset(new Out[kOutUnits]);
        }
        if (job.fix) scratch_.reset(new char[kUnits + 1]);
    }

    // Converts (or checks) src; head holds its first headLen bytes, of which
    // the first mark bytes are a byte-order mark to skip.
    Outcome run(const Source& src, const U8* head, std::size_t headLen, bool headEof, std::size_t mark,
                Sink* sink, Summary& summary) {
        // The last block posted is written from this engine's buffers.
        const Outcome o = convertAll(src, head, headLen, headEof, mark, sink, summary);
        return sink->flush() || o != Outcome::Ok ? o : Outcome::IoError;
    }

private:
    Outcome convertAll(const Source& src, const U8* head, std::size_t headLen, bool headEof, std::size_t mark,
                       Sink* sink, Summary& summary) {
        Progress progress(src.name, src.size);
        char* bytes = reinterpret_cast<char*>(in_.get());
        std::size_t filled = headLen - mark;
        std::memcpy(bytes, head + mark, filled);
        base_ = mark;
        line_ = 1;
        column_ = 0;
        bool eof = headEof;
        std::size_t swapped = 0;  // units already in machine order
        std::size_t block = 0;
        for (;;) {
            if (!readFully(src, bytes, kUnits * sizeof(In), filled, eof)) {
                progress.clear();
                return Outcome::IoError;
            }
            const std::size_t n = filled / sizeof(In);
            if (swapIn_) swapUnits(in_.get() + swapped, n - swapped);
            std::size_t cut = eof ? n : cutPoint(in_.get(), n, form_);
            if (cut == 0) cut = n;  // cannot happen with blocks this large
            std::size_t used = 0;
            out_ = outs_[block++ & 1].get();  // the other one may still be being written
            const Result r = convertBlock(cut, used);
            if (used) {
                if (swapOut_) swapUnits(out_, used);
                if (!sink->post(out_, used * sizeof(Out))) return Outcome::IoError;
            }
            if (r != Result::Ok) {
                progress.clear();
                if (r == Result::Internal) {
                    complain("%s: internal error: conversion status %d", src.name.c_str(), status_);
                    return Outcome::IoError;
                }
                const std::uint64_t line = line_ + fault_.newlines;
                const std::uint64_t column = (fault_.newlines ? 0 : column_) + fault_.column + 1;
                illFormed(src, base_ + fault_.stop * sizeof(In), line, column);
                return Outcome::IllFormed;
            }
            advance(cut);
            progress.update(base_);
            const std::size_t rest = filled - cut * sizeof(In);
            std::memmove(bytes, bytes + cut * sizeof(In), rest);
            filled = rest;
            swapped = n - cut;
            if (eof) break;
        }
        progress.clear();
        if (filled) {  // a unit cut short by the end of the file
            illFormed(src, base_, line_, column_ + 1);
            return Outcome::IllFormed;
        }
        summary.bytes = base_;
        summary.lines = line_ - 1 + (column_ ? 1 : 0);
        return Outcome::Ok;
    }

    static constexpr std::size_t kOutUnits = kUnits * kGrowth<In, Out> + 16;
    static constexpr bool kSame = std::is_same<In, Out>::value;
    enum class Result { Ok, IllFormed, Internal };

    void illFormed(const Source& src, std::uint64_t byte, std::uint64_t line, std::uint64_t column) {
        complain("%s: ill-formed %s at byte %llu (line %llu, column %llu)", src.name.c_str(), info(job_.from).name,
                 static_cast<unsigned long long>(byte), static_cast<unsigned long long>(line),
                 static_cast<unsigned long long>(column));
    }

    // Converts in_[0..cut) into out_, run by run between zero units.
    Result convertBlock(std::size_t cut, std::size_t& used) {
        const In* p = in_.get();
        std::size_t s = 0;
        while (s < cut) {
            const std::size_t z = s + findUnit(p + s, cut - s, In(0));
            if (z > s) {
                const Result r = convertRun(s, z, used);
                if (r != Result::Ok) return r;
            }
            // Zero units are characters to the tool but terminators to the library.
            std::size_t e = z;
            while (e < cut && p[e] == 0) ++e;
            if (!job_.check)
                for (std::size_t k = z; k < e; ++k) out_[used++] = 0;
            s = e;
        }
        return Result::Ok;
    }

    // Converts the run in_[s..z), which holds no zero unit.
    Result convertRun(std::size_t s, std::size_t z, std::size_t& used) {
        const In* run = in_.get() + s;
        const auto n = static_cast<unsigned>(z - s);
        if constexpr (sizeof(In) == 1) {
            if (job_.fix) return repairRun(s, z, used);
        }
        if (job_.check || kSame) {
            // Same unit type: validate, then copy what is well-formed.
            const qelStrStatus st = measureUnits(run, n, flags_);
            std::size_t good = n;
            if (st == qelStrBadInput) good = std::max(locate(z), s) - s;
            if constexpr (kSame) {
                if (!job_.check) {
                    std::memcpy(out_ + used, run, good * sizeof(In));
                    used += good;
                }
            }
            return verdict(st);
        }
        if constexpr (!kSame) {
            unsigned len = 0;
            const qelStrStatus st =
                convertUnits(out_ + used, static_cast<unsigned>(kOutUnits - used), &len, run, n, flags_);
            used += len;
            if (st == qelStrBadInput) locate(z);
            return verdict(st);
        }
        return Result::Ok;
    }

    // The same with surrogate halves repaired first (UTF-8 input only).
    Result repairRun(std::size_t s, std::size_t z, std::size_t& used) {
        char* text = scratch_.get();
        std::memcpy(text, in_.get() + s, z - s);
        text[z - s] = 0;
        const bool repaired = qelStrUtf8FixSurrogatePairs(text) != nullptr;
        const std::size_t m = std::strlen(text);  // what the repair kept
        qelStrStatus st = repaired ? qelStrOk : qelStrBadInput;
        if (!job_.check) {
            const U8* t = reinterpret_cast<const U8*>(text);
            if constexpr (kSame) {
                std::memcpy(out_ + used, t, m);
                used += m;
            } else {
                unsigned len = 0;
                const qelStrStatus cs =
                    convertUnits(out_ + used, static_cast<unsigned>(kOutUnits - used), &len, t,
                                 static_cast<unsigned>(m), flags_);
                used += len;
                if (cs != qelStrOk) st = cs;
            }
        }
        if (st == qelStrBadInput) locate(z);
        return verdict(st);
    }

    Result verdict(qelStrStatus st) {
        status_ = st;
        return st == qelStrOk ? Result::Ok : st == qelStrBadInput ? Result::IllFormed : Result::Internal;
    }

    // Finds the first ill-formed character of in_[0..z), which the library
    // found in the run that ends at z, and returns its index.
    std::size_t locate(std::size_t z) {
        fault_ = walk(in_.get(), z, form_);
        if (!fault_.illFormed) fault_.stop = z;  // not expected: blame the end of the run
        return fault_.stop;
    }

    // Line and column after in_[0..cut), which converted cleanly.
    void advance(std::size_t cut) {
        const In* p = in_.get();
        const std::size_t newlines = countUnit(p, cut, In(0x0A));
        std::size_t from = 0;
        if (newlines) {
            line_ += newlines;
            from = cut;
            while (p[from - 1] != 0x0A) --from;
            column_ = 0;
        }
        if (sizeof(In) > 1 || form_ == Form::Standard)
            column_ += countChars(p + from, cut - from);
        else
            column_ += walk(p + from, cut - from, form_).column;
        base_ += cut * sizeof(In);
    }

    Job job_;
    Form form_;
    qelStrFlags flags_;
    bool swapIn_, swapOut_;
    std::unique_ptr<In[]> in_;
    std::unique_ptr<Out[]> outs_[2];  // one is converted into while the sink writes the other
    Out* out_ = nullptr;
    std::unique_ptr<char[]> scratch_;
    std::uint64_t base_ = 0;    // file offset of in_[0]
    std::uint64_t line_ = 1;    // line of in_[0]
    std::uint64_t column_ = 0;  // characters before in_[0] on its line
    Walk fault_;
    qelStrStatus status_ = qelStrOk;
};

template <class In>
Outcome runFrom(const Job& job, const Source& src, const U8* head, std::size_t headLen, bool headEof,
                std::size_t mark, Sink* sink, Summary& summary) {
    if (job.check) return Engine<In, In>(job).run(src, head, headLen, headEof, mark, sink, summary);
    switch (info(job.to).unit) {
    case 1: return Engine<In, U8>(job).run(src, head, headLen, headEof, mark, sink, summary);
    case 2: return Engine<In, U16>(job).run(src, head, headLen, headEof, mark, sink, summary);
    default: return Engine<In, U32>(job).run(src, head, headLen, headEof, mark, sink, summary);
    }
}

// ---------------------------------------------------------------------------
// Command line

struct Options {
    std::optional<Enc> from;  // none: decided by the byte-order mark
    Enc to = Enc::Utf8;
    bool bom = false, raw = false, fix = false, check = false;
    const char* output = nullptr;
    std::vector<std::string> files;
};

const char kUsage[] =
    "Usage: qelconv [OPTION]... [FILE]...\n"
    "Convert text between UTF-8, UTF-16 and UTF-32, strictly: ill-formed input\n"
    "stops the conversion, with everything before the fault written.\n"
    "\n"
    "  -f, --from ENC        input encoding; default auto: a byte-order mark\n"
    "                        decides (and is skipped), otherwise UTF-8\n"
    "  -t, --to ENC          output encoding (default utf8)\n"
    "      --bom             write the byte-order mark of the output encoding\n"
    "      --raw-sequences   embedded control sequences take their raw one-byte\n"
    "                        form on the UTF-8 side\n"
    "      --fix-surrogates  repair UTF-8 input that spells supplementary\n"
    "                        characters as two surrogate halves\n"
    "      --check           only validate the input; report on each file\n"
    "  -o, --output FILE     write to FILE instead of standard output\n"
    "      --help            show this help and exit\n"
    "      --version         show the version and exit\n"
    "\n"
    "ENC is utf8, utf16le, utf16be, utf32le or utf32be (any case; utf-8,\n"
    "utf-16le ... too). FILEs are read in order; with none, or for -, standard\n"
    "input is read.\n"
    "\n"
    "Exit status: 0 success, 1 ill-formed input, 2 usage error, 3 I/O error.\n";

int usageError(const char* format, const char* arg) {
    char text[512];
    std::snprintf(text, sizeof text, format, arg);
    complain("%s", text);
    std::fputs("Try 'qelconv --help' for more information.\n", stderr);
    return kExitUsage;
}

// Parses argv into opt; returns -1 to go on, or an exit status.
int parseOptions(int argc, char** argv, Options& opt) {
    enum { kBom = 256, kRaw, kFix, kCheck, kHelp, kVersion };
    static const option longOptions[] = {
        {"from", required_argument, nullptr, 'f'},   {"to", required_argument, nullptr, 't'},
        {"output", required_argument, nullptr, 'o'}, {"bom", no_argument, nullptr, kBom},
        {"raw-sequences", no_argument, nullptr, kRaw}, {"fix-surrogates", no_argument, nullptr, kFix},
        {"check", no_argument, nullptr, kCheck},     {"help", no_argument, nullptr, kHelp},
        {"version", no_argument, nullptr, kVersion}, {nullptr, 0, nullptr, 0},
    };
    opterr = 0;
    for (;;) {
        const int c = getopt_long(argc, argv, ":f:t:o:", longOptions, nullptr);
        if (c == -1) break;
        switch (c) {
        case 'f':
            if (strcasecmp(optarg, "auto") == 0) {
                opt.from.reset();
            } else if (!(opt.from = parseEncoding(optarg))) {
                return usageError("unknown input encoding '%s' (use auto, utf8, utf16le, utf16be, utf32le or utf32be)",
                                  optarg);
            }
            break;
        case 't':
            if (auto e = parseEncoding(optarg)) opt.to = *e;
            else return usageError("unknown output encoding '%s' (use utf8, utf16le, utf16be, utf32le or utf32be)", optarg);
            break;
        case 'o': opt.output = optarg; break;
        case kBom: opt.bom = true; break;
        case kRaw: opt.raw = true; break;
        case kFix: opt.fix = true; break;
        case kCheck: opt.check = true; break;
        case kHelp: std::fputs(kUsage, stdout); return kExitOk;
        case kVersion: std::printf("qelconv (qelutf) %s\n", QELUTF_VERSION_STRING); return kExitOk;
        case ':': return usageError("option '%s' needs an argument", argv[optind - 1]);
        default:
            if (optopt) {
                char name[3] = {'-', static_cast<char>(optopt), 0};
                return usageError("unknown option '%s'", name);
            }
            return usageError("unknown option '%s'", argv[optind - 1]);
        }
    }
    if (opt.fix && opt.raw)
        return usageError("%s", "--fix-surrogates cannot be combined with --raw-sequences: the repair reads "
                                "control sequences in their standard form");
    for (int i = optind; i < argc; ++i) opt.files.emplace_back(argv[i]);
    if (opt.files.empty()) opt.files.emplace_back("-");
    return -1;
}

// Opens, detects and converts (or checks) one input.
Outcome processFile(const std::string& path, const Options& opt, Sink& sink) {
    Source src;
    if (path == "-") {
        src.fd = STDIN_FILENO;
        src.name = "(standard input)";
    } else {
        src.name = path;
        src.fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (src.fd < 0) {
            complain("%s: cannot open: %s", path.c_str(), std::strerror(errno));
            return Outcome::IoError;
        }
    }
    struct stat st;
    if (fstat(src.fd, &st) == 0 && S_ISREG(st.st_mode)) src.size = st.st_size;

    U8 head[4];
    std::size_t headLen = 0;
    bool eof = false;
    Outcome outcome = Outcome::IoError;
    if (readFully(src, reinterpret_cast<char*>(head), sizeof head, headLen, eof)) {
        Job job;
        job.to = opt.to;
        job.raw = opt.raw;
        job.fix = opt.fix;
        job.check = opt.check;
        std::size_t mark = 0;
        bool detected = false;
        if (opt.from) {
            // A mark of the declared encoding is skipped too.
            job.from = *opt.from;
            U8 own[4];
            const unsigned len = qelUtfTypeToBOM(own, sizeof own, info(job.from).type);
            if (len && headLen >= len && std::memcmp(head, own, len) == 0) mark = len;
        } else {
            qelUtfType type = qelUtfTypeNone;
            mark = qelUtfTypeFromBOM(&type, head, headLen);
            job.from = mark ? encodingOfType(type).value_or(Enc::Utf8) : Enc::Utf8;
            detected = true;
        }
        if (job.fix && job.from != Enc::Utf8) job.fix = false;  // only UTF-8 spells halves

        Summary summary;
        switch (info(job.from).unit) {
        case 1: outcome = runFrom<U8>(job, src, head, headLen, eof, mark, &sink, summary); break;
        case 2: outcome = runFrom<U16>(job, src, head, headLen, eof, mark, &sink, summary); break;
        default: outcome = runFrom<U32>(job, src, head, headLen, eof, mark, &sink, summary); break;
        }
        if (opt.check && outcome == Outcome::Ok) {
            char line[1024];
            std::snprintf(line, sizeof line, "%s: %s%s, %llu bytes, %llu line%s: well-formed\n", src.name.c_str(),
                          info(job.from).name,
                          mark ? ", byte-order mark" : detected ? ", no byte-order mark" : "",
                          static_cast<unsigned long long>(summary.bytes),
                          static_cast<unsigned long long>(summary.lines), summary.lines == 1 ? "" : "s");
            if (!sink.write(line, std::strlen(line))) outcome = Outcome::IoError;
        }
    }
    if (src.fd != STDIN_FILENO) ::close(src.fd);
    return outcome;
}

int run(int argc, char** argv) {
    Options opt;
    const int parsed = parseOptions(argc, argv, opt);
    if (parsed >= 0) return parsed;

    int outFd = STDOUT_FILENO;
    std::string outName = "standard output";
    if (opt.output) {
        // Refuse to truncate one of the inputs.
        struct stat out;
        if (stat(opt.output, &out) == 0) {
            for (const std::string& f : opt.files) {
                struct stat in;
                const int r = f == "-" ? fstat(STDIN_FILENO, &in) : stat(f.c_str(), &in);
                if (r == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
                    return usageError("%s: the output file is also an input", opt.output);
            }
        }
        outFd = ::open(opt.output, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (outFd < 0) {
            complain("%s: cannot create: %s", opt.output, std::strerror(errno));
            return kExitIo;
        }
        outName = opt.output;
    }
    Sink sink(outFd, outName);

    bool io = false, bad = false;
    if (opt.bom && !opt.check) {
        U8 mark[4];
        const unsigned len = qelUtfTypeToBOM(mark, sizeof mark, info(opt.to).type);
        io = !sink.write(mark, len);
    }
    // A conversion stops at the first fault; a check goes on to the next file.
    for (std::size_t i = 0; i < opt.files.size() && (opt.check || !(io || bad)); ++i) {
        const Outcome o = processFile(opt.files[i], opt, sink);
        io |= o == Outcome::IoError;
        bad |= o == Outcome::IllFormed;
    }
    io |= !sink.close();
    return io ? kExitIo : bad ? kExitIllFormed : kExitOk;
}

}  // namespace
}  // namespace qelconv

int main(int argc, char** argv) { return qelconv::run(argc, argv); }
