// The block at the start of a record file. Its counters live in memory and are written when the highest slot changes.
#pragma once

#include "persis/pers_d.h"

// What Review_Limit does with its number.
inline constexpr int PERSIS_LIMIT_ADDED = 1;     // a slot was written
inline constexpr int PERSIS_LIMIT_SEEN = 2;      // a slot was read
inline constexpr int PERSIS_LIMIT_ERASED = 3;    // a deleted slot was met
inline constexpr int PERSIS_LIMIT_RECOVERED = 4; // one is in use again
inline constexpr int PERSIS_LIMIT_LENGTH = 5;    // the distance of the slots, kept if there is one

class CFile_Header : public CPers_d
{
public:
    static constexpr int DATE_REFERENCE_SIZE = 8;

    CFile_Header(unsigned int file_code, CFile_d* file);

    void Serialize() override;
    void Print_Data() override;
    int Unserialize_Content(int code) override;

    void Clean(); // all but saved_file_code

    // Writes the header if that changes anything, and returns whether it did.
    int Review_Limit(unsigned int number, int number_type);

    unsigned saved_file_code = 0;  // the kind that is written
    unsigned loaded_file_code = 0; // the kind that was read
    unsigned total_number_of_records = 0;
    unsigned total_of_erased_records = 0;
    unsigned max_number_of_records = 0; // the highest slot
    unsigned record_data_length = 0;    // from slot to slot
    unsigned last_of_erased_records = 0;
    std::array<char, DATE_REFERENCE_SIZE> date_reference{};

private:
    bool Take_Limit(unsigned number, int number_type);
    void Take_File_Code();
};
