// Who a message is for, and who a client is.
#pragma once

#include <string>
#include <vector>

namespace qm {

// A client as its login told: codes without padding.
struct Party
{
    std::string machine{}; // 4 characters
    std::string user{};    // 4
    std::string branch{};  // 8: institution (4), city (3), agency (1)

    [[nodiscard]] std::string institution() const { return branch.substr(0, 4); }
    bool operator==(const Party&) const = default;
};

struct Audience
{
    bool everyone = false;
    std::vector<std::string> machines{};
    std::vector<std::string> users{};
    std::vector<std::string> branches{};
    std::vector<std::string> institutions{};
    std::vector<std::string> excluded{}; // machines that are left out, whatever else is said

    [[nodiscard]] bool has(const Party& party) const;
    bool operator==(const Audience&) const = default;

    static Audience All() { return {.everyone = true}; }
};

} // namespace qm
