#!/usr/bin/env python3
"""Writes crypt_vectors.txt: frames of the session encryption and records of the key file, modelled with whole numbers.

    key name n e d p q u                              a machine's numbers, most significant digit first
    record passphrase mark mark2 date key = record    encrypted, as it stands in the key file
    decrypt form sender receiver frame = count data   what the caller then takes for data: the frame's length less count

All bytes in hex, "-" for none, and for a key that is not needed.
"""
import random

import make_idea_vectors as idea

SOURCE = random.Random(60394)
IDEA_ENCRYPT, RSA_ENCRYPT, IDEA_DIRECT = 1, 2, 3
IDEA_MARK, RSA_MARK = 60139, 60394


def is_prime(n):
    if any(n % small == 0 for small in (2, 3, 5, 7, 11, 13, 17, 19, 23)):
        return n in (2, 3, 5, 7, 11, 13, 17, 19, 23)
    odd, twos = n - 1, 0
    while odd % 2 == 0:
        odd, twos = odd // 2, twos + 1
    for _ in range(32):
        x = pow(SOURCE.randrange(2, n - 1), odd, n)
        if x not in (1, n - 1) and not any((x := x * x % n) == n - 1 for _ in range(twos - 1)):
            return False
    return True


def prime(e):
    while True:
        candidate = SOURCE.getrandbits(256) | 1 | 3 << 254
        if (candidate - 1) % e and is_prime(candidate):
            return candidate


class Key:
    def __init__(self, name, machine, e=65537):
        self.name, self.machine, self.e = name, machine, e
        self.p, self.q = sorted((prime(e), prime(e)))
        self.n = self.p * self.q
        self.d = pow(e, -1, (self.p - 1) * (self.q - 1))
        self.u = pow(self.p, -1, self.q)

    def numbers(self):
        return self.n, self.e, self.d, self.p, self.q, self.u

    def record(self, mark, mark_validate, date):
        return mark + mark_validate + date + b"".join(number.to_bytes(264, "little") for number in self.numbers())

    def line(self):
        return " ".join(["key", self.name, *(f"{number:x}" for number in self.numbers())])


def passphrase_key(passphrase):
    return bytes((byte + 1) % 256 for byte in passphrase[:16].ljust(16, b"\0"))


def little(value, width):
    return value.to_bytes(width, "little")


def padded(data, kind):
    """63 bytes below a modulus of 64: type, padding, zero, data."""
    count = 63 - len(data) - 2
    padding = b"\xff" * count if kind == 1 else bytes(SOURCE.randrange(1, 256) for _ in range(count))
    return int.from_bytes(bytes([kind]) + padding + b"\0" + data, "big")


def protect(secret, sender, receiver):
    """The 68 bytes that stand at offset 8 of the header."""
    inner = little(pow(padded(secret, 1), sender.d, sender.n), 64)
    outer = little(pow(padded(inner[:60], 2), receiver.e, receiver.n), 64)
    return outer + inner[60:]


def frame(form, data, sender=None, receiver=None, verif=None, length=None):
    key = SOURCE.randbytes(16)
    secret = key + (verif if verif is not None else key[2:4])
    stated = little(len(data) if length is None else length, 2)
    body = idea.encrypt(data + bytes(-len(data) % 8), key)
    if form == IDEA_DIRECT:
        return stated + secret + body
    mark = little(IDEA_MARK if form == IDEA_ENCRYPT else RSA_MARK, 2)
    if sender is None:
        return mark + little(0, 4) + stated + secret + body
    return mark + little(sender.machine, 4) + stated + protect(secret, sender, receiver) + body


def failed(buffer, length, count):
    zeros = min(length, len(buffer))
    return min(count, len(buffer)), bytes(zeros) + buffer[zeros:]


def decrypt(form, buffer):
    """Result and buffer, for frames without RSA."""
    header = 20 if form == IDEA_DIRECT else 26
    if form == IDEA_ENCRYPT and buffer[:2] != little(IDEA_MARK, 2):
        return 0, buffer
    if len(buffer) < header:
        return len(buffer), bytes(len(buffer))
    length = int.from_bytes(buffer[header - 20:header - 18], "little")
    rounded = (length + 7) // 8 * 8
    count = header + rounded - length
    key, verif = buffer[header - 18:header - 2], buffer[header - 2:header]
    if header + rounded > len(buffer) or key[2:4] != verif:
        return failed(buffer, length, count)
    plain = idea.decrypt(buffer[header:header + rounded], key)
    after = buffer[:header] + plain + buffer[header + rounded:]
    return count, plain[:length] + after[length:]


def hex_of(data):
    return data.hex() or "-"


def decrypt_line(form, buffer, result, sender=None, receiver=None):
    count, data = result
    names = " ".join(key.name if key else "-" for key in (sender, receiver))
    return f"decrypt {form} {names} {hex_of(buffer)} = {count} {hex_of(data[:len(buffer) - count])}"


def plain_lines():
    for form in (IDEA_ENCRYPT, RSA_ENCRYPT, IDEA_DIRECT):
        for size in [*range(0, 18), 23, 24, 25, 31, 32, 33, 63, 64, 65, 100, 255]:
            buffer = frame(form, SOURCE.randbytes(size))
            yield decrypt_line(form, buffer, decrypt(form, buffer))
        for size in (0, 1, 5, 8, 9, 40):
            data = SOURCE.randbytes(size)
            for buffer in (
                frame(form, data, verif=b"\0\0"),
                frame(form, data)[:-1],
                frame(form, data)[:19],
                frame(form, data)[:2],
                frame(form, data) + b"more behind it",
                frame(form, data, length=size + 8),
                frame(form, data, length=65535),
                frame(form, data, length=size // 2),
                bytes([1]) + frame(form, data)[1:],
            ):
                yield decrypt_line(form, buffer, decrypt(form, buffer))


def protected_lines(keys):
    for sender in keys:
        for receiver in keys:
            data = SOURCE.randbytes(SOURCE.randrange(1, 40))
            buffer = frame(RSA_ENCRYPT, data, sender, receiver)
            rest = -len(data) % 8
            count = 76 + rest
            yield decrypt_line(RSA_ENCRYPT, buffer, (count, data), sender, receiver)
            wrong = frame(RSA_ENCRYPT, data, sender, receiver, verif=b"\1\0")
            yield decrypt_line(RSA_ENCRYPT, wrong, failed(wrong, len(data), count), sender, receiver)


def record_lines(keys):
    passphrases = (b"", b"secret", b"exactly sixteen!", b"longer than sixteen bytes", b"\xff\xfe\x80")
    for i, passphrase in enumerate(passphrases):
        key = keys[i % len(keys)]
        plain = key.record(b"MARK", b"MARK", b"01022003")
        record = idea.encrypt(plain, passphrase_key(passphrase))
        yield f"record {hex_of(passphrase)} {b'MARK'.hex()} {b'MARK'.hex()} 01022003 {key.name} = {record.hex()}"


def lines():
    keys = [Key("A", 0x41), Key("B", 0x4242, 17), Key("C", 0x80000043)]
    yield from (key.line() for key in keys)
    yield from record_lines(keys)
    yield from plain_lines()
    yield from protected_lines(keys)


if __name__ == "__main__":
    print("\n".join(lines()))
