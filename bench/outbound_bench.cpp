// What it costs to send an order of 1504 bytes, against the least that it takes: a copy of the record, and the ring.
#include "arrm.h"
#include "global.h"
#include "outbound/composed.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "ratio.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <string>

namespace {

constexpr int order_len = 1504;
constexpr int envelope_len = 16 + 10 + 3; // with one data manager

class Host : public CQcApi
{
public:
    Host() = default;
    ~Host() override { initialize_flag = QAPI_NOT_INITIALIZED; } // nothing was started
};

void take_one(std::array<char, MESSAGE_TRANS_RECORD_SIZE>& record)
{
    int len = 0;
    Glb_Send_Mss->Withdraw(record.data(), &len, nullptr, nullptr);
    benchmark::DoNotOptimize(record);
}

void SendOrder(benchmark::State& state)
{
    Host host;
    std::memcpy(glb_dss[0], "DSAB", 4);
    glb_dss_counter = 1;
    COMMON_Init();
    Choose_Server(0);
    Add_Data_Managers("DM01", 1);
    Open_Session(1, nullptr);
    CQcApi::initialize_flag = QAPI_INITIALIZED;
    std::string name = "Orden_Transaccion";
    host.InitMessage(name.data());
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> framed{};
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
    const Comparison comparison{.what = "an order of 1504 bytes, no log: copy and ring / SendMessage and ring",
                                .bound = "for information",
                                .calls = 2000};
    for (auto unused : state) {
        static_cast<void>(unused);
        print_ratio(
            comparison,
            [&] {
                std::memcpy(framed.data(), Glb_send_order_msg->m_data, order_len);
                Glb_Send_Mss->Collect(0, framed.data(), order_len + envelope_len, nullptr, nullptr);
                take_one(record);
            },
            [&] {
                host.SendMessage(name.data());
                take_one(record);
            });
    }
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
}
BENCHMARK(SendOrder)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
