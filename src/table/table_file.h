// What a table asks of the file that keeps its records. Records stand in it by number, from 1 up.
#pragma once

namespace qapi {

class TableFile
{
public:
    TableFile() = default;
    virtual ~TableFile() = default;
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

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
