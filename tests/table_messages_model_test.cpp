// Random streams of table messages against plain maps: for each type, which idx there are and with which bytes.
#include "support/table_message_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

// The first bytes of a body, in which every key 1 of the types below lies.
constexpr unsigned key_len = 8;

const ReplicaType& replica_type(int type)
{
    return *std::find_if(std::begin(replica_types), std::end(replica_types),
                         [type](const ReplicaType& each) { return each.type == type; });
}

// What a table must hold. A record that comes in takes the place of those with its idx, its key or its identity.
class ReplicaModel
{
public:
    ReplicaModel(const ReplicaType& type, bool has_key) : m_type(type), m_has_key(has_key) {}

    void Apply(const TableMessage& message)
    {
        const auto found = m_records.find(message.idx);
        switch (message.letter) {
        case 'I':
        case 'C':
            return Put(message);
        case 'A':
            return found != m_records.end() ? Put(message) : void();
        case 'B':
            m_records.erase(message.idx);
            return;
        default:
            return;
        }
    }

    void Compare(unsigned idx_end) const
    {
        EXPECT_EQ(records_of_type(m_type.type), static_cast<int>(m_records.size())) << m_type.type;
        for (unsigned idx = 0; idx < idx_end; ++idx) {
            const CMessage* record = m_type.find(idx);
            const auto expected = m_records.find(idx);
            ASSERT_EQ(record != nullptr, expected != m_records.end()) << m_type.type << " idx " << idx;
            if (record != nullptr) {
                EXPECT_EQ(std::string(record->m_data, static_cast<unsigned>(record->m_data_len)), expected->second)
                    << m_type.type << " idx " << idx;
            }
        }
    }

private:
    static std::string key(const std::string& record) { return record.substr(22, key_len); }
    static std::string identity(const std::string& record) { return record.substr(14, 8); }

    void Put(const TableMessage& message)
    {
        std::string bytes = message.bytes();
        bytes.resize(static_cast<std::size_t>(22 + m_type.body), '\0');
        std::erase_if(m_records, [&](const auto& held) {
            return held.first == message.idx || (m_has_key && key(held.second) == key(bytes)) ||
                   (m_type.hashed && identity(held.second) == identity(bytes));
        });
        m_records[message.idx] = bytes;
    }

    ReplicaType m_type;
    bool m_has_key;
    std::map<unsigned, std::string> m_records; // by idx
};

class TableMessagesModel : public TableMessages
{
protected:
    static constexpr unsigned idx_end = 24;

    TableMessagesModel() { Know_All_Types(); }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // One digit fills the key, whatever part of it a table looks at; the rest is anything, and may be missing.
    std::string body(int len)
    {
        std::string text(key_len, static_cast<char>('0' + below(10)));
        const unsigned rest = below(static_cast<unsigned>(len));
        for (unsigned i = 0; i < rest; ++i) {
            text += static_cast<char>(below(256));
        }
        return text;
    }

    TableMessage any_message(const ReplicaType& type)
    {
        return {.letter = "IICCAAABBzSRUDtZHL"[below(18)],
                .code = below(16) == 0 ? 999 : code_of_type(type.type),
                .idx = below(idx_end),
                .data = body(type.body),
                .crc32 = below(40),
                .environment = servers_environment + below(2),
                .rec_num = below(65536)};
    }

    void Do_Step()
    {
        auto& [type, model] = m_models[below(static_cast<unsigned>(m_models.size()))];
        const TableMessage message = any_message(*type);
        Receive(message);
        if (message.code == 999) {
            ++m_not_applied;
            return;
        }
        model.Apply(message);
        model.Compare(idx_end);
    }

    struct Modelled
    {
        const ReplicaType* type;
        ReplicaModel model;
    };
    static Modelled modelled(int type, bool has_key)
    {
        return {&replica_type(type), ReplicaModel(replica_type(type), has_key)};
    }

    std::vector<Modelled> m_models{modelled(4, true),   modelled(9, true),   modelled(10, true), modelled(15, true),
                                   modelled(16, false), modelled(17, false), modelled(12, true)};
    unsigned m_not_applied = 0;
    std::mt19937 m_random{20261122};
};

TEST_F(TableMessagesModel, ReplicasAgreeWithPlainMapsAfterEveryMessage)
{
    const char* wanted = std::getenv("QAPI_MODEL_STEPS");
    const long steps = wanted != nullptr ? std::strtol(wanted, nullptr, 10) : 10'000;
    for (long step = 0; step < steps; ++step) {
        Do_Step();
        ASSERT_FALSE(HasFailure()) << "step " << step;
    }
    EXPECT_EQ(Glb_Not_Applied_Mss, m_not_applied);
    for (const Modelled& each : m_models) {
        each.model.Compare(idx_end);
    }
}

} // namespace
