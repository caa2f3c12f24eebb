#include "session/flood.h"

#include "exchange/exchange.h"
#include "session/client.h"
#include "session/header.h"

#include <algorithm>
#include <memory>
#include <string>

namespace qm {

namespace {

constexpr std::size_t frames_in_a_batch = 256;

struct Flooding
{
    Client& client;
    std::string message;
    std::uint64_t left;
    std::string batch; // frames back to back
    std::size_t frame_size = 0;

    void Build(std::size_t count)
    {
        batch.clear();
        for (std::size_t i = 0; i < count; ++i) {
            batch += client.Frame_Of(message);
        }
    }

    std::string_view Next()
    {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, frames_in_a_batch));
        left -= count;
        if (client.send_mode() != SendMode::plain || batch.empty()) {
            Build(count);
            frame_size = count == 0 ? 0 : batch.size() / count;
            return batch;
        }
        return std::string_view(batch).substr(0, frame_size * count);
    }
};

} // namespace

void Start_Flood(Client& client, int market, std::uint64_t count, const Clock& clock)
{
    const Party sender{.machine = "MRKT", .user = client.party().user, .branch = client.party().branch};
    std::string message = Exchange::Make_Order(sender, 1, market, Side::bid, 1000 * PRICE_UNITS, 1000, "FLOOD", clock);
    Stamp_Server(message, client.server(), clock.date(), clock.hour());
    auto flooding = std::make_shared<Flooding>(Flooding{client, std::move(message), count, {}});
    client.Flood([flooding] { return flooding->left > 0 ? flooding->Next() : std::string_view(); });
}

} // namespace qm
