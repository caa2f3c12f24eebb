#include "exchange/open_orders.h"

#include "exchange/order_form.h"
#include "exchange/record_fields.h"
#include "message_numbers.h"
#include "records/orders.h"
#include "session/header.h"

#include <algorithm>
#include <cstddef>
#include <list>
#include <string_view>
#include <unordered_map>

namespace qm {

namespace {

// An order's code: its user, and its own.
std::string key_of(std::string_view code)
{
    constexpr std::size_t user_width = 4;
    return Text_At(code, 0, user_width) + "/" + Text_At(code, user_width, code.size());
}

struct Standing
{
    OrderLeftOpen order{};
    std::int64_t left = 0;
};

// What stands after each message, in the order of time.
class Replayed
{
public:
    void Order(const std::string& message);
    void Transaction(const std::string& message);
    std::vector<OrderLeftOpen> Open();

private:
    using Place = std::list<Standing>::iterator;

    void Remove(const std::string& key);
    void Trade(const std::string& key, std::int64_t amount);

    std::list<Standing> m_orders;
    std::unordered_map<std::string, Place> m_places;
    CMsgOrder m_order;
    CMsgTransMon m_transaction;
};

void Replayed::Order(const std::string& message)
{
    m_order.Update_Message_Info(std::span(message.data(), message.size()));
    Party sender = Sender_Of(message);
    OrderForm form;
    if (!Read_Order(m_order, sender, form).empty() || form.kind == OrderKind::request) {
        return;
    }
    const std::string key = key_of(field::Bytes_Of(m_order, CODIGO_POSTURA));
    Remove(key);
    if (form.kind != OrderKind::withdraw) {
        m_orders.push_back({.order = {.sender = sender, .message = message}, .left = form.amount});
        m_places[key] = std::prev(m_orders.end());
    }
}

void Replayed::Remove(const std::string& key)
{
    if (const auto place = m_places.find(key); place != m_places.end()) {
        m_orders.erase(place->second);
        m_places.erase(place);
    }
}

void Replayed::Transaction(const std::string& message)
{
    m_transaction.Update_Message_Info(std::span(message.data(), message.size()));
    const std::int64_t amount = field::Number_Of(m_transaction, NUMERO).value_or(0);
    for (const int code : {CODIGO_POSTURA, CODIGO_POSTURA_1}) {
        Trade(key_of(field::Bytes_Of(m_transaction, code)), amount);
    }
}

void Replayed::Trade(const std::string& key, std::int64_t amount)
{
    const auto place = m_places.find(key);
    if (place == m_places.end()) {
        return; // the order of a feed
    }
    place->second->left -= amount;
    if (place->second->left <= 0) {
        Remove(key);
    }
}

std::vector<OrderLeftOpen> Replayed::Open()
{
    std::vector<OrderLeftOpen> open;
    for (Standing& standing : m_orders) {
        m_order.Update_Message_Info(std::span(standing.order.message.data(), standing.order.message.size()));
        field::Put_Number(m_order, CLASE_MENSAJE, 1);
        field::Put_Number(m_order, NUMERO, standing.left);
        standing.order.message.assign(m_order.m_data, static_cast<std::size_t>(m_order.m_data_len));
        open.push_back(std::move(standing.order));
    }
    return open;
}

} // namespace

std::uint32_t Last_Trade_Number(const MessageStore& store)
{
    CMsgTransMon transaction;
    for (std::size_t i = store.size(); i > 0; --i) {
        const std::string& message = store.at(i - 1).message;
        if (Number_Of(message) == MSS_TRANS_MONEDA) {
            transaction.Update_Message_Info(std::span(message.data(), message.size()));
            return static_cast<std::uint32_t>(field::Number_Of(transaction, MCOD_TRANSACCION).value_or(0));
        }
    }
    return 0;
}

std::vector<OrderLeftOpen> Orders_Left_Open(const MessageStore& store)
{
    Replayed replayed;
    for (std::size_t i = 0; i < store.size(); ++i) {
        const StoredMessage& stored = store.at(i);
        if (stored.log == Log::A && Is_Order(stored.message)) {
            replayed.Order(stored.message);
        } else if (stored.log == Log::P && Number_Of(stored.message) == MSS_TRANS_MONEDA) {
            replayed.Transaction(stored.message);
        }
    }
    return replayed.Open();
}

} // namespace qm
