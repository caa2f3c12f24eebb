// Quotes that come by themselves, so that a book lives without anybody trading: each feed keeps a ladder of bids and
// offers around a price that walks, and replaces one of them at a time.
#pragma once

#include "exchange/exchange.h"
#include "net/event_loop.h"
#include "scenario/scenario.h"

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace qm {

class Feeds
{
public:
    // `place` takes an order of the feed's user and tells whether it was accepted. `party_of` gives who that is.
    using Place = std::function<bool(const Party& sender, const std::string& order_message)>;

    Feeds(EventLoop& loop, const std::vector<Feed>& feeds, std::function<Party(const std::string& user)> party_of,
          Place place);
    ~Feeds();
    Feeds(const Feeds&) = delete;
    Feeds& operator=(const Feeds&) = delete;

    // The feeds of a market, 0 for all. False if it has none.
    bool Switch(int market, bool on);

private:
    struct Running
    {
        Feed feed;
        std::mt19937 walk;
        std::int64_t price;
        std::vector<bool> placed; // by slot: bids, then offers
        std::size_t next_slot = 0;
        EventLoop::Timer timer = 0;
    };

    void Quote(Running& feed);
    void Plan(Running& feed);

    EventLoop& m_loop;
    std::function<Party(const std::string&)> m_party_of;
    Place m_place;
    std::vector<Running> m_feeds;
};

} // namespace qm
