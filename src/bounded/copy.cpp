// SPDX-License-Identifier: MIT
// Bounded UTF-16 copy: the bounded conversion reduced to the identity. Units
// are copied as they are (lone surrogates included); embedded control
// sequences are copied whole, or closed or dropped when the buffer cuts them.
#include "common/common.h"
#include "common/sequence.h"
#include "core/output.h"

using namespace qel;

extern "C" QEL_API qelStrStatus qelStrUtf16Copy(char16_t* out, unsigned int outSize, unsigned int* outLen,
                                                const char16_t* in, unsigned int inLen) {
    unsigned int spare;
    qelStrStatus status;
    if (answeredByArgumentChecks(out, outSize, outLen, spare, in, inLen, true, status)) return status;
    const u16* const inEnd = inputEnd(in, inLen);

    if (out == nullptr) {  // length query: every unit is kept, so count units
        *outLen = unitsBeforeTerminator(in, inEnd);
        return qelStrOk;
    }

    status = qelStrOk;
    u16* w = out;
    u16* const bufEnd = out + outSize;
    const u16* r = in;
    while (r != inEnd && *r != 0) {
        if (*r == seq::kStart) {
            const seq::Recognised<u16> found = seq::Utf16Form::recognise(r, inEnd);
            if (found.valid) {
                core::Bounded<u16> seqOut{{w, bufEnd}};
                const bool complete = core::carrySequence<seq::Utf16Form, seq::Utf16Form>(r, found.stop + 1, seqOut);
                if (complete && seqOut.o != bufEnd) {
                    w = seqOut.o;
                    r = found.stop + 1;
                    continue;
                }
                // Cut, also when the sequence ends on the buffer's last unit.
                w = seq::closeFixed(w, seqOut.o, false);
                status = qelStrTruncated;
                break;
            }
            // No sequence: the 0x01 is an ordinary unit and the units the
            // recogniser passed are read again one by one.
        }
        if (bufEnd - w < 2) {
            status = qelStrTruncated;
            break;
        }
        *w++ = *r++;
    }
    *w = 0;
    *outLen = unitsBetween(out, w);
    return status;
}
