#include "persis/persis.h"

#include "qcapi/support.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr int report_code = 1;

std::atomic<void (*)(char*, int)> error_function{nullptr};

} // namespace

void PERSIS_SetErrFunction(void (*function)(char* text, int level))
{
    error_function = function;
}

void PERSIS_Report_Error(int level, const char* format, ...)
{
    std::array<char, 512> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments); // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    if (auto* tell = error_function.load()) {
        tell(text.data(), level);
    } else {
        COMMON_Put_Syslog_Message(report_code, "%s", text.data());
    }
}
