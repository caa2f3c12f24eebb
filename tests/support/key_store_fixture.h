// A key store in its first state, a scratch directory for its file, and RSA keys of three machines.
#pragma once

#include "crypt/crypt.h"
#include "support/fake_system.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

// Digits of a machine's numbers, most significant first.
struct RsaKeyText
{
    const char* n;
    const char* e;
    const char* d;
    const char* p;
    const char* q;
    const char* u;
};

extern const RsaKeyText key_of_a;
extern const RsaKeyText key_of_b;
extern const RsaKeyText key_of_c;

// A number's bytes, least significant first, and zeros above up to `width`.
std::string NumberBytes(const std::string& digits, std::size_t width);

// A plain record of the key file, byte for byte.
std::string RecordBytes(const RsaKeyText& key, const std::string& date, const std::string& marks = "GoodGood");

// An entry of the list of crypt_set_keys.
std::string ListEntry(std::uint32_t dest, const RsaKeyText& key);

std::string LittleEndian(std::uint32_t value);

// Both with the key that a passphrase stands for.
std::string EncryptedRecord(const std::string& plain, const std::string& passphrase);
std::string DecryptedRecord(const std::string& record, const std::string& passphrase);

// What crypt_get_public_key writes, and what it should write: year, month, day, machine, modulus, exponent.
std::string PublicKey(unsigned short which);
std::string PublicKeyOf(const RsaKeyText& key, const std::string& date, const std::string& machine);

template <class Object> bool AllZero(const Object& object)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(&object);
    return std::all_of(bytes, bytes + sizeof object, [](unsigned char byte) { return byte == 0; });
}

// Everything process-wide as before the first call.
void ResetKeyStore();

class KeyStoreTest : public testing::Test
{
protected:
    static constexpr const char* file_name = "keys";
    static constexpr std::size_t record_size = 1600;
    static constexpr std::size_t future_offset = 2000;

    KeyStoreTest();
    ~KeyStoreTest() override;

    // Writes a key file; a future record is taken as it is.
    void WriteFile(const std::string& current, const std::string& future, const std::string& passphrase = "secret");
    // The plain records of the file.
    [[nodiscard]] std::string CurrentRecord(const std::string& passphrase = "secret") const;
    [[nodiscard]] std::string FutureRecord(const std::string& passphrase = "secret") const;
    [[nodiscard]] std::string FileBytes() const { return scratch.read(file_name); }

    static unsigned short Init(const char* passphrase = "secret", const char* new_passphrase = nullptr);

    ScratchDirectory scratch;
    FakeSystem system{1'700'000'000}; // 14 November 2023, 22:13:20 UTC
};
