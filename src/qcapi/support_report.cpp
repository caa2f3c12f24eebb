#include "support.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr std::size_t report_text_len = 511;

struct Report
{
    int code;
    std::string text;
};

std::atomic<void (*)(const char*)> line_sink{nullptr};
std::atomic<void (*)(int, char*)> host_sink{nullptr};

// Each thread waits with its own reports: the lock that made it wait is its own, and so is the moment of release.
thread_local int hold_depth = 0;
thread_local std::vector<Report> held_reports;

void deliver(int code, const std::string& text)
{
    if (auto* write_line = line_sink.load(std::memory_order_acquire)) {
        write_line(text.c_str());
    }
    if (auto* tell_host = host_sink.load(std::memory_order_acquire)) {
        std::array<char, report_text_len + 1> copy{}; // the host may write into it
        text.copy(copy.data(), report_text_len);
        tell_host(code, copy.data());
    }
}

__attribute__((format(printf, 2, 0))) void report(int code, const char* format, va_list arguments)
{
    std::array<char, report_text_len + 1> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    if (hold_depth > 0) {
        held_reports.push_back({code, text.data()});
    } else {
        deliver(code, text.data());
    }
}

} // namespace

void COMMON_Put_Syslog_Message(int error_flag, const char* text_format, ...)
{
    va_list arguments;
    va_start(arguments, text_format);
    report(error_flag, text_format, arguments);
    va_end(arguments);
}

void LOG_Put_Err_Msg(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    report(INTERNAL_ERROR, format, arguments);
    va_end(arguments);
}

void Set_Report_Line_Sink(void (*write_line)(const char* text))
{
    line_sink.store(write_line, std::memory_order_release);
}

void Set_Report_Host_Sink(void (*tell_host)(int error_code, char* text))
{
    host_sink.store(tell_host, std::memory_order_release);
}

ReportHold::ReportHold()
{
    ++hold_depth;
}

ReportHold::~ReportHold()
{
    if (--hold_depth > 0) {
        return;
    }
    const std::vector<Report> due = std::move(held_reports);
    held_reports.clear();
    for (const Report& one : due) {
        deliver(one.code, one.text);
    }
}
