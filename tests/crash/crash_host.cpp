// The host that the crash tests kill. It logs in as maria, finishes what it receives on three threads in an order of
// their own, and holds some of it back. What it does it tells on standard output, a line in one write each, so that
// whoever reads them behind a kill has all that was told:
//
//     ready                       OnConnection(0)
//     got TYPE NUMBER DATE        a numbered message was delivered; told before anybody can finish it
//     done TYPE NUMBER DATE       its finish has returned
//     row CODE IDX ...            a record of a table (row_text.h), and behind all of them "count CODE RECORDS", "end"
//     error CODE TEXT
//
// Commands on standard input: "finish" holds nothing back any more, "hold" does again, "tables HIGHEST_IDX" tells the
// records, "die WRITES MOMENT" kills this process at one of its writes (dying_writes.h), "quit" logs out.
#include "crash/dying_writes.h"
#include "crash/row_text.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "qcapi/session.h"
#include "reader/mailboxes.h"
#include "reader/taken_record.h"
#include "reader/views.h"
#include "records/sizes.h"
#include "tblproc/global_tables.h"
#include "tblproc/replica_lock.h"

#include <qcapi/host.h>

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

void tell(const std::string& line)
{
    const std::string text = line + '\n';
    if (write(STDOUT_FILENO, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        _exit(EXIT_FAILURE);
    }
}

// ---- Messages --------------------------------------------------------------------------------------------------

// "B 17 20260105", by the header of the record that waits; "" for a record of a table.
std::string name_of(const quentar::Message& message)
{
    constexpr std::size_t number_at = 14;
    constexpr std::size_t type_at = 18;
    constexpr std::size_t date_at = 29;
    constexpr std::size_t date_width = 8;
    const qapi::Kind kind = qapi::Kind_Of(message.kind().c_str());
    if (kind.number == MSS_TABLA_GLOBAL) {
        return {};
    }
    const std::lock_guard lock(*The_Mailbox_Mutex);
    const CMessage* record = qapi::Mailbox_Of(kind)->find(message.number());
    const char* header = record->m_data + MSG_NUMBER_FIELD_SIZE;
    return std::string(1, header[type_at]) + ' ' + std::to_string(load_le<std::uint32_t>(header + number_at)) + ' ' +
           std::string(header + date_at, date_width);
}

class Finisher
{
public:
    explicit Finisher(unsigned seed) : m_random(seed)
    {
        for (std::thread& thread : m_threads) {
            thread = std::thread([this] { work(); });
        }
    }
    ~Finisher()
    {
        {
            const std::lock_guard lock(m_lock);
            m_ends = true;
        }
        m_changed.notify_all();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    Finisher(const Finisher&) = delete;
    Finisher& operator=(const Finisher&) = delete;

    void take(quentar::Message message)
    {
        std::string name = name_of(message);
        if (!name.empty()) {
            tell("got " + name);
        }
        const std::lock_guard lock(m_lock);
        (m_holds && one_in(5) ? m_held : m_waiting).push_back({std::move(message), std::move(name)});
        if (one_in(6) && !m_held.empty()) {
            m_waiting.push_back(any_of(m_held));
        }
        m_changed.notify_all();
    }

    void hold()
    {
        const std::lock_guard lock(m_lock);
        m_holds = true;
    }

    void hold_nothing()
    {
        const std::lock_guard lock(m_lock);
        m_holds = false;
        while (!m_held.empty()) {
            m_waiting.push_back(any_of(m_held));
        }
        m_changed.notify_all();
    }

private:
    struct Received
    {
        quentar::Message message;
        std::string name;
    };

    bool one_in(unsigned times) { return m_random() % times == 0; }

    Received any_of(std::vector<Received>& all)
    {
        std::swap(all[m_random() % all.size()], all.back());
        Received chosen = std::move(all.back());
        all.pop_back();
        return chosen;
    }

    void work()
    {
        std::unique_lock lock(m_lock);
        for (;;) {
            m_changed.wait(lock, [this] { return m_ends || !m_waiting.empty(); });
            if (m_waiting.empty()) {
                return;
            }
            Received received = any_of(m_waiting);
            lock.unlock();
            if (received.message.finish() == quentar::Result::ok && !received.name.empty()) {
                tell("done " + received.name);
            }
            lock.lock();
        }
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::mt19937 m_random;
    std::vector<Received> m_waiting;
    std::vector<Received> m_held;
    bool m_holds = true;
    bool m_ends = false;
    std::array<std::thread, 3> m_threads; // last: they use the rest
};

// ---- Tables ----------------------------------------------------------------------------------------------------

template <class Table> void tell_rows(const std::string& code, Table& table, unsigned highest_idx)
{
    std::vector<std::string> lines;
    {
        const ReplicaLock lock;
        for (unsigned idx = 1; idx <= highest_idx; ++idx) {
            auto* record = table.Find_By_Idx(idx);
            if (record != nullptr) {
                CField& body = (*record)[DATA_INFO];
                const std::string_view bytes(body.Get_Ptr(), static_cast<std::size_t>(body.m_len));
                lines.push_back("row " + code + ' ' + std::to_string(idx) + ' ' +
                                crash::Row_Text(record->m_env_crc32.low, record->m_env_crc32.high, bytes));
            }
        }
        lines.push_back("count " + code + ' ' + std::to_string(table.Used_Num_Records()));
    }
    for (const std::string& line : lines) {
        tell(line);
    }
}

void tell_tables(unsigned highest_idx)
{
    tell_rows("22", *Glb_Branches_Table, highest_idx);
    tell_rows("21", *Glb_Instit_Table, highest_idx);
    tell_rows("25", *Glb_City_Table, highest_idx);
    tell_rows("26", *Glb_Country_Table, highest_idx);
    tell_rows("23", *Glb_Primaryuser_Table, highest_idx);
    tell_rows("28", *Glb_Money_Table, highest_idx);
    tell_rows("54", *Glb_InsPerm_Table, highest_idx);
    tell_rows("30", *Glb_IntSuperGroup_Table, highest_idx);
    tell_rows("31", *Glb_IntVoiceGroup_Table, highest_idx);
    tell_rows("35", *Glb_Emisores_Table, highest_idx);
    tell_rows("66", *Glb_Comitentes_Table, highest_idx);
    tell_rows("32026", *Glb_Fiduciarios_Table, highest_idx);
    tell_rows("32053", *Glb_Employee_Table, highest_idx);
    tell_rows("32141", *Glb_SubComitente_Table, highest_idx);
    tell("end");
}

void obey(const std::string& line, Finisher& finisher)
{
    std::istringstream words(line);
    std::string verb;
    unsigned number = 0;
    std::string moment;
    words >> verb >> number >> moment;
    if (verb == "finish") {
        finisher.hold_nothing();
    } else if (verb == "hold") {
        finisher.hold();
    } else if (verb == "die") {
        crash::Die_At_Write(static_cast<int>(number), moment);
    } else if (verb == "tables") {
        tell_tables(number);
    }
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2 && count != 4) {
        std::cerr << "usage: crash_host SEED [WRITE MOMENT]\nThe host that crash_driver kills; it logs in by the "
                     "qapi.cfg of the working directory.\n";
        return 2;
    }
    if (count == 4) {
        crash::Die_At_Write(std::atoi(arguments[2]), arguments[3]);
    }
    Finisher finisher(static_cast<unsigned>(std::strtoul(arguments[1], nullptr, 10)));
    quentar::Host host;
    host.on_message = [&](quentar::Message message) { finisher.take(std::move(message)); };
    host.on_connected = [] { tell("ready"); };
    host.on_error = [](int code, const std::string& text, int) {
        if (code != 0) {
            tell("error " + std::to_string(code) + ' ' + text);
        }
    };
    if (const quentar::Result result = host.login("maria", "secret"); result != quentar::Result::ok) {
        std::cerr << quentar::text_of(result) << '\n';
        return 1;
    }
    for (std::string line; std::getline(std::cin, line) && line != "quit";) {
        obey(line, finisher);
    }
    host.logout();
    return 0;
}
