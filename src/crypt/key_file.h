// The key file and its records. Private to the sources of this folder, and to their tests.
//
//   0      1600   the current key
//   1600   400    not used
//   2000   1600   the future key; marks that differ say that there is none
//
// Each record is encrypted as a whole, with a key made of the passphrase.
#pragma once

#include "crypt/crypt.h"

#include <array>
#include <cstdio>
#include <memory>

namespace qapi {

inline constexpr int KEY_RECORD_SIZE = sizeof(key_data);
inline constexpr long CURRENT_KEY_OFFSET = 0;
inline constexpr long FUTURE_KEY_OFFSET = 2000;

using Key_Record = std::array<unsigned char, KEY_RECORD_SIZE>; // as it stands on disk

void load_record(const Key_Record& record, key_data& key);
void store_record(const key_data& key, Key_Record& record);

bool marks_agree(const key_data& key);

// Whether the key's day has begun, in local time. A date that isn't three numbers never does.
bool day_has_come(const key_data& key);

// Expands a passphrase into EK and DK: up to 16 bytes, zeros behind them, each increased by 1.
void crypt_gen_EKDK(const char* password);

class Key_File
{
public:
    explicit Key_File(const char* path); // closed on exec: a child has no business with it

    [[nodiscard]] bool is_open() const { return m_file != nullptr; }

    // A record, encrypted under EK and DK. False if it isn't there.
    bool read(long offset, key_data& key);
    bool write(long offset, const key_data& key);

    // A record as it is.
    bool write_plain(long offset, const Key_Record& record);

    // Some file systems tell only now that a write has failed: false.
    bool close();

private:
    struct Closer
    {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    std::unique_ptr<std::FILE, Closer> m_file;
};

} // namespace qapi
