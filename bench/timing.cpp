// Rounds in turns, medians, and the lines of the tables.
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

// Nanoseconds for a step, each the median of its rounds.
struct Medians {
    double ours;
    double other;
};

// `other` may be missing.
Medians RunInTurns(const Way& ours, const Way* other) {
    constexpr double kBudgetNs = 2e9;  // for all rounds
    constexpr double kLongRoundNs = 4e8;
    constexpr double kMostRounds = 201;
    const long oursTimes = Calibrate(ours.batch);
    const long otherTimes = other == nullptr ? 1 : Calibrate(other->batch);
    const Batch nothing = [](long) {};
    const Batch& otherBatch = other == nullptr ? nothing : other->batch;
    const double round = Elapsed(ours.batch, oursTimes) + Elapsed(otherBatch, otherTimes);
    const double fewestRounds = round > kLongRoundNs ? 5 : 15;
    const double rounds = std::clamp(kBudgetNs / round, fewestRounds, kMostRounds);
    std::vector<double> oursNs;
    std::vector<double> otherNs;
    for (int i = 0; i < static_cast<int>(rounds); ++i) {
        oursNs.push_back(Elapsed(ours.batch, oursTimes) / static_cast<double>(oursTimes));
        otherNs.push_back(Elapsed(otherBatch, otherTimes) / static_cast<double>(otherTimes));
    }
    return {Median(oursNs) / ours.parts, other == nullptr ? 0 : Median(otherNs) / other->parts};
}

void EndLine(double ratio, double target) {
    if (target != kNoTarget) {
        std::printf("  %s %.2f", ratio <= target ? "ok  <=" : "MISSED", target);
        missed += ratio <= target ? 0 : 1;
    }
    std::printf("\n");
    std::fflush(stdout);
}

// Steps in a second of ours, and how they stand to those to be beaten.
void PrintRate(const std::string& name, double ns, double toBeat) {
    constexpr double kSecondNs = 1e9;
    const double rate = kSecondNs / ns;
    std::printf("%-44s %12.0f", name.c_str(), rate);
    if (toBeat == kNoTarget) {
        std::printf(" %12s %7s", "", "");
    } else {
        std::printf(" %12.0f %6.1fx", toBeat, rate / toBeat);
        missed += rate >= toBeat ? 0 : 1;
    }
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

void PrintRateHead(const char* title) {
    std::printf("\n%-44s %12s %12s %7s  %-28s %7s\n",
                title,
                "in a second",
                "to beat",
                "",
                "against",
                "ratio");
}

void Rate(const Way& ours, double toBeat) {
    PrintRate(ours.name, RunInTurns(ours, nullptr).ours, toBeat);
    EndLine(0, kNoTarget);
}

void CompareRate(const Way& ours, const Way& other, double toBeat, double target) {
    const Medians ns = RunInTurns(ours, &other);
    PrintRate(ours.name, ns.ours, toBeat);
    std::printf("  %-28s %7.3f", other.name.c_str(), ns.ours / ns.other);
    EndLine(ns.ours / ns.other, target);
}

void Compare(const Way& ours, const Way& other, double target) {
    const Medians ns = RunInTurns(ours, &other);
    const double ratio = ns.ours / ns.other;
    const char* const names = "%-40s %-25s %10.0f %10.0f %8.3f";
    std::printf(names, ours.name.c_str(), other.name.c_str(), ns.ours, ns.other, ratio);
    EndLine(ratio, target);
}

}  // namespace kel::bench
