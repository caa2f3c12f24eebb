// CABEZA, the envelope inside a message, as this market writes and reads it.
#pragma once

#include "audience.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace qm {

inline constexpr std::size_t CABEZA_END = 83; // where the body of a message begins

// A message of that number and size, all zeros behind its number.
std::string Empty_Message(int number, std::size_t size);

// The number in the first three bytes; -1 if they are none.
int Number_Of(std::string_view message);

// Who sends, through which server, when: machine, user and branch, the third and fourth character of the server's code,
// date and hour. A message that is too short for it gets the bytes that it lacks.
void Stamp_Header(std::string& message, const Party& sender, std::string_view server, std::string_view date,
                  std::string_view hour);

// The same without the sender, whom the message names already.
void Stamp_Server(std::string& message, std::string_view server, std::string_view date, std::string_view hour);

// The sender alone, whatever the message says: nobody writes in the name of another.
void Stamp_Sender(std::string& message, const Party& sender);

// Machine, user and branch of a message that this market has stamped.
Party Sender_Of(std::string_view message);

// A text field: its bytes without the zeros and blanks at its end. What the message lacks is empty.
std::string Text_At(std::string_view message, std::size_t offset, std::size_t width);

} // namespace qm
