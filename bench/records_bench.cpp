// Records beside the messages of another protocol's engine: what it costs to take an order as it arrived and to read
// five of its fields by name, two of them decimals. The peers parse a message of 380 bytes and 31 tagged fields and get
// as many: QuickFIX, and a scan for tags written for this place. Then what a record and the access to its fields cost
// alone.
#include "peers/quickfix_peer.h"
#include "ratio.h"
#include "records/all_records.h"
#include "records/orders.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::size_t allocations = 0;

} // namespace

// The compiler sees malloc behind new once both are inlined, and free behind delete it doesn't.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size)
{
    ++allocations;
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace {

// ---- Program start ---------------------------------------------------------------------------------------------

// All classes and a record of each, as a program has them before main.
double make_all_records()
{
    const auto start = Clock::now();
    for (const RecordClass& each : All_Record_Classes()) {
        benchmark::DoNotOptimize(each.make(nullptr).release()); // static records are never destroyed
    }
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

const double start_milliseconds = make_all_records(); // before anything else asked for a layout

// ---- An order, and a message of the peers ----------------------------------------------------------------------

std::string arrived_order()
{
    CMsgOrder order;
    order[MERCADO] = 71;
    order[CODIGO_POSTURA].Set_Text("AB12000123");
    order[O_D].Set_Text("D");
    order[PRECIO] = "           1.2345  ";
    order[NUMERO] = "      1500000";
    order[TEXTO_TERM].Set_Text("SPOT");
    order[USUARIO].Set_Text("USR1");
    order[FECHA].Set_Text("20261121");
    return {order.m_data, static_cast<std::size_t>(order.m_data_len)};
}

std::string tagged_message()
{
    std::string body = "35=D|49=CLIENTBANK|56=MARKET|34=1201|52=20261121-14:30:05.123|11=AB12000123|1=ACCOUNT-0001|"
                       "21=1|55=EUR/USD|54=1|60=20261121-14:30:05.120|38=1500000.00|40=2|44=1.234500|59=0|15=USD|"
                       "58=SPOT ORDER OF THE MORNING BOOK|76=BROKER1|100=XQTO|110=1000|111=1500000|120=USD|"
                       "167=FOR|207=XQTO|336=1|423=1|528=A|529=1";
    body.append(std::max<std::size_t>(352, body.size()) - body.size(), '0');
    body.push_back('|');
    for (char& c : body) {
        c = c == '|' ? '\x01' : c;
    }
    std::string message = "8=FIX.4.4\x01";
    message.append("9=").append(std::to_string(body.size())).append("\x01").append(body);
    const unsigned sum = std::accumulate(message.begin(), message.end(), 0U,
                                         [](unsigned all, char c) { return all + static_cast<unsigned char>(c); });
    std::array<char, 8> trailer{};
    std::snprintf(trailer.data(), trailer.size(), "10=%03u\x01", sum % 256);
    return message + trailer.data();
}

// The values of five tags, by one pass over the message.
double scan_for_five(std::string_view message)
{
    std::array<std::string_view, 5> found;
    constexpr std::array wanted{11, 54, 55, 44, 38};
    while (!message.empty()) {
        int tag = 0;
        std::size_t at = 0;
        for (; at < message.size() && message[at] != '='; ++at) {
            tag = tag * 10 + (message[at] - '0');
        }
        const std::size_t end = message.find('\x01', at);
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i] == tag) {
                found[i] = message.substr(at + 1, end - at - 1);
            }
        }
        message.remove_prefix(end + 1);
    }
    const std::string price(found[3]);
    const std::string quantity(found[4]);
    return std::strtod(price.c_str(), nullptr) + std::strtod(quantity.c_str(), nullptr) +
           static_cast<double>(found[0].size() + found[1].size() + found[2].size());
}

// What a host does: the code, the side and the market as text, price and amount as numbers.
int take_and_get_five(CMsgOrder& order, const std::string& arrived)
{
    order.Update_Message_Info(arrived.data());
    const char* code = order.Find_Field("codigo_postura")->Get_Ptr();
    const char* side = order.Find_Field("o_d")->Get_Ptr();
    const int market = static_cast<int>(*order.Find_Field("mercado"));
    const CALC_MNUM* price = static_cast<CALC_MNUM*>(*order.Find_Field("precio"));
    const CALC_MNUM* amount = static_cast<CALC_MNUM*>(*order.Find_Field("numero"));
    return *code + *side + market + price[4] + amount[3];
}

// ---- Figures of a record alone ---------------------------------------------------------------------------------

void print_start()
{
    std::printf("all %zu record classes and a record of each: %.2f ms (at most 20)\n", All_Record_Classes().size(),
                start_milliseconds);
}

void print_construction()
{
    const std::size_t before = allocations;
    {
        const CMsgOrder order;
        benchmark::DoNotOptimize(order.m_data);
    }
    const std::size_t made = allocations - before;
    std::vector<double> times(1001);
    for (double& time : times) {
        time = nanoseconds_of(
            [] {
                const CMsgOrder order;
                benchmark::DoNotOptimize(order.m_data);
            },
            10);
    }
    std::printf("construct a CMsgOrder: %.0f ns (at most 2000), %zu allocations (at most 4)\n", median(times), made);
}

template <class Record> void print_memory(const char* name, std::initializer_list<int> touched)
{
    constexpr int records = 100'000;
    std::vector<std::unique_ptr<Record>> kept(records);
    const std::size_t before = mallinfo2().uordblks;
    for (auto& record : kept) {
        record = std::make_unique<Record>();
        for (const int id : touched) {
            benchmark::DoNotOptimize((*record)[id].Get_Ptr());
        }
    }
    const auto used = static_cast<double>(mallinfo2().uordblks - before);
    std::printf("memory of a %s of which three fields were touched: %.0f bytes (at most 8192)\n", name, used / records);
}

void print_find_field()
{
    CMsgOrder order;
    std::vector<double> medians;
    medians.reserve(order.Layout_In_Force().Named().size());
    for (const FieldPlace* place : order.Layout_In_Force().Named()) {
        benchmark::DoNotOptimize(order.Find_Field(place->name));
        std::vector<double> times(51);
        for (double& time : times) {
            time = nanoseconds_of([&] { benchmark::DoNotOptimize(order.Find_Field(place->name)); }, 100);
        }
        medians.push_back(median(times));
    }
    const double slowest = *std::max_element(medians.begin(), medians.end());
    std::printf("Find_Field in a CMsgOrder, %zu names: %.1f ns at the median, %.1f for the slowest name (at most 60)\n",
                medians.size(), median(medians), slowest);
}

// Reads that find the contents new each time, and reads of a value that is kept.
template <class Read> void print_access(const char* what, double bound, Read read)
{
    CMsgOrder order;
    const std::string arrived = arrived_order();
    order.Update_Message_Info(arrived.data());
    std::vector<double> fresh(501);
    std::vector<double> kept(501);
    for (std::size_t round = 0; round < fresh.size(); ++round) {
        fresh[round] = nanoseconds_of([&] { read(order, true); }, 200);
        kept[round] = nanoseconds_of([&] { read(order, false); }, 200);
    }
    std::printf("%s by id: %.1f ns when the contents are new, %.1f when the value is kept (at most %.0f)\n", what,
                median(fresh), median(kept), bound);
}

void forget(CField& field)
{
    *field.m_msg_field_init_pointer = 0;
}

void print_access()
{
    print_access("CNumAsciiInt", 10, [](CMsgOrder& order, bool fresh) {
        CField& field = order[MERCADO];
        if (fresh) {
            forget(field);
        }
        benchmark::DoNotOptimize(static_cast<int>(field));
    });
    print_access("CNumAsciiDouble", 60, [](CMsgOrder& order, bool fresh) {
        CField& field = order[PRECIO];
        if (fresh) {
            forget(field);
        }
        benchmark::DoNotOptimize(static_cast<CALC_MNUM*>(field));
    });
    print_access("CAlpha", 5, [](CMsgOrder& order, bool fresh) {
        CField& field = order[CODIGO_POSTURA];
        if (fresh) {
            forget(field);
        }
        benchmark::DoNotOptimize(field.Get_Ptr());
    });
}

void print_ratios()
{
    CMsgOrder order;
    const std::string arrived = arrived_order();
    const std::string message = tagged_message();
    const auto ours = [&] { benchmark::DoNotOptimize(take_and_get_five(order, arrived)); };
    std::printf("the peers' message has %zu bytes\n", message.size());
    print_ratio(
        {.what = "five fields of an order: QuickFIX / records", .bound = "at least 4", .calls = 500},
        [&] { benchmark::DoNotOptimize(Quickfix_Parse_And_Get_Five(message)); }, ours);
    print_ratio(
        {.what = "five fields of an order: scan for tags / records", .bound = "at least 1", .calls = 500},
        [&] { benchmark::DoNotOptimize(scan_for_five(message)); }, ours);
}

void take_an_order(benchmark::State& state)
{
    CMsgOrder order;
    const std::string arrived = arrived_order();
    for ([[maybe_unused]] auto turn : state) {
        benchmark::DoNotOptimize(take_and_get_five(order, arrived));
    }
}
BENCHMARK(take_an_order);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    print_start();
    print_construction();
    print_find_field();
    print_access();
    print_ratios();
    print_memory<CMsgOrder>("CMsgOrder", {MERCADO, PRECIO, CODIGO_POSTURA});
    print_memory<CMsgTransMon>("CMsgTransMon", {MERCADO, PRECIO, CODIGO_POSTURA});
    return 0;
}
