#include "support/session_fixture.h"

#include "arrm.h"
#include "qcapi/session.h"
#include "tblproc/tblproc.h"
#include "thrct.h"
#include "transport/dcon.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <sys/resource.h>
#include <thread>

// A login asks for the machine's address; here no resolver is asked, which may be slow or absent.
SessionTest::SessionTest() : m_calls(System())
{
    m_calls.local_addresses = [](std::vector<std::string>& texts) {
        texts.emplace_back("192.0.2.1");
        return true;
    };
    Set_System(&m_calls);
    scratch.write("qapi.cfg", "data_server = DSAB\nlocal_code = L001\n");
}

SessionTest::~SessionTest()
{
    Set_System(nullptr);
    Forget_Tables();
}

void SessionTest::Forget_Tables()
{
    Forget_Table_Files();
    for (const GlobalTable& table : All_Global_Tables()) {
        table.delete_all_records();
    }
}

void SessionTest::wait_for_a_waiting_callback()
{
    while (The_Master_Mutex->Waiting() < 1) {
        std::this_thread::yield();
    }
}

void SessionTest::connection_says(int status, const std::string& data, const char* source)
{
    Glb_Recv_Mss->Collect(status, data.data(), static_cast<int>(data.size()), source, nullptr);
}

void SessionTest::wait_for_worker_threads(int number)
{
    while (THRCT_Get_App_Thread_Counter() != number) {
        std::this_thread::yield();
    }
}

void SessionTest::wait_until_it_listens()
{
    while (glb_DCon_DESCR->DCON_state != DCON_ST_OPENCHK) {
        std::this_thread::yield();
    }
}

namespace {

int entries_of(const char* directory)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

} // namespace

int SessionTest::open_descriptors()
{
    return entries_of("/proc/self/fd");
}

int SessionTest::running_threads()
{
    return entries_of("/proc/self/task");
}

void SessionTest::wait_until_running_threads_fall_to(int number)
{
    constexpr int sanitizers_own = 1; // it starts with the first thread of the program
    while (running_threads() > number + sanitizers_own) {
        std::this_thread::yield();
    }
}

void let_crashes_kill()
{
    std::signal(SIGSEGV, SIG_DFL);
    constexpr rlimit none{.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_CORE, &none);
}

std::vector<std::string> text_lines_of_log(const std::string& bytes)
{
    // 32 bytes of header; offset 16: length of the record, 24: length of the body, 28: 0 for a text (little-endian).
    const auto number_at = [&](std::size_t offset) {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;) {
            value = value * 256 + static_cast<unsigned char>(bytes.at(offset + i));
        }
        return value;
    };
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < bytes.size(); at += number_at(at + 16)) {
        if (number_at(at + 28) == 0) {
            lines.push_back(bytes.substr(at + 32, number_at(at + 24)));
        }
    }
    return lines;
}
