// Times two ways of doing the same in turns, and prints a line of the table.
#pragma once

#include <functional>
#include <string>

namespace kel::bench {

// Does the work a number of times.
using Batch = std::function<void(long times)>;

// The loop is compiled together with the step: what is measured is the step.
template <typename Step>
Batch Repeating(Step step) {
    return [step = std::move(step)](long times) mutable {
        for (; times > 0; --times) {
            step();
        }
    };
}

// One side of a comparison. `parts` steps make up one turn of the batch.
struct Way {
    std::string name;
    Batch batch;
    double parts = 1;
};

inline constexpr double kNoTarget = 0;  // nor a number to beat

void PrintHead(const char* title);

// The head and the lines of a table of rates: steps in a second, beside those of an established
// native database on such a machine, which are to be beaten, and of another way of doing the same.
void PrintRateHead(const char* title);
void Rate(const Way& ours, double toBeat);
void CompareRate(const Way& ours, const Way& other, double toBeat, double target);

// Runs both in turns, each round long enough for the clock, and prints the medians of the rounds
// and their ratio: what else the machine does meets both alike.
//   target  highest ratio that is good enough, or kNoTarget
void Compare(const Way& ours, const Way& other, double target = kNoTarget);

// The time of one step, the median of some rounds.
double MedianNs(const Batch& batch);

// Comparisons that missed their target.
int MissedTargets();

}  // namespace kel::bench
