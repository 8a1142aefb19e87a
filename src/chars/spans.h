// SPDX-License-Identifier: MIT
// The span, break and tokenise functions of the three encodings share this one
// algorithm. A set is read as whole characters of its encoding; a set of one
// character is matched by its units without decoding the text; any other set
// makes the text be decoded character by character, and an ill-formed
// character there ends the walk with the whole of the text as the result.
//
// Each encoding supplies a Text policy:
//   using Unit = ...;                                  code unit
//   static int decode(const Unit* p, u32& cp);         units of the character
//       at p with its code point, 0 at the terminator, -1 for an ill-formed
//       character (errno already set to EILSEQ by the decoder)
//   static Unit* find(const Unit* s, u32 cp);          the encoding's
//       code-point search
//   static std::size_t length(const Unit* s);          units before the
//       terminator
//   static int delimiterLength(const Unit* p);         units of the delimiter
//       character at p, or -1 when it cannot be read
#pragma once

#include <cstddef>

#include "chars/units.h"
#include "common/common.h"

namespace qel {
namespace chars {

// Which run a walk measures: the characters that are in the set (span), or
// those that are not (break).
enum class Run { InSet, NotInSet };

// How a walk ended: at a character that is not part of the run, at the
// terminator, or somewhere in s that only the length of s tells (the
// character was not found, or the text was ill-formed).
enum class RunEnd { Character, Terminator, WholeText };

template <class Unit>
struct RunStop {
    const Unit* at;  // the character or terminator for the first two endings
    RunEnd end;
};

template <class Unit>
inline bool isEmptySet(const Unit* set) noexcept {
    return set == nullptr || set[0] == 0;
}

// Walks s for the given run over a set that holds at least one unit.
template <class Text, class Unit = typename Text::Unit>
RunStop<Unit> walkRun(const Unit* s, const Unit* set, Run run) noexcept {
    u32 cp = 0;
    const int first = Text::decode(set, cp);
    if (first > 0 && set[first] == 0) {
        // A single character: its units are matched as they stand.
        if (run == Run::InSet) {
            const Unit* p = s;
            while (*p != 0 && equalUnits(p, set, static_cast<std::size_t>(first))) p += first;
            return {p, *p == 0 ? RunEnd::Terminator : RunEnd::Character};
        }
        const Unit* found = Text::find(s, cp);
        return {found, found != nullptr ? RunEnd::Character : RunEnd::WholeText};
    }
    // Several characters, or an ill-formed first one (errno is set and the
    // whole set is searched as it stands).
    if (s == nullptr) return {s, RunEnd::Terminator};
    for (const Unit* p = s;;) {
        const int n = Text::decode(p, cp);
        if (n == 0) return {p, RunEnd::Terminator};
        if (n < 0) return {nullptr, RunEnd::WholeText};
        const bool inSet = Text::find(set, cp) != nullptr;
        if (inSet != (run == Run::InSet)) return {p, RunEnd::Character};
        p += n;
    }
}

template <class Text, class Unit = typename Text::Unit>
std::size_t runLength(const Unit* s, RunStop<Unit> stop) noexcept {
    return stop.end == RunEnd::WholeText ? Text::length(s) : static_cast<std::size_t>(stop.at - s);
}

// Units at the head of s made of characters of set.
template <class Text, class Unit = typename Text::Unit>
std::size_t spanLength(const Unit* s, const Unit* set) noexcept {
    if (isEmptySet(set)) return 0;
    return runLength<Text>(s, walkRun<Text>(s, set, Run::InSet));
}

// Units at the head of s made of characters not in set.
template <class Text, class Unit = typename Text::Unit>
std::size_t breakLength(const Unit* s, const Unit* set) noexcept {
    if (isEmptySet(set)) return Text::length(s);
    return runLength<Text>(s, walkRun<Text>(s, set, Run::NotInSet));
}

// The first character of s that is in set, or null.
template <class Text, class Unit = typename Text::Unit>
Unit* breakPointer(const Unit* s, const Unit* set) noexcept {
    if (isEmptySet(set)) return nullptr;
    const RunStop<Unit> stop = walkRun<Text>(s, set, Run::NotInSet);
    return stop.end == RunEnd::Character ? const_cast<Unit*>(stop.at) : nullptr;
}

// The next token of s (or, for a null s, of the text at *context): leading
// delimiters are skipped, the first unit of the delimiter that ends the token
// is overwritten with 0, and *context is left behind that delimiter, or null
// when no token can follow.
template <class Text, class Unit = typename Text::Unit>
Unit* tokenise(Unit* s, const Unit* delim, Unit** context) noexcept {
    if (s == nullptr) {
        s = *context;
        if (s == nullptr) return nullptr;
    }
    Unit* token = s + spanLength<Text>(s, delim);
    if (*token == 0) {
        *context = nullptr;
        return nullptr;
    }
    Unit* end = breakPointer<Text>(token, delim);
    if (end == nullptr) {
        *context = nullptr;
        return token;
    }
    const int delimLen = Text::delimiterLength(end);
    if (delimLen < 0) {
        // The delimiter cannot be read: it stays in place and the token is the last.
        *context = nullptr;
        return token;
    }
    *context = end + delimLen;
    *end = 0;
    return token;
}

}  // namespace chars
}  // namespace qel
