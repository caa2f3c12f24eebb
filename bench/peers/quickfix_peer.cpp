#include "quickfix_peer.h"

#include <quickfix/Message.h>
#include <quickfix/Values.h>
#include <quickfix/fix44/NewOrderSingle.h>

double Quickfix_Parse_And_Get_Five(const std::string& message)
{
    static FIX::Message parsed;
    parsed.setString(message, true);
    FIX::ClOrdID code;
    FIX::Side side;
    FIX::Symbol symbol;
    FIX::Price price;
    FIX::OrderQty quantity;
    parsed.getField(code);
    parsed.getField(side);
    parsed.getField(symbol);
    parsed.getField(price);
    parsed.getField(quantity);
    return price.getValue() + quantity.getValue() + side.getValue() + static_cast<double>(symbol.getValue().size()) +
           static_cast<double>(code.getValue().size());
}
