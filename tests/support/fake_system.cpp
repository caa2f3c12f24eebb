#include "support/fake_system.h"

namespace {

FakeSystem* fake_in_force = nullptr;
std::mutex waits_lock;
std::vector<std::int64_t> asked_waits;

void pass(timeval span)
{
    const std::lock_guard lock(waits_lock);
    const std::int64_t microseconds = std::int64_t{span.tv_sec} * 1'000'000 + span.tv_usec;
    asked_waits.push_back(microseconds);
    fake_in_force->ticks += microseconds * FakeSystem::ticks_per_second / 1'000'000;
    fake_in_force->wall += microseconds / 1'000'000;
}

} // namespace

FakeSystem::FakeSystem(std::int64_t wall_seconds) : wall(wall_seconds), calls(Real_System())
{
    fake_in_force = this;
    asked_waits.clear();
    calls.ticks = [](int* per_second) {
        *per_second = ticks_per_second;
        return fake_in_force->ticks.load();
    };
    calls.wall_seconds = [] { return fake_in_force->wall.load(); };
    calls.sleep = [](timeval span) {
        pass(span);
        return 0;
    };
    calls.wait = [](std::condition_variable&, std::unique_lock<std::mutex>&, timeval span) {
        pass(span);
        return false;
    };
    Set_System(&calls);
}

FakeSystem::~FakeSystem()
{
    Set_System(nullptr);
    fake_in_force = nullptr;
}

void FakeSystem::advance_seconds(std::int64_t seconds)
{
    ticks += seconds * ticks_per_second;
    wall += seconds;
}

std::vector<std::int64_t> FakeSystem::waits() const
{
    const std::lock_guard lock(waits_lock);
    return asked_waits;
}
