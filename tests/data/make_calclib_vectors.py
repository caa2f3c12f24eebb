#!/usr/bin/env python3
"""Writes calclib_vectors.txt, results of decimal arithmetic worked out with whole integers and plain text handling.

A number is kept as its sign word and one integer, the count of its smallest units of 10^-12.
Usage: make_calclib_vectors.py > calclib_vectors.txt
"""
import random

LIMIT = 10**28
ONE = 10**12
rng = random.Random(31)


def words(number):
    sign, units = number
    digits = "%028d" % units
    return ",".join([str(sign)] + [str(int(digits[i : i + 4])) for i in range(0, 28, 4)])


def with_code(code, number):
    return "%d %s" % (code, words(number))


def add(a, b):
    (a_sign, a_units), (b_sign, b_units) = a, b
    if a_sign == b_sign:
        total = a_units + b_units
        if total >= LIMIT:
            return 1, (9, total - LIMIT)
        return 0, (a_sign if total else 0, total)
    return 0, (a_sign if a_units > b_units else b_sign, abs(a_units - b_units))


def subtract(a, b):
    return add((~a[0], a[1]), b)


def multiply(a, b):
    product = a[1] * b[1] // ONE
    above = product // LIMIT
    seen = above % 10**4 != 0 or above // 10**8 != 0
    return int(seen), (a[0] ^ b[0], product % LIMIT)


def divide(a, b):
    sign = a[0] ^ b[0]
    if b[1] == 0:
        return 1, (sign, 0)
    if a[1] == 0 or b[1] * ONE // a[1] >= LIMIT:
        return 1, (0, 0)
    return 0, (sign, b[1] * ONE // a[1])


def compare(a, b):
    if a[0] != b[0]:
        return 0 if a[1] == b[1] == 0 else (1 if a[0] == 0 else -1)
    for shift in range(24, -4, -4):
        difference = a[1] // 10**shift % 10**4 - b[1] // 10**shift % 10**4
        if difference:
            return -difference if a[0] else difference
    return 0


def rounded(number, decs, cut):
    sign, units = number
    if decs >= 12:
        return number
    unit = 10 ** (12 - decs)
    word = 10 ** (12 - (decs // 4 + 1) * 4)  # units of the last digit of the word that is rounded
    up = units % unit >= unit // 2
    if up:
        behind = units % word  # the words behind the rounded one
        units = ((units // unit + 1) * unit) % LIMIT + (0 if cut else behind)
    elif cut:
        units -= units % unit
    return sign, units


def truncated(number, decs):
    unit = 10 ** max(12 - decs, 0)
    return number[0], number[1] - number[1] % unit


def parse(text):
    body = text.lstrip(" ")
    sign = 0
    if body[:1] in ("-", "+"):
        sign = -1 if body[0] == "-" else 0
        body = body[1:].lstrip(" ")
    ints, _, decs = body.partition(".")
    if len(ints) > 16:
        return 2, (0, 0)
    ints, decs = ("".join(c if c in "0123456789" else "0" for c in part) for part in (ints, decs))
    return 0, (sign, int((ints or "0") + decs[:8].ljust(12, "0")))


def show(number, length, decs, plus, left):
    """For a length above 0, of at most 32, and fewer decimals."""
    sign, units = number
    digits = "%028d" % rounded(number, decs, 0)[1]
    before = length - decs - 1 if decs else length
    ints = digits[:16].rjust(before, "0")[len(digits[:16].rjust(before, "0")) - before :]
    mark = "-" if sign == -1 else "?" if sign else "+" if plus and units else ""
    ints = ints[len(mark) :]
    blank = ints[:-1]
    zeros = len(blank) - len(blank.lstrip("0"))
    ints = ("" if left else " " * zeros) + ints[zeros:]
    if not decs:
        return mark + ints
    tail = "." + digits[16 : 16 + decs].ljust(decs, "0")
    return mark + ints + (tail if before or not mark else tail[1:])


def units():
    kind = rng.randrange(6)
    if kind == 0:
        return rng.choice([0, 1, ONE, 10**8 * ONE, 10**12 * ONE, LIMIT - 1, LIMIT - 10**4, 5 * 10**11])
    if kind == 1:
        return rng.randrange(10 ** rng.randrange(1, 29))
    if kind == 2:
        return rng.randrange(10 ** rng.randrange(1, 13)) * 10**10
    if kind == 3:
        return int("".join(rng.choice(["0000", "9999", "5000", "0001"]) for _ in range(7)))
    return rng.randrange(10**24) * 10**4 // 10 ** rng.randrange(0, 16)


def number():
    return rng.choice([0, 0, 0, -1, -1, -1, 9]), units()


def text():
    body = "".join(rng.choice("0123456789") for _ in range(rng.randrange(18)))
    if rng.randrange(3):
        body += "." + "".join(rng.choice("0123456789") for _ in range(rng.randrange(11)))
    if rng.randrange(4) == 0:
        at = rng.randrange(len(body) + 1)
        body = body[:at] + rng.choice("a. -/:,") + body[at:]
    return " " * rng.randrange(3) + rng.choice(["", "-", "+"]) + " " * rng.randrange(2) + body


def main():
    print("# Written by make_calclib_vectors.py. A number: sign word, then seven words of four digits, four before the point.")
    pairs = [(number(), number()) for _ in range(60)] + [((s, u), (t, u)) for s in (0, -1) for t in (0, -1) for u in (0, 7)]
    for op, function in (("+", add), ("-", subtract), ("*", multiply), ("/", divide)):
        for a, b in pairs:
            print(op, words(a), words(b), "->", with_code(*function(a, b)))
    for a, b in pairs:
        print("cmp", words(a), words(b), "->", compare(a, b))
    for _ in range(50):
        n, decs, cut = number(), rng.randrange(14), rng.randrange(2)
        print("round", words(n), decs, cut, "->", with_code(0, rounded(n, decs, cut)))
        print("truncate", words(n), decs, 0, "->", with_code(0, truncated(n, decs)))
    for sample in ["", "-", " + ", ".", "12a.5", "1.2.3", "12345678901234567"] + [text() for _ in range(60)]:
        print('stom "%s" ->' % sample, with_code(*parse(sample)))
    for _ in range(100):
        length = rng.randrange(1, 33)
        n, decs, plus, left = number(), rng.randrange(min(length, 14)), rng.randrange(2), rng.randrange(2)
        print("mtos", words(n), length, decs, plus, left, '-> "%s"' % show(n, length, decs, plus, left))


if __name__ == "__main__":
    main()
