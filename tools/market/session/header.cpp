#include "session/header.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace qm {

namespace {

constexpr std::size_t number_width = 3;
constexpr std::size_t machine_at = 3;
constexpr std::size_t server_at = 11;
constexpr std::size_t user_at = 22;
constexpr std::size_t hour_at = 26;
constexpr std::size_t date_at = 32;
constexpr std::size_t branch_at = 54;

void put(std::string& message, std::size_t offset, std::string_view text, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i) {
        message[offset + i] = i < text.size() ? text[i] : '\0';
    }
}

} // namespace

std::string Empty_Message(int number, std::size_t size)
{
    std::string message(size, '\0');
    std::array<char, number_width + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%3d", std::clamp(number, 0, 999));
    message.replace(0, number_width, digits.data());
    return message;
}

int Number_Of(std::string_view message)
{
    const std::string digits = Text_At(message, 0, number_width);
    const std::size_t first = digits.find_first_not_of(' ');
    int number = 0;
    if (first == std::string::npos) {
        return -1;
    }
    const auto [end, error] = std::from_chars(digits.data() + first, digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() && number >= 0 ? number : -1;
}

void Stamp_Server(std::string& message, std::string_view server, std::string_view date, std::string_view hour)
{
    message.resize(std::max(message.size(), CABEZA_END));
    put(message, server_at, server.size() > 2 ? server.substr(2) : std::string_view(), 2);
    put(message, hour_at, hour, 6);
    put(message, date_at, date, 8);
}

void Stamp_Header(std::string& message, const Party& sender, std::string_view server, std::string_view date,
                  std::string_view hour)
{
    message.resize(std::max(message.size(), CABEZA_END));
    std::fill(message.begin() + number_width, message.begin() + CABEZA_END, '\0');
    Stamp_Sender(message, sender);
    Stamp_Server(message, server, date, hour);
}

void Stamp_Sender(std::string& message, const Party& sender)
{
    message.resize(std::max(message.size(), CABEZA_END));
    put(message, machine_at, sender.machine, 4);
    put(message, user_at, sender.user, 4);
    put(message, branch_at, sender.branch, CABEZA_END - branch_at);
}

Party Sender_Of(std::string_view message)
{
    return {.machine = Text_At(message, machine_at, 4),
            .user = Text_At(message, user_at, 4),
            .branch = Text_At(message, branch_at, 8)};
}

std::string Text_At(std::string_view message, std::size_t offset, std::size_t width)
{
    std::string_view text = offset < message.size() ? message.substr(offset, width) : std::string_view();
    while (!text.empty() && (text.back() == '\0' || text.back() == ' ')) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

} // namespace qm
