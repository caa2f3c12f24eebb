// Encryption and decryption of one message beside libgcrypt's CBC, with what both need for each message: the key
// schedule, and the initial value. After the figures come the ratios; wanted are 1.1 and 3.
#include "crypt/idea.h"
#include "ratio.h"

#include <benchmark/benchmark.h>
#include <gcrypt.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int message_bytes = 1504;
using Message = std::array<unsigned char, message_bytes>;
using Key = std::array<unsigned char, IDEAKEYSIZE>;

constexpr Key key = {0x3A, 0x98, 0x4E, 0x20, 0x00, 0x19, 0x5D, 0xB3, 0x2E, 0xE5, 0x01, 0xC8, 0xC4, 0x7C, 0xEA, 0x60};

Message some_message()
{
    Message message{};
    std::uint32_t value = 1;
    for (unsigned char& byte : message) {
        value = value * 1664525 + 1013904223;
        byte = static_cast<unsigned char>(value >> 24);
    }
    return message;
}

const Message source = some_message();
Message target;

void encrypt()
{
    std::array<unsigned short, IDEAKEYLEN> schedule;
    ideaExpandKey(key.data(), schedule.data());
    DataEncrypt(schedule.data(), source.data(), target.data(), message_bytes);
}

void decrypt()
{
    std::array<unsigned short, IDEAKEYLEN> schedule;
    std::array<unsigned short, IDEAKEYLEN> inverse;
    ideaExpandKey(key.data(), schedule.data());
    ideaInvertKey(schedule.data(), inverse.data());
    DataDecrypt(schedule.data(), inverse.data(), source.data(), target.data(), message_bytes);
}

void invert_key()
{
    std::array<unsigned short, IDEAKEYLEN> schedule;
    std::array<unsigned short, IDEAKEYLEN> inverse;
    ideaExpandKey(key.data(), schedule.data());
    ideaInvertKey(schedule.data(), inverse.data());
    benchmark::DoNotOptimize(inverse);
}

gcry_cipher_hd_t open_peer()
{
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    gcry_cipher_hd_t handle = nullptr;
    if (gcry_cipher_open(&handle, GCRY_CIPHER_IDEA, GCRY_CIPHER_MODE_CBC, 0) != 0) {
        std::abort();
    }
    return handle;
}

const gcry_cipher_hd_t peer = open_peer();

void start_peer()
{
    constexpr std::array<unsigned char, IDEABLOCKSIZE> initial_value = {0x98, 0x3A, 0x20, 0x4E, 0x19, 0, 0xB3, 0x5D};
    gcry_cipher_setkey(peer, key.data(), key.size());
    gcry_cipher_setiv(peer, initial_value.data(), initial_value.size());
}

void peer_encrypt()
{
    start_peer();
    gcry_cipher_encrypt(peer, target.data(), target.size(), source.data(), source.size());
}

void peer_decrypt()
{
    start_peer();
    gcry_cipher_decrypt(peer, target.data(), target.size(), source.data(), source.size());
}

using Work = void (*)();

void run(benchmark::State& state, Work work)
{
    for ([[maybe_unused]] auto turn : state) {
        work();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * message_bytes);
}

BENCHMARK_CAPTURE(run, DataEncrypt, encrypt);
BENCHMARK_CAPTURE(run, libgcrypt_encrypt, peer_encrypt);
BENCHMARK_CAPTURE(run, DataDecrypt, decrypt);
BENCHMARK_CAPTURE(run, libgcrypt_decrypt, peer_decrypt);
BENCHMARK_CAPTURE(run, ideaInvertKey, invert_key);

void print_message_ratio(const char* what, const char* bound, Work theirs, Work ours)
{
    print_ratio({.what = what, .bound = bound, .bytes = message_bytes, .calls = 50}, theirs, ours);
}

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    print_message_ratio("idea encrypt: libgcrypt / DataEncrypt", "wanted: 1.1", peer_encrypt, encrypt);
    print_message_ratio("idea decrypt: libgcrypt / DataDecrypt", "wanted: 3", peer_decrypt, decrypt);
    return 0;
}
