#include "persis/pers_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace {

constexpr unsigned slots_beyond_last = 3; // how far behind the last one a slot may be used
constexpr int unreadable_slots = 100;     // a load gives up there

constexpr unsigned least_distance = PERSIS_RECORD_OVERHEAD;
constexpr unsigned greatest_distance = PERSIS_RECORD_OVERHEAD + PERSIS_BUFFER_MAX_SIZE;

} // namespace

CPersFile::CPersFile(unsigned int file_code, const char* file_name, unsigned int rec_size)
    : m_rec_size(rec_size), m_file_code(file_code), m_header(file_code, &m_h), m_record_header(&m_h)
{
    std::memcpy(m_file_name, file_name, strnlen(file_name, PERS_MAX_FILENAME));
}

// ---- Opening ---------------------------------------------------------------------------------------------------

int CPersFile::Open(int rename_original)
{
    Close();
    if ((rename_original == OPEN_RENAME_FILE && !Set_Aside()) || m_h.open(m_file_name) == 0) {
        return 0;
    }
    if (!Take_Header() || !Get_Persis_Record()) {
        m_h.close();
        return 0;
    }
    if (m_file_code == 0 || m_header.saved_file_code == PERS_TEST_CODE) {
        m_header.saved_file_code = m_header.loaded_file_code;
    }
    Repair_Header();
    m_record_p->Set_Header(&m_record_header, m_rec_size);
    Share_Byte_Order();
    m_working = 1;
    m_max_number_p = &m_header.max_number_of_records;
    return 1;
}

// A file that can't be set aside must not be written over as if it were new.
bool CPersFile::Set_Aside()
{
    const std::string old_name = std::string(m_file_name) + ".old";
    CFile_d::unlink(old_name.c_str());
    return CFile_d::rename(m_file_name, old_name.c_str()) == 0 || errno == ENOENT;
}

bool CPersFile::Take_Header()
{
    m_header.Clean();
    m_header.Set_Position(0);
    if (m_header.Read_Data() == 0) {
        if (m_h.size() != 0) {
            PERSIS_Report_Error(1, "File %s has a damaged header, it can't be read\n", m_file_name);
        }
        m_header.Clean();
        m_header.loaded_file_code = m_file_code;
    }
    if (m_file_code != 0 && m_file_code != m_header.loaded_file_code) {
        PERSIS_Report_Error(1, "File %s has different file_code %u, it should be %u\n", m_file_name,
                            m_header.loaded_file_code, m_file_code);
        return false;
    }
    if (m_header.loaded_file_code == 0) {
        m_header.loaded_file_code = m_header.saved_file_code;
    }
    return true;
}

bool CPersFile::Get_Persis_Record()
{
    m_record_p = qapi::Make_Persis_Record(m_header.loaded_file_code, m_h);
    if (m_record_p == nullptr) {
        PERSIS_Report_Error(1, "File \"%s\" has an undefined file_code %u\n", m_file_name, m_header.loaded_file_code);
        m_h.close();
    }
    return m_record_p != nullptr;
}

// Numbers that no writer leaves. With the distance of a new file the records of a damaged header are found again; a
// highest slot far behind the file's end would send new records to where no load finds them.
void CPersFile::Repair_Header()
{
    unsigned& distance = m_header.record_data_length;
    if (distance != 0 && (distance < least_distance || distance > greatest_distance)) {
        PERSIS_Report_Error(1, "File %s has a damaged header, distance of records %u\n", m_file_name, distance);
        distance = 0;
    }
    if (distance == 0 && m_rec_size == 0) {
        distance = least_distance; // a reader stores none
    }
    const std::uint64_t slots =
        m_h.size() / (distance != 0 ? distance : std::uint64_t{m_rec_size} + PERSIS_RECORD_OVERHEAD);
    unsigned& highest = m_header.max_number_of_records;
    if (highest > slots + unreadable_slots) {
        PERSIS_Report_Error(1, "File %s has a damaged header, highest record %u\n", m_file_name, highest);
        highest = static_cast<unsigned>(slots);
        if (m_rec_size != 0) {
            m_header.Write_Data(0); // so that it is told once
        }
    }
}

void CPersFile::Share_Byte_Order()
{
    if (m_header.Get_Big_End() != 0) {
        m_record_header.Use_Big_End();
        m_record_p->Use_Big_End();
    } else {
        m_record_header.Not_Use_Big_End();
        m_record_p->Not_Use_Big_End();
    }
}

int CPersFile::Close()
{
    if (m_working == 0) {
        return 0;
    }
    m_h.close();
    m_h.Read_Slots_Alone();
    m_record_p.reset();
    m_working = 0;
    m_max_number_p = &m_local_number;
    m_reserved = 0;
    m_deleted_array_size = 0;
    m_cur_deleted_array = 0;
    m_deleted_known.clear();
    return 1;
}

// ---- Records ---------------------------------------------------------------------------------------------------

// A slot that was handed out is good however far behind the last one it lies: those before it may all have failed.
bool CPersFile::Can_Be_Slot(unsigned rec_num) const
{
    return m_working != 0 && rec_num != 0 &&
           (rec_num <= std::uint64_t{*m_max_number_p} + slots_beyond_last || rec_num <= m_reserved);
}

int CPersFile::Load_Record(unsigned int rec_num, void* rec_data, void* rec_extra)
{
    if (!Can_Be_Slot(rec_num)) {
        return 0;
    }
    m_h.Read_Slots_Alone();
    m_h.Forget();
    return m_record_p->Load_Record(rec_num, rec_data, rec_extra);
}

int CPersFile::Save_Record(unsigned int rec_num, const void* rec_data, const void* rec_extra)
{
    if (m_save_file_again != 0 || !Can_Be_Slot(rec_num)) {
        return 0;
    }
    const std::uint64_t end = std::uint64_t{*m_max_number_p} + slots_beyond_last + 1;
    const unsigned first = *m_max_number_p + 1;
    const int result = m_record_p->Save_Record(rec_num, rec_data, rec_extra);
    if (result == 1 && rec_num >= end) {
        Mark_Gap(first, rec_num);
    }
    return m_h.flush() != 0 ? result : 0;
}

// A load gives up behind a hundred slots that it can't read; deleted ones don't count.
void CPersFile::Mark_Gap(unsigned first, unsigned end)
{
    m_record_header.deleted = 1;
    for (unsigned slot = first; slot < end; ++slot) {
        m_record_p->Save_Header(slot);
    }
}

int CPersFile::Delete_Record(unsigned int rec_num)
{
    if (rec_num == 0 || rec_num > *m_max_number_p) {
        return 0;
    }
    m_record_header.deleted = 1;
    const int result = m_record_p->Save_Header(rec_num);
    return m_h.flush() != 0 ? result : 0;
}

int CPersFile::Load_Next_Record(unsigned int* rec_num_p, void* rec_data, void* rec_extra)
{
    if (m_working == 0) {
        return 0;
    }
    if (*rec_num_p <= 1) {
        *rec_num_p = 1;
        m_h.Forget();
    }
    m_h.Read_Ahead();
    for (int counter = unreadable_slots; *rec_num_p != std::numeric_limits<unsigned>::max(); ++*rec_num_p) {
        const int result = m_record_p->Load_Record(*rec_num_p, rec_data, rec_extra);
        const bool deleted = m_record_header.deleted != 0;
        if (result == MUST_SAVE_ALL_FILE_AGAIN) {
            m_save_file_again = 1;
        }
        if (result != 0 && !deleted) {
            return 1;
        }
        const bool behind_end = *rec_num_p > std::uint64_t{*m_max_number_p} + slots_beyond_last - 1;
        if (!deleted && (behind_end || --counter < 1)) {
            break;
        }
        Add_Deleted(*rec_num_p);
    }
    m_h.Read_Slots_Alone();
    return 0;
}

void CPersFile::Add_Deleted(unsigned rec_num)
{
    if (m_deleted_known.insert(rec_num).second) {
        m_deleted_array(m_deleted_array_size++) = rec_num;
    }
}

unsigned int CPersFile::Get_Next_Free()
{
    unsigned number = std::max(*m_max_number_p, m_reserved) + 1;
    if (m_cur_deleted_array < m_deleted_array_size) {
        number = m_deleted_array[m_cur_deleted_array++];
    }
    m_reserved = std::max(m_reserved, number);
    return number;
}

int CPersFile::Check_Forced_Save()
{
    if (m_save_file_again == 0) {
        return 0;
    }
    Close();
    m_header.Clean();
    if (Open(OPEN_RENAME_FILE) == 0) {
        PERSIS_Report_Error(1, PERSIS_FILE_ERROR, m_file_name, static_cast<unsigned>(errno));
    }
    m_save_file_again = 0;
    return 1;
}

// ---- The file's header -----------------------------------------------------------------------------------------

unsigned int CPersFile::Set_File_Code(unsigned int file_code)
{
    m_header.saved_file_code = file_code;
    return std::exchange(m_file_code, file_code);
}

void CPersFile::Set_Date_Reference(const char* date_reference)
{
    m_header.date_reference.fill(0);
    std::memcpy(m_header.date_reference.data(), date_reference,
                strnlen(date_reference, CFile_Header::DATE_REFERENCE_SIZE));
    if (m_working != 0) {
        m_header.Write_Data(0);
        static_cast<void>(m_h.flush());
    }
}

void CPersFile::Get_Date_Reference(char* date_reference) const
{
    std::copy(m_header.date_reference.begin(), m_header.date_reference.end(), date_reference);
}

void CPersFile::Print_File()
{
    std::printf("File %s\n", m_file_name);
    if (m_working == 0) {
        return;
    }
    m_header.Print_Data();
    m_h.Forget();
    std::array<char, PERSIS_BUFFER_MAX_SIZE> value{};
    const unsigned room = m_rec_size != 0 ? m_rec_size : PERSIS_BUFFER_MAX_SIZE;
    for (unsigned slot = 1; slot != 0 && slot <= *m_max_number_p && room <= value.size(); ++slot) {
        const int result = m_record_p->Look_At_Record(slot, value.data(), nullptr);
        std::printf("Record %u%s\n", slot, result == 0 ? " can't be read" : "");
        if (result != 0) {
            m_record_header.Print_Data();
            m_record_p->Print_Data();
        }
    }
}
