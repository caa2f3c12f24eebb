// A ring of six slots of 16 bytes, and the verbs that ring tests use.
#pragma once

#include "arrm.h"
#include "support/ring_access.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

inline constexpr int slots = CMSS_INITIAL_NUM_RECORDS;
inline constexpr int rec_len = 16;
inline constexpr char source_name[] = "desk";
inline constexpr char extra_bytes[CMSS_EXTRA_LEN + 1] = "abcdefghijklmnopqrst";

class RingTest : public testing::Test
{
protected:
    void Put(const std::string& text, int status = 22)
    {
        ring.Collect(status, text.data(), static_cast<int>(text.size()), source_name, nullptr);
    }
    void Put_Numbers(int first, int count)
    {
        for (int i = first; i < first + count; ++i) {
            Put("record " + std::to_string(i), i);
        }
    }
    // The text of the oldest record, or "-" when there is none.
    std::string Take()
    {
        std::array<char, rec_len> bytes{};
        int len = 0;
        taken_status = ring.Withdraw(bytes.data(), &len, nullptr, nullptr);
        return taken_status == -1 ? "-" : std::string(bytes.data(), static_cast<unsigned>(len));
    }
    void Expect_Numbers(int first, int count)
    {
        for (int i = first; i < first + count; ++i) {
            EXPECT_EQ(Take(), "record " + std::to_string(i));
            EXPECT_EQ(taken_status, i);
        }
    }
    static void Write(char* buffer, const std::string& text) { text.copy(buffer, rec_len); }
    // Moves both indices on by `count` slots.
    void Turn(int count)
    {
        for (int i = 0; i < count; ++i) {
            Put("turned");
            Take();
        }
    }
    // Every byte of the oldest record's slot.
    std::string Oldest_Slot()
    {
        char* buffer = nullptr;
        int len = 0;
        ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
        std::string bytes(buffer, rec_len);
        ring.Take_Withdraw();
        return bytes;
    }
    // collected, withdrawn, pending, dropped, data packets
    [[nodiscard]] std::vector<unsigned> Counters() const
    {
        return {ring.Get_Total_Collected(), ring.Get_Total_Withdrawn(), ring.Get_Total_Pending(),
                ring.Get_Total_Dropped(), ring.Get_Total_DataPacket()};
    }
    using Counts = std::vector<unsigned>;

    CMss_Arr ring{slots, rec_len, CMSS_FIFO};
    CMss_Arr_Test_Access inside{ring};
    int taken_status = 0;
};
