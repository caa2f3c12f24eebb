#include "audience.h"

#include <algorithm>

namespace qm {

namespace {

bool contains(const std::vector<std::string>& codes, const std::string& code)
{
    return !code.empty() && std::find(codes.begin(), codes.end(), code) != codes.end();
}

} // namespace

bool Audience::has(const Party& party) const
{
    if (contains(excluded, party.machine)) {
        return false;
    }
    return everyone || contains(machines, party.machine) || contains(users, party.user) ||
           contains(branches, party.branch) || contains(institutions, party.institution());
}

} // namespace qm
