// Files of processed messages in a scratch directory, laid out and read by literal offsets, and a library that starts
// and is killed over them: what a kill leaves behind is the files as they are.
#pragma once

#include "support/forget_configuration.h"
#include "support/report_texts.h"
#include "support/scratch_directory.h"

#include "little_endian.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "reader/processed_log.h"
#include "record_io.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>

// A message's CABEZA: server AB, type B, of 2026-01-05.
class MessageHeader
{
public:
    explicit MessageHeader(std::uint32_t number, const std::string& date = "20260105")
    {
        Put(8, "AB").Put(18, "B").Put(29, date);
        store_le(m_bytes.data() + 14, number);
    }
    MessageHeader& Put(std::size_t at, const std::string& bytes)
    {
        m_bytes.replace(at, bytes.size(), bytes);
        return *this;
    }
    MessageHeader& Of_Server(const std::string& code) { return Put(8, code); }
    MessageHeader& Persistent() { return Put(4, "S").Put(18, "A"); }
    char* bytes() { return m_bytes.data(); }

private:
    std::string m_bytes = std::string(80, '\0');
};

// 28 bytes: two numbers, a date, zeros.
inline std::string Record_Bytes(std::uint32_t number, std::uint32_t processed, const std::string& date)
{
    std::string bytes(28, '\0');
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[i] = static_cast<char>(number >> 8 * i & 0xFF);
        bytes[4 + i] = static_cast<char>(processed >> 8 * i & 0xFF);
    }
    return bytes.replace(8, date.size(), date);
}

class ProcessedFiles : public testing::Test
{
protected:
    static constexpr const char* file_b = "qapi.AB01.log"; // of server AB and type B

    ProcessedFiles() { Forget_Configuration(); }
    ~ProcessedFiles() override
    {
        LOG_End();
        Forget_Configuration();
    }

    // A process starts in the directory: codes of 4 bytes, back to back.
    void start(const std::string& codes = "DSAB")
    {
        glb_dss_counter = 0;
        COMMON_Set_Code_Data_Servers_List(static_cast<int>(codes.size() / 4), codes.data());
        LOG_Init(QAPI_LOG_FILE_NAME, directory.path().parent_path().c_str());
        LOG_Msg_Init();
    }

    static bool is_processed(MessageHeader header) { return LOG_Is_Processed_Record(header.bytes(), nullptr) == 1; }
    static void given(MessageHeader header) { LOG_Register_Record(header.bytes()); }
    static void finished(MessageHeader header) { LOG_Update_Last_Proc_Message(header.bytes(), 1); }
    static void skipped(MessageHeader header) { LOG_Update_Last_Proc_Message(header.bytes(), 0); }
    static void handled(const MessageHeader& header)
    {
        given(header);
        finished(header);
    }

    // "RECEIVED PROCESSED DATE"
    static std::string position(int server = 0, int type = 1)
    {
        std::string date = "untouch.";
        unsigned long processed = 0;
        const unsigned received = LOG_Get_Last_Processed_Message(server, type, date.data(), &processed);
        return std::to_string(received) + ' ' + std::to_string(processed) + ' ' + date.c_str();
    }

    // 28 bytes of the file, from `at` on, or as many as there are.
    [[nodiscard]] std::string bytes_at(std::streamoff at, const std::string& name = file_b) const
    {
        std::ifstream file(directory.path(name), std::ios::binary);
        std::string bytes(28, '\0');
        file.seekg(at).read(bytes.data(), 28);
        return bytes.substr(0, static_cast<std::size_t>(file.gcount()));
    }

    // A file whose header and record of message 7 are whole.
    static std::string sound_file()
    {
        return Record_Bytes(7, 7, "20260105") + std::string(672, '\0') + Record_Bytes(7, 1, "20260105");
    }

    ReportTexts reports;
    ScratchDirectory directory;
};
