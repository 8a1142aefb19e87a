// SPDX-License-Identifier: MIT
// The model's judgement of well-formedness and of the first ill-formed
// position, held to ICU on text without 0x00, 0x01 and 0x02 (where no
// control sequence or terminator comes into play).
#include <cstdio>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "check.h"

namespace qelfuzz {

namespace {
// Offset of the first ill-formed character by ICU, or the text's size.
std::size_t icuFirstBad(qelref::Enc enc, const Units& t) {
    const int32_t n = static_cast<int32_t>(t.size());
    int32_t i = 0;
    while (i < n) {
        const int32_t at = i;
        UChar32 c = 0;
        if (enc == qelref::Enc::Utf8) {
            std::vector<uint8_t> b(t.begin(), t.end());
            U8_NEXT(b.data(), i, n, c);
        } else if (enc == qelref::Enc::Utf16) {
            std::vector<UChar> u(t.begin(), t.end());
            U16_NEXT(u.data(), i, n, c);
        } else {
            c = t[i] <= 0x10FFFF ? static_cast<UChar32>(t[i]) : -1;
            ++i;
        }
        if (c < 0 || U_IS_SURROGATE(c)) return static_cast<std::size_t>(at);
    }
    return t.size();
}
}  // namespace

int checkIcu(const std::uint8_t* data, std::size_t size) {
    Reader r(data, size);
    const auto enc = static_cast<qelref::Enc>(r.byte() % 3);
    Units t = makeText(r, enc, true, false);
    for (std::uint32_t& u : t)
        if (u <= 2) u = 0x41;
    std::size_t model = t.size();
    for (const qelref::Piece& p : qelref::convert(enc, qelref::Enc::Utf32, qelref::SeqForm::Unit, false, t, 0, t.size()).pieces)
        if (p.kind == qelref::Piece::Bad) model = p.pos;
    const std::size_t icu = icuFirstBad(enc, t);
    setContext([&] {
        std::fprintf(stderr, "  encoding %d: model first fault %zu, ICU %zu\n", static_cast<int>(enc), model, icu);
        dumpUnits("text", t);
    });
    QF_CHECK(model == icu);
    return 0;
}

}  // namespace qelfuzz
