#include "session/chat.h"

#include "session/header.h"

#include <algorithm>
#include <charconv>

namespace qm {

namespace {

// Where the fields of a chat stand.
constexpr std::size_t origin_at = 148;
constexpr std::size_t date_at = 149;
constexpr std::size_t hour_at = 157;
constexpr std::size_t kind_at = 147;
constexpr std::size_t sender_at = 167;
constexpr std::size_t text_at = 171;
constexpr std::size_t text_width = 2048;
constexpr std::size_t count_at = 2219;
constexpr std::size_t receiver_kind_at = 2222;
constexpr std::size_t receivers_at = 2223;
constexpr std::size_t receiver_width = 8;
constexpr std::size_t most_receivers = 200;

constexpr int chat_number = 575;
constexpr char to_users = 'U';
constexpr char to_branches = 'S';

std::size_t receiver_count(std::string_view message)
{
    const std::string digits = Text_At(message, count_at, 3);
    const std::size_t first = std::min(digits.find_first_not_of(' '), digits.size());
    std::size_t count = 0;
    std::from_chars(digits.data() + first, digits.data() + digits.size(), count);
    return std::min(count, most_receivers);
}

std::vector<std::string> receivers(std::string_view message)
{
    std::vector<std::string> codes;
    for (std::size_t i = 0; i < receiver_count(message); ++i) {
        std::string code = Text_At(message, receivers_at + i * receiver_width, receiver_width);
        if (!code.empty()) {
            codes.push_back(std::move(code));
        }
    }
    return codes;
}

} // namespace

void Stamp_Chat_Sender(std::string& message, const Party& sender)
{
    message.resize(std::max(message.size(), text_at));
    std::string user = sender.user;
    user.resize(text_at - sender_at);
    message.replace(sender_at, user.size(), user);
}

Audience Audience_Of_Chat(std::string_view message, const Party& sender)
{
    const std::string kind = Text_At(message, receiver_kind_at, 1);
    std::vector<std::string> codes = receivers(message);
    if (!codes.empty() && kind.starts_with(to_users)) {
        return {.users = std::move(codes)};
    }
    if (!codes.empty() && kind.starts_with(to_branches)) {
        return {.branches = std::move(codes)};
    }
    return {.everyone = true, .excluded = {sender.machine}};
}

std::string Make_Chat(const Party& sender, const std::string& receiver, std::string_view text, std::string_view date,
                      std::string_view hour)
{
    std::string message = Empty_Message(chat_number, receiver.empty() ? receivers_at : receivers_at + receiver_width);
    Stamp_Header(message, sender, {}, date, hour);
    const auto put = [&](std::size_t at, std::string_view value, std::size_t width) {
        value.copy(message.data() + at, width);
    };
    put(83, sender.user + std::string(hour), 64);
    put(kind_at, "T", 1);
    put(origin_at, "U", 1);
    put(date_at, date, 8);
    put(hour_at, hour, 6);
    put(sender_at, sender.user, 4);
    put(text_at, text, text_width);
    put(count_at, receiver.empty() ? "  0" : "  1", 3);
    if (!receiver.empty()) {
        put(receiver_kind_at, std::string_view(&to_users, 1), 1);
        put(receivers_at, receiver, receiver_width);
    }
    return message;
}

std::string Text_Of_Chat(std::string_view message)
{
    return Text_At(message, sender_at, 4) + ": " + Text_At(message, text_at, text_width);
}

} // namespace qm
