// How both configuration files are read: line by line, each line cut into tokens. For the sources of the configuration
// alone.
//
// One line buffer serves a whole file. Codes are taken from it as 4 or 8 bytes, however short their token is, so what
// stands behind a short code (its terminating zero, then the rest of the line or of an earlier one) belongs to the
// value; the buffer starts as zeros and has spare zeros at its end, which no line reaches.
#pragma once

#include "config.h"

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace qapi {

// Cuts a text into tokens, in place, at QAPI_delimiters.
class ConfigTokens
{
public:
    explicit ConfigTokens(char* text) : m_start(text) {}

    // The next token, ended by a zero in the text; null when there is none.
    char* next();

private:
    char* m_start; // null once cutting has begun
    char* m_rest = nullptr;
};

class ConfigFile
{
public:
    explicit ConfigFile(const char* path);

    [[nodiscard]] bool is_open() const { return m_file != nullptr; }

    // Reads up to 1023 characters, the newline included; a longer line goes on as the next one. False when there is
    // nothing more, because of the end of the file or of an error.
    bool next_line();
    [[nodiscard]] bool at_end() const { return std::feof(m_file.get()) != 0; }

    [[nodiscard]] int line_number() const { return m_line_number; }
    [[nodiscard]] const char* line() const { return m_as_read.data(); } // as read, newline and all
    char* next_token() { return m_tokens.next(); }

    // The line as read, from a token of it on.
    [[nodiscard]] const char* line_from(const char* token) const { return line() + (token - m_line.data()); }

private:
    static constexpr std::size_t widest_code = 8; // bytes taken from a token whatever its length

    struct Close
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, Close> m_file;
    std::array<char, QAPI_CONFIG_LINE_LEN + widest_code> m_line{};
    std::array<char, QAPI_CONFIG_LINE_LEN> m_as_read{};
    ConfigTokens m_tokens{m_line.data()};
    int m_line_number = 0;
};

// Leading digits as atoi takes them; what an int of 32 bits can't hold becomes the nearest it can.
int config_number(const char* text);

// An error text, cut at QAPI_ERROR_MESSAGE_LEN.
std::string config_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Applies a directive to its value and, where it takes more, to the tokens behind it. An unknown keyword is ignored.
// False if the line doesn't have the form of its directive.
bool Apply_Directive(const char* keyword, const char* value, ConfigFile& line);

// Whether a number can stand in the tables by code and by type.
constexpr bool is_table_number(int number)
{
    return number >= 0 && number < MAX_TABLE_CODES;
}

// What transaction_feed and tarnel_feed subscribe.
void Subscribe_Transaction_Feed();
void Subscribe_Tarnel_Feed();

} // namespace qapi

using qapi::Apply_Directive;
using qapi::config_error;
using qapi::config_number;
using qapi::ConfigFile;
using qapi::ConfigTokens;
using qapi::is_table_number;
using qapi::Subscribe_Tarnel_Feed;
using qapi::Subscribe_Transaction_Feed;
