// A record file as a table uses it. Slots are numbered from 1. A slot that was free when the file was loaded is used
// again; one that is freed later waits for the next load, so a file grows within a run and not beyond it.
#pragma once

#include "cvarray.h"
#include "persis/record_kinds.h"

#include <unordered_set>

inline constexpr int PERS_MAX_FILENAME = 100;
inline constexpr int PERS_INIT_DELETED_NODES = 200;

inline constexpr int DO_NOT_RENAME = 0;
inline constexpr int OPEN_RENAME_FILE = 1; // the file becomes NAME.old, and a new one begins

class CPersFile
{
public:
    // Code 0 opens any kind. `rec_size` 0 is for readers that don't know it, see CRecord_Data::Set_Header. The name is
    // cut at PERS_MAX_FILENAME characters.
    CPersFile(unsigned int file_code, const char* file_name, unsigned int rec_size);
    virtual ~CPersFile() = default;
    CPersFile(const CPersFile&) = delete;
    CPersFile& operator=(const CPersFile&) = delete;

    // The object that reads and writes the records of this kind of file. False, told and closed if there is none.
    virtual bool Get_Persis_Record();

    // Returns 1 if it works, 0 if not: errno tells, or it was told.
    int Open(int rename_original);
    int Close(); // 0 if it did not work

    // See CRecord_Data. 0 also for a number that can't be, or if the file doesn't work; a save, too, while the file
    // waits to be started afresh.
    int Load_Record(unsigned int rec_num, void* rec_data, void* rec_extra);
    int Save_Record(unsigned int rec_num, const void* rec_data, const void* rec_extra);
    int Delete_Record(unsigned int rec_num); // the data stay

    // The next live record from *rec_num_p on, 1 at first; its slot is put there. Returns 0 at the end.
    int Load_Next_Record(unsigned int* rec_num_p, void* rec_data, void* rec_extra);

    // A slot for a new record: nobody else gets it.
    unsigned int Get_Next_Free();

    // 1 if the records have outgrown their slots: the file was set aside and started afresh, and the caller saves all
    // its records under numbers from 1.
    int Check_Forced_Save();

    unsigned int Set_File_Code(unsigned int file_code);  // returns the one before
    void Set_Date_Reference(const char* date_reference); // 8 characters at most, on disk at once
    void Get_Date_Reference(char* date_reference) const; // 8 bytes

    void Print_File(); // on standard output

    char m_file_name[PERS_MAX_FILENAME + 1] = {};
    unsigned m_rec_size;
    int m_working = 0;
    unsigned m_file_code;
    int m_save_file_again = 0;
    CFile_d m_h;
    CFile_Header m_header;
    CRecord_Header m_record_header;
    std::unique_ptr<CRecord_Data> m_record_p; // null while it doesn't work

private:
    bool Set_Aside();
    bool Take_Header();
    void Repair_Header();
    void Share_Byte_Order();
    [[nodiscard]] bool Can_Be_Slot(unsigned rec_num) const;
    void Add_Deleted(unsigned rec_num);
    void Mark_Gap(unsigned first, unsigned end);

    unsigned m_local_number = 0;
    unsigned* m_max_number_p = &m_local_number; // the highest slot
    unsigned m_reserved = 0;                    // the highest that was handed out
    CvArray<unsigned int> m_deleted_array{PERS_INIT_DELETED_NODES};
    int m_deleted_array_size = 0;
    int m_cur_deleted_array = 0;
    std::unordered_set<unsigned> m_deleted_known; // those of the array
};
