#include "exchange/order_form.h"

#include "exchange/record_fields.h"

#include <algorithm>
#include <optional>

namespace qm {

namespace {

bool is_shown(char c)
{
    return c >= ' ' && c <= '~';
}

std::optional<OrderKind> kind_of(CMsgOrder& order)
{
    const bool is_empty = field::Text_Of(order, CLASE_MENSAJE).empty();
    switch (is_empty ? 0 : field::Number_Of(order, CLASE_MENSAJE).value_or(-1)) {
    case 0:
    case 1:
        return OrderKind::place;
    case 2:
        return OrderKind::replace;
    case 3:
        return OrderKind::withdraw;
    case 8:
        return OrderKind::request;
    default:
        return {};
    }
}

std::string padded_user(const std::string& user)
{
    std::string padded = user;
    padded.resize(4, ' ');
    return padded;
}

std::string read_owner(CMsgOrder& order, const Party& sender, OrderForm& form)
{
    const std::string_view user = field::Text_Of(order, USUARIO_POSTURA);
    if (sender.user.empty()) {
        return "nobody is logged in who could place orders";
    }
    if (!user.empty() && user != sender.user) {
        return "an order of " + sender.user + " can't be placed in the name of " + Shown_Text(user);
    }
    form.own_code = field::Text_Of(order, MCOD_POSTURA);
    if (form.own_code.empty() && form.kind != OrderKind::request) {
        return "the order has no code (mcod_postura)";
    }
    if (!std::all_of(form.own_code.begin(), form.own_code.end(), is_shown)) {
        return "the order's code has characters that can't be shown: " + Shown_Text(form.own_code);
    }
    form.code = padded_user(sender.user) + form.own_code;
    return {};
}

std::string read_terms(CMsgOrder& order, OrderForm& form)
{
    const std::string_view side = field::Bytes_Of(order, O_D);
    if (side != "D" && side != "O") {
        return "the side (o_d) is D for demand or O for offer, not " + Shown_Text(side);
    }
    form.side = side == "D" ? Side::bid : Side::offer;
    form.price = field::Number_Of(order, PRECIO, 4).value_or(0);
    if (form.kind != OrderKind::request && (form.price <= 0 || form.price >= PRICE_LIMIT * PRICE_UNITS)) {
        return "the price is to be above 0 and below " + std::to_string(PRICE_LIMIT);
    }
    form.amount = field::Number_Of(order, NUMERO).value_or(0);
    if (form.amount <= 0 || form.amount >= AMOUNT_LIMIT) {
        return "the amount (numero) is to be a whole number above 0 and below " + std::to_string(AMOUNT_LIMIT);
    }
    return {};
}

} // namespace

std::string Shown_Text(std::string_view text)
{
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return !is_shown(c); }, '?');
    return '"' + shown + '"';
}

bool Is_Order(std::string_view message)
{
    const std::string_view number = message.substr(0, 3);
    return number == "111" || number == "113" || number == "121";
}

std::string Read_Order(CMsgOrder& order, const Party& sender, OrderForm& form)
{
    const std::optional<OrderKind> kind = kind_of(order);
    if (!kind) {
        return "clase_mensaje is 0 or 1 to place, 2 to replace, 3 to withdraw, 8 to ask for quotes, not " +
               Shown_Text(field::Text_Of(order, CLASE_MENSAJE));
    }
    form.kind = *kind;
    form.market = static_cast<int>(field::Number_Of(order, MERCADO).value_or(-1));
    std::string why = read_owner(order, sender, form);
    if (!why.empty() || form.kind == OrderKind::withdraw) {
        return why;
    }
    return read_terms(order, form);
}

} // namespace qm
