// The table side of one client's session: which tables it is subscribed to, and how far it is with their hashes.
//
// From a query ('Q') that is answered with a list to the client's last ask ('P'), the client matches its records
// against the list, and a record that came between would be lost or left over. So changes of that time go out behind
// the dialogue, as what they have come to by then.
#pragma once

#include "store/tables.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

class TableDialogue
{
public:
    struct Answer
    {
        std::vector<std::string> messages{};
        std::string note{}; // what was wrong with the request, for the journal; empty: nothing
    };

    // Answers a client's record 888: 'S', 'Q', 'N' or 'P'. Takes any bytes. An answer may have a whole table: take the
    // client's next request when it has left.
    Answer On_Request(std::string_view message, const Tables& tables);

    // A row has changed: true if the client is to get that now. To be asked on every change of every table, as those
    // that the client gets later are noted here.
    bool Wants_Change(std::uint16_t code, char letter, std::uint32_t idx);

    [[nodiscard]] bool is_subscribed(std::uint16_t code) const { return m_subscribed.contains(code); }
    [[nodiscard]] bool is_open(std::uint16_t code) const { return m_open.contains(code); } // a list, and no 'P' yet

private:
    struct Open
    {
        std::size_t rows = 0;                       // in the list; a client asks for so many at most
        std::string asked{};                        // identities, 8 bytes each
        std::map<std::uint32_t, bool> was_listed{}; // by the idx of each row that has changed since
    };
    struct Request;

    std::vector<std::string> Subscribe(const Table& table);
    std::vector<std::string> Query(const Table& table, std::uint32_t hash);
    std::string Collect(const Request& request); // gives a note
    std::vector<std::string> Finish(const Table& table, std::string_view asked);
    std::vector<std::string> Take_Changes(const Table& table);

    std::set<std::uint16_t> m_subscribed;
    std::map<std::uint16_t, Open> m_open;
};

} // namespace qm
