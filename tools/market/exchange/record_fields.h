// Fields of the library's records as an exchange reads and writes them: strictly, and without a complaint to the
// library's reports whatever a client wrote. Values go to and from the bytes of the field; nothing here leans on values
// that a record keeps, so a record that is written this way needs no Init before it is written again.
#pragma once

#include "exchange/wide_sum.h"
#include "message/message.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qm::field {

// The field's bytes as they stand, good as long as the record's buffer.
std::string_view Bytes_Of(CMessage& record, int field);

// Without the blanks and zeros behind it.
std::string_view Text_Of(CMessage& record, int field);

// A number above or equal to 0 in units of 1 / 10^decimals. Blanks and zeros may stand around it. None for an empty
// field, a negative number, decimals beyond these that aren't 0, 10^18 units and more, and what is no number.
std::optional<std::int64_t> Number_Of(CMessage& record, int field, int decimals = 0);

// Cut, or padded with zeros, to the field.
void Put_Text(CMessage& record, int field, std::string_view text);

// The same if the field is empty.
void Put_Missing_Text(CMessage& record, int field, std::string_view text);

// Digits, at the right behind blanks. `value` (0 or above) is in units of 1 / 10^decimals, of which the field has at
// least as many decimals. A number that the field can't hold becomes the greatest one that it can.
void Put_Number(CMessage& record, int field, std::int64_t value, int decimals = 0);
void Put_Number(CMessage& record, int field, const WideSum& value, int decimals);

// Of 16 bits.
void Put_Short(CMessage& record, int field, std::uint32_t value);

} // namespace qm::field
