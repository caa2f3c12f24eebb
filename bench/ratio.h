// How a benchmark compares the library with a peer: rounds of both alternate, so that a busy machine slows both alike,
// and the median of the rounds counts.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <vector>

struct Comparison
{
    const char* what;      // "WHAT: PEER / OURS"
    const char* bound;     // what is wanted of the ratio
    double operations = 1; // in a call
    double bytes = 0;      // in a call; the line tells speeds in place of times if it isn't 0
    int calls = 1;         // in a round: enough for the clock
    std::size_t rounds = 101;
};

template <class Work> double nanoseconds_of(Work work, int calls)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    for (int call = 0; call < calls; ++call) {
        work();
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / calls;
}

inline double median(std::vector<double>& times)
{
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Prints the line "ratio WHAT = NUMBER (what the peer took, and what we took; the bound)".
template <class Peer, class Ours> void print_ratio(const Comparison& comparison, Peer peer, Ours ours)
{
    std::vector<double> peer_times;
    std::vector<double> our_times;
    for (std::size_t round = 0; round < comparison.rounds; ++round) {
        peer_times.push_back(nanoseconds_of(peer, comparison.calls));
        our_times.push_back(nanoseconds_of(ours, comparison.calls));
    }
    const double peer_time = median(peer_times);
    const double our_time = median(our_times);
    std::printf("ratio %s = %.2f ", comparison.what, peer_time / our_time);
    if (comparison.bytes != 0) {
        std::printf("(%.0f MB/s, %.0f MB/s; %s)\n", comparison.bytes / peer_time * 1e3,
                    comparison.bytes / our_time * 1e3, comparison.bound);
    } else {
        std::printf("(%.1f ns, %.1f ns; %s)\n", peer_time / comparison.operations, our_time / comparison.operations,
                    comparison.bound);
    }
}
