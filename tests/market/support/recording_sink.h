// What an exchange said, in its order, and the rows of its tables as they follow from that.
#pragma once

#include "exchange/exchange.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

class RecordingSink : public qm::ExchangeSink
{
public:
    struct Said
    {
        qm::Log log = qm::Log::A;
        std::uint16_t priority = 0;
        qm::Audience audience{};
        std::string message{};
    };
    struct Row
    {
        std::uint16_t table = 0;
        std::string body{};
    };

    void Say(qm::Log log, std::uint16_t priority, const qm::Audience& audience, std::string message) override;
    std::uint32_t Insert_Row(std::uint16_t table, std::string body) override;
    void Update_Row(std::uint16_t table, std::uint32_t idx, std::string body) override;
    void Delete_Row(std::uint16_t table, std::uint32_t idx) override;

    // Messages with this number, in their order.
    [[nodiscard]] std::vector<Said> With_Number(const std::string& three_digits) const;
    void Forget();

    std::vector<Said> said{};
    std::vector<std::string> events{}; // "say 111", "I 1", "A 1", "B 1"
    std::map<std::uint32_t, Row> rows{};
    std::map<std::uint32_t, Row> last_rows{}; // as they were when they were last inserted or updated
    std::vector<std::string> complaints{};    // about changes of rows that aren't there

private:
    std::uint32_t m_last_idx = 0;
};
