// Carrying a recognised embedded control sequence over into a growing
// buffer. The sequence [begin, end) runs from its opening 0x01 to one past its
// closing 0x02; each character is read in the source form and spelled in the
// target form, unit by unit. The writer moves on to the next chunk only when
// the current one is full and units remain, so a two-byte UTF-8 form may end
// one chunk and begin the next. Both cursors are written back; the result is
// false when no chunk could be had (the buffer then stands on the empty slot).
#pragma once

#include "common/common.h"
#include "common/sequence.h"
#include "qel/qelcore.h"

namespace qel {

// The one copier, over any source and target form; the raw twins carry their
// one-byte form with seq::RawUtf8Form on either side.
template <class From, class To, class T>
inline bool appendSequence(qelChrXBuf<T>* buf, T** out, const T** outEnd, const typename From::Unit* begin,
                           const typename From::Unit* end) noexcept {
    T* o = *out;
    const T* oe = *outEnd;
    bool complete = true;
    u32 units[2];
    for (const typename From::Unit* p = begin; complete && p != end;) {
        const int n = To::encode(From::read(p), units);
        for (int i = 0; i < n; ++i) {
            if (o == oe) {
                T* const chunk = buf->nextChunk();
                if (chunk == nullptr) {
                    complete = false;
                    break;
                }
                o = chunk;
                oe = chunk + buf->curCapacity;
            }
            *o++ = static_cast<T>(units[i]);
        }
    }
    *out = o;
    *outEnd = oe;
    return complete;
}

// The six copiers of the standard forms, one per pair.
inline bool appendSequence(qelChrXBuf<char>* buf, char** out, const char** outEnd, const u16* begin,
                           const u16* end) noexcept {
    return appendSequence<seq::Utf16Form, seq::StdUtf8Form>(buf, out, outEnd, begin, end);
}
inline bool appendSequence(qelChrXBuf<char>* buf, char** out, const char** outEnd, const u32* begin,
                           const u32* end) noexcept {
    return appendSequence<seq::Utf32Form, seq::StdUtf8Form>(buf, out, outEnd, begin, end);
}
inline bool appendSequence(qelChrXBuf<u16>* buf, u16** out, const u16** outEnd, const u8* begin,
                           const u8* end) noexcept {
    return appendSequence<seq::StdUtf8Form, seq::Utf16Form>(buf, out, outEnd, begin, end);
}
inline bool appendSequence(qelChrXBuf<u32>* buf, u32** out, const u32** outEnd, const u8* begin,
                           const u8* end) noexcept {
    return appendSequence<seq::StdUtf8Form, seq::Utf32Form>(buf, out, outEnd, begin, end);
}
inline bool appendSequence(qelChrXBuf<u16>* buf, u16** out, const u16** outEnd, const u32* begin,
                           const u32* end) noexcept {
    return appendSequence<seq::Utf32Form, seq::Utf16Form>(buf, out, outEnd, begin, end);
}
inline bool appendSequence(qelChrXBuf<u32>* buf, u32** out, const u32** outEnd, const u16* begin,
                           const u16* end) noexcept {
    return appendSequence<seq::Utf16Form, seq::Utf32Form>(buf, out, outEnd, begin, end);
}

}  // namespace qel
