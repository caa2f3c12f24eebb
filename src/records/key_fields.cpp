#include "records/key_fields.h"

namespace {

using qapi::code_of;
using qapi::number_of;

constexpr KeyFields key_fields[] = {
#define NUMBER number_of
#define CODE code_of
#define KEY(record, key, form, ...) {#record, #key, KeyForm::form, {__VA_ARGS__}},
#include "records/key_fields.def"
#undef KEY
#undef CODE
#undef NUMBER
};

} // namespace

std::span<const KeyFields> qapi::All_Key_Fields()
{
    return key_fields;
}
