// What an order message asks for, read from its record without trust. Texts of refusals are plain words for the order's
// user, without a period, so that they can stand behind "refused: ".
#pragma once

#include "audience.h"
#include "exchange/order_book.h"
#include "records/orders.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

inline constexpr std::int64_t PRICE_LIMIT = 1'000'000'000;      // prices are below, in whole numbers
inline constexpr std::int64_t AMOUNT_LIMIT = 1'000'000'000'000; // amounts are below
inline constexpr std::size_t OPEN_ORDERS_OF_A_USER = 50'000;    // at most: each takes some 2000 bytes

enum class OrderKind
{
    place,
    replace,
    withdraw,
    request
};

struct OrderForm
{
    OrderKind kind = OrderKind::place;
    int market = 0;
    std::string own_code{}; // up to 6 characters
    std::string code{};     // the user in 4 characters, and the own code
    Side side = Side::bid;  // these three say nothing in a withdrawal, nor does the price in a request
    std::int64_t price = 0;
    std::int64_t amount = 0;
};

// True if the message has the number of an order: 111, 113, 121.
bool Is_Order(std::string_view message);

// Fills the form. Empty if all is well, else why the order is refused. Whether market and code are known is not looked
// at. An order without a user counts as its sender's.
std::string Read_Order(CMsgOrder& order, const Party& sender, OrderForm& form);

// A client's text as it may be shown.
std::string Shown_Text(std::string_view text);

} // namespace qm
