// A session of connection 5 with server DSAB on 2026-11-20 at 09:30:05, machine L001, user U7, branch BRNCH1; the
// running log is open. And the bytes that leave, written by hand.
#pragma once

#include "message/message.h"
#include "outbound/send_queue.h"
#include "support/log_session.h"
#include "support/report_texts.h"
#include "support/taken_record.h"

#include <cstdint>
#include <string>

inline std::string Little_Endian(std::uint32_t value, int width)
{
    std::string bytes;
    for (int i = 0; i < width; ++i, value >>= 8U) {
        bytes += static_cast<char>(value & 255U);
    }
    return bytes;
}

// Zeros behind a text.
inline std::string Padded(std::string text, std::size_t width)
{
    text.resize(width);
    return text;
}

// The envelope of a message: its lengths follow from what it holds.
std::string Framed(const std::string& groups, const std::string& message);

// The 80 bytes of the template, running number and server as told.
std::string Stamped(std::uint32_t number = 0, const std::string& server = "AB");

// One group of primary users.
std::string Primary_Users(const std::string& codes);

inline const std::string to_server = std::string("PU\1\0\4\0", 6) + "DSAB";

class OutboundTest : public LogSession
{
protected:
    static constexpr unsigned our_connection = 5;

    OutboundTest();
    ~OutboundTest() override;

    static void Put(CMessage& message, CDestinationsList* addressees = nullptr)
    {
        COMMON_Put_Message_In_Send_Queue(&message, 4, addressees, 20, nullptr);
    }
    // The oldest record that waits for the sender; status -1 if there is none.
    static TakenRecord Sent() { return TakeRecord(*Glb_Send_Mss); }
    static bool Is_Any_Sent() { return Glb_Send_Mss->Is_Any_Pkt() != 0; }

    // The message in the oldest record, without its envelope.
    static std::string Sent_Message();

    static std::string Bytes_Of(const CMessage& message)
    {
        return {message.m_data, static_cast<std::size_t>(message.m_data_len)};
    }

    ReportTexts reports;
};
