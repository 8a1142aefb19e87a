// The embedded-control-sequence unit: recognition in every form, carrying a
// sequence over between forms, its size in each target, and the rule that
// closes or drops a sequence cut by a bounded output.
#include <gtest/gtest.h>

#include <vector>

#include "common/sequence.h"
#include "core/output.h"

using namespace qel;

namespace {

template <class Form>
struct Scan {
    std::vector<typename Form::Unit> units;
    bool valid;
    long stop;  // offset of the stop position; -1 for the end of the input
};

template <class Form>
void expectRecognised(const Scan<Form>& c) {
    const auto* begin = c.units.data();
    const auto* end = begin + c.units.size();
    const seq::Recognised<typename Form::Unit> r = Form::recognise(begin, end);
    EXPECT_EQ(r.valid, c.valid) << "input of " << c.units.size() << " units";
    EXPECT_EQ(r.stop == end ? -1 : r.stop - begin, c.stop) << "input of " << c.units.size() << " units";
}

std::vector<u16> contentRun(int n) {
    std::vector<u16> v(1, 0x01);
    for (int i = 0; i < n; ++i) v.push_back(static_cast<u16>(0x41 + i));
    return v;
}

// The engine carries sequences through its outputs: a bounded buffer, and a
// counter for sizes.
template <class O>
struct Carried {
    O* pos;
    bool complete;
};
template <class From, class To, class O>
Carried<O> carryBounded(const typename From::Unit* begin, const typename From::Unit* end, O* out, O* bufEnd) {
    qel::core::Bounded<O> o{{out, bufEnd}};
    const bool complete = qel::core::carrySequence<From, To>(begin, end, o);
    return {o.o, complete};
}
template <class From, class To>
unsigned int sizeIn(const typename From::Unit* begin, const typename From::Unit* end) {
    qel::core::Counter c{0};
    qel::core::carrySequence<From, To>(begin, end, c);
    return c.n;
}

TEST(SequenceRecognition, FixedWidthForms) {
    std::vector<u16> seventeen = contentRun(17);
    seventeen.push_back(0x02);
    std::vector<u16> eighteen = contentRun(18);
    eighteen.push_back(0x02);
    const Scan<seq::Utf16Form> cases[] = {
        {{0x01, 0x41, 0x42, 0x43, 0x02}, true, 4},
        {{0x01, 0x02}, true, 1},                 // the empty sequence
        {seventeen, true, 18},                   // 17 content units
        {eighteen, false, 18},                   // stops on the 18th content unit
        {{0x01, 0x41, 0x1F, 0x02}, false, 2},    // below 0x20
        {{0x01, 0x41, 0xA0, 0x02}, false, 2},    // above 0x9F
        {{0x01, 0x41, 0x00, 0x02}, false, 2},    // a zero unit
        {{0x01, 0x41, 0x01, 0x02}, false, 2},    // another start unit
        {{0x01, 0x9F, 0x80, 0x20, 0x02}, true, 4},
        {{0x01, 0x41, 0x42}, false, -1},         // input ends in the content
        {{0x01}, false, -1},
    };
    for (const auto& c : cases) expectRecognised(c);

    const Scan<seq::Utf32Form> wide[] = {
        {{0x01, 0x85, 0x02}, true, 2},
        {{0x01, 0x10041, 0x02}, false, 1},  // the whole unit is judged, not its low bits
    };
    for (const auto& c : wide) expectRecognised(c);

    const Scan<seq::RawUtf8Form> raw[] = {
        {{0x01, 0x41, 0x85, 0x02}, true, 3},
        {{0x01, 0x41, 0xC2, 0x80, 0x02}, false, 2},  // 0xC2 is no raw content byte
    };
    for (const auto& c : raw) expectRecognised(c);
}

TEST(SequenceRecognition, StandardUtf8Form) {
    std::vector<u8> seventeenTwoByte{0x01};
    for (int i = 0; i < 17; ++i) seventeenTwoByte.insert(seventeenTwoByte.end(), {0xC2, 0x85});
    seventeenTwoByte.push_back(0x02);
    const Scan<seq::StdUtf8Form> cases[] = {
        {{0x01, 0x41, 0xC2, 0x85, 0x02}, true, 4},
        {seventeenTwoByte, true, 35},            // characters are counted, not bytes
        {{0x01, 0x41, 0x85, 0x02}, false, 2},    // a lone 0x80..0xC1 byte stops the scan
        {{0x01, 0x41, 0xE2, 0x02}, false, 2},    // three-byte leads stop the scan
        {{0x01, 0xC2, 0xA0, 0x02}, false, 2},    // U+00A0 is beyond the content range
        {{0x01, 0xC2, 0x41, 0x02}, false, 2},    // no continuation byte: stops on it
        {{0x01, 0x41, 0xC2}, false, -1},         // lead byte is the last of the input
        {{0x01, 0x41, 0xC2, 0x02}, true, 3},     // lone lead byte before 0x02: valid
        {{0x01, 0x41, 0xC3, 0x02}, true, 3},
    };
    for (const auto& c : cases) expectRecognised(c);

    // The errno-style family reads a lead byte before 0x02 as no sequence.
    using ErrnoForm = seq::Utf8Form<seq::LeadBeforeEnd::NoSequence>;
    const Scan<ErrnoForm> errnoCases[] = {
        {{0x01, 0x41, 0xC2, 0x02}, false, 3},
        {{0x01, 0x41, 0xC2, 0x85, 0x02}, true, 4},
    };
    for (const auto& c : errnoCases) expectRecognised(c);
}

TEST(SequenceCarryOver, BetweenFormsAndSizes) {
    const std::vector<u16> wide{0x01, 0x41, 0x85, 0x02};
    const std::vector<u8> stdUtf8{0x01, 0x41, 0xC2, 0x85, 0x02};
    const std::vector<u8> rawUtf8{0x01, 0x41, 0x85, 0x02};
    char out[16];

    auto toStd = carryBounded<seq::Utf16Form, seq::StdUtf8Form>(wide.data(), wide.data() + 4, out, out + 16);
    ASSERT_TRUE(toStd.complete);
    EXPECT_EQ(std::vector<u8>(out, toStd.pos), stdUtf8);
    EXPECT_EQ((sizeIn<seq::Utf16Form, seq::StdUtf8Form>(wide.data(), wide.data() + 4)), 5u);

    auto toRaw = carryBounded<seq::Utf16Form, seq::RawUtf8Form>(wide.data(), wide.data() + 4, out, out + 16);
    EXPECT_EQ(std::vector<u8>(out, toRaw.pos), rawUtf8);
    EXPECT_EQ((sizeIn<seq::Utf16Form, seq::RawUtf8Form>(wide.data(), wide.data() + 4)), 4u);

    // Both UTF-8 forms come back to the same UTF-16 units.
    u16 back[8];
    auto fromStd = carryBounded<seq::StdUtf8Form, seq::Utf16Form>(stdUtf8.data(), stdUtf8.data() + 5, back, back + 8);
    EXPECT_EQ(std::vector<u16>(back, fromStd.pos), wide);
    EXPECT_EQ((sizeIn<seq::StdUtf8Form, seq::Utf16Form>(stdUtf8.data(), stdUtf8.data() + 5)), 4u);
    auto fromRaw = carryBounded<seq::RawUtf8Form, seq::Utf16Form>(rawUtf8.data(), rawUtf8.data() + 4, back, back + 8);
    EXPECT_EQ(std::vector<u16>(back, fromRaw.pos), wide);

    // The lone lead byte and the 0x02 after it become one unit, without an end unit.
    const std::vector<u8> quirk{0x01, 0x41, 0xC2, 0x02};
    auto q = carryBounded<seq::StdUtf8Form, seq::Utf16Form>(quirk.data(), quirk.data() + 4, back, back + 8);
    EXPECT_EQ(std::vector<u16>(back, q.pos), (std::vector<u16>{0x01, 0x41, 0x82}));
    EXPECT_EQ((sizeIn<seq::StdUtf8Form, seq::Utf16Form>(quirk.data(), quirk.data() + 4)), 3u);

    // UTF-32 into UTF-16 keeps the low 16 bits; UTF-16 into UTF-32 zero-extends.
    const std::vector<u32> w32{0x01, 0x9F, 0x02};
    auto t16 = carryBounded<seq::Utf32Form, seq::Utf16Form>(w32.data(), w32.data() + 3, back, back + 8);
    EXPECT_EQ(std::vector<u16>(back, t16.pos), (std::vector<u16>{0x01, 0x9F, 0x02}));
}

TEST(SequenceCarryOver, StopsAtTheBufferEnd) {
    const std::vector<u16> wide{0x01, 0x85, 0x85, 0x02};
    char out[4];
    auto c = carryBounded<seq::Utf16Form, seq::StdUtf8Form>(wide.data(), wide.data() + 4, out, out + 4);
    EXPECT_FALSE(c.complete);
    EXPECT_EQ(c.pos, out + 4);
    EXPECT_EQ(static_cast<u8>(out[3]), 0xC2);  // a lead byte whose second byte did not fit
}

// A cut sequence written from `written` into a buffer of `size` units.
struct CloseCase {
    std::vector<u8> written;  // what the buffer holds from the sequence's start
    int size;                 // buffer units from the sequence's start
    bool fullLength;
    std::vector<u8> kept;     // what remains, the closing 0x02 included
};

TEST(SequenceClosing, FixedWidthRule) {
    const CloseCase cases[] = {
        {{0x01, 0x41, 0x42, 0x43, 0x44}, 5, false, {0x01, 0x41, 0x42, 0x02}},
        {{0x01, 0x41, 0x42, 0x43}, 4, false, {0x01, 0x41, 0x02}},
        {{0x01, 0x41, 0x42}, 3, false, {}},                        // fewer than 4 written: dropped
        {{0x01, 0x41, 0x42, 0x43, 0x44}, 5, true, {}},             // full-length drops whole
        {{0x01, 0x41, 0x42, 0x02}, 4, false, {0x01, 0x41, 0x02}},  // ended on the last unit
    };
    for (const CloseCase& c : cases) {
        std::vector<u8> buf(c.written);
        buf.resize(c.size, 0xEE);
        u8* end = seq::RawUtf8Form::close(buf.data(), buf.data() + c.written.size(), buf.data() + c.size, c.fullLength);
        EXPECT_EQ(std::vector<u8>(buf.data(), end), c.kept) << "size " << c.size;
        EXPECT_LT(end - buf.data(), c.size) << "a terminator must still fit";
    }
}

TEST(SequenceClosing, StandardUtf8Rule) {
    const CloseCase cases[] = {
        {{0x01, 0xC2, 0x85, 0xC2, 0x85}, 5, false, {0x01, 0xC2, 0x85, 0x02}},
        {{0x01, 0xC2, 0x85, 0xC2}, 4, false, {}},  // lone lead removed, then only the start unit is left
        {{0x01, 0x41, 0x42, 0x43, 0x02}, 5, false, {0x01, 0x41, 0x42, 0x02}},
        {{0x01, 0x41, 0x42, 0x43, 0x44, 0x45}, 6, false, {0x01, 0x41, 0x42, 0x43, 0x02}},
        {{0x01, 0x41, 0xC2, 0x85, 0xC2}, 5, false, {0x01, 0x41, 0x02}},
        {{0x01, 0x41, 0xC2}, 3, false, {}},  // 3 bytes counted with the lone lead: dropped
        {{0x01, 0xC2, 0x85, 0x41}, 4, false, {}},  // no content character would survive
        {{0x01, 0x41, 0x42, 0x43, 0x44}, 5, true, {}},
    };
    for (const CloseCase& c : cases) {
        std::vector<u8> buf(c.written);
        buf.resize(c.size, 0xEE);
        char* base = reinterpret_cast<char*>(buf.data());
        char* end = seq::StdUtf8Form::close(base, base + c.written.size(), base + c.size, c.fullLength);
        EXPECT_EQ(std::vector<u8>(buf.data(), reinterpret_cast<u8*>(end)), c.kept) << "size " << c.size;
        EXPECT_LT(end - base, c.size) << "a terminator must still fit";
    }
}

}  // namespace
