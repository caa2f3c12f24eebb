// A record of any class with any bytes can be walked to its end, as a host does it, and every field read in every way,
// without a read outside the buffer; and each path that the walk gave leads back to its field. Codes lead to records
// with the same bytes.
//
// Input: the class, then the record's bytes.
#include "records/all_records.h"
#include "records/reference.h"
#include "require.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr int most_receivers = 200;

// The record a code leads to, one for each reference function; filled anew for each input.
struct World
{
    CGTCity city;
    CGTMarkets market;
    CGTUser user;
    CGTBranches branch;

    void Fill(std::span<const char> bytes)
    {
        for (CMessage* each : {static_cast<CMessage*>(&city), static_cast<CMessage*>(&market),
                               static_cast<CMessage*>(&user), static_cast<CMessage*>(&branch)}) {
            each->Update_Message_Info(bytes);
        }
    }
};

World& world()
{
    static World records;
    return records;
}

template <auto Member> void* leads_to(CField* /*field*/, int /*index*/, int* status, int /*flag*/)
{
    if (status != nullptr) {
        *status = 0;
    }
    return &(world().*Member);
}

void* receiver(CField* field, int index, int* status, int /*flag*/)
{
    field->m_index = 0;
    if (index < 1 || index > most_receivers || index > static_cast<int>((*field->m_parent)[NUMERO_RECEPTORES_CHAT])) {
        return nullptr;
    }
    field->m_index = index;
    field->m_len = 8;
    field->m_elem_len = 8;
    if (status != nullptr) {
        *status = 2;
    }
    return &world().city;
}

volatile long all_bytes = 0; // what is read goes there, or it wouldn't be read

void read_every_way(CField& field)
{
    static std::vector<char> text(5000);
    static_cast<void>(static_cast<int>(field));
    static_cast<void>(static_cast<unsigned>(field));
    static_cast<void>(static_cast<CALC_MNUM*>(field));
    static_cast<void>(static_cast<char>(field));
    field >> text.data();
    field.GetStr(text.data(), 1, 100);
    const char* bytes = field.Get_Ptr();
    all_bytes = std::accumulate(bytes, bytes + field.m_len, 0L);
    static_cast<void>(field.IsEmptyField());
    static_cast<void>(field.IsOnlyChar(' ', 0));
    static_cast<void>(field.Get_Bits(3, 2));
    static_cast<void>(field == "20261121");
    static_cast<void>(field == 1);
    static_cast<void>(field < field);
}

void walk(CMessage& record)
{
    std::array<char, MAX_FIELD_PATH + 1> path{};
    for (int steps = 0;; ++steps) {
        require(steps < 20000);
        char* cursor = path.data();
        CField* field = record.Next_Field(&cursor);
        if (field == nullptr) {
            return;
        }
        require(cursor >= path.data() && cursor < path.data() + path.size());
        if (field->m_index == 0) {
            require(cursor + std::strlen(field->m_field_name) < path.data() + path.size());
            std::strcpy(cursor, field->m_field_name);
        }
        read_every_way(*field);
        field->m_index = 0;
        require(record.Find_Field(path.data()) == field);
    }
}

const bool registered = [] {
    CField::Set_Reference_Call(REF_CITY, leads_to<&World::city>);
    CField::Set_Reference_Call(REF_MARKET, leads_to<&World::market>);
    CField::Set_Reference_Call(REF_USER, leads_to<&World::user>);
    CField::Set_Reference_Call(REF_BRANCH, leads_to<&World::branch>);
    CField::Set_Reference_Call(REF_RECEIVER, receiver);
    return true;
}();

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const auto classes = All_Record_Classes();
    const std::span bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto record = classes[data[0] % classes.size()].make(nullptr);
    const std::size_t there = std::min(bytes.size(), static_cast<std::size_t>(record->Buffer_Size()));
    if (there != 0) {
        std::memcpy(record->m_data, bytes.data(), there);
    }
    record->Init();
    world().Fill(bytes);
    walk(*record);
    for (const FieldPlace& place : record->Layout_In_Force().Fields()) {
        read_every_way((*record)[place.field_id]);
    }
    return 0;
}
