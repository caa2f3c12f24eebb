#include "config_file.h"

#include "errors.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

char* ConfigTokens::next()
{
    return strtok_r(std::exchange(m_start, nullptr), QAPI_delimiters, &m_rest);
}

ConfigFile::ConfigFile(const char* path) : m_file(std::fopen(path, "re")) {}

bool ConfigFile::next_line()
{
    if (std::fgets(m_line.data(), QAPI_CONFIG_LINE_LEN, m_file.get()) == nullptr) {
        return false;
    }
    std::memcpy(m_as_read.data(), m_line.data(), std::strlen(m_line.data()) + 1);
    m_tokens = ConfigTokens(m_line.data());
    ++m_line_number;
    return true;
}

int qapi::config_number(const char* text)
{
    using Range = std::numeric_limits<std::int32_t>;
    return static_cast<int>(std::clamp<long long>(std::strtoll(text, nullptr, 10), Range::min(), Range::max()));
}

std::string qapi::config_error(const char* format, ...)
{
    std::array<char, QAPI_ERROR_MESSAGE_LEN> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}
