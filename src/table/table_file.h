// What a table asks of the file that keeps its records. Records stand in it by number, from 1 up.
#pragma once

#include <functional>
#include <span>

namespace qapi {

class TableFile
{
public:
    TableFile() = default;
    virtual ~TableFile() = default;
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

    // A live record: its number, and the bytes of DATA_INFO and ENV_CRC32. They are good during the call, in which the
    // record may be saved or deleted.
    using Take = std::function<void(unsigned number, std::span<const char> data_info, std::span<const char> env_crc32)>;

    // Hands over all live records in the order of their numbers. A file of the other byte order is of ours behind it;
    // while that is under way Is_Converting tells that each record is to be saved as it comes.
    virtual void Load(const Take& take) = 0;
    [[nodiscard]] virtual bool Is_Converting() const { return false; }

    // The number of a place for a new record.
    virtual unsigned Get_Next_Free() = 0;

    // Both are on disk when the call returns. `data_info` and `env_crc32` are the bytes of the record's fields of these
    // names.
    virtual void Save_Record(unsigned number, const char* data_info, const char* env_crc32) = 0;
    virtual void Delete_Record(unsigned number) = 0;

    // True if the file was started afresh, since the records have outgrown their places: the table gives them numbers
    // from 1 up and saves them all. Asked after a load and after each save.
    virtual bool Check_Forced_Save() { return false; }
};

} // namespace qapi
