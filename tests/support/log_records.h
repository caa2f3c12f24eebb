// Records of a running log, made by hand: every number byte by byte.
#pragma once

#include <algorithm>
#include <string>

// A record of 2026-11-20 09:30:05 or another time; lengths that fit the body unless they are changed.
struct LogRecord
{
    std::string stamp = "20261120093005";
    char priority = 0;
    char source = 0;
    std::size_t data_length = 0;
    char status = 0;
    std::string body;

    [[nodiscard]] static LogRecord Text(const std::string& text, const std::string& stamp = "20261120093005")
    {
        return {.stamp = stamp, .body = text};
    }
    // A packet under its label, as the log stores it whole.
    [[nodiscard]] static LogRecord Message(const std::string& packet, const std::string& label = "RM-Message Received",
                                           const std::string& stamp = "20261120093005")
    {
        return {.stamp = stamp,
                .priority = 60,
                .source = 'D',
                .data_length = packet.size(),
                .status = 1,
                .body = label + std::string(88 - label.size(), '\0') + packet};
    }

    // Four bytes, the lowest first.
    [[nodiscard]] static std::string Number(std::size_t value)
    {
        std::string bytes(4, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(value & 255);
            value >>= 8;
        }
        return bytes;
    }
    [[nodiscard]] static std::string Turned(std::string bytes)
    {
        std::reverse(bytes.begin(), bytes.end());
        return bytes;
    }

    [[nodiscard]] std::string bytes() const
    {
        return stamp + priority + source + Number(33 + body.size()) + Number(data_length) + Number(body.size()) +
               Number(static_cast<unsigned char>(status)) + body + "\n";
    }
    [[nodiscard]] std::string bytes_of_the_other_order() const
    {
        return stamp + priority + source + Turned(Number(33 + body.size())) + Turned(Number(data_length)) +
               Turned(Number(body.size())) + Turned(Number(static_cast<unsigned char>(status))) + body + "\n";
    }
    // As a translation leaves it.
    [[nodiscard]] std::string expanded() const
    {
        LogRecord record = *this;
        record.status = 0;
        return record.bytes();
    }
};
