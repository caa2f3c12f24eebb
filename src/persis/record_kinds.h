// The class of records of each kind of file, and the kinds' codes.
#pragma once

#include "persis/record_data.h"

#include <memory>

// NOLINTBEGIN(bugprone-macro-parentheses): the names of types
#define KIND(code, name, record, base, current)                                                                        \
    inline constexpr unsigned name = code;                                                                             \
    class record : public base                                                                                         \
    {                                                                                                                  \
    public:                                                                                                            \
        explicit record(CFile_d* cf) : base(cf) { Set_Current_Version(current); }                                      \
    };
#include "persis/record_kinds.def"
#undef KIND
// NOLINTEND(bugprone-macro-parentheses)

namespace qapi {

// The records of a file of this code; null if there is no such kind.
std::unique_ptr<CRecord_Data> Make_Persis_Record(unsigned file_code, CFile_d& file);

} // namespace qapi
