// The peer of the records: QuickFIX, whose headers ask for C++14.
#pragma once

#include <string>

// Parses `message`, checks and all, and reads five fields: order code, side, symbol, price and quantity. Returns
// something that depends on all of them.
double Quickfix_Parse_And_Get_Five(const std::string& message);
