#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes Chinese text in GBK that never repeats, the same at each call: pieces of example sentences,
single and rare characters, Latin words and numbers, in lines of many lengths, with odd white space.

Lines that begin with "#" are those that programs may take apart in different ways: they have
malformed bytes, or are too long to be done at once."""

import random
import string
import sys

BLOCK = 16384  # pieces, about 80 kB of text


def fragment(source, text, longest):
    begin = source.randrange(len(text) - longest)
    return text[begin:begin + source.randint(1, longest)].encode("gbk")


def rare(source):
    """Two bytes of the form of a character, whether or not there is such a character."""
    return bytes((source.randint(0x81, 0xFE), source.choice((0x40, 0x80)) + source.randrange(0x3F)))


def latin(source):
    return "".join(source.choices(string.ascii_letters, k=source.randint(1, 12))).encode()


def number(source):
    return str(source.randrange(10 ** source.randint(1, 9))).encode()


def malformed(source):
    return source.choice((b"\x80", b"\xff", bytes((source.randint(0x81, 0xFE),)), b"\xc4 ", b"\xb5\x7f"))


def block(source, text, kind):
    """256 pieces, of which one is drawn for each random byte."""
    line_end = b"\n#" if kind == "malformed" else b"\n"
    lines = {"plain": 14, "short": 90, "malformed": 8, "long": 0}[kind]
    pieces = [line_end] * lines
    pieces += [b" ", b"\t", b"  ", b"\xa1\xa1", b" \xa1\xa1 "]
    if kind == "short":
        pieces += [b"\r\n", b" \n", b"\n\n\n", b"\n \t \n", b"\xa1\xa1\n"]
    if kind == "malformed":
        pieces += [malformed(source) for _ in range(6)]
    pieces += [latin(source) for _ in range(6)] + [number(source) for _ in range(6)]
    pieces += [rare(source) for _ in range(6)]
    pieces += [fragment(source, text, 1) for _ in range(70)]
    pieces += [fragment(source, text, 5) for _ in range(256 - len(pieces))]
    body = b"".join(map(pieces.__getitem__, source.randbytes(BLOCK)))
    return (b"" if kind in ("plain", "short") else b"#") + body + b"\n"


def main():
    size, example = int(float(sys.argv[1]) * 1e6), sys.argv[2]
    with open(example, encoding="gbk") as file:
        text = "".join(file.read().split()).replace("#", "")
    source = random.Random(6)
    kinds = ["plain"] * 16
    kinds[3] = kinds[11] = "short"
    kinds[6] = "malformed"
    kinds[9] = "long"
    number_of_block = 0
    while size > 0:
        part = block(source, text, kinds[number_of_block % len(kinds)])
        sys.stdout.buffer.write(part)
        size -= len(part)
        number_of_block += 1


if __name__ == "__main__":
    main()
