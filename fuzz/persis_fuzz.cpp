// Any bytes as a record file. The first byte tells its kind and the size of the records. Whatever the bytes say, a load
// ends and hands out each slot at most once, a file that opened takes a record and gives it back, what a load found the
// next one finds again, and a reader without a size leaves every byte as it is.
#include "memory_file.h"
#include "persis/pers_file.h"
#include "require.h"

#include <algorithm>
#include <map>
#include <string>

namespace {

constexpr unsigned sizes[] = {8, 39, 90, 331};
constexpr unsigned kinds[] = {PERS_CITY_CODE, PERS_INDICATIVES_CODE, PERS_GENDATA_CODE, 0};
constexpr std::size_t identity_size = 8;
constexpr char guard = '\x5C';

using Records = std::map<unsigned, std::string>;

void tell_nobody(char* /*text*/, int /*level*/) {}

// The live records, by slot: value and identity.
Records load(CPersFile& file)
{
    Records records;
    std::string value(file.m_rec_size, '\0');
    std::string identity(identity_size, '\0');
    value += guard;
    identity += guard;
    unsigned last = 0;
    for (unsigned slot = 1; file.Load_Next_Record(&slot, value.data(), identity.data()) != 0; ++slot) {
        require(slot > last && value.back() == guard && identity.back() == guard);
        last = slot;
        records[slot] = value + identity;
    }
    return records;
}

void check_reader(const std::string& bytes)
{
    const MemoryFile memory(bytes);
    CPersFile reader(0, memory.path().c_str(), 0);
    if (reader.Open(DO_NOT_RENAME) == 0) {
        return;
    }
    const std::uint64_t end = std::uint64_t{reader.m_header.max_number_of_records} + 1;
    require(end <= bytes.size() / PERSIS_RECORD_OVERHEAD + 101);
    std::string value(PERSIS_BUFFER_MAX_SIZE, '\0');
    value += guard;
    for (unsigned slot = 1; slot <= end; ++slot) {
        reader.Load_Record(slot, value.data(), nullptr);
        require(value.back() == guard);
    }
    require(memory.bytes() == bytes);
}

void check_growth(CPersFile& file)
{
    const unsigned slot = file.Get_Next_Free();
    const std::string value(file.m_rec_size, 'n');
    const int saved = file.Save_Record(slot, value.data(), "identity");
    require(saved == 1 || saved == MUST_SAVE_ALL_FILE_AGAIN);
    std::string read(file.m_rec_size, '\0');
    require(saved != 1 || (file.Load_Record(slot, read.data(), nullptr) == 1 && read == value));
}

void check(unsigned kind, unsigned size, const std::string& bytes)
{
    const MemoryFile memory(bytes);
    CPersFile file(kind, memory.path().c_str(), size);
    if (file.Open(DO_NOT_RENAME) == 0) {
        return;
    }
    const Records records = load(file);
    if (file.m_save_file_again != 0) {
        return;
    }
    require(load(file) == records);
    check_growth(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    PERSIS_SetErrFunction(tell_nobody);
    const std::string bytes(data + 1, data + size);
    check(kinds[data[0] & 3], sizes[data[0] >> 2 & 3], bytes);
    check_reader(bytes);
    return 0;
}
