// Pair descriptions: what the walkers of the bounded, allocating and
// errno-style families need to know of one encoding pair and variant. Each
// walker is written once as a template over these.
//
//   Src, Dst        source and target units (UTF-8 is read as unsigned bytes
//                   and written as char)
//   SrcForm         how control sequences are recognised and read in the source
//   DstForm         how they are written and closed in the target
//   preflight, safe, fill, alloc   the pair's cores
//   kHasFill        whether the pair has a fill converter (UTF-16 -> UTF-32 has not)
#pragma once

#include "common/common.h"
#include "common/sequence.h"
#include "core/cores.h"

namespace qel {
namespace pairs {

template <class S, class D, class SF, class DF>
struct PairBase {
    using Src = S;
    using Dst = D;
    using SrcForm = SF;
    using DstForm = DF;
};

// The cores of each pair, independent of the sequence forms.
struct Utf16ToUtf8Cores {
    static constexpr bool kHasFill = true;
    static int preflight(unsigned int* n, const u16** in, const u16* end) { return u16stou8sPreflightLow(n, in, end); }
    static int safe(char** o, const char* oe, const u16** in, const u16* end) { return u16stou8sConvertSafeLow(o, oe, in, end); }
    static int fill(char** o, const char* oe, const u16** in, const u16* end) { return u16stou8sConvertLow(o, oe, in, end); }
    static int alloc(qelChrXBuf<char>* b, char** o, const char** oe, const u16** in, const u16* end) {
        return u16stou8sAllocLow(b, o, oe, in, end);
    }
};

struct Utf32ToUtf8Cores {
    static constexpr bool kHasFill = true;
    static int preflight(unsigned int* n, const u32** in, const u32* end) { return u32stou8sPreflightLow(n, in, end); }
    static int safe(char** o, const char* oe, const u32** in, const u32* end) { return u32stou8sConvertSafeLow(o, oe, in, end); }
    static int fill(char** o, const char* oe, const u32** in, const u32* end) { return u32stou8sConvertLow(o, oe, in, end); }
    static int alloc(qelChrXBuf<char>* b, char** o, const char** oe, const u32** in, const u32* end) {
        return u32stou8sAllocLow(b, o, oe, in, end);
    }
};

struct Utf8ToUtf16Cores {
    static constexpr bool kHasFill = true;
    static int preflight(unsigned int* n, const u8** in, const u8* end) { return u8stou16sPreflightLow(n, in, end); }
    static int safe(u16** o, const u16* oe, const u8** in, const u8* end) { return u8stou16sConvertSafeLow(o, oe, in, end); }
    static int fill(u16** o, const u16* oe, const u8** in, const u8* end) { return u8stou16sConvertLow(o, oe, in, end); }
    static int alloc(qelChrXBuf<u16>* b, u16** o, const u16** oe, const u8** in, const u8* end) {
        return u8stou16sAllocLow(b, o, oe, in, end);
    }
};

struct Utf8ToUtf32Cores {
    static constexpr bool kHasFill = true;
    static int preflight(unsigned int* n, const u8** in, const u8* end) { return u8stou32sPreflightLow(n, in, end); }
    static int safe(u32** o, const u32* oe, const u8** in, const u8* end) { return u8stou32sConvertSafeLow(o, oe, in, end); }
    static int fill(u32** o, const u32* oe, const u8** in, const u8* end) { return u8stou32sConvertLow(o, oe, in, end); }
    static int alloc(qelChrXBuf<u32>* b, u32** o, const u32** oe, const u8** in, const u8* end) {
        return u8stou32sAllocLow(b, o, oe, in, end);
    }
};

struct Utf16ToUtf32Cores {
    static constexpr bool kHasFill = false;
    static int preflight(unsigned int* n, const u16** in, const u16* end) { return u16stou32sPreflightLow(n, in, end); }
    static int safe(u32** o, const u32* oe, const u16** in, const u16* end) { return u16stou32sConvertSafeLow(o, oe, in, end); }
    static int alloc(qelChrXBuf<u32>* b, u32** o, const u32** oe, const u16** in, const u16* end) {
        return u16stou32sAllocLow(b, o, oe, in, end);
    }
};

struct Utf32ToUtf16Cores {
    static constexpr bool kHasFill = true;
    static int preflight(unsigned int* n, const u32** in, const u32* end) { return u32stou16sPreflightLow(n, in, end); }
    static int safe(u16** o, const u16* oe, const u32** in, const u32* end) { return u32stou16sConvertSafeLow(o, oe, in, end); }
    static int fill(u16** o, const u16* oe, const u32** in, const u32* end) { return u32stou16sConvertLow(o, oe, in, end); }
    static int alloc(qelChrXBuf<u16>* b, u16** o, const u16** oe, const u32** in, const u32* end) {
        return u32stou16sAllocLow(b, o, oe, in, end);
    }
};

template <class Cores, class S, class D, class SF, class DF>
struct Pair : Cores, PairBase<S, D, SF, DF> {};

// The ten converters of the qelStr family.
using Utf16ToUtf8 = Pair<Utf16ToUtf8Cores, u16, char, seq::Utf16Form, seq::StdUtf8Form>;
using Utf16ToUtf8Raw = Pair<Utf16ToUtf8Cores, u16, char, seq::Utf16Form, seq::RawUtf8Form>;
using Utf32ToUtf8 = Pair<Utf32ToUtf8Cores, u32, char, seq::Utf32Form, seq::StdUtf8Form>;
using Utf32ToUtf8Raw = Pair<Utf32ToUtf8Cores, u32, char, seq::Utf32Form, seq::RawUtf8Form>;
using Utf8ToUtf16 = Pair<Utf8ToUtf16Cores, u8, u16, seq::StdUtf8Form, seq::Utf16Form>;
using Utf8ToUtf16Raw = Pair<Utf8ToUtf16Cores, u8, u16, seq::RawUtf8Form, seq::Utf16Form>;
using Utf8ToUtf32 = Pair<Utf8ToUtf32Cores, u8, u32, seq::StdUtf8Form, seq::Utf32Form>;
using Utf8ToUtf32Raw = Pair<Utf8ToUtf32Cores, u8, u32, seq::RawUtf8Form, seq::Utf32Form>;
using Utf16ToUtf32 = Pair<Utf16ToUtf32Cores, u16, u32, seq::Utf16Form, seq::Utf32Form>;
using Utf32ToUtf16 = Pair<Utf32ToUtf16Cores, u32, u16, seq::Utf32Form, seq::Utf16Form>;

// The errno-style family: standard form only, and a lead byte right before
// 0x02 in a UTF-8 source starts no sequence.
using ErrnoUtf8Form = seq::Utf8Form<seq::LeadBeforeEnd::NoSequence>;
using ErrnoUtf16ToUtf8 = Utf16ToUtf8;
using ErrnoUtf32ToUtf8 = Utf32ToUtf8;
using ErrnoUtf8ToUtf16 = Pair<Utf8ToUtf16Cores, u8, u16, ErrnoUtf8Form, seq::Utf16Form>;
using ErrnoUtf8ToUtf32 = Pair<Utf8ToUtf32Cores, u8, u32, ErrnoUtf8Form, seq::Utf32Form>;
using ErrnoUtf16ToUtf32 = Utf16ToUtf32;
using ErrnoUtf32ToUtf16 = Utf32ToUtf16;

}  // namespace pairs
}  // namespace qel
