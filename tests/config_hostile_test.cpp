// Configurations that nobody meant: whatever the bytes, the reading ends with one of its codes and within its tables.
#include "support/config_fixture.h"

#include <algorithm>
#include <random>
#include <set>
#include <string>

namespace {

class HostileConfig : public ConfigFixture
{
protected:
    void expect_sound(int code) const
    {
        EXPECT_TRUE((std::set<int>{0, 3, 21}).count(code)) << code;
        EXPECT_LE(error.size(), 199U);
        EXPECT_LE(glb_dss_counter, 36);
        EXPECT_LE(Glb_markets_code_counter, 30);
        EXPECT_LE(glb_DCon_DESCR->number_of_hosts, 35U);
        EXPECT_EQ(Glb_access_tables[4096].table_code, 0);
        EXPECT_EQ(Glb_access_tables[4096].table_type, 0);
        for (const char last : {Gbl_User_Name[10], Glb_User_Key[16], Glb_Local_Machine[4], Glb_User_Code[4],
                                Gbl_Branch_Code[8], Gbl_Oper_File_Version[90], Glb_Esquema_Code[8]}) {
            EXPECT_EQ(last, 0);
        }
    }

    // Bytes up to `highest`, with a newline or a blank now and then.
    [[nodiscard]] std::string random_bytes(std::size_t count, int highest)
    {
        std::string bytes(count, 0);
        for (char& byte : bytes) {
            byte = one_in(20) ? '\n' : one_in(6) ? ' ' : static_cast<char>(up_to(highest));
        }
        return bytes;
    }

    // Lines whose keywords are real and whose values are anything.
    [[nodiscard]] std::string random_directives(int count)
    {
        static constexpr const char* keywords[] = {
            "oper_file_version",
            "data_server",
            "ds_ip_address",
            "ds_tcp_port",
            "use_msg_code 1 in markets",
            "local_code",
            "user_code",
            "send_mode",
            "use_ssl",
            "user_name",
            "branch_code",
            "password",
            "testing_file",
            "testing_end",
            "esquema_code",
            "transaction_feed",
            "tarnel_feed",
            "testing_output_file",
            "testing_start",
            "log_last_processed_message",
            "table_code 1",
            "table_code 2",
            "language",
        };
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += keywords[up_to(static_cast<int>(std::size(keywords)) - 1)];
            text += " 9" + random_bytes(static_cast<std::size_t>(up_to(one_in(50) ? 3000 : 30)), 255) + "\n";
        }
        return text;
    }

    [[nodiscard]] int up_to(int highest) { return std::uniform_int_distribution<int>(0, highest)(m_engine); }
    [[nodiscard]] bool one_in(int count) { return up_to(count - 1) == 0; }

    std::mt19937 m_engine{20230115}; // NOLINT: the same bytes in every run
};

TEST_F(HostileConfig, RandomBytesEndInOneOfTheCodes)
{
    for (int round = 0; round < 200; ++round) {
        expect_sound(read(random_bytes(2000, 255)));
    }
}

TEST_F(HostileConfig, RandomPrintableTextEndsInOneOfTheCodes)
{
    for (int round = 0; round < 200; ++round) {
        expect_sound(read(random_bytes(2000, 126)));
    }
}

TEST_F(HostileConfig, RealKeywordsWithRandomValuesStayWithinTheirTables)
{
    testing::internal::CaptureStdout();
    for (int round = 0; round < 50; ++round) {
        expect_sound(read(random_directives(100)));
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(HostileConfig, LineOfAMegabyteIsReadInPieces)
{
    expect_sound(read("password " + std::string(1'000'000, 'p') + "\n"));
    EXPECT_EQ(error, "Config file has incorrect line 2");
    EXPECT_EQ(Glb_User_Key, std::string(16, 'p'));
}

TEST_F(HostileConfig, NothingButNulsIsOneBlankLine)
{
    EXPECT_EQ(read(std::string(1000, '\0')), 21);
    EXPECT_TRUE(logged("Conf-line 1: "));
    EXPECT_FALSE(logged("Conf-line 2: "));
}

// A byte above 127 must not be taken for a letter, whatever the sign of a char.
TEST_F(HostileConfig, BytesAbove127AreKeptAsTheyAre)
{
    EXPECT_EQ(apply("\xC1\xD1\xFF x\npassword \xC1\xD1\xFF\n"), 0);
    EXPECT_STREQ(Glb_User_Key, "\xC1\xD1\xFF");
}

} // namespace
