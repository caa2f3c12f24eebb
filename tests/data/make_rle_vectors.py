#!/usr/bin/env python3
"""Writes rle_vectors.txt: blocks of the zero-word suppression. A line is

    block LENGTH PLAIN BLOCK

PLAIN and BLOCK are hex. PLAIN is given up to the end of its last word: the bytes behind LENGTH count.
"""
import random


def compress(length, plain):
    words = [plain[i : i + 8] for i in range(0, len(plain), 8)]
    masks = b""
    kept = b""
    for group in range(4):
        mask = 0
        for bit, word in enumerate(words[64 * group : 64 * group + 64]):
            if any(word):
                mask += 2**bit
                kept += word
        masks += mask.to_bytes(8, "big")
    return length.to_bytes(2, "little") + bytes(6) + masks + kept


def plain_of(random_, length, share):
    plain = bytearray(-(-length // 8) * 8)
    for at in range(0, len(plain), 8):
        if random_.random() < share:
            for _ in range(random_.randint(1, 8)):
                plain[at + random_.randrange(8)] = random_.randrange(1, 256)
    return bytes(plain)


def main():
    random_ = random.Random(7)
    lengths = [0, 1, 7, 8, 9, 63, 64, 65, 504, 511, 512, 513, 520, 1023, 1024, 1025, 1032, 1536, 1537, 2047, 2048]
    lengths += [random_.randrange(2049) for _ in range(8)]
    lines = []
    for length in lengths:
        for share in (0, 0.1, 0.7) if 600 < length < 2048 else (0, 0.1, 0.6, 1):
            plain = plain_of(random_, length, share)
            lines.append("block %d %s %s" % (length, plain.hex() or "-", compress(length, plain).hex()))
    print("\n".join(lines))


main()
