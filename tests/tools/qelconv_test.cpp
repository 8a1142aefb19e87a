// SPDX-License-Identifier: MIT
// End-to-end tests of qelconv: the binary is run as a user would run it, and
// its output is compared with text encoded here by the model's encoder.
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
#include <string>
#include <thread>
#include <vector>

#include "reference.h"

namespace {

using Bytes = std::string;
using Args = std::vector<std::string>;
constexpr std::size_t kBlock = QELCONV_BLOCK_BYTES;
const char* const kStdin = "(standard input)";

enum Enc { U8, U16LE, U16BE, U32LE, U32BE };
const char* const kOption[] = {"utf8", "UTF-16LE", "utf-16be", "Utf32le", "utf32be"};
const char* const kShown[] = {"UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
const Bytes kMark[] = {"\xEF\xBB\xBF", Bytes("\xFF\xFE", 2), Bytes("\xFE\xFF", 2), Bytes("\xFF\xFE\0\0", 4),
                       Bytes("\0\0\xFE\xFF", 4)};

// The text spelled in e, in the byte order asked for.
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
Outcome run(const Args& args, const Bytes& input = {}) {
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

std::string illFormed(const std::string& file, Enc e, std::size_t byte, std::size_t line, std::size_t column) {
    return "qelconv: " + file + ": ill-formed " + kShown[e] + " at byte " + std::to_string(byte) + " (line " +
           std::to_string(line) + ", column " + std::to_string(column) + ")\n";
}

// One run and its whole outcome; outputs are compared without printing them.
struct Case {
    Args args;
    Bytes input;
    int status;
    Bytes out, err;
};
void expectRun(const Case& c) {
    const Outcome r = run(c.args, c.input);
    EXPECT_EQ(r.status, c.status) << c.args.size() << (c.args.empty() ? "" : c.args[0]);
    EXPECT_TRUE(r.out == c.out) << r.out.size() << " bytes, not " << c.out.size();
    EXPECT_EQ(r.err, c.err);
}

// ---------------------------------------------------------------------------

TEST(Qelconv, EveryPairConvertsAndRoundTripsByteExactly) {
    for (Enc from : {U8, U16LE, U16BE, U32LE, U32BE}) {
        for (Enc to : {U8, U16LE, U16BE, U32LE, U32BE}) {
            SCOPED_TRACE(std::string(kShown[from]) + " -> " + kShown[to]);
            expectRun({{"-f", kOption[from], "-t", kOption[to]}, encode(kText, from), 0, encode(kText, to), ""});
            expectRun({{"--from", kOption[to], "--to", kOption[from]}, encode(kText, to), 0, encode(kText, from), ""});
        }
    }
}

TEST(Qelconv, ByteOrderMarksAreDetectedSkippedAndWritten) {
    const Bytes text = encode(kText, U8);
    for (Enc e : {U8, U16LE, U16BE, U32LE, U32BE}) {
        SCOPED_TRACE(kShown[e]);
        const Bytes marked = kMark[e] + encode(kText, e);
        const std::string path = writeFile("marked", marked);
        for (const Case& c : {Case{{}, marked, 0, text, ""}, Case{{"-f", kOption[e]}, marked, 0, text, ""},
                              Case{{"-t", kOption[e], "--bom"}, text, 0, marked, ""},
                              Case{{"--check", path}, "", 0, path + ": " + kShown[e] + ", byte-order mark, " +
                                   std::to_string(marked.size()) + " bytes, 3 lines: well-formed\n", ""}})
            expectRun(c);
    }
    // No mark: UTF-8. FF FE 00 00 is UTF-32LE when four bytes are there. A
    // mark of another encoding is text in the declared one.
    const Case cases[] = {
        {{}, text, 0, text, ""},
        {{}, Bytes("\xFF\xFE\0\0" "A\0\0\0", 8), 0, "A", ""},
        {{}, Bytes("\xFF\xFE" "A\0", 4), 0, "A", ""},
        {{"-f", "utf8"}, Bytes("\xFF\xFE" "A\0", 4), 1, "", illFormed(kStdin, U8, 0, 1, 1)},
    };
    for (const Case& c : cases) expectRun(c);
}

TEST(Qelconv, IllFormedInputStopsWithPositionAndPrefix) {
    struct Bad {
        Enc from;
        Bytes input;
        std::size_t byte, line, column;
        Bytes prefix;  // written before the fault, as UTF-8
    };
    const Bad cases[] = {
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
    for (const Bad& c : cases) {
        SCOPED_TRACE(c.byte);
        const std::string path = writeFile("bad.txt", c.input);
        const std::string err = illFormed(path, c.from, c.byte, c.line, c.column);
        expectRun({{"-f", kOption[c.from], path}, "", 1, c.prefix, err});
        expectRun({{"--check", "-f", kOption[c.from], path}, "", 1, "", err});
    }
}

// Inputs of several blocks, with a character or a control sequence across
// the first block edge (files are read a full block at a time) and many more
// across later ones; a pipe delivers in small pieces.
TEST(Qelconv, BlocksCutAtCharacterAndSequenceBoundaries) {
    std::u32string pattern = U"a😀\u0800\u00E9\n\x01" U"B\u0085\u009F\x02\x01" + std::u32string(17, U'\u0080') + U"\x02";
    auto text = [&](std::size_t fill, const std::u32string& straddle) {
        std::u32string t = std::u32string(fill, U'x') + straddle;
        while (t.size() < 4 * kBlock / 3) t += pattern;
        return t;
    };
    const std::u32string t8 = text(kBlock - 5, U"\x01" U"CD\u0085\u0086EF\x02");  // a sequence from byte kBlock - 5
    const std::u32string t16 = text(kBlock / 2 - 1, U"😀");                        // a pair across the edge
    // A fault two blocks in: the byte offset, line and column count from the
    // start of the file, and everything before it is written.
    Bytes bad = encode(t8, U8);
    const std::size_t lines = static_cast<std::size_t>(std::count(bad.begin(), bad.end(), '\n'));
    const std::size_t lastLine = bad.rfind('\n');
    bad += "tail\xC3";
    std::size_t column = 1;  // characters: bytes that are not continuation bytes
    for (std::size_t i = lastLine + 1; i + 1 < bad.size(); ++i) column += (bad[i] & 0xC0) != 0x80;
    const std::string badPath = writeFile("bad8", bad);
    const Case cases[] = {
        {{"-t", "utf16be", writeFile("big8", encode(t8, U8))}, "", 0, encode(t8, U16BE), ""},
        {{"-f", "utf16be", "-"}, encode(t8, U16BE), 0, encode(t8, U8), ""},
        {{"-f", "utf16le", "-t", "utf32be", writeFile("big16", encode(t16, U16LE))}, "", 0, encode(t16, U32BE), ""},
        {{"-t", "utf32le", badPath}, "", 1, encode(t8 + U"tail", U32LE), illFormed(badPath, U8, bad.size() - 1, lines + 1, column)},
    };
    for (const Case& c : cases) expectRun(c);
}

// Raw sequences on the UTF-8 side, one across the first block edge; surrogate
// halves joined, across blocks too.
TEST(Qelconv, RawSequencesAndFixSurrogates) {
    const Bytes raw8("\x01" "A\x85\x02", 4), std8("\x01" "A\xC2\x85\x02", 5);
    const Bytes u16("\x01\0A\0\x85\0\x02\0", 8), u32be = encode(U"\x01" U"A\u0085\x02", U32BE);
    Bytes big(kBlock - 3, 'x'), big16;
    for (int i = 0; i < 3000; ++i) big += raw8 + "y\n";
    for (char ch : big) big16 += {ch, '\0'};
    const Bytes halves = "A\xED\xA0\xBD\xED\xB8\x80" "B";  // U+1F600 as two halves
    Bytes bigHalves(kBlock - 4, 'x');
    while (bigHalves.size() < 2 * kBlock) bigHalves += halves;
    Bytes fixed = bigHalves;
    for (std::size_t at; (at = fixed.find("\xED\xA0\xBD\xED\xB8\x80")) != Bytes::npos;) fixed.replace(at, 6, "\xF0\x9F\x98\x80");
    const Case cases[] = {
        {{"-f", "utf16le", "--raw-sequences"}, u16, 0, raw8, ""},
        {{"-f", "utf16le"}, u16, 0, std8, ""},
        {{"--raw-sequences", "-t", "utf16le"}, raw8, 0, u16, ""},
        {{"--raw-sequences", "-t", "utf32be"}, raw8, 0, u32be, ""},
        {{"-t", "utf16le"}, std8, 0, u16, ""},
        {{"--raw-sequences", "-t", "utf16le"}, big, 0, big16, ""},
        {{"--fix-surrogates"}, halves, 0, "A\xF0\x9F\x98\x80" "B", ""},
        {{"--fix-surrogates", "-t", "utf16be"}, halves, 0, encode(U"A😀B", U16BE), ""},
        {{}, halves, 1, "A", illFormed(kStdin, U8, 1, 1, 2)},
        {{"--fix-surrogates"}, "xy\n\xF0\x9F\x98\x80\xED\xA0\xBD" "B", 1, "xy\n\xF0\x9F\x98\x80", illFormed(kStdin, U8, 7, 2, 2)},
        {{"--fix-surrogates", writeFile("halves", bigHalves)}, "", 0, fixed, ""},
    };
    for (const Case& c : cases) expectRun(c);
}

// Files in order with standard input; auto detection per file, the output
// mark written once; --check reports every file; I/O errors name the file.
TEST(Qelconv, FilesOutputFileCheckAndInputOutputErrors) {
    const std::string dir = scratchDir(), out = dir + "/out.txt", a = writeFile("a.txt", "one\n");
    const std::string good = writeFile("good.txt", "fine\nlines"), bad = writeFile("bad.txt", "a\x80");
    const Case cases[] = {
        {{"-f", "utf16be", "-t", "utf8", writeFile("a16", encode(U"one\n", U16BE)), "-", writeFile("b.txt", encode(U"three\n", U16BE))},
         encode(U"two\n", U16BE), 0, "one\ntwo\nthree\n", ""},
        {{"--bom", "-t", "utf16le", "-o", out, a, writeFile("c", kMark[U32BE] + encode(U"é", U32BE))}, "", 0, "", ""},
        {{"--check", bad, good}, "", 1, good + ": UTF-8, no byte-order mark, 10 bytes, 2 lines: well-formed\n", illFormed(bad, U8, 1, 1, 2)},
        {{dir + "/missing"}, "", 3, "", "qelconv: " + dir + "/missing: cannot open: No such file or directory\n"},
        {{dir}, "", 3, "", "qelconv: " + dir + ": read error: Is a directory\n"},
        {{"-o", "/dev/full"}, "text", 3, "", "qelconv: /dev/full: write error: No space left on device\n"},
    };
    for (const Case& c : cases) expectRun(c);
    EXPECT_EQ(readFile(out), kMark[U16LE] + encode(U"one\né", U16LE));
}

TEST(Qelconv, UsageErrorsExitTwo) {
    const std::string in = writeFile("in.txt", "x");
    for (const Args& args : std::vector<Args>{{"-f", "latin1"}, {"-t", "utf16"}, {"-t", "auto"}, {"--nope"}, {"-x"}, {"-f"},
                                              {"--fix-surrogates", "--raw-sequences"}, {"-o", in, in}}) {
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

// The progress bar appears for an input over 64 MiB on a terminal only.
TEST(Qelconv, ProgressOnlyOnATerminal) {
    const std::string big = scratchDir() + "/zeros";  // zero characters are well-formed
    const int fd = open(big.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_EQ(ftruncate(fd, (65 << 20) + 1), 0);
    close(fd);
    expectRun({{"--check", big}, "", 0, big + ": UTF-8, no byte-order mark, " + std::to_string((65 << 20) + 1) + " bytes, 1 line: well-formed\n", ""});
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
    for (const std::string& part : {"qelconv: " + big + " [", std::string("MiB/s"), std::string("%")})
        EXPECT_NE(seen.find(part), std::string::npos) << seen;
}

}  // namespace
