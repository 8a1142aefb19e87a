// SPDX-License-Identifier: MIT
// Benchmark inputs: texts generated deterministically from fixed word lists
// (no downloads), cut to a size in UTF-8 bytes at a character boundary, and
// the same texts in UTF-16 and UTF-32. Every buffer ends with a zero unit
// that is not part of the text, so the zero-terminated functions can read it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

enum class Corpus { Ascii, Latin, Cyrillic, Cjk, Emoji, Mixed, MixedControl };

struct CorpusInfo {
    Corpus id;
    const char* name;
};

// All corpora in table order.
const std::vector<CorpusInfo>& corpora();

// One text in the three encodings; `.size()` of each excludes the zero unit
// that follows it.
struct Text {
    std::string utf8;
    std::u16string utf16;
    std::u32string utf32;
};

// The text of a corpus with at most `bytes` bytes of UTF-8, cut after the
// last whole character that fits.
Text makeText(Corpus corpus, std::size_t bytes);

}  // namespace bench
