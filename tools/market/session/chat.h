// Chats (575) as the market passes them on.
#pragma once

#include "audience.h"

#include <string>
#include <string_view>

namespace qm {

// Its sender's code is the login's, whatever it says.
void Stamp_Chat_Sender(std::string& message, const Party& sender);

// Who a chat is for: the users or branches that it names; everyone who is connected if it names markets or nobody. The
// sender isn't among them unless it names itself.
Audience Audience_Of_Chat(std::string_view message, const Party& sender);

// A chat as a client would compose it, to one user ("" for everyone).
std::string Make_Chat(const Party& sender, const std::string& receiver, std::string_view text, std::string_view date,
                      std::string_view hour);

// Sender and text, for the eye.
std::string Text_Of_Chat(std::string_view message);

} // namespace qm
