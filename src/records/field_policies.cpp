#include "records/field_policies.h"

#include "message/message.h"

#include <array>

namespace {

constexpr char employee = 'E';

// As long as the fields that may stand for it. Fields see to it that it stays empty.
std::array<char, 4> empty_text{};

char* own_bytes_if(CField* field, bool is_its_own)
{
    return is_its_own ? field->m_parent->m_data + field->m_displacement : empty_text.data();
}

bool is_employee(CField* field, int flag_id)
{
    return static_cast<char>((*field->m_parent)[flag_id]) == employee;
}

} // namespace

char* usuario_data(CField* field)
{
    return own_bytes_if(field, !is_employee(field, BANDERA_SECTOR_FINANCIERO));
}

char* empleado_data(CField* field)
{
    return own_bytes_if(field, is_employee(field, BANDERA_SECTOR_FINANCIERO));
}

char* usuario_data_1(CField* field)
{
    return own_bytes_if(field, !is_employee(field, BANDERA_SECTOR_FINANCIERO_1));
}

char* empleado_data_1(CField* field)
{
    return own_bytes_if(field, is_employee(field, BANDERA_SECTOR_FINANCIERO_1));
}
