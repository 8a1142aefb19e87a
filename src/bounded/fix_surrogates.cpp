// SPDX-License-Identifier: MIT
// In-place repair of UTF-8 text that spells a supplementary character as two
// three-byte surrogate sequences: each high half followed at once by a low
// half becomes the character's four-byte form. Everything else must already be
// well-formed UTF-8 and is kept as it is. The text only shrinks: the write
// position never passes the read position.
#include "chars/codec.h"
#include "core/rules.h"
#include "qel/qelstr.h"

using namespace qel;

namespace {

// Copies n bytes forward from r to w (w <= r); nothing to do while they meet.
void moveDown(u8* w, const u8* r, int n) noexcept {
    if (w == r) return;
    for (int i = 0; i < n; ++i) w[i] = r[i];
}

// Repairs from s up to its terminator. Returns the final write position and
// whether the terminator was reached without a fault.
bool repair(u8* s, u8*& w) noexcept {
    const u8* r = s;
    w = s;
    while (*r != 0) {
        if (*r < 0x80u) {
            moveDown(w++, r++, 1);
            continue;
        }
        u16 first[2];
        const int len = chars::u8ctou16LenientLow(first, 3, r, chars::kUnbounded);
        if (len < 0) return false;
        if (len != 3 || !rules::isSurrogate(first[0])) {
            moveDown(w, r, len);
            w += len;
            r += len;
            continue;
        }
        if (!rules::isHighSurrogate(first[0])) return false;  // a low half may not come first
        // The three bytes at r are not zero, so r + 3 is at most the terminator.
        u16 second[2];
        const int len2 = chars::u8ctou16LenientLow(second, 2, r + 3, chars::kUnbounded);
        if (len2 != 3 || !rules::isLowSurrogate(second[0])) return false;
        // The six bytes are read; the four written over them end before r + 6.
        w += rules::encodeUtf8(rules::combineSurrogates(first[0], second[0]), w);
        r += 6;
    }
    return true;
}

}  // namespace

extern "C" QEL_API char* qelStrUtf8FixSurrogatePairs(char* s) {
    u8* w;
    const bool ok = repair(reinterpret_cast<u8*>(s), w);
    *w = 0;  // on a fault the text is cut before the offending sequence
    return ok ? s : nullptr;
}
