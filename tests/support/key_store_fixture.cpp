#include "support/key_store_fixture.h"

#include "support/hex.h"
#include "support/idea_key.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>

const RsaKeyText key_of_a = {.n = "b642b5f37a7e2a9eaf1955508e36721ee2d7c2bb7411096329bfca91385ecdb2"
                                  "5433b35936842524fa6764bc4592d7b652c063c3a624860b63badbf702dada11",
                             .e = "10001",
                             .d = "149a15d71fd1831fcccb2049aac99cbcc107828b8de31f1c866b978a32c5049b"
                                  "22ebb559858245c54f93659181bf40a513d0321e29180df9cc67bcf4c0096001",
                             .p = "d03ce72a6c01fb4b5074edd88923a055091a597846c660e5f1cb087f438ee7e1",
                             .q = "e0107fb31d97565fd66eb1544730a778e8b4c393f84f8665397c7efe35af7831",
                             .u = "6861634c28f2949059624b07e94c20be20cf448f00a0c56ac53e1aa138b75d79"};

const RsaKeyText key_of_b = {.n = "97fd3c90b8514d2b4dbb144f9a4024938285794ff4fa849ab90d7dfe38988d72"
                                  "7a08cef774a8396c83e24e6bec55e30dedc2c14bf207d0c7bf4ac93655818f25",
                             .e = "11",
                             .d = "7d2ae6954c7f307e03c73de733bc5a5b5c6deb6f05fb7c432efc0d67f25f838a"
                                  "2eaa728b3409631d3c359afbef34771c6786cf5b5a25ee6a6e0d6ef81fdcab59",
                             .p = "c477a698d237b106a8d7c1007fe877e67bd998a174b37c02cd06b0265b3ee717",
                             .q = "c60b542350f76b793680513980d2483bcfa0e3bb8fdd20fa9133c92bd3922123",
                             .u = "20d4943931e1734aa3a8448fcb8aeca8e924a1eb293210e10d19ecf30db0cc22"};

const RsaKeyText key_of_c = {.n = "e2e4aa93b443034567865f26c061297c6d190d91a0a14c2d2e2a0a63b959ad6c"
                                  "8d1e011fb1e022ad52fe5145c87afe291224ef5682c0a1b1b7e878416809550b",
                             .e = "10001",
                             .d = "5b5365215cbe5873b82ecadfe33178ac5f9164f7c7eb04a96eda77221ab9f0e6"
                                  "6d842038d91bf3cf5649113f1cf862beff43f2a95e79bcb41eb77b7fd69c53b9",
                             .p = "eeb295e32fd9642f3320ba82fb9c53e57d48201b0fd14fae2edd5d0aea949f5d",
                             .q = "f357082954072e7ddf08c9fd807839a329b1b630e8890580e083feda4668c787",
                             .u = "dd947f670d053c051eeb89c45132468d0d3901786e86f5bc80e3319f9c3a7f84"};

std::string NumberBytes(const std::string& digits, std::size_t width)
{
    std::string bytes = FromHex(digits.size() % 2 == 0 ? digits : "0" + digits);
    std::reverse(bytes.begin(), bytes.end());
    bytes.resize(width);
    return bytes;
}

std::string RecordBytes(const RsaKeyText& key, const std::string& date, const std::string& marks)
{
    std::string record = marks + date;
    for (const char* number : {key.n, key.e, key.d, key.p, key.q, key.u}) {
        record += NumberBytes(number, 264);
    }
    return record;
}

std::string LittleEndian(std::uint32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift & 255);
    }
    return bytes;
}

std::string ListEntry(std::uint32_t dest, const RsaKeyText& key)
{
    return LittleEndian(dest) + NumberBytes(key.n, 64) + NumberBytes(key.e, 4);
}

namespace {

std::string key_of_passphrase(const std::string& passphrase)
{
    std::string key = passphrase.substr(0, 16);
    key.resize(16);
    for (char& byte : key) {
        byte = static_cast<char>(static_cast<unsigned char>(byte) + 1);
    }
    return key;
}

} // namespace

std::string EncryptedRecord(const std::string& plain, const std::string& passphrase)
{
    return Encrypted(plain, key_of_passphrase(passphrase));
}

std::string DecryptedRecord(const std::string& record, const std::string& passphrase)
{
    return Decrypted(record, key_of_passphrase(passphrase));
}

std::string PublicKey(unsigned short which)
{
    std::string out(84, '?');
    EXPECT_EQ(crypt_get_public_key(which, out.data()), 80);
    EXPECT_EQ(out.substr(80), "????");
    return out.substr(0, 80);
}

std::string PublicKeyOf(const RsaKeyText& key, const std::string& date, const std::string& machine)
{
    return date + machine + NumberBytes(key.n, 64) + NumberBytes(key.e, 4);
}

void ResetKeyStore()
{
    crypt_end();
    Actual_Key = {};
    Future_Key = {};
    std::fill(std::begin(EK), std::end(EK), word16{0});
    std::fill(std::begin(DK), std::end(DK), word16{0});
    this_equip = 0;
    init_value = 11;
    global_precision = 18;
}

KeyStoreTest::KeyStoreTest()
{
    setenv("TZ", "UTC0", 1);
    tzset();
    ResetKeyStore();
}

KeyStoreTest::~KeyStoreTest()
{
    ResetKeyStore();
}

void KeyStoreTest::WriteFile(const std::string& current, const std::string& future, const std::string& passphrase)
{
    scratch.write(file_name, EncryptedRecord(current, passphrase) + std::string(400, '.') + future);
}

std::string KeyStoreTest::CurrentRecord(const std::string& passphrase) const
{
    return DecryptedRecord(FileBytes().substr(0, record_size), passphrase);
}

std::string KeyStoreTest::FutureRecord(const std::string& passphrase) const
{
    return DecryptedRecord(FileBytes().substr(future_offset), passphrase);
}

unsigned short KeyStoreTest::Init(const char* passphrase, const char* new_passphrase)
{
    return crypt_init(file_name, "EQ01", passphrase, new_passphrase);
}
