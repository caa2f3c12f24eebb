// A scratch directory with a good configuration, and what session tests look at.
#pragma once

#include "support/recording_host.h"
#include "support/scratch_directory.h"
#include "system_seam.h"

#include <gtest/gtest.h>

#include <string>

class SessionTest : public testing::Test
{
protected:
    SessionTest();
    ~SessionTest() override;

    // What a new process has: no replicas, and none of their files open.
    static void Forget_Tables();

    // Puts a record of the connection's into the inbound ring, as the connection thread does.
    static void connection_says(int status, const std::string& data = "D", const char* source = "D");

    // Until a callback of another thread stands at the lock that this one, or a third, holds.
    static void wait_for_a_waiting_callback();

    static void wait_for_worker_threads(int number);

    // Without a server in the configuration the connection thread listens, on any port.
    static void wait_until_it_listens();
    static int open_descriptors();
    static int running_threads();
    // A joined thread may be seen for a moment longer; one that was left never goes, and the test runs into its limit.
    static void wait_until_running_threads_fall_to(int number);

    ScratchDirectory scratch;

private:
    SystemCalls m_calls;
};

// For the start of a death test's statement: a crash is to end the process as a crash, also under a sanitizer, and
// leave no core file.
void let_crashes_kill();

// The text records of a running log, prefix and all, one string each.
std::vector<std::string> text_lines_of_log(const std::string& bytes);
