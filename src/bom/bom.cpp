// SPDX-License-Identifier: MIT
// Encoding types and byte-order marks. Looks at raw bytes only; nothing is
// converted or validated behind the mark.
#include "qel/qelutftype.h"

namespace {

struct Mark {
    unsigned char bytes[4];
    unsigned int length;
};

// Marks by type 1..5, bytes in file order.
constexpr Mark kMarks[5] = {
    {{0xEF, 0xBB, 0xBF, 0x00}, 3},  // UTF-8
    {{0xFF, 0xFE, 0x00, 0x00}, 2},  // UTF-16LE
    {{0xFE, 0xFF, 0x00, 0x00}, 2},  // UTF-16BE
    {{0xFF, 0xFE, 0x00, 0x00}, 4},  // UTF-32LE
    {{0x00, 0x00, 0xFE, 0xFF}, 4},  // UTF-32BE
};

unsigned int found(qelUtfType* type, qelUtfType t) {
    *type = t;
    return kMarks[t - 1].length;
}

}  // namespace

extern "C" {

// Decides on the first byte. FF FE 00 00 is UTF-32LE whenever four bytes are
// available, although it could also be a UTF-16LE mark before U+0000.
QEL_API unsigned int qelUtfTypeFromBOM(qelUtfType* type, const unsigned char* buf, size_t len) {
    if (len < 2) return 0;
    switch (buf[0]) {
    case 0x00:
        return len >= 4 && buf[1] == 0x00 && buf[2] == 0xFE && buf[3] == 0xFF ? found(type, qelUtfTypeUtf32BE) : 0;
    case 0xEF:
        return len >= 3 && buf[1] == 0xBB && buf[2] == 0xBF ? found(type, qelUtfTypeUtf8) : 0;
    case 0xFE:
        return buf[1] == 0xFF ? found(type, qelUtfTypeUtf16BE) : 0;
    case 0xFF:
        if (buf[1] != 0xFE) return 0;
        if (len >= 4 && buf[2] == 0x00 && buf[3] == 0x00) return found(type, qelUtfTypeUtf32LE);
        return found(type, qelUtfTypeUtf16LE);
    default:
        return 0;
    }
}

QEL_API unsigned int qelUtfTypeToBOM(void* buf, size_t size, qelUtfType type) {
    // type - 1 as unsigned: 0 and every negative type fall outside 0..4.
    const unsigned int index = static_cast<unsigned int>(type) - 1u;
    if (buf == nullptr || index >= 5u) return 0;
    const Mark& m = kMarks[index];
    if (size < m.length) return 0;
    unsigned char* out = static_cast<unsigned char*>(buf);
    for (unsigned int i = 0; i < m.length; ++i) out[i] = m.bytes[i];
    return m.length;
}

QEL_API unsigned int qelUtfTypeUsedAsWide(void) { return qelUtfTypeUtf16LE; }

}  // extern "C"
