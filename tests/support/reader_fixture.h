// Received messages without a connection: a test lays a message into the buffer of the views and has it acted on, as
// the reader does, then looks at the mailboxes as a host. The host's callbacks come on the test's own thread.
#pragma once

#include "support/forget_configuration.h"
#include "support/recording_host.h"
#include "support/scratch_directory.h"
#include "support/table_world.h"

#include "little_endian.h"
#include "qcapi/config.h"
#include "reader/messages.h"
#include "reader/processed_log.h"
#include "reader/taken_record.h"
#include "reader/views.h"
#include "table/table_state.h"
#include "tblproc/table_messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Bytes of a message, put where they belong; a message grows as far as something is put.
class MessageBytes
{
public:
    // A message with its envelope of 80 bytes: of server AB, with its number there, of a day.
    static MessageBytes Of(int number, unsigned number_of_server = 0, const std::string& date = "20260105")
    {
        MessageBytes message;
        const std::string digits = std::to_string(number);
        message.m_bytes = std::string(3 - digits.size(), ' ') + digits + std::string(80, '\0');
        return message.Put(3 + 8, "AB").Put_Number(3 + 14, number_of_server).Put(3 + 29, date);
    }

    // A table record: header of 22 bytes, body behind it.
    static MessageBytes Of_Table(char operation, unsigned code, unsigned idx, const std::string& body = "")
    {
        MessageBytes message;
        message.m_bytes = "888" + std::string(19, '\0');
        message.Put(3, {operation}).Put_Number(4, code).Put(6, std::string(2, '\0')).Put_Number(10, idx);
        return message.Put(22, body);
    }

    MessageBytes& Put(std::size_t at, const std::string& bytes)
    {
        m_bytes.resize(std::max(m_bytes.size(), at + bytes.size()));
        m_bytes.replace(at, bytes.size(), bytes);
        return *this;
    }
    MessageBytes& Put_Number(std::size_t at, std::uint32_t number)
    {
        std::string bytes(4, '\0');
        store_le(bytes.data(), number);
        return Put(at, bytes);
    }

    operator const std::string&() const { return m_bytes; }

private:
    std::string m_bytes;
};

class ReaderTest : public testing::Test
{
protected:
    static constexpr int chat = 575;
    static constexpr std::size_t chat_text_at = 171;

    ReaderTest()
    {
        Forget_Configuration();
        COMMON_Set_Code_Data_Servers_List(1, "DSAB");
        LOG_Msg_Init();
        Flag_Mailboxes();
        Glb_Unic_Number = 0;
        Take_None();
        CQcApi::initialize_flag = QAPI_INITIALIZED;
    }
    ~ReaderTest() override
    {
        CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
        Take_None();
        std::fill(std::begin(Glb_subscribed_global_table_type), std::end(Glb_subscribed_global_table_type), 0U);
        Glb_Unic_Number = 0;
        Forget_Configuration();
    }

    static void Want(int number) { Glb_suscribed_message[number] = 1; }
    static void Want_Table(unsigned code, unsigned type) { Glb_subscribed_global_table_type[code] = type; }

    // The reader's work on one message. `priority` stands in the envelope of the transport.
    static void receive(const std::string& message, int priority = 0)
    {
        std::array<char, 20> extra{};
        store_le(extra.data() + 6, static_cast<std::uint16_t>(priority));
        The_Receive_Buffer->Take(message);
        Glb_cur_order_msg->Init();
        Act_On_Message(Received_Number(), {"D", extra.data(), 1});
    }

    // A wanted chat arrives. Its number in the mailbox is its place among all that are kept, from 1.
    static void receive_chat(const std::string& text, unsigned number_of_server = 0)
    {
        Want(chat);
        receive(MessageBytes::Of(chat, number_of_server).Put(chat_text_at, text));
    }

    std::vector<std::string> take_lines()
    {
        const std::vector<std::string> all = host.lines();
        std::vector<std::string> lines(all.begin() + static_cast<std::ptrdiff_t>(m_seen), all.end());
        m_seen = all.size();
        return lines;
    }

    // The taken record's bytes.
    static std::string taken(int at, int count)
    {
        return {Glb_taken_message_ptr->m_data + at, static_cast<std::size_t>(count)};
    }

    struct Field
    {
        int type = 0;
        std::string bytes;
    };
    Field field(std::string path)
    {
        std::string data(4096, '#');
        Field found{host.GetField(path.data(), data.data()), {}};
        found.bytes = data.substr(0, data.find('#'));
        return found;
    }
    std::string text(const std::string& path) { return field(path).bytes.c_str(); }

    // Last received and last processed number, and the date.
    struct Position
    {
        unsigned received = 0;
        unsigned long processed = 0;
        std::string date;
    };
    static Position position(int type = 1, int server = 0)
    {
        Position position;
        position.date.resize(8);
        position.received = LOG_Get_Last_Processed_Message(server, type, position.date.data(), &position.processed);
        return position;
    }

    static int waiting(TableId id) { return TableWorld::Records_In(id); }

    ScratchDirectory scratch; // for the files of the tables
    TableWorld world;
    RecordingHost host;

private:
    static void Take_None()
    {
        Glb_taken_message_ptr = nullptr;
        Glb_taken_message_type = 0;
        Glb_taken_global_table_type = 0;
    }

    std::size_t m_seen = 0;
};
