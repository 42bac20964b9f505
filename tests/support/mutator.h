// Texts made at random out of examples, for programs that look for inputs which break something.
//
// A program calls RunFor with what to try; the same seed tries the same inputs in the same order,
// so that a failure is found again.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#include "tests/support/text_support.h"

namespace kel::text {

class Mutator {
public:
    // `alphabet` holds units worth trying in any place.
    Mutator(unsigned seed, Text alphabet) : random_(seed), alphabet_(std::move(alphabet)) {}

    std::size_t Below(std::size_t limit) { return random_() % limit; }

    // One of the examples, changed in a few places, now and then not at all.
    Text Vary(const std::vector<Text>& examples) {
        Text text = examples[Below(examples.size())];
        for (std::size_t changes = Below(4); changes > 0; --changes) {
            Change(text, examples);
        }
        return text;
    }

private:
    static constexpr std::size_t kLongest = 4096;

    void Change(Text& text, const std::vector<Text>& examples) {
        const std::size_t at = Below(text.size() + 1);
        const std::size_t length = Below(std::min<std::size_t>(text.size() - at, 8) + 1);
        switch (Below(6)) {
            case 0:
                text.erase(at, length);
                break;
            case 1:
                text.insert(at, 1 + Below(3), alphabet_[Below(alphabet_.size())]);
                break;
            case 2:
                text.replace(at, length, 1, alphabet_[Below(alphabet_.size())]);
                break;
            case 3:
                text.insert(at, text.substr(at, length));
                break;
            case 4:
                text.insert(at, examples[Below(examples.size())]);
                break;
            default:
                text.insert(at, Text(1, static_cast<char16_t>(random_())));
                break;
        }
        text.resize(std::min(text.size(), kLongest));
    }

    std::mt19937 random_;
    Text alphabet_;
};

// What a program prints before it gives up: the inputs that broke the rule.
[[noreturn]] inline void GiveUp(const char* rule, const std::vector<Text>& inputs) {
    std::printf("broken: %s\n", rule);
    for (const Text& input : inputs) {
        std::printf("    \"%s\"\n", Drawn(input).c_str());
    }
    std::printf("0 passed, 1 failed\n");
    std::exit(1);
}

// The main program: `arguments` are SECONDS and SEED; calls tryOne(mutator) until the time is over.
template <typename TryOne>
int RunFor(int count, char** arguments, const Text& alphabet, TryOne tryOne) {
    if (count != 3) {
        std::fprintf(stderr, "usage: %s SECONDS SEED\n", arguments[0]);
        return 2;
    }
    // Told before anything is tried: what ends the program early is found again with it.
    const auto seed = static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10));
    std::printf("seed %u\n", seed);
    std::fflush(stdout);
    Mutator mutator(seed, alphabet);
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(arguments[1]));
    unsigned long tried = 0;
    while (std::chrono::steady_clock::now() < end) {
        for (int i = 0; i < 100; ++i, ++tried) {
            tryOne(mutator);
        }
    }
    std::printf("%lu inputs tried, none broke a rule\n1 passed, 0 failed\n", tried);
    return 0;
}

}  // namespace kel::text
