// The scenarios that stand beside the sources of the market.
#pragma once

#include <filesystem>
#include <string>

inline std::filesystem::path ScenarioFile(const std::string& name)
{
    return std::filesystem::path(TEST_DATA).parent_path().parent_path() / "tools" / "market" / "scenarios" / name;
}
