// Configurations of a test's own: written into its scratch directory, read from the state that a new process has, with
// the running log beside them.
#pragma once

#include "qcapi/config.h"
#include "support/fake_system.h"
#include "support/scratch_directory.h"
#include "transport/dcon.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

class ConfigFixture : public testing::Test
{
protected:
    ConfigFixture();
    ~ConfigFixture() override;

    // The scratch directory, without a slash at its end.
    [[nodiscard]] std::string folder() const { return directory.path().parent_path().string(); }
    [[nodiscard]] std::string path(const std::string& name) const { return folder() + "/" + name; }

    // Reads `text` as the whole configuration.
    int read(const std::string& text);

    // The same behind a data server, so that a sound configuration gives 0.
    int apply(const std::string& text) { return read("data_server DS01\n" + text); }

    [[nodiscard]] std::string log() const { return directory.read("qapi.log"); }
    [[nodiscard]] bool logged(const std::string& text) const { return log().find(text) != std::string::npos; }

    // Codes and texts that the host was told of.
    static std::vector<std::pair<int, std::string>> reports;

    FakeSystem system;
    ScratchDirectory directory;
    std::string error;
};

// Bytes of a fixed field, terminators and all.
template <std::size_t size> std::string bytes_of(const char (&field)[size], std::size_t count)
{
    return {field, count};
}
