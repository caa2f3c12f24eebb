#!/usr/bin/env python3
"""Writes lzcoder_vectors.txt: inputs of the LZ coder and what it makes of them. A line is

    lz PLAIN OUT

OUT is hex. PLAIN is pieces joined by "+", each of them hex or hex*COUNT; "-" is the empty input.
"""
import random


def hash_of(s, i):
    return ((((s[i] * 16) ^ s[i + 1]) * 16 ^ s[i + 2]) * 40543 >> 4) & 4095


def match_at(table, s, i):
    if i + 3 > len(s):
        return 0, 0
    key = hash_of(s, i)
    before, table[key] = table.get(key), i
    if before is None or i - before > 4095:
        return 0, 0
    length = 0
    while length < 18 and i + length < len(s) and s[before + length] == s[i + length]:
        length += 1
    return i - before, length


def run_at(s, i):
    length = 1
    while length < 4095 and i + length < len(s) and s[i + length] == s[i]:
        length += 1
    return length


def compress(s):
    groups = []  # each a list of (bit, bytes)
    group = []
    size = 3
    i = 0
    table = {}
    while i < len(s) and size <= len(s):
        if len(group) == 16:
            groups.append(group)
            group = []
            size += 2
        run = run_at(s, i)
        if run >= 16:
            item = (1, bytes([0]) + (run - 16).to_bytes(2, "big") + s[i : i + 1])
            i += run
        else:
            distance, length = match_at(table, s, i)
            if length >= 3:
                item = (1, (distance * 16 + length - 3).to_bytes(2, "big"))
                i += length
            else:
                item = (0, s[i : i + 1])
                i += 1
        group.append(item)
        size += len(item[1])
    groups.append(group)
    if size > len(s):
        return bytes([128]) + s
    out = bytes([64])
    for group in groups:
        bits = "".join(str(bit) for bit, _ in group).ljust(16, "0")
        out += int(bits, 2).to_bytes(2, "big") + b"".join(data for _, data in group)
    return out


def add(lines, *pieces):
    text = "+".join(piece.hex() if count == 1 else "%s*%d" % (piece.hex(), count) for piece, count in pieces)
    lines.append("lz %s %s" % (text or "-", compress(b"".join(piece * count for piece, count in pieces)).hex()))


def main():
    random_ = random.Random(11)
    lines = []
    add(lines)
    for count in list(range(1, 40)) + [4094, 4095, 4096, 4110, 4111, 8190, 40000, 65534]:
        add(lines, (b"a", count))
    for _ in range(60):
        add(lines, (bytes(random_.choice(b"ab ") for _ in range(random_.randint(1, 200))), 1))
        add(lines, (bytes(random_.choice(b"0123456789 ") for _ in range(random_.randint(1, 300))), random_.randint(1, 4)))
        add(lines, (bytes(random_.randrange(256) for _ in range(random_.randint(1, 100))), random_.randint(1, 3)))
    block = bytes(random_.randrange(256) for _ in range(1000))
    add(lines, (block, 1), (b"\0", 3094), (block[:20], 1))  # distances around the longest
    add(lines, (block, 1), (b"\0", 3095), (block[:20], 1))
    add(lines, (block, 1), (b"\0", 3096), (block[:20], 1))
    text = bytes(random_.choice(b"etaoin shrdlu") for _ in range(1500))
    add(lines, (text, 27))  # references to positions above 32767
    add(lines, (text, 43))
    print("\n".join(lines))


main()
