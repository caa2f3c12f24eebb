#!/usr/bin/env python3
"""Writes idea_vectors.txt: the cipher and its chaining, modelled with whole numbers.

    expand key = schedule
    invert schedule = inverse schedule
    cipher key block = cipher block
    chain key data = cipher text, with what is left of a last block unchanged

All in hex; sub-keys as big-endian words.
"""
import random

MODULUS = 65537


def factor(word):
    return word or 65536


def product(a, b):
    return factor(a) * factor(b) % MODULUS % 65536


def expand(key):
    bits = int.from_bytes(key, "big")
    words = []
    while len(words) < 52:
        words += [bits >> shift & 0xFFFF for shift in range(112, -1, -16)]
        bits = (bits << 25 | bits >> 103) & (1 << 128) - 1
    return words[:52]


def invert(keys):
    def inverse(word):
        return pow(factor(word), -1, MODULUS) % 65536

    def negative(word):
        return -word % 65536

    result = []
    for first in range(48, -1, -6):
        a, b, c, d = keys[first:first + 4]
        middle = [negative(b), negative(c)]
        if first not in (0, 48):
            middle.reverse()
        result += [inverse(a), *middle, inverse(d)]
        if first:
            result += keys[first - 2:first]
    return result


def cipher(block, keys):
    a, b, c, d = (int.from_bytes(block[i:i + 2], "big") for i in range(0, 8, 2))
    for first in range(0, 48, 6):
        k = keys[first:first + 6]
        a, b, c, d = product(a, k[0]), (b + k[1]) % 65536, (c + k[2]) % 65536, product(d, k[3])
        left = product(a ^ c, k[4])
        right = product((left + (b ^ d)) % 65536, k[5])
        left = (left + right) % 65536
        a, b, c, d = a ^ right, c ^ right, b ^ left, d ^ left
    k = keys[48:]
    words = product(a, k[0]), (c + k[1]) % 65536, (b + k[2]) % 65536, product(d, k[3])
    return b"".join(word.to_bytes(2, "big") for word in words)


def xor(a, b):
    return bytes(x ^ y for x, y in zip(a, b))


def encrypt(data, key):
    keys = expand(key)
    chain = b"".join(word.to_bytes(2, "little") for word in keys[:4])
    result = b""
    whole = len(data) // 8 * 8
    for i in range(0, whole, 8):
        chain = cipher(xor(chain, data[i:i + 8]), keys)
        result += chain
    return result + data[whole:]


def decrypt(data, key):
    keys = expand(key)
    inverse = invert(keys)
    chain = b"".join(word.to_bytes(2, "little") for word in keys[:4])
    result = b""
    for i in range(0, len(data) // 8 * 8, 8):
        block = data[i:i + 8]
        result += xor(cipher(block, inverse), chain)
        chain = block
    return result


def words_hex(words):
    return "".join(f"{word:04x}" for word in words)


def extreme_bytes(generator, count):
    """Words of 0, 1 and 65535 among others: the ends of every operation."""
    words = (generator.choice((0, 0, 1, 0xFFFF, 0x8000, generator.randrange(65536))) for _ in range(count // 2))
    return b"".join(word.to_bytes(2, "big") for word in words)


def lines():
    generator = random.Random(1990)
    keys = [bytes(16), b"\xff" * 16, bytes(range(16))]
    keys += [extreme_bytes(generator, 16) for _ in range(40)]
    keys += [generator.randbytes(16) for _ in range(20)]
    for key in keys:
        schedule = expand(key)
        yield f"expand {key.hex()} = {words_hex(schedule)}"
        yield f"invert {words_hex(schedule)} = {words_hex(invert(schedule))}"
        for block in (bytes(8), extreme_bytes(generator, 8), generator.randbytes(8)):
            yield f"cipher {key.hex()} {block.hex()} = {cipher(block, schedule).hex()}"
    for length in [*range(1, 40), *range(60, 70), *range(120, 140), 200, 256]:
        key, data = generator.randbytes(16), generator.randbytes(length)
        yield f"chain {key.hex()} {data.hex()} = {encrypt(data, key).hex()}"


if __name__ == "__main__":
    print("\n".join(lines()))
