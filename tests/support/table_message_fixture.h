// What table messages change, as a session finds it at its start, with a connection open; all of it again when a test
// is over. Every type from 1 to 23 has a code of its own.
#pragma once

#include "arrm.h"
#include "message/message.h"
#include "outbound/send_queue.h"
#include "qcapi/session.h"
#include "reader/views.h"
#include "support/report_texts.h"
#include "support/scratch_directory.h"
#include "support/table_message.h"
#include "support/table_world.h"
#include "support/wire_codec.h"
#include "table/table_state.h"
#include "tblproc/subscription.h"
#include "tblproc/table_messages.h"
#include "transport/inbound_door.h"

#include <gmock/gmock.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

class TableMessages : public testing::Test
{
protected:
    static constexpr unsigned connection = 7;
    static constexpr std::uint32_t servers_environment = 0x584D0000; // 'M', 'X' in the upper half

    TableMessages()
    {
        Put_Back();
        TBLPROC_Init_Tables();
        qapi::Open_Session(connection, nullptr);
        Take_Sent();
        ReportTexts::Take();
    }
    ~TableMessages() override
    {
        qapi::Close_Session();
        Put_Back();
    }

    static void Know_All_Types()
    {
        for (int type = 1; type < MAX_CODE_ID; ++type) {
            COMMON_Global_Codes_Add(type, static_cast<int>(code_of_type(type)));
        }
    }

    // A record arrives, of which the reader has made sure that it is a table message.
    static void Receive_Bytes(const std::string& bytes)
    {
        The_Receive_Buffer->Take(bytes);
        TBLPROC_Process_Global_Table_Msg("D");
    }
    static void Receive(const TableMessage& message) { Receive_Bytes(message.bytes()); }
    static void Receive_In_The_Older_Form(const TableMessage& message)
    {
        The_Receive_Buffer->Take(message.bytes());
        COMMON_Process_Global_Table_Msg();
    }

    static int Records_In_All_Tables()
    {
        int records = 0;
        for (const GlobalTable& table : All_Global_Tables()) {
            records += table.get().Used_Num_Records();
        }
        return records;
    }

    // The messages that wait for the sender, without their envelopes.
    static std::vector<std::string> Take_Sent()
    {
        std::vector<std::string> messages;
        std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
        int len = 0;
        while (Glb_Send_Mss->Withdraw(record.data(), &len, nullptr, nullptr) != -1) {
            messages.push_back(TakeEnvelope({record.data(), static_cast<std::size_t>(len)}).message);
        }
        return messages;
    }

    // The codes of the tables that were asked for plainly, in their order.
    static std::vector<unsigned> Take_Asked_For()
    {
        std::vector<unsigned> codes;
        for (const std::string& message : Take_Sent()) {
            if (message.substr(0, 4) == "888S") {
                codes.push_back(static_cast<unsigned char>(message.at(4)) +
                                256U * static_cast<unsigned char>(message.at(5)));
            }
        }
        return codes;
    }

    // The connection of a "primary tables received" that waits for the reader, and how much else does.
    static std::optional<unsigned> Take_Primary_Tables_Received()
    {
        std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
        std::array<char, CMSS_EXTRA_LEN> extra{};
        int len = -1;
        if (Glb_Recv_Mss->Withdraw(record.data(), &len, nullptr, extra.data()) != PRIMARY_TABLES_RECEIVED) {
            return {};
        }
        EXPECT_EQ(len, 0);
        return Load_News(extra.data()).connection;
    }

    ReportTexts reports;
    ScratchDirectory scratch; // for the files of the tables
    TableWorld world;

private:
    static void Put_Back()
    {
        Glb_Not_Applied_Mss = 0;
        Glb_range_environment = 0;
        glb_min_pu_connected_gtable_rec_index = 0;
        glb_min_gtable_rec_index = 0;
        glb_max_gtable_rec_index = Glb_range_limit.load();
        glb_valid_range = 0;
        Glb_range_limit_err_msg = 0;
        std::memset(Glb_environment, 0, sizeof Glb_environment);
        std::memset(Glb_User_Code, 0, sizeof Glb_User_Code);
        std::memset(Glb_access_tables, 0, sizeof Glb_access_tables);
        std::memset(Glb_subscribed_global_table_type, 0, sizeof Glb_subscribed_global_table_type);
        std::memset(glb_dss, 0, sizeof glb_dss);
        glb_dss_counter = 0;
        Glb_Log_Flag = 0;
        glb_dm_dest_list.CleanList();
        TBLPROC_Reset_Primary_Tables_Check();
        Glb_Send_Mss->Initialize();
        Glb_Recv_Mss->Initialize();
    }
};
