#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into fuzz/corpus/<target>/.

Each seed is the header that its target reads first, followed by text given
as raw units (header bit 0x40 selects raw text in every target): well-formed
multilingual text, embedded control sequences in the standard and the raw
UTF-8 form, and each ill-formed class of each encoding. Run it again after
changing a target's header layout; the seeds are small and checked in.
"""
import os
import shutil
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "corpus")

MULTILINGUAL = "Grüße, 世界! Привет. こんにちは 😀 𝄞 naïve ℕ∑ عربى עברית ελληνικά \u0085\uffff\U0010ffff"
ASCII = "plain ASCII text, nothing else"

# Control sequences and ill-formed classes as unit lists per encoding.
SEQ_UNITS = [0x61, 0x01, 0x41, 0x42, 0x02, 0x62, 0x01, 0x41, 0x85, 0x02, 0x01, 0x02, 0x63]
SEQ17 = [0x01] + [0x41] * 17 + [0x02]
SEQ18 = [0x01] + [0x41] * 18 + [0x02]
UTF8_SEQ_STANDARD = [0x61, 0x01, 0x41, 0xC2, 0x85, 0x02, 0x62, 0xC3, 0xA9, 0x01, 0x02]
UTF8_SEQ_RAW = [0x61, 0x01, 0x41, 0x85, 0x02, 0x62, 0xC3, 0xA9, 0x01, 0x9F, 0x02]
UTF8_SEQ_QUIRK = [0x01, 0x41, 0xC2, 0x02, 0x61]
UTF8_BAD = [
    [0x80], [0xC0, 0x80], [0xC1, 0xBF], [0xE0, 0x9F, 0xBF], [0xED, 0xA0, 0x80],
    [0xF0, 0x8F, 0xBF, 0xBF], [0xF4, 0x90, 0x80, 0x80], [0xF5, 0x80, 0x80, 0x80], [0xFF],
    [0xE2, 0x82], [0xF0, 0x9F, 0x98], [0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80],
]
UTF16_BAD = [[0xDC00], [0xD83D], [0xD83D, 0x0041], [0xDE00, 0xD83D]]
UTF32_BAD = [[0xD800], [0xDFFF], [0x110000], [0xFFFFFF]]


def utf8(s):
    return list(s.encode("utf-8"))


def utf16(s):
    b = s.encode("utf-16-le")
    return [b[i] | (b[i + 1] << 8) for i in range(0, len(b), 2)]


def utf32(s):
    return [ord(c) for c in s]


def units_bytes(units, width):
    """Raw text as the targets read it: bytes, LE pairs, or 3-byte LE units."""
    out = bytearray()
    for u in units:
        if width == 1:
            out.append(u & 0xFF)
        elif width == 2:
            out += struct.pack("<H", u & 0xFFFF)
        else:
            out += struct.pack("<I", u & 0xFFFFFF)[:3]
    return bytes(out)


def texts(enc):
    """(name, units) of the seed texts of one encoding."""
    conv = {8: utf8, 16: utf16, 32: utf32}[enc]
    t = [("multi", conv(MULTILINGUAL)), ("ascii", conv(ASCII))]
    if enc == 8:
        t += [("seqstd", UTF8_SEQ_STANDARD), ("seqraw", UTF8_SEQ_RAW), ("seqquirk", UTF8_SEQ_QUIRK)]
        bad = UTF8_BAD
    else:
        t += [("seq", SEQ_UNITS)]
        bad = UTF16_BAD if enc == 16 else UTF32_BAD
    t += [("seq17", SEQ17 + conv("x")), ("seq18", SEQ18)]
    for i, b in enumerate(bad):
        t.append(("bad%d" % i, conv("ok ") + b + conv(" after")))
    return t


def write(target, name, data):
    d = os.path.join(OUT, target)
    os.makedirs(d, exist_ok=True)
    with open(os.path.join(d, name), "wb") as f:
        f.write(data)


WIDTH = {8: 1, 16: 2, 32: 3}

# fuzz_bounded: entry, bits, outSize, input-length mode, length argument.
BOUNDED = [(0, 16, 8), (1, 16, 8), (2, 32, 8), (3, 32, 8), (4, 8, 16), (5, 8, 16), (6, 8, 32),
           (7, 8, 32), (8, 16, 32), (9, 32, 16), (10, 16, 16)]


def bounded():
    for entry, enc, _ in BOUNDED:
        for name, units in texts(enc):
            if entry in (1, 3, 5, 7, 10) and (name.startswith("bad") or name.startswith("seq1")):
                continue  # the plain entry point of the pair has these
            for bits, size in ((0x40 | 0x80, 300), (0x40, 7), (0x40 | 0x04 | 0x02, 9), (0x40 | 0x01, 5)):
                if name not in ("multi", "seq", "seqstd", "seqraw") and bits != 0xC0:
                    continue
                head = bytes([entry, bits]) + struct.pack("<H", size) + bytes([0, 0])
                write("fuzz_bounded", "e%d-%s-%02x-%d" % (entry, name, bits, size),
                      head + units_bytes(units, WIDTH[enc]))


# fuzz_alloc: entry, bits, failure mode, failure argument, repeat.
ALLOC = [(0, 16), (1, 16), (2, 16), (3, 32), (4, 32), (5, 32), (6, 8), (7, 8), (8, 8), (9, 8), (10, 16)]


def alloc():
    for entry, enc in ALLOC:
        for name, units in texts(enc):
            if name not in ("multi", "seq", "seqstd", "seqraw", "bad0"):
                continue
            for fail, arg, rep in ((0, 0, 0), (1, 2, 20), (2, 1000, 20)):
                head = bytes([entry, 0x40 | 0x04, fail]) + struct.pack("<H", arg) + bytes([rep])
                write("fuzz_alloc", "e%d-%s-f%d" % (entry, name, fail), head + units_bytes(units, WIDTH[enc]))


# fuzz_errno: function, bits, n, failure mode, failure argument.
ERRNO = [16, 16, 32, 32, 8, 8]


def errno_seeds():
    for sel in range(12):
        enc = ERRNO[sel % 6]
        for name, units in texts(enc):
            if name not in ("multi", "seq", "seqstd", "seqquirk", "bad1"):
                continue
            for n in (0, 6, 200):
                if sel >= 6 and n != 0:
                    continue
                head = bytes([sel, 0x40 | (0x20 if n > 60 else 0)]) + struct.pack("<H", n) + bytes([1 if sel >= 6 else 0]) + struct.pack("<H", 2)
                write("fuzz_errno", "f%d-%s-%d" % (sel, name, n), head + units_bytes(units, WIDTH[enc]))


# fuzz_cores: core, run start, run end, room, count, failure mode and argument, bits.
CORES = [16, 16, 16, 16, 16, 16, 8, 32]


def cores():
    for core, enc in enumerate(CORES):
        for name, units in texts(enc):
            if name not in ("multi", "bad0", "bad1", "bad2"):
                continue
            for room in (5, 40):
                head = bytes([core, 0, 0, room]) + struct.pack("<H", 7) + bytes([0, 0, 0x40 | 0x80])
                write("fuzz_cores", "c%d-%s-%d" % (core, name, room), head + units_bytes(units, WIDTH[enc]))


# fuzz_chars: function, value, value mode, room, count, bits, source units.
def chars():
    samples8 = [[0x41], [0xC3, 0xA9], [0xE2, 0x82, 0xAC], [0xF0, 0x9F, 0x98, 0x80], [0xC0, 0x80],
                [0xED, 0xA0, 0x80], [0xF4, 0x90, 0x80, 0x80], [0x80, 0x80, 0x80]]
    samples16 = [[0x41], [0xE9], [0x20AC], [0xD83D, 0xDE00], [0xDC00], [0xD83D, 0x41]]
    samples32 = [[0x41], [0x1F600], [0xD800], [0x110000]]
    values = [0x41, 0xE9, 0x20AC, 0xD800, 0xDC00, 0xFFFF, 0x1F600, 0x10FFFF, 0x110000]
    for fn in range(22):
        wide = fn <= 7 or 17 <= fn <= 18
        u32 = fn in (9, 19, 20)
        samples = samples32 if u32 else (samples16 if wide else samples8)
        width = 4 if u32 else (2 if wide else 1)
        for i, s in enumerate(samples):
            v = values[i % len(values)]
            head = bytes([fn]) + struct.pack("<I", v) + bytes([3, 2 + i % 3, 4, 0x01])
            body = b"".join(struct.pack("<I", u) if width == 4 else (struct.pack("<H", u) if width == 2 else bytes([u]))
                            for u in s)
            write("fuzz_chars", "f%d-%d" % (fn, i), head + body)
    repair = [[0x41, 0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80, 0x42], [0x41, 0xED, 0xB8, 0x80],
              [0x41, 0xED, 0xA0, 0xBD, 0x42], utf8(MULTILINGUAL), [0x41, 0xE2, 0x82]]
    for i, s in enumerate(repair):
        write("fuzz_chars", "repair-%d" % i, bytes([22, 0, 0, 0, 0, 0, 0, 0, 0x40]) + bytes(s))


# fuzz_strings: function, code point, value mode, split point, count, bits.
def strings():
    s8 = utf8("a\u00e9b\u00e9\u00e9c 😀,x,,y") + [0x61, 0xFF, 0x62]
    s16 = utf16("a😀b😀c,x,,y") + [0xD800, 0x41]
    for fn in range(25):
        u8 = fn < 10
        units = s8 if u8 else s16
        for c, split in ((0xE9, len(units) - 3), (0x1F600, len(units) - 2), (0x2C, len(units) - 1)):
            head = bytes([fn]) + struct.pack("<I", c) + bytes([3, split % 256, 5, 0x40])
            write("fuzz_strings", "f%d-%x" % (fn, c), head + units_bytes(units, 1 if u8 else 2))


if __name__ == "__main__":
    shutil.rmtree(OUT, ignore_errors=True)
    bounded()
    alloc()
    errno_seeds()
    cores()
    chars()
    strings()
