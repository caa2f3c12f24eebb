#include "persis/file_header.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

enum : int
{
    FILE_CODE = 1,
    TOTAL_RECORDS,
    TOTAL_ERASED,
    MAX_RECORDS,
    RECORD_LENGTH,
    LAST_ERASED,
    DATE_REFERENCE,
};

constexpr unsigned highest_file_code = 1000000; // one above it is of the other byte order
constexpr int turned = 1;

} // namespace

CFile_Header::CFile_Header(unsigned int file_code, CFile_d* file) : CPers_d(file), saved_file_code(file_code)
{
    file->Last_CFile_Header = this;
}

void CFile_Header::Clean()
{
    loaded_file_code = 0;
    total_number_of_records = 0;
    total_of_erased_records = 0;
    max_number_of_records = 0;
    record_data_length = 0;
    last_of_erased_records = 0;
    date_reference.fill(0);
    Not_Use_Big_End();
}

void CFile_Header::Serialize()
{
    last_of_erased_records = total_number_of_records;
    Set_UInt(FILE_CODE, saved_file_code);
    Set_UInt(TOTAL_RECORDS, total_number_of_records);
    Set_UInt(TOTAL_ERASED, total_of_erased_records);
    Set_UInt(MAX_RECORDS, max_number_of_records);
    Set_UInt(RECORD_LENGTH, record_data_length);
    Set_UInt(LAST_ERASED, last_of_erased_records);
    Set_Data(DATE_REFERENCE, date_reference.data(), DATE_REFERENCE_SIZE);
}

int CFile_Header::Unserialize_Content(int code)
{
    switch (code) {
    case FILE_CODE:
        Take_File_Code();
        return 1;
    case TOTAL_RECORDS:
        total_number_of_records = Get_UInt(turned);
        return 1;
    case TOTAL_ERASED:
        Get_UInt(turned);
        total_of_erased_records = 0; // the load counts them
        return 1;
    case MAX_RECORDS:
        max_number_of_records = Get_UInt(turned);
        return 1;
    case RECORD_LENGTH:
        record_data_length = Get_UInt(turned);
        return 1;
    case LAST_ERASED:
        last_of_erased_records = Get_UInt(turned);
        return 1;
    case DATE_REFERENCE: // a text has no byte order
        Get_Data(date_reference.data(), DATE_REFERENCE_SIZE, 0);
        return 1;
    default:
        return 0;
    }
}

void CFile_Header::Take_File_Code()
{
    loaded_file_code = Get_UInt(0);
    if (loaded_file_code > highest_file_code) {
        Use_Big_End();
        loaded_file_code = __builtin_bswap32(loaded_file_code);
    }
}

int CFile_Header::Review_Limit(unsigned int number, int number_type)
{
    const bool changed = Take_Limit(number, number_type);
    if (changed) {
        Write_Data(0);
    }
    return changed ? 1 : 0;
}

bool CFile_Header::Take_Limit(unsigned number, int number_type)
{
    switch (number_type) {
    case PERSIS_LIMIT_ADDED:
    case PERSIS_LIMIT_SEEN:
        if (number <= max_number_of_records) {
            return false;
        }
        max_number_of_records = number;
        total_number_of_records += number_type == PERSIS_LIMIT_ADDED ? 1 : 0;
        return true;
    case PERSIS_LIMIT_ERASED:
        ++total_of_erased_records;
        return true;
    case PERSIS_LIMIT_RECOVERED:
        return total_of_erased_records != 0 && total_of_erased_records-- != 0;
    case PERSIS_LIMIT_LENGTH:
        return record_data_length == 0 && std::exchange(record_data_length, number) != number;
    default:
        return false;
    }
}

void CFile_Header::Print_Data()
{
    std::printf("File code              : %u%s\n", loaded_file_code, Get_Big_End() != 0 ? " (other byte order)" : "");
    std::printf("Total of records       : %u\n", total_number_of_records);
    std::printf("Erased records         : %u\n", total_of_erased_records);
    std::printf("Highest record         : %u\n", max_number_of_records);
    std::printf("Distance of records    : %u\n", record_data_length);
    std::printf("Date reference         : %.*s\n", DATE_REFERENCE_SIZE, date_reference.data());
}
