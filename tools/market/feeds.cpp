#include "feeds.h"

#include "exchange/order_form.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace qm {

namespace {

constexpr int placed_anew = 1;
constexpr int replaced = 2;

std::string code_of_slot(int market, std::size_t slot)
{
    constexpr std::size_t letters = 26;
    std::array<char, 8> code{};
    std::snprintf(code.data(), code.size(), "F%03d%c%c", std::abs(market) % 1000,
                  static_cast<int>('A' + slot / letters % letters), static_cast<int>('A' + slot % letters));
    return code.data();
}

} // namespace

Feeds::Feeds(EventLoop& loop, const std::vector<Feed>& feeds, std::function<Party(const std::string& user)> party_of,
             Place place)
    : m_loop(loop), m_party_of(std::move(party_of)), m_place(std::move(place))
{
    for (const Feed& feed : feeds) {
        m_feeds.push_back({.feed = feed,
                           .walk = std::mt19937(feed.seed),
                           .price = feed.price,
                           .placed = std::vector<bool>(2 * static_cast<std::size_t>(feed.levels))});
    }
}

Feeds::~Feeds()
{
    Switch(0, false);
}

bool Feeds::Switch(int market, bool on)
{
    bool any = false;
    for (Running& feed : m_feeds) {
        if (market != 0 && feed.feed.market != market) {
            continue;
        }
        any = true;
        m_loop.Cancel(std::exchange(feed.timer, 0));
        if (on && !feed.placed.empty()) {
            Plan(feed);
        }
    }
    return any;
}

void Feeds::Plan(Running& feed)
{
    feed.timer = m_loop.After(feed.feed.every, [this, &feed] {
        Plan(feed);
        Quote(feed);
    });
}

// The next slot of the ladder, around the price as it is now. Bids stand below it and offers above, so that a feed
// doesn't trade with itself as long as the price walks by less than the distance between a bid and an offer.
void Feeds::Quote(Running& feed)
{
    const std::int64_t step = feed.feed.step;
    if (feed.next_slot == 0) {
        feed.price += step * (static_cast<int>(feed.walk() % 3) - 1) / 2;
        const std::int64_t room = step * (feed.feed.levels + 1);
        feed.price = std::max(std::min(feed.price, PRICE_LIMIT * PRICE_UNITS - room), room);
    }
    const auto levels = static_cast<std::size_t>(feed.feed.levels);
    const std::size_t slot = feed.next_slot;
    feed.next_slot = (slot + 1) % feed.placed.size();
    const Side side = slot < levels ? Side::bid : Side::offer;
    const auto away = step * (static_cast<std::int64_t>(slot % levels) + 1);
    const std::int64_t price = side == Side::bid ? feed.price - away : feed.price + away;
    const Party sender = m_party_of(feed.feed.user);
    const std::string code = code_of_slot(feed.feed.market, slot);
    const auto order = [&](int kind) {
        return Exchange::Make_Order(sender, kind, feed.feed.market, side, price, feed.feed.amount, code,
                                    m_loop.clock());
    };
    // An order that was traded meanwhile is no longer there to be replaced.
    if (!feed.placed[slot] || !m_place(sender, order(replaced))) {
        feed.placed[slot] = m_place(sender, order(placed_anew));
    }
}

} // namespace qm
