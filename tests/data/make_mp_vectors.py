#!/usr/bin/env python3
"""Writes mp_vectors.txt: operations on numbers of a fixed width, as Python's own integers give them.

  operation precision operands... = results...

Numbers are hex without leading zeros, the precision is in units of 32 bits, flags and codes are decimal.
"""
import random

SOURCE = random.Random(6148)


def number(bits):
    kind = SOURCE.randrange(8)
    length = SOURCE.randrange(bits + 1)
    if kind == 0:
        return SOURCE.choice([0, 1, (1 << bits) - 1, 1 << (bits - 1), (1 << (bits - 1)) - 1])
    if kind == 1:
        return (1 << bits) - (1 << length)
    if kind == 2:
        return (1 << length) - 1
    return SOURCE.getrandbits(length) if length else 0


def below(limit):
    return number(limit.bit_length()) % limit


def row(operation, precision, operands, results):
    def text(value):
        return str(value) if value < 0 else format(value, "x")

    print(operation, precision, *map(text, operands), "=", *map(text, results))


def basic(precision):
    bits = 32 * precision
    end = 1 << bits
    a, b, carry = number(bits), number(bits), SOURCE.randrange(2)
    row("addc", precision, [a, b, carry], [(a + b + carry) % end, int(a + b + carry >= end)])
    row("subb", precision, [a, b, carry], [(a - b - carry) % end, int(a < b + carry)])
    row("rotate", precision, [a, carry], [(2 * a + carry) % end, a >> (bits - 1)])
    row("neg", precision, [a], [-a % end])
    row("mult", precision, [a, b], [a * b % end])
    if b:
        row("udiv", precision, [a, b], [a % b, a // b])
    short = SOURCE.randrange(65536)
    row("shortmod", precision, [a, short], [a % short if short else 65535])
    row("bits", precision, [a], [a.bit_length(), (a.bit_length() + 31) // 32])


def power(precision):
    bits = 32 * precision - 1
    modulus = max(2, number(bits))
    base, exponent = below(modulus), below(modulus)
    if precision > 20:
        exponent %= 1 << 24
    row("modexp", precision, [base, exponent, modulus], [pow(base, exponent, modulus), 0])


def refused_power(precision):
    end = 1 << (32 * precision)
    top = end >> 1
    modulus = SOURCE.randrange(2, top)
    row("modexp", precision, [1, 1, 0], [1, -2])
    row("modexp", precision, [1, 1, top], [1, -2])
    row("modexp", precision, [modulus, 1, modulus], [1, -3])
    row("modexp", precision, [1, modulus, modulus], [1, -4])
    row("modexp", precision, [modulus, 0, 0], [1, 0])


def modular_product(precision):
    modulus = max(1, number(32 * precision - 32))
    a, b = below(modulus), below(modulus)
    row("modmult", precision, [a, b, modulus], [a * b % modulus])


def main():
    for precision in (1, 2, 3, 17, 18, 65, 66):
        for _ in range(4):
            basic(precision)
    for precision in (2, 3, 17, 18, 66):
        for _ in range(8):
            modular_product(precision)
    for precision in (1, 2, 3, 17, 18):
        for _ in range(6):
            power(precision)
        refused_power(precision)
    # The greatest modulus that leaves room for one unit more, and the least that doesn't.
    row("modexp", 66, [3, 65537, (1 << 2080) - 1], [pow(3, 65537, (1 << 2080) - 1), 0])
    row("modexp", 66, [3, 65537, 1 << 2080], [1, -5])


if __name__ == "__main__":
    main()
