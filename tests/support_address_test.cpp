#include "qcapi/support.h"
#include "support/fake_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

std::vector<std::string> answer;
bool answer_found = true;
std::atomic<int> look_ups{0};

class LocalAddress : public testing::Test
{
protected:
    LocalAddress()
    {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        look_ups = 0;
        m_system.calls.local_addresses = [](std::vector<std::string>& texts) {
            ++look_ups;
            texts = answer;
            return answer_found;
        };
    }

    static void Find(std::vector<std::string> addresses, bool found = true)
    {
        answer = std::move(addresses);
        answer_found = found;
        COMMON_Find_IP_LocalHost();
    }

    FakeSystem m_system;
};

TEST_F(LocalAddress, IsTheLastOfTheList)
{
    Find({"10.1.2.3", "fe80::1", "192.168.7.9"});
    EXPECT_STREQ(COMMON_Get_IP_LocalHost(), "192.168.7.9");
}

TEST_F(LocalAddress, IsTheLoopWhenTheLookUpFails)
{
    Find({"10.1.2.3"});
    Find({"10.9.9.9"}, false);
    EXPECT_STREQ(COMMON_Get_IP_LocalHost(), "127.0.0.1");
}

TEST_F(LocalAddress, IsTheLoopWhenTheListIsEmpty)
{
    Find({});
    EXPECT_STREQ(COMMON_Get_IP_LocalHost(), "127.0.0.1");
}

TEST_F(LocalAddress, IsKeptBetweenLookUps)
{
    Find({"10.1.2.3"});
    COMMON_Get_IP_LocalHost();
    COMMON_Get_IP_LocalHost();
    EXPECT_EQ(look_ups, 1);
}

TEST_F(LocalAddress, OfTwoHundredAndFiftyFourCharactersIsTheLongest)
{
    Find({std::string(300, 'a')});
    EXPECT_EQ(COMMON_Get_IP_LocalHost(), std::string(254, 'a'));
}

TEST_F(LocalAddress, ATextOnceGivenStaysAsItIs)
{
    Find({"10.1.2.3"});
    const char* const given = COMMON_Get_IP_LocalHost();
    Find({"10.4.5.6"});
    Find({"10.7.8.9"});
    EXPECT_STREQ(given, "10.1.2.3");
    Find({"10.1.2.3"});
    EXPECT_EQ(COMMON_Get_IP_LocalHost(), given);
}

TEST_F(LocalAddress, IsLookedUpOnceByTheFirstReaders)
{
    const auto read_first = [] {
        answer = {"10.1.2.3"};
        std::thread other([] { COMMON_Get_IP_LocalHost(); });
        const std::string text = COMMON_Get_IP_LocalHost();
        other.join();
        std::_Exit(text == "10.1.2.3" && look_ups == 1 ? 0 : 1);
    };
    EXPECT_EXIT(read_first(), testing::ExitedWithCode(0), ""); // in a process that has never looked it up
}

TEST_F(LocalAddress, ReadersSeeOneWholeTextOrTheOther)
{
    Find({"1.1.1.1"});
    std::atomic<bool> ended{false};
    std::atomic<unsigned> wrong{0};
    std::thread reader([&] {
        while (!ended) {
            const std::string_view text = COMMON_Get_IP_LocalHost();
            wrong += text != "1.1.1.1" && text != "222.222.222.222";
        }
    });
    for (int round = 0; round < 1000; ++round) {
        Find({round % 2 == 0 ? "222.222.222.222" : "1.1.1.1"});
    }
    ended = true;
    reader.join();
    EXPECT_EQ(wrong, 0U);
}

} // namespace
