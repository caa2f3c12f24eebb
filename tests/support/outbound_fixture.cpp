#include "support/outbound_fixture.h"

#include "arrm.h"
#include "outbound/addressing.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "reader/taken_record.h"
#include "session/session_state.h"

#include <algorithm>
#include <cstring>

namespace {

template <std::size_t Size> void set(char (&target)[Size], const char* text)
{
    std::memset(target, 0, Size);
    std::memcpy(target, text, std::strlen(text));
}

void set_codes(const char* machine, const char* user, const char* branch, const char* name)
{
    set(Glb_Local_Machine, machine);
    set(Glb_User_Code, user);
    set(Gbl_Branch_Code, branch);
    set(Gbl_User_Name, name);
}

void set_servers(int count)
{
    std::memset(glb_dss, 0, sizeof glb_dss);
    std::memcpy(glb_dss[0], "DSAB", 4);
    std::memcpy(glb_dss[1], "DSCD", 4);
    std::memcpy(glb_dss[2], "DSEF", 4);
    glb_dss_counter = count;
}

void forget_lists()
{
    Forget_Host_Addresses();
    glb_dm_dest_list.CleanList();
    glb_ds_dest_list.CleanList();
}

} // namespace

std::string Framed(const std::string& groups, const std::string& message)
{
    const auto length = static_cast<std::uint32_t>(16 + groups.size() + message.size() + 3);
    return std::string("\1\0", 2) + Little_Endian(length, 2) + std::string("\x64\0\x3c\0", 4) + "L001" +
           Little_Endian(static_cast<std::uint32_t>(groups.size()), 2) + groups +
           Little_Endian(static_cast<std::uint32_t>(message.size() + 3), 2) + message + std::string(3, '\0');
}

std::string Stamped(std::uint32_t number, const std::string& server)
{
    return "L001" + std::string(4, '\0') + server + Little_Endian(number, 4) + Little_Endian(number, 4) +
           std::string(1, '\0') + Padded("U7", 4) + "093005" + "20261120" + std::string(15, '\0') +
           Padded("BRNCH1", 8) + std::string(20, '\0');
}

std::string Primary_Users(const std::string& codes)
{
    return "PU" + Little_Endian(static_cast<std::uint32_t>(codes.size() / 4), 2) + std::string("\4\0", 2) + codes;
}

OutboundTest::OutboundTest()
{
    set_codes("L001", "U7", "BRNCH1", "Maria");
    set_servers(2);
    forget_lists();
    COMMON_Init();
    Choose_Server(0);
    Open_Session(our_connection, nullptr);
    Glb_Send_Mss->Initialize();
    Glb_Log_Mss->Initialize();
    CQcApi::initialize_flag = QAPI_INITIALIZED;
    Start();
}

OutboundTest::~OutboundTest()
{
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
    Glb_taken_message_ptr = nullptr;
    Glb_taken_message_type = 0;
    Glb_taken_global_table_type = 0;
    Close_Session();
    Glb_Send_Mss->Initialize();
    Glb_Log_Mss->Initialize();
    set_codes("", "", "", "");
    set_servers(0);
    glb_ds_dest = glb_dss;
    forget_lists();
}

std::string OutboundTest::Sent_Message()
{
    const std::string data = Sent().data;
    const auto byte = [&data](std::size_t at) {
        return static_cast<std::size_t>(static_cast<unsigned char>(data[at]));
    };
    const std::size_t groups = byte(12) + byte(13) * 256;
    return data.substr(16 + groups, data.size() - 19 - groups);
}
