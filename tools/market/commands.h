// What can be typed at the market's prompt, and what the timed events of a scenario say. A client is named by its
// machine, by its number, or "all".
#pragma once

#include <string>
#include <vector>

namespace qm {

class Market;

class Commands
{
public:
    explicit Commands(Market& market) : m_market(market) {}

    // What the command has to say; "error: ..." if it can't be done.
    std::string Do(const std::string& line);

    static std::string Help();

private:
    using Words = std::vector<std::string>;
    struct Row;
    static const std::vector<Row>& Rows();

    std::string Show_Clients(const Words& words);
    std::string Show_Book(const Words& words);
    std::string Drop(const Words& words);
    std::string Stall(const Words& words);
    std::string Resume(const Words& words);
    std::string Send_Garbage(const Words& words);
    std::string Refuse(const Words& words);
    std::string Admit(const Words& words);
    std::string Duplicate(const Words& words);
    std::string Restart(const Words& words);
    std::string Place_Order(const Words& words);
    std::string Withdraw_Order(const Words& words);
    std::string Chat(const Words& words);
    std::string Change_Table(const Words& words);
    std::string Switch_Feed(const Words& words);
    std::string Flood(const Words& words);
    std::string Quit(const Words& words);
    std::string Show_Help(const Words& words);

    Market& m_market;
};

} // namespace qm
