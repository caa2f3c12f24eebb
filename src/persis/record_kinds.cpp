#include "persis/record_kinds.h"

std::unique_ptr<CRecord_Data> qapi::Make_Persis_Record(unsigned file_code, CFile_d& file)
{
    switch (file_code) {
#define KIND(code, name, record, base, current)                                                                        \
    case code:                                                                                                         \
        return std::make_unique<record>(&file);
#include "persis/record_kinds.def"
#undef KIND
    default:
        return nullptr;
    }
}
