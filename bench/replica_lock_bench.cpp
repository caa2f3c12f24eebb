// What the replicas' lock costs whoever follows a field path: alone, beside a bare mutex of the system, and around a
// path over one reference.
#include "tblproc/replica_lock.h"

#include "qcapi/config.h"
#include "qcapi/prefix.h"
#include "ratio.h"
#include "records/orders.h"
#include "tblproc/global_tables.h"
#include "tblproc/tblproc.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <malloc.h>
#include <pthread.h>

namespace {

void lock_pthread_mutex()
{
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&mutex);
    benchmark::ClobberMemory();
    pthread_mutex_unlock(&mutex);
}

void lock_replicas()
{
    const ReplicaLock lock;
    benchmark::ClobberMemory();
}

struct World
{
    World()
    {
        PREFIX_Register();
        Glb_subscribed_code_table_id[CITIES_CODE_ID] = 1;
        CGTCity city;
        city[CODIGO_3C_CITY].Set_Text("BOG");
        city[NOMBRE_CITY_1].Set_Text("Bogota");
        const ReplicaLock lock;
        Glb_City_Table->Insert_Local_Record(&city, nullptr);
        order[CIUDAD].Set_Text("BOG");
    }

    void read_path()
    {
        std::array<char, 256> copy;
        const ReplicaLock lock;
        benchmark::DoNotOptimize(order.Find_Field("ciudad.nombre")->GetStr(copy.data(), 0, copy.size()));
    }

    void read_path_without_lock()
    {
        std::array<char, 256> copy;
        benchmark::DoNotOptimize(order.Find_Field("ciudad.nombre")->GetStr(copy.data(), 0, copy.size()));
    }

    CMsgOrder order;
};

World& world()
{
    static World made;
    return made;
}

// ---- All tables ------------------------------------------------------------------------------------------------

struct Cost
{
    double milliseconds;
    double kilobytes;
};

// Before anything else used a table.
const Cost cost_of_all_tables = [] {
    const std::size_t before = mallinfo2().uordblks;
    const auto start = std::chrono::steady_clock::now();
    for (const GlobalTable& table : All_Global_Tables()) {
        table.get();
    }
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    return Cost{time.count(), static_cast<double>(mallinfo2().uordblks - before) / 1024};
}();

void Lock(benchmark::State& state)
{
    for (auto _ : state) {
        lock_replicas();
    }
}
BENCHMARK(Lock);

void PathOverAReference(benchmark::State& state)
{
    for (auto _ : state) {
        world().read_path();
    }
}
BENCHMARK(PathOverAReference);

void PathOverAReferenceWithoutTheLock(benchmark::State& state)
{
    for (auto _ : state) {
        world().read_path_without_lock();
    }
}
BENCHMARK(PathOverAReferenceWithoutTheLock);

} // namespace

int main(int argc, char** argv)
{
    std::printf("all %zu tables: %.2f ms, %.0f kB\n", All_Global_Tables().size(), cost_of_all_tables.milliseconds,
                cost_of_all_tables.kilobytes);
    print_ratio({.what = "the replicas' lock: pthread_mutex_t / ours", .bound = "under 50 ns", .calls = 10000},
                lock_pthread_mutex, lock_replicas);
    print_ratio(
        {.what = "path over a reference: without lock / with it", .bound = "no bound", .calls = 1000},
        [] { world().read_path_without_lock(); }, [] { world().read_path(); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
