#include "persis/record_data.h"

#include "little_endian.h"
#include "record_io.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

enum : int
{
    DELETED = 1,
    RECORD_LENGTH,
};

constexpr int turned = 1;
constexpr std::uint32_t highest_version = 1000000;

constexpr int marked_byte = 80;
constexpr char mark_that_stays = 'L';
constexpr char default_mark = 'E';

// A process that is killed while it turns a file leaves records of both orders; each one's version tells which it has.
bool is_of_other_order(std::uint32_t version)
{
    return version > highest_version && __builtin_bswap32(version) <= highest_version;
}

} // namespace

// ---- Record header ---------------------------------------------------------------------------------------------

void CRecord_Header::Serialize()
{
    Set_Int(DELETED, deleted);
    Set_UInt(RECORD_LENGTH, record_length);
}

int CRecord_Header::Unserialize()
{
    deleted = 0;
    record_length = 0;
    const int result = CPers_d::Unserialize();
    if (result == 0) {
        deleted = 0;
    }
    return result;
}

int CRecord_Header::Unserialize_Content(int code)
{
    switch (code) {
    case DELETED:
        deleted = Get_UInt(turned) != 0 ? 1 : 0;
        return 1;
    case RECORD_LENGTH: // of the reader's order in every file
        record_length = Get_UInt(0);
        return 1;
    default:
        return 0;
    }
}

void CRecord_Header::Print_Data()
{
    std::printf("  Deleted              : %d\n  Record length        : %u\n", deleted, record_length);
}

// ---- Saving ----------------------------------------------------------------------------------------------------

void CRecord_Data::Set_Current_Version(int current)
{
    version = current;
    m_version_in_file = current;
}

void CRecord_Data::Set_Header(CRecord_Header* record_header, unsigned rec_size)
{
    header = record_header;
    rec_size_defined = rec_size;
    const unsigned needed = rec_size + PERSIS_RECORD_OVERHEAD;
    Review_Limit(needed, PERSIS_LIMIT_LENGTH);
    rec_data_length = cf_p->Last_CFile_Header != nullptr ? cf_p->Last_CFile_Header->record_data_length : needed;
}

void CRecord_Data::Review_Limit(unsigned number, int number_type)
{
    if (cf_p->Last_CFile_Header != nullptr) {
        cf_p->Last_CFile_Header->Review_Limit(number, number_type);
    }
}

unsigned CRecord_Data::File_Code() const
{
    return cf_p->Last_CFile_Header != nullptr ? cf_p->Last_CFile_Header->saved_file_code : 0;
}

void CRecord_Data::Serialize()
{
    Set_Int(PERSIS_RECORDDATA_VERSION, version);
    Serialize_Content();
    Set_Data(PERSIS_RECORDDATA_COMPLETE_BUFFER, sv_rec_data_ptr, rec_size_defined);
    Set_Data(PERSIS_RECORDDATA_END_OF_RECORD, END_OF_RECORD_SIGNAL.data(), END_OF_RECORD_SIGNAL.size());
}

void CRecord_Data::Serialize_Content() {}

// A slot that can't even hold its header holds no data; 0 would mean that there is no limit.
int CRecord_Data::Room_In_Slot() const
{
    return rec_data_length > MESSAGE_HEADER_ALLOCATED_SIZE
               ? static_cast<int>(std::min<unsigned>(rec_data_length - MESSAGE_HEADER_ALLOCATED_SIZE, INT32_MAX))
               : 1;
}

int CRecord_Data::Save_Header(unsigned np)
{
    header->Set_Position(Place_Of(np));
    header->record_length = rec_size_defined;
    const int length = header->Write_Data(0);
    if (length > static_cast<int>(MESSAGE_HEADER_ALLOCATED_SIZE)) {
        PERSIS_Report_Error(3, "Some data could not be written to the file's header, size %u file code %u\n",
                            static_cast<unsigned>(length), File_Code());
    }
    Set_Position(Place_Of(np) + MESSAGE_HEADER_ALLOCATED_SIZE);
    return length != 0 ? 1 : 0;
}

void CRecord_Data::Take_Values(const void* rec_data, const void* rec_extra)
{
    static constexpr std::array<char, PERSIS_IDENTITY_SIZE> none{};
    sv_rec_data_ptr = static_cast<const char*>(rec_data);
    sv_rec_extra_ptr = rec_extra != nullptr ? static_cast<const char*>(rec_extra) : none.data();
}

int CRecord_Data::Save_Record(unsigned np, const void* rec_data, const void* rec_extra)
{
    Take_Values(rec_data, rec_extra);
    header->deleted = 0;
    const int length = Write_In_Slot(np);
    if (length == 0) {
        return 0;
    }
    if (length > Room_In_Slot()) {
        return Refuse_Too_Long(length);
    }
    Review_Limit(np, PERSIS_LIMIT_ADDED);
    return 1;
}

int CRecord_Data::Write_In_Slot(unsigned np)
{
    const CFile_d::OneLookAtTheLimit one_look(*cf_p, Place_Of(np) + rec_data_length);
    if (!one_look.allows() || (Lies_On_Two_Pages(np) && !Mark_Deleted(np))) {
        return 0;
    }
    Set_Position(Place_Of(np) + MESSAGE_HEADER_ALLOCATED_SIZE);
    const int length = Write_Data(Room_In_Slot());
    return length != 0 && Save_Header(np) != 0 ? length : 0;
}

bool CRecord_Data::Lies_On_Two_Pages(unsigned np) const
{
    return Place_Of(np) / SMALLEST_PAGE != (Place_Of(np) + rec_data_length - 1) / SMALLEST_PAGE;
}

bool CRecord_Data::Mark_Deleted(unsigned np)
{
    header->deleted = 1;
    const bool written = Save_Header(np) != 0;
    header->deleted = 0;
    return written;
}

int CRecord_Data::Refuse_Too_Long(int length)
{
    if (new_version_detected == NEW_VERSION_DETECTED) {
        new_version_detected = NEW_VERSION_UPDATE_FORCED;
    } else {
        PERSIS_Report_Error(3, "Some data could not be written to the file, size %u file code %u\n",
                            static_cast<unsigned>(length), File_Code());
    }
    return MUST_SAVE_ALL_FILE_AGAIN;
}

// ---- Loading ---------------------------------------------------------------------------------------------------

int CRecord_Data::Look_At_Record(unsigned np, void* rec_data, void* rec_extra)
{
    new_version_detected = NO_NEW_VERSION;
    header->Set_Position(Place_Of(np));
    if (header->Read_Data() == 0) {
        header->deleted = 0;
        return 0;
    }
    rec_data_ptr = static_cast<char*>(rec_data);
    rec_extra_ptr = static_cast<char*>(rec_extra);
    Set_Position(Place_Of(np) + MESSAGE_HEADER_ALLOCATED_SIZE);
    return Read_Data();
}

int CRecord_Data::Load_Record(unsigned np, void* rec_data, void* rec_extra)
{
    const int result = Look_At_Record(np, rec_data, rec_extra);
    if (rec_size_defined == 0) {
        return result;
    }
    if (header->deleted != 0) {
        Review_Limit(np, PERSIS_LIMIT_ERASED);
    }
    if (result == 0) {
        return 0;
    }
    Review_Limit(np, PERSIS_LIMIT_SEEN);
    return new_version_detected == NEW_VERSION_DETECTED && header->deleted == 0 ? Convert(np) : 1;
}

// What was read is good even if it can't be written: the next load tries again. A record that has outgrown its slot
// stays as it is: with the head of the longer one no load would find it any more, should the process end before the
// file is made anew.
int CRecord_Data::Convert(unsigned np)
{
    Take_Values(rec_data_ptr, rec_extra_ptr);
    if (Length_Of_Block() > Room_In_Slot()) {
        new_version_detected = NEW_VERSION_UPDATE_FORCED;
        return MUST_SAVE_ALL_FILE_AGAIN;
    }
    Save_Record(np, rec_data_ptr, rec_extra_ptr);
    return 1;
}

int CRecord_Data::Unserialize()
{
    m_version_in_file = version;
    m_turned = Get_Big_End() != 0;
    m_has_buffer = false;
    m_has_end_signal = false;
    return CPers_d::Unserialize() != 0 && m_has_buffer ? 1 : 0;
}

int CRecord_Data::Unserialize_Content(int code)
{
    switch (code) {
    case PERSIS_RECORDDATA_VERSION:
        return Take_Version();
    case PERSIS_RECORDDATA_COMPLETE_BUFFER:
        return Take_Buffer();
    case PERSIS_RECORDDATA_END_OF_RECORD:
        return Take_End_Signal();
    default:
        return 0;
    }
}

int CRecord_Data::Take_Version()
{
    const std::uint32_t stored = Get_UInt(0);
    m_turned = is_of_other_order(stored);
    m_version_in_file = static_cast<int>(m_turned ? __builtin_bswap32(stored) : stored);
    const bool order_is_news = m_turned && Get_Big_End() == 0; // nobody else writes such a record back
    if (m_version_in_file != version || order_is_news) {
        new_version_detected = NEW_VERSION_DETECTED;
    }
    return 1;
}

unsigned CRecord_Data::Room_For_Value() const
{
    return rec_size_defined != 0 ? rec_size_defined : PERSIS_BUFFER_MAX_SIZE;
}

// The length is of the file, the room is the caller's.
int CRecord_Data::Take_Buffer()
{
    const unsigned room = Room_For_Value();
    const unsigned wanted = header->record_length != 0 ? header->record_length : Stored_Size();
    const unsigned count = std::min(room, wanted);
    m_was_cut = count < std::min(room, Stored_Size());
    std::memset(rec_data_ptr + count, 0, room - count);
    m_has_buffer = Get_Data(rec_data_ptr, std::max(count, 1U), 0) != 0; // a size of 0 would ask for all there is
    return 2;
}

int CRecord_Data::Take_End_Signal()
{
    std::array<char, END_OF_RECORD_SIGNAL.size()> signal{};
    Get_Data(signal.data(), signal.size(), 0);
    m_has_end_signal = signal == END_OF_RECORD_SIGNAL;
    return m_has_end_signal ? 1 : -1;
}

void CRecord_Data::Print_Data()
{
    std::printf("  Version              : %d\n", m_version_in_file);
    if (!m_has_end_signal) {
        std::printf("Unreliable record content!! not end of record signal found\n");
    }
}

// ---- Records with more -----------------------------------------------------------------------------------------

int CRecord_Crc32_Data::Unserialize()
{
    if (rec_extra_ptr != nullptr) {
        std::memset(rec_extra_ptr, 0, PERSIS_IDENTITY_SIZE);
    }
    return CRecord_Data::Unserialize();
}

int CRecord_Crc32_Data::Unserialize_Content(int code)
{
    if (code != PERSIS_RECORDDATA_CRC32) {
        return CRecord_Data::Unserialize_Content(code);
    }
    if (rec_extra_ptr == nullptr) {
        return 0;
    }
    Get_Data(rec_extra_ptr, PERSIS_IDENTITY_SIZE, 0);
    if (m_turned) {
        constexpr unsigned half = PERSIS_IDENTITY_SIZE / 2;
        std::reverse(rec_extra_ptr, rec_extra_ptr + half);
        std::reverse(rec_extra_ptr + half, rec_extra_ptr + PERSIS_IDENTITY_SIZE);
    }
    return 1;
}

void CRecord_Crc32_Data::Serialize_Content()
{
    Set_Data(PERSIS_RECORDDATA_CRC32, sv_rec_extra_ptr, PERSIS_IDENTITY_SIZE);
}

int CRecord_Marked_Data::Unserialize_Content(int code)
{
    const int result = CRecord_Data::Unserialize_Content(code);
    if (result == 2 && m_version_in_file < PERSIS_VERSION_INDICATIVES && Room_For_Value() > marked_byte &&
        rec_data_ptr[marked_byte] != mark_that_stays) {
        rec_data_ptr[marked_byte] = default_mark;
    }
    return result;
}
