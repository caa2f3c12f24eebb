// A block of a record file: a head, then items that each have a code, a size and a value.
//
//   offset  width
//        0      4  data_length    bytes of the items
//        4      4  data_items     their number
//        8     16  data_extra     0
//       24         items: code (4, above 0), size (4), value
//
// A reader takes a block only if all its items are whole, and goes past those whose code it doesn't know. A file of a
// machine of the other byte order has heads, codes and sizes like ours; its values are turned as they are read.
#pragma once

#include "calclib/calclib.h"
#include "little_endian.h"
#include "persis/file_d.h"
#include "persis/persis.h"

#include <array>
#include <cstdint>

inline constexpr int CPERS_DATA_HEAD = 24;

class CPers_d
{
public:
    explicit CPers_d(CFile_d* file) : cf_p(file) {}
    virtual ~CPers_d() = default;
    CPers_d(const CPers_d&) = delete;
    CPers_d& operator=(const CPers_d&) = delete;

    virtual void Set_Position(std::uint64_t position) { new_position = position; }
    virtual void Serialize() = 0;                  // appends the items
    virtual void Print_Data() = 0;                 // on standard output
    virtual int Unserialize();                     // 1, 0 if an item is not whole
    virtual int Unserialize_Content(int code) = 0; // takes the item; 0 and takes nothing if the code is unknown

    // Writes the block. Returns its bytes with the head; 0 if it could not be written, or has more than
    // PERSIS_BUFFER_MAX_SIZE bytes of items. If it exceeds `max_write_len` (not 0), the head alone is written.
    int Write_Data(int max_write_len);

    // What Write_Data would return, without a write.
    int Length_Of_Block();

    // Reads the block. Returns 0 if it isn't there whole.
    int Read_Data();

    void Set_Data(int code, const void* value, unsigned size);
    void Set_Char(int code, char value) { Set_Data(code, &value, sizeof value); }
    void Set_Short(int code, std::int16_t value) { Set_Number(code, value); }
    void Set_UShort(int code, std::uint16_t value) { Set_Number(code, value); }
    void Set_Int(int code, std::int32_t value) { Set_Number(code, value); }
    void Set_UInt(int code, std::uint32_t value) { Set_Number(code, value); }
    void Set_Long(int code, std::int32_t value) { Set_Number(code, value); }
    void Set_ULong(int code, std::uint32_t value) { Set_Number(code, value); }
    void Set_Bool(int code, bool value) { Set_Char(code, value ? 1 : 0); }
    void Set_Calc(int code, const CALC_MNUM* value);

    // The code of the next item, 0 behind the last one.
    int Get_Next_Code();

    // Takes the item's value: what fits `size`, and zeros for what it lacks; as much as it has if `size` is 0. Its
    // first four bytes are turned if it is to be converted and the file asks for that. Returns 0, and takes nothing, if
    // the item is not whole.
    int Get_Data(void* value, unsigned size, int Big_To_Lit_Conv);
    std::uint32_t Get_UInt(int Big_To_Lit_Conv);

    void Use_Big_End() { m_big_to_lit_conv = 1; }
    void Not_Use_Big_End() { m_big_to_lit_conv = 0; }
    [[nodiscard]] int Get_Big_End() const { return m_big_to_lit_conv; }

    int data_length = 0;
    int data_items = 0;

protected:
    [[nodiscard]] std::uint32_t Stored_Size() const; // of the item whose code was taken

    CFile_d* cf_p;

private:
    template <class Number> void Set_Number(int code, Number value)
    {
        std::array<char, sizeof(Number)> bytes{};
        store_le(bytes.data(), value);
        Set_Data(code, bytes.data(), sizeof(Number));
    }
    [[nodiscard]] std::size_t Left_To_Read() const { return m_items.size() - data_read; }
    void Skip_Item();

    std::array<char, CPERS_DATA_HEAD + PERSIS_BUFFER_MAX_SIZE> data_buff{}; // the block as it is written
    std::span<const char> m_items;                                          // those that are being read
    std::size_t data_read = 0;
    int data_count = 0; // items taken
    bool m_whole = true;
    int m_big_to_lit_conv = 0;
    std::uint64_t new_position = 0;
};
