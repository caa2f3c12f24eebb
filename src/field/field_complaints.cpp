// What a field says when its type can't do what it was asked to: the words of the operation, and of what stood at its
// right hand. A class that can overrides the operation.
#include "field/field.h"
#include "qcapi/support.h"

#include <typeinfo>

int CField::Complain(const char* class_name, const char* operation, const char* right_hand) const
{
    COMMON_Put_Syslog_Message(1, "Error!: %s of type %s couldn't be %s %s", m_field_name != nullptr ? m_field_name : "",
                              class_name, operation, right_hand);
    return 0;
}

int CField::Complain(const char* operation, const char* right_hand) const
{
    return Complain(Class_Name(), operation, right_hand);
}

// ---- Comparisons -----------------------------------------------------------------------------------------------

bool CField::Is_Of_Same_Class(const CField& other) const
{
    return typeid(*this) == typeid(other);
}

CField::Order CField::Compare_Field(CField& other)
{
    return Is_Of_Same_Class(other) ? Order(Compare_Same_Class(other)) : Order();
}

bool CField::Is_Equal(Order order, const char* right_hand) const
{
    return order ? *order == 0 : Complain("==", right_hand) != 0;
}

bool CField::Is_Unequal(Order order, const char* right_hand) const
{
    return order ? *order != 0 : Complain("!=", right_hand) != 0;
}

bool CField::Is_Less(Order order, const char* right_hand) const
{
    return order ? *order < 0 : Complain("<", right_hand) != 0;
}

bool CField::Is_Greater(Order order, const char* right_hand) const
{
    return order ? *order > 0 : Complain(">", right_hand) != 0;
}

// ---- Texts -----------------------------------------------------------------------------------------------------
// These name no class: the words are those that hosts know.

char* CField::operator>>(void* /*dest*/)
{
    Complain("Dest pointer", ">>", "CField");
    return nullptr;
}

char* CField::GetStr(void* /*dest*/, int /*start*/, int /*size*/)
{
    Complain("Dest pointer", "GetStrCopy", "CField");
    return nullptr;
}

int CField::SetStr(const char* /*text*/)
{
    return Complain("Dest pointer", "GetStrCopy", "CField");
}

int CField::operator+=(int /*days*/)
{
    return Complain("Dest pointer", "+=", "int");
}

// ---- Conversions -----------------------------------------------------------------------------------------------

CField::operator int()
{
    return Complain("cast", "int");
}

CField::operator unsigned int()
{
    Complain("cast", "unsigned int");
    return 0;
}

CField::operator CALC_MNUM*()
{
    Complain("cast", "CALC_MNUM *");
    return nullptr;
}

// ---- Sums ------------------------------------------------------------------------------------------------------

int CField::operator+(CField& /*other*/)
{
    return Complain("+", "CField &");
}

int CField::operator-(CField& /*other*/)
{
    return Complain("-", "CField &");
}

CALC_MNUM* CField::operator+(CALC_MNUM* /*value*/)
{
    Complain("+", "CALC_MNUM *");
    return nullptr;
}

CALC_MNUM* CField::operator-(CALC_MNUM* /*value*/)
{
    Complain("-", "CALC_MNUM *");
    return nullptr;
}

// ---- Assignments -----------------------------------------------------------------------------------------------

int CField::operator=(CField& /*other*/) // NOLINT(bugprone-unhandled-self-assignment): it assigns nothing
{
    return Complain("=", "CField &");
}

int CField::operator=(int /*value*/)
{
    return Complain("=", "int");
}

int CField::operator=(const char* /*text*/)
{
    return Complain("=", "char *");
}

int CField::operator=(short /*value*/)
{
    return Complain("=", "short");
}

int CField::operator=(unsigned short /*value*/)
{
    return Complain("=", "unsigned short");
}

int CField::operator=(unsigned int /*value*/)
{
    return Complain("=", "unsigned int");
}

int CField::operator=(CALC_MNUM* /*value*/)
{
    return Complain("=", "CALC_MNUM *");
}
