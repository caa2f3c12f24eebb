#include "field/field_classes.h"

#include <cstdio>

std::unique_ptr<CField> qapi::Create_Field(CMessage* parent, const FieldPlace& place)
{
    const FIELD_EQUIVALENCE& row = glb_field_equivalence[static_cast<std::size_t>(place.field_id)];
    switch (row.field_type) {
    case FLD_SHORT:
        return std::make_unique<CShort>(parent, place);
    case FLD_UNSIGNED_SHORT:
        return std::make_unique<CUnsignedShort>(parent, place);
    case FLD_UNSIGNED_INT:
        return std::make_unique<CUnsignedInt>(parent, place);
    case FLD_NUM_ASCII_INT:
        return std::make_unique<CNumAsciiInt>(parent, place);
    case FLD_NUM_ASCII_DOUBLE:
        return std::make_unique<CNumAsciiDouble>(parent, place);
    case FLD_ALPHA:
        return std::make_unique<CAlpha>(parent, place);
    case FLD_INT:
        return std::make_unique<CInteger>(parent, place);
    case FLD_DATE:
        return std::make_unique<CDate>(parent, place);
    default:
        std::printf("Error: bad field type, id = %d, line =%d \n", place.field_id, row.file_line);
        return nullptr;
    }
}
