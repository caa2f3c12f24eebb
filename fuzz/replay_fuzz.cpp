// Any bytes as a running log that stands in for the connection: the inbound ring gets openings, closings and packets in
// their order, nothing else, each as the connection would bring it. The reader has no thread here, so the first wait
// for it ends the replay.
//
// Input: the bytes of the log.
#include "arrm.h"
#include "global.h"
#include "memory_file.h"
#include "replay/replay.h"
#include "require.h"
#include "system_seam.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace {

constexpr std::size_t longest_log = 1 << 16;

void stop_at_the_first_wait()
{
    static const SystemCalls calls = [] {
        SystemCalls changed = Real_System();
        changed.wait = [](std::condition_variable&, std::unique_lock<std::mutex>& lock, timeval) {
            lock.unlock();
            Stop_Replay();
            lock.lock();
            return false;
        };
        return changed;
    }();
    Set_System(&calls);
}

// How many records are there; each is looked at.
unsigned empty_ring()
{
    static std::array<char, MESSAGE_TRANS_RECORD_SIZE> data{};
    std::array<char, CMSS_EXTRA_LEN> extra{};
    int len = 0;
    const char* source = nullptr;
    unsigned openings = 0;
    unsigned records = 0;
    while (true) {
        const int status = Glb_Recv_Mss->Withdraw(data.data(), &len, &source, extra.data());
        if (status == -1) {
            return records;
        }
        ++records;
        require(source == Glb_DS_Id || source == Glb_GT_Id);
        if (status == TCP_STATUS_PACKET_RECEIVED) {
            require(len >= 0 && len <= Glb_Recv_Mss->Get_Rec_Len());
            extra[6] = 0;
        } else {
            require(status == TCP_STATUS_OPEN_CONNECTION || status == TCP_STATUS_CLOSED_CONNECTION);
            require(len == 1 && data[0] == source[0]);
            if (status == TCP_STATUS_OPEN_CONNECTION) {
                require(Load_News(extra.data()).connection == ++openings);
                continue;
            }
        }
        require(std::all_of(extra.begin(), extra.end(), [](char c) { return c == '\0'; }));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    stop_at_the_first_wait();
    const MemoryFile file({reinterpret_cast<const char*>(data), std::min(size, longest_log)});
    std::string path = file.path();
    Prepare_Replay();
    require(LOG_Set_Source_Messages(path.data(), nullptr, nullptr) == 1);
    LOG_Do_Testing(nullptr);
    require(empty_ring() * 33 <= size);
    return 0;
}
