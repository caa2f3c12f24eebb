// Random messages of two servers and three types are given, finished and skipped, with restarts in between: at each
// step the numbers, the answers and, behind a restart, the headers in the files are those of a plain model.
#include "support/processed_files.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <utility>

namespace {

using Key = std::pair<std::string, std::uint32_t>; // date and number

struct Model
{
    void give(const Key& key) { pending.insert(key); }

    void finish(const Key& key, bool feed)
    {
        received = std::max(received, key.second);
        pending.erase(key);
        if (!pending.empty() && !feed) {
            processed = pending.begin()->second - 1;
            date = pending.begin()->first;
        } else {
            become(key);
        }
        records[key.second] = key.first;
    }

    void skip(const Key& key)
    {
        received = std::max(received, key.second);
        if (pending.empty()) {
            become(key);
        }
        records[key.second] = key.first;
    }

    void restart() { pending.clear(); }

    [[nodiscard]] bool knows(const Key& key) const
    {
        const auto record = records.find(key.second);
        return pending.contains(key) || (record != records.end() && record->second >= key.first);
    }

    [[nodiscard]] std::string position() const
    {
        return std::to_string(received) + ' ' + std::to_string(processed) + ' ' + date;
    }

    std::set<Key> pending;
    std::map<std::uint32_t, std::string> records;
    std::uint32_t received = 0;
    std::uint32_t processed = 0;
    std::string date;

private:
    void become(const Key& key)
    {
        received = key.second;
        processed = key.second;
        date = key.first;
    }
};

class ProcessedLogModel : public ProcessedFiles
{
protected:
    static constexpr const char* codes[] = {"AB", "CD"};

    ProcessedLogModel() { start("DSABDSCD"); }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // Numbers near together, so that days and threads of messages cross; now and then one far away.
    Key any_key()
    {
        const std::uint32_t number = below(40) == 0 ? 4'000'000'000U + below(3) : 1 + below(30);
        return {"2026010" + std::to_string(4 + below(3)), number};
    }

    void step()
    {
        server = below(2);
        type = below(3);
        const Key key = any_key();
        EXPECT_EQ(answer(key), model().knows(key));
        switch (below(8)) {
        case 0:
            skipped(header(key));
            model().skip(key);
            break;
        case 1:
        case 2:
        case 3:
            given(header(key));
            model().give(key);
            break;
        default:
            finish(model().pending.empty() || below(4) == 0 ? key : any_pending());
            break;
        }
        EXPECT_EQ(position(static_cast<int>(server), static_cast<int>(type)), model().position());
    }

    void restart()
    {
        start("DSABDSCD");
        for (server = 0; server < 2; ++server) {
            for (type = 0; type < 3; ++type) {
                model().restart();
                EXPECT_EQ(position(static_cast<int>(server), static_cast<int>(type)), model().position());
                EXPECT_EQ(bytes_at(0, file_name()), Record_Bytes(model().received, model().processed, model().date));
            }
        }
    }

    unsigned server = 0;
    unsigned type = 0;

private:
    Model& model() { return m_models[server][type]; }

    Key any_pending()
    {
        auto chosen = model().pending.begin();
        std::advance(chosen, below(static_cast<unsigned>(model().pending.size())));
        return *chosen;
    }

    // The type is that of the priority in the transport's envelope.
    bool answer(const Key& key)
    {
        std::array<char, 20> extra{};
        extra[6] = type == 2 ? 80 : 79;
        return LOG_Is_Processed_Record(header(key).bytes(), extra.data()) == 1;
    }

    void finish(const Key& key)
    {
        finished(header(key));
        model().finish(key, Glb_suscribed_message[133] != 0);
    }

    [[nodiscard]] MessageHeader header(const Key& key) const
    {
        MessageHeader message(key.second, key.first);
        message.Of_Server(codes[server]);
        return type == 0 ? message.Persistent() : message.Put(18, {static_cast<char>('A' + type)});
    }

    [[nodiscard]] std::string file_name() const
    {
        return std::string("qapi.") + codes[server] + "0" + std::to_string(type) + ".log";
    }

    std::mt19937 m_random{20260105};
    Model m_models[2][3];
};

TEST_F(ProcessedLogModel, StepsAndRestarts)
{
    for (int round = 0; round < 4000; ++round) {
        step();
        if (below(50) == 0) {
            restart();
        }
        if (below(200) == 0) {
            Glb_suscribed_message[133] ^= 1;
        }
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

} // namespace
