#!/usr/bin/env python3
"""Writes bsd_vectors.txt: streams of packets through a model of BSD Compress that keeps its strings in a plain dict.

    init                    both ends start a connection
    packet FORM PLAIN OUT max_ent n_bits in_count bytes_out ratio checkpoint clear_count

FORM is "sent" for a packet that travels compressed and "plain" for one that goes through bsd_incomp on the receiving
side. PLAIN and OUT are hex; the numbers are the state of either end behind the packet.
"""
import random

CLEAR, FIRST, TOP = 256, 257, 4095


class Bits:
    def __init__(self):
        self.text = ""

    def put(self, code, width):
        self.text += format(code, "0%db" % width)

    def octets(self):
        text = self.text + "1" * (-len(self.text) % 8)
        return bytes(int(text[i : i + 8], 2) for i in range(0, len(text), 8))


class Model:
    def __init__(self):
        self.clears = 0
        self.clear()
        self.clears = 0

    def clear(self):
        self.strings = {}
        self.max_ent, self.width = CLEAR, 9
        self.plain = self.packed = self.ratio = 0
        self.checkpoint = 10000
        self.clears += 1

    def check(self):
        if self.plain < self.checkpoint:
            return False
        if self.plain >= 0x7FFFFF or self.packed >= 0x7FFFFF:
            self.plain -= self.plain // 4
            self.packed -= self.packed // 4
        self.checkpoint = self.plain + 10000
        if self.max_ent < TOP:
            return False
        ratio = self.plain * 256 // self.packed
        if ratio >= self.ratio and ratio > 255:
            self.ratio = ratio
            return False
        self.clear()
        return True

    def add(self, string):
        if self.max_ent == TOP:
            return
        if self.max_ent == 2**self.width - 1:
            self.width += 1
        self.max_ent += 1
        self.strings[string] = self.max_ent

    def code(self, string):
        return string[0] if len(string) == 1 else self.strings[string]

    def compress(self, packet):
        out = Bits()
        string = packet[:1]
        for at in range(1, len(packet)):
            longer = string + packet[at : at + 1]
            if longer in self.strings:
                string = longer
                continue
            out.put(self.code(string), self.width)
            self.add(longer)
            string = packet[at : at + 1]
        out.put(self.code(string), self.width)
        self.plain += len(packet)
        self.packed += len(out.octets())
        width = self.width
        if self.check():
            out.put(CLEAR, width)
        elif self.max_ent == 2**width - 1 and self.max_ent < TOP:
            self.width += 1
        return out.octets()


def record(random_, number):
    return b"%c%-12s%08d%010d%c%-16s" % (
        random_.choice(b"QTBX"),
        random_.choice([b"EURUSD", b"USDMXN", b"BONO 260305"]),
        number,
        17200000 + random_.randrange(400),
        random_.choice(b"BS"),
        random_.choice([b"", b"", b"DESK"]),
    )


def records(random_, length):
    text = b""
    number = random_.randrange(1000)
    while len(text) < length:
        number += 1
        text += record(random_, number)
    return text[:length]


def words(random_, length):
    text = b""
    while len(text) < length:
        text += random_.choice([b"the ", b"market ", b"of ", b"exchange ", b"rate ", b"and ", b"fixed ", b"income, "])
    return text[:length]


def noise(random_, length):
    return bytes(random_.randrange(256) for _ in range(length))


def equal(random_, length):
    return bytes([random_.randrange(256)]) * length


def stream(lines, seed, kinds, count, longest):
    random_ = random.Random(seed)
    model = Model()
    lines.append("init")
    for _ in range(count):
        packet = random_.choice(kinds)(random_, random_.randint(1, longest))
        form = "plain" if random_.randrange(5) == 0 else "sent"
        out = model.compress(packet)
        state = [model.max_ent, model.width, model.plain, model.packed, model.ratio, model.checkpoint, model.clears]
        lines.append(" ".join(["packet", form, packet.hex(), out.hex()] + [str(value) for value in state]))
    return model.clears


def main():
    lines = []
    stream(lines, 1, [words], 60, 60)
    assert stream(lines, 2, [noise], 30, 1000) > 0
    assert stream(lines, 3, [records, words, equal, noise, noise], 40, 1400) > 0
    stream(lines, 4, [equal], 30, 700)
    print("\n".join(lines))


main()
