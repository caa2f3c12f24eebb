// A clock check under a clock in the test's hand, and a far end that answers it.
#pragma once

#include "qcapi/config.h"
#include "qcapi/support.h"
#include "support/clock_check_frame.h"
#include "support/fake_system.h"
#include "support/taken_record.h"
#include "transport/clock_check.h"
#include "transport/envelope.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>

inline constexpr unsigned evening = 1'700'000'000; // Tuesday 2023-11-14, 22:13:20 UTC
inline constexpr unsigned unadjusted = 77;         // ticks that no test measures
inline constexpr long hour = 360'000;              // ticks

// A far end keeps the same local time, as ticks since the epoch; its clock is `ahead` of this one.
class ClockCheckTest : public testing::Test
{
protected:
    ClockCheckTest()
    {
        std::memcpy(Glb_Local_Machine, "ABCD", 4);
        UseZone("UTC0");
        RestartAt(evening, 1'000'000);
        COMMON_Adjust_Time(0);
        Glb_Send_Mss->Initialize();
        Glb_Recv_Mss->Initialize();
        L_next_check_time = 0;
        L_process_last_time = unadjusted;
        L_process_this_time = unadjusted;
    }
    ~ClockCheckTest() override
    {
        UseZone("UTC0");
        COMMON_Adjust_Time(0);
        Begin(); // an answer is held against the zone of the latest start, which may be another test's
        Glb_Send_Mss->Initialize();
        std::memset(Glb_Local_Machine, 0, sizeof Glb_Local_Machine);
    }

    static void UseZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    // The tick counter falls from far above to `tick`, at the moment `wall`.
    void RestartAt(std::int64_t wall, std::int64_t tick)
    {
        system.ticks = tick + 1'000'000'000;
        COMMON_GetTime();
        system.wall = wall;
        system.ticks = tick;
        COMMON_GetTime();
    }
    static CheckFrame Begin()
    {
        DCON_Format_time_message();
        return TakeSent();
    }
    static CheckFrame TakeSent() { return CheckFrame(TakeRecord(*Glb_Send_Mss).data); }
    static bool IsAnythingSent() { return Glb_Send_Mss->Is_Any_Pkt() != 0; }
    static int Arrive(CheckFrame& frame, const char* source = "D")
    {
        const char* data = frame.bytes.data();
        int len = static_cast<int>(frame.bytes.size());
        return DCON_Skip_Header(&data, &len, source);
    }
    // The far end's answer: `ticks` of local time since the epoch, at 100 ticks a second.
    static void Answer(CheckFrame& frame, std::int64_t ticks)
    {
        const auto seconds = static_cast<unsigned>(ticks / 100);
        frame.Stamp(3, seconds, static_cast<unsigned>(ticks % 100), 100);
        frame.Stamp(4, seconds, static_cast<unsigned>(ticks % 100), 100);
        frame.SetWord(20);
    }
    static std::int64_t Ticks(std::int64_t seconds, std::int64_t ticks = 0) { return seconds * 100 + ticks; }
    // A whole check, one tick each way.
    long Measure(std::int64_t local_start, long ahead)
    {
        CheckFrame frame = Begin();
        system.ticks += 1;
        Answer(frame, local_start + 1 + ahead);
        system.ticks += 1;
        EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
        EXPECT_FALSE(IsAnythingSent());
        EXPECT_EQ(Glb_Recv_Mss->Is_Any_Pkt(), 0);
        return Glb_time_diff;
    }

    FakeSystem system{evening};
};
