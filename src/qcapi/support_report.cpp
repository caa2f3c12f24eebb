#include "support.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t report_text_len = 511;

std::atomic<void (*)(const char*)> line_sink{nullptr};
std::atomic<void (*)(int, char*)> host_sink{nullptr};

// Each thread waits with its own reports: the lock that made it wait is its own, and so is the moment of release. The
// queue is in the outermost hold on the stack and not here, where it would be destroyed before the last objects of a
// program that may still report.
constinit thread_local int hold_depth = 0;
constinit thread_local std::list<ReportHold::Report>* due_reports = nullptr;

void deliver(int code, std::string_view text)
{
    std::array<char, report_text_len + 1> copy{}; // the host may write into it
    text.copy(copy.data(), report_text_len);
    if (auto* write_line = line_sink.load(std::memory_order_acquire)) {
        write_line(copy.data());
    }
    if (auto* tell_host = host_sink.load(std::memory_order_acquire)) {
        tell_host(code, copy.data());
    }
}

// The host may report from inside its callback, and come here again: it takes what is left, in order, and leaves
// nothing to the call below it on the stack.
void deliver_due()
{
    while (!due_reports->empty()) {
        const ReportHold::Report first = std::move(due_reports->front());
        due_reports->pop_front();
        deliver(first.code, first.text);
    }
}

__attribute__((format(printf, 2, 0))) void report(int code, const char* format, va_list arguments)
{
    std::array<char, report_text_len + 1> text{};
    // The caller has started the list.
    std::vsnprintf(text.data(), text.size(), format, arguments); // NOLINT(clang-analyzer-valist.Uninitialized)
    if (due_reports == nullptr) {
        deliver(code, text.data());
        return;
    }
    due_reports->push_back({code, text.data()});
    if (hold_depth == 0) {
        deliver_due(); // raised by a callback that a release runs
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

void qapi::Set_Report_Line_Sink(void (*write_line)(const char* text))
{
    line_sink.store(write_line, std::memory_order_release);
}

void qapi::Set_Report_Host_Sink(void (*tell_host)(int error_code, char* text))
{
    host_sink.store(tell_host, std::memory_order_release);
}

ReportHold::ReportHold()
{
    if (due_reports == nullptr) {
        due_reports = &m_due;
    }
    m_due_before = due_reports->size();
    ++hold_depth;
}

void ReportHold::Drop()
{
    if (due_reports->size() > m_due_before) {
        due_reports->resize(m_due_before);
    }
}

ReportHold::~ReportHold()
{
    if (--hold_depth == 0) {
        deliver_due();
    }
    if (due_reports == &m_due) {
        due_reports = nullptr;
    }
}
