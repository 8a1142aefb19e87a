// End-to-end tests of qelconv: the binary is run as a user would run it, and
// its output is compared with text encoded here by a small encoder of the
// test's own.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "reference.h"

namespace {

using Bytes = std::string;
constexpr std::size_t kBlock = QELCONV_BLOCK_BYTES;

enum Enc { U8, U16LE, U16BE, U32LE, U32BE };
const char* const kOption[] = {"utf8", "UTF-16LE", "utf-16be", "Utf32le", "utf32be"};
const char* const kShown[] = {"UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
const Bytes kMark[] = {"\xEF\xBB\xBF", Bytes("\xFF\xFE", 2), Bytes("\xFE\xFF", 2), Bytes("\xFF\xFE\0\0", 4),
                       Bytes("\0\0\xFE\xFF", 4)};

// The text spelled in e by the model's encoder, in the byte order asked for.
Bytes encode(const std::u32string& text, Enc e) {
    const qelref::Enc enc = e == U8 ? qelref::Enc::Utf8 : e <= U16BE ? qelref::Enc::Utf16 : qelref::Enc::Utf32;
    const int width = e == U8 ? 1 : e <= U16BE ? 2 : 4;
    qelref::Units units;
    for (char32_t c : text) qelref::encodeAs(enc, c, units);
    Bytes b;
    for (std::uint32_t v : units)
        for (int i = 0; i < width; ++i) b += static_cast<char>(v >> (8 * (e == U16BE || e == U32BE ? width - 1 - i : i)));
    return b;
}

// Multilingual text with a control sequence (its content U+0085 is spelled
// C2 85 in UTF-8: the standard form) and a zero character.
const std::u32string kText = std::u32string(U"Grüße, Καλημέρα, Здравствуйте, שלום, مرحبا, नमस्ते, こんにちは, 你好, 안녕\n"
                                            U"edges: \u007F \u0080 \u07FF \u0800 \uD7FF \uE000 \uFFFD \uFFFF 😀 \U0010FFFF\n"
                                            U"seq: \x01" U"AB\u0085\x02 nul: ") +
                             U'\0' + U"!\n";

// ---------------------------------------------------------------------------
// Running the binary

std::string scratchDir() {
    static std::string dir = [] {
        char tmpl[] = "/tmp/qelconv-test-XXXXXX";
        return std::string(mkdtemp(tmpl));
    }();
    return dir;
}

// Each test program removes its scratch directory when it ends.
class ScratchCleanup : public ::testing::Environment {
    void TearDown() override { std::filesystem::remove_all(scratchDir()); }
};
::testing::Environment* const kCleanup = ::testing::AddGlobalTestEnvironment(new ScratchCleanup);

std::string writeFile(const std::string& name, const Bytes& content) {
    const std::string path = scratchDir() + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

Bytes readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

struct Outcome {
    int status;
    Bytes out, err;
};

// Runs qelconv with args; input goes to its standard input through a pipe.
Outcome run(const std::vector<std::string>& args, const Bytes& input = {}) {
    signal(SIGPIPE, SIG_IGN);
    const std::string outPath = scratchDir() + "/stdout", errPath = scratchDir() + "/stderr";
    int in[2];
    if (pipe(in) != 0) std::abort();
    const pid_t pid = fork();
    if (pid == 0) {
        signal(SIGPIPE, SIG_DFL);
        dup2(in[0], 0);
        close(in[0]);
        close(in[1]);
        dup2(open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
        dup2(open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        std::vector<char*> argv{const_cast<char*>(QELCONV_PATH)};
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(QELCONV_PATH, argv.data());
        _exit(127);
    }
    close(in[0]);
    std::thread feeder([&] {
        for (std::size_t done = 0; done < input.size();) {
            const ssize_t n = write(in[1], input.data() + done, input.size() - done);
            if (n <= 0) break;  // the tool stopped reading
            done += static_cast<std::size_t>(n);
        }
        close(in[1]);
    });
    int status = 0;
    waitpid(pid, &status, 0);
    feeder.join();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), readFile(outPath), readFile(errPath)};
}

std::string illFormed(const std::string& file, Enc e, std::size_t byte, int line, int column) {
    std::ostringstream s;
    s << "qelconv: " << file << ": ill-formed " << kShown[e] << " at byte " << byte << " (line " << line
      << ", column " << column << ")\n";
    return s.str();
}

// ---------------------------------------------------------------------------

TEST(Qelconv, EveryPairConvertsAndRoundTripsByteExactly) {
    for (Enc from : {U8, U16LE, U16BE, U32LE, U32BE}) {
        for (Enc to : {U8, U16LE, U16BE, U32LE, U32BE}) {
            SCOPED_TRACE(std::string(kShown[from]) + " -> " + kShown[to]);
            const Outcome there = run({"-f", kOption[from], "-t", kOption[to]}, encode(kText, from));
            ASSERT_EQ(there.status, 0) << there.err;
            EXPECT_EQ(there.out, encode(kText, to));
            EXPECT_EQ(there.err, "");
            const Outcome back = run({"--from", kOption[to], "--to", kOption[from]}, there.out);
            EXPECT_EQ(back.out, encode(kText, from));
        }
    }
}

TEST(Qelconv, ByteOrderMarksAreDetectedSkippedAndWritten) {
    for (Enc e : {U8, U16LE, U16BE, U32LE, U32BE}) {
        SCOPED_TRACE(kShown[e]);
        const Bytes marked = kMark[e] + encode(kText, e);
        EXPECT_EQ(run({}, marked).out, encode(kText, U8));                         // auto
        EXPECT_EQ(run({"-f", kOption[e]}, marked).out, encode(kText, U8));         // its own mark
        EXPECT_EQ(run({"-t", kOption[e], "--bom"}, encode(kText, U8)).out, marked);  // written
        const std::string path = writeFile("marked", marked);
        EXPECT_EQ(run({"--check", path}).out,
                  path + ": " + kShown[e] + ", byte-order mark, " + std::to_string(marked.size()) +
                      " bytes, 3 lines: well-formed\n");
    }
    // No mark: UTF-8. FF FE 00 00 is UTF-32LE when four bytes are there.
    EXPECT_EQ(run({}, encode(kText, U8)).out, encode(kText, U8));
    EXPECT_EQ(run({}, Bytes("\xFF\xFE\0\0" "A\0\0\0", 8)).out, "A");
    EXPECT_EQ(run({}, Bytes("\xFF\xFE" "A\0", 4)).out, "A");
    // A mark of another encoding is text in the declared one.
    const Outcome foreign = run({"-f", "utf8"}, Bytes("\xFF\xFE" "A\0", 4));
    EXPECT_EQ(foreign.status, 1);
    EXPECT_EQ(foreign.err, illFormed("(standard input)", U8, 0, 1, 1));
}

TEST(Qelconv, IllFormedInputStopsWithPositionAndPrefix) {
    struct Case {
        Enc from;
        Bytes input;
        std::size_t byte;
        int line, column;
        Bytes prefix;  // written before the fault, as UTF-8
    };
    const Case cases[] = {
        {U8, "ab\nc\xC3\xA9\xFFz", 6, 2, 3, "ab\nc\xC3\xA9"},
        {U8, "x\xE2\x82", 1, 1, 2, "x"},                                   // cut by the end
        {U8, "\xED\xA0\x80", 0, 1, 1, ""},                                  // a surrogate
        {U8, "A\xC0\x80", 1, 1, 2, "A"},                                    // overlong
        {U8, "\xEF\xBB\xBF" "a\n\xF0\x9F\x98\x80\xF4\x90\x80\x80", 9, 2, 2, "a\n\xF0\x9F\x98\x80"},
        {U8, "\x01" "AB\x02" "\xFF", 4, 1, 5, "\x01" "AB\x02"},              // after a sequence
        {U8, "\x01" "A\x85\x02", 2, 1, 3, "\x01" "A"},                       // raw form, not asked for
        {U16LE, Bytes("\xFF\xFE" "a\0\n\0\0\xDC", 8), 6, 2, 1, "a\n"},      // lone low half
        {U16BE, Bytes("\xD8\x3D\0A", 4), 0, 1, 1, ""},                      // high half, no low
        {U16BE, Bytes("\0A\0", 3), 2, 1, 2, "A"},                           // odd byte at the end
        {U32BE, Bytes("\0\0\0\xE9\0\x11\0\0", 8), 4, 1, 2, "\xC3\xA9"},      // above U+10FFFF
        {U32LE, Bytes("A\0\0\0B\0", 6), 4, 1, 2, "A"},                      // unit cut short
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.byte);
        const std::string path = writeFile("bad.txt", c.input);
        const Outcome r = run({"-f", kOption[c.from], path});
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.err, illFormed(path, c.from, c.byte, c.line, c.column));
        EXPECT_EQ(r.out, c.prefix);
        const Outcome check = run({"--check", "-f", kOption[c.from], path});
        EXPECT_EQ(check.status, 1);
        EXPECT_EQ(check.out, "");
    }
}

// Inputs of several blocks, with a character or a control sequence across
// the first block edge (files are read a full block at a time) and many more
// across later ones.
TEST(Qelconv, BlocksCutAtCharacterAndSequenceBoundaries) {
    std::u32string pattern = U"a😀\u0800\u00E9\n\x01" U"B\u0085\u009F\x02\x01" + std::u32string(17, U'\u0080') + U"\x02";
    auto text = [&](std::size_t fill, const std::u32string& straddle) {
        std::u32string t(fill, U'x');
        t += straddle;
        while (t.size() < 4 * kBlock / 3) t += pattern;
        return t;
    };
    // UTF-8: a standard-form sequence from byte kBlock - 5 on.
    const std::u32string t8 = text(kBlock - 5, U"\x01" U"CD\u0085\u0086EF\x02");
    const std::string p8 = writeFile("big8", encode(t8, U8));
    const Outcome a = run({"-t", "utf16be", p8});
    ASSERT_EQ(a.status, 0) << a.err;
    EXPECT_TRUE(a.out == encode(t8, U16BE));
    const Outcome back = run({"-f", "utf16be", "-"}, a.out);  // a pipe delivers in small pieces
    EXPECT_TRUE(back.out == encode(t8, U8));

    // UTF-16: a surrogate pair across the edge.
    const std::u32string t16 = text(kBlock / 2 - 1, U"😀");
    const Outcome b = run({"-f", "utf16le", "-t", "utf32be", writeFile("big16", encode(t16, U16LE))});
    ASSERT_EQ(b.status, 0) << b.err;
    EXPECT_TRUE(b.out == encode(t16, U32BE));

    // A fault two blocks in: the byte offset, line and column count from the
    // start of the file, and everything before it is written.
    Bytes bad = encode(t8, U8);
    const std::size_t lines = static_cast<std::size_t>(std::count(bad.begin(), bad.end(), '\n'));
    const std::size_t lastLine = bad.rfind('\n');
    bad += "tail\xC3";
    int column = 1;  // characters: bytes that are not continuation bytes
    for (std::size_t i = lastLine + 1; i + 1 < bad.size(); ++i) column += (bad[i] & 0xC0) != 0x80;
    const Outcome c = run({"-t", "utf32le", writeFile("bad8", bad)});
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(c.err, illFormed(scratchDir() + "/bad8", U8, bad.size() - 1, static_cast<int>(lines + 1), column));
    EXPECT_TRUE(c.out == encode(t8 + U"tail", U32LE));
}

TEST(Qelconv, RawSequencesOnTheUtf8Side) {
    struct Case {
        std::vector<std::string> args;
        Bytes input, output;
    };
    const Bytes raw8("\x01" "A\x85\x02", 4), std8("\x01" "A\xC2\x85\x02", 5);
    const Bytes u16("\x01\0A\0\x85\0\x02\0", 8), u32be = encode(U"\x01" U"A\u0085\x02", U32BE);
    const Case cases[] = {
        {{"-f", "utf16le", "--raw-sequences"}, u16, raw8},
        {{"-f", "utf16le"}, u16, std8},
        {{"--raw-sequences", "-t", "utf16le"}, raw8, u16},
        {{"--raw-sequences", "-t", "utf32be"}, raw8, u32be},
        {{"-t", "utf16le"}, std8, u16},
    };
    for (const Case& c : cases) {
        const Outcome r = run(c.args, c.input);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, c.output);
    }
    // A raw sequence across the first block edge.
    Bytes big(kBlock - 3, 'x');
    for (int i = 0; i < 3000; ++i) big += raw8 + "y\n";
    const Outcome r = run({"--raw-sequences", "-t", "utf16le"}, big);
    Bytes expected;
    for (char ch : big) expected += {ch, '\0'};
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.out == expected);
}

TEST(Qelconv, FixSurrogatesJoinsHalvesEvenAcrossBlocks) {
    const Bytes halves = "A\xED\xA0\xBD\xED\xB8\x80" "B";  // U+1F600 as two halves
    EXPECT_EQ(run({"--fix-surrogates"}, halves).out, "A\xF0\x9F\x98\x80" "B");
    EXPECT_EQ(run({"--fix-surrogates", "-t", "utf16be"}, halves).out, encode(U"A😀B", U16BE));
    const Outcome unfixed = run({}, halves);
    EXPECT_EQ(unfixed.status, 1);
    EXPECT_EQ(unfixed.err, illFormed("(standard input)", U8, 1, 1, 2));
    const Outcome lone = run({"--fix-surrogates"}, "xy\n\xF0\x9F\x98\x80\xED\xA0\xBD" "B");
    EXPECT_EQ(lone.status, 1);
    EXPECT_EQ(lone.err, illFormed("(standard input)", U8, 7, 2, 2));
    EXPECT_EQ(lone.out, "xy\n\xF0\x9F\x98\x80");

    Bytes big(kBlock - 4, 'x');
    while (big.size() < 2 * kBlock) big += halves;
    Bytes fixed = big;
    for (std::size_t at; (at = fixed.find("\xED\xA0\xBD\xED\xB8\x80")) != Bytes::npos;)
        fixed.replace(at, 6, "\xF0\x9F\x98\x80");
    const Outcome r = run({"--fix-surrogates", writeFile("halves", big)});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.out == fixed);
}

TEST(Qelconv, FilesInOrderWithStandardInputAndOutputFile) {
    const std::string a = writeFile("a.txt", "one\n"), b = writeFile("b.txt", encode(U"three\n", U16BE));
    const Outcome r = run({"-f", "utf16be", "-t", "utf8", writeFile("a16", encode(U"one\n", U16BE)), "-", b},
                      encode(U"two\n", U16BE));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "one\ntwo\nthree\n");
    // Auto detection is per file; the output mark is written once.
    const std::string out = scratchDir() + "/out.txt";
    const Outcome o = run({"--bom", "-t", "utf16le", "-o", out, a, writeFile("c", kMark[U32BE] + encode(U"é", U32BE))});
    EXPECT_EQ(o.status, 0) << o.err;
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(readFile(out), kMark[U16LE] + encode(U"one\né", U16LE));
}

TEST(Qelconv, UsageErrorsExitTwo) {
    const std::string in = writeFile("in.txt", "x");
    const std::vector<std::vector<std::string>> cases = {
        {"-f", "latin1"}, {"-t", "utf16"}, {"-t", "auto"}, {"--nope"}, {"-x"}, {"-f"},
        {"--fix-surrogates", "--raw-sequences"}, {"-o", in, in},
    };
    for (const auto& args : cases) {
        const Outcome r = run(args, "x");
        EXPECT_EQ(r.status, 2) << args[0];
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err.find("Try 'qelconv --help'"), std::string::npos) << r.err;
    }
    EXPECT_EQ(readFile(in), "x");  // not truncated
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("Usage: qelconv", 0), 0u);
    EXPECT_EQ(run({"--version"}).out.rfind("qelconv (qelutf) ", 0), 0u);
}

TEST(Qelconv, InputAndOutputErrorsExitThreeNamingTheFile) {
    const Outcome missing = run({scratchDir() + "/missing"});
    EXPECT_EQ(missing.status, 3);
    EXPECT_EQ(missing.err, "qelconv: " + scratchDir() + "/missing: cannot open: No such file or directory\n");
    const Outcome dir = run({scratchDir()});
    EXPECT_EQ(dir.status, 3);
    EXPECT_EQ(dir.err, "qelconv: " + scratchDir() + ": read error: Is a directory\n");
    const Outcome full = run({"-o", "/dev/full"}, "text");
    EXPECT_EQ(full.status, 3);
    EXPECT_EQ(full.err, "qelconv: /dev/full: write error: No space left on device\n");
}

TEST(Qelconv, CheckReportsEveryFile) {
    const std::string good = writeFile("good.txt", "fine\nlines"), bad = writeFile("bad.txt", "a\x80");
    const Outcome r = run({"--check", bad, good});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, illFormed(bad, U8, 1, 1, 2));
    EXPECT_EQ(r.out, good + ": UTF-8, no byte-order mark, 10 bytes, 2 lines: well-formed\n");
}

// The progress bar appears for an input over 64 MiB on a terminal only.
TEST(Qelconv, ProgressOnlyOnATerminal) {
    const std::string big = scratchDir() + "/zeros";  // zero characters are well-formed
    const int fd = open(big.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_EQ(ftruncate(fd, (65 << 20) + 1), 0);
    close(fd);
    const Outcome quiet = run({"--check", big});
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.err, "");

    int master = -1;
    const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        execl(QELCONV_PATH, QELCONV_PATH, "--check", "-o", "/dev/null", big.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    std::string seen;
    char buf[4096];
    for (ssize_t n; (n = read(master, buf, sizeof buf)) > 0;) seen.append(buf, static_cast<std::size_t>(n));
    int status = 0;
    waitpid(pid, &status, 0);
    close(master);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_NE(seen.find("qelconv: " + big + " ["), std::string::npos) << seen;
    EXPECT_NE(seen.find("MiB/s"), std::string::npos) << seen;
    EXPECT_NE(seen.find("%"), std::string::npos) << seen;
}

}  // namespace
