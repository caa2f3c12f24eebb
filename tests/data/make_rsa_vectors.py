#!/usr/bin/env python3
"""Writes rsa_vectors.txt: blocks of both types and both arrangements under keys that are made here.

  key precision n e d p q u            the key of the lines that follow, hex
  public_encrypt random data = block   the source gives the bytes of `random`, and has none left
  private_encrypt data = code block    the block is missing with a code other than 0
  public_decrypt block = result data   the data are missing with a result below 1
  private_decrypt block = result data

Blocks are precision * 4 bytes, least significant first. Empty bytes are "-".
"""
import random

SOURCE = random.Random(30011)


def is_prime(n):
    if any(n % small == 0 for small in (2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37)):
        return False
    odd, twos = n - 1, 0
    while odd % 2 == 0:
        odd, twos = odd // 2, twos + 1
    for _ in range(32):
        x = pow(SOURCE.randrange(2, n - 1), odd, n)
        if x not in (1, n - 1) and not any((x := x * x % n) == n - 1 for _ in range(twos - 1)):
            return False
    return True


def prime(bits, e):
    while True:
        candidate = SOURCE.getrandbits(bits) | 1 | 3 << (bits - 2)
        if (candidate - 1) % e and is_prime(candidate):
            return candidate


class Key:
    def __init__(self, precision, p_bits, q_bits, e, p_above_q=False):
        self.precision, self.e = precision, e
        self.p, self.q = prime(p_bits, e), prime(q_bits, e)
        if (self.p > self.q) != p_above_q:
            self.p, self.q = self.q, self.p
        self.n = self.p * self.q
        self.d = pow(e, -1, (self.p - 1) * (self.q - 1))
        self.u = pow(self.p, -1, self.q)
        self.k = (self.n.bit_length() + 7) // 8 - 1
        self.b = 4 * precision

    def block(self, value):
        return value.to_bytes(self.b, "little")

    def power(self, block, exponent):
        """The block, most significant byte first, raised and as it lies in memory."""
        return self.block(pow(int.from_bytes(block, "big"), exponent, self.n))


def text(data):
    return data.hex() or "-"


def random_bytes(count):
    return bytes(SOURCE.randrange(256) for _ in range(count))


def without_zeros(count):
    return bytes(SOURCE.randrange(1, 256) for _ in range(count))


def type_1(data):
    return lambda k: b"\1" + b"\xff" * (k - len(data) - 2) + b"\0" + data


def type_1_reversed(data):
    return lambda k: b"\1" + data + b"\0" + b"\xff" * (k - len(data) - 3) + b"\1"


def type_2(data):
    return lambda k: b"\2" + without_zeros(k - len(data) - 2) + b"\0" + data


def type_2_reversed(data):
    return lambda k: data + b"\0" + without_zeros(k - len(data) - 2) + b"\2"


def decryption(key, operation, make, result, data=b""):
    below = make(key.k)
    assert len(below) == key.k
    exponent = key.d if operation == "public_decrypt" else key.e
    print(operation, text(key.power(below, exponent)), "=", result, text(data))


def good_blocks(key, lengths):
    for length in lengths:
        data = random_bytes(length)
        for make in (type_1, type_1_reversed):
            if make is type_1 or length + 2 + 18 <= key.k:  # enough padding to be recognised by
                decryption(key, "public_decrypt", make(data), length, data)
    for length in filter(None, lengths):
        data = bytes([SOURCE.choice([0, 1, 3, 255])]) + random_bytes(length - 1)
        decryption(key, "private_decrypt", type_2(data), length, data)
        decryption(key, "private_decrypt", type_2_reversed(data), length, data)


def bad_blocks(key):
    def public(make, code):
        decryption(key, "public_decrypt", make, code)

    def private(make, code):
        decryption(key, "private_decrypt", make, code)

    public(lambda k: b"\0" * k, -9)
    public(lambda k: b"\xff" * k, -9)
    public(lambda k: b"\2" + b"\xff" * (k - 3) + b"\0x", -9)
    public(lambda k: b"\1" + b"\xff" * (k - 1), -9)
    public(lambda k: b"\1" + b"\xff" * (k - 3) + b"\1x", -9)
    public(lambda k: b"\2data\0" + b"\xff" * (k - 7) + b"\1", -7)
    public(lambda k: b"\xff" * (k - 1) + b"\1", -7)
    public(lambda k: b"\1" + b"\xff" * (k - 2) + b"\1", -9)
    public(lambda k: b"\1data" + b"\xff" * (k - 6) + b"\1", -9)
    private(lambda k: b"\0" * k, -9)
    private(lambda k: b"\xff" * k, -9)
    private(lambda k: b"\2" * k, -9)
    private(lambda k: b"\3" + b"\2" * (k - 1), -9)
    private(lambda k: b"\0" + b"\2" * (k - 1), -9)
    private(lambda k: b"\2" + b"\3" * (k - 2) + b"\0", -9)
    private(lambda k: b"\1" + b"\3" * (k - 3) + b"\0x", -9)


def outside_the_modulus(key):
    """A byte ahead of the block, and a number that the modulus doesn't exceed."""
    for operation, exponent in (("public_decrypt", key.d), ("private_decrypt", key.e)):
        value = 1 << (8 * key.k)
        if value < key.n:
            print(operation, text(key.block(pow(value, exponent, key.n))), "= -9 -")
    print("public_decrypt", text(key.block(key.n)), "= -1 -")


def encryption(key, lengths):
    for length in lengths:
        data = random_bytes(length)
        padding = without_zeros(key.k - length - 2)
        given = bytearray(padding)
        for _ in range(3):  # zeros that must be skipped
            given.insert(SOURCE.randrange(len(given)), 0)
        block = key.power(b"\2" + padding + b"\0" + data, key.e)
        print("public_encrypt", text(bytes(given)), text(data), "=", text(block))
    for length in [*lengths, key.k - 2]:
        data = random_bytes(length)
        print("private_encrypt", text(data), "= 0", text(key.power(type_1(data)(key.k), key.d)))
    print("private_encrypt", text(random_bytes(key.k - 1)), "= -4 -")


def main():
    keys = [
        Key(18, 256, 256, 17),
        Key(18, 256, 256, 65537, p_above_q=True),
        Key(18, 200, 312, 65537),
        Key(18, 312, 200, 65537, p_above_q=True),
        Key(12, 191, 192, 17),
        Key(13, 192, 192, 65537),
        Key(18, 287, 288, 65537),
        Key(19, 288, 288, 17),
        Key(17, 257, 256, 3),
    ]
    for key in keys:
        print("key", key.precision, *(format(x, "x") for x in (key.n, key.e, key.d, key.p, key.q, key.u)))
        good_blocks(key, [0, 1, 18, key.k - 3])
        bad_blocks(key)
        outside_the_modulus(key)
        encryption(key, [0, 1, 18, key.k - 3])


if __name__ == "__main__":
    main()
