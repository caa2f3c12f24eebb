// The two blocks of a slot. Slot n has its record header at R * n and the record's data 150 bytes behind it, where R is
// the file header's record_data_length.
//
// The data are written first: a process that is killed between the two leaves the record of before or the new one. The
// system may end a killed process within a write as well, where one page of memory is full and the next one begins. A
// slot that lies on two pages is therefore marked as deleted before its data are written: half of a record is none.
#pragma once

#include "persis/file_header.h"

inline constexpr unsigned MESSAGE_HEADER_ALLOCATED_SIZE = 150; // bytes kept for a record header
inline constexpr unsigned PERSIS_RECORD_OVERHEAD = 250;        // R of a new file, less the record's size
inline constexpr unsigned PERSIS_IDENTITY_SIZE = 8;

// Items of the record's data.
inline constexpr int PERSIS_RECORDDATA_VERSION = 1;
inline constexpr int PERSIS_RECORDDATA_COMPLETE_BUFFER = 10;
inline constexpr int PERSIS_RECORDDATA_END_OF_RECORD = 11;
inline constexpr int PERSIS_RECORDDATA_CRC32 = 21;
inline constexpr int PERSIS_RECORDDATA_ENVIRONMENT = 22; // reserved

inline constexpr std::array<char, 2> END_OF_RECORD_SIGNAL = {'\x07', '\x9C'};

inline constexpr int MUST_SAVE_ALL_FILE_AGAIN = 2; // what a save returns when the record exceeds its slot

class CRecord_Header : public CPers_d
{
public:
    using CPers_d::CPers_d;

    void Serialize() override;
    void Print_Data() override;
    int Unserialize() override;
    int Unserialize_Content(int code) override;

    int deleted = 0;
    unsigned record_length = 0; // bytes of the record's value
};

class CRecord_Data : public CPers_d
{
public:
    explicit CRecord_Data(CFile_d* cf) : CPers_d(cf) {}

    void Serialize() override;
    void Print_Data() override;
    int Unserialize() override;
    int Unserialize_Content(int code) override; // 2 for the complete buffer, below 0 for a wrong end signal
    virtual void Serialize_Content();           // what stands between the version and the buffer

    // Before the first record. A file without R gets that of records of `rec_size` bytes. With a size of 0 nothing is
    // known of the records: they are read with all their bytes, PERSIS_BUFFER_MAX_SIZE at most, and the
    // file stays as it is.
    void Set_Header(CRecord_Header* record_header, unsigned rec_size);

    // `rec_data` has the record's size, `rec_extra` 8 bytes or is null. A live record of another version is written
    // back as one of this version. Returns 0 if the slot can't be read whole, 2 if it would have to be larger, else 1.
    int Load_Record(unsigned np, void* rec_data, void* rec_extra);

    // The same, and changes nothing.
    int Look_At_Record(unsigned np, void* rec_data, void* rec_extra);

    // Returns 1, 0 if it could not be written, MUST_SAVE_ALL_FILE_AGAIN if the slot is too small.
    int Save_Record(unsigned np, const void* rec_data, const void* rec_extra);

    // Writes the record header. Returns 1 or 0.
    int Save_Header(unsigned np);

    [[nodiscard]] int Get_Version() const { return version; }

    // Its header had a shorter length than its bytes: the identity may be that of more than was read.
    [[nodiscard]] bool Was_Cut() const { return m_was_cut; }

protected:
    void Set_Current_Version(int current);

    int version = PERSIS_FIRST_VERSION;
    int m_version_in_file = 0;
    unsigned rec_size_defined = 0;

    char* rec_data_ptr = nullptr;
    char* rec_extra_ptr = nullptr;
    const char* sv_rec_data_ptr = nullptr;
    const char* sv_rec_extra_ptr = nullptr;
    bool m_turned = false; // this record's numbers are of the other byte order

    [[nodiscard]] unsigned Room_For_Value() const;

private:
    [[nodiscard]] std::uint64_t Place_Of(unsigned np) const { return std::uint64_t{rec_data_length} * np; }
    [[nodiscard]] int Room_In_Slot() const;
    [[nodiscard]] unsigned File_Code() const;
    void Take_Values(const void* rec_data, const void* rec_extra);
    int Write_In_Slot(unsigned np);
    [[nodiscard]] bool Lies_On_Two_Pages(unsigned np) const;
    bool Mark_Deleted(unsigned np);
    int Refuse_Too_Long(int length);
    int Convert(unsigned np);
    void Review_Limit(unsigned number, int number_type);
    int Take_Version();
    int Take_Buffer();
    int Take_End_Signal();

    enum : int
    {
        NO_NEW_VERSION = 0,
        NEW_VERSION_DETECTED = 1,
        NEW_VERSION_UPDATE_FORCED = 2,
    };

    CRecord_Header* header = nullptr;
    unsigned rec_data_length = 0; // R
    int new_version_detected = NO_NEW_VERSION;
    bool m_has_buffer = false;
    bool m_has_end_signal = false;
    bool m_was_cut = false;
};

// A record with its identity beside it.
class CRecord_Crc32_Data : public CRecord_Data
{
public:
    using CRecord_Data::CRecord_Data;

    int Unserialize() override;
    int Unserialize_Content(int code) override;
    void Serialize_Content() override;
};

// A record that got a mark in a byte of its own: those of before have the default.
class CRecord_Marked_Data : public CRecord_Data
{
public:
    using CRecord_Data::CRecord_Data;

    int Unserialize_Content(int code) override;
};
