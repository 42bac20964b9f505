#include "bench/timing.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace kel::bench {
namespace {

int missed = 0;

double Elapsed(const Batch& batch, long times) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    batch(times);
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

// Repetitions that take long enough to be timed; also warms up.
long Calibrate(const Batch& batch) {
    constexpr double kShortestBatchNs = 1e6;
    long times = 1;
    while (Elapsed(batch, times) < kShortestBatchNs) {
        times *= 2;
    }
    return times;
}

double Median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

double MedianNs(const Batch& batch) {
    constexpr int kRounds = 15;
    const long times = Calibrate(batch);
    std::vector<double> rounds(kRounds);
    for (double& round : rounds) {
        round = Elapsed(batch, times) / static_cast<double>(times);
    }
    return Median(rounds);
}

int MissedTargets() {
    return missed;
}

void PrintHead(const char* title) {
    std::printf("\n%-40s %-25s %10s %10s %8s\n", title, "against", "ours ns", "other ns", "ratio");
}

void Compare(const Way& ours, const Way& other, double target) {
    constexpr double kBudgetNs = 2e9;  // for all rounds
    constexpr double kFewestRounds = 15;
    constexpr double kMostRounds = 201;
    const long oursTimes = Calibrate(ours.batch);
    const long otherTimes = Calibrate(other.batch);
    const double round = Elapsed(ours.batch, oursTimes) + Elapsed(other.batch, otherTimes);
    const double rounds = std::clamp(kBudgetNs / round, kFewestRounds, kMostRounds);
    std::vector<double> oursNs;
    std::vector<double> otherNs;
    for (int i = 0; i < static_cast<int>(rounds); ++i) {
        oursNs.push_back(Elapsed(ours.batch, oursTimes) / static_cast<double>(oursTimes));
        otherNs.push_back(Elapsed(other.batch, otherTimes) / static_cast<double>(otherTimes));
    }
    const double mine = Median(oursNs) / ours.parts;
    const double theirs = Median(otherNs) / other.parts;
    const double ratio = mine / theirs;
    const char* const names = "%-40s %-25s %10.0f %10.0f %8.3f";
    std::printf(names, ours.name.c_str(), other.name.c_str(), mine, theirs, ratio);
    if (target != kNoTarget) {
        std::printf("  %s %.2f", ratio <= target ? "ok  <=" : "MISSED", target);
        missed += ratio <= target ? 0 : 1;
    }
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace kel::bench
