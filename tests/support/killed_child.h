// A child process that does one thing over and over until it is killed, wherever it is at that moment.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

// Calls step(1), step(2) and so on in a child, and kills it at some moment behind step `steps`. Returns how many had
// returned then, but for the last one, which may have returned unheard.
template <class Step> unsigned Kill_Behind(unsigned steps, const Step& step)
{
    void* shared =
        mmap(nullptr, sizeof(std::atomic<unsigned>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(shared, MAP_FAILED);
    auto& returned = *new (shared) std::atomic<unsigned>(0);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (unsigned number = 1;; ++number) {
            step(number);
            returned = number;
        }
    }
    bool lives = child > 0;
    while (lives && returned < steps) {
        lives = waitpid(child, nullptr, WNOHANG) == 0;
    }
    EXPECT_TRUE(lives);
    for (std::atomic<unsigned> moment = steps * 16; moment > 0; --moment) { // not always at the same place of a step
    }
    if (lives) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    const unsigned count = returned;
    munmap(shared, sizeof(std::atomic<unsigned>));
    return count;
}
